#include "scrolling/frame_signature.hpp"

namespace vantorel {
namespace {

// The loops below are as plain as they are so that compilers make vector code of them.

void toGrey(std::span<const std::uint8_t> pixels, std::span<std::uint8_t> grey) {
  const std::uint8_t* const in = pixels.data();
  std::uint8_t* const out = grey.data();
  const std::size_t count = grey.size();
  for (std::size_t i = 0; i < count; ++i) {
    out[i] = static_cast<std::uint8_t>(
        (in[4 * i] * 29U + in[4 * i + 1] * 150U + in[4 * i + 2] * 77U) >> 8U);
  }
}

RowDigest digestOf(std::span<const std::uint8_t> grey) {
  RowDigest digest;
  const int width = static_cast<int>(grey.size());
  std::uint64_t sum = 0;
  std::uint64_t squares = 0;
  for (int block = 0; block < rowBlocks; ++block) {
    const int first = blockStart(width, block);
    const int last = blockStart(width, block + 1);
    std::uint32_t blockSum = 0;
    std::uint32_t blockSquares = 0;
    for (int x = first; x < last; ++x) {
      const std::uint32_t level = grey.data()[x];
      blockSum += level;
      blockSquares += level * level;
    }
    if (last > first) {
      digest.blocks.at(static_cast<std::size_t>(block)) =
          static_cast<float>(blockSum) / static_cast<float>(last - first);
    }
    sum += blockSum;
    squares += blockSquares;
  }
  const double mean = static_cast<double>(sum) / width;
  digest.mean = static_cast<float>(mean);
  digest.energy =
      static_cast<float>(static_cast<double>(squares) - mean * static_cast<double>(sum));
  return digest;
}

}  // namespace

FrameSignature partOf(const FrameSignature& signature, int first, int last) {
  const auto luma = [&](int y) {
    return signature.luma.begin() + std::ptrdiff_t{signature.width} * y;
  };
  return {.width = signature.width,
          .height = last - first,
          .scale = signature.scale,
          .luma = {luma(first), luma(last)},
          .rows = {signature.rows.begin() + first, signature.rows.begin() + last}};
}

FrameSignature makeFrameSignature(const Image& image, double scale) {
  if (image.width() < 1 || image.height() < 1) return {};
  FrameSignature signature{
      .width = image.width(),
      .height = image.height(),
      .scale = scale,
      .luma = std::vector<std::uint8_t>(static_cast<std::size_t>(image.width()) *
                                        static_cast<std::size_t>(image.height())),
      .rows = {}};
  signature.rows.reserve(static_cast<std::size_t>(image.height()));
  const auto width = static_cast<std::size_t>(image.width());
  for (int y = 0; y < image.height(); ++y) {
    const std::span grey(signature.luma.data() + static_cast<std::size_t>(y) * width, width);
    toGrey(image.row(y), grey);
    signature.rows.push_back(digestOf(grey));
  }
  return signature;
}

}  // namespace vantorel
