#pragma once

#include <QIcon>
#include <QString>

#include "app/status_menu.hpp"

namespace vantorel {

/// The program's mark of one color, for a tray.
struct TrayIcon {
  /// In the desktop's icon theme, whose color panels choose; empty where it is not installed, and
  /// for one with a dot, which would lose its color there.
  QString name;
  /// For panels that take pictures alone: of a gray that is seen on light and on dark ones.
  QIcon pictures;
};

/// With a dot of the accent's color while captures are filed into a collection, and of red while
/// something is recorded.
[[nodiscard]] TrayIcon trayIcon(StatusMark mark);

}  // namespace vantorel
