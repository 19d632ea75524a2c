#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "scrolling/frame_match.hpp"
#include "scrolling/frame_signature.hpp"
#include "scrolling/row_correlation.hpp"
#include "scrolling/static_regions.hpp"

namespace vantorel {

inline constexpr int evidenceSegments = 8;

/// Two frames and what of them is compared.
struct FramePair {
  const FrameSignature& previous;
  const FrameSignature& current;
  ColumnSpan span;
  StaticBands bands;  ///< left out of both
  float floor = 4;    ///< variance per pixel below which a stretch is flat

  /// Rows of the new frame that have a counterpart when the page has moved by `offset`: row y shows
  /// what row y + offset of the previous one showed.
  [[nodiscard]] RowRange overlap(int offset) const;
};

/// What a stretch of a row says of a shift. One that is flat in both frames, and alike, says
/// nothing, nor does one that fits and is the same a few rows up and down (a vertical line).
enum class CellVerdict : std::uint8_t {
  silent,
  exact,  ///< the same to the pixel, within what a screen's own rounding may change
  alike,  ///< it correlates
  unlike,
};

/// What sampled rows say of a shift, in eight cells each.
struct ShiftEvidence {
  struct Row {
    RowCorrelationScore score;
    std::array<CellVerdict, evidenceSegments> cells{};
  };

  int offset = 0;
  std::vector<Row> rows;

  // Of all cells that say something.
  int telling = 0;
  int exact = 0;

  // Weighed by how much there is to be seen in each.
  float weights = 0;
  float alike = 0;  ///< exact ones too
  float gammas = 0;

  [[nodiscard]] int mismatches() const { return telling - exact; }
  [[nodiscard]] float exactShare() const {
    return telling > 0 ? static_cast<float>(exact) / static_cast<float>(telling) : 0;
  }
  [[nodiscard]] float alikeShare() const { return weights > 0 ? alike / weights : 0; }
  [[nodiscard]] float gamma() const { return weights > 0 ? gammas / weights : 0; }
  /// Rows on which at least one cell is exact.
  [[nodiscard]] int exactRows() const;
};

/// What the cells of one row say of a shift.
[[nodiscard]] CellVerdict cellVerdict(const FramePair& pair, int row, int offset, int segment);

/// Looks at no more than `mostRows` rows, spread evenly over the overlap.
[[nodiscard]] ShiftEvidence gatherEvidence(const FramePair& pair, int offset, int mostRows);

/// How many of the cells that do not fit `evidence` fit the shift `other` exactly, of those whose
/// counterparts lie in both frames. Looks at no more than `mostRows` of its rows.
[[nodiscard]] int explainedBy(const FramePair& pair, const ShiftEvidence& evidence, int other,
                              int mostRows);

}  // namespace vantorel
