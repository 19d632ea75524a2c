#include "ui/qt_desktop_ui.hpp"

extern "C" __attribute__((visibility("default"))) vantorel::DesktopUi* vantorelMakeDesktopUi(
    vantorel::DisplayServer& server) {
  return vantorel::makeQtDesktopUi(server).release();
}
