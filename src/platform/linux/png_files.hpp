#pragma once

#include <string>
#include <string_view>

#include "base/image.hpp"
#include "base/result.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

[[nodiscard]] Result<Image> readPNG(std::string_view bytes);
[[nodiscard]] Result<PictureHeader> pngHeader(const PictureBytes& bytes);
[[nodiscard]] Result<std::string> writeIndexedPNG(const IndexedImage& image,
                                                  const ImageEncoding& encoding);

}  // namespace vantorel
