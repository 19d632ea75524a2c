#include "scrolling/background_energy.hpp"

#include <algorithm>
#include <vector>

#include "scrolling/row_correlation.hpp"

namespace vantorel {
namespace {

constexpr int rowStep = 4;
constexpr int energySegments = 8;
constexpr double texturedVariance = 4;
constexpr float sameGamma = 0.98F;
constexpr std::size_t leastSamples = 24;
constexpr double leastShare = 0.25;
constexpr float loudestMiddle = 64;
constexpr float aboveMiddle = 8;
constexpr float leastFloor = 4;
constexpr float greatestFloor = 256;

}  // namespace

std::optional<float> backgroundEnergy(const FrameSignature& a, const FrameSignature& b,
                                      const StaticColumnMask& mask, double scale) {
  if (a.width != b.width || a.height != b.height || a.isEmpty()) return std::nullopt;
  const ColumnSpan span = comparedColumnSpan(a.width, mask, scale);
  const auto part = [&](const FrameSignature& frame, int y, int segment) {
    const int first = span.first + segmentStart(span.length(), segment, energySegments);
    const int last = span.first + segmentStart(span.length(), segment + 1, energySegments);
    return frame.row(y).subspan(static_cast<std::size_t>(first),
                                static_cast<std::size_t>(last - first));
  };
  // No segment of a row has more energy than the whole of it.
  const auto leastEnergy =
      static_cast<float>(texturedVariance * std::max(span.length() / energySegments, 1));
  const auto rowAt = [](const FrameSignature& frame, int y) -> const RowDigest& {
    return frame.rows[static_cast<std::size_t>(y)];
  };
  std::vector<float> samples;
  std::size_t textured = 0;
  for (int y = 0; y < a.height; y += rowStep) {
    if (std::min(rowAt(a, y).energy, rowAt(b, y).energy) * 1.001F < leastEnergy) continue;
    const auto left = static_cast<std::size_t>((a.height - y + rowStep - 1) / rowStep) *
                      std::size_t{energySegments};
    if (samples.size() + left < leastSamples ||
        static_cast<double>(samples.size() + left) <
            leastShare * static_cast<double>(textured + left)) {
      return std::nullopt;  // whatever the rest holds
    }
    for (int segment = 0; segment < energySegments; ++segment) {
      const auto partA = part(a, y, segment);
      if (partA.empty()) continue;
      const SegmentScore score = scoreSegment(partA, part(b, y, segment), 0);
      const double least = texturedVariance * static_cast<double>(partA.size());
      if (score.energyA < least || score.energyB < least) continue;
      ++textured;
      if (*score.gamma >= sameGamma) {
        samples.push_back(static_cast<float>(score.energyA / static_cast<double>(partA.size())));
      }
    }
  }
  if (samples.size() < leastSamples ||
      static_cast<double>(samples.size()) < leastShare * static_cast<double>(textured)) {
    return std::nullopt;
  }
  const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
  std::ranges::nth_element(samples, middle);
  if (*middle > loudestMiddle) return std::nullopt;
  return std::clamp(*middle * aboveMiddle, leastFloor, greatestFloor);
}

}  // namespace vantorel
