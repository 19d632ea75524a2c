#include "render/redaction.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace vantorel {
namespace {

struct Tone {
  float r = 0;
  float g = 0;
  float b = 0;
};

Tone operator+(Tone a, Tone b) { return {a.r + b.r, a.g + b.g, a.b + b.b}; }
Tone operator*(float k, Tone a) { return {k * a.r, k * a.g, k * a.b}; }

/// To the nearest whole number, without a call for each pixel; `value` is never negative.
std::uint32_t rounded(float value) {
  return static_cast<std::uint32_t>(value + 0.5F);  // NOLINT(bugprone-incorrect-roundings)
}

std::uint32_t pixelOf(Tone tone) {
  const auto byte = [](float value) { return rounded(std::clamp(value, 0.F, 255.F)); };
  return 0xff000000U | byte(tone.r) << 16U | byte(tone.g) << 8U | byte(tone.b);
}

/// The visible surroundings, averaged piece by piece along each side.
class Surroundings {
 public:
  Surroundings(const std::uint8_t* pixels, std::size_t stride, PixelSize size, PixelRect area,
               const std::vector<Redaction>& all)
      : pixels_(pixels), stride_(stride), size_(size), area_(area) {
    const PixelRect wide{area.x - redactionRim, area.y - redactionRim,
                         area.width + 2 * redactionRim, area.height + 2 * redactionRim};
    for (const Redaction& other : all) {
      const PixelRect near = intersection(other.area, wide);
      if (!near.isEmpty()) covered_.push_back(near);
    }
    for (int i = 0; i < pieces; ++i) {
      const int left = area.x + area.width * i / pieces;
      const int right = area.x + area.width * (i + 1) / pieces;
      const int top = area.y + area.height * i / pieces;
      const int bottom = area.y + area.height * (i + 1) / pieces;
      const float middle = (float(i) + 0.5F) / pieces;
      add({left, area.y - redactionRim, right - left, redactionRim}, middle, 0);
      add({left, area.bottom(), right - left, redactionRim}, middle, 1);
      add({area.x - redactionRim, top, redactionRim, bottom - top}, 0, middle);
      add({area.right(), top, redactionRim, bottom - top}, 1, middle);
    }
  }

  /// The colour that the surroundings suggest at a place of the unit square: near pieces count
  /// more.
  [[nodiscard]] Tone at(float u, float v) const {
    if (count_ == 0) return {128, 128, 128};
    Tone sum;
    float weights = 0;
    for (int i = 0; i < count_; ++i) {
      const Piece& piece = found_[static_cast<std::size_t>(i)];
      const float du = u - piece.u;
      const float dv = v - piece.v;
      const float near = 1 / (du * du + dv * dv + 0.01F);
      sum = sum + near * piece.tone;
      weights += near;
    }
    return (1 / weights) * sum;
  }

 private:
  static constexpr int pieces = 4;
  struct Piece {
    float u = 0;
    float v = 0;
    Tone tone;
  };

  [[nodiscard]] bool isCovered(int x, int y) const {
    return std::ranges::any_of(covered_, [&](const PixelRect& rect) {
      return x >= rect.x && x < rect.right() && y >= rect.y && y < rect.bottom();
    });
  }

  void add(const PixelRect& wanted, float u, float v) {
    const PixelRect rect = intersection(wanted, {0, 0, size_.width, size_.height});
    Tone sum;
    int count = 0;
    for (int y = rect.y; y < rect.bottom(); ++y) {
      const std::uint8_t* const row = pixels_ + static_cast<std::size_t>(y) * stride_;
      for (int x = rect.x; x < rect.right(); ++x) {
        if (isCovered(x, y)) continue;
        const std::uint8_t* const p = row + static_cast<std::size_t>(x) * 4;
        const float white = 255.F - p[3];  // what is transparent is seen on white
        sum = sum + Tone{p[2] + white, p[1] + white, p[0] + white};
        ++count;
      }
    }
    if (count == 0) return;
    found_[static_cast<std::size_t>(count_++)] = {u, v, (1.F / float(count)) * sum};
  }

