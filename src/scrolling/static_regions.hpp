#pragma once

#include <optional>

namespace vantorel {

/// Columns kept out of comparisons as they do not scroll: a sidebar, a scroll bar. Pixels where
/// they are known, else eighths of the width.
struct StaticColumnMask {
  int leadingBlocks = 0;
  int trailingBlocks = 0;
  std::optional<int> leadingPixels;
  std::optional<int> trailingPixels;

  bool operator==(const StaticColumnMask&) const = default;
};

/// Rows kept out of comparisons as they do not scroll: what sticks to the frame's top and bottom.
struct StaticBands {
  int header = 0;  ///< rows from the top
  int footer = 0;  ///< rows from the bottom

  bool operator==(const StaticBands&) const = default;
};

/// What one row or column did between two frames.
enum class RowMotion {
  moved,       ///< it fits the shift of the page, and not its old place
  stationary,  ///< it fits its old place, and not the shift
  ambiguous,   ///< it fits both
  changed,     ///< it fits neither
  unproven,    ///< it has too little on it, or no counterpart, to say
};

/// Columns [first, last).
struct ColumnSpan {
  int first = 0;
  int last = 0;

  [[nodiscard]] int length() const { return last - first; }
  bool operator==(const ColumnSpan&) const = default;
};

/// The columns that comparisons of frames `width` pixels wide use. At the right at least 16 points
/// are left out, for a scroll bar; at the left there is no such least. A mask that would leave
/// nothing counts for nothing but that margin.
[[nodiscard]] ColumnSpan comparedColumnSpan(int width, const StaticColumnMask& mask, double scale);

}  // namespace vantorel
