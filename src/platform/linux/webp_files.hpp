#pragma once

#include <string>
#include <string_view>

#include "base/image.hpp"
#include "base/result.hpp"

namespace vantorel {

/// `quality` from 0 to 1; alpha is kept exactly.
[[nodiscard]] Result<std::string> writeWebP(const Image& image, double quality);

/// Frames as `ImageCodec` counts them, from 0.
[[nodiscard]] Result<Image> readWebP(std::string_view bytes, int frameIndex);
[[nodiscard]] Result<PixelSize> webpSize(std::string_view bytes, int frameIndex);

}  // namespace vantorel
