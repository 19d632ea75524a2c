#pragma once

#include <cstddef>
#include <string>

#include "base/image.hpp"
#include "base/result.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// `image` as a PNG file, true colour, with alpha only where the picture lets something through.
/// The rows are filtered and compressed in stripes on several threads; a stripe's filter is the one
/// that made a sample of its rows smallest. Fails with `other` for want of memory.
/// Each stripe is a chunk of the file, which can be read without the others; what ends the stream
/// is a chunk of its own.
[[nodiscard]] Result<std::string> writePNG(const Image& image, const ImageEncoding& encoding);

/// How many rows a stripe has, of `rowBytes` filtered bytes each; the last one may have fewer.
[[nodiscard]] int rowsOfStripe(PNGEffort effort, std::size_t rowBytes);

}  // namespace vantorel
