#include "scrolling/frame_matcher.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "scrolling/background_energy.hpp"
#include "scrolling/offset_range.hpp"
#include "scrolling/shift_evidence.hpp"
#include "scrolling/shift_nomination.hpp"
#include "scrolling/shift_votes.hpp"
#include "scrolling/static_detection.hpp"

namespace vantorel {
namespace {

constexpr int judgedRows = 96;
constexpr int explainedRows = 64;
constexpr std::size_t mostCandidates = 10;
constexpr float leastFloor = 4;

// Of a shift that fits exactly.
constexpr int leastCells = 24;
constexpr int leastRows = 6;
constexpr float leastExact = 0.7F;
constexpr float leastExactOfSegment = 1.0F / 3;
constexpr int cellsOfSegment = 6;  // that say something, for the segment to have a say
constexpr float leastExactOfStill = 0.5F;
constexpr float islandShare = 0.125F;
constexpr float otherPaneShare = 0.05F;
constexpr int otherPaneCells = 8;
constexpr int decidingCells = 4;

// Of a shift that resembles.
constexpr float leastGamma = 0.85F;
constexpr float leastAlike = 0.8F;
constexpr float leastLead = 0.12F;
constexpr int cellsAlike = 32;

constexpr double widestStillSide = 0.36;

class Matching {
 public:
  Matching(const FrameSignature& previous, const FrameSignature& current, int predicted,
           const StaticColumnMask& mask)
      : previous_(previous),
        current_(current),
        predicted_(predicted),
        pair_{.previous = previous,
              .current = current,
              .span = comparedColumnSpan(current.width, mask, current.scale),
              .bands = {}} {
    match_.mask = mask;
  }

  FrameMatch run(bool mayMask) {
    match_.backgroundEnergy = backgroundEnergy(previous_, current_, match_.mask, current_.scale);
    pair_.floor = match_.backgroundEnergy.value_or(leastFloor);
    const StaticBands same = sameRows(pair_);
    if (same.header == current_.height) return accepted(FrameJoin::NoMovement{.agreement = 1});
    pair_.bands = texturedBands(pair_, same);
    judgeCandidates();
    const ShiftEvidence* const best = bestMoved();
    if (mayMask && best != nullptr && hasPoorSide(*best)) {
      const StaticColumnMask mask = stillSides(pair_, *best, match_.mask);
      if (mask != match_.mask) return masked(mask, *best);
    }
    if (const auto exact = exactVerdict(best)) return *exact;
    return resemblingVerdict();
  }

 private:
  FrameMatch verdict(auto join) {
    match_.join.value = std::move(join);
    return std::move(match_);
  }

  FrameMatch accepted(auto join) {
    match_.isExact = true;
    return verdict(std::move(join));
  }

  [[nodiscard]] FrameJoin::Joined joined(int offset, float agreement) {
    const StaticBands bands = staticBands(pair_, offset);
    match_.contentRows = RowRange{bands.header, current_.height - bands.footer};
    return {.offset = offset, .agreement = agreement, .bands = bands};
  }

  void judgeCandidates() {
    std::vector<int> offsets =
        nominateShifts(pair_, offsetSearchRange(predicted_, current_.height), mostCandidates);
    if (std::ranges::find(offsets, 0) == offsets.end()) offsets.push_back(0);
    for (const int offset : offsets) judged_.push_back(gatherEvidence(pair_, offset, judgedRows));
  }

  [[nodiscard]] bool hasOverlap(int offset) const {
    return pair_.overlap(offset).length() >= minimumOverlap(current_.height);
  }

  [[nodiscard]] const ShiftEvidence& still() const {
    return *std::ranges::find(judged_, 0, &ShiftEvidence::offset);
  }

  /// The shift that most cells fit; null when none does.
  [[nodiscard]] const ShiftEvidence* bestMoved() const {
    const ShiftEvidence* best = nullptr;
    for (const ShiftEvidence& one : judged_) {
      if (one.offset == 0 || one.exact < leastCells || one.exactRows() < leastRows) continue;
      if (!hasOverlap(one.offset)) continue;
      if (best == nullptr || one.exactShare() > best->exactShare() ||
          (one.exactShare() == best->exactShare() && one.exact > best->exact)) {
        best = &one;
      }
    }
    return best;
  }

