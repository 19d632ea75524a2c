#pragma once

#include <vector>

#include "base/image.hpp"

namespace vantorel {

/// `image` with `areas` filled with what lies beside them, as smoothly as a lossy encoder likes it.
/// No pixel within an area is read: pictures that differ only there become the same. Parts of areas
/// outside the picture do not count.
[[nodiscard]] Image blanked(const Image& image, const std::vector<PixelRect>& areas);

}  // namespace vantorel
