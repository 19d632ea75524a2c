#include "scrolling/frame_matcher.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

#include "scrolling/background_energy.hpp"
#include "scrolling/offset_range.hpp"
#include "scrolling/shift_evidence.hpp"
#include "scrolling/shift_nomination.hpp"
#include "scrolling/shift_votes.hpp"
#include "scrolling/static_detection.hpp"

namespace vantorel {
namespace {

// With the 64 of the nomination and the 96 on which another shift was judged: 256 rows a shift.
constexpr int judgedRows = 96;
constexpr int confirmingRows = 64;
constexpr int explainedRows = 64;
constexpr std::size_t mostCandidates = 10;
constexpr float assumedFloor = 4;

// Of a shift that fits exactly.
constexpr int leastCells = 24;
constexpr int leastExactRows = 6;
constexpr float leastExact = 0.7F;
constexpr float leastExactOfSegment = 1.0F / 3;
constexpr int cellsOfSegment = 6;  // that say something, for the segment to have a say
constexpr float leastExactOfStill = 0.5F;
constexpr int certainRows = 8;
constexpr int undisputedRows = 24;
constexpr float leastExactUndisputed = 0.45F;
constexpr std::size_t votesAsked = 4;
constexpr float islandShare = 0.125F;
constexpr float otherPaneShare = 0.05F;
constexpr int otherPaneCells = 8;
constexpr int decidingCells = 4;
constexpr int worseCells = 8;
constexpr float worseShare = 0.05F;

// Of a shift that resembles.
constexpr float leastGamma = 0.85F;
constexpr float leastAlike = 0.8F;
constexpr float leastLead = 0.3F;
constexpr int cellsAlike = 32;

constexpr double widestStillSide = 0.36;
constexpr int changeShare = 10;
constexpr double tallestFilm = 0.6;  // of the height, on a page that stands still

class Matching {
 public:
  Matching(const FrameSignature& previous, const FrameSignature& current, int predicted,
           const StaticColumnMask& mask)
      : previous_(previous),
        current_(current),
        range_(offsetSearchRange(predicted, current.height)),
        predicted_(predicted),
        pair_{.previous = previous,
              .current = current,
              .span = comparedColumnSpan(current.width, mask, current.scale),
              .bands = {}},
        votes_(previous.rows, current.rows, current.width, pair_.span) {
    match_.mask = mask;
  }

  FrameMatch run(bool mayMask) {
    match_.backgroundEnergy = backgroundEnergy(previous_, current_, match_.mask, current_.scale);
    pair_.floor = match_.backgroundEnergy.value_or(assumedFloor);
    pair_.bands = sameRows(pair_);
    if (pair_.bands.header == current_.height) {
      pair_.bands = {};
      if (gatherEvidence(pair_, 0, judgedRows).exact < leastCells) {
        return verdict(FrameJoin::Indeterminate{});
      }
      return accepted(FrameJoin::NoMovement{.agreement = 1});
    }
    textured_ = texturedBands(pair_, pair_.bands);
    if (isNearlyTheSame()) return accepted(FrameJoin::NoMovement{.agreement = 1});
    if (auto plain = plainVerdict()) return *plain;
    judge(range_);
    const ShiftEvidence* best = bestMoved();
    if (mayMask && best != nullptr && hasPoorSide(*best)) {
      const StaticColumnMask mask = stillSides(pair_, best->offset, match_.mask);
      if (mask != match_.mask) {
        if (const auto anew = masked(mask, *best)) return *anew;
      }
    }
    const bool isCertain = best != nullptr && isUndisputed(best->offset, certainRows);
    if (isCertain) {
      if (auto exact = exactVerdict(best)) return *exact;
    }
    // Nothing that fits is there only once: see what else might fit.
    const int furthest = current_.height - minimumOverlap(current_.height);
    judge({-furthest, furthest});
    if (auto exact = exactVerdict(bestMoved())) return *exact;
    return resemblingVerdict();
  }

 private:
  FrameMatch verdict(auto join) {
    match_.join.value = std::move(join);
    return match_;
  }

  FrameMatch accepted(auto join) {
    match_.isExact = true;
    return verdict(std::move(join));
  }

  std::optional<FrameMatch> panes(int primary, int secondary) {
    return verdict(
        FrameJoin::MultiplePanes{.primaryOffset = primary, .secondaryOffset = secondary});
  }