  [[nodiscard]] static std::pair<int, int> tellingAndExact(const ShiftEvidence& evidence,
                                                           std::size_t segment) {
    std::pair<int, int> count{0, 0};
    for (const ShiftEvidence::Row& row : evidence.rows) {
      count.first += row.cells.at(segment) != CellVerdict::silent ? 1 : 0;
      count.second += row.cells.at(segment) == CellVerdict::exact ? 1 : 0;
    }
    return count;
  }

  [[nodiscard]] static bool isPoor(const ShiftEvidence& evidence, std::size_t segment) {
    const auto [telling, exact] = tellingAndExact(evidence, segment);
    return telling >= cellsOfSegment &&
           static_cast<float>(exact) < leastExactOfSegment * static_cast<float>(telling);
  }

  /// Whether the page may stand still at one of its sides while the rest moved.
  [[nodiscard]] static bool hasPoorSide(const ShiftEvidence& evidence) {
    return isPoor(evidence, 0) || isPoor(evidence, 1) || isPoor(evidence, evidenceSegments - 1) ||
           isPoor(evidence, evidenceSegments - 2);
  }

  FrameMatch masked(const StaticColumnMask& mask, const ShiftEvidence& best) {
    const int still = mask.leadingPixels.value_or(0) + mask.trailingPixels.value_or(0);
    if (still > widestStillSide * current_.width) {
      return verdict(FrameJoin::MultiplePanes{.primaryOffset = best.offset, .secondaryOffset = 0});
    }
    FrameMatch anew = Matching(previous_, current_, predicted_, mask).run(false);
    if (!std::holds_alternative<FrameJoin::Joined>(anew.join.value)) anew.mask = match_.mask;
    return anew;
  }

  /// What exact cells say; nothing when no shift has enough of them.
  std::optional<FrameMatch> exactVerdict(const ShiftEvidence* best) {
    const ShiftEvidence& still = this->still();
    const bool isStill = still.exact >= leastCells && still.exactShare() >= leastExactOfStill &&
                         (best == nullptr || still.mismatches() <= best->mismatches());
    if (isStill) return stillVerdict(best);
    if (best == nullptr || best->exactShare() < leastExact) return panesVerdict(best);
    for (std::size_t segment = 0; segment < evidenceSegments; ++segment) {
      if (isPoor(*best, segment)) return panesVerdict(best);
    }
    if (const auto refusal = refusalOf(*best)) return refusal;
    return accepted(joined(best->offset, best->exactShare()));
  }

  std::optional<FrameMatch> stillVerdict(const ShiftEvidence* best) {
    if (best != nullptr) {
      const int moved = explainedBy(pair_, still(), best->offset, explainedRows);
      if (moved >= otherPaneCells) return panes(best->offset, 0);
    }
    if (still().mismatches() >= decidingCells) {
      if (const auto elsewhere = shiftOutside(still())) {
        return verdict(FrameJoin::ScrolledTooFast{.bestAgreement = still().exactShare()});
      }
    }
    return accepted(FrameJoin::NoMovement{.agreement = still().exactShare()});
  }

  /// Two parts that are exact, each by a shift of its own.
  std::optional<FrameMatch> panesVerdict(const ShiftEvidence* best) {
    if (best == nullptr) return std::nullopt;
    for (const ShiftEvidence& other : judged_) {
      if (std::abs(other.offset - best->offset) <= 1 || other.exact < leastCells) continue;
      const int own = explainedBy(pair_, other, best->offset, explainedRows);
      const int others = explainedBy(pair_, *best, other.offset, explainedRows);
      if (std::min(own, others) >= otherPaneCells) return panes(best->offset, other.offset);
    }
    return std::nullopt;
  }

  std::optional<FrameMatch> panes(int primary, int secondary) {
    return verdict(
        FrameJoin::MultiplePanes{.primaryOffset = primary, .secondaryOffset = secondary});
  }

