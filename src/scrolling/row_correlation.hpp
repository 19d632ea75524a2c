#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace vantorel {

/// The correlation of two rows.
struct RowCorrelationScore {
  float gamma = 0;           ///< -1 to 1
  bool informative = false;  ///< both rows carry enough texture to be trusted
  int row = 0;               ///< of the new frame
};

/// How two stretches of grey, one of each row, compare.
struct SegmentScore {
  /// Their correlation, -1 to 1: the sum of products over the root of the product of both energies,
  /// each about its own mean; 0 where that root is below 1e-6. Absent where both are flat.
  std::optional<float> gamma;
  bool informative = false;  ///< neither is flat
  double energyA = 0;        ///< sum of squared differences from its own mean
  double energyB = 0;
  double meanDifference = 0;     ///< levels of grey
  double squaredDifference = 0;  ///< sum over the pixels
};

/// Where segment `index` of `count` begins in a row of `length` pixels; `count` is the end.
[[nodiscard]] constexpr int segmentStart(int length, int index, int count) {
  return static_cast<int>(std::int64_t{index} * length / count);
}

/// Whether a stretch is flat, as `scoreSegment` sees it.
[[nodiscard]] bool isFlat(std::span<const std::uint8_t> stretch, float floor);

/// A stretch is flat when its energy is below `floor` for each of its pixels. Both are equally
/// long, at least one pixel and at most 65,536.
[[nodiscard]] SegmentScore scoreSegment(std::span<const std::uint8_t> a,
                                        std::span<const std::uint8_t> b, float floor);

}  // namespace vantorel
