#pragma once

#include "base/geometry.hpp"
#include "base/image.hpp"

namespace vantorel {

/// One delivered frame of the area that is scrolled.
struct ScrollFrame {
  Image image;
  PointRect contentRect;    ///< in points of the desktop: what of it the frame shows
  double contentScale = 1;  ///< how much the stream shrank the content to fit; 1: not at all
  double displayTime = 0;   ///< in seconds of the monotonic clock
};

/// How a frame's pixels relate to the desktop. A change of either ends a session: rows of one scale
/// never continue rows of another.
struct ScrollFrameScale {
  double display = 1;     ///< pixels per point of the display
  double contentFit = 1;  ///< the stream's own, see `ScrollFrame::contentScale`

  bool operator==(const ScrollFrameScale&) const = default;
};

}  // namespace vantorel
