#pragma once

#include <memory>

#include "app/window_places.hpp"
#include "main/editor_wing.hpp"

namespace vantorel {

/// The program's windows in the tray, and what they are made of. Lives on the main runner.
struct WindowsWing {
  WindowsWing(CaptureWing& captures, EditorWing& editor);

  CaptureWing& captures;
  EditorWing& editor;
  std::shared_ptr<WindowPlacesFile> places;
};

}  // namespace vantorel
