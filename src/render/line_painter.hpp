#pragma once

#include <cairo.h>

#include <string>

#include "editor/records/shape.hpp"
#include "editor/shape_geometry.hpp"

// Drawing of strokes, arrows and measuring lines, in pixels of the picture.

namespace vantorel {

void paintStroke(cairo_t* cr, const Shape& shape);
void paintArrow(cairo_t* cr, const Shape& arrow);
void paintMeasure(cairo_t* cr, const Shape& measure, const std::string& label);

/// Beyond these no mark is left.
[[nodiscard]] Box arrowBounds(const Shape& arrow);
[[nodiscard]] Box measureBounds(const Shape& measure, const std::string& label);

/// Sets width, joins, caps and dashes.
void setStroke(cairo_t* cr, double width, LineStyle style);

}  // namespace vantorel
