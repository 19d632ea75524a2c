#pragma once

#include "base/image.hpp"
#include "editor/records/background_spec.hpp"

namespace vantorel {

/// `picture` with its background: the fill, the shadow, and the picture with rounded corners on it.
/// `picture` itself when there is no fill. The result has at most 64 million pixels; the caller
/// checks.
[[nodiscard]] Image withBackground(const Image& picture, const BackgroundSpec& background);

}  // namespace vantorel