  FrameMatch tooFast(float agreement) {
    return verdict(FrameJoin::ScrolledTooFast{.bestAgreement = agreement});
  }

  [[nodiscard]] FrameJoin::Joined joined(int offset, float agreement) {
    const StaticBands bands = staticBands(pair_, offset);
    match_.contentRows = RowRange{bands.header, current_.height - bands.footer};
    return {.offset = offset, .agreement = agreement, .bands = bands};
  }

  [[nodiscard]] bool isInRange(int offset) const {
    return offset >= range_.first && offset <= range_.last;
  }

  /// All but a few rows are as they were, and what is new in those is not from elsewhere: a clock,
  /// on a desktop that shows little else.
  [[nodiscard]] bool isNearlyTheSame() const {
    const int changed = current_.height - pair_.bands.header - pair_.bands.footer;
    return changeShare * changed < current_.height && votes_.best(1).empty();
  }

  /// The usual case, in which nothing is left to ask: rows that are there only once agree on a
  /// shift, and everything fits it.
  std::optional<FrameMatch> plainVerdict() {
    const auto votes = votes_.best(1);
    if (votes.empty() || votes.front().offset == 0) return std::nullopt;
    const int offset = votes.front().offset;
    if (!isInRange(offset) || !hasOverlap(offset) || !isUndisputed(offset)) return std::nullopt;
    const ShiftEvidence evidence = gatherEvidence(pair_, offset, confirmingRows);
    if (evidence.mismatches() > 0 || !isEnough(evidence)) return std::nullopt;
    return accepted(joined(offset, 1));
  }

  /// Judges what profiles and votes nominate within `range`, and no movement.
  void judge(const OffsetRange& range) {
    std::vector<int> offsets = nominateShifts(pair_, range, mostCandidates);
    for (const auto& vote : votes_.best(votesAsked)) {
      if (vote.offset >= range.first && vote.offset <= range.last) offsets.push_back(vote.offset);
    }
    offsets.push_back(0);
    for (const int offset : offsets) {
      if (std::ranges::find(judged_, offset, &ShiftEvidence::offset) != judged_.end()) continue;
      judged_.push_back(offset == 0 ? evidenceOfStill()
                                    : gatherEvidence(pair_, offset, judgedRows));
    }
  }

  /// What is the same at the same place counts for a page that stands still, bands and all.
  [[nodiscard]] ShiftEvidence evidenceOfStill() const {
    FramePair whole = pair_;
    whole.bands = {};
    return gatherEvidence(whole, 0, judgedRows);
  }

  /// As many rows as two frames must have in common, those between the bands alone.
  [[nodiscard]] bool hasOverlap(int offset) const {
    return current_.height - textured_.header - textured_.footer - std::abs(offset) >=
           minimumOverlap(current_.height);
  }

  [[nodiscard]] const ShiftEvidence& still() const {
    return *std::ranges::find(judged_, 0, &ShiftEvidence::offset);
  }

  [[nodiscard]] static bool isEnough(const ShiftEvidence& evidence) {
    return evidence.exact >= leastCells && evidence.exactRows() >= leastExactRows;
  }

  /// The shift that cells fit best; null when none has enough of them.
  [[nodiscard]] const ShiftEvidence* bestMoved() const {
    const ShiftEvidence* best = nullptr;
    for (const ShiftEvidence& one : judged_) {
      if (one.offset == 0 || !isEnough(one)) continue;
      if (best == nullptr || one.exactShare() > best->exactShare() ||
          (one.exactShare() == best->exactShare() && one.exact > best->exact)) {
        best = &one;
      }
    }
    return best;
  }

  [[nodiscard]] static bool isPoor(const ShiftEvidence& evidence, std::size_t segment) {
    int telling = 0;
    int exact = 0;
    for (const ShiftEvidence::Row& row : evidence.rows) {
      telling += row.cells.at(segment) != CellVerdict::silent ? 1 : 0;
      exact += row.cells.at(segment) == CellVerdict::exact ? 1 : 0;
    }
    return telling >= cellsOfSegment &&
           static_cast<float>(exact) < leastExactOfSegment * static_cast<float>(telling);
  }

