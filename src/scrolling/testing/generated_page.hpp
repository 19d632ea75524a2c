#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string_view>
#include <vector>

#include "base/image.hpp"

namespace vantorel {

/// What is on a page that tests and benchmarks scroll.
enum class PageKind {
  text,
  code,      ///< lines that stand there again and again, with a number before each
  photos,    ///< a grid of them, smooth and with noise
  numbers,   ///< a table whose rows differ by a number alone
  cards,     ///< text in boxes with borders from top to bottom
  sameRows,  ///< a table with rows that are all the same
  blank,
};

/// A page `width` pixels wide of drawn letters and pictures, which are the same for the same seed.
class GeneratedPage {
 public:
  struct Look {
    PageKind kind = PageKind::text;
    int width = 640;
    int height = 4000;
    int scale = 1;  ///< pixels per point
    bool isDark = false;
    unsigned seed = 1;
  };

  explicit GeneratedPage(const Look& look)
      : look_(look),
        random_(look.seed),
        pixels_(static_cast<std::size_t>(look.width) * static_cast<std::size_t>(look.height),
                look.isDark ? 0x1e1f22U : 0xffffffU) {
    for (auto& letter : letters_) {
      for (auto& dot : letter)
        dot = static_cast<std::uint8_t>(random_() % 5 < 2 ? 255 : random_() % 120);
    }
    switch (look.kind) {
      case PageKind::text: drawText(0, look.width); break;
      case PageKind::code: drawCode(); break;
      case PageKind::photos: drawPhotos(); break;
      case PageKind::numbers: drawTable(true); break;
      case PageKind::sameRows: drawTable(false); break;
      case PageKind::cards: drawCards(); break;
      case PageKind::blank: break;
    }
  }

  [[nodiscard]] int width() const { return look_.width; }
  [[nodiscard]] int height() const { return look_.height; }
  [[nodiscard]] std::uint32_t at(int x, int y) const {
    return pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(look_.width) +
                   static_cast<std::size_t>(x)];
  }

  /// `rows` rows from `position` on; between two rows, the page is blended as an animation does it.
  [[nodiscard]] std::vector<std::uint32_t> view(double position, int rows) const {
    const int whole = static_cast<int>(std::floor(position));
    const double part = position - whole;
    std::vector<std::uint32_t> seen(static_cast<std::size_t>(rows) *
                                    static_cast<std::size_t>(look_.width));
    for (int y = 0; y < rows; ++y) {
      for (int x = 0; x < look_.width; ++x) {
        std::uint32_t pixel = at(x, whole + y);
        if (part > 0) pixel = blend(pixel, at(x, whole + y + 1), part);
        seen[static_cast<std::size_t>(y) * static_cast<std::size_t>(look_.width) +
             static_cast<std::size_t>(x)] = pixel;
      }
    }
    return seen;
  }

 private:
  static constexpr int letterWidth = 6;
  static constexpr int letterHeight = 9;

  static std::uint32_t blend(std::uint32_t a, std::uint32_t b, double part) {
    std::uint32_t out = 0;
    for (unsigned shift = 0; shift < 24; shift += 8) {
      const double low = (a >> shift) & 0xffU;
      const double high = (b >> shift) & 0xffU;
      out |= static_cast<std::uint32_t>(std::lround(low + (high - low) * part)) << shift;
    }
    return out;
  }

  void set(int x, int y, std::uint32_t color) {
    if (x < 0 || y < 0 || x >= look_.width || y >= look_.height) return;
    pixels_[static_cast<std::size_t>(y) * static_cast<std::size_t>(look_.width) +
            static_cast<std::size_t>(x)] = color;
  }

  void box(int x, int y, int w, int h, std::uint32_t color) {
    for (int row = y; row < y + h; ++row) {
      for (int column = x; column < x + w; ++column) set(column, row, color);
    }
  }

