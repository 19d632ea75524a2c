#pragma once

#include "platform/picture_bytes.hpp"

namespace vantorel {

/// Whether a PNG, JPEG, WebP or HEIC file begins and ends as such a file does: one that was cut
/// short, or that a crash of the system filled up with zeros, does not. Reads a few kilobytes and
/// says nothing of the pixels in between. Blocks.
[[nodiscard]] bool isWholePicture(const PictureBytes& bytes);

}  // namespace vantorel
