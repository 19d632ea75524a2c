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
  Box room;               ///< the picture: labels stay within it
  bool isOnDark = false;  ///< of a highlight: the picture below it is mostly dark
  PixelRect bounds;       ///< beyond which it leaves no mark
};

/// Carries `shape` from capture pixels to the picture.
[[nodiscard]] PlacedShape placed(const Shape& shape, const AxisMap& toPicture,
                                 std::optional<double> captureScale, PixelSize picture);

[[nodiscard]] inline bool isHighlight(const Shape& shape) {
  return shape.type == ShapeType::highlighter || shape.type == ShapeType::highlightRect;
}

/// Draws any kind but `redact`, which is not a drawing.
void paint(cairo_t* cr, const PlacedShape& placed);

}  // namespace vantorel
