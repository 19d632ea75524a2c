#include "main/windows_wing.hpp"

namespace vantorel {

WindowsWing::WindowsWing(CaptureWing& theCaptures, EditorWing& theEditor)
    : captures(theCaptures), editor(theEditor) {
  DesktopWing& desktop = captures.desktop;
  places = std::make_shared<WindowPlacesFile>(
      WindowPlacesFile::Services{.files = *desktop.files,
                                 .main = desktop.main,
                                 .io = desktop.lanes.prompt.queue("com.hollen.Vantorel.settings")},
      desktop.folders.data / "windows.json");
  desktop.ui->setWindowServices(
      {.places = places,
       .show = [this](AppWindow window) { (void)captures.coordinator.show(window); },
       .quit = [this] { captures.coordinator.quit(); }});
}

}  // namespace vantorel
