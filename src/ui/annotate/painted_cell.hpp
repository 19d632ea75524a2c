#pragma once

#include <QAbstractButton>
#include <QButtonGroup>
#include <QPainter>

#include "ui/kit/box_painting.hpp"

namespace vantorel {

/// A cell of a grid that the grid paints, since rings reach over their neighbours' ground. Lives on
/// the main thread.
template <class Button>
class PaintedCell : public Button {
 public:
  PaintedCell(const QString& name, const QString& toolTip, QWidget* grid) : Button(grid) {
    this->setAccessibleName(name);
    this->setToolTip(toolTip);
  }

 protected:
  [[nodiscard]] bool hitButton(const QPoint& at) const override {
    return this->rect().contains(at);
  }
  void paintEvent(QPaintEvent*) override {}
  void focusInEvent(QFocusEvent* event) override {
    Button::focusInEvent(event);
    this->parentWidget()->update();
  }
  void focusOutEvent(QFocusEvent* event) override {
    Button::focusOutEvent(event);
    this->parentWidget()->update();
  }
};

/// Turns `cell` on, or, without one, whichever is on off. Nobody is told.
inline void checkCell(QButtonGroup& cells, QAbstractButton* cell) {
  const QSignalBlocker blocked(&cells);
  if (cell != nullptr) return cell->setChecked(true);
  auto* const checked = cells.checkedButton();
  if (checked == nullptr) return;
  cells.setExclusive(false);
  checked->setChecked(false);
  cells.setExclusive(true);
}

/// Around the cell that has the keyboard, outside the ring of the one that is on.
inline void paintCellFocus(QPainter& painter, const QWidget& cell, const QRectF& area,
                           double radius, const QColor& color) {
  constexpr double distance = 3;
  if (!hasKeyboardFocus(cell)) return;
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(color, 2));
  painter.drawRoundedRect(area.adjusted(-distance, -distance, distance, distance),
                          radius + distance, radius + distance);
}

}  // namespace vantorel
