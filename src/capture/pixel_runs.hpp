#pragma once

#include <cstdint>
#include <cstring>

#include "base/image.hpp"

namespace vantorel {

/// Calls `visit(pixel, length)` for each run of equal pixels in row `y`. `pixel` has the bytes in
/// memory order from the low byte up, alpha 255 where the picture is opaque. Screens are mostly
/// runs.
void forEachRun(const Image& image, int y, auto visit) {
  const std::uint32_t always = image.format() == PixelFormat::bgrx ? 0xFF000000 : 0;
  const auto row = image.row(y);
  const auto pixelAt = [&](int x) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, row.data() + static_cast<std::size_t>(x) * 4, 4);
    return pixel | always;
  };
  for (int x = 0; x < image.width();) {
    const std::uint32_t pixel = pixelAt(x);
    int end = x + 1;
    while (end < image.width() && pixelAt(end) == pixel) ++end;
    visit(pixel, end - x);
    x = end;
  }
}

}  // namespace vantorel
