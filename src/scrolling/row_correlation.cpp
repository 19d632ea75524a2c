#include "scrolling/row_correlation.hpp"

#include <algorithm>
#include <cmath>

namespace vantorel {

bool isFlat(std::span<const std::uint8_t> stretch, float floor) {
  // What a part varies about its own mean, the whole varies about its mean at least.
  constexpr std::size_t atOnce = 64;
  const double least = static_cast<double>(stretch.size()) * static_cast<double>(floor);
  std::uint32_t sum = 0;
  std::uint32_t squares = 0;
  for (std::size_t first = 0; first < stretch.size(); first += atOnce) {
    const std::size_t last = std::min(first + atOnce, stretch.size());
    for (std::size_t i = first; i < last; ++i) {
      const std::uint32_t level = stretch.data()[i];
      sum += level;
      squares += level * level;
    }
    if (squares - sum / static_cast<double>(last) * sum >= least) return false;
  }
  return true;
}

SegmentScore scoreSegment(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b,
                          float floor) {
  // Levels are whole numbers, so that the sums are exact and one pass will do.
  std::uint32_t sumA = 0;
  std::uint32_t sumB = 0;
  std::uint32_t squaresA = 0;
  std::uint32_t squaresB = 0;
  std::uint32_t products = 0;
  const std::size_t length = a.size();
  for (std::size_t i = 0; i < length; ++i) {
    const std::uint32_t levelA = a.data()[i];
    const std::uint32_t levelB = b.data()[i];
    sumA += levelA;
    sumB += levelB;
    squaresA += levelA * levelA;
    squaresB += levelB * levelB;
    products += levelA * levelB;
  }
  const auto count = static_cast<double>(length);
  const double meanA = sumA / count;
  const double meanB = sumB / count;
  SegmentScore score;
  score.energyA = squaresA - meanA * sumA;
  score.energyB = squaresB - meanB * sumB;
  score.meanDifference = meanA - meanB;
  score.squaredDifference =
      static_cast<double>(squaresA) + static_cast<double>(squaresB) - 2.0 * products;
  const double least = count * static_cast<double>(floor);
  const bool hasA = score.energyA >= least;
  const bool hasB = score.energyB >= least;
  score.informative = hasA && hasB;
  if (hasA || hasB) {
    constexpr double smallestRoot = 1e-6;
    const double root = std::sqrt(score.energyA * score.energyB);
    score.gamma =
        root >= smallestRoot ? static_cast<float>((products - meanA * sumB) / root) : 0.0F;
  }
  return score;
}

}  // namespace vantorel
