#pragma once

#include <string_view>

namespace vantorel {

/// Whether the images of this HEIF file that are made of others (grids, overlays) can be decoded to
/// an end: none is made of itself, and they nest no deeper than pictures do. libheif follows them
/// as far as its stack goes. What is no HEIF file passes. Any thread.
[[nodiscard]] bool areDerivedImagesFinite(std::string_view file);

}  // namespace vantorel
