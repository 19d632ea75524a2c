#include "scrolling/static_regions.hpp"

#include <algorithm>
#include <cmath>

#include "scrolling/frame_signature.hpp"

namespace vantorel {

ColumnSpan comparedColumnSpan(int width, const StaticColumnMask& mask, double scale) {
  constexpr double scrollBarPoints = 16;
  const int margin = static_cast<int>(std::lround(scrollBarPoints * scale));
  const int leading = mask.leadingPixels.value_or(blockStart(width, mask.leadingBlocks));
  const int trailing =
      std::max(mask.trailingPixels.value_or(blockStart(width, mask.trailingBlocks)), margin);
  if (width - trailing > leading) return {leading, width - trailing};
  return {0, std::max(width - std::min(margin, width - 1), 1)};
}

}  // namespace vantorel
