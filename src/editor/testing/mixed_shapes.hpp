#pragma once

#include <algorithm>

#include "editor/shape_geometry.hpp"
#include "editor/shape_styling.hpp"
#include "editor/tool_spec.hpp"

// Test material: shapes of every kind, and text that is measured without a font.

namespace vantorel {

/// The box of `text` in an imagined font whose letters are all six tenths of its size wide.
inline Box roughText(const Shape& text) {
  double columns = 0;
  double lines = 1;
  double column = 0;
  for (const char letter : text.text) {
    column = letter == '\n' ? 0 : column + 1;
    lines += letter == '\n' ? 1 : 0;
    columns = std::max(columns, column);
  }
  const double width = text.boxWidth.value_or(columns * 0.6 * text.fontSize);
  return {text.x, text.y, width, lines * 1.2 * text.fontSize};
}

/// The `i`-th of an endless row of shapes of all kinds, spread over 800 by 600 pixels.
inline Shape mixedShape(int i) {
  const auto& kinds = enumNames<ShapeType>;
  Shape shape;
  shape.id = "shape-" + std::to_string(i) + "-of-the-row";
  shape.type = kinds[static_cast<std::size_t>(i) % kinds.size()].value;
  dress(shape, styleOf(toolOf(shape.type), {}));
  const double x = 20 + (i * 61) % 700;
  const double y = 20 + (i * 37) % 500;
  if (isTwoPoint(shape.type)) {
    shape.x1 = x;
    shape.y1 = y;
    shape.x2 = x + 60 + i % 40;
    shape.y2 = y + 30 + i % 50;
  } else if (shape.type == ShapeType::pen || shape.type == ShapeType::highlighter) {
    for (int k = 0; k < 24; ++k) shape.points.push_back({x + 3 * k, y + (k * k) % 23});
  } else {
    shape.x = x;
    shape.y = y;
    if (shape.type == ShapeType::text) shape.text = "Look here";
    if (shape.type == ShapeType::counter) shape.number = i;
  }
  return shape;
}

}  // namespace vantorel
