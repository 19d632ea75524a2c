#include "ui/qt_selection_overlay.hpp"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QRasterWindow>
#include <QScreen>
#include <QTimer>
#include <cmath>
#include <utility>

#include "ui/native_display.hpp"
#include "ui/screen_pixels.hpp"
#include "ui/selection_painting.hpp"

namespace vantorel {

/// One run of the overlay, shared by its windows.
class QtSelectionOverlay::Session {
 public:
  Session(QtSelectionOverlay& overlay, Request request);

  void begin();
  void takeDown();

  void pointerMoved(QPoint to);
  void pressed(Qt::MouseButton button, QPoint at);
  void released(Qt::MouseButton button, QPoint at);
  void keyPressed(const QKeyEvent& event);
  void keyReleased(const QKeyEvent& event);
  void cancel();

  void paint(QPainter& painter, const QRegion& dirty) const {
    paintSelection(painter, dirty, pictures_, model_, layout_);
  }

 private:
  void grabInput();
  void refresh();
  void warpPointer();
  void finishWith(std::optional<CaptureTarget> target);

  QtSelectionOverlay* overlay_;  // null once taken down
  std::vector<FrozenDisplay> displays_;
  std::vector<FrozenPicture> pictures_;
  SelectionModel model_;
  SelectionLayout layout_;
  std::vector<Window*> windows_;
  QTimer grabTimer_;
  QPoint seen_;
  bool pressed_ = false;
  bool hasKeyboard_ = false;
  bool hasPointer_ = false;

  friend class QtSelectionOverlay;
};

class QtSelectionOverlay::Window : public QRasterWindow {
 public:
  Window(std::shared_ptr<Session> session, const QRect& area)
      : session_(std::move(session)), origin_(area.topLeft()) {
    setFlags(Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint | Qt::WindowStaysOnTopHint);
    setTitle(QStringLiteral("Vantorel selection"));
    screen_pixels::place(*this, area);
  }

  /// Paints again what lies in `pixels` of the desktop.
  void refresh(const QRegion& pixels) {
    const double ratio = devicePixelRatio();
    QRegion units;
    for (QRect rect : pixels) {
      rect.translate(-origin_);
      const QPoint from(static_cast<int>(std::floor(rect.left() / ratio)),
                        static_cast<int>(std::floor(rect.top() / ratio)));
      const QPoint to(static_cast<int>(std::ceil((rect.right() + 1) / ratio)),
                      static_cast<int>(std::ceil((rect.bottom() + 1) / ratio)));
      units += QRect(from, QSize(to.x() - from.x(), to.y() - from.y()));
    }
    units &= QRect(QPoint(), size());
    if (!units.isEmpty()) update(units);
  }

 protected:
  void paintEvent(QPaintEvent* event) override {
    const double ratio = devicePixelRatio();
    QRegion dirty;
    for (const QRect& rect : event->region()) {
      const QPointF from = QPointF(rect.topLeft()) * ratio;
      const QPointF to = QPointF(rect.bottomRight() + QPoint(1, 1)) * ratio;
      dirty += QRect(
          QPoint(static_cast<int>(std::floor(from.x())), static_cast<int>(std::floor(from.y()))),
          QPoint(static_cast<int>(std::ceil(to.x())) - 1, static_cast<int>(std::ceil(to.y())) - 1));
    }
    QPainter painter(this);
    painter.scale(1 / ratio, 1 / ratio);
    painter.translate(-origin_);
    session_->paint(painter, dirty.translated(origin_));
  }

  void mouseMoveEvent(QMouseEvent* event) override { session_->pointerMoved(pixelOf(*event)); }
  void mousePressEvent(QMouseEvent* event) override {
    session_->pressed(event->button(), pixelOf(*event));
  }
  void mouseReleaseEvent(QMouseEvent* event) override {
    session_->released(event->button(), pixelOf(*event));
  }
  void keyPressEvent(QKeyEvent* event) override { session_->keyPressed(*event); }
  void keyReleaseEvent(QKeyEvent* event) override { session_->keyReleased(*event); }

