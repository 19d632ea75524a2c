#include "platform/linux/recognition/ink_page.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <span>

#include "platform/linux/recognition/pixel_regions.hpp"

namespace vantorel {
namespace {

struct Color {
  std::uint8_t blue = 0;
  std::uint8_t green = 0;
  std::uint8_t red = 0;
  std::uint8_t unused = 0;
};

int distance(Color a, Color b) {
  return std::abs(a.blue - b.blue) + std::abs(a.green - b.green) + std::abs(a.red - b.red);
}

/// What neighbours of a flat ground, of a soft gradient or of a little noise differ by at the most.
constexpr int flatStep = 9;

/// Strokes of letters are thinner, grounds have a place that is this wide and high.
constexpr int leastGround = 5;

/// What lies farther from any ground is a photograph.
constexpr int farthestInk = 60;

using Size = std::size_t;

struct Extent {
  int left = std::numeric_limits<int>::max();
  int right = -1;
  int top = std::numeric_limits<int>::max();
  int bottom = -1;
  int area = 0;
  int rim = 0;   ///< of its pixels those at an edge of its bounds
  int flat = 0;  ///< the side of its largest flat square, up to `leastGround`

  [[nodiscard]] int width() const { return right - left + 1; }
  [[nodiscard]] int height() const { return bottom - top + 1; }

  /// Grounds are pages, panels and buttons: large, or with straight outer edges.
  [[nodiscard]] bool isGround() const {
    if (isCursor()) return true;
    if (flat < leastGround || std::min(width(), height()) < 10) return false;
    if (area >= 12'000) return true;
    // A thick "E" or "H" has edges as straight, but more holes than a button has letters.
    const bool isFilled = 100L * area >= 66L * width() * height();
    return area >= 120 && isFilled && 100 * rim >= 70 * outline();
  }

 private:
  [[nodiscard]] int outline() const { return 2 * (width() + height() - 2); }

  /// A terminal's cursor stands like a letter right under a line of text, whose rows it would be
  /// taken for; on a letter it is the ground of that. Stems are narrower, full stops lower.
  [[nodiscard]] bool isCursor() const {
    if (flat < 3 || width() < 5 || height() < 9) return false;
    const bool isCell = 5 * height() >= 7 * width() && 5 * height() <= 13 * width();
    return isCell && 100 * rim >= 95 * outline();
  }
};

/// Finds the ground of every pixel.
class GroundMap {
 public:
  GroundMap(const Image& picture, const PixelRect& area)
      : width_(area.width), height_(area.height), colors_(count()), isGround_(count()) {
    for (int y = 0; y < height_; ++y) {
      const std::span<const std::uint8_t> from =
          picture.row(area.y + y).subspan(static_cast<Size>(area.x) * 4);
      for (int x = 0; x < width_; ++x) {
        const std::uint8_t* const pixel = from.data() + static_cast<Size>(x) * 4;
        const int paper = picture.format() == PixelFormat::bgrx ? 0 : 255 - pixel[3];
        const auto onPaper = [&](int part) {
          return static_cast<std::uint8_t>(std::min(pixel[part] + paper, 255));
        };
        colors_[place(x, y)] = {onPaper(0), onPaper(1), onPaper(2)};
      }
    }
    findGrounds();
  }

  [[nodiscard]] InkPage ink() {
    spread();
    InkPage page{{width_, height_}, std::vector<std::uint8_t>(count())};
    for (Size i = 0; i < count(); ++i) {
      if (isGround_[i] != 0) continue;
      // Three equal parts of the color: a red word on blue stands out as well.
      page.ink[i] = static_cast<std::uint8_t>(distance(colors_[i], grounds_[i]) / 3);
    }
    return page;
  }

 private:
  [[nodiscard]] Size count() const {
    return static_cast<Size>(width_) * static_cast<Size>(height_);
  }
  [[nodiscard]] Size place(int x, int y) const {
    return static_cast<Size>(y) * static_cast<Size>(width_) + static_cast<Size>(x);
  }

