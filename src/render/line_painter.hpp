#pragma once

#include <cairo.h>

#include <string>

#include "editor/records/shape.hpp"
#include "editor/shape_geometry.hpp"

// Drawing of strokes, arrows and measuring lines, in pixels of the picture.

namespace vantorel {

/// Strokes of pens and highlighters, in the source that is set, as far as they are seen in `room`.
void paintStroke(cairo_t* cr, const Shape& shape, const Box& room);
void paintArrow(cairo_t* cr, const Shape& arrow);

/// The label stays within `room`, if it fits and the line is to be seen there at all.
void paintMeasure(cairo_t* cr, const Shape& measure, const std::string& label, const Box& room);

/// Beyond these no mark is left.
[[nodiscard]] Box arrowBounds(const Shape& arrow);
[[nodiscard]] Box measureBounds(const Shape& measure, const std::string& label, const Box& room);

/// Sets width, round joins and caps, and no dashes.
void setStroke(cairo_t* cr, double width);

/// Strokes the current path, an open one or one without corners, in `style`.
void strokePath(cairo_t* cr, double width, LineStyle style);

}  // namespace vantorel
