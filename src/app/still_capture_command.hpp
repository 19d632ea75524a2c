#pragma once

#include <optional>

#include "base/geometry.hpp"
#include "capture/records/capture_target.hpp"

namespace vantorel {

/// A still capture as a person, a hot key or a script asks for it.
struct StillCaptureCommand {
  enum class Kind { display, window, area, previous };

  Kind kind = Kind::area;
  DisplayID display;                  ///< of a display or area capture; empty: the main one
  bool allDisplays = false;           ///< of a display capture: all of them as one picture
  std::optional<WindowID> window;     ///< none: the user picks one
  std::optional<PointRect> rect;      ///< in points from the display's corner; none: the user drags
  std::optional<CaptureDelay> delay;  ///< none: as the settings say
  bool isTimed = false;               ///< the self-timer's command
};

}  // namespace vantorel