  void findGrounds() {
    PixelRegions regions(count());
    // How many pixels to the left, and in how many rows above as well, are flat.
    std::vector<std::uint8_t> flat(count(), 1);
    for (int y = 0; y < height_; ++y) {
      for (int x = 0; x < width_; ++x) {
        const Size here = place(x, y);
        const bool isLeftAlike = x > 0 && distance(colors_[here], colors_[here - 1]) <= flatStep;
        const bool isAboveAlike =
            y > 0 && distance(colors_[here], colors_[here - static_cast<Size>(width_)]) <= flatStep;
        if (isLeftAlike) {
          regions.join(static_cast<std::uint32_t>(here - 1), static_cast<std::uint32_t>(here));
        }
        if (isAboveAlike) {
          regions.join(static_cast<std::uint32_t>(here - static_cast<Size>(width_)),
                       static_cast<std::uint32_t>(here));
        }
        // The largest flat square whose last pixel this is.
        if (isLeftAlike && isAboveAlike) {
          const std::uint8_t least =
              std::min({flat[here - 1], flat[here - static_cast<Size>(width_)],
                        flat[here - static_cast<Size>(width_) - 1]});
          flat[here] = static_cast<std::uint8_t>(std::min<int>(least + 1, leastGround));
        }
      }
    }
    markGrounds(regions, flat);
  }

  void markGrounds(PixelRegions& regions, const std::vector<std::uint8_t>& flat) {
    std::vector<std::uint32_t> numbers(count(), std::numeric_limits<std::uint32_t>::max());
    std::vector<Extent> extents;
    const auto extentAt = [&](Size i) -> Extent& {
      std::uint32_t& number = numbers[regions.regionOf(static_cast<std::uint32_t>(i))];
      if (number == std::numeric_limits<std::uint32_t>::max()) {
        number = static_cast<std::uint32_t>(extents.size());
        extents.emplace_back();
      }
      return extents[number];
    };
    for (int y = 0; y < height_; ++y) {
      for (int x = 0; x < width_; ++x) {
        const Size here = place(x, y);
        Extent& extent = extentAt(here);
        extent.left = std::min(extent.left, x);
        extent.right = std::max(extent.right, x);
        extent.top = std::min(extent.top, y);
        extent.bottom = std::max(extent.bottom, y);
        ++extent.area;
        extent.flat = std::max<int>(extent.flat, flat[here]);
      }
    }
    for (int y = 0; y < height_; ++y) {
      for (int x = 0; x < width_; ++x) {
        Extent& extent = extentAt(place(x, y));
        const bool isRim =
            x == extent.left || x == extent.right || y == extent.top || y == extent.bottom;
        if (isRim) ++extent.rim;
      }
    }
    for (Size i = 0; i < count(); ++i) isGround_[i] = extentAt(i).isGround() ? 1 : 0;
  }

  /// Gives each pixel the color of a ground near it.
  void spread() {
    grounds_ = colors_;
    std::vector<std::uint16_t> far(count(), farthestInk);
    for (Size i = 0; i < count(); ++i) {
      if (isGround_[i] != 0) far[i] = 0;
    }
    const auto take = [&](Size here, Size from) {
      if (far[from] + 1 >= far[here]) return;
      far[here] = static_cast<std::uint16_t>(far[from] + 1);
      grounds_[here] = grounds_[from];
    };
    const auto row = static_cast<Size>(width_);
    for (int y = 0; y < height_; ++y) {
      for (int x = 0; x < width_; ++x) {
        const Size here = place(x, y);
        if (x > 0) take(here, here - 1);
        if (y > 0) take(here, here - row);
      }
    }
    for (int y = height_ - 1; y >= 0; --y) {
      for (int x = width_ - 1; x >= 0; --x) {
        const Size here = place(x, y);
        if (x + 1 < width_) take(here, here + 1);
        if (y + 1 < height_) take(here, here + row);
      }
    }
    // Where no ground is near, it is what is usual.
    const Color usual = usualColor();
    for (Size i = 0; i < count(); ++i) {
      if (far[i] == farthestInk) grounds_[i] = usual;
    }
  }

  [[nodiscard]] Color usualColor() const {
    std::array<std::uint64_t, 3> sums{};
    std::uint64_t pixels = 0;
    for (Size i = 0; i < count(); i += 7) {
      sums[0] += colors_[i].blue;
      sums[1] += colors_[i].green;
      sums[2] += colors_[i].red;
      ++pixels;
    }
    const auto mean = [&](std::uint64_t sum) { return static_cast<std::uint8_t>(sum / pixels); };
    return {mean(sums[0]), mean(sums[1]), mean(sums[2])};
  }

