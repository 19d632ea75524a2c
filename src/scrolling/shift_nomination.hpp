#pragma once

#include <cstddef>
#include <vector>

#include "scrolling/offset_range.hpp"
#include "scrolling/shift_evidence.hpp"

namespace vantorel {

/// The shifts of `range` at which the profiles of 64 rows, in runs of eight spread evenly over the
/// overlap, resemble each other most: peaks only, the best first, at most `most`. Digests alone are
/// looked at.
[[nodiscard]] std::vector<int> nominateShifts(const FramePair& pair, const OffsetRange& range,
                                              std::size_t most);

}  // namespace vantorel
