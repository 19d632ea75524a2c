#pragma once

#include "base/image.hpp"

namespace vantorel {

/// `image` at a smaller size, each pixel the mean of the area it covers. `size` is at most the
/// picture's, each way.
[[nodiscard]] Image downscaled(const Image& image, PixelSize size);

}  // namespace vantorel
