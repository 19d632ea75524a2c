#include "ui/kit/segmented_control.hpp"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPainter>
#include <QRadioButton>
#include <QStyleOption>
#include <utility>

#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

/// A radio button to screen readers and keys, painted as a part of the whole.
class SegmentButton : public QRadioButton {
 public:
  SegmentButton(const SegmentedControl::Segment& segment, QWidget* parent)
      : QRadioButton(parent), icon_(segment.icon), label_(segment.label) {
    setAccessibleName(segment.label);
    setToolTip(segment.toolTip.isEmpty() && icon_ ? segment.label : segment.toolTip);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  }

  [[nodiscard]] QSize sizeHint() const override {
    const int height = tokens::controlHeight(tokens::control, font()) - 4;
    if (icon_) return {height + tokens::space8, height};
    return {fontMetrics().horizontalAdvance(label_) + tokens::space24, height};
  }
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  [[nodiscard]] bool hitButton(const QPoint& at) const override { return rect().contains(at); }

  void paintEvent(QPaintEvent*) override {
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr int radius = tokens::buttonRadius - 2;
    if (isChecked()) {
      paintBox(painter, rect(), radius,
               roles.isDark ? mixed(roles.window, roles.text, 0.16) : roles.base,
               QPen(roles.isHighContrast ? roles.text : roles.fieldBorder));
    } else if (isEnabled() && (underMouse() || isDown())) {
      paintBox(painter, rect(), radius, isDown() ? roles.press : roles.hover, Qt::NoPen);
    }
    if (!isEnabled()) painter.setOpacity(tokens::offOpacity);
    const QColor ink = isChecked() ? roles.accentText : roles.text;
    if (icon_) {
      const QRect area = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter,
                                             QSize(rowIconSize, rowIconSize), rect());
      painter.drawPixmap(area.topLeft(), iconPixmap(*icon_, area.size(), devicePixelRatioF(), ink));
    } else {
      painter.setPen(isChecked() ? roles.text : roles.quiet);
      painter.setFont(font());
      painter.drawText(rect(), Qt::AlignCenter, label_);
    }
    painter.setOpacity(1);
    if (hasKeyboardFocus(*this)) {
      paintFocusRing(painter, QRectF(rect()).adjusted(2, 2, -2, -2), radius, roles.focus);
    }
  }

 private:
  std::optional<IconName> icon_;
  QString label_;
};

}  // namespace

SegmentedControl::SegmentedControl(std::vector<Segment> segments, QWidget* parent)
    : QWidget(parent), group_(new QButtonGroup(this)) {
  auto* const row = new QHBoxLayout(this);
  row->setContentsMargins(2, 2, 2, 2);
  row->setSpacing(2);
  for (std::size_t i = 0; i < segments.size(); ++i) {
    auto* const button = new SegmentButton(segments[i], this);
    group_->addButton(button, static_cast<int>(i));
    row->addWidget(button, 1);
  }
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  // Keys move the mark without a click of their own.
  connect(group_, &QButtonGroup::idToggled, this, [this](int index, bool isOn) {
    if (isOn && chosen_) chosen_(index);
  });
}

int SegmentedControl::current() const { return group_->checkedId(); }

void SegmentedControl::setCurrent(int index) {
  const QSignalBlocker blocked(group_);
  if (auto* const button = group_->button(index)) button->setChecked(true);
}

void SegmentedControl::setSegmentEnabled(int index, bool isEnabled, const QString& toolTip) {
  if (auto* const button = group_->button(index)) {
    button->setEnabled(isEnabled);
    button->setToolTip(toolTip);
  }
}

void SegmentedControl::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  paintBox(painter, rect(), tokens::buttonRadius, roles.press,
           roles.isHighContrast ? QPen(roles.fieldBorder) : QPen(Qt::NoPen));
}

}  // namespace vantorel
