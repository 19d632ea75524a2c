#include "editor/step_names.hpp"

#include <utility>

namespace vantorel {

std::string_view annotationName(ShapeType type) {
  switch (type) {
    case ShapeType::pen: return "Stroke";
    case ShapeType::highlighter:
    case ShapeType::highlightRect: return "Highlight";
    case ShapeType::arrow: return "Arrow";
    case ShapeType::rect: return "Rectangle";
    case ShapeType::ellipse: return "Ellipse";
    case ShapeType::polygon: return "Polygon";
    case ShapeType::text: return "Text";
    case ShapeType::redact: return "Redaction";
    case ShapeType::counter: return "Counter";
    case ShapeType::emoji: return "Emoji";
    case ShapeType::measure: return "Measurement";
  }
  std::unreachable();
}

std::string stepName(std::string_view verb, std::size_t count, ShapeType type) {
  return std::string(verb) + ' ' +
         (count == 1 ? std::string(annotationName(type)) : std::string("Annotations"));
}

}  // namespace vantorel
