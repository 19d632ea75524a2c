#pragma once

#include <cstdint>
#include <span>

#include "base/image.hpp"

namespace vantorel {

/// True when every pixel of the picture covers what is behind it.
[[nodiscard]] bool isOpaque(const Image& image);

/// Writes row `y` as red, green, blue and, where `out` has room for four bytes a pixel, alpha, with
/// the colours no longer multiplied by it.
void packRow(const Image& image, int y, std::span<std::uint8_t> out);

/// Turns a row of red, green, blue and, with four bytes a pixel, alpha into the picture's own order
/// of bytes; `out` has four bytes a pixel. What `packRow` made of a translucent row comes back the
/// same.
void unpackRow(std::span<const std::uint8_t> row, int bytesPerPixel, std::span<std::uint8_t> out);

/// Writes row `y` over a white ground, four bytes a pixel.
void flattenRow(const Image& image, int y, std::span<std::uint8_t> out);

}  // namespace vantorel
