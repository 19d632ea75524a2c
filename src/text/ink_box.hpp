#pragma once

#include <vector>

#include "base/geometry.hpp"
#include "base/image.hpp"

namespace vantorel {

/// Where the ink of the letters in `box` ends in `picture`: `box` grown until no glyph is cut, and
/// further along the line over ink that nobody read, up to the next blank. It does not grow into
/// `others`, the boxes of the letters around it, by more than a pixel, and by no more than half of
/// its height upwards and downwards.
[[nodiscard]] PixelRect inkBox(const Image& picture, const PixelRect& box,
                               const std::vector<PixelRect>& others);

}  // namespace vantorel
