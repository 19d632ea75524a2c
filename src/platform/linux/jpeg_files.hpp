#pragma once

#include <string>
#include <string_view>

#include "base/image.hpp"
#include "base/result.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Colour keeps its full resolution from a quality of 0.85 up: half of it blurs coloured text. What
/// is translucent is laid over white.
[[nodiscard]] Result<std::string> writeJPEG(const Image& image, const ImageEncoding& encoding);

/// What the decoder only warns of is read; a file that ends too early is refused, not filled up
/// with grey.
[[nodiscard]] Result<Image> readJPEG(std::string_view bytes);
[[nodiscard]] Result<PictureHeader> jpegHeader(const PictureBytes& bytes);

}  // namespace vantorel
