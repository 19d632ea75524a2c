#include "ui/kit/vantorel_style.hpp"

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QStyleOption>
#include <QToolButton>
#include <algorithm>

#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr const char* dangerous = "vantorelDangerous";
constexpr int checkSide = 18;
constexpr int scrollBarWidth = 12;
constexpr int leastScrollHandle = 32;
constexpr int sliderHandle = 16;
constexpr int buttonPadding = 16;
constexpr int fieldPadding = 8;
constexpr int comboArrowRoom = 30;

bool has(const QStyleOption& option, QStyle::StateFlag state) {
  return option.state.testFlag(state);
}

bool showsFocus(const QStyleOption& option) {
  return has(option, QStyle::State_HasFocus) && has(option, QStyle::State_KeyboardFocusChange);
}

void beginPart(QPainter& painter, const QStyleOption& option) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  if (!has(option, QStyle::State_Enabled)) painter.setOpacity(tokens::offOpacity);
}

/// A small angle that points down, or up.
void paintChevron(QPainter& painter, const QPointF& center, const QColor& color, bool isUp) {
  const double rise = isUp ? -2 : 2;
  const QPointF line[] = {center + QPointF(-4, -rise), center + QPointF(0, rise),
                          center + QPointF(4, -rise)};
  painter.setPen(QPen(color, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPolyline(line, 3);
}

void paintButton(QPainter& painter, const QStyleOption& option, bool isDefault) {
  const PaletteRoles roles = rolesOf(option.palette);
  const bool isPressed = has(option, QStyle::State_Sunken);
  const bool isHovered = has(option, QStyle::State_MouseOver) && has(option, QStyle::State_Enabled);
  beginPart(painter, option);
  if (isDefault) {
    QColor fill = roles.accentFill;
    if (isHovered || isPressed) fill = mixed(fill, Qt::black, isPressed ? 0.16 : 0.08);
    paintBox(painter, option.rect, tokens::buttonRadius, fill, Qt::NoPen);
  } else {
    QColor fill = has(option, QStyle::State_On) ? roles.selection : roles.base;
    if (roles.isDark && !has(option, QStyle::State_On)) fill = mixed(roles.base, roles.text, 0.03);
    if (isHovered || isPressed) fill = mixed(fill, roles.text, isPressed ? 0.09 : 0.05);
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
           has(option, QStyle::State_HasFocus) ? QPen(roles.focus, tokens::focusRing)
                                               : QPen(roles.fieldBorder));
  painter.restore();
}

void paintToolButton(QPainter& painter, const QStyleOption& option) {
  const PaletteRoles roles = rolesOf(option.palette);
  const bool isEnabled = has(option, QStyle::State_Enabled);
  const bool isPressed = isEnabled && has(option, QStyle::State_Sunken);
  const bool isHovered = isEnabled && has(option, QStyle::State_MouseOver);
  painter.save();
  if (has(option, QStyle::State_On)) {
    paintBox(painter, option.rect, tokens::buttonRadius,
             isPressed || isHovered ? mixed(roles.selection, roles.text, 0.05) : roles.selection,
             roles.isHighContrast ? QPen(roles.text) : QPen(Qt::NoPen));
  } else if (isPressed || isHovered) {
    QColor veil = roles.text;
    veil.setAlphaF(isPressed ? 0.09F : 0.05F);
    paintBox(painter, option.rect, tokens::buttonRadius, veil, Qt::NoPen);
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
  const bool isOn = has(option, QStyle::State_On);
  const bool isMixed = has(option, QStyle::State_NoChange);
  beginPart(painter, option);
  const bool isHovered = has(option, QStyle::State_MouseOver) && has(option, QStyle::State_Enabled);
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
  const bool isHeld = option.activeSubControls.testFlag(QStyle::SC_ScrollBarSlider) &&
                      (has(option, QStyle::State_Sunken) || has(option, QStyle::State_MouseOver));
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

}  // namespace

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

void markDangerous(QWidget& button) {
  button.setProperty(dangerous, true);
  button.update();
}

void useVantorelStyle() {
  const QString name = QApplication::style()->name();
  if (name.compare(QLatin1String("fusion"), Qt::CaseInsensitive) != 0 ||
      dynamic_cast<VantorelStyle*>(QApplication::style()) != nullptr) {
    return;
  }
  QApplication::setStyle(new VantorelStyle);
}

VantorelStyle::VantorelStyle() : QProxyStyle(QStringLiteral("fusion")) {}

void VantorelStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                  QPainter* painter, const QWidget* widget) const {
  switch (element) {
    case PE_PanelButtonCommand: {
      const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
      const bool isDefault =
          button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton);
      if (button != nullptr && button->features.testFlag(QStyleOptionButton::Flat)) {
        return paintToolButton(*painter, *option);
      }
      return paintButton(*painter, *option, isDefault);
    }
    case PE_PanelButtonTool: return paintToolButton(*painter, *option);
    case PE_PanelLineEdit:
      // A field inside another control is framed by that one.
      if (const auto* const frame = qstyleoption_cast<const QStyleOptionFrame*>(option);
          frame != nullptr && frame->lineWidth > 0) {
        paintField(*painter, *option);
      }
      return;
    case PE_FrameLineEdit: return paintField(*painter, *option);
    case PE_IndicatorCheckBox:
    case PE_IndicatorItemViewItemCheck: return paintIndicator(*painter, *option, false);
    case PE_IndicatorRadioButton: return paintIndicator(*painter, *option, true);
    case PE_FrameFocusRect: {
      if (!has(*option, State_KeyboardFocusChange)) return;
      const auto* const button = qobject_cast<const QAbstractButton*>(widget);
      // Buttons paint their own.
      if (qobject_cast<const QPushButton*>(button) != nullptr ||
          qobject_cast<const QToolButton*>(button) != nullptr) {
        return;
      }
      return paintFocusRing(*painter, QRectF(option->rect).adjusted(2, 2, -2, -2),
                            tokens::keyCapRadius, rolesOf(option->palette).focus);
    }
    case PE_PanelMenu:
    case PE_FrameMenu: {
      const PaletteRoles roles = rolesOf(option->palette);
      painter->fillRect(option->rect, roles.base);
      painter->setPen(roles.isDark ? mixed(roles.base, roles.text, 0.19) : roles.fieldBorder);
      painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
      return;
    }
    case PE_PanelItemViewItem: {
      const PaletteRoles roles = rolesOf(option->palette);
      if (has(*option, State_Selected)) {
        paintBox(*painter, option->rect, tokens::keyCapRadius, option->palette.highlight(),
                 roles.isHighContrast ? QPen(roles.text) : QPen(Qt::NoPen));
      } else if (has(*option, State_MouseOver) && has(*option, State_Enabled)) {
        paintBox(*painter, option->rect, tokens::keyCapRadius, mixed(roles.base, roles.text, 0.05),
                 Qt::NoPen);
      }
      return;
    }
    case PE_PanelItemViewRow: return;  // its items say what is selected
    case PE_Frame: {
      painter->setPen(rolesOf(option->palette).line);
      painter->setBrush(Qt::NoBrush);
      painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
      return;
    }
    case PE_PanelTipLabel: {
      const PaletteRoles roles = rolesOf(option->palette);
      painter->fillRect(option->rect, option->palette.toolTipBase());
      painter->setPen(roles.line);
      painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
      return;
    }
    case PE_IndicatorArrowDown:
    case PE_IndicatorArrowUp: {
      beginPart(*painter, *option);
      paintChevron(*painter, QRectF(option->rect).center(), rolesOf(option->palette).quiet,
                   element == PE_IndicatorArrowUp);
      painter->restore();
      return;
    }
    default: QProxyStyle::drawPrimitive(element, option, painter, widget);
  }
}

void VantorelStyle::drawControl(ControlElement element, const QStyleOption* option,
                                QPainter* painter, const QWidget* widget) const {
  switch (element) {
    case CE_PushButtonLabel: {
      const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
      if (button == nullptr) break;
      QStyleOptionButton label = *button;
      const PaletteRoles roles = rolesOf(option->palette);
      QColor ink = roles.text;
      if (button->features.testFlag(QStyleOptionButton::DefaultButton)) {
        ink = roles.onAccent;
      } else if (widget != nullptr && widget->property(dangerous).toBool()) {
        ink = roles.danger;
      }
      if (!has(*option, State_Enabled)) ink.setAlphaF(float(tokens::offOpacity));
      for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        label.palette.setColor(group, QPalette::ButtonText, ink);
      }
      return QProxyStyle::drawControl(element, &label, painter, widget);
    }
    case CE_ComboBoxLabel: {
      const auto* const box = qstyleoption_cast<const QStyleOptionComboBox*>(option);
      if (box == nullptr) break;
      QStyleOptionComboBox label = *box;
      const int room = subControlRect(CC_ComboBox, box, SC_ComboBoxEditField, widget).width();
      label.currentText =
          box->fontMetrics.elidedText(box->currentText, Qt::ElideRight, room - tokens::space4);
      return QProxyStyle::drawControl(element, &label, painter, widget);
    }
    case CE_MenuItem: {
      const auto* const item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
      if (item == nullptr) break;
      const PaletteRoles roles = rolesOf(option->palette);
      QStyleOptionMenuItem plain = *item;
      if (has(*option, State_Selected) && has(*option, State_Enabled) &&
          item->menuItemType != QStyleOptionMenuItem::Separator) {
        paintBox(*painter, QRectF(option->rect).adjusted(2, 0, -2, 0), tokens::keyCapRadius,
                 mixed(roles.base, roles.text, 0.09), Qt::NoPen);
      }
      if (item->menuItemType == QStyleOptionMenuItem::Separator && item->text.isEmpty()) {
        painter->fillRect(QRect(option->rect.left() + tokens::space8, option->rect.center().y(),
                                option->rect.width() - 2 * tokens::space8, 1),
                          roles.line);
        return;
      }
      plain.state.setFlag(State_Selected, false);
      return QProxyStyle::drawControl(element, &plain, painter, widget);
    }
    case CE_ItemViewItem: {
      const auto* const item = qstyleoption_cast<const QStyleOptionViewItem*>(option);
      if (item == nullptr) break;
      const PaletteRoles roles = rolesOf(option->palette);
      QStyleOptionViewItem tinted = *item;
      for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        tinted.palette.setColor(group, QPalette::Highlight, roles.selection);
        tinted.palette.setColor(group, QPalette::HighlightedText, roles.text);
      }
      return QProxyStyle::drawControl(element, &tinted, painter, widget);
    }
    case CE_ProgressBar:
      if (const auto* const bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option)) {
        return paintProgress(*painter, *bar);
      }
      break;
    default: break;
  }
  QProxyStyle::drawControl(element, option, painter, widget);
}

void VantorelStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                       QPainter* painter, const QWidget* widget) const {
  switch (control) {
    case CC_ComboBox: {
      const auto* const combo = qstyleoption_cast<const QStyleOptionComboBox*>(option);
      if (combo != nullptr && combo->editable) {
        paintField(*painter, *option);
      } else {
        paintButton(*painter, *option, false);
      }
      beginPart(*painter, *option);
      paintChevron(
          *painter,
          QRectF(proxy()->subControlRect(control, option, SC_ComboBoxArrow, widget)).center(),
          rolesOf(option->palette).quiet, false);
      painter->restore();
      return;
    }
    case CC_Slider:
      if (const auto* const slider = qstyleoption_cast<const QStyleOptionSlider*>(option)) {
        return paintSlider(*painter, *slider);
      }
      break;
    case CC_ScrollBar:
      if (const auto* const bar = qstyleoption_cast<const QStyleOptionSlider*>(option)) {
        return paintScrollBar(*painter, *bar,
                              proxy()->subControlRect(control, option, SC_ScrollBarSlider, widget));
      }
      break;
    case CC_ToolButton: {
      // "…" or its words say that a menu follows.
      const auto* const button = qstyleoption_cast<const QStyleOptionToolButton*>(option);
      if (button == nullptr) break;
      QStyleOptionToolButton plain = *button;
      plain.features.setFlag(QStyleOptionToolButton::HasMenu, false);
      return QProxyStyle::drawComplexControl(control, &plain, painter, widget);
    }
    case CC_SpinBox: {
      const auto* const spin = qstyleoption_cast<const QStyleOptionSpinBox*>(option);
      if (spin == nullptr) break;
      if (spin->frame) paintField(*painter, *option);
      if (spin->buttonSymbols == QAbstractSpinBox::NoButtons) return;
      const PaletteRoles roles = rolesOf(option->palette);
      const auto arrow = [&](SubControl part, bool isUp, bool isPossible) {
        QStyleOption one = *option;
        one.state.setFlag(State_Enabled, has(*option, State_Enabled) && isPossible);
        const QRect area = proxy()->subControlRect(control, option, part, widget);
        if (option->activeSubControls.testFlag(part) && has(one, State_Enabled)) {
          paintBox(*painter, QRectF(area).adjusted(1, 1, -1, -1), tokens::keyCapRadius,
                   has(*option, State_Sunken) ? roles.press : roles.hover, Qt::NoPen);
        }
        beginPart(*painter, one);
        paintChevron(*painter, QRectF(area).center(), roles.quiet, isUp);
        painter->restore();
      };
      arrow(SC_SpinBoxUp, true, spin->stepEnabled.testFlag(QAbstractSpinBox::StepUpEnabled));
      arrow(SC_SpinBoxDown, false, spin->stepEnabled.testFlag(QAbstractSpinBox::StepDownEnabled));
      return;
    }
    default: break;
  }
  QProxyStyle::drawComplexControl(control, option, painter, widget);
}

int VantorelStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                               const QWidget* widget) const {
  switch (metric) {
    case PM_IndicatorWidth:
    case PM_IndicatorHeight:
    case PM_ExclusiveIndicatorWidth:
    case PM_ExclusiveIndicatorHeight: return checkSide;
    case PM_CheckBoxLabelSpacing:
    case PM_RadioButtonLabelSpacing: return tokens::space8;
    case PM_ScrollBarExtent: return scrollBarWidth;
    case PM_ScrollBarSliderMin: return leastScrollHandle;
    case PM_SliderLength:
    case PM_SliderThickness:
    case PM_SliderControlThickness: return sliderHandle;
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical: return 0;
    case PM_MenuPanelWidth: return 1;
    case PM_MenuHMargin:
    case PM_MenuVMargin: return tokens::space4;
    case PM_SmallIconSize:
    case PM_ButtonIconSize: return 16;
    case PM_ToolBarIconSize: return 20;
    case PM_LayoutHorizontalSpacing:
    case PM_LayoutVerticalSpacing: return tokens::space8;
    default: return QProxyStyle::pixelMetric(metric, option, widget);
  }
}

int VantorelStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                             QStyleHintReturn* returned) const {
  switch (hint) {
    case SH_Slider_AbsoluteSetButtons: return Qt::LeftButton;
    case SH_UnderlineShortcut:
    case SH_ComboBox_Popup:
    case SH_DialogButtonBox_ButtonsHaveIcons:
    case SH_MenuBar_AltKeyNavigation:
    case SH_ScrollBar_Transient:
    case SH_EtchDisabledText: return 0;
    default: return QProxyStyle::styleHint(hint, option, widget, returned);
  }
}

