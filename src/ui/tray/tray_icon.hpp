#pragma once

#include <QIcon>
#include <QString>

namespace vantorel {

/// The program's mark of one color, for a tray.
struct TrayIcon {
  /// In the desktop's icon theme, whose color panels choose; empty where it is not installed.
  QString name;
  /// For panels that take pictures alone: of a gray that is seen on light and on dark ones.
  QIcon pictures;
};

[[nodiscard]] TrayIcon trayIcon();

}  // namespace vantorel
