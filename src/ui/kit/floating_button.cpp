#include "ui/kit/floating_button.hpp"

#include <QEvent>
#include <QPainter>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {

FloatingButton::FloatingButton(IconName symbol, const QString& name, const QString& key,
                               QWidget* parent)
    : QAbstractButton(parent), symbol_(symbol), name_(name), key_(key) {
  setAttribute(Qt::WA_Hover);
  setFocusPolicy(Qt::NoFocus);  // the card has the keys
  setAccessibleRole(*this, QAccessible::PushButton);
  setAccessibleName(name);
  setCursor(Qt::ArrowCursor);
}

void FloatingButton::setObstacle(const QString& reason) {
  if (obstacle_ == reason) return;
  obstacle_ = reason;
  setAccessibleDescription(reason);
  update();
}

void FloatingButton::setCurrent(bool isCurrent) {
  if (isCurrent_ == isCurrent) return;
  isCurrent_ = isCurrent;
  setAccessibleCurrent(*this, isCurrent);
  update();
}

bool FloatingButton::event(QEvent* event) {
  // A press on what cannot be done does nothing, and does not reach the card below either.
  if (!isPossible() &&
      (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonRelease)) {
    event->accept();
    return true;
  }
  if (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverLeave) {
    parentWidget()->update();
  }
  return QAbstractButton::event(event);
}

void FloatingButton::paintEvent(QPaintEvent*) {
  const FloatingColors& colors = floatingColors();
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  if (isRound_) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.panel);
    painter.drawEllipse(rect());
  }
  if (isPossible() && (underMouse() || isDown())) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(isDown() ? colors.press : colors.hover);
    const double radius = isRound_ ? width() / 2.0 : tokens::tileRadius;
    painter.drawRoundedRect(rect(), radius, radius);
  }
  if (!isPossible()) painter.setOpacity(tokens::offOpacity);
  const int side = isRound_ ? rowIconSize : barIconSize;
  const QRect area((width() - side) / 2, (height() - side) / 2, side, side);
  painter.drawPixmap(area.topLeft(),
                     iconPixmap(symbol_, area.size(), devicePixelRatioF(), colors.text));
  painter.setOpacity(1);
  if (!isCurrent_) return;
  // Over a picture of any color: white with a black rim.
  const QRectF ring = QRectF(rect()).adjusted(2, 2, -2, -2);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Qt::black, 4));
  painter.drawRoundedRect(ring, tokens::buttonRadius, tokens::buttonRadius);
  painter.setPen(QPen(Qt::white, 2));
  painter.drawRoundedRect(ring, tokens::buttonRadius, tokens::buttonRadius);
}

}  // namespace vantorel
