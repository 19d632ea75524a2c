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

#include "ui/kit/box_painting.hpp"
#include "ui/kit/control_painting.hpp"
#include "ui/kit/hover_fade.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr const char* dangerous = "vantorelDangerous";

}  // namespace

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

VantorelStyle::VantorelStyle()
    : QProxyStyle(QStringLiteral("fusion")), fades_(new HoverFade(this)) {}

void VantorelStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                  QPainter* painter, const QWidget* widget) const {
  switch (element) {
    case PE_PanelButtonCommand: {
      const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
      const bool isDefault =
          button != nullptr && button->features.testFlag(QStyleOptionButton::DefaultButton);
      if (button != nullptr && button->features.testFlag(QStyleOptionButton::Flat)) {
        return paintToolButton(*painter, *option, widget);
      }
      return paintButton(*painter, *option, isDefault, widget);
    }
    case PE_PanelButtonTool: return paintToolButton(*painter, *option, widget);
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
      if (!hasState(*option, State_KeyboardFocusChange)) return;
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
      if (hasState(*option, State_Selected)) {
        paintBox(*painter, option->rect, tokens::keyCapRadius, option->palette.highlight(),
                 roles.isHighContrast ? QPen(roles.text) : QPen(Qt::NoPen));
      } else if (hasState(*option, State_MouseOver) && hasState(*option, State_Enabled)) {
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
      if (!hasState(*option, State_Enabled)) ink.setAlphaF(float(tokens::offOpacity));
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
      if (hasState(*option, State_Selected) && hasState(*option, State_Enabled) &&
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
        paintButton(*painter, *option, false, widget);
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
      // One that is flat has no panel once the pointer has left it, though it may have the focus.
      const bool hasPanel = hasState(*option, State_MouseOver) || hasState(*option, State_On) ||
                            hasState(*option, State_Sunken) || !hasState(*option, State_AutoRaise);
      if (!hasPanel) paintToolButton(*painter, *option, widget);
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
        one.state.setFlag(State_Enabled, hasState(*option, State_Enabled) && isPossible);
        const QRect area = proxy()->subControlRect(control, option, part, widget);
        if (option->activeSubControls.testFlag(part) && hasState(one, State_Enabled)) {
          paintBox(*painter, QRectF(area).adjusted(1, 1, -1, -1), tokens::keyCapRadius,
                   hasState(*option, State_Sunken) ? roles.press : roles.hover, Qt::NoPen);
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

void VantorelStyle::polish(QWidget* widget) {
  QProxyStyle::polish(widget);
  if (qobject_cast<QAbstractButton*>(widget) != nullptr ||
      qobject_cast<QComboBox*>(widget) != nullptr || qobject_cast<QLineEdit*>(widget) != nullptr ||
      qobject_cast<QAbstractSpinBox*>(widget) != nullptr ||
      qobject_cast<QScrollBar*>(widget) != nullptr) {
    widget->setAttribute(Qt::WA_Hover);
  }
  if (qobject_cast<QAbstractButton*>(widget) != nullptr ||
      qobject_cast<QComboBox*>(widget) != nullptr) {
    widget->installEventFilter(fades_);
  }
}

}  // namespace vantorel
