#include "ui/selection/qt_selection_overlay.hpp"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QRasterWindow>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <utility>

#include "base/log.hpp"
#include "ui/kit/input_grab.hpp"
#include "ui/kit/screen_pixels.hpp"
#include "ui/kit/shared_image.hpp"
#include "ui/selection/selection_painting.hpp"

namespace vantorel {

/// One run of the overlay, shared by its windows.
class QtSelectionOverlay::Session {
 public:
  Session(QtSelectionOverlay& overlay, Request request);

  void begin();
  void takeDown();

  void pointerMoved(QPoint to);
  void pressed(Qt::MouseButton button, QPoint at);
  void released(const QMouseEvent& event, QPoint at);
  void keyPressed(const QKeyEvent& event);
  void keyReleased(const QKeyEvent& event);
  void cancel();

  void paint(QPainter& painter, const QRegion& dirty) const {
    paintSelection(painter, dirty, pictures_, layout_);
  }

 private:
  void refresh();
  void warpPointer();
  [[nodiscard]] bool isOwnMove(QPoint to);
  [[nodiscard]] bool handleKey(const QKeyEvent& event);
  void perform(SelectionBar::Part part);
  [[nodiscard]] QString colorText() const;
  void copyColor();
  [[nodiscard]] Qt::CursorShape cursorShape() const;
  void finishWith(std::optional<CaptureTarget> target, bool copies = false);

  QtSelectionOverlay* overlay_;  // null once taken down
  std::vector<FrozenDisplay> displays_;
  bool adjusts_;
  std::vector<FrozenPicture> pictures_;
  SelectionModel model_;
  SelectionLayout layout_;
  std::vector<Window*> windows_;
  InputGrab grab_;
  QObject context_;  // of what is followed while it is up
  QPoint seen_;
  std::deque<QPoint> ownMoves_;  // of the pointer, of which the server will tell
  bool pressed_ = false;
  std::optional<SelectionBar::Part> hovered_;
  std::optional<SelectionBar::Part> pressedPart_;
  QString copiedColor_;

  friend class QtSelectionOverlay;
};

class QtSelectionOverlay::Window : public QRasterWindow {
 public:
  Window(std::shared_ptr<Session> session, NativeWindows& native, const QRect& area)
      : session_(std::move(session)), native_(native), area_(area) {
    setFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    setTitle(QStringLiteral("Vantorel selection"));
    screen_pixels::place(*this, area);
    create();
    native.coverDisplay(winId(), {area.x(), area.y()});
  }

  /// Shown, with all of it painted.
  void appear() {
    show();
    paintsItself_ = paintNow(area_);
  }

