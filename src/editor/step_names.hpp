#pragma once

#include <string>
#include <string_view>

#include "editor/records/shape.hpp"

namespace vantorel {

/// What a person calls an annotation of this kind: "Arrow", "Redaction".
[[nodiscard]] std::string_view annotationName(ShapeType type);

/// The name of a step that does `verb` to `count` annotations, the first of kind `type`: "Move
/// Arrow", "Move Annotations".
[[nodiscard]] std::string stepName(std::string_view verb, std::size_t count, ShapeType type);

}  // namespace vantorel