  /// Why a shift that fits is not taken.
  std::optional<FrameMatch> refusalOf(const ShiftEvidence& best) {
    const auto telling = static_cast<float>(best.telling);
    for (const ShiftEvidence& other : judged_) {
      if (other.offset == best.offset) continue;
      const bool isNext = std::abs(other.offset - best.offset) <= 1;
      const int explained = isNext || best.mismatches() == 0
                                ? 0
                                : explainedBy(pair_, best, other.offset, explainedRows);
      const float share = other.offset == 0 ? islandShare : otherPaneShare;
      if (explained >= otherPaneCells && static_cast<float>(explained) >= share * telling) {
        return panes(best.offset, other.offset);
      }
      // What the other one gets wrong, this one must get right, or nothing tells them apart.
      if (other.exact < leastCells || other.exactShare() < leastExactOfStill) continue;
      const int deciding = explainedBy(pair_, other, best.offset, explainedRows);
      if (deciding < decidingCells + explained) return verdict(FrameJoin::Indeterminate{});
    }
    if (best.mismatches() >= decidingCells) {
      if (const auto elsewhere = shiftOutside(best)) {
        return verdict(FrameJoin::ScrolledTooFast{.bestAgreement = best.exactShare()});
      }
    }
    return std::nullopt;
  }

  /// A shift that was not judged and that explains what does not fit `evidence`.
  [[nodiscard]] std::optional<int> shiftOutside(const ShiftEvidence& evidence) const {
    constexpr std::size_t mostVotes = 6;
    for (const ShiftVote& vote : shiftVotes(previous_, current_, pair_.span, mostVotes)) {
      const bool isJudged = std::ranges::any_of(judged_, [&](const ShiftEvidence& one) {
        return std::abs(one.offset - vote.offset) <= 1;
      });
      if (isJudged) continue;
      const int explained = explainedBy(pair_, evidence, vote.offset, explainedRows);
      if (explained >= decidingCells && 4 * explained >= evidence.mismatches()) return vote.offset;
    }
    return std::nullopt;
  }

  FrameMatch resemblingVerdict() {
    const ShiftEvidence* best = nullptr;
    int mostTelling = 0;
    for (const ShiftEvidence& one : judged_) {
      mostTelling = std::max(mostTelling, one.telling);
      if (one.telling < cellsAlike || (one.offset != 0 && !hasOverlap(one.offset))) continue;
      if (best == nullptr || one.gamma() > best->gamma()) best = &one;
    }
    if (best == nullptr) {
      if (mostTelling < cellsAlike) return verdict(FrameJoin::Indeterminate{});
      return verdict(FrameJoin::ScrolledTooFast{});
    }
    const float agreement = std::max(best->gamma(), 0.0F);
    if (best->gamma() < leastGamma || best->alikeShare() < leastAlike || !leads(*best)) {
      return verdict(FrameJoin::ScrolledTooFast{.bestAgreement = agreement});
    }
    if (best->offset == 0) return verdict(FrameJoin::NoMovement{.agreement = agreement});
    return verdict(joined(best->offset, agreement));
  }

  [[nodiscard]] bool leads(const ShiftEvidence& best) const {
    const auto rival = [&](const ShiftEvidence& other) {
      return std::abs(other.offset - best.offset) > 2 && other.telling >= cellsAlike / 2 &&
             other.gamma() > best.gamma() - leastLead;
    };
    if (std::ranges::any_of(judged_, rival)) return false;
    // Its neighbours may not have been nominated.
    return std::ranges::none_of(std::array{-1, 1}, [&](int side) {
      return gatherEvidence(pair_, best.offset + side, judgedRows).gamma() > best.gamma();
    });
  }

  const FrameSignature& previous_;
  const FrameSignature& current_;
  int predicted_;
  FramePair pair_;
  FrameMatch match_;
  std::vector<ShiftEvidence> judged_;
};

}  // namespace

FrameMatch matchFrames(const FrameSignature& previous, const FrameSignature& current,
                       int predictedOffset, const StaticColumnMask& mask) {
  if (previous.width != current.width || previous.height != current.height || current.isEmpty()) {
    return {.join = {}, .backgroundEnergy = {}, .mask = mask, .contentRows = {}};
  }
  return Matching(previous, current, predictedOffset, mask).run(true);
}

}  // namespace vantorel