QSize VantorelStyle::sizeFromContents(ContentsType type, const QStyleOption* option,
                                      const QSize& contents, const QWidget* widget) const {
  const int line = option != nullptr ? option->fontMetrics.height() : 0;
  const int height = std::max(tokens::control, line + tokens::space12);
  switch (type) {
    case CT_PushButton: {
      const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
      const bool hasText = button == nullptr || !button->text.isEmpty();
      const int padding = hasText ? 2 * buttonPadding : tokens::space16;
      return {contents.width() + padding, std::max(height, contents.height() + tokens::space8)};
    }
    case CT_ComboBox:
      return {contents.width() + comboArrowRoom + fieldPadding + tokens::space8, height};
    case CT_LineEdit: return {contents.width() + 2 * fieldPadding, height};
    case CT_SpinBox: {
      const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
      return {size.width(), std::max(size.height(), height)};
    }
    case CT_ToolButton: {
      const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
      return size.expandedTo({tokens::smallControl, std::max(tokens::smallControl, line + 8)});
    }
    case CT_ItemViewItem: {
      const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
      return {size.width(), std::max(size.height(), std::max(tokens::smallControl, line + 8))};
    }
    case CT_MenuItem: {
      const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
      const auto* const item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
      if (item != nullptr && item->menuItemType == QStyleOptionMenuItem::Separator) {
        return {size.width(), tokens::space8 + 1};
      }
      return {size.width() + tokens::space8, std::max(size.height(), std::max(28, line + 10))};
    }
    default: return QProxyStyle::sizeFromContents(type, option, contents, widget);
  }
}

