#include "ui/annotate/layer_row.hpp"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QStyleOption>
#include <QToolTip>
#include <algorithm>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int layerRowHeight = 40;
constexpr QSize thumbSize(36, 24);
constexpr int gripLeft = 2;
constexpr int thumbLeft = gripLeft + rowIconSize + tokens::space8;
constexpr int nameLeft = thumbLeft + thumbSize.width() + tokens::space8;
constexpr double tallFrom = 3;  // heights a width
constexpr int toggleSide = tokens::hitArea;

}  // namespace

/// An eye or a lock; one that has nothing to tell is seen only under the pointer or the focus.
class LayerRow::Toggle : public QAbstractButton {
 public:
  explicit Toggle(LayerRow* row) : QAbstractButton(row) {
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_Hover);
    setAccessibleRole(*this, QAccessible::Button);
  }

  void show(IconName icon, bool isQuiet, const QString& action) {
    icon_ = icon;
    isQuiet_ = isQuiet;
    setToolTip(action);
    setAccessibleName(action);
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    const auto* const row = parentWidget();
    if (isQuiet_ && !row->underMouse() && !row->hasFocus() && !hasFocus()) return;
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    if (underMouse() || isDown()) {
      paintBox(painter, rect(), tokens::buttonRadius, isDown() ? roles.press : roles.hover,
               Qt::NoPen);
    }
    const QRect area = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter,
                                           QSize(rowIconSize, rowIconSize), rect());
    painter.drawPixmap(area.topLeft(), iconPixmap(icon_, area.size(), devicePixelRatioF(),
                                                  isQuiet_ ? roles.quiet : roles.text));
  }

 private:
  IconName icon_ = IconName::eye;
  bool isQuiet_ = false;
};

LayerRow::LayerRow(QWidget* parent)
    : QAbstractButton(parent), lock_(new Toggle(this)), eye_(new Toggle(this)) {
  setAccessibleRole(*this, QAccessible::ListItem);
  setCheckable(true);
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_Hover);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  connect(eye_, &QAbstractButton::clicked, this, [this] { onVisible(); });
  connect(lock_, &QAbstractButton::clicked, this, [this] { onLocked(); });
}

void LayerRow::show(const LayerLine& line) {
  const bool isNew = line.id != line_.id || line.name != line_.name || accessibleName().isEmpty();
  line_ = line;
  if (isNew) setAccessibleName(line.name);
  QStringList state;
  if (!line.fault.isEmpty()) state << line.fault;
  if (!line.isVisible) state << QStringLiteral("Hidden");
  if (line.isLocked) state << QStringLiteral("Locked");
  setAccessibleDescription(state.join(QStringLiteral(", ")));
  setChecked(line.isSelected);
  eye_->show(line.isVisible ? IconName::eye : IconName::eyeOff, false,
             line.isVisible ? QStringLiteral("Hide Layer") : QStringLiteral("Show Layer"));
  lock_->show(line.isLocked ? IconName::lock : IconName::unlock, !line.isLocked,
              line.isLocked ? QStringLiteral("Unlock Layer") : QStringLiteral("Lock Layer"));
  updateGeometry();
  update();
}

void LayerRow::setPicture(const QPixmap& picture) {
  picture_ = picture;
  update();
}

QSize LayerRow::sizeHint() const {
  const int lines = QFontMetrics(tokens::bodyFont()).height() +
                    (line_.fault.isEmpty() ? 0 : QFontMetrics(tokens::smallFont()).height());
  return {0, std::max(layerRowHeight, lines + tokens::space4)};
}

QRect LayerRow::placed(const QRect& area) const {
  return QStyle::visualRect(layoutDirection(), rect(), area);
}

void LayerRow::place() {
  const int y = (height() - toggleSide) / 2;
  eye_->setGeometry(placed({width() - 4 - toggleSide, y, toggleSide, toggleSide}));
  lock_->setGeometry(placed({width() - 4 - 2 * toggleSide - 8, y, toggleSide, toggleSide}));
}

QRect LayerRow::nameArea() const {
  const int line = tokens::controlHeight(tokens::smallControl);
  const int right = width() - 4;
  return placed({nameLeft - 8, (height() - line) / 2, right - nameLeft + 8, line});
}

void LayerRow::resizeEvent(QResizeEvent* event) {
  QAbstractButton::resizeEvent(event);
  place();
}

bool LayerRow::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::LayoutDirectionChange: place(); break;
    case QEvent::Enter:
    case QEvent::Leave:
    case QEvent::HoverEnter:
    case QEvent::HoverLeave:
    case QEvent::FocusIn:
    case QEvent::FocusOut:
      lock_->update();
      update();
      break;
    case QEvent::ToolTip: {
      const QFontMetrics metrics(tokens::bodyFont());
      const int room = width() - nameLeft - 2 * toggleSide - 20;
      if (metrics.horizontalAdvance(line_.name) <= room) break;
      QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), line_.name, this);
      return true;
    }
    default: break;
  }
  return QAbstractButton::event(event);
}