  const std::uint8_t* pixels_;
  std::size_t stride_;
  PixelSize size_;
  PixelRect area_;
  std::vector<PixelRect> covered_;
  std::array<Piece, std::size_t{4} * pieces> found_;
  int count_ = 0;
};

/// A fixed pattern: 0 to 1, the same for the same cell on every machine.
float pattern(int column, int row) {
  auto bits = static_cast<std::uint32_t>(column) * 0x9e3779b1U ^
              (static_cast<std::uint32_t>(row) + 0x7f4a7c15U) * 0x85ebca77U;
  bits = (bits ^ bits >> 15U) * 0x2c1b3c6dU;
  bits = (bits ^ bits >> 12U) * 0x297a2d39U;
  bits ^= bits >> 15U;
  return float(bits >> 8U) / float(1U << 24U);
}

/// `tone` made darker, or lighter where it is dark already, by up to `amount`.
Tone varied(Tone tone, float amount) {
  const float light = 0.299F * tone.r + 0.587F * tone.g + 0.114F * tone.b;
  const float shift = light > 110 ? -amount : amount;
  return {tone.r + shift, tone.g + shift, tone.b + shift};
}

struct Cells {
  int size = 1;  // pixels
  int columns = 1;
  int rows = 1;
  std::vector<Tone> tones;  // row by row

  [[nodiscard]] Tone at(int column, int row) const {
    column = std::clamp(column, 0, columns - 1);
    row = std::clamp(row, 0, rows - 1);
    return tones[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                 static_cast<std::size_t>(column)];
  }
};

Cells makeCells(Cells cells, float strength, const Surroundings& around) {
  cells.tones.reserve(static_cast<std::size_t>(cells.columns) *
                      static_cast<std::size_t>(cells.rows));
  for (int row = 0; row < cells.rows; ++row) {
    for (int column = 0; column < cells.columns; ++column) {
      const float u = (float(column) + 0.5F) / float(cells.columns);
      const float v = (float(row) + 0.5F) / float(cells.rows);
      cells.tones.push_back(varied(around.at(u, v), strength * pattern(column, row)));
    }
  }
  return cells;
}

std::uint32_t* rowOf(std::uint8_t* pixels, std::size_t stride, int y) {
  return reinterpret_cast<std::uint32_t*>(pixels + static_cast<std::size_t>(y) * stride);
}

/// Tiles as even as whole pixels allow, so that none at the edges is a sliver.
void drawTiles(std::uint8_t* pixels, std::size_t stride, const PixelRect& area, const Cells& cells,
               const PixelRect& part) {
  const auto edge = [](int start, int length, int i, int count) {
    return start + static_cast<int>(std::int64_t{length} * i / count);
  };
  for (int cellRow = 0; cellRow < cells.rows; ++cellRow) {
    const int top = std::max(edge(area.y, area.height, cellRow, cells.rows), part.y);
    const int bottom = std::min(edge(area.y, area.height, cellRow + 1, cells.rows), part.bottom());
    for (int y = top; y < bottom; ++y) {
      std::uint32_t* const row = rowOf(pixels, stride, y);
      for (int column = 0; column < cells.columns; ++column) {
        const int left = std::max(edge(area.x, area.width, column, cells.columns), part.x);
        const int right =
            std::min(edge(area.x, area.width, column + 1, cells.columns), part.right());
        if (left < right) std::fill(row + left, row + right, pixelOf(cells.at(column, cellRow)));
      }
    }
  }
}

void drawFrost(std::uint8_t* pixels, std::size_t stride, const PixelRect& area, const Cells& cells,
               const PixelRect& part) {
  const auto place = [&](int offset) {
    const float at = (float(offset) + 0.5F) / float(cells.size) - 0.5F;
    const float whole = std::floor(at);
    const float t = at - whole;
    return std::pair(static_cast<int>(whole), t * t * (3 - 2 * t));
  };
  // In whole numbers, as there are many pixels: tones in 64ths, shares in 1024ths.
  struct Whole {
    std::uint32_t r = 0;
    std::uint32_t g = 0;
    std::uint32_t b = 0;
  };
  const auto whole = [](float value) { return rounded(std::clamp(value, 0.F, 255.F) * 64); };
  struct Across {
    std::size_t left = 0;
    std::size_t right = 0;
    std::uint32_t share = 0;  // of the right one
  };
  std::vector<Across> places;
  places.reserve(static_cast<std::size_t>(part.width));
  for (int x = part.x; x < part.right(); ++x) {
    const auto [first, across] = place(x - area.x);
    places.push_back({static_cast<std::size_t>(std::clamp(first, 0, cells.columns - 1)),
                      static_cast<std::size_t>(std::clamp(first + 1, 0, cells.columns - 1)),
                      rounded(across * 1024)});
  }
  std::vector<Whole> column(static_cast<std::size_t>(cells.columns));
  for (int y = part.y; y < part.bottom(); ++y) {
    const auto [cellRow, down] = place(y - area.y);
    for (int i = 0; i < cells.columns; ++i) {
      const Tone tone = (1 - down) * cells.at(i, cellRow) + down * cells.at(i, cellRow + 1);
      column[static_cast<std::size_t>(i)] = {whole(tone.r), whole(tone.g), whole(tone.b)};
    }
    std::uint32_t* pixel = rowOf(pixels, stride, y) + part.x;
    for (const Across& at : places) {
      const Whole& left = column[at.left];
      const Whole& right = column[at.right];
      const auto mixed = [share = at.share](std::uint32_t from, std::uint32_t to) {
        return (from * (1024 - share) + to * share + (1U << 15U)) >> 16U;
      };
      *pixel++ = 0xff000000U | mixed(left.r, right.r) << 16U | mixed(left.g, right.g) << 8U |
                 mixed(left.b, right.b);
    }
  }
}

}  // namespace

