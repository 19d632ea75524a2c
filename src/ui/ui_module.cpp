#include "ui/qt_desktop_ui.hpp"

extern "C" __attribute__((visibility("default"))) vantorel::DesktopUi* vantorelMakeDesktopUi() {
  return vantorel::makeQtDesktopUi().release();
}
