#include "ui/capture/capture_flash.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <algorithm>
#include <utility>

#include "ui/kit/screen_pixels.hpp"

namespace vantorel {
namespace {

constexpr int lengthMilliseconds = 250;
constexpr int width = 4;  // of the frame, device pixels for each unit of the toolkit
constexpr QColor accent(0x40, 0x9c, 0xff);

class Side : public QRasterWindow {
 public:
  Side(NativeWindows& native, const QRect& area) {
    setFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    setTitle(QStringLiteral("Vantorel capture flash"));
    screen_pixels::place(*this, area);
    create();
    native.floatAboveAll(winId(), FloatingInput::none);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter(this).fillRect(QRect(QPoint(), size()), accent);
  }
};

}  // namespace

CaptureFlash::CaptureFlash(std::shared_ptr<NativeWindows> native) : native_(std::move(native)) {
  end_.setSingleShot(true);
  end_.setInterval(lengthMilliseconds);
  end_.callOnTimeout([this] { sides_.clear(); });
}

CaptureFlash::~CaptureFlash() = default;

void CaptureFlash::show(const PixelRect& area) {
  QRect whole;
  for (const QScreen* const screen : QGuiApplication::screens()) {
    whole |= screen_pixels::areaOf(*screen);
  }
  const QRect frame = QRect(area.x, area.y, area.width, area.height) & whole;
  sides_.clear();
  if (frame.isEmpty()) return;
  const int thick = std::min(
      {width * static_cast<int>(qGuiApp->devicePixelRatio()), frame.width(), frame.height()});
  const QRect sides[] = {{frame.left(), frame.top(), frame.width(), thick},
                         {frame.left(), frame.bottom() + 1 - thick, frame.width(), thick},
                         {frame.left(), frame.top(), thick, frame.height()},
                         {frame.right() + 1 - thick, frame.top(), thick, frame.height()}};
  for (const QRect& side : sides) {
    sides_.push_back(std::make_unique<Side>(*native_, side));
    sides_.back()->show();
  }
  end_.start();
}

}  // namespace vantorel
