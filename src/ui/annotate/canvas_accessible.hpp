#pragma once

#include <string>

namespace vantorel {

class AnnotateCanvas;
struct Shape;

/// Lets screen readers see the canvas with its shapes, in the order in which they lie on each
/// other. Before the first canvas; once is enough.
void installCanvasAccessibility();

/// Tells screen readers that this shape has the focus now.
void announceShape(AnnotateCanvas& canvas, const std::string& shapeID);

/// "Arrow", "Text “Highest this week”", "Counter 3".
[[nodiscard]] std::string spokenName(const Shape& shape);

}  // namespace vantorel
