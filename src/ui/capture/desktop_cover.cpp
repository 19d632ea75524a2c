#include "ui/capture/desktop_cover.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "ui/kit/native_display.hpp"
#include "ui/kit/screen_pixels.hpp"

namespace vantorel {
namespace {

/// A window manager that maps nothing must not hold up the capture.
constexpr int paintBoundMilliseconds = 500;

QColor colorOf(const DesktopCoverLook& look) {
  const QColor color(QString::fromStdString(look.color));
  return color.isValid() ? color : QColor(58, 58, 60);
}

/// The picture that the desktop keeps as the root window's background; null when it paints its
/// wallpaper in some other way.
QImage wallpaper() {
  xcb_connection_t* const connection = native_display::connection();
  if (connection == nullptr) return {};
  using Free = decltype(&std::free);
  const std::unique_ptr<xcb_get_property_reply_t, Free> property(
      xcb_get_property_reply(
          connection,
          xcb_get_property(connection, 0, native_display::root(),
                           native_display::atom("_XROOTPMAP_ID"), XCB_ATOM_PIXMAP, 0, 1),
          nullptr),
      &std::free);
  if (!property || xcb_get_property_value_length(property.get()) != 4) return {};
  const auto pixmap = *static_cast<xcb_pixmap_t*>(xcb_get_property_value(property.get()));
  const std::unique_ptr<xcb_get_geometry_reply_t, Free> size(
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, pixmap), nullptr),
      &std::free);
  if (!size || size->depth < 24) return {};
  const std::unique_ptr<xcb_get_image_reply_t, Free> pixels(
      xcb_get_image_reply(connection,
                          xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, 0, 0,
                                        size->width, size->height, ~0u),
                          nullptr),
      &std::free);
  if (!pixels || xcb_get_image_data_length(pixels.get()) < 4 * size->width * size->height) {
    return {};
  }
  return QImage(xcb_get_image_data(pixels.get()), size->width, size->height, QImage::Format_RGB32)
      .copy();
}

}  // namespace

class DesktopCover::Window : public QRasterWindow {
 public:
  Window(const QRect& area, DesktopCoverStyle style, QColor color, QImage picture)
      : area_(area), style_(style), color_(color), picture_(std::move(picture)) {
    setFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnBottomHint | Qt::WindowDoesNotAcceptFocus);
    setTitle(QStringLiteral("Vantorel desktop cover"));
    screen_pixels::place(*this, area);
    create();
    stayOutOfLists();
    // Where nobody arranges windows they come up on top.
    if (!native_display::hasWindowManager()) lower();
  }

  [[nodiscard]] bool isPainted() const { return isPainted_; }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.scale(1 / devicePixelRatio(), 1 / devicePixelRatio());
    const QRect whole(QPoint(), area_.size());
    painter.fillRect(whole, color_);
    if (!picture_.isNull() && style_ == DesktopCoverStyle::wallpaper) {
      QBrush brush(picture_);
      painter.setBrushOrigin(-area_.topLeft());
      painter.fillRect(whole, brush);
    } else if (!picture_.isNull()) {
      painter.setRenderHint(QPainter::SmoothPixmapTransform);
      QSize size = picture_.size().scaled(area_.size(), Qt::KeepAspectRatioByExpanding);
      QRect target(QPoint(), size);
      target.moveCenter(whole.center());
      painter.drawImage(target, picture_);
    }
    isPainted_ = true;
  }

 private:
  /// On all desktops, in no task bar or pager. The toolkit keeps what it does not know.
  void stayOutOfLists() {
    xcb_connection_t* const connection = native_display::connection();
    if (connection == nullptr) return;
    const auto id = static_cast<xcb_window_t>(winId());
    const std::uint32_t allDesktops = 0xFFFFFFFF;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id,
                        native_display::atom("_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1,
                        &allDesktops);
    const xcb_atom_t states[] = {native_display::atom("_NET_WM_STATE_SKIP_TASKBAR"),
                                 native_display::atom("_NET_WM_STATE_SKIP_PAGER"),
                                 native_display::atom("_NET_WM_STATE_STICKY")};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id,
                        native_display::atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32, 3, states);
  }

  QRect area_;
  DesktopCoverStyle style_;
  QColor color_;
  QImage picture_;
  bool isPainted_ = false;
};

DesktopCover::DesktopCover() = default;
DesktopCover::~DesktopCover() = default;

void DesktopCover::show(std::function<void()> painted) {
  waiting_.push_back(std::move(painted));
  windows_.clear();
  build();
  reply_ = std::make_unique<QObject>();
  auto* const poll = new QTimer(reply_.get());
  poll->setInterval(5);
  poll->callOnTimeout([this, poll, left = paintBoundMilliseconds / 5]() mutable {
    if (!isPainted() && --left > 0) return;
    poll->stop();
    native_display::whenShown(reply_.get(), [this] {
      for (const auto& waiting : std::exchange(waiting_, {})) waiting();
    });
  });
  poll->start();
}

void DesktopCover::build() {
  QImage picture;
  switch (look_.style) {
    case DesktopCoverStyle::wallpaper: picture = wallpaper(); break;
    case DesktopCoverStyle::custom:
      picture.loadFromData(reinterpret_cast<const uchar*>(look_.image.data()),
                           static_cast<int>(look_.image.size()));
      break;
    case DesktopCoverStyle::color: break;
  }
  for (const QScreen* const screen : QGuiApplication::screens()) {
    windows_.push_back(std::make_unique<Window>(screen_pixels::areaOf(*screen), look_.style,
                                                colorOf(look_), picture));
    windows_.back()->show();
  }
}

bool DesktopCover::isPainted() const {
  return std::all_of(windows_.begin(), windows_.end(),
                     [](const auto& window) { return window->isPainted(); });
}

void DesktopCover::hide() {
  reply_.reset();
  waiting_.clear();
  windows_.clear();
}

std::vector<WindowID> DesktopCover::windowIDs() const {
  std::vector<WindowID> ids;
  ids.reserve(windows_.size());
  for (const auto& window : windows_) ids.push_back(window->winId());
  return ids;
}

}  // namespace vantorel
