#include "ui/capture/desktop_cover.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <utility>

#include "ui/kit/screen_pixels.hpp"
#include "ui/kit/shared_image.hpp"

namespace vantorel {
namespace {

/// A window manager that maps nothing must not hold up the capture.
constexpr int paintBoundMilliseconds = 500;

QColor colorOf(const DesktopCoverLook& look) {
  const QColor color(QString::fromStdString(look.color));
  return color.isValid() ? color : QColor(58, 58, 60);
}

}  // namespace

class DesktopCover::Window : public QRasterWindow {
 public:
  Window(NativeWindows& native, const QRect& area, DesktopCoverStyle style, QColor color,
         QImage picture)
      : area_(area), style_(style), color_(color), picture_(std::move(picture)) {
    setFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnBottomHint | Qt::WindowDoesNotAcceptFocus);
    setTitle(QStringLiteral("Vantorel desktop cover"));
    screen_pixels::place(*this, area);
    create();
    native.coverDesktop(winId());
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
  QRect area_;
  DesktopCoverStyle style_;
  QColor color_;
  QImage picture_;
  bool isPainted_ = false;
};

DesktopCover::DesktopCover(std::shared_ptr<NativeWindows> native) : native_(std::move(native)) {}
DesktopCover::~DesktopCover() = default;

void DesktopCover::show(std::function<void()> painted) {
  waiting_.push_back(std::move(painted));
  windows_.clear();
  build();
  reply_.renew();
  poll_ = std::make_unique<QTimer>();
  poll_->setInterval(5);
  poll_->callOnTimeout([this, left = paintBoundMilliseconds / 5]() mutable {
    if (!isPainted() && --left > 0) return;
    poll_->stop();
    native_->whenShown(reply_.guard([this] {
      for (const auto& waiting : std::exchange(waiting_, {})) waiting();
    }));
  });
  poll_->start();
}

void DesktopCover::build() {
  QImage picture;
  switch (look_.style) {
    case DesktopCoverStyle::wallpaper:
      if (const Image kept = native_->wallpaper(); !kept.isEmpty()) {
        picture = sharedImage(kept).copy();
      }
      break;
    case DesktopCoverStyle::custom:
      picture.loadFromData(reinterpret_cast<const uchar*>(look_.image.data()),
                           static_cast<int>(look_.image.size()));
      break;
    case DesktopCoverStyle::color: break;
  }
  for (const QScreen* const screen : QGuiApplication::screens()) {
    windows_.push_back(std::make_unique<Window>(*native_, screen_pixels::areaOf(*screen),
                                                look_.style, colorOf(look_), picture));
    windows_.back()->show();
  }
}

bool DesktopCover::isPainted() const {
  return std::all_of(windows_.begin(), windows_.end(),
                     [](const auto& window) { return window->isPainted(); });
}

void DesktopCover::hide() {
  reply_.renew();
  poll_.reset();
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
