#pragma once

#include <cairo.h>

#include <optional>
#include <string>

#include "base/geometry.hpp"
#include "editor/shape_geometry.hpp"

namespace vantorel {

/// A shape ready to be drawn on a picture.
struct PlacedShape {
  Shape shape;  ///< in pixels of the picture, every number finite and within reason
  std::string measureLabel;
  PixelRect bounds;  ///< beyond which it leaves no mark
};

/// Carries `shape` from capture pixels to the picture.
[[nodiscard]] PlacedShape placed(const Shape& shape, const AxisMap& toPicture,
                                 std::optional<double> captureScale);

/// Draws any kind but `redact`, which is not a drawing.
void paint(cairo_t* cr, const PlacedShape& placed);

}  // namespace vantorel
