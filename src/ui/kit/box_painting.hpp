#pragma once

#include <QBrush>
#include <QColor>
#include <QPen>
#include <QRectF>

class QPainter;
class QWidget;

namespace vantorel {

/// A filled rounded rectangle whose 1 px line lies inside `area`.
void paintBox(QPainter& painter, const QRectF& area, double radius, const QBrush& fill,
              const QPen& line);

/// The ring around `area` of what has the keyboard's focus.
void paintFocusRing(QPainter& painter, const QRectF& area, double radius, const QColor& color);

/// Whether `widget` has the focus and the keyboard brought it there.
[[nodiscard]] bool hasKeyboardFocus(const QWidget& widget);

}  // namespace vantorel
