#pragma once

#include <string>
#include <string_view>

#include "base/image.hpp"
#include "base/result.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

[[nodiscard]] Result<Image> readPNG(std::string_view bytes);
[[nodiscard]] Result<PictureHeader> pngHeader(std::string_view bytes);
[[nodiscard]] Result<std::string> writeIndexedPNG(const IndexedImage& image, double pixelsPerPoint);

}  // namespace vantorel
