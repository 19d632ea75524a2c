#include "text/ink_box.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>

namespace vantorel {
namespace {

struct Color {
  int blue = 0, green = 0, red = 0;
};

Color colorAt(const Image& picture, int x, int y) {
  const auto row = picture.row(y);
  const auto at = static_cast<std::size_t>(x) * 4;
  return {row[at], row[at + 1], row[at + 2]};
}

/// The color most pixels have, of those in and around the box.
Color groundOf(const Image& picture, const PixelRect& area) {
  struct Sum {
    int count = 0, blue = 0, green = 0, red = 0;
  };
  std::map<int, Sum> sums;
  const int step = std::max(1, area.width / 400);
  for (int y = area.y; y < area.bottom(); ++y) {
    for (int x = area.x; x < area.right(); x += step) {
      const Color color = colorAt(picture, x, y);
      Sum& sum = sums[color.red / 16 * 256 + color.green / 16 * 16 + color.blue / 16];
      ++sum.count;
      sum.blue += color.blue;
      sum.green += color.green;
      sum.red += color.red;
    }
  }
  const auto most =
      std::ranges::max_element(sums, {}, [](const auto& one) { return one.second.count; });
  if (most == sums.end()) return {};
  const Sum& sum = most->second;
  return {sum.blue / sum.count, sum.green / sum.count, sum.red / sum.count};
}

class Ink {
 public:
  Ink(const Image& picture, Color ground) : picture_(picture), ground_(ground) {}

  [[nodiscard]] bool isInk(int x, int y) const {
    // Fainter than this nobody reads.
    constexpr int faintest = 28;
    const Color color = colorAt(picture_, x, y);
    return std::max({std::abs(color.red - ground_.red), std::abs(color.green - ground_.green),
                     std::abs(color.blue - ground_.blue)}) > faintest;
  }

  [[nodiscard]] bool inColumn(int x, int top, int bottom) const {
    if (x < 0 || x >= picture_.width()) return false;
    for (int y = std::max(top, 0); y < std::min(bottom, picture_.height()); ++y) {
      if (isInk(x, y)) return true;
    }
    return false;
  }

  /// Whether a column is the edge of a window, a panel or a table: ink from above the letters to
  /// below them.
  [[nodiscard]] bool isWall(int x, int top, int bottom) const {
    if (x < 0 || x >= picture_.width()) return true;
    const int reach = std::max((bottom - top) / 4, 3);
    if (top - reach < 0 || bottom + reach > picture_.height()) return false;
    for (int y = top - reach; y < bottom + reach; ++y) {
      if (!isInk(x, y)) return false;
    }
    return true;
  }

  [[nodiscard]] bool inRow(int y, int left, int right) const {
    if (y < 0 || y >= picture_.height()) return false;
    for (int x = std::max(left, 0); x < std::min(right, picture_.width()); ++x) {
      if (isInk(x, y)) return true;
    }
    return false;
  }

 private:
  const Image& picture_;
  Color ground_;
};

}  // namespace

PixelRect inkBox(const Image& picture, const PixelRect& box, const std::vector<PixelRect>& others) {
  const PixelRect whole{0, 0, picture.width(), picture.height()};
  const int height = std::max(box.height, 6);
  const PixelRect around = intersection(
      {box.x - height / 2, box.y - height / 3, box.width + height, box.height + height / 3 * 2},
      whole);
  if (around.isEmpty()) return box;
  const Ink ink(picture, groundOf(picture, around));

  int leftLimit = 0;
  int rightLimit = picture.width();
  const int middle = box.x + box.width / 2;
  for (const PixelRect& other : others) {
    const bool isBeside = other.y < box.bottom() && box.y < other.bottom();
    if (!isBeside) continue;
    const int center = other.x + other.width / 2;
    if (center < middle) leftLimit = std::max(leftLimit, other.right() - 1);
    if (center > middle) rightLimit = std::min(rightLimit, other.x + 1);
  }
  leftLimit = std::min(leftLimit, box.x);
  rightLimit = std::max(rightLimit, box.right());

  int left = box.x;
  int right = box.right();
  int top = box.y;
  int bottom = box.bottom();
  const auto grow = [&] {
    while (top > 0 && box.y - top < height / 2 && ink.inRow(top - 1, left, right)) --top;
    while (bottom < picture.height() && bottom - box.bottom() < height / 2 &&
           ink.inRow(bottom, left, right)) {
      ++bottom;
    }
  };
  grow();

  // A glyph that the box begins or ends in belongs to it, whatever its neighbour's box says.
  const int glyph = height * 2 / 3;
  while (left > 0 && box.x - left < glyph && !ink.isWall(left - 1, top, bottom) &&
         ink.inColumn(left, top, bottom) && ink.inColumn(left - 1, top, bottom)) {
    --left;
  }
  while (right < picture.width() && right - box.right() < glyph &&
         !ink.isWall(right, top, bottom) && ink.inColumn(right - 1, top, bottom) &&
         ink.inColumn(right, top, bottom)) {
    ++right;
  }
  leftLimit = std::min(leftLimit, left);
  rightLimit = std::max(rightLimit, right);

  // Letters of a word are nearer to each other than this, words are farther.
  const int blank = std::max(2, height * 3 / 10);
  const int farthest = height * 6;
  const auto reach = [&](int edge, int limit, int step) {
    int last = edge;
    for (int x = edge + step, gap = 0; step > 0 ? x < limit : x >= limit; x += step) {
      if (std::abs(x - edge) > farthest) break;
      if (ink.isWall(x, top, bottom)) break;
      if (ink.inColumn(x, top, bottom)) {
        last = x;
        gap = 0;
      } else if (++gap > blank) {
        break;
      }
    }
    return last;
  };
  left = reach(left, leftLimit, -1);
  right = reach(right - 1, rightLimit, 1) + 1;
  grow();
  return {left, top, right - left, bottom - top};
}

}  // namespace vantorel
