#include "capture/colour_palette.hpp"

#include <algorithm>
#include <numeric>
#include <span>

namespace vantorel {
namespace {

constexpr int refinements = 4;
constexpr std::size_t channels = std::tuple_size_v<ColourPoint>;

/// Part of the points, with what is needed to tell how far they lie apart.
struct Box {
  std::span<WeightedColour> points;
  double weight = 0;
  std::array<double, channels> sum{};
  std::array<double, channels> squares{};

  explicit Box(std::span<WeightedColour> all) : points(all) {
    for (const WeightedColour& each : points) {
      weight += each.weight;
      for (std::size_t c = 0; c < channels; ++c) {
        sum[c] += each.weight * each.point[c];
        squares[c] += each.weight * each.point[c] * each.point[c];
      }
    }
  }

  /// The squared error along one channel when one colour stands for the whole box.
  [[nodiscard]] double error(std::size_t channel) const {
    return std::max(0.0, squares[channel] - sum[channel] * sum[channel] / weight);
  }
  [[nodiscard]] double error() const { return error(0) + error(1) + error(2) + error(3); }

  [[nodiscard]] ColourPoint mean() const {
    ColourPoint found{};
    for (std::size_t c = 0; c < channels; ++c) found[c] = static_cast<float>(sum[c] / weight);
    return found;
  }

  /// Sorts the points along the widest channel and answers how many of them belong in the first of
  /// two boxes that leave the least error.
  [[nodiscard]] std::size_t bestCut() {
    std::size_t widest = 0;
    for (std::size_t c = 1; c < channels; ++c) {
      if (error(c) > error(widest)) widest = c;
    }
    std::ranges::sort(points, {}, [&](const WeightedColour& each) { return each.point[widest]; });
    double before = 0;
    std::array<double, channels> sumBefore{};
    double best = -1;
    std::size_t cut = 1;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
      before += points[i].weight;
      double gain = 0;
      for (std::size_t c = 0; c < channels; ++c) {
        sumBefore[c] += points[i].weight * points[i].point[c];
        const double sumAfter = sum[c] - sumBefore[c];
        gain += sumBefore[c] * sumBefore[c] / before + sumAfter * sumAfter / (weight - before);
      }
      if (gain > best) {
        best = gain;
        cut = i + 1;
      }
    }
    return cut;
  }
};

/// Cuts the box with the largest error again and again.
std::vector<ColourPoint> variancePalette(std::vector<WeightedColour> points) {
  const auto translucent = std::ranges::partition(
      points, [](const WeightedColour& each) { return each.point[3] == opaqueAlpha; });
  const std::span<WeightedColour> all = points;
  const std::size_t opaqueCount = points.size() - translucent.size();
  std::vector<Box> boxes;
  if (opaqueCount > 0) boxes.emplace_back(all.first(opaqueCount));
  if (!translucent.empty()) boxes.emplace_back(all.subspan(opaqueCount));
  while (boxes.size() < maximumPaletteColours) {
    const auto worst =
        std::ranges::max_element(boxes, {}, [](const Box& box) { return box.error(); });
    if (worst->points.size() < 2 || worst->error() < 1e-6) break;
    const std::span<WeightedColour> part = worst->points;
    const std::size_t cut = worst->bestCut();
    *worst = Box(part.first(cut));
    boxes.emplace_back(part.subspan(cut));
  }
  std::vector<ColourPoint> palette;
  palette.reserve(boxes.size());
  for (const Box& box : boxes) palette.push_back(box.mean());
  return palette;
}

/// A palette laid out for finding the nearest colour quickly.
class NearestColour {
 public:
  explicit NearestColour(const std::vector<ColourPoint>& palette) : size_(palette.size()) {
    for (auto& channel : values_) channel.fill(1e6F);
    for (std::size_t i = 0; i < size_; ++i) {
      for (std::size_t c = 0; c < channels; ++c) values_[c][i] = palette[i][c];
    }
  }

  [[nodiscard]] std::size_t find(const ColourPoint& point) const {
    std::array<float, maximumPaletteColours> distance;
    for (std::size_t i = 0; i < maximumPaletteColours; ++i) {
      float sum = 0;
      for (std::size_t c = 0; c < channels; ++c) {
        const float apart = values_[c][i] - point[c];
        sum += apart * apart;
      }
      distance[i] = sum;
    }
    return static_cast<std::size_t>(
        std::min_element(distance.begin(), distance.begin() + static_cast<std::ptrdiff_t>(size_)) -
        distance.begin());
  }

 private:
  std::size_t size_;
  std::array<std::array<float, maximumPaletteColours>, channels> values_{};
};

/// Moves each colour to the mean of the points it is nearest to; answers the colour of each point.
std::vector<std::uint8_t> refine(std::vector<ColourPoint>& palette,
                                 const std::vector<WeightedColour>& points) {
  std::vector<std::uint8_t> nearest(points.size());
  for (int round = 0; round <= refinements; ++round) {
    const NearestColour colours(palette);
    std::vector<std::array<double, channels + 1>> sums(palette.size());
    std::vector<std::size_t> heaviest(palette.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
      const std::size_t index = colours.find(points[i].point);
      nearest[i] = static_cast<std::uint8_t>(index);
      for (std::size_t c = 0; c < channels; ++c) {
        sums[index][c] += points[i].weight * points[i].point[c];
      }
      if (sums[index][channels] == 0 || points[i].weight > points[heaviest[index]].weight) {
        heaviest[index] = i;
      }
      sums[index][channels] += points[i].weight;
    }
    for (std::size_t index = 0; index < palette.size(); ++index) {
      const double weight = sums[index][channels];
      if (weight == 0) continue;
      for (std::size_t c = 0; c < channels; ++c) {
        palette[index][c] = static_cast<float>(sums[index][c] / weight);
      }
      // A flat area is seen as a whole: its colour must not drift towards a few blended pixels.
      const WeightedColour& main = points[heaviest[index]];
      if (round == refinements && main.weight * 2 > weight) palette[index] = main.point;
    }
  }
  return nearest;
}

}  // namespace

ColourPalette paletteFor(const std::vector<WeightedColour>& colours) {
  ColourPalette palette;
  if (colours.size() <= maximumPaletteColours) {
    for (const WeightedColour& each : colours) palette.colours.push_back(each.point);
    palette.indices.resize(colours.size());
    std::iota(palette.indices.begin(), palette.indices.end(), std::uint8_t{0});
  } else {
    palette.colours = variancePalette(colours);
    palette.indices = refine(palette.colours, colours);
  }
  return palette;
}

}  // namespace vantorel