  int width_;
  int height_;
  std::vector<Color> colors_;
  std::vector<std::uint8_t> isGround_;
  std::vector<Color> grounds_{};
};

/// Makes faint words as dark as others: in each part of the page the darkest ink is black.
void raiseContrast(InkPage& page) {
  constexpr int tile = 16;
  constexpr int faintest = 40;
  constexpr int noise = 10;
  const int columns = (page.size.width + tile - 1) / tile;
  const int rows = (page.size.height + tile - 1) / tile;
  std::vector<std::uint8_t> darkest(static_cast<Size>(columns) * static_cast<Size>(rows));
  const auto tileAt = [&](int column, int row) -> std::uint8_t& {
    return darkest[static_cast<Size>(row) * static_cast<Size>(columns) + static_cast<Size>(column)];
  };
  for (int y = 0; y < page.size.height; ++y) {
    const std::uint8_t* const from = page.row(y);
    for (int x = 0; x < page.size.width; ++x) {
      std::uint8_t& most = tileAt(x / tile, y / tile);
      most = std::max(most, from[x]);
    }
  }
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      int most = faintest;
      for (int y = std::max(row - 1, 0); y <= std::min(row + 1, rows - 1); ++y) {
        for (int x = std::max(column - 1, 0); x <= std::min(column + 1, columns - 1); ++x) {
          most = std::max<int>(most, tileAt(x, y));
        }
      }
      const int bottom = std::min((row + 1) * tile, page.size.height);
      const int right = std::min((column + 1) * tile, page.size.width);
      for (int y = row * tile; y < bottom; ++y) {
        std::uint8_t* const at =
            page.ink.data() + static_cast<Size>(y) * static_cast<Size>(page.size.width);
        for (int x = column * tile; x < right; ++x) {
          at[x] = at[x] < noise ? std::uint8_t{0}
                                : static_cast<std::uint8_t>(std::min(at[x] * 255 / most, 255));
        }
      }
    }
  }
}

/// A row or column of the result as a sum of four of the source (Catmull and Rom).
struct Blend {
  std::array<int, 4> from{};
  std::array<float, 4> weights{};
};

std::vector<Blend> blendsFor(int target, int source, double factor) {
  std::vector<Blend> blends(static_cast<Size>(target));
  for (int i = 0; i < target; ++i) {
    const double at = (i + 0.5) / factor - 0.5;
    const int first = static_cast<int>(std::floor(at)) - 1;
    const double t = at - std::floor(at);
    const std::array<double, 4> weights{
        -0.5 * t + t * t - 0.5 * t * t * t, 1 - 2.5 * t * t + 1.5 * t * t * t,
        0.5 * t + 2 * t * t - 1.5 * t * t * t, -0.5 * t * t + 0.5 * t * t * t};
    Blend& blend = blends[static_cast<Size>(i)];
    for (int k = 0; k < 4; ++k) {
      blend.from[static_cast<Size>(k)] = std::clamp(first + k, 0, source - 1);
      blend.weights[static_cast<Size>(k)] = static_cast<float>(weights[static_cast<Size>(k)]);
    }
  }
  return blends;
}

}  // namespace

InkPage inkPageOf(const Image& picture, const PixelRect& area) {
  if (area.isEmpty()) return {};
  InkPage page = GroundMap(picture, area).ink();
  raiseContrast(page);
  return page;
}