 private:
  [[nodiscard]] QPoint pixelOf(const QMouseEvent& event) const {
    const QPointF at = event.position() * devicePixelRatio();
    return origin_ +
           QPoint(static_cast<int>(std::lround(at.x())), static_cast<int>(std::lround(at.y())));
  }

  std::shared_ptr<Session> session_;
  QPoint origin_;
};

namespace {

std::vector<DisplaySnapshot> snapshotsOf(const std::vector<FrozenDisplay>& displays) {
  std::vector<DisplaySnapshot> snapshots;
  snapshots.reserve(displays.size());
  for (const auto& frozen : displays) snapshots.push_back(frozen.display);
  return snapshots;
}

QPoint startingPoint(const std::vector<FrozenDisplay>& displays) {
  if (const auto pointer = native_display::pointer()) return *pointer;
  const auto& bounds = displays.front().display.bounds;
  return {static_cast<int>(bounds.x), static_cast<int>(bounds.y)};
}

}  // namespace

QtSelectionOverlay::Session::Session(QtSelectionOverlay& overlay, Request request)
    : overlay_(&overlay),
      displays_(std::move(request.displays)),
      model_(request.mode, snapshotsOf(displays_), request.windows, startingPoint(displays_)),
      layout_(layOutSelection(model_)),
      seen_(model_.pointer()) {
  for (std::size_t i = 0; i < displays_.size(); ++i) {
    const PixelRect& area = model_.displays()[i].area;
    pictures_.push_back(
        {QRect(area.x, area.y, area.width, area.height), sharedImage(displays_[i].image)});
  }
  grabTimer_.setInterval(20);
  grabTimer_.callOnTimeout([this] { grabInput(); });
}

void QtSelectionOverlay::Session::begin() {
  for (const auto& picture : pictures_) {
    windows_.push_back(new Window(overlay_->session_, picture.area));
  }
  refresh();
  for (Window* const window : windows_) window->show();
  const auto changed = [this] { cancel(); };
  QObject::connect(qGuiApp, &QGuiApplication::screenAdded, &grabTimer_, changed);
  QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, &grabTimer_, changed);
  for (const QScreen* const screen : QGuiApplication::screens()) {
    QObject::connect(screen, &QScreen::geometryChanged, &grabTimer_, changed);
  }
  grabInput();
}

void QtSelectionOverlay::Session::takeDown() {
  overlay_ = nullptr;
  grabTimer_.stop();
  for (Window* const window : std::exchange(windows_, {})) {
    window->setKeyboardGrabEnabled(false);
    window->setMouseGrabEnabled(false);
    window->hide();
    window->deleteLater();  // it may be one of its events that ends the session
  }
  native_display::sync();
}

/// The hot key that began all this holds the keyboard until it is let go, and a menu that is
/// closing holds both: the overlay asks until it gets them.
void QtSelectionOverlay::Session::grabInput() {
  if (native_display::connection() == nullptr) return;
  if (!hasKeyboard_) hasKeyboard_ = windows_.front()->setKeyboardGrabEnabled(true);
  if (!hasPointer_) hasPointer_ = windows_.front()->setMouseGrabEnabled(true);
  if (hasKeyboard_ && hasPointer_) {
    grabTimer_.stop();
  } else if (!grabTimer_.isActive()) {
    grabTimer_.start();
  }
}

void QtSelectionOverlay::Session::refresh() {
  SelectionLayout layout = layOutSelection(model_);
  const QRegion changed = layout.changeFrom(layout_);
  layout_ = std::move(layout);
  const auto shape =
      model_.mode() == CaptureMode::region ? Qt::CrossCursor : Qt::PointingHandCursor;
  for (Window* const window : windows_) {
    if (window->cursor().shape() != shape) window->setCursor(shape);
    window->refresh(changed);
  }
}

