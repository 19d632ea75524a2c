#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/geometry.hpp"
#include "base/image.hpp"

namespace vantorel {

/// A part of a picture as ink on paper: 0 where the ground is, whatever its color, up to 255 where
/// something stands out from it. A light word on a dark button and a dark one on the light page
/// beside it are the same here.
struct InkPage {
  PixelSize size;
  std::vector<std::uint8_t> ink;  ///< rows from the top, without padding

  [[nodiscard]] const std::uint8_t* row(int y) const {
    return ink.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width);
  }
  [[nodiscard]] std::uint8_t at(int x, int y) const { return row(y)[x]; }
};

/// What counts as ink for those that look for letters.
inline constexpr int leastInk = 80;

/// `area` lies within the picture. What is translucent lies on white.
[[nodiscard]] InkPage inkPageOf(const Image& picture, const PixelRect& area);

/// The usual height of a small letter (an x) on the page, in pixels; 0 when there are no letters.
[[nodiscard]] double letterHeightOn(const InkPage& page);

/// How many times as wide and as high something is made.
struct Enlargement {
  double across = 1;
  double down = 1;
};

/// Black letters on white for a recogniser: enlarged, with a margin of `margin` pixels of the
/// result.
[[nodiscard]] InkPage enlargedPaper(const InkPage& page, Enlargement factor, int margin);

}  // namespace vantorel
