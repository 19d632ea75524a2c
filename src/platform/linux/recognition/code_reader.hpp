#pragma once

#include <stop_token>
#include <vector>

#include "base/image.hpp"
#include "text/records/picture_reading.hpp"

namespace vantorel {

/// The bar codes and QR codes in `area` of the picture, dark on light or light on dark, in pixels
/// of the picture. Those found until `stop` is requested.
[[nodiscard]] std::vector<ReadCode> codesIn(const Image& picture, const PixelRect& area,
                                            const std::stop_token& stop);

}  // namespace vantorel
