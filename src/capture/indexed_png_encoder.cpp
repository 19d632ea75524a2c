#include "capture/indexed_png_encoder.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "capture/colour_histogram.hpp"
#include "capture/colour_palette.hpp"
#include "capture/pixel_runs.hpp"

namespace vantorel {
namespace {

std::vector<WeightedColour> meanColours(const ColourHistogram& histogram) {
  std::vector<WeightedColour> colours;
  for (const ColourBucket& bucket : histogram.buckets()) {
    const auto count = static_cast<double>(bucket.count);
    const auto mean = [&](std::int64_t sum) {
      return static_cast<float>(static_cast<double>(sum) / count);
    };
    const bool opaque = bucket.a == bucket.count * 255;
    colours.push_back({.point = {mean(bucket.b), mean(bucket.g), mean(bucket.r),
                                 opaque ? opaqueAlpha : mean(bucket.a)},
                       .weight = count});
  }
  return colours;
}

IndexedImage::Colour straight(const ColourPoint& point) {
  const auto rounded = [](float value) {
    return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
  };
  const std::uint8_t alpha = rounded(point[3]);  // opaqueAlpha becomes 255
  if (alpha == 0) return {0, 0, 0, 0};
  const float factor = alpha == 255 ? 1 : 255 / point[3];
  return {rounded(point[2] * factor), rounded(point[1] * factor), rounded(point[0] * factor),
          alpha};
}

/// The squared difference of a pixel and the palette colour that stands for it.
double squaredError(std::uint32_t pixel, const IndexedImage::Colour& colour) {
  const auto alpha = static_cast<int>(colour[3]);
  double sum = 0;
  for (std::size_t c = 0; c < 3; ++c) {
    const int shown = (colour[2 - c] * alpha + 127) / 255;
    const int apart = static_cast<int>(pixel >> 8 * c & 0xFF) - shown;
    sum += apart * apart;
  }
  const int apart = static_cast<int>(pixel >> 24) - alpha;
  return sum + apart * apart;
}

}  // namespace

IndexedPNGEncoder::IndexedPNGEncoder(const Image& image) {
  const ColourHistogram histogram(image);
  const ColourPalette palette = paletteFor(meanColours(histogram));
  image_.size = image.size();
  for (const ColourPoint& colour : palette.colours) image_.palette.push_back(straight(colour));
  image_.indices.reserve(static_cast<std::size_t>(image.width()) *
                         static_cast<std::size_t>(image.height()));
  double error = 0;
  for (int y = 0; y < image.height(); ++y) {
    forEachRun(image, y, [&](std::uint32_t pixel, int length) {
      const std::uint8_t index = palette.indices[histogram.bucketOf(pixel)];
      image_.indices.insert(image_.indices.end(), static_cast<std::size_t>(length), index);
      error += length * squaredError(pixel, image_.palette[index]);
    });
  }
  const int channels = isTranslucent() ? 4 : 3;
  meanSquaredError_ = error / (static_cast<double>(image_.indices.size()) * channels);
}

double IndexedPNGEncoder::decibels() const {
  if (meanSquaredError_ == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(255 * 255 / meanSquaredError_);
}

bool IndexedPNGEncoder::isTranslucent() const {
  return std::ranges::any_of(image_.palette, [](const auto& colour) { return colour[3] < 255; });
}

Result<std::string> IndexedPNGEncoder::encode(const ImageCodec& codec,
                                              const ImageEncoding& encoding) const {
  return codec.encodeIndexedPNG(image_, encoding);
}

}  // namespace vantorel
