#pragma once

#include <string>
#include <string_view>

#include "base/image.hpp"

namespace vantorel {

/// How a picture is to be turned, as EXIF counts: 1 is upright, 2 to 4 keep its sides, 5 to 8 swap
/// them.
using Orientation = int;
inline constexpr Orientation upright = 1;

/// What EXIF data, with or without their "Exif" in front, say of the picture; upright where they
/// say nothing that can be understood.
[[nodiscard]] Orientation orientationIn(std::string_view exif);

/// EXIF data that say when the picture was made, and nothing else.
[[nodiscard]] std::string exifWithTime(double createdAt);

/// The size of a picture of `size` once it is turned.
[[nodiscard]] PixelSize turned(PixelSize size, Orientation orientation);

/// The picture as it is to be seen.
[[nodiscard]] Image turned(const Image& image, Orientation orientation);

/// More than this of EXIF data, whose orientation stands near the start, is never looked at.
inline constexpr std::size_t maximumExifBytes = 64 << 10;

}  // namespace vantorel
