#include "ui/scrolling/qt_scrolling_panel.hpp"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <utility>

#include "ui/kit/desktop_palette.hpp"
#include "ui/kit/screen_pixels.hpp"
#include "ui/scrolling/scrolling_panel_place.hpp"

namespace vantorel {
namespace {

/// What of `area`, in device pixels, the screen shows, in the toolkit's units.
QRect partOn(const QScreen& screen, const PixelRect& area) {
  const QRect common =
      screen_pixels::areaOf(screen) & QRect(area.x, area.y, area.width, area.height);
  if (common.isEmpty()) return {};
  const double ratio = screen.devicePixelRatio();
  const QPoint origin = screen.geometry().topLeft();
  const QPointF from = QPointF(common.topLeft() - origin) / ratio;
  const QPointF to = QPointF(common.bottomRight() + QPoint(1, 1) - origin) / ratio;
  return {origin + QPoint(int(std::floor(from.x())), int(std::floor(from.y()))),
          origin + QPoint(int(std::ceil(to.x())) - 1, int(std::ceil(to.y())) - 1)};
}

/// That of most of the area first.
std::vector<ScrollingRoom> roomsAround(const PixelRect& area) {
  std::vector<ScrollingRoom> rooms;
  for (const QScreen* const screen : QGuiApplication::screens()) {
    rooms.push_back({screen->availableGeometry(), partOn(*screen, area)});
  }
  const auto size = [](const ScrollingRoom& room) {
    return room.captured.isEmpty() ? qint64{0}
                                   : qint64{room.captured.width()} * room.captured.height();
  };
  std::ranges::stable_sort(rooms, std::greater(), size);
  return rooms;
}

}  // namespace

QtScrollingPanel::QtScrollingPanel(std::shared_ptr<NativeWindows> native)
    : native_(native), outline_(std::move(native)) {}

QtScrollingPanel::~QtScrollingPanel() = default;

void QtScrollingPanel::open(Shown shown) {
  // In the desktop's own letters, though no window may have been opened yet.
  DesktopPalette::follow();
  shown_ = std::move(shown);
  window_ = std::make_unique<ScrollingPanelWindow>(
      native_, ScrollingPanelWindow::Actions{
                   .done = shown_.done, .cancel = shown_.cancel, .resized = [this] { place(); }});
  screens_ = std::make_unique<QObject>();
  const auto placed = [this] { place(); };
  const auto follow = [this, placed](QScreen* screen) {
    QObject::connect(screen, &QScreen::availableGeometryChanged, screens_.get(), placed);
  };
  for (QScreen* const screen : QGuiApplication::screens()) follow(screen);
  QObject::connect(qGuiApp, &QGuiApplication::screenAdded, screens_.get(), follow);
  QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, screens_.get(), placed,
                   Qt::QueuedConnection);
  place();
}

void QtScrollingPanel::place() {
  const std::vector<ScrollingRoom> rooms = roomsAround(shown_.area);
  if (window_ == nullptr || rooms.empty()) return;
  const ScrollingPanelPlace place =
      placeScrollingPanel(rooms, window_->sizeWithPreview(), window_->sizeAlone(),
                          window_->layoutDirection() == Qt::RightToLeft);
  outline_.show(shown_.area);
  // Where there is no place beside the area it lies over it, and is left out of the frames as all
  // windows of this program are. Where they cannot be, the tray and the key still end the capture.
  if (place.covers && !shown_.mayCover) return window_->hide();
  window_->place(place.panel, place.hasPreview);
  if (!window_->isVisible()) window_->show();
}

void QtScrollingPanel::moveTo(const PixelRect& area) {
  shown_.area = area;
  place();
}

void QtScrollingPanel::show(const ScrollingProgress& progress) {
  if (window_ != nullptr) window_->setProgress(progress);
}

bool QtScrollingPanel::takeKeyboard() {
  if (window_ == nullptr || !window_->isVisible()) return false;
  window_->takeKeys();
  return true;
}

void QtScrollingPanel::close() {
  screens_.reset();
  outline_.hide();
  if (window_ == nullptr) return;
  window_->hide();
  // What takes it away may be an event of its own.
  window_.release()->deleteLater();
}

}  // namespace vantorel
