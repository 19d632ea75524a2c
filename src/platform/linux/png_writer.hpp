#pragma once

#include <string>

#include "base/image.hpp"
#include "base/result.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// `image` as a PNG file, true colour, with alpha only where the picture lets something through.
/// The rows are filtered and compressed in stripes on several threads; a stripe's filter is the one
/// that made a sample of its rows smallest. Fails with `other` for want of memory.
[[nodiscard]] Result<std::string> writePNG(const Image& image, const ImageEncoding& encoding);

}  // namespace vantorel