void LayerRow::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
  // A name runs as its own letters do.
  painter.setLayoutDirection(Qt::LayoutDirectionAuto);
  const int beside = int(Qt::AlignVCenter | Qt::AlignAbsolute |
                         (isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft)) |
                     Qt::TextSingleLine;
  if (isChecked()) {
    paintBox(painter, rect(), tokens::buttonRadius, roles.selection,
             roles.isHighContrast ? QPen(roles.text) : QPen(Qt::NoPen));
  } else if (underMouse()) {
    paintBox(painter, rect(), tokens::buttonRadius, roles.hover, Qt::NoPen);
  }
  const QRect grip = placed({gripLeft, (height() - rowIconSize) / 2, rowIconSize, rowIconSize});
  painter.drawPixmap(grip.topLeft(), iconPixmap(IconName::grip, grip.size(), devicePixelRatioF(),
                                                mixed(roles.window, roles.quiet, 0.7)));
  const QRect thumb = placed(
      {thumbLeft, (height() - thumbSize.height()) / 2, thumbSize.width(), thumbSize.height()});
  if (!line_.isVisible) painter.setOpacity(tokens::offOpacity);
  QPainterPath corners;
  corners.addRoundedRect(thumb, 3, 3);
  painter.fillPath(corners, roles.press);
  if (!picture_.isNull()) {
    painter.save();
    painter.setClipPath(corners);
    const QSizeF whole = picture_.size();
    const double factor = std::max(thumb.width() / whole.width(), thumb.height() / whole.height());
    QRectF shown(0, 0, whole.width() * factor, whole.height() * factor);
    shown.moveCenter(QRectF(thumb).center());
    // Of a page, the beginning says more than some lines of its middle.
    if (whole.height() > tallFrom * whole.width()) shown.moveTop(thumb.top());
    painter.drawPixmap(shown, picture_, QRectF(picture_.rect()));
    painter.restore();
  }
  painter.setPen(QPen(roles.line, 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(corners);
  // Beside a lock that is not seen there is room.
  const bool hasLock = line_.isLocked || underMouse() || hasFocus();
  const int right = width() - 4 - toggleSide - (hasLock ? toggleSide + 8 : 0) - 6;
  const int room = std::max(0, right - nameLeft);
  const QFontMetrics body(tokens::bodyFont());
  const QFontMetrics small(tokens::smallFont());
  const bool isFaulty = !line_.fault.isEmpty();
  const int lines = body.height() + (isFaulty ? small.height() : 0);
  int y = (height() - lines) / 2;
  painter.setFont(tokens::bodyFont());
  painter.setPen(roles.text);
  painter.drawText(placed({nameLeft, y, room, body.height()}), beside,
                   body.elidedText(line_.name, Qt::ElideMiddle, room));
  painter.setOpacity(1);
  if (isFaulty) {
    y += body.height();
    const int side = std::min(14, small.height());
    const QRect mark = placed({nameLeft, y + (small.height() - side) / 2, side, side});
    painter.drawPixmap(mark.topLeft(), iconPixmap(IconName::warning, mark.size(),
                                                  devicePixelRatioF(), roles.warning));
    painter.setFont(tokens::smallFont());
    painter.setPen(roles.warning);
    painter.drawText(placed({nameLeft + side + 4, y, std::max(0, room - side - 4), small.height()}),
                     beside, small.elidedText(line_.fault, Qt::ElideRight, room - side - 4));
  }
  if (hasKeyboardFocus(*this)) {
    paintFocusRing(painter, QRectF(rect()).adjusted(3, 3, -3, -3), tokens::buttonRadius - 2,
                   roles.focus);
  }
}

void LayerRow::mousePressEvent(QMouseEvent* event) {
  isDragged_ = false;
  pressed_ = event->position().toPoint();
  QAbstractButton::mousePressEvent(event);
}

void LayerRow::mouseMoveEvent(QMouseEvent* event) {
  if (!event->buttons().testFlag(Qt::LeftButton)) return QAbstractButton::mouseMoveEvent(event);
  const QPoint way = event->position().toPoint() - pressed_;
  if (!isDragged_ && isDown() && way.manhattanLength() >= QApplication::startDragDistance()) {
    isDragged_ = true;
    setDown(false);
  }
  if (isDragged_) onDragged(event->globalPosition().toPoint());
}

void LayerRow::mouseReleaseEvent(QMouseEvent* event) {
  if (isDragged_ && event->button() == Qt::LeftButton) {
    isDragged_ = false;
    return onDropped();
  }
  QAbstractButton::mouseReleaseEvent(event);
}

void LayerRow::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) onRename();
}

void LayerRow::keyPressEvent(QKeyEvent* event) {
  if (onKey(event->key(), event->modifiers())) return event->accept();
  QAbstractButton::keyPressEvent(event);
}

void LayerRow::contextMenuEvent(QContextMenuEvent* event) {
  const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
  onMenu(isByKey ? mapToGlobal(nameArea().center()) : event->globalPos());
}

}  // namespace vantorel
