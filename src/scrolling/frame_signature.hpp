#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/image.hpp"

namespace vantorel {

inline constexpr int rowBlocks = 8;

/// What one pixel row comes to: levels of grey from 0 to 255.
struct RowDigest {
  float mean = 0;
  float energy = 0;  ///< sum over the row of the squared differences from the mean
  std::array<float, rowBlocks> blocks{};  ///< the mean of each eighth of the row; 0 of an empty one

  bool operator==(const RowDigest&) const = default;
};

/// A frame as comparisons see it. Immutable once made. Empty for one that could not be read.
struct FrameSignature {
  int width = 0;
  int height = 0;
  double scale = 0;                ///< pixels per point
  std::vector<std::uint8_t> luma;  ///< a level of grey for each pixel, rows from the top, unpadded
  std::vector<RowDigest> rows;     ///< one for each pixel row

  [[nodiscard]] bool isEmpty() const { return width == 0 || height == 0; }
  [[nodiscard]] std::span<const std::uint8_t> row(int y) const {
    return {luma.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width),
            static_cast<std::size_t>(width)};
  }

  bool operator==(const FrameSignature&) const = default;
};

/// Rows [first, last) of a signature.
[[nodiscard]] FrameSignature partOf(const FrameSignature& signature, int first, int last);

/// The first column of block `block` of 0 to 8 of a row `width` pixels wide; 8 is the end.
[[nodiscard]] constexpr int blockStart(int width, int block) { return width * block / rowBlocks; }

/// Grey is 0.299 red + 0.587 green + 0.114 blue (the luma of ITU-R BT.601) in 256ths, rounded down.
/// Empty for a picture without pixels. Rows are at most 65,536 pixels wide. Any thread.
[[nodiscard]] FrameSignature makeFrameSignature(const Image& image, double scale);

}  // namespace vantorel
