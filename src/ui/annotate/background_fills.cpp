#include "ui/annotate/background_fills.hpp"

#include <QButtonGroup>
#include <QEvent>
#include <QLinearGradient>
#include <QPainter>
#include <QRadioButton>
#include <QStyle>
#include <variant>

#include "editor/background_gradient.hpp"
#include "ui/annotate/painted_cell.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int fillColumns = 5;
constexpr int fillHeight = tokens::smallControl;
constexpr int fillGap = 6;
constexpr int noFill = 0;
constexpr int solidFill = 1;
constexpr int firstGradient = 2;

QString latin(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QLinearGradient brushOf(const BackgroundGradient& gradient, const QRectF& area) {
  const auto at = [&](const Pt& place) {
    return area.topLeft() + QPointF(place.x * area.width(), place.y * area.height());
  };
  QLinearGradient brush(at(gradient.start), at(gradient.end));
  const auto last = static_cast<double>(gradient.stops.size()) - 1;
  for (std::size_t i = 0; i < gradient.stops.size(); ++i) {
    brush.setColorAt(last > 0 ? double(i) / last : 0, QColor(latin(gradient.stops[i])));
  }
  return brush;
}

using FillCell = PaintedCell<QRadioButton>;

}  // namespace

BackgroundFills::BackgroundFills(QWidget* parent)
    : QWidget(parent), group_(new QButtonGroup(this)) {
  setAccessibleRole(*this, QAccessible::Grouping);
  setAccessibleName(QStringLiteral("Fill"));
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  group_->addButton(new FillCell(QStringLiteral("None"), QStringLiteral("None"), this), noFill);
  group_->addButton(new FillCell(QStringLiteral("One color"), QStringLiteral("One color"), this),
                    solidFill);
  int index = firstGradient;
  for (const BackgroundGradient& gradient : backgroundGradients()) {
    const QString name = latin(gradient.label);
    group_->addButton(new FillCell(name, name, this), index++);
  }
  connect(group_, &QButtonGroup::idToggled, this, [this](int chosen, bool isOn) {
    update();
    if (isOn && onPicked) onPicked(fillOf(chosen));
  });
}

BackgroundFill BackgroundFills::fillOf(int index) const {
  if (index == noFill) return {BackgroundFill::None{}};
  if (index == solidFill) return {BackgroundFill::Solid{solid_}};
  return {BackgroundFill::Gradient{
      std::string(backgroundGradients()[static_cast<std::size_t>(index - firstGradient)].id)}};
}

void BackgroundFills::setCurrent(const BackgroundFill& fill, const std::string& solid) {
  solid_ = solid;
  int current = noFill;
  if (std::holds_alternative<BackgroundFill::Solid>(fill.value)) {
    current = solidFill;
  } else if (const auto* const gradient = std::get_if<BackgroundFill::Gradient>(&fill.value)) {
    current = -1;
    int index = firstGradient;
    for (const BackgroundGradient& offered : backgroundGradients()) {
      if (offered.id == gradient->id) current = index;
      ++index;
    }
  }
  checkCell(*group_, group_->button(current));
  update();
}

QSize BackgroundFills::sizeHint() const {
  const int rows = (static_cast<int>(group_->buttons().size()) + fillColumns - 1) / fillColumns;
  return {fillColumns * (fillHeight + fillGap),
          rows * fillHeight + (rows - 1) * fillGap + 2 * outset};
}

void BackgroundFills::place() {
  const int room = width() - 2 * outset;
  const int count = static_cast<int>(group_->buttons().size());
  for (int i = 0; i < count; ++i) {
    const int column = i % fillColumns;
    const auto edge = [&](int at) { return outset + (room + fillGap) * at / fillColumns; };
    const QRect area(edge(column), outset + (i / fillColumns) * (fillHeight + fillGap),
                     edge(column + 1) - fillGap - edge(column), fillHeight);
    group_->button(i)->setGeometry(QStyle::visualRect(layoutDirection(), rect(), area));
  }
  update();
}

void BackgroundFills::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  place();
}

bool BackgroundFills::event(QEvent* event) {
  const bool done = QWidget::event(event);
  if (event->type() == QEvent::LayoutDirectionChange) place();
  return done;
}

void BackgroundFills::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor rim = roles.isHighContrast ? roles.text
                     : roles.isDark       ? QColor(255, 255, 255, 40)
                                          : QColor(0, 0, 0, 31);
  const int count = static_cast<int>(group_->buttons().size());
  for (int i = 0; i < count; ++i) {
    const QAbstractButton& cell = *group_->button(i);
    const QRectF area = cell.geometry();
    QBrush brush(roles.press);
    if (i == solidFill) brush = QColor(QString::fromStdString(solid_));
    if (i >= firstGradient) {
      brush = brushOf(backgroundGradients()[static_cast<std::size_t>(i - firstGradient)], area);
    }
    paintBox(painter, area, tokens::buttonRadius, brush, QPen(rim));
    if (i == noFill) {
      const QRect cross(area.center().toPoint() - QPoint(rowIconSize / 2, rowIconSize / 2),
                        QSize(rowIconSize, rowIconSize));
      painter.drawPixmap(cross.topLeft(), iconPixmap(IconName::close, cross.size(),
                                                     devicePixelRatioF(), roles.quiet));
    }
    if (cell.isChecked()) paintFocusRing(painter, area, tokens::buttonRadius, roles.focus);
    paintCellFocus(painter, cell, area, tokens::buttonRadius, roles.text);
  }
}

}  // namespace vantorel
