#include "ui/annotate/ink_swatches.hpp"

#include <QButtonGroup>
#include <QConicalGradient>
#include <QEvent>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <algorithm>
#include <array>

#include "editor/shape_styling.hpp"
#include "ui/annotate/painted_cell.hpp"
#include "ui/annotate/tab_order.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int inkDiameter = 20;
constexpr int leastInkStep = 23;  // px from one to the next
constexpr int inkRowHeight = tokens::hitArea + 4;
constexpr std::array inkNames{"White", "Red", "Blue",   "Yellow", "Lime",
                              "Green", "Sky", "Purple", "Black"};
static_assert(inkNames.size() == inkSwatches.size());

QString inkText(std::string_view color) {
  return QString::fromUtf8(color.data(), static_cast<qsizetype>(color.size()));
}

}  // namespace

QString inkName(const QString& color) {
  for (std::size_t i = 0; i < inkSwatches.size(); ++i) {
    if (inkText(inkSwatches[i]) == color) return QString::fromLatin1(inkNames[i]);
  }
  return color;
}

void paintInk(QPainter& painter, const QRectF& area, const QColor& color, const QPalette& palette) {
  const PaletteRoles roles = rolesOf(palette);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawEllipse(area);
  QColor rim = roles.isDark ? QColor(255, 255, 255, 61) : QColor(0, 0, 0, 46);
  if (roles.isHighContrast) rim = roles.text;
  painter.setPen(QPen(rim, 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawEllipse(area.adjusted(0.5, 0.5, -0.5, -0.5));
}

class InkSwatches::Cell : public PaintedCell<QRadioButton> {
 public:
  using PaintedCell::PaintedCell;
};

InkSwatches::InkSwatches(const QString& name, Last last, QWidget* parent)
    : QWidget(parent), name_(name), group_(new QButtonGroup(this)) {
  setAccessibleRole(*this, QAccessible::Grouping);
  setAccessibleName(name);
  QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
  if (last == Last::custom) {
    const QString other = QStringLiteral("Another color…");
    custom_ = new PaintedCell<QAbstractButton>(other, other, this);
    setAccessibleRole(*custom_, QAccessible::ButtonMenu);
    custom_->setFocusPolicy(Qt::TabFocus);
    connect(custom_, &QAbstractButton::clicked, this, [this] {
      if (!onCustom) return;
      const bool isKnown = current_ && !current_->isEmpty();
      onCustom(custom_, isKnown ? *current_ : inkText(standardRed));
    });
  }
  connect(group_, &QButtonGroup::idToggled, this, [this](int index, bool isOn) {
    update();
    if (!isOn || index < 0) return;
    current_ = colors_[static_cast<std::size_t>(index)];
    isMixed_ = false;
    if (onPicked) onPicked(*current_);
  });
}

void InkSwatches::addCell(const QString& color, const QString& name, const QString& toolTip) {
  auto* const cell = new Cell(name, toolTip, this);
  group_->addButton(cell, static_cast<int>(cells_.size()));
  connect(cell, &QAbstractButton::pressed, this, [this] { update(); });
  colors_.push_back(color);
  cells_.push_back(cell);
  if (custom_ != nullptr) setTabOrder(cell, custom_);
  if (isVisible()) cell->show();
}

void InkSwatches::setFixedColors() {
  for (std::size_t i = 0; i < inkSwatches.size(); ++i) {
    const QString name = QString::fromLatin1(inkNames[i]);
    addCell(inkText(inkSwatches[i]), name, QStringLiteral("%1 (%2)").arg(name).arg(i + 1));
  }
  place();
}

void InkSwatches::setColors(const std::vector<QString>& colors) {
  if (colors == colors_) return;
  for (Cell* const cell : cells_) {
    group_->removeButton(cell);
    cell->hide();
    cell->deleteLater();
  }
  cells_.clear();
  colors_.clear();
  QWidget* last = focusBefore(*this);
  for (const QString& color : colors) {
    addCell(color, color, color);
    setTabOrder(last, cells_.back());
    last = cells_.back();
  }
  place();
  updateGeometry();
  const auto before = current_;
  if (!isMixed_) setCurrent(before);
}

void InkSwatches::setCurrent(const std::optional<QString>& color) {
  current_ = color;
  isMixed_ = !color;
  const auto found = color ? std::ranges::find(colors_, *color) : colors_.end();
  checkCell(*group_, found == colors_.end()
                         ? nullptr
                         : cells_[static_cast<std::size_t>(found - colors_.begin())]);
  if (custom_ != nullptr) {
    custom_->setAccessibleDescription(isMixed_  ? QStringLiteral("Mixed")
                                      : isOwn() ? *current_
                                                : QString());
  }
  update();
}

bool InkSwatches::isOwn() const {
  return current_ && !current_->isEmpty() && group_->checkedButton() == nullptr;
}

int InkSwatches::count() const {
  return static_cast<int>(cells_.size()) + (custom_ != nullptr ? 1 : 0);
}

int InkSwatches::columnsAt(int width) const {
  const int room = width - 2 * outset;
  return room >= inkDiameter + 9 * leastInkStep ? 10 : std::max(1, room / tokens::hitArea);
}

int InkSwatches::heightForWidth(int width) const {
  const int columns = columnsAt(width);
  return inkRowHeight * std::max(1, (count() + columns - 1) / columns);
}

QSize InkSwatches::sizeHint() const {
  return {count() * tokens::hitArea + 2 * outset, heightForWidth(width())};
}

void InkSwatches::place() {
  // Ten fill a row from edge to edge.
  const int columns = std::max(columnsAt(width()), 1);
  const double step =
      columns >= 10 ? double(width() - 2 * outset - inkDiameter) / 9 : double(tokens::hitArea + 1);
  int index = 0;
  const auto put = [&](QWidget* cell) {
    const double middle = outset + inkDiameter / 2.0 + step * (index % columns);
    const int top = inkRowHeight * (index / columns);
    const QRect area(qRound(middle) - tokens::hitArea / 2, top + 2, tokens::hitArea,
                     tokens::hitArea);
    cell->setGeometry(QStyle::visualRect(layoutDirection(), rect(), area));
    ++index;
  };
  for (Cell* const cell : cells_) put(cell);
  if (custom_ != nullptr) put(custom_);
  update();
}

void InkSwatches::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  place();
}

bool InkSwatches::event(QEvent* event) {
  const bool done = QWidget::event(event);
  if (event->type() == QEvent::LayoutDirectionChange) place();
  return done;
}

void InkSwatches::paintCustom(QPainter& painter, const QRectF& area) const {
  QConicalGradient wheel(area.center(), 90);
  const char* const hues[] = {"#ff3b30", "#af52de", "#007aff", "#5ac8fa",
                              "#34c759", "#ffcc00", "#ff3b30"};
  for (int i = 0; i < 7; ++i) wheel.setColorAt(i / 6.0, QColor(QLatin1String(hues[i])));
  painter.setPen(Qt::NoPen);
  painter.setBrush(wheel);
  painter.drawEllipse(area);
  if (isOwn()) {
    painter.setBrush(QColor(*current_));
    painter.setPen(QPen(Qt::white, 1.5));
    painter.drawEllipse(area.adjusted(4, 4, -4, -4));
  } else if (isMixed_) {
    const PaletteRoles roles = rolesOf(palette());
    painter.setBrush(roles.window);
    painter.drawEllipse(area.adjusted(3, 3, -3, -3));
    painter.setPen(QPen(roles.text, 2, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(area.center() - QPointF(3, 0), area.center() + QPointF(3, 0));
  }
}

void InkSwatches::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  if (!isEnabled()) painter.setOpacity(tokens::offOpacity);
  const auto circle = [](const QWidget& cell) {
    QRectF area(0, 0, inkDiameter, inkDiameter);
    area.moveCenter(QRectF(cell.geometry()).center());
    return area;
  };
  const auto ring = [&](const QAbstractButton& cell, bool isOn) {
    const QRectF area = circle(cell);
    if (isOn) paintFocusRing(painter, area, inkDiameter / 2.0, roles.focus);
    paintCellFocus(painter, cell, area, inkDiameter / 2.0, roles.text);
  };
  for (std::size_t i = 0; i < cells_.size(); ++i) {
    paintInk(painter, circle(*cells_[i]), QColor(colors_[i]), palette());
    ring(*cells_[i], cells_[i]->isChecked());
  }
  if (custom_ == nullptr) return;
  paintCustom(painter, circle(*custom_));
  ring(*custom_, isOwn());
}

}  // namespace vantorel
