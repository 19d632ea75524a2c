#include "ui/kit/toggle_switch.hpp"

#include <QPainter>
#include <QStyleOption>

#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr QSize track(36, 20);
constexpr int ringRoom = tokens::focusRing + tokens::focusRingGap;

}  // namespace

ToggleSwitch::ToggleSwitch(QWidget* parent) : QCheckBox(parent) {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setAttribute(Qt::WA_Hover);
}

QSize ToggleSwitch::sizeHint() const {
  return {track.width() + 2 * ringRoom, track.height() + 2 * ringRoom};
}

bool ToggleSwitch::hitButton(const QPoint& at) const { return rect().contains(at); }

void ToggleSwitch::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRect area = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, track, rect());
  if (!isEnabled()) painter.setOpacity(tokens::offOpacity);
  QColor ground = isChecked() ? roles.accentFill : roles.switchOff;
  if (isEnabled() && underMouse()) ground = mixed(ground, roles.text, 0.1);
  painter.setPen(Qt::NoPen);
  painter.setBrush(ground);
  painter.drawRoundedRect(area, area.height() / 2.0, area.height() / 2.0);
  const bool atEnd = isChecked() != (layoutDirection() == Qt::RightToLeft);
  const int side = area.height() - 4;
  painter.setBrush(Qt::white);
  painter.drawEllipse(
      QRect(atEnd ? area.right() - 1 - side : area.left() + 2, area.top() + 2, side, side));
  if (hasKeyboardFocus(*this)) {
    painter.setOpacity(1);
    paintFocusRing(painter, area, area.height() / 2.0, roles.focus);
  }
}

}  // namespace vantorel
