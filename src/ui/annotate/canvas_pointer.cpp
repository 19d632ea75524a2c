// What pointer and wheel do on the canvas.

#include <QApplication>
#include <QContextMenuEvent>
#include <QInputMethod>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QStyleHints>
#include <QWheelEvent>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "ui/annotate/annotate_canvas.hpp"

namespace vantorel {
namespace {

constexpr double nearPixels = 6;  // px that count as on it
constexpr double stepOfWheel = 120;
constexpr double wheelDistance = 60;  // px a step of the wheel
constexpr int edgeStep = 16;          // ms
constexpr int smoothAfter = 100;      // ms after the last step of a zoom or a pan

Qt::CursorShape shapeOf(CanvasCursor cursor) {
  switch (cursor) {
    case CanvasCursor::arrow: return Qt::ArrowCursor;
    case CanvasCursor::cross:
    case CanvasCursor::pick: return Qt::CrossCursor;
    case CanvasCursor::text: return Qt::IBeamCursor;
    case CanvasCursor::move: return Qt::SizeAllCursor;
    case CanvasCursor::resizeHorizontal: return Qt::SizeHorCursor;
    case CanvasCursor::resizeVertical: return Qt::SizeVerCursor;
    case CanvasCursor::resizeFalling: return Qt::SizeFDiagCursor;
    case CanvasCursor::resizeRising: return Qt::SizeBDiagCursor;
  }
  return Qt::ArrowCursor;
}

}  // namespace

PointerEvent AnnotateCanvas::pointerEvent(PointerPhase phase, QPointF device) const {
  return {.phase = phase,
          .at = view_.toCanvas({device.x(), device.y()}),
          .shift = modifiers_.testFlag(Qt::ShiftModifier),
          .command = modifiers_.testFlag(Qt::ControlModifier),
          .clicks = clicks_,
          .tolerance = nearPixels * ratio_ / view_.zoom()};
}

void AnnotateCanvas::send(PointerPhase phase, QPointF device) {
  model_->input().handle(pointerEvent(phase, device));
  if (isTyping() != wasTyping_) typingChanged();
  if (isTyping()) restartCaret();
  updateOverlay();
  if (onHint) onHint();
}

void AnnotateCanvas::press(QMouseEvent& event, int clicks) {
  pointer_ = toDevice(event.position());
  modifiers_ = event.modifiers();
  showRing(false);
  if (isPressed_ || isPanning_) return;
  const bool pans =
      event.button() == Qt::MiddleButton || (event.button() == Qt::LeftButton && isSpaceHeld_);
  if (pans) {
    isPanning_ = true;
    hovered_.reset();
    return updateCursor();
  }
  if (event.button() != Qt::LeftButton || !isReady()) return;
  clicks_ = clicks;
  // What an input method holds belongs to where it was typed.
  if (isComposing_) QGuiApplication::inputMethod()->commit();
  isPressed_ = true;
  hovered_.reset();
  send(PointerPhase::press, pointer_);
  updateCursor();
}

void AnnotateCanvas::mousePressEvent(QMouseEvent* event) {
  // The toolkit knows double clicks alone.
  const bool isThird =
      event->button() == Qt::LeftButton && lastPress_.isValid() &&
      lastPress_.elapsed() < QGuiApplication::styleHints()->mouseDoubleClickInterval() &&
      (event->position() - lastPressAt_).manhattanLength() <
          QGuiApplication::styleHints()->mouseDoubleClickDistance();
  lastPress_.invalidate();
  press(*event, isThird ? 3 : 1);
}

void AnnotateCanvas::mouseDoubleClickEvent(QMouseEvent* event) {
  lastPress_.start();
  lastPressAt_ = event->position();
  press(*event, 2);
}

void AnnotateCanvas::mouseMoveEvent(QMouseEvent* event) {
  const QPointF device = toDevice(event->position());
  modifiers_ = event->modifiers();
  hasPointer_ = true;
  if (isPanning_) {
    if ((event->buttons() & (Qt::LeftButton | Qt::MiddleButton)) == 0) return endGesture();
    const QPointF by = device - pointer_;
    pointer_ = device;
    return pan(by);
  }
  pointer_ = device;
  if (!isReady()) return;
  if (isPressed_) {
    // Somebody else has had the release.
    if (!event->buttons().testFlag(Qt::LeftButton)) return endGesture();
    send(PointerPhase::move, device);
    const QRectF inside = QRectF(QPointF(), QSizeF(size()) * ratio_)
                              .adjusted(edgeReach(), edgeReach(), -edgeReach(), -edgeReach());
    if (inside.contains(device)) {
      edge_.stop();
    } else if (!edge_.isActive()) {
      edgeTime_.start();
      edge_.start(edgeStep, Qt::PreciseTimer, this);
    }
    return;
  }
  hover(device);
}

void AnnotateCanvas::mouseReleaseEvent(QMouseEvent* event) {
  pointer_ = toDevice(event->position());
  modifiers_ = event->modifiers();
  if (isPanning_) {
    if ((event->buttons() & (Qt::LeftButton | Qt::MiddleButton)) == 0) endGesture();
    return;
  }
  if (event->button() == Qt::LeftButton) endGesture();
}

/// As if the pointer was released where it was last: what was done stays.
void AnnotateCanvas::endGesture() {
  edge_.stop();
  const bool wasPressed = std::exchange(isPressed_, false);
  isPanning_ = false;
  if (wasPressed && isReady()) send(PointerPhase::release, pointer_);
  updateCursor();
}

double AnnotateCanvas::edgeReach() const { return 12 * ratio_; }

/// What is dragged to the edge comes to see what is beyond it.
void AnnotateCanvas::moveByEdge() {
  const double seconds = double(edgeTime_.restart()) / 1000;
  if (!isPressed_ || !view_.scrollAtEdge({pointer_.x(), pointer_.y()}, seconds)) {
    if (!isPressed_) edge_.stop();
    return;
  }
  send(PointerPhase::move, pointer_);
  moveGently();
}

void AnnotateCanvas::moveGently() {
  isAsOpened_ = false;
  isMoving_ = true;
  smooth_.start(smoothAfter, this);
  viewMoved();
}

void AnnotateCanvas::pan(QPointF device) {
  view_.pan(device.x(), device.y());
  moveGently();
}

void AnnotateCanvas::zoomTo(double zoom, QPointF device) {
  view_.setZoom(zoom, {device.x(), device.y()});
  moveGently();
}

void AnnotateCanvas::hover(QPointF device) {
  const PointerEvent event = pointerEvent(PointerPhase::move, device);
  auto now = isSpaceHeld_ ? std::nullopt : model_->input().shapeUnder(event.at, event.tolerance);
  if (now != hovered_) {
    hovered_ = std::move(now);
    updateOverlay();
  } else if (model_->editor().tool() == Tool::eyedropper) {
    updateLoupe();
  }
  updateCursor();
}

/// The toolkit leaves out moves of the pointer that others follow on. What is drawn by hand is made
/// of them all.
void AnnotateCanvas::updateMoves() const {
  const bool drawsByHand =
      isReady() && hasPointer_ &&
      (model_->editor().tool() == Tool::pen || model_->editor().tool() == Tool::highlighter);
  QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, !drawsByHand);
}

