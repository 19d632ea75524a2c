#include "ui/kit/control_painting.hpp"

#include <QPainter>
#include <algorithm>

#include "ui/kit/box_painting.hpp"
#include "ui/kit/hover_fade.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

bool showsFocus(const QStyleOption& option) {
  return hasState(option, QStyle::State_HasFocus) &&
         hasState(option, QStyle::State_KeyboardFocusChange);
}

}  // namespace

bool hasState(const QStyleOption& option, QStyle::StateFlag state) {
  return option.state.testFlag(state);
}

void beginPart(QPainter& painter, const QStyleOption& option) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  if (!hasState(option, QStyle::State_Enabled)) painter.setOpacity(tokens::offOpacity);
}

void paintChevron(QPainter& painter, const QPointF& center, const QColor& color, bool isUp) {
  const double rise = isUp ? -2 : 2;
  const QPointF line[] = {center + QPointF(-4, -rise), center + QPointF(0, rise),
                          center + QPointF(4, -rise)};
  painter.setPen(QPen(color, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPolyline(line, 3);
}

double hoverOf(const QStyleOption& option, const QWidget* widget) {
  if (!hasState(option, QStyle::State_Enabled)) return 0;
  const bool isHovered = hasState(option, QStyle::State_MouseOver);
  return widget == nullptr ? double(isHovered) : hoverPart(*widget, isHovered);
}

void paintButton(QPainter& painter, const QStyleOption& option, bool isDefault,
                 const QWidget* widget) {
  const PaletteRoles roles = rolesOf(option.palette);
  const bool isPressed = hasState(option, QStyle::State_Sunken);
  const double hover = hoverOf(option, widget);
  beginPart(painter, option);
  if (isDefault) {
    QColor fill = roles.accentFill;
    fill = mixed(fill, Qt::black, isPressed ? 0.16 : 0.08 * hover);
    paintBox(painter, option.rect, tokens::buttonRadius, fill, Qt::NoPen);
  } else {
    QColor fill = hasState(option, QStyle::State_On) ? roles.selection : roles.base;
    if (roles.isDark && !hasState(option, QStyle::State_On))
      fill = mixed(roles.base, roles.text, 0.03);
    fill = mixed(fill, roles.text, isPressed ? 0.09 : 0.05 * hover);
    paintBox(painter, option.rect, tokens::buttonRadius, fill, QPen(roles.fieldBorder));
  }
  painter.restore();
  if (!showsFocus(option)) return;
  painter.save();
  // The ring lies within the button, which keeps its size; a gap sets it off from a fill.
  paintBox(painter, QRectF(option.rect).adjusted(2, 2, -2, -2), tokens::buttonRadius - 2,
           Qt::NoBrush, QPen(roles.window, 1));
  paintFocusRing(painter,
                 QRectF(option.rect)
                     .adjusted(tokens::focusRing + tokens::focusRingGap,
                               tokens::focusRing + tokens::focusRingGap,
                               -tokens::focusRing - tokens::focusRingGap,
                               -tokens::focusRing - tokens::focusRingGap),
                 tokens::buttonRadius - 2, roles.focus);
  painter.restore();
}

void paintField(QPainter& painter, const QStyleOption& option) {
  const PaletteRoles roles = rolesOf(option.palette);
  beginPart(painter, option);
  paintBox(painter, option.rect, tokens::buttonRadius, roles.base,
           hasState(option, QStyle::State_HasFocus) ? QPen(roles.focus, tokens::focusRing)
                                                    : QPen(roles.fieldBorder));
  painter.restore();
}

void paintVeil(QPainter& painter, const QStyleOption& option, double part) {
  QColor veil = rolesOf(option.palette).text;
  veil.setAlphaF(static_cast<float>(part));
  paintBox(painter, option.rect, tokens::buttonRadius, veil, Qt::NoPen);
}

void paintToolButton(QPainter& painter, const QStyleOption& option, const QWidget* widget) {
  const PaletteRoles roles = rolesOf(option.palette);
  const bool isPressed =
      hasState(option, QStyle::State_Enabled) && hasState(option, QStyle::State_Sunken);
  const double hover = hoverOf(option, widget);
  painter.save();
  if (hasState(option, QStyle::State_On)) {
    paintBox(painter, option.rect, tokens::buttonRadius,
             mixed(roles.selection, roles.text, isPressed ? 0.05 : 0.05 * hover),
             roles.isHighContrast ? QPen(roles.text) : QPen(Qt::NoPen));
  } else if (isPressed || hover > 0) {
    paintVeil(painter, option, isPressed ? 0.09 : 0.05 * hover);
  }
  if (showsFocus(option)) {
    paintFocusRing(painter, QRectF(option.rect).adjusted(3, 3, -3, -3), tokens::buttonRadius - 2,
                   roles.focus);
  }
  painter.restore();
}

void paintIndicator(QPainter& painter, const QStyleOption& option, bool isRound) {
  const PaletteRoles roles = rolesOf(option.palette);
  const QRectF area(option.rect);
  const double radius = isRound ? area.width() / 2 : tokens::keyCapRadius;
  const bool isOn = hasState(option, QStyle::State_On);
  const bool isMixed = hasState(option, QStyle::State_NoChange);
  beginPart(painter, option);
  const bool isHovered =
      hasState(option, QStyle::State_MouseOver) && hasState(option, QStyle::State_Enabled);
  if (!isOn && !isMixed) {
    paintBox(painter, area, radius, isHovered ? mixed(roles.base, roles.text, 0.05) : roles.base,
             QPen(roles.switchOff));
    painter.restore();
    return;
  }
  paintBox(painter, area, radius,
           isHovered ? mixed(roles.accentFill, Qt::black, 0.08) : roles.accentFill, Qt::NoPen);
  painter.setPen(QPen(roles.onAccent, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  const QPointF center = area.center();
  if (isRound) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(roles.onAccent);
    painter.drawEllipse(center, area.width() / 5, area.width() / 5);
  } else if (isMixed) {
    painter.drawLine(center - QPointF(4, 0), center + QPointF(4, 0));
  } else {
    const QPointF mark[] = {center + QPointF(-4, 0.5), center + QPointF(-1, 3.5),
                            center + QPointF(4, -3)};
    painter.drawPolyline(mark, 3);
  }
  painter.restore();
}

void paintSlider(QPainter& painter, const QStyleOptionSlider& option) {
  const PaletteRoles roles = rolesOf(option.palette);
  const bool isLying = option.orientation == Qt::Horizontal;
  const QRect area = option.rect;
  const int length = (isLying ? area.width() : area.height()) - sliderHandle;
  const int at = QStyle::sliderPositionFromValue(option.minimum, option.maximum,
                                                 option.sliderPosition, length, option.upsideDown) +
                 sliderHandle / 2;
  const double across =
      isLying ? area.top() + area.height() / 2.0 : area.left() + area.width() / 2.0;
  const auto rail = [&](double from, double to) {
    return isLying ? QRectF(area.left() + from, across - 2, to - from, 4)
                   : QRectF(across - 2, area.top() + from, 4, to - from);
  };
  beginPart(painter, option);
  painter.setPen(Qt::NoPen);
  painter.setBrush(mixed(roles.window, roles.text, 0.19));
  const double whole = isLying ? area.width() : area.height();
  painter.drawRoundedRect(rail(0, whole), 2, 2);
  painter.setBrush(roles.accentFill);
  painter.drawRoundedRect(option.upsideDown ? rail(at, whole) : rail(0, at), 2, 2);
  const QPointF center =
      isLying ? QPointF(area.left() + at, across) : QPointF(across, area.top() + at);
  painter.setBrush(Qt::white);
  painter.setPen(QPen(QColor(0, 0, 0, roles.isDark ? 120 : 90), 1));
  painter.drawEllipse(center, sliderHandle / 2.0 - 0.5, sliderHandle / 2.0 - 0.5);
  painter.restore();
  if (showsFocus(option)) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(roles.focus, tokens::focusRing));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(center, sliderHandle / 2.0 - 1, sliderHandle / 2.0 - 1);
    painter.restore();
  }
}

void paintScrollBar(QPainter& painter, const QStyleOptionSlider& option, const QRect& handle) {
  const PaletteRoles roles = rolesOf(option.palette);
  if (option.minimum == option.maximum) return;
  const bool isHeld =
      option.activeSubControls.testFlag(QStyle::SC_ScrollBarSlider) &&
      (hasState(option, QStyle::State_Sunken) || hasState(option, QStyle::State_MouseOver));
  const QRectF thumb = option.orientation == Qt::Horizontal ? QRectF(handle).adjusted(2, 3, -2, -3)
                                                            : QRectF(handle).adjusted(3, 2, -3, -2);
  beginPart(painter, option);
  painter.setPen(Qt::NoPen);
  painter.setBrush(isHeld ? mixed(roles.window, roles.text, 0.55) : roles.switchOff);
  const double radius = std::min(thumb.width(), thumb.height()) / 2;
  painter.drawRoundedRect(thumb, radius, radius);
  painter.restore();
}

void paintProgress(QPainter& painter, const QStyleOptionProgressBar& option) {
  const PaletteRoles roles = rolesOf(option.palette);
  const QRectF rail(option.rect.left(), option.rect.center().y() - 1.5, option.rect.width(), 4);
  beginPart(painter, option);
  painter.setPen(Qt::NoPen);
  painter.setBrush(mixed(roles.window, roles.text, 0.16));
  painter.drawRoundedRect(rail, 2, 2);
  const double range = double(option.maximum) - option.minimum;
  const double part = range > 0 ? (double(option.progress) - option.minimum) / range : 0.3;
  QRectF done = rail;
  done.setWidth(rail.width() * std::clamp(part, 0.0, 1.0));
  if (option.direction == Qt::RightToLeft) done.moveRight(rail.right());
  painter.setBrush(roles.accentFill);
  painter.drawRoundedRect(done, 2, 2);
  painter.restore();
}

}  // namespace vantorel