  void letter(int x, int y, unsigned which) {
    const auto& dots = letters_.at(which % letters_.size());
    const std::uint32_t ink = look_.isDark ? 0xd7dae0U : 0x202124U;
    for (int row = 0; row < letterHeight * look_.scale; ++row) {
      for (int column = 0; column < letterWidth * look_.scale; ++column) {
        if (x + column >= look_.width || y + row >= look_.height) continue;
        const std::uint8_t dot = dots.at(
            static_cast<std::size_t>(row / look_.scale * letterWidth + column / look_.scale));
        set(x + column, y + row, blend(at(x + column, y + row), ink, dot / 255.0));
      }
    }
  }

  /// Words made by `next` until the line is full.
  template <class Next>
  void line(int x, int y, int end, Next next) {
    const int step = (letterWidth + 1) * look_.scale;
    while (true) {
      const unsigned length = 2 + next() % 8;
      if (x + static_cast<int>(length) * step >= end) return;
      for (unsigned i = 0; i < length; ++i, x += step) letter(x, y, next());
      x += step;
    }
  }

  void drawText(int from, int to) {
    const int step = 18 * look_.scale;
    for (int y = step; y + step < look_.height; y += step) {
      if (random_() % 9 == 0) continue;
      const int end = to - static_cast<int>(random_() % static_cast<unsigned>((to - from) / 3));
      line(from + 12 * look_.scale, y, end, [this] { return random_(); });
    }
  }

  void drawCode() {
    const int step = 16 * look_.scale;
    int number = 1;
    for (int y = 4; y + step < look_.height; y += step, ++number) {
      int x = 8;
      for (int digits = number, i = 3; i >= 0; --i, digits /= 10) {
        letter(x + i * (letterWidth + 1) * look_.scale, y, static_cast<unsigned>(digits % 10));
      }
      x += 40 * look_.scale;
      // Of six lines that there are, often three after each other.
      std::minstd_rand same(17 +
                            static_cast<unsigned>(number % 3 == 0 ? random_() % 6 : number % 3));
      line(x, y, look_.width * 3 / 4, [&same] { return static_cast<unsigned>(same() >> 4U); });
    }
  }

  void drawPhotos() {
    const int side = 150 * look_.scale;
    const int gap = 12 * look_.scale;
    for (int top = gap; top < look_.height; top += side + gap) {
      for (int left = gap; left + side < look_.width; left += side + gap) {
        const double a = 1 + random_() % 9;
        const double b = 1 + random_() % 9;
        const unsigned hue = random_() % 4;
        for (int y = 0; y < side; ++y) {
          for (int x = 0; x < side; ++x) {
            const double wave = std::sin(x * a / side * 3) + std::cos(y * b / side * 3);
            const auto level = static_cast<std::uint32_t>(128 + 50 * wave + random_() % 6);
            set(left + x, top + y,
                level << 16U | (hue & 1U ? level / 2 : level) << 8U |
                    (hue & 2U ? level / 3 : level));
          }
        }
      }
    }
  }

  void drawTable(bool isNumbered) {
    const int step = 24 * look_.scale;
    const std::uint32_t rule = look_.isDark ? 0x3a3d42U : 0xd0d3d8U;
    int number = 1000;
    for (int y = 0; y + step < look_.height; y += step, ++number) {
      box(0, y, look_.width, look_.scale, rule);
      if (isNumbered) {
        for (int digits = number, i = 3; i >= 0; --i, digits /= 10) {
          letter(10 + i * (letterWidth + 1) * look_.scale, y + 7 * look_.scale,
                 static_cast<unsigned>(digits % 10));
        }
      }
      std::minstd_rand same(5);
      line(60 * look_.scale, y + 7 * look_.scale, look_.width - 40,
           [&same] { return static_cast<unsigned>(same() >> 4U); });
    }
  }

