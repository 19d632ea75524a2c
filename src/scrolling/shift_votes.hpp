#pragma once

#include <vector>

#include "scrolling/frame_signature.hpp"
#include "scrolling/static_regions.hpp"

namespace vantorel {

/// A shift that rows of two frames speak for.
struct ShiftVote {
  int offset = 0;
  float rows = 0;  ///< how many; one that could come from n places counts an n-th for each
};

/// The shifts, whatever their size, at which textured rows of `current` are found in `previous`
/// with the very same means of three blocks beside each other, the best first, no two within 2 rows
/// of each other, at most `most`. Only blocks within `span` count; as each three are looked at by
/// themselves, a part that stays still or shows a film does not hide the rest. A coarse look, to be
/// followed by a comparison. Rows that stand in more than four places vote for none.
[[nodiscard]] std::vector<ShiftVote> shiftVotes(const FrameSignature& previous,
                                                const FrameSignature& current,
                                                const ColumnSpan& span, std::size_t most);

}  // namespace vantorel
