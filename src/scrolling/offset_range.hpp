#pragma once

namespace vantorel {

/// Shifts of a page in rows, from `first` to `last`, both included; none when `last` is smaller.
struct OffsetRange {
  int first = 0;
  int last = 0;

  bool operator==(const OffsetRange&) const = default;
};

/// Rows that two frames `height` rows high must have in common to be joined.
[[nodiscard]] int minimumOverlap(int height);

/// The shifts to try when `predicted` is the last one that was accepted: 8 rows to either side, and
/// up to twice as far as it went, as long as the least overlap remains.
[[nodiscard]] OffsetRange offsetSearchRange(int predicted, int height);

}  // namespace vantorel