  /// Whether a segment never fits for long: what plays there would leave some of it alone. A place
  /// that stays still while the rest moves is another matter.
  [[nodiscard]] bool isUnlike(const ShiftEvidence& evidence, std::size_t segment) const {
    if (!isPoor(evidence, segment)) return false;
    int longest = 0;
    int run = 0;
    std::vector<int> mismatches;
    for (const ShiftEvidence::Row& row : evidence.rows) {
      const CellVerdict verdict = row.cells.at(segment);
      if (verdict == CellVerdict::silent) continue;
      run = verdict == CellVerdict::exact ? run + 1 : 0;
      longest = std::max(longest, run);
      if (verdict != CellVerdict::exact) mismatches.push_back(row.score.row);
    }
    if (evidence.offset == 0) {
      return mismatches.back() - mismatches.front() > tallestFilm * current_.height;
    }
    const auto stayed = std::ranges::count_if(mismatches, [&](int row) {
      return cellVerdict(pair_, row, 0, static_cast<int>(segment)) == CellVerdict::exact;
    });
    return longest < cellsOfSegment && 5 * static_cast<std::size_t>(stayed) < 4 * mismatches.size();
  }

  [[nodiscard]] bool isUnlikeAnywhere(const ShiftEvidence& evidence) const {
    for (std::size_t segment = 0; segment < evidenceSegments; ++segment) {
      if (isUnlike(evidence, segment)) return true;
    }
    return false;
  }

  /// Whether rows that are there only once speak for a shift and, but for what stands still, for no
  /// other.
  [[nodiscard]] bool isUndisputed(int offset, int leastRows = undisputedRows) const {
    const int rows = votes_.rowsFor(offset);
    return rows >= leastRows &&
           std::ranges::none_of(votes_.best(votesAsked), [&](const ShiftVotes::Vote& vote) {
             return vote.offset != 0 && std::abs(vote.offset - offset) > 1 && 4 * vote.rows > rows;
           });
  }

  /// Whether the page may stand still at one of its sides while the rest moved.
  [[nodiscard]] static bool hasPoorSide(const ShiftEvidence& evidence) {
    return isPoor(evidence, 0) || isPoor(evidence, 1) || isPoor(evidence, evidenceSegments - 1) ||
           isPoor(evidence, evidenceSegments - 2);
  }

  /// What the rest says without its still sides; nothing when that is not a move.
  std::optional<FrameMatch> masked(const StaticColumnMask& mask, const ShiftEvidence& best) {
    const int still = mask.leadingPixels.value_or(0) + mask.trailingPixels.value_or(0);
    if (still > widestStillSide * current_.width) return panes(best.offset, 0);
    const FrameMatch anew = Matching(previous_, current_, predicted_, mask).run(false);
    if (!std::holds_alternative<FrameJoin::Joined>(anew.join.value)) return std::nullopt;
    return anew;
  }

  /// What exact cells say; nothing when no shift has enough of them.
  std::optional<FrameMatch> exactVerdict(const ShiftEvidence* best) {
    const bool isStill = still().exact >= leastCells && still().exactShare() >= leastExactOfStill &&
                         (best == nullptr || still().mismatches() <= best->mismatches());
    if (isStill) return stillVerdict();
    if (best == nullptr) return std::nullopt;
    const float least = isUndisputed(best->offset) ? leastExactUndisputed : leastExact;
    if (best->exactShare() < least) return panesVerdict(*best);
    if (auto refusal = refusalOf(*best)) return refusal;
    if (!isInRange(best->offset) || !hasOverlap(best->offset)) return tooFast(best->exactShare());
    return accepted(joined(best->offset, best->exactShare()));
  }

  std::optional<FrameMatch> stillVerdict() {
    for (const ShiftEvidence& other : judged_) {
      if (other.offset == 0 || other.exact < leastCells) continue;
      const int moved = explainedBy(pair_, still(), other.offset, explainedRows);
      if (moved >= otherPaneCells && 4 * moved >= still().mismatches()) {
        return panes(other.offset, 0);
      }
    }
    // As a table does that was scrolled by whole rows, but for its numbers.
    if (isUnlikeAnywhere(still()) || isFoundElsewhere(still()))
      return tooFast(still().exactShare());
    return accepted(FrameJoin::NoMovement{.agreement = still().exactShare()});
  }

