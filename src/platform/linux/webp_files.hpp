#pragma once

#include <string>
#include <string_view>

#include "base/image.hpp"
#include "base/result.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Alpha is kept exactly.
[[nodiscard]] Result<std::string> writeWebP(const Image& image, const ImageEncoding& encoding);

/// Frames as `ImageCodec` counts them, from 0.
[[nodiscard]] Result<Image> readWebP(std::string_view bytes, int frameIndex);
[[nodiscard]] Result<PictureHeader> webpHeader(const PictureBytes& bytes, int frameIndex);

}  // namespace vantorel
