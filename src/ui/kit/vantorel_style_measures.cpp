#include <algorithm>

#include "ui/kit/control_painting.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/vantorel_style.hpp"

// How large controls and their parts are, and where.
namespace vantorel {
namespace {

constexpr int checkSide = 18;
constexpr int scrollBarWidth = 12;
constexpr int leastScrollHandle = 32;
constexpr int buttonPadding = 16;
constexpr int fieldPadding = 8;
constexpr int comboArrowRoom = 30;

}  // namespace

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

}  // namespace vantorel
