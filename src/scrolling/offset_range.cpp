#include "scrolling/offset_range.hpp"

#include <algorithm>
#include <cmath>

namespace vantorel {

int minimumOverlap(int height) { return std::max(height / 8, 200); }

OffsetRange offsetSearchRange(int predicted, int height) {
  constexpr int always = 8;
  const int furthest = height - minimumOverlap(height);
  const int twice = 2 * predicted;
  const int half = static_cast<int>(std::lround(predicted / 2.0));
  return {std::max(-furthest, std::min({twice, half, -always})),
          std::min(furthest, std::max({twice, half, always}))};
}

}  // namespace vantorel
