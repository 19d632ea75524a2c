#include "ui/history/filter_chip.hpp"

#include <QKeyEvent>
#include <QPainter>
#include <QStyle>
#include <algorithm>

#include "ui/kit/application_font.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int crossSide = 12;
constexpr int edge = 8;  // px at both ends
constexpr int longestLabel = 140;

}  // namespace

FilterChip::FilterChip(const QString& label, QWidget* parent) : QAbstractButton(parent) {
  setText(label);
  setFollowingFont(*this, tokens::smallFont);
  setCursor(Qt::ArrowCursor);
  setFocusPolicy(Qt::TabFocus);
  setAttribute(Qt::WA_Hover);
  setAccessibleName("Remove the filter " + label);
  setToolTip(label + "\n" + QStringLiteral("Remove (Backspace)"));
}

QSize FilterChip::sizeHint() const {
  const QFontMetrics metrics(tokens::smallFont());
  const int label = std::min(longestLabel, metrics.horizontalAdvance(text()) + 2);
  return {edge + label + tokens::space4 + crossSide + edge,
          std::max(tokens::hitArea, metrics.height() + 6)};
}

void FilterChip::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setLayoutDirection(layoutDirection());
  QColor ground = roles.selection;
  if (underMouse() || isDown()) ground = mixed(ground, roles.text, isDown() ? 0.09 : 0.05);
  paintBox(painter, rect(), height() / 2.0, ground, Qt::NoPen);
  if (hasKeyboardFocus(*this)) {
    paintFocusRing(painter, QRectF(rect()).adjusted(2, 2, -2, -2), height() / 2.0 - 2, roles.focus);
  }
  const QRect cross = QStyle::visualRect(
      layoutDirection(), rect(),
      {width() - edge - crossSide, (height() - crossSide) / 2, crossSide, crossSide});
  painter.drawPixmap(cross.topLeft(), iconPixmap(IconName::close, cross.size(), devicePixelRatioF(),
                                                 roles.accentText));
  const int room = width() - 2 * edge - crossSide - tokens::space4;
  if (room < crossSide) return;
  painter.setFont(tokens::smallFont());
  painter.setPen(roles.accentText);
  painter.drawText(QStyle::visualRect(layoutDirection(), rect(), {edge, 0, room, height()}),
                   Qt::AlignVCenter | Qt::AlignLeading,
                   QFontMetrics(tokens::smallFont()).elidedText(text(), Qt::ElideRight, room));
}

void FilterChip::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
    case Qt::Key_Return:
    case Qt::Key_Enter: return click();
    default: QAbstractButton::keyPressEvent(event);
  }
}

}  // namespace vantorel
