#include "ui/kit/shared_image.hpp"

namespace vantorel {

QImage sharedImage(const Image& image) {
  return {image.row(0).data(), image.width(), image.height(),
          static_cast<qsizetype>(image.stride()),
          image.format() == PixelFormat::bgrx ? QImage::Format_RGB32
                                              : QImage::Format_ARGB32_Premultiplied};
}

}  // namespace vantorel