  /// Two parts that are exact, each by a shift of its own.
  std::optional<FrameMatch> panesVerdict(const ShiftEvidence& best) {
    const auto isOther = [&](const ShiftEvidence& other) {
      return std::abs(other.offset - best.offset) > 1 && other.exact >= leastCells;
    };
    const int rowsEach = explainedRowsEach(isOther);
    for (const ShiftEvidence& other : judged_) {
      if (!isOther(other)) continue;
      const int own = explainedBy(pair_, other, best.offset, rowsEach);
      const int others = explainedBy(pair_, best, other.offset, explainedRows);
      if (std::min(own, others) >= otherPaneCells) return panes(best.offset, other.offset);
    }
    return std::nullopt;
  }

  /// Of the rows that may be looked at for one shift, those for each of several others.
  template <class IsOther>
  [[nodiscard]] int explainedRowsEach(IsOther isOther) const {
    const auto others = static_cast<int>(std::ranges::count_if(judged_, isOther));
    return explainedRows / std::max(others, 1);
  }

  /// Why a shift that fits is not taken.
  std::optional<FrameMatch> refusalOf(const ShiftEvidence& best) {
    const auto fitsAsWell = [&](const ShiftEvidence& other) {
      if (other.offset == best.offset || other.exact < leastCells ||
          other.exactShare() < leastExactOfStill) {
        return false;
      }
      return other.mismatches() < worseCells ||
             other.exactShare() + worseShare >= best.exactShare();
    };
    const int rowsEach = explainedRowsEach(fitsAsWell);
    if (isUnlikeAnywhere(best)) {
      if (auto refusal = panesVerdict(best)) return refusal;
      return tooFast(best.exactShare());
    }
    for (const ShiftEvidence& other : judged_) {
      if (other.offset == best.offset) continue;
      const bool isNext = std::abs(other.offset - best.offset) <= 2;
      const int explained = isNext || best.mismatches() == 0
                                ? 0
                                : explainedBy(pair_, best, other.offset, explainedRows);
      const float share = other.offset == 0 ? islandShare : otherPaneShare;
      if (explained >= otherPaneCells &&
          static_cast<float>(explained) >= share * static_cast<float>(best.telling)) {
        return panes(best.offset, other.offset);
      }
      // What the other one gets wrong, this one must get right, or nothing tells them apart.
      if (!fitsAsWell(other)) continue;
      const int deciding = explainedBy(pair_, other, best.offset, rowsEach);
      if (deciding < decidingCells + explained) return verdict(FrameJoin::Indeterminate{});
    }
    if (isFoundElsewhere(best)) return tooFast(best.exactShare());
    return std::nullopt;
  }

  /// Whether what does not fit `evidence` is found at a shift that was not judged.
  [[nodiscard]] bool isFoundElsewhere(const ShiftEvidence& evidence) const {
    if (evidence.mismatches() < decidingCells) return false;
    return std::ranges::any_of(votes_.best(votesAsked), [&](const ShiftVotes::Vote& vote) {
      if (std::ranges::find(judged_, vote.offset, &ShiftEvidence::offset) != judged_.end()) {
        return false;
      }
      const int explained = explainedBy(pair_, evidence, vote.offset, explainedRows);
      return explained >= decidingCells && 4 * explained >= evidence.mismatches();
    });
  }

  FrameMatch resemblingVerdict() {
    const ShiftEvidence* best = nullptr;
    int mostTelling = 0;
    for (const ShiftEvidence& one : judged_) {
      mostTelling = std::max(mostTelling, one.telling);
      if (one.telling < cellsAlike) continue;
      if (best == nullptr || one.gamma() > best->gamma()) best = &one;
    }
    if (best == nullptr) {
      if (mostTelling < cellsAlike) return verdict(FrameJoin::Indeterminate{});
      return tooFast(0);
    }
    const float agreement = std::max(best->gamma(), 0.0F);
    if (best->gamma() < leastGamma || best->alikeShare() < leastAlike || !leads(*best)) {
      return tooFast(agreement);
    }
    if (best->offset == 0) {
      const auto votes = votes_.best(1);
      const bool hasMoved = !votes.empty() && votes.front().offset != 0;
      if (hasMoved) return tooFast(agreement);
      return verdict(FrameJoin::NoMovement{.agreement = agreement});
    }
    if (!isInRange(best->offset) || !hasOverlap(best->offset)) return tooFast(agreement);
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
  OffsetRange range_;
  int predicted_;
  FramePair pair_;
  ShiftVotes votes_;
  StaticBands textured_;
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
