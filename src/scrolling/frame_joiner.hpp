#pragma once

#include "scrolling/frame_match.hpp"
#include "scrolling/frame_signature.hpp"

namespace vantorel {

/// `matchFrames` with more than one prediction, so that a first move, a leap or a turn back is
/// found as long as the overlap remains: the last offset, then what rows vote for (`shiftVotes`),
/// then doublings of the last offset and the whole range to both sides. The first verdict that is
/// not a refusal counts; that of the page standing still only when rows that changed do not speak
/// for a move. Any thread.
[[nodiscard]] FrameMatch joinFrames(const FrameSignature& previous, const FrameSignature& current,
                                    int lastOffset, const StaticColumnMask& mask);

}  // namespace vantorel
