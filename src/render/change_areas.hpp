#pragma once

#include <cstddef>
#include <vector>

#include "base/geometry.hpp"

namespace vantorel {

[[nodiscard]] PixelRect united(const PixelRect& a, const PixelRect& b);
[[nodiscard]] bool meet(const PixelRect& a, const PixelRect& b);
[[nodiscard]] bool holds(const PixelRect& outer, const PixelRect& rect);

/// Areas that hold all of `areas`, which lie in a picture of `size`: one where drawing several
/// would not be much less, and never so many that looking at each costs more than drawing them.
[[nodiscard]] std::vector<PixelRect> joined(std::vector<PixelRect> areas, PixelSize size);

/// A picture in tiles: how many there are, and those that `area` touches and are not `isThere` yet,
/// joined to few areas. They are marked as there.
inline constexpr int tileSide = 128;
inline constexpr double tileBytes = 4.0 * tileSide * tileSide;
[[nodiscard]] std::size_t tileCount(PixelSize size);
[[nodiscard]] std::vector<PixelRect> missingTiles(std::vector<bool>& isThere, const PixelRect& area,
                                                  PixelSize size);

/// Of numbers that are all different, which can stay while the others are put in between, so that
/// all ascend: as many as possible.
[[nodiscard]] std::vector<bool> longestAscent(const std::vector<std::size_t>& numbers);

}  // namespace vantorel
