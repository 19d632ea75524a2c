#pragma once

#include <string>

#include "editor/shape_styling.hpp"
#include "editor/tool_spec.hpp"
#include "render/scene_renderer.hpp"

// Pictures and shapes to draw in tests.

namespace vantorel {

inline Image plainImage(PixelSize size, std::uint32_t color) {
  MutableImage image(size, PixelFormat::bgrx);
  for (int y = 0; y < size.height; ++y) {
    auto row = image.row(y);
    for (std::size_t i = 0; i < row.size(); ++i) {
      row[i] = static_cast<std::uint8_t>(color >> 8 * (i % 4));
    }
  }
  return std::move(image).finish();
}

inline Shape lineShape(ShapeType type, Pt from, Pt to, std::string color = "#ff3b30",
                       double width = 4) {
  static int count = 0;
  Shape shape;
  shape.id = "shape " + std::to_string(++count);
  shape.type = type;
  dress(shape, styleOf(toolOf(type), {}));
  shape.color = std::move(color);
  shape.width = width;
  shape.x1 = from.x;
  shape.y1 = from.y;
  shape.x2 = to.x;
  shape.y2 = to.y;
  return shape;
}

inline Shape pointShape(ShapeType type, Pt at, std::string text, std::string color = "#ff3b30",
                        double width = 4) {
  Shape shape = lineShape(type, {}, {}, std::move(color), width);
  shape.x = at.x;
  shape.y = at.y;
  shape.text = std::move(text);
  return shape;
}

inline Shape textShape(Pt at, std::string text, double size, TextStyle style,
                       std::string color = "#ff3b30") {
  Shape shape = pointShape(ShapeType::text, at, std::move(text), std::move(color));
  shape.fontSize = size;
  shape.textStyle = style;
  return shape;
}

/// A page of small dark text on `paper`.
inline Image pageOf(const std::string& words, PixelSize size, const std::string& ink = "#202020",
                    std::uint32_t paper = 0xfffcfaf5) {
  EditorDocument document;
  std::string line = words;
  while (line.size() < 60) line += " " + words;
  for (int y = 4; y < size.height; y += 14) {
    document.shapes.push_back(textShape({6, double(y)}, line, 10, TextStyle::plain, ink));
  }
  return *renderScene(document, {plainImage(size, paper), {}});
}

inline Image draw(std::vector<Shape> shapes, const Image& base) {
  EditorDocument document;
  document.shapes = std::move(shapes);
  auto image = renderScene(document, {base, 2.0});
  return image ? *image : Image();
}

}  // namespace vantorel
