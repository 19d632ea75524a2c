#include "scrolling/frame_joiner.hpp"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "scrolling/frame_matcher.hpp"
#include "scrolling/offset_range.hpp"
#include "scrolling/shift_votes.hpp"

namespace vantorel {
namespace {

constexpr std::size_t votedPredictions = 4;
/// Below it nothing of the page is in sight: a comparison that refuses has looked at all shifts.
constexpr float leastHope = 0.35F;

bool isAccepted(const FrameMatch& match) {
  return std::holds_alternative<FrameJoin::Joined>(match.join.value) ||
         std::holds_alternative<FrameJoin::NoMovement>(match.join.value);
}

/// How much a refusal says: of several, the user is told the one that says most.
int weight(const FrameMatch& match) {
  struct Weight {
    int operator()(const FrameJoin::Indeterminate&) const { return 0; }
    int operator()(const FrameJoin::ScrolledTooFast&) const { return 1; }
    int operator()(const FrameJoin::MultiplePanes&) const { return 2; }
    int operator()(const FrameJoin::NoMovement&) const { return 3; }
    int operator()(const FrameJoin::Joined&) const { return 3; }
  };
  return std::visit(Weight{}, match.join.value);
}

}  // namespace

FrameMatch joinFrames(const FrameSignature& previous, const FrameSignature& current, int lastOffset,
                      const StaticColumnMask& mask) {
  FrameMatch best = matchFrames(previous, current, lastOffset, mask);
  if (isAccepted(best) || previous.width != current.width || previous.height != current.height ||
      current.isEmpty()) {
    return best;
  }
  const auto* const tooFast = std::get_if<FrameJoin::ScrolledTooFast>(&best.join.value);
  if (tooFast != nullptr && tooFast->bestAgreement < leastHope) return best;
  const int furthest = current.height - minimumOverlap(current.height);
  const ColumnSpan span = comparedColumnSpan(current.width, mask, current.scale);
  std::vector<int> predictions;
  const ShiftVotes votes(previous.rows, current.rows, current.width, span);
  for (const ShiftVotes::Vote& vote : votes.best(votedPredictions)) {
    if (std::abs(vote.offset) <= furthest) predictions.push_back(vote.offset);
  }
  for (int further = 2 * lastOffset; further != 0 && std::abs(further) < furthest; further *= 2) {
    predictions.push_back(further);
  }
  // The search goes up to twice a prediction.
  predictions.push_back(lastOffset < 0 ? -furthest / 2 : furthest / 2);
  predictions.push_back(lastOffset < 0 ? furthest / 2 : -furthest / 2);
  for (const int prediction : predictions) {
    FrameMatch match = matchFrames(previous, current, prediction, mask);
    if (isAccepted(match)) return match;
    if (weight(match) > weight(best)) best = match;
  }
  return best;
}

}  // namespace vantorel
