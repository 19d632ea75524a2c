#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "scrolling/frame_signature.hpp"
#include "scrolling/static_regions.hpp"

namespace vantorel {

/// What rows that cannot be mistaken for another say of how a page moved: those at which a look
/// begins that both frames have in one place only. A look is the means of three blocks beside each
/// other within the span, to the last bit; as each three are looked at by themselves, a part that
/// stays still or shows a film does not hide the rest. Digests alone are looked at, at shifts of
/// any size. Any thread.
class ShiftVotes {
 public:
  struct Vote {
    int offset = 0;
    int rows = 0;  ///< how many speak for it
  };

  /// Rows of frames `width` pixels wide; there may be more of the previous ones than a frame has.
  /// An offset is the index of a previous row less that of the new one.
  ShiftVotes(std::span<const RowDigest> previous, std::span<const RowDigest> current, int width,
             const ColumnSpan& span);

  /// How many rows speak for a shift.
  [[nodiscard]] int rowsFor(int offset) const;

  /// The shifts that at least four rows speak for, the best first, no two within 2 rows of each
  /// The shifts that at least four rows speak for, the best first, no two moves within 2 rows of
  /// each other, at most `most`.
  [[nodiscard]] std::vector<Vote> best(std::size_t most) const;

 private:
  int leastOffset_ = 0;
  std::vector<int> tally_;
};

}  // namespace vantorel