void QtSelectionOverlay::Session::warpPointer() {
  if (model_.pointer() == seen_) return;
  seen_ = model_.pointer();
  native_display::movePointer(seen_);
}

void QtSelectionOverlay::Session::finishWith(std::optional<CaptureTarget> target) {
  if (target && overlay_ != nullptr) overlay_->finish(std::move(target));
}

void QtSelectionOverlay::Session::pointerMoved(QPoint to) {
  if (overlay_ == nullptr) return;
  seen_ = to;
  model_.movePointer(to);
  refresh();
}

void QtSelectionOverlay::Session::pressed(Qt::MouseButton button, QPoint at) {
  if (button == Qt::RightButton) return cancel();
  if (button != Qt::LeftButton || overlay_ == nullptr) return;
  pointerMoved(at);
  pressed_ = true;
  model_.press();
  refresh();
}

void QtSelectionOverlay::Session::released(Qt::MouseButton button, QPoint at) {
  // A release without its press belongs to the click that opened the overlay.
  if (button != Qt::LeftButton || !pressed_ || overlay_ == nullptr) return;
  pressed_ = false;
  pointerMoved(at);
  auto target = model_.release();
  refresh();
  finishWith(std::move(target));
}

void QtSelectionOverlay::Session::keyPressed(const QKeyEvent& event) {
  if (overlay_ == nullptr) return;
  const int step = event.modifiers().testFlag(Qt::ShiftModifier) ? 10 : 1;
  switch (event.key()) {
    case Qt::Key_Escape: return cancel();
    case Qt::Key_Return:
    case Qt::Key_Enter: return finishWith(model_.confirm());
    case Qt::Key_Space:
      if (event.isAutoRepeat()) return;
      model_.pressSpace();
      break;
    case Qt::Key_Left: model_.nudge(-step, 0); break;
    case Qt::Key_Right: model_.nudge(step, 0); break;
    case Qt::Key_Up: model_.nudge(0, -step); break;
    case Qt::Key_Down: model_.nudge(0, step); break;
    default: return;
  }
  warpPointer();
  refresh();
}

void QtSelectionOverlay::Session::keyReleased(const QKeyEvent& event) {
  if (overlay_ == nullptr || event.key() != Qt::Key_Space || event.isAutoRepeat()) return;
  model_.releaseSpace();
  warpPointer();
  refresh();
}

void QtSelectionOverlay::Session::cancel() {
  if (overlay_ != nullptr) overlay_->finish(std::nullopt);
}

QtSelectionOverlay::QtSelectionOverlay() = default;

QtSelectionOverlay::~QtSelectionOverlay() { dismiss(); }

void QtSelectionOverlay::select(Request request,
                                std::function<void(std::optional<CaptureTarget>)> chosen) {
  dismiss();
  chosen_ = std::move(chosen);
  session_ = std::make_shared<Session>(*this, std::move(request));
  session_->begin();
}

void QtSelectionOverlay::takeDown() {
  if (const auto session = std::exchange(session_, nullptr)) session->takeDown();
}

void QtSelectionOverlay::dismiss() {
  takeDown();
  reply_.reset();
  chosen_ = nullptr;
}

void QtSelectionOverlay::finish(std::optional<CaptureTarget> target) {
  takeDown();
  reply_ = std::make_unique<QObject>();
  // Only a display is grabbed from the screen as it is then; for the others the overlay is gone
  // when its windows are unmapped.
  const bool needsBareScreen = target && std::holds_alternative<DisplayTarget>(*target);
  auto answer = [this, target = std::move(target)]() mutable {
    reply_.reset();
    if (const auto chosen = std::exchange(chosen_, nullptr)) chosen(std::move(target));
  };
  if (needsBareScreen) {
    native_display::whenShown(reply_.get(), std::move(answer));
  } else {
    QTimer::singleShot(0, reply_.get(), std::move(answer));
  }
}

}  // namespace vantorel