  /// Paints again what lies in `pixels` of the desktop.
  void refresh(const QRegion& pixels) {
    if (paintsItself_) {
      if (const QRegion own = pixels & area_; !own.isEmpty()) {
        dirty_ += own;
        requestUpdate();
      }
      return;
    }
    const double ratio = devicePixelRatio();
    QRegion units;
    for (QRect rect : pixels) {
      rect.translate(-area_.topLeft());
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
  bool event(QEvent* event) override {
    if (!paintsItself_) return QRasterWindow::event(event);
    if (event->type() == QEvent::UpdateRequest) {
      (void)paintNow(std::exchange(dirty_, {}));
      return true;
    }
    if (event->type() == QEvent::Paint) {
      // The first one tells of the window's coming, after which it was painted.
      if (std::exchange(hasAppeared_, true)) {
        (void)paintNow(pixelsOf(static_cast<QPaintEvent*>(event)->region()));
      }
      return true;
    }
    return QRasterWindow::event(event);
  }

  void paintEvent(QPaintEvent* event) override {
    const double ratio = devicePixelRatio();
    QPainter painter(this);
    painter.scale(1 / ratio, 1 / ratio);
    painter.translate(-area_.topLeft());
    session_->paint(painter, pixelsOf(event->region()));
  }

  void mouseMoveEvent(QMouseEvent* event) override { session_->pointerMoved(pixelOf(*event)); }
  void mousePressEvent(QMouseEvent* event) override {
    session_->pressed(event->button(), pixelOf(*event));
  }
  void mouseReleaseEvent(QMouseEvent* event) override {
    session_->released(*event, pixelOf(*event));
  }
  void keyPressEvent(QKeyEvent* event) override { session_->keyPressed(*event); }
  void keyReleaseEvent(QKeyEvent* event) override { session_->keyReleased(*event); }

 private:
  [[nodiscard]] QPoint pixelOf(const QMouseEvent& event) const {
    const QPointF at = event.position() * devicePixelRatio();
    return area_.topLeft() +
           QPoint(static_cast<int>(std::lround(at.x())), static_cast<int>(std::lround(at.y())));
  }

  /// Pixels of the desktop that these units of the window touch.
  [[nodiscard]] QRegion pixelsOf(const QRegion& units) const {
    const double ratio = devicePixelRatio();
    QRegion pixels;
    for (const QRect& rect : units) {
      const QPointF from = QPointF(rect.topLeft()) * ratio;
      const QPointF to = QPointF(rect.bottomRight() + QPoint(1, 1)) * ratio;
      pixels += QRect(
          QPoint(static_cast<int>(std::floor(from.x())), static_cast<int>(std::floor(from.y()))),
          QPoint(static_cast<int>(std::ceil(to.x())) - 1, static_cast<int>(std::ceil(to.y())) - 1));
    }
    return pixels.translated(area_.topLeft());
  }

  /// False where only the toolkit paints.
  bool paintNow(const QRegion& pixels) {
    std::vector<PixelRect> areas;
    for (const QRect& rect : pixels& area_) {
      areas.push_back({rect.x() - area_.x(), rect.y() - area_.y(), rect.width(), rect.height()});
    }
    return native_.paint(
        winId(), areas, [this](const PixelRect& band, std::uint8_t* bytes, std::size_t stride) {
          QImage image(bytes, band.width, band.height, static_cast<qsizetype>(stride),
                       QImage::Format_RGB32);
          const QRect shown(area_.x() + band.x, area_.y() + band.y, band.width, band.height);
          QPainter painter(&image);
          painter.translate(-shown.topLeft());
          session_->paint(painter, shown);
        });
  }

  std::shared_ptr<Session> session_;
  NativeWindows& native_;
  QRect area_;  // in device pixels of the desktop
  QRegion dirty_;
  bool paintsItself_ = false;
  bool hasAppeared_ = false;
};

namespace {

std::vector<DisplaySnapshot> snapshotsOf(const std::vector<FrozenDisplay>& displays) {
  std::vector<DisplaySnapshot> snapshots;
  snapshots.reserve(displays.size());
  for (const auto& frozen : displays) snapshots.push_back(frozen.display);
  return snapshots;
}

QPoint startingPoint(const NativeWindows& native, const std::vector<FrozenDisplay>& displays) {
  if (const auto pointer = native.pointer()) return {pointer->x, pointer->y};
  const auto& bounds = displays.front().display.bounds;
  return {static_cast<int>(bounds.x), static_cast<int>(bounds.y)};
}

/// The key as a keyboard with Latin letters has it: one without them has others in their places.
int latinKey(const QKeyEvent& event) {
  constexpr int firstBeyondLatin = 0x250;
  if (event.key() < firstBeyondLatin || event.key() >= Qt::Key_Escape) return event.key();
  switch (event.nativeScanCode()) {
    case 38: return Qt::Key_A;
    case 54: return Qt::Key_C;
    default: return event.key();
  }
}

}  // namespace

QtSelectionOverlay::Session::Session(QtSelectionOverlay& overlay, Request request)
    : overlay_(&overlay),
      displays_(std::move(request.displays)),
      adjusts_(request.adjusts),
      model_(request.mode, snapshotsOf(displays_), request.windows,
             startingPoint(*overlay.native_, displays_), qGuiApp->devicePixelRatio()),
      // One that held the keyboard would be hidden, and would go on getting every key.
      grab_(overlay.native_, InputGrab::Wants::keyboardAndPointer,
            [this](InputGrab::Missing missing) {
              if (overlay_ == nullptr) return;
              overlay_->finish(std::unexpected(
                  missing == InputGrab::Missing::keyboard ? End::keyboardHeld : End::pointerHeld));
            }),
      seen_(model_.pointer()) {
  model_.setLeastScrolledHeight(request.leastScrolledHeight);
  for (std::size_t i = 0; i < displays_.size(); ++i) {
    const PixelRect& area = model_.displays()[i].area;
    pictures_.push_back(
        {QRect(area.x, area.y, area.width, area.height), sharedImage(displays_[i].image)});
  }
}

void QtSelectionOverlay::Session::begin() {
  for (const auto& picture : pictures_) {
    windows_.push_back(new Window(overlay_->session_, *overlay_->native_, picture.area));
  }
  refresh();
  for (Window* const window : windows_) window->appear();
  const auto changed = [this] {
    if (overlay_ != nullptr) overlay_->finish(std::unexpected(End::displaysChanged));
  };
  QObject::connect(qGuiApp, &QGuiApplication::screenAdded, &context_, changed);
  QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, &context_, changed);
  for (const QScreen* const screen : QGuiApplication::screens()) {
    QObject::connect(screen, &QScreen::geometryChanged, &context_, changed);
  }
  grab_.take(*windows_.front());
}

void QtSelectionOverlay::Session::takeDown() {
  const auto native = std::exchange(overlay_, nullptr)->native_;
  grab_.release();
  for (Window* const window : std::exchange(windows_, {})) {
    native->uncoverDisplay(window->winId());
    window->hide();
    window->deleteLater();  // it may be one of its events that ends the session
  }
  native->sync();
}

void QtSelectionOverlay::Session::refresh() {
  SelectionLayout layout = layOutSelection(model_, {colorText(), hovered_});
  const QRegion changed = layout.changeFrom(layout_);
  layout_ = std::move(layout);
  const auto shape = cursorShape();
  for (Window* const window : windows_) {
    if (window->cursor().shape() != shape) window->setCursor(shape);
    window->refresh(changed);
  }
}

Qt::CursorShape QtSelectionOverlay::Session::cursorShape() const {
  if (model_.mode() != CaptureMode::region) return Qt::PointingHandCursor;
  using Part = SelectionBar::Part;
  if (hovered_) {
    const bool isField = hovered_ == Part::width || hovered_ == Part::height;
    return isField ? Qt::IBeamCursor : Qt::ArrowCursor;
  }
  const AreaAdjustment* const adjustment = model_.adjustment();
  if (adjustment == nullptr) return Qt::CrossCursor;
  if (layout_.bar.panel.contains(model_.pointer())) return Qt::ArrowCursor;
  const auto grip = adjustment->held() ? adjustment->held() : adjustment->gripAt(model_.pointer());
  if (!grip) return Qt::CrossCursor;
  if (!grip->isHandle()) return Qt::SizeAllCursor;
  if (grip->across == 0) return Qt::SizeVerCursor;
  if (grip->down == 0) return Qt::SizeHorCursor;
  return grip->across == grip->down ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor;
}

QString QtSelectionOverlay::Session::colorText() const {
  if (!copiedColor_.isEmpty()) return QStringLiteral("Copied ") + copiedColor_;
  const auto detail = model_.detail();
  if (!detail) return {};
  for (const FrozenPicture& picture : pictures_) {
    if (!picture.area.contains(*detail)) continue;
    return QColor(picture.image.pixel(*detail - picture.area.topLeft())).name();
  }
  return {};
}

void QtSelectionOverlay::Session::copyColor() {
  if (overlay_->clipboard_ == nullptr || !model_.detail()) return;
  copiedColor_.clear();
  const QString color = colorText();
  if (color.isEmpty()) return;
  copiedColor_ = color;
  overlay_->clipboard_->setText(color.toStdString(), [](const Result<void>& copied) {
    if (!copied) logWarning("Clipboard", "{}", copied.error().reason);
  });
}

void QtSelectionOverlay::Session::warpPointer() {
  if (model_.pointer() == seen_) return;
  seen_ = model_.pointer();
  ownMoves_.push_back(seen_);
  overlay_->native_->movePointer({seen_.x(), seen_.y()});
}

/// Keys repeat faster than the server tells where they moved the pointer to. What it tells late
/// must not take the pointer back.
bool QtSelectionOverlay::Session::isOwnMove(QPoint to) {
  const auto found = std::find(ownMoves_.begin(), ownMoves_.end(), to);
  if (found == ownMoves_.end()) return false;
  ownMoves_.erase(ownMoves_.begin(), found + 1);
  return true;
}

void QtSelectionOverlay::Session::finishWith(std::optional<CaptureTarget> target, bool copies) {
  if (target && overlay_ != nullptr) overlay_->finish(Choice{*std::move(target), copies});
}

void QtSelectionOverlay::Session::pointerMoved(QPoint to) {
  if (overlay_ == nullptr || isOwnMove(to)) return;
  ownMoves_.clear();
  seen_ = to;
  copiedColor_.clear();
  model_.movePointer(to);
  hovered_ = layout_.bar.partAt(to);
  refresh();
}

void QtSelectionOverlay::Session::pressed(Qt::MouseButton button, QPoint at) {
  if (button == Qt::RightButton) return cancel();
  if (button != Qt::LeftButton || overlay_ == nullptr) return;
  pointerMoved(at);
  if (layout_.bar.panel.contains(at)) {
    pressedPart_ = layout_.bar.partAt(at);
    return;
  }
  pressed_ = true;
  model_.endSizeEntry();
  model_.press();
  refresh();
}

void QtSelectionOverlay::Session::released(const QMouseEvent& event, QPoint at) {
  if (event.button() != Qt::LeftButton || overlay_ == nullptr) return;
  if (const auto part = std::exchange(pressedPart_, std::nullopt)) {
    if (layout_.bar.partAt(at) == part) perform(*part);
    return;
  }
  // A release without its press belongs to the click that opened the overlay.
  if (!pressed_) return;
  pressed_ = false;
  pointerMoved(at);
  auto target = model_.release(adjusts_ || event.modifiers().testFlag(Qt::ControlModifier));
  refresh();
  finishWith(std::move(target));
}

void QtSelectionOverlay::Session::perform(SelectionBar::Part part) {
  using Part = SelectionBar::Part;
  switch (part) {
    case Part::width: model_.editSize(SizeEntry::Field::width); break;
    case Part::height: model_.editSize(SizeEntry::Field::height); break;
    case Part::close: return cancel();
    case Part::copy:
    case Part::capture:
      model_.endSizeEntry();
      return finishWith(model_.adjustedTarget(), part == Part::copy);
  }
  refresh();
}

void QtSelectionOverlay::Session::keyPressed(const QKeyEvent& event) {
  if (overlay_ == nullptr) return;
  const int key = latinKey(event);
  if (key == Qt::Key_Escape) {
    if (!model_.goBack()) return cancel();
  } else if (key == Qt::Key_Return || key == Qt::Key_Enter) {
    if (auto target = model_.confirm()) return finishWith(std::move(target));
  } else if (key == Qt::Key_C && event.modifiers().testFlag(Qt::ControlModifier)) {
    if (model_.adjustment() != nullptr) return perform(SelectionBar::Part::copy);
  } else if (key == Qt::Key_C) {
    copyColor();
  } else if (handleKey(event)) {
    copiedColor_.clear();
  } else {
    return;
  }
  warpPointer();
  refresh();
}

/// The keys that only change what is selected; false for one that does not.
bool QtSelectionOverlay::Session::handleKey(const QKeyEvent& event) {
  const bool control = event.modifiers().testFlag(Qt::ControlModifier);
  const int step = control ? 50 : event.modifiers().testFlag(Qt::ShiftModifier) ? 10 : 1;
  const int key = latinKey(event);
  switch (key) {
    case Qt::Key_Space:
      if (!event.isAutoRepeat()) model_.pressSpace();
      return true;
    case Qt::Key_Left: model_.nudge(-step, 0); return true;
    case Qt::Key_Right: model_.nudge(step, 0); return true;
    case Qt::Key_Up: model_.nudge(0, -step); return true;
    case Qt::Key_Down: model_.nudge(0, step); return true;
    case Qt::Key_Tab:
    case Qt::Key_Backtab: {
      const int by = key == Qt::Key_Tab ? 1 : -1;
      control ? model_.moveToDisplay(by) : model_.moveFocus(by);
      return true;
    }
    case Qt::Key_A:
      if (control) model_.selectAll();
      return control;
    case Qt::Key_Backspace: model_.eraseDigit(); return true;
    default: break;
  }
  if (key < Qt::Key_0 || key > Qt::Key_9) return false;
  model_.typeDigit(static_cast<char>('0' + key - Qt::Key_0));
  return true;
}

void QtSelectionOverlay::Session::keyReleased(const QKeyEvent& event) {
  if (overlay_ == nullptr || event.key() != Qt::Key_Space || event.isAutoRepeat()) return;
  model_.releaseSpace();
  warpPointer();
  refresh();
}

void QtSelectionOverlay::Session::cancel() {
  if (overlay_ != nullptr) overlay_->finish(std::unexpected(End::cancelled));
}

QtSelectionOverlay::QtSelectionOverlay(std::shared_ptr<NativeWindows> native)
    : native_(std::move(native)) {}

QtSelectionOverlay::~QtSelectionOverlay() { dismiss(); }

void QtSelectionOverlay::select(Request request, std::function<void(Answer)> chosen) {
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
  reply_.renew();
  chosen_ = nullptr;
}

void QtSelectionOverlay::finish(Answer choice) {
  takeDown();
  reply_.renew();
  // Only a display is grabbed from the screen as it is then; for the others the overlay is gone
  // when its windows are unmapped.
  const bool needsBareScreen = choice && std::holds_alternative<DisplayTarget>(choice->target);
  auto answer = reply_.guard([this, choice = std::move(choice)]() mutable {
    if (const auto chosen = std::exchange(chosen_, nullptr)) chosen(std::move(choice));
  });
  if (needsBareScreen) {
    native_->whenShown(std::move(answer));
  } else {
    QTimer::singleShot(0, std::move(answer));
  }
}

}  // namespace vantorel
