#include "base/image.hpp"

#include <utility>

#include "base/check.hpp"
#include "base/pixel_memory.hpp"

namespace vantorel {

Image Image::cropped(const PixelRect& rect) const {
  VT_CHECK(intersection(rect, {0, 0, size_.width, size_.height}) == rect && !rect.isEmpty());
  const std::size_t offset =
      static_cast<std::size_t>(rect.y) * stride_ + static_cast<std::size_t>(rect.x) * 4;
  return {{rect.width, rect.height},
          stride_,
          format_,
          std::shared_ptr<const std::uint8_t>(pixels_, pixels_.get() + offset)};
}

MutableImage::MutableImage(PixelSize size, PixelFormat format) : size_(size), format_(format) {
  VT_CHECK(size.width > 0 && size.height > 0);
  pixels_ = makePixelMemory(static_cast<std::size_t>(size.height) * stride());
}

Image MutableImage::finish() && {
  const std::size_t rowBytes = stride();
  return {size_, rowBytes, format_, std::move(pixels_)};
}

}  // namespace vantorel
