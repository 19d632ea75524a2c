#include "ui/annotate/popover.hpp"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int popoverDistance = 6;  // px from what opened it

}  // namespace

Popover::Popover(const QString& title, QWidget* anchor)
    : QWidget(anchor->window(), Qt::Popup | Qt::FramelessWindowHint),
      anchor_(anchor),
      keyboard_(anchor->window()->focusWidget()) {
  setAttribute(Qt::WA_DeleteOnClose);
  // Not every platform does it, so this does.
  setAttribute(Qt::WA_NoMouseReplay);
  setLayoutDirection(anchor->layoutDirection());
  setAccessibleRole(*this, QAccessible::Dialog);
  setWindowTitle(title);
  setAccessibleName(title);
  setContentsMargins(tokens::space12, tokens::space12, tokens::space12, tokens::space12);
  // The anchor may go while it is shown.
  connect(anchor, &QObject::destroyed, this, [this] {
    anchor_ = nullptr;
    close();
  });
}

Popover::~Popover() = default;

void Popover::open(const QWidget* strip) {
  adjustSize();
  const QRect room = anchor_->screen()->availableGeometry();
  QRect beside(anchor_->mapToGlobal(QPoint()), anchor_->size());
  if (strip != nullptr) {
    const QRect whole(strip->mapToGlobal(QPoint()), strip->size());
    beside.setLeft(whole.left());
    beside.setRight(whole.right());
  }
  const QRect window(anchor_->window()->mapToGlobal(QPoint()), anchor_->window()->size());
  // On the side where the window has most room: left of an inspector, right of a rail.
  const bool isLeft = beside.center().x() > window.center().x();
  int x = isLeft ? beside.left() - width() - popoverDistance : beside.right() + 1 + popoverDistance;
  int y = beside.center().y() - height() / 2;
  if (x < room.left() || x + width() > room.right() + 1) {
    x = beside.center().x() - width() / 2;
    y = beside.bottom() + 1 + popoverDistance;
    if (y + height() > room.bottom() + 1) y = beside.top() - height() - popoverDistance;
  }
  move(std::clamp(x, room.left(), std::max(room.left(), room.right() + 1 - width())),
       std::clamp(y, room.top(), std::max(room.top(), room.bottom() + 1 - height())));
  show();
  activateWindow();
}

void Popover::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  QPainterPath corners;
  corners.addRoundedRect(rect(), tokens::groupRadius, tokens::groupRadius);
  setMask(corners.toFillPolygon().toPolygon());
}

void Popover::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  const QColor ground = roles.isDark ? mixed(roles.window, roles.text, 0.05) : roles.base;
  painter.fillRect(rect(), ground);
  paintBox(painter, rect(), tokens::groupRadius, ground,
           QPen(roles.isHighContrast ? roles.text : roles.fieldBorder));
}

void Popover::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    close();
    return;
  }
  const bool isPlain = !(event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier));
  if (!isPlain || event->text().isEmpty() || !event->text().front().isLetter()) {
    return QWidget::keyPressEvent(event);
  }
  // The window's letters pick tools.
  leaveTo(*event);
}

void Popover::leaveTo(QKeyEvent& event) {
  // One that is held has opened this.
  if (event.isAutoRepeat()) return;
  QWidget* const window = anchor_ != nullptr ? anchor_->window() : nullptr;
  close();
  if (window == nullptr) return;
  QWidget* const focus = window->focusWidget();
  QCoreApplication::sendEvent(focus != nullptr ? focus : window, &event);
}

/// The press that closes it is done where it is, as if nothing had been open: a stroke begins with
/// it. What opened it closes it as well.
void Popover::mousePressEvent(QMouseEvent* event) {
  const QPointF at = event->globalPosition();
  const bool isOutside = !rect().contains(event->position().toPoint());
  const auto isIn = [&](const QWidget& widget) {
    return widget.rect().contains(widget.mapFromGlobal(at.toPoint()));
  };
  QWidget* const window = anchor_ != nullptr ? anchor_->window() : nullptr;
  const bool isForWindow = isOutside && window != nullptr && isIn(*window) && !isIn(*anchor_);
  QWidget::mousePressEvent(event);
  if (!isForWindow || window->windowHandle() == nullptr) return;
  const QPointF place = window->mapFromGlobal(at);
  auto* const press =
      new QMouseEvent(QEvent::MouseButtonPress, place, place, at, event->button(), event->buttons(),
                      event->modifiers(), event->pointingDevice());
  press->setTimestamp(event->timestamp());
  QCoreApplication::postEvent(window->windowHandle(), press);
}

void Popover::closeEvent(QCloseEvent* event) {
  QWidget::closeEvent(event);
  if (const auto closed = std::exchange(onClosed, nullptr)) closed();
}

void Popover::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  // The toolkit hides popups that are clicked away.
  if (const auto closed = std::exchange(onClosed, nullptr)) closed();
  if (event->spontaneous()) return;
  QWidget* const next = keyboard_ != nullptr ? keyboard_.data() : anchor_;
  if (next != nullptr) next->setFocus(Qt::PopupFocusReason);
}

}  // namespace vantorel