QRect VantorelStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                    SubControl part, const QWidget* widget) const {
  const QRect area = option->rect;
  if (control == CC_ComboBox) {
    if (part == SC_ComboBoxArrow) {
      return visualRect(
          option->direction, area,
          {area.right() + 1 - comboArrowRoom, area.top(), comboArrowRoom, area.height()});
    }
    if (part == SC_ComboBoxEditField) {
      return visualRect(option->direction, area,
                        area.adjusted(fieldPadding, 2, -comboArrowRoom, -2));
    }
  }
  if (control == CC_Slider) {
    const auto* const slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (slider != nullptr && part == SC_SliderGroove) return area;
    if (slider != nullptr && part == SC_SliderHandle) {
      const bool isLying = slider->orientation == Qt::Horizontal;
      const int at = sliderPositionFromValue(
          slider->minimum, slider->maximum, slider->sliderPosition,
          (isLying ? area.width() : area.height()) - sliderHandle, slider->upsideDown);
      return isLying ? QRect(area.left() + at, area.center().y() - sliderHandle / 2 + 1,
                             sliderHandle, sliderHandle)
                     : QRect(area.center().x() - sliderHandle / 2 + 1, area.top() + at,
                             sliderHandle, sliderHandle);
    }
  }
  if (control == CC_ScrollBar) {
    const auto* const bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (bar == nullptr) return area;
    // No arrows at the ends: the bar is all groove.
    const bool isLying = bar->orientation == Qt::Horizontal;
    const int whole = isLying ? area.width() : area.height();
    const qint64 range = qint64{bar->maximum} - bar->minimum;
    const int handle = range <= 0 ? whole
                                  : static_cast<int>(std::clamp<qint64>(
                                        qint64{whole} * bar->pageStep / (range + bar->pageStep),
                                        std::min(leastScrollHandle, whole), whole));
    const int at = sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition,
                                           whole - handle, bar->upsideDown);
    const auto along = [&](int from, int length) {
      return isLying ? QRect(area.left() + from, area.top(), length, area.height())
                     : QRect(area.left(), area.top() + from, area.width(), length);
    };
    switch (part) {
      case SC_ScrollBarSlider: return along(at, handle);
      case SC_ScrollBarGroove: return area;
      case SC_ScrollBarSubPage: return along(0, at);
      case SC_ScrollBarAddPage: return along(at + handle, whole - at - handle);
      default: return {};
    }
  }
  return QProxyStyle::subControlRect(control, option, part, widget);
}

QRect VantorelStyle::subElementRect(SubElement element, const QStyleOption* option,
                                    const QWidget* widget) const {
  if (element == SE_LineEditContents) {
    const auto* const frame = qstyleoption_cast<const QStyleOptionFrame*>(option);
    if (frame != nullptr && frame->lineWidth > 0) {
      // The toolkit adds two of its own.
      return option->rect.adjusted(fieldPadding - 2, 1, -fieldPadding + 2, -1);
    }
  }
  return QProxyStyle::subElementRect(element, option, widget);
}

void VantorelStyle::polish(QWidget* widget) {
  QProxyStyle::polish(widget);
  if (qobject_cast<QAbstractButton*>(widget) != nullptr ||
      qobject_cast<QComboBox*>(widget) != nullptr || qobject_cast<QLineEdit*>(widget) != nullptr ||
      qobject_cast<QAbstractSpinBox*>(widget) != nullptr ||
      qobject_cast<QScrollBar*>(widget) != nullptr) {
    widget->setAttribute(Qt::WA_Hover);
  }
}

}  // namespace vantorel
