#include "ui/kit/segmented_control.hpp"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPainter>
#include <QRadioButton>
#include <QStyleOption>
#include <algorithm>
#include <utility>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/application_font.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int segmentEdge = 2;  // around each segment

/// A radio button to screen readers and keys, painted as a part of the whole.
class SegmentButton : public QRadioButton {
 public:
  SegmentButton(const SegmentedControl::Segment& segment, SegmentedControl::Size size,
                QWidget* parent)
      : QRadioButton(parent),
        icon_(segment.icon),
        picture_(segment.picture),
        label_(segment.label),
        isSmall_(size == SegmentedControl::Size::small) {
    setAccessibleName(segment.label);
    const bool isPictured = icon_ || picture_;
    setToolTip(segment.toolTip.isEmpty() && isPictured ? segment.label : segment.toolTip);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    if (isSmall_) setFollowingFont(*this, tokens::smallFont);
  }

  [[nodiscard]] QSize sizeHint() const override {
    const int token = isSmall_ ? tokens::smallControl : tokens::control;
    const int height = tokens::controlHeight(token, font()) - 4;
    if (picture_) return {tokens::hitArea, height};
    if (icon_) return {height + tokens::space8, height};
    const int beside = isSmall_ ? tokens::space12 : tokens::space24;
    return {fontMetrics().horizontalAdvance(label_) + beside, height};
  }
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  [[nodiscard]] bool hitButton(const QPoint& at) const override { return rect().contains(at); }

  void paintEvent(QPaintEvent*) override {
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr int radius = tokens::buttonRadius - 2;
    if (!isEnabled()) painter.setOpacity(tokens::offOpacity);
    if (isChecked()) {
      paintBox(painter, rect(), radius,
               roles.isDark ? mixed(roles.window, roles.text, 0.16) : roles.base,
               QPen(roles.isHighContrast ? roles.text : roles.fieldBorder));
    } else if (isEnabled() && (underMouse() || isDown())) {
      paintBox(painter, rect(), radius, isDown() ? roles.press : roles.hover, Qt::NoPen);
    }
    const QColor ink = isChecked() ? roles.accentText : roles.text;
    if (picture_) {
      picture_(painter, rect(), isChecked() ? roles.text : roles.quiet);
    } else if (icon_) {
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
  SegmentedControl::Picture picture_;
  QString label_;
  bool isSmall_;
};

}  // namespace

SegmentedControl::SegmentedControl(std::vector<Segment> segments, QWidget* parent, Size size)
    : QWidget(parent), row_(new QHBoxLayout(this)), group_(new QButtonGroup(this)) {
  setAccessibleRole(*this, QAccessible::Grouping);
  row_->setContentsMargins(segmentEdge, segmentEdge, segmentEdge, segmentEdge);
  row_->setSpacing(segmentEdge);
  for (std::size_t i = 0; i < segments.size(); ++i) {
    auto* const button = new SegmentButton(segments[i], size, this);
    group_->addButton(button, static_cast<int>(i));
    row_->addWidget(button, 1);
  }
  QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  policy.setHeightForWidth(size == Size::small);
  setSizePolicy(policy);
  // Keys move the mark without a click of their own.
  connect(group_, &QButtonGroup::idToggled, this, [this](int index, bool isOn) {
    if (isOn && chosen_) chosen_(index);
  });
}

int SegmentedControl::current() const { return group_->checkedId(); }

void SegmentedControl::setCurrent(int index) {
  const QSignalBlocker blocked(group_);
  if (auto* const button = group_->button(index)) return button->setChecked(true);
  auto* const checked = group_->checkedButton();
  if (index >= 0 || checked == nullptr) return;
  group_->setExclusive(false);
  checked->setChecked(false);
  group_->setExclusive(true);
}

bool SegmentedControl::fitsInRow(int width) const {
  int needed = segmentEdge;
  for (const QAbstractButton* const button : group_->buttons()) {
    needed += button->sizeHint().width() + segmentEdge;
  }
  return needed <= width;
}

int SegmentedControl::heightForWidth(int width) const {
  int highest = 0;
  int all = segmentEdge;
  for (const QAbstractButton* const button : group_->buttons()) {
    const int height = button->sizeHint().height();
    highest = std::max(highest, height);
    all += height + segmentEdge;
  }
  return fitsInRow(width) ? highest + 2 * segmentEdge : all;
}

void SegmentedControl::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (!sizePolicy().hasHeightForWidth()) return;
  row_->setDirection(fitsInRow(width()) ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
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
