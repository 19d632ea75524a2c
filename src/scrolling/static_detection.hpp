#pragma once

#include "scrolling/shift_evidence.hpp"

namespace vantorel {

/// Rows from the top and from the bottom that are the same at the same place in both frames. Where
/// all are, the header has them.
[[nodiscard]] StaticBands sameRows(const FramePair& pair);

/// Of those, up to the innermost rows with texture: blank rows may as well be the page's.
[[nodiscard]] StaticBands texturedBands(const FramePair& pair, const StaticBands& same);

/// What stays at the top and at the bottom while the page moves by `offset`: up to the first row
/// that has moved, and a third of the height at most. It may be more than what really stays.
[[nodiscard]] StaticBands staticBands(const FramePair& pair, int offset);

/// `known` and what columns stay still at the left and the right of the span while the rest moves
/// by `offset`, in pixels from the frame's edges.
[[nodiscard]] StaticColumnMask stillSides(const FramePair& pair, int offset,
                                          const StaticColumnMask& known);

/// What is left of the pixels that `known` masks, up to the first column that moves by `offset`
/// after all.
[[nodiscard]] StaticColumnMask confirmedSides(const FramePair& pair, int offset,
                                              const StaticColumnMask& known);

/// How many columns at the right, within the margin that no comparison sees, did not move by
/// `offset` as the page did: a scroll bar. Below 0 when the page itself is seen to move there as
/// well.
[[nodiscard]] int scrollBarColumns(const FramePair& pair, int offset);

}  // namespace vantorel