PixelRect coveredPixels(double left, double top, double right, double bottom, int bleed,
                        PixelSize size) {
  if (!(right > left) || !(bottom > top)) return {};
  const auto clamped = [](double value, int most) {
    return static_cast<int>(std::clamp(value, 0.0, double(most)));
  };
  const int x = clamped(std::floor(left) - bleed, size.width);
  const int y = clamped(std::floor(top) - bleed, size.height);
  const PixelRect area{x, y, clamped(std::ceil(right) + bleed, size.width) - x,
                       clamped(std::ceil(bottom) + bleed, size.height) - y};
  return area.isEmpty() ? PixelRect{} : area;
}

void cover(std::uint8_t* pixels, std::size_t stride, PixelSize size, const Redaction& redaction,
           const std::vector<Redaction>& all, const PixelRect& clip) {
  const PixelRect& area = redaction.area;
  const PixelRect part = intersection(area, clip);
  if (part.isEmpty()) return;
  if (redaction.style == RedactStyle::solidBox) {
    for (int y = part.y; y < part.bottom(); ++y) {
      std::uint32_t* const row = rowOf(pixels, stride, y);
      std::fill(row + part.x, row + part.right(), redaction.color | 0xff000000U);
    }
    return;
  }
  const Surroundings around(pixels, stride, size, area, all);
  const int shorter = std::min(area.width, area.height);
  if (redaction.style == RedactStyle::pixelate) {
    const int side = std::clamp(shorter / 4, 6, 48);
    const auto fitting = [side](int length) { return std::max((length + side / 2) / side, 1); };
    const Cells cells =
        makeCells({side, fitting(area.width), fitting(area.height), {}}, 110, around);
    drawTiles(pixels, stride, area, cells, part);
  } else {
    const int side = std::clamp(shorter / 2, 8, 80);
    const auto covering = [side](int length) { return (length + side - 1) / side; };
    const Cells cells =
        makeCells({side, covering(area.width), covering(area.height), {}}, 70, around);
    drawFrost(pixels, stride, area, cells, part);
  }
}

}  // namespace vantorel
