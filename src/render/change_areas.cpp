#include "render/change_areas.hpp"

#include <algorithm>

namespace vantorel {
namespace {

constexpr std::size_t mostAreas = 64;

double areaOf(const PixelRect& rect) { return double(rect.width) * rect.height; }

struct Tiling {
  explicit Tiling(PixelSize picture)
      : size(picture),
        columns((picture.width + tileSide - 1) / tileSide),
        rows((picture.height + tileSide - 1) / tileSide) {}

  [[nodiscard]] std::size_t count() const {
    return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
  }
  [[nodiscard]] std::size_t place(int column, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
           static_cast<std::size_t>(column);
  }

  /// Calls `visit` with the place of each tile that `area` touches.
  template <class Visit>
  void forEach(const PixelRect& area, Visit visit) const {
    const PixelRect part = intersection(area, {0, 0, size.width, size.height});
    if (part.isEmpty()) return;
    for (int row = part.y / tileSide; row <= (part.bottom() - 1) / tileSide; ++row) {
      for (int column = part.x / tileSide; column <= (part.right() - 1) / tileSide; ++column) {
        visit(place(column, row));
      }
    }
  }

  /// Tiles as stretches of a row, one over the other where they can be.
  [[nodiscard]] std::vector<PixelRect> stretchesOf(const std::vector<bool>& isMeant) const {
    std::vector<PixelRect> stretches;
    for (int row = 0; row < rows; ++row) {
      for (int column = 0; column < columns; ++column) {
        if (!isMeant[place(column, row)]) continue;
        const int first = column;
        while (column < columns && isMeant[place(column, row)]) ++column;
        const PixelRect stretch =
            intersection({first * tileSide, row * tileSide, (column - first) * tileSide, tileSide},
                         {0, 0, size.width, size.height});
        const auto above = std::ranges::find_if(stretches, [&](const PixelRect& other) {
          return other.bottom() == stretch.y && other.x == stretch.x &&
                 other.width == stretch.width;
        });
        if (above == stretches.end()) {
          stretches.push_back(stretch);
        } else {
          above->height += stretch.height;
        }
      }
    }
    return stretches;
  }

  PixelSize size;
  int columns;
  int rows;
};

std::vector<PixelRect> tilesOf(const std::vector<PixelRect>& areas, PixelSize size) {
  const Tiling tiling(size);
  std::vector<bool> isTouched(tiling.count());
  for (const PixelRect& area : areas) {
    tiling.forEach(area, [&](std::size_t tile) { isTouched[tile] = true; });
  }
  return tiling.stretchesOf(isTouched);
}

}  // namespace

PixelRect united(const PixelRect& a, const PixelRect& b) {
  if (a.isEmpty()) return b;
  if (b.isEmpty()) return a;
  const int left = std::min(a.x, b.x);
  const int top = std::min(a.y, b.y);
  return {left, top, std::max(a.right(), b.right()) - left, std::max(a.bottom(), b.bottom()) - top};
}

bool meet(const PixelRect& a, const PixelRect& b) { return !intersection(a, b).isEmpty(); }

bool holds(const PixelRect& outer, const PixelRect& rect) {
  return rect.x >= outer.x && rect.y >= outer.y && rect.right() <= outer.right() &&
         rect.bottom() <= outer.bottom();
}

std::vector<PixelRect> joined(std::vector<PixelRect> areas, PixelSize size) {
  if (areas.size() > mostAreas) areas = tilesOf(areas, size);
  for (std::size_t i = 0; i < areas.size(); ++i) {
    for (std::size_t j = i + 1; j < areas.size();) {
      const PixelRect both = united(areas[i], areas[j]);
      if (areaOf(both) <= 1.1 * (areaOf(areas[i]) + areaOf(areas[j]))) {
        areas[i] = both;
        areas.erase(areas.begin() + static_cast<std::ptrdiff_t>(j));
        j = i + 1;
      } else {
        ++j;
      }
    }
  }
  return areas;
}

std::size_t tileCount(PixelSize size) { return Tiling(size).count(); }

std::vector<PixelRect> missingTiles(std::vector<bool>& isThere, const PixelRect& area,
                                    PixelSize size) {
  const Tiling tiling(size);
  std::vector<bool> isMissing(tiling.count());
  tiling.forEach(area, [&](std::size_t tile) {
    isMissing[tile] = !isThere[tile];
    isThere[tile] = true;
  });
  return tiling.stretchesOf(isMissing);
}

std::vector<bool> longestAscent(const std::vector<std::size_t>& numbers) {
  std::vector<std::size_t> ends;  // of the ascents of each length: the place of the least last one
  std::vector<std::size_t> before(numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto at = std::ranges::lower_bound(ends, numbers[i], {},
                                             [&](std::size_t place) { return numbers[place]; });
    before[i] = at == ends.begin() ? i : *std::prev(at);
    if (at == ends.end()) {
      ends.push_back(i);
    } else {
      *at = i;
    }
  }
  std::vector<bool> stays(numbers.size());
  if (ends.empty()) return stays;
  for (std::size_t i = ends.back();; i = before[i]) {
    stays[i] = true;
    if (before[i] == i) return stays;
  }
}

}  // namespace vantorel