void AnnotateCanvas::updateCursor() {
  updateMoves();
  Qt::CursorShape wanted = Qt::ArrowCursor;
  if (isPanning_) {
    wanted = Qt::ClosedHandCursor;
  } else if (isSpaceHeld_) {
    wanted = Qt::OpenHandCursor;
  } else if (isReady() && hasPointer_) {
    if (isPressed_) return;  // as it was taken
    wanted = shapeOf(model_->input().cursorAt(pointerEvent(PointerPhase::move, pointer_)));
  }
  if (cursor().shape() != wanted) setCursor(wanted);
}

void AnnotateCanvas::leaveEvent(QEvent*) {
  hasPointer_ = false;
  updateMoves();
  hovered_.reset();
  updateOverlay();
}

void AnnotateCanvas::wheelEvent(QWheelEvent* event) {
  event->accept();
  pointer_ = toDevice(event->position());
  if (event->modifiers().testFlag(Qt::ControlModifier)) {
    const double turned = event->angleDelta().y();
    if (turned == 0) return;
    // Whole steps meet the ladder of zooms; finer wheels go between.
    if (std::fmod(turned, stepOfWheel) != 0) {
      return zoomTo(view_.zoom() * std::exp2(turned / (2 * stepOfWheel)), pointer_);
    }
    for (int step = 0; step < std::abs(turned) / stepOfWheel; ++step) {
      const Pt at{pointer_.x(), pointer_.y()};
      turned > 0 ? view_.zoomIn(at) : view_.zoomOut(at);
    }
    return moveGently();
  }
  QPointF by = event->pixelDelta();
  if (by.isNull()) by = QPointF(event->angleDelta()) * (wheelDistance / stepOfWheel);
  if (event->modifiers().testFlag(Qt::ShiftModifier)) by = {by.x() + by.y(), 0};
  pan(by * ratio_);
  if (isPressed_ && isReady()) send(PointerPhase::move, pointer_);
}

void AnnotateCanvas::contextMenuEvent(QContextMenuEvent* event) {
  event->accept();
  if (!isReady() || isPressed_ || isPanning_) return;
  if (event->reason() == QContextMenuEvent::Mouse && !isTyping()) {
    pointer_ = toDevice(event->pos());
    const PointerEvent at = pointerEvent(PointerPhase::move, pointer_);
    const auto id = model_->input().shapeUnder(at.at, at.tolerance);
    if (id && !model_->editor().selection().contains(*id)) model_->editor().select({*id});
  }
  if (!onMenu) return;
  const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
  onMenu(byKey ? mapToGlobal(menuPlace()) : event->globalPos());
}

bool AnnotateCanvas::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::NativeGesture: {
      auto* const gesture = static_cast<QNativeGestureEvent*>(event);
      if (gesture->gestureType() != Qt::ZoomNativeGesture) break;
      zoomTo(view_.zoom() * (1 + gesture->value()), toDevice(gesture->position()));
      return true;
    }
    // Somebody else has the pointer from now on.
    case QEvent::UngrabMouse:
    case QEvent::WindowDeactivate:
      isSpaceHeld_ = false;
      endGesture();
      break;
    case QEvent::ShortcutOverride: {
      auto* const key = static_cast<QKeyEvent*>(event);
      if (isTyping() && (isComposing_ || key->matches(QKeySequence::InsertLineSeparator))) {
        event->accept();
        return true;
      }
      break;
    }
    default: break;
  }
  return QWidget::event(event);
}

}  // namespace vantorel
