#pragma once

#include "scrolling/frame_match.hpp"
#include "scrolling/frame_signature.hpp"

namespace vantorel {

/// Compares `current` with `previous` and says how the page moved between them, trying the shifts
/// of `offsetSearchRange(predictedOffset)`; `mask` leaves out columns that are known to stay still.
/// A function of what it is given: any thread. About as long as a tenth of a signature takes when
/// the page is in sight, several times that when it is not.
///
/// How it decides, and why so:
/// - What a screen shows again is the same to the pixel, so that a shift is told by what fits
///   exactly, not by what resembles: lines of a table resemble each other. The profiles of the rows
///   nominate up to ten shifts by 96 rows in runs of eight (runs, as neighbouring rows are read at
///   the price of one). Each is then judged by 96 single rows spread evenly over its overlap, so
///   that every line of a text is met, in eight segments: cells that fit exactly, that correlate by
///   0.8, or that do not. At most 64 more rows are looked at to see whether another shift explains
///   what does not fit: 256 in all.
/// - A shift is accepted when 24 cells on 6 rows fit it exactly, and 7 of 10 of those that say
///   something, also 1 of 3 in each segment; the rest may be a film, a caret, what the pointer
///   lights up. It is refused when another shift explains a twentieth of them (two panes), when
///   another one fits as well as it does (`Indeterminate`), and when rows that do not fit are found
///   at a shift outside of the range (`ScrolledTooFast`). A place that stays still, such as a
///   button that floats above the page, may hold an eighth of the cells.
/// - Where nothing fits exactly (pictures that were compressed, frames between two pixels of an
///   animation) the cells' correlations decide: on average 0.85, 8 of 10 cells alike, and by 0.12
///   more than any shift that is not next to it.
/// - Rows that are the same at the same place, from the top and from the bottom, are static bands
/// as
///   far as they carry texture; beyond a row that changes in them (a clock), as long as nothing
///   below it has moved. They count as such up to the last row that may belong to them.
/// - Columns at one side that stay still, up to 0.36 of the width, are masked to the pixel, and the
///   rest is compared anew; a wider part is a pane.
/// - `contentRows` are the rows between the bands.
/// - Where no floor can be measured, the least one of `backgroundEnergy` is taken.
[[nodiscard]] FrameMatch matchFrames(const FrameSignature& previous, const FrameSignature& current,
                                     int predictedOffset, const StaticColumnMask& mask);

}  // namespace vantorel
