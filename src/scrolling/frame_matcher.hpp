#pragma once

#include "scrolling/frame_match.hpp"
#include "scrolling/frame_signature.hpp"

namespace vantorel {

/// Compares `current` with `previous` and says how the page moved between them, trying the shifts
/// of `offsetSearchRange(predictedOffset)`; `mask` leaves out columns that are known to stay still.
/// A function of what it is given: any thread. Takes about a tenth of a signature's time when the
/// page goes on as it did, some times that when it is out of sight.
///
/// How it decides, and why so:
/// - What a screen shows again is the same to the pixel. So a shift is told by what fits exactly,
///   not by what resembles: lines of a table resemble each other at every shift. Rows with a look
///   that each frame has only once vote (`ShiftVotes`), and profiles of 64 rows in runs of eight
///   nominate up to ten shifts more (runs, as neighbouring rows are read at the price of one).
/// - Each is judged by 96 single rows, one in each equal part of its overlap and at another place
///   of it each time, so that neither lines nor the gaps between them are met by turns; in eight
///   segments each, cells that fit exactly, that correlate by 0.8, or that do not. As many rows on
///   which others were judged show whether it explains what does not fit those: 256 in all. Where
///   24 rows vote for a shift within the range and none for another, 64 rows on which every cell
///   fits are enough.
/// - A shift is accepted when 24 cells on 6 rows fit it exactly, and 7 of 10 of those that say
///   something; 9 of 20 when 24 rows vote for it and none for another. The rest may be a film, a
///   caret, what the pointer lights up: a segment that fits nowhere for long belongs to another
///   shift. It is refused when another shift explains a twentieth of the cells (two panes), when
///   another one fits as well (`Indeterminate`), and when what does not fit is found at a shift
///   outside of the range (`ScrolledTooFast`). A place that stays still, such as a button that
///   floats above the page, may hold an eighth of the cells. Unless at least 8 rows that are there
///   only once vote for it, and hardly any for another, all shifts that the overlap allows are
///   compared with it, not only the range.
/// - The page stands still when half of the cells are as they were and what is not is found at no
///   other shift, or when nine tenths of the rows are as they were and no rows vote.
/// - Where nothing fits exactly (pictures that were compressed, frames between two pixels of an
///   animation) the cells' correlations decide, each weighed by its variance up to 400, for noise
///   says less than letters: on average 0.85, 8 of 10 alike, and by 0.3 more than any shift of
///   those that the overlap allows, but for its neighbours. Tables and code are refused so: another
///   frame comes.
/// - Static bands are the rows from the top and from the bottom up to the first that has moved, a
///   third of the height at most: a clock, a shadow or a film in them is no end, and what belongs
///   to the page after all is in the next frame. For the overlap only rows count that are the same
///   at the same place, up to the innermost with texture.
/// - Columns at one side that stay still, up to 0.36 of the width, are masked to the pixel, and the
///   rest is compared anew; a wider part is a pane.
/// - `contentRows` are the rows between the bands.
/// - Where no floor can be measured, the least one of `backgroundEnergy` is taken. A stretch
///   that is brighter than its counterpart by three levels says something even when both are flat.
[[nodiscard]] FrameMatch matchFrames(const FrameSignature& previous, const FrameSignature& current,
                                     int predictedOffset, const StaticColumnMask& mask);

}  // namespace vantorel
