#pragma once

#include <string>
#include <string_view>

#include "base/image.hpp"
#include "base/result.hpp"

namespace vantorel {

/// `quality` from 0 to 1. Colour keeps its full resolution from 0.85 up: half of it blurs coloured
/// text. What is translucent is laid over white.
[[nodiscard]] Result<std::string> writeJPEG(const Image& image, double quality,
                                            double pixelsPerPoint);

/// Damaged files are refused, not filled up with grey.
[[nodiscard]] Result<Image> readJPEG(std::string_view bytes);
[[nodiscard]] Result<PixelSize> jpegSize(std::string_view bytes);

}  // namespace vantorel
