#include "ui/kit/box_painting.hpp"

#include <QPainter>
#include <QWidget>

#include "ui/kit/tokens.hpp"

namespace vantorel {

void paintBox(QPainter& painter, const QRectF& area, double radius, const QBrush& fill,
              const QPen& line) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(fill);
  painter.setPen(line);
  const double inset = line.style() == Qt::NoPen ? 0 : line.widthF() / 2;
  painter.drawRoundedRect(area.adjusted(inset, inset, -inset, -inset), radius, radius);
  painter.restore();
}

void paintFocusRing(QPainter& painter, const QRectF& area, double radius, const QColor& color) {
  const double away = tokens::focusRingGap + tokens::focusRing / 2.0;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(color, tokens::focusRing));
  painter.drawRoundedRect(area.adjusted(-away, -away, away, away), radius + away, radius + away);
  painter.restore();
}

bool hasKeyboardFocus(const QWidget& widget) {
  return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

}  // namespace vantorel
