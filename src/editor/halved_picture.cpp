#include "editor/halved_picture.hpp"

#include <algorithm>

#include "base/pixel_memory.hpp"

namespace vantorel {

HalvedPicture::HalvedPicture(const std::uint8_t* pixels, std::size_t stride, PixelSize size)
    : whole_(size),
      size_{(size.width + 1) / 2, (size.height + 1) / 2},
      pixels_(makePixelMemory(this->stride() * static_cast<std::size_t>(size_.height))) {
  follow(pixels, stride, {0, 0, size.width, size.height});
}

PixelRect HalvedPicture::follow(const std::uint8_t* pixels, std::size_t stride,
                                const PixelRect& area) {
  const PixelRect seen = intersection(area, {0, 0, whole_.width, whole_.height});
  if (seen.isEmpty()) return {};
  const int left = seen.x / 2;
  const int top = seen.y / 2;
  const PixelRect changed{left, top, (seen.right() + 1) / 2 - left, (seen.bottom() + 1) / 2 - top};
  const int whole = whole_.width / 2;  // columns that have two
  for (int y = changed.y; y < changed.bottom(); ++y) {
    const std::uint8_t* const upper = pixels + static_cast<std::size_t>(2 * y) * stride;
    const std::uint8_t* const lower = 2 * y + 1 < whole_.height ? upper + stride : upper;
    std::uint8_t* const row = pixels_.get() + static_cast<std::size_t>(y) * this->stride();
    const int end = std::min(changed.right(), whole);
    for (int x = changed.x; x < end; ++x) {
      const std::uint8_t* const a = upper + std::ptrdiff_t{8} * x;
      const std::uint8_t* const b = lower + std::ptrdiff_t{8} * x;
      std::uint8_t* const to = row + std::ptrdiff_t{4} * x;
      for (int i = 0; i < 4; ++i) {
        to[i] = static_cast<std::uint8_t>((a[i] + a[i + 4] + b[i] + b[i + 4] + 2) >> 2);
      }
    }
    if (end == changed.right()) continue;
    const std::ptrdiff_t last = std::ptrdiff_t{8} * whole;
    for (int i = 0; i < 4; ++i) {
      row[std::ptrdiff_t{4} * whole + i] =
          static_cast<std::uint8_t>((upper[last + i] + lower[last + i] + 1) >> 1);
    }
  }
  return changed;
}

}  // namespace vantorel
