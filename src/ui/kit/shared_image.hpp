#pragma once

#include <QImage>

#include "base/image.hpp"

namespace vantorel {

/// Shares the picture's pixels, which must outlive the answer.
[[nodiscard]] QImage sharedImage(const Image& image);

}  // namespace vantorel
