#include "ui/scrolling/scrolling_outline.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <utility>

#include "ui/kit/palette_roles.hpp"
#include "ui/kit/screen_pixels.hpp"

namespace vantorel {
namespace {

constexpr int lineWidth = 3;  // px

class OutlineSide : public QRasterWindow {
 public:
  OutlineSide(NativeWindows& native, const QRect& area) {
    setFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    setTitle(QStringLiteral("Vantorel scrolling frame"));
    screen_pixels::place(*this, area);
    create();
    native.floatAboveAll(winId(), FloatingInput::none);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter(this).fillRect(QRect(QPoint(), size()), floatingColors().accent);
  }
};

}  // namespace

ScrollingOutline::ScrollingOutline(std::shared_ptr<NativeWindows> native)
    : native_(std::move(native)) {}

ScrollingOutline::~ScrollingOutline() = default;

void ScrollingOutline::hide() { sides_.clear(); }

void ScrollingOutline::show(const PixelRect& area) {
  sides_.clear();
  if (area.isEmpty()) return;
  QRegion desktop;
  for (const QScreen* const screen : QGuiApplication::screens()) {
    desktop += screen_pixels::areaOf(*screen);
  }
  const int thick = lineWidth * static_cast<int>(qGuiApp->devicePixelRatio());
  const QRect inner(area.x, area.y, area.width, area.height);
  const QRect outer = inner.adjusted(-thick, -thick, thick, thick);
  for (const QRect& side : {QRect(outer.left(), outer.top(), outer.width(), thick),
                            QRect(outer.left(), inner.bottom() + 1, outer.width(), thick),
                            QRect(outer.left(), inner.top(), thick, inner.height()),
                            QRect(inner.right() + 1, inner.top(), thick, inner.height())}) {
    for (const QRect& part : desktop& side) {
      sides_.push_back(std::make_unique<OutlineSide>(*native_, part));
      sides_.back()->show();
    }
  }
}

}  // namespace vantorel