double letterHeightOn(const InkPage& page) {
  // Runs of ink in a row, joined with those they touch in the row above.
  struct Run {
    int begin = 0;
    int end = 0;
    int y = 0;
  };
  std::vector<Run> runs;
  std::vector<Size> rowStarts;
  for (int y = 0; y < page.size.height; ++y) {
    rowStarts.push_back(runs.size());
    const std::uint8_t* const row = page.row(y);
    for (int x = 0; x < page.size.width;) {
      if (row[x] < leastInk) {
        ++x;
        continue;
      }
      const int begin = x;
      while (x < page.size.width && row[x] >= leastInk) ++x;
      runs.push_back({begin, x, y});
    }
  }
  rowStarts.push_back(runs.size());
  PixelRegions regions(runs.size());
  for (int y = 1; y < page.size.height; ++y) {
    Size above = rowStarts[static_cast<Size>(y) - 1];
    for (Size here = rowStarts[static_cast<Size>(y)]; here < rowStarts[static_cast<Size>(y) + 1];
         ++here) {
      while (above < rowStarts[static_cast<Size>(y)] && runs[above].end < runs[here].begin) ++above;
      for (Size other = above;
           other < rowStarts[static_cast<Size>(y)] && runs[other].begin <= runs[here].end;
           ++other) {
        regions.join(static_cast<std::uint32_t>(other), static_cast<std::uint32_t>(here));
      }
    }
  }
  std::vector<Extent> extents(runs.size());
  for (Size i = 0; i < runs.size(); ++i) {
    Extent& extent = extents[regions.regionOf(static_cast<std::uint32_t>(i))];
    extent.left = std::min(extent.left, runs[i].begin);
    extent.right = std::max(extent.right, runs[i].end - 1);
    extent.top = std::min(extent.top, runs[i].y);
    extent.bottom = std::max(extent.bottom, runs[i].y);
    extent.area += runs[i].end - runs[i].begin;
  }
  std::array<int, 61> heights{};
  int letters = 0;
  for (const Extent& extent : extents) {
    if (extent.area < 5 || extent.height() < 4 || extent.height() > 60) continue;
    if (extent.width() > 4 * extent.height() || extent.width() < 2) continue;
    ++heights[static_cast<Size>(extent.height())];
    ++letters;
  }
  if (letters == 0) return 0;
  // Small letters are more than half of a text's, and the smallest of its marks are not counted:
  // what a third of the letters do not reach is the height of an x.
  int below = 0;
  for (Size height = 0; height < heights.size(); ++height) {
    below += heights[height];
    if (3 * below >= letters) return static_cast<double>(height);
  }
  return 60;
}

InkPage enlargedPaper(const InkPage& page, Enlargement factor, int margin) {
  const int width = std::max(static_cast<int>(std::lround(page.size.width * factor.across)), 1);
  const int height = std::max(static_cast<int>(std::lround(page.size.height * factor.down)), 1);
  InkPage paper{{width + 2 * margin, height + 2 * margin}, {}};
  paper.ink.assign(static_cast<Size>(paper.size.width) * static_cast<Size>(paper.size.height), 255);
  const auto rowAt = [&](int y) {
    return paper.ink.data() + static_cast<Size>(y + margin) * static_cast<Size>(paper.size.width) +
           static_cast<Size>(margin);
  };
  if (factor.across == 1 && factor.down == 1) {
    for (int y = 0; y < height; ++y) {
      const std::uint8_t* const from = page.row(y);
      std::uint8_t* const to = rowAt(y);
      for (int x = 0; x < width; ++x) to[x] = static_cast<std::uint8_t>(255 - from[x]);
    }
    return paper;
  }
  const std::vector<Blend> columns = blendsFor(width, page.size.width, factor.across);
  const std::vector<Blend> rows = blendsFor(height, page.size.height, factor.down);
  // Rows of the source, already as wide as the result: the four that the next one needs.
  std::array<std::vector<float>, 4> wide;
  std::array<int, 4> held{-1, -1, -1, -1};
  for (std::vector<float>& row : wide) row.resize(static_cast<Size>(width));
  const auto widened = [&](int y) -> const float* {
    const auto slot = static_cast<Size>(y % 4);
    if (held[slot] != y) {
      held[slot] = y;
      const std::uint8_t* const from = page.row(y);
      for (Size x = 0; x < static_cast<Size>(width); ++x) {
        const Blend& blend = columns[x];
        wide[slot][x] = blend.weights[0] * static_cast<float>(from[blend.from[0]]) +
                        blend.weights[1] * static_cast<float>(from[blend.from[1]]) +
                        blend.weights[2] * static_cast<float>(from[blend.from[2]]) +
                        blend.weights[3] * static_cast<float>(from[blend.from[3]]);
      }
    }
    return wide[slot].data();
  };
  for (int y = 0; y < height; ++y) {
    const Blend& blend = rows[static_cast<Size>(y)];
    const std::array<const float*, 4> from{widened(blend.from[0]), widened(blend.from[1]),
                                           widened(blend.from[2]), widened(blend.from[3])};
    std::uint8_t* const to = rowAt(y);
    for (Size x = 0; x < static_cast<Size>(width); ++x) {
      const float ink = blend.weights[0] * from[0][x] + blend.weights[1] * from[1][x] +
                        blend.weights[2] * from[2][x] + blend.weights[3] * from[3][x];
      to[x] =
          static_cast<std::uint8_t>(255 - std::clamp(static_cast<int>(2 * ink + 1) / 2, 0, 255));
    }
  }
  return paper;
}

}  // namespace vantorel
