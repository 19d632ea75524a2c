#include "scrolling/shift_evidence.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vantorel {
namespace {

constexpr float alikeGamma = 0.8F;
constexpr double brighterBy = 3;  // levels between flat stretches that are not the same
constexpr double exactVariance = 0.25;

std::span<const std::uint8_t> cell(const FrameSignature& frame, const ColumnSpan& span, int y,
                                   int segment) {
  const int first = span.first + segmentStart(span.length(), segment, evidenceSegments);
  const int last = span.first + segmentStart(span.length(), segment + 1, evidenceSegments);
  return frame.row(y).subspan(static_cast<std::size_t>(first),
                              static_cast<std::size_t>(last - first));
}

struct Judged {
  CellVerdict verdict = CellVerdict::silent;
  float gamma = 0;
  bool informative = false;
  float weight = 1;  ///< 0 to 1, by how much there is to be seen
};

/// Noise of a compressed picture says less than letters do.
float weightOf(const SegmentScore& score, std::size_t pixels) {
  constexpr double fullVariance = 400;
  const double variance = std::max(score.energyA, score.energyB) / static_cast<double>(pixels) +
                          score.meanDifference * score.meanDifference;
  return static_cast<float>(std::min(variance / fullVariance, 1.0));
}

/// The same within what a screen's own rounding may change.
bool isSame(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
  constexpr std::size_t atOnce = 64;
  const double most = exactVariance * static_cast<double>(a.size());
  std::int32_t difference = 0;
  for (std::size_t first = 0; first < a.size(); first += atOnce) {
    const std::size_t last = std::min(first + atOnce, a.size());
    for (std::size_t i = first; i < last; ++i) {
      const std::int32_t apart = a.data()[i] - b.data()[i];
      difference += apart * apart;
    }
    if (difference > most) return false;
  }
  return true;
}

/// Whether a stretch looks the same a few rows up and down: a vertical line fits every shift.
bool isUpright(const FramePair& pair, int row, int segment) {
  constexpr int away = 4;
  const auto here = cell(pair.current, pair.span, row, segment);
  return (row < away || isSame(here, cell(pair.current, pair.span, row - away, segment))) &&
         (row + away >= pair.current.height ||
          isSame(here, cell(pair.current, pair.span, row + away, segment)));
}

Judged judge(const FramePair& pair, int row, int offset, int segment) {
  const auto before = cell(pair.previous, pair.span, row + offset, segment);
  if (before.empty()) return {};
  const auto now = cell(pair.current, pair.span, row, segment);
  if (std::memcmp(before.data(), now.data(), now.size()) == 0) {
    if (isFlat(now, pair.floor) || isUpright(pair, row, segment)) return {};
    return {.verdict = CellVerdict::exact, .gamma = 1, .informative = true};
  }
  const SegmentScore score = scoreSegment(before, now, pair.floor);
  if (!score.gamma && std::abs(score.meanDifference) < brighterBy) return {};
  Judged judged{.gamma = score.gamma.value_or(0),
                .informative = score.informative,
                .weight = weightOf(score, before.size())};
  if (score.squaredDifference <= exactVariance * static_cast<double>(before.size())) {
    if (isUpright(pair, row, segment)) return {};
    judged.verdict = CellVerdict::exact;
  } else if (judged.gamma >= alikeGamma && std::abs(score.meanDifference) < 8 * brighterBy) {
    judged.verdict = CellVerdict::alike;
  } else {
    judged.verdict = CellVerdict::unlike;
  }
  return judged;
}

/// One row of each of `count` equal parts, at another place in each by the golden ratio: at an even
/// distance they might all meet the blank rows between lines.
int sampledRow(const RowRange& rows, int index, int count) {
  if (count == rows.length()) return rows.first + index;
  constexpr double goldenRatio = 0.6180339887498949;
  const double place = index + std::fmod((index + 1) * goldenRatio, 1.0);
  return rows.first + static_cast<int>(place * rows.length() / count);
}

}  // namespace

RowRange FramePair::overlap(int offset) const {
  const int first = std::max(bands.header, bands.header - offset);
  const int last = std::min(current.height - bands.footer, current.height - bands.footer - offset);
  return {first, std::max(first, last)};
}

int ShiftEvidence::exactRows() const {
  return static_cast<int>(std::ranges::count_if(rows, [](const Row& row) {
    return std::ranges::find(row.cells, CellVerdict::exact) != row.cells.end();
  }));
}

CellVerdict cellVerdict(const FramePair& pair, int row, int offset, int segment) {
  return judge(pair, row, offset, segment).verdict;
}

ShiftEvidence gatherEvidence(const FramePair& pair, int offset, int mostRows) {
  ShiftEvidence evidence{.offset = offset, .rows = {}};
  const RowRange overlap = pair.overlap(offset);
  const int count = std::min(overlap.length(), mostRows);
  for (int i = 0; i < count; ++i) {
    const int y = sampledRow(overlap, i, count);
    ShiftEvidence::Row row{.score = {.row = y}};
    int usable = 0;
    for (int segment = 0; segment < evidenceSegments; ++segment) {
      const Judged judged = judge(pair, y, offset, segment);
      row.cells.at(static_cast<std::size_t>(segment)) = judged.verdict;
      if (judged.verdict == CellVerdict::silent) continue;
      ++usable;
      row.score.gamma += judged.gamma;
      evidence.gammas += judged.weight * judged.gamma;
      evidence.weights += judged.weight;
      evidence.alike += judged.verdict != CellVerdict::unlike ? judged.weight : 0;
      row.score.informative |= judged.informative;
      evidence.exact += judged.verdict == CellVerdict::exact ? 1 : 0;
    }
    if (usable == 0) continue;
    evidence.telling += usable;
    row.score.gamma /= static_cast<float>(usable);
    evidence.rows.push_back(row);
  }
  return evidence;
}

int explainedBy(const FramePair& pair, const ShiftEvidence& evidence, int other, int mostRows) {
  const RowRange overlap = pair.overlap(other);
  int explained = 0;
  int looked = 0;
  for (const ShiftEvidence::Row& row : evidence.rows) {
    const int y = row.score.row;
    if (y < overlap.first || y >= overlap.last) continue;
    bool hasMismatch = false;
    for (int segment = 0; segment < evidenceSegments; ++segment) {
      const CellVerdict verdict = row.cells.at(static_cast<std::size_t>(segment));
      if (verdict != CellVerdict::alike && verdict != CellVerdict::unlike) continue;
      hasMismatch = true;
      explained += cellVerdict(pair, y, other, segment) == CellVerdict::exact ? 1 : 0;
    }
    if (hasMismatch && ++looked == mostRows) break;
  }
  return explained;
}

}  // namespace vantorel
