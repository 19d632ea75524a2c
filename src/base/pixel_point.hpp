#pragma once

namespace vantorel {

/// A pixel on the desktop or in a picture, origin at the top left, y downwards: the name of the
/// variable says which.
struct PixelPoint {
  int x = 0;
  int y = 0;

  bool operator==(const PixelPoint&) const = default;
};

}  // namespace vantorel
