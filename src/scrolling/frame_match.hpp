#pragma once

#include <optional>
#include <utility>
#include <variant>

#include "scrolling/static_regions.hpp"

namespace vantorel {

/// What a comparison of two frames found. Agreements are shares of what could be compared, 0 to 1.
struct FrameJoin {
  /// The new frame shows the page `offset` rows further down (negative: up).
  struct Joined {
    int offset = 0;
    float agreement = 0;
    StaticBands bands;  ///< left out of the comparison
  };
  /// The page did not move.
  struct NoMovement {
    float agreement = 0;
  };
  /// No shift of the range fits: the page moved further than the overlap allows.
  struct ScrolledTooFast {
    float bestAgreement = 0;
  };
  /// Two parts of the frame moved by unlike amounts; one of them may be 0.
  struct MultiplePanes {
    int primaryOffset = 0;
    int secondaryOffset = 0;
  };
  /// Too little can be seen to decide, or several shifts fit what can be seen alike.
  struct Indeterminate {};

  std::variant<Indeterminate, Joined, NoMovement, ScrolledTooFast, MultiplePanes> value;
};

/// Rows [first, last) of a frame.
struct RowRange {
  int first = 0;
  int last = 0;

  [[nodiscard]] int length() const { return last - first; }
  bool operator==(const RowRange&) const = default;
};

/// The verdict of one comparison, and what it was measured with.
struct FrameMatch {
  FrameJoin join;
  std::optional<float> backgroundEnergy;  ///< variance per pixel below which a row is flat
  StaticColumnMask mask;                  ///< columns that were, or should be, left out
  std::optional<RowRange> contentRows;    ///< rows of the new frame that hold what moved
  bool isExact = false;                   ///< accepted as pixels are the same, not merely alike
};

}  // namespace vantorel
