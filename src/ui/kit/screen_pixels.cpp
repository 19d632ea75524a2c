#include "ui/kit/screen_pixels.hpp"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <cmath>

namespace vantorel::screen_pixels {
namespace {

QScreen* screenShowing(const QRect& area) {
  QScreen* best = QGuiApplication::primaryScreen();
  qint64 most = 0;
  for (QScreen* const screen : QGuiApplication::screens()) {
    const QRect common = areaOf(*screen) & area;
    const qint64 shown = qint64{common.width()} * common.height();
    if (shown > most) {
      best = screen;
      most = shown;
    }
  }
  return best;
}

int units(int pixels, double ratio) { return static_cast<int>(std::ceil(pixels / ratio - 1e-6)); }

}  // namespace

QRect areaOf(const QScreen& screen) {
  const QRect geometry = screen.geometry();
  return {geometry.topLeft(),
          QSize(static_cast<int>(std::lround(geometry.width() * screen.devicePixelRatio())),
                static_cast<int>(std::lround(geometry.height() * screen.devicePixelRatio())))};
}

void place(QWindow& window, const QRect& area) {
  QScreen* const screen = screenShowing(area);
  if (screen == nullptr) return;
  window.setScreen(screen);
  const double ratio = screen->devicePixelRatio();
  const QPoint origin = screen->geometry().topLeft();
  const QPointF offset = QPointF(area.topLeft() - origin) / ratio;
  window.setGeometry(QRect(origin + offset.toPoint(),
                           QSize(units(area.width(), ratio), units(area.height(), ratio))));
}

}  // namespace vantorel::screen_pixels
