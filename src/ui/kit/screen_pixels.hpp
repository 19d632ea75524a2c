#pragma once

#include <QRect>

class QScreen;
class QWindow;

/// Between the toolkit's units and device pixels on the desktop. The toolkit keeps a screen's
/// origin in pixels and divides only what lies inside of it.
namespace vantorel::screen_pixels {

/// The screen's place on the desktop.
[[nodiscard]] QRect areaOf(const QScreen& screen);

/// Lays `window` over `area`. With a broken scale it may reach a pixel further to the right and
/// below, as the toolkit knows whole units only.
void place(QWindow& window, const QRect& area);

}  // namespace vantorel::screen_pixels