  void drawCards() {
    const std::uint32_t border = look_.isDark ? 0x4a4d52U : 0xc0c4caU;
    drawText(30 * look_.scale, look_.width - 40 * look_.scale);
    for (const int x : {20 * look_.scale, look_.width / 2, look_.width - 30 * look_.scale}) {
      box(x, 0, look_.scale, look_.height, border);
    }
  }

  Look look_;
  std::mt19937 random_;
  std::vector<std::uint32_t> pixels_;
  std::array<std::array<std::uint8_t, static_cast<std::size_t>(letterWidth* letterHeight)>, 40>
      letters_{};
};

/// An area of the screen in which a page is scrolled, with what else may be seen in it.
struct GeneratedView {
  int height = 520;
  int header = 0;         ///< rows of a bar at the top that stays
  int footer = 0;         ///< likewise at the bottom
  int sidebar = 0;        ///< columns at the left that stay
  int scrollBar = 0;      ///< columns at the right, with a thumb that moves
  bool hasCaret = false;  ///< seen in every second frame
  bool hasVideo = false;  ///< in the corner, another picture in each frame
  bool hasBadge = false;  ///< a button that floats above the page
  int secondPane = 0;     ///< columns at the right that scroll twice as fast

  [[nodiscard]] Image frame(const GeneratedPage& page, double position, int number) const {
    const int width = page.width();
    std::vector<std::uint32_t> seen = page.view(position, height);
    const auto at = [&](int x, int y) -> std::uint32_t& {
      return seen[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
    };
    const auto patterned = [](int x, int y, unsigned what) {
      const std::uint32_t level = 60 + (static_cast<unsigned>(x / 3) * 37U ^
                                        static_cast<unsigned>(y / 2) * 61U ^ what * 97U) %
                                           160;
      return level << 16U | level << 8U | (level / 2);
    };
    for (int y = 0; secondPane > 0 && y < height; ++y) {
      const int other = (static_cast<int>(position) * 2 + y) % page.height();
      for (int x = width - secondPane; x < width; ++x) at(x, y) = page.at(x, other);
    }
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < sidebar; ++x) {
        at(x, y) = y % 22 < 9 && x > 8 && x < sidebar - 12 ? patterned(x, y, 5) : 0x303338U;
      }
    }
    if (hasVideo) {
      std::minstd_rand film(static_cast<unsigned>(number));
      for (int y = height / 2; y < height / 2 + height / 4; ++y) {
        for (int x = width / 8; x < width / 8 + width / 4; ++x) {
          at(x, y) = static_cast<std::uint32_t>(film());
        }
      }
    }
    if (hasCaret && number % 2 == 0) {
      for (int y = height / 3; y < height / 3 + 16; ++y) at(width / 3, y) = 0x000000U;
    }
    if (hasBadge) {
      for (int y = height - 60; y < height - 20; ++y) {
        for (int x = width - 90; x < width - 40; ++x) at(x, y) = patterned(x, y, 3);
      }
    }
    for (int y = 0; y < header; ++y) {
      for (int x = 0; x < width; ++x)
        at(x, y) = y > 8 && y < header - 8 ? patterned(x, y, 1) : 0x2a6fdbU;
    }
    for (int y = height - footer; y < height; ++y) {
      for (int x = 0; x < width; ++x)
        at(x, y) = y > height - footer + 8 ? patterned(x, y, 2) : 0xffffffU;
    }
    if (scrollBar > 0) {
      const int thumb = static_cast<int>(position * height / page.height());
      for (int y = 0; y < height; ++y) {
        for (int x = width - scrollBar; x < width; ++x) {
          at(x, y) = y >= thumb && y < thumb + height / 6 ? 0x808080U : 0xe8e8e8U;
        }
      }
    }
    MutableImage image({width, height}, PixelFormat::bgrx);
    for (int y = 0; y < height; ++y) {
      std::memcpy(image.row(y).data(), &at(0, y), image.row(y).size());
    }
    return std::move(image).finish();
  }
};

}  // namespace vantorel
