#include "ui/kit/link_button.hpp"

#include <QPainter>
#include <algorithm>

#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {

LinkButton::LinkButton(const QString& text, QWidget* parent) : QPushButton(text, parent) {
  setAutoDefault(false);
  setCursor(Qt::PointingHandCursor);
}

QSize LinkButton::sizeHint() const {
  const QFontMetrics metrics(tokens::strongFont());
  return {metrics.horizontalAdvance(text()) + 2 * tokens::space4,
          std::max(metrics.height() + 2, tokens::hitArea)};
}

void LinkButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const PaletteRoles roles = rolesOf(palette());
  QFont font = tokens::strongFont();
  font.setUnderline(underMouse() && isEnabled());
  painter.setFont(font);
  painter.setPen(roles.accentText);
  if (!isEnabled()) painter.setOpacity(tokens::offOpacity);
  painter.drawText(rect(), Qt::AlignCenter, text());
  if (hasKeyboardFocus(*this)) {
    paintFocusRing(painter, QRectF(rect()).adjusted(3, 3, -3, -3), tokens::keyCapRadius,
                   roles.focus);
  }
}

}  // namespace vantorel
