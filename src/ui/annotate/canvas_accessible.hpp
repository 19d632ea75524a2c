#pragma once

#include <QAccessible>
#include <string>

namespace vantorel {

class AnnotateCanvas;
struct Shape;

/// Lets screen readers see the canvas with its shapes, in the order in which they lie on each
/// other, and the text that is typed. Before the first canvas; once is enough.
void installCanvasAccessibility();

/// Tells screen readers that this shape has the focus now.
void announceShape(AnnotateCanvas& canvas, const std::string& shapeID);

/// Tells screen readers, by `tell`, what is new about the text that is typed, or that it no longer
/// is.
void announceTyping(AnnotateCanvas& canvas,
                    void (*tell)(QAccessibleEvent*) = QAccessible::updateAccessibility);

/// "Arrow", "Text “Highest this week”", "Counter 3".
[[nodiscard]] std::string spokenName(const Shape& shape);

}  // namespace vantorel
