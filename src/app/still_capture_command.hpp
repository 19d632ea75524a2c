#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <optional>

#include "base/enum_names.hpp"
#include "base/geometry.hpp"
#include "capture/records/capture_target.hpp"
#include "capture/still_capture_pipeline.hpp"

namespace vantorel {

/// A still capture as a person, a hot key or a script asks for it.
struct StillCaptureCommand {
  enum class Kind {
    display,
    window,
    area,
    previous,
    text,    ///< of an area, or of a window when one is named; `TextCapture` takes it
    scroll,  ///< of either, while its page is scrolled; `ScrollingCapture` takes it
  };

  Kind kind = Kind::area;
  DisplayID display;               ///< of a display or area capture; empty: the main one
  bool allDisplays = false;        ///< of a display capture: all of them as one picture
  std::optional<WindowID> window;  ///< none: the user picks one
  std::optional<PointRect> rect;   ///< in points from the display's corner; none: the user drags
  std::optional<std::chrono::seconds> delay;  ///< none: as the settings say
  bool isTimed = false;                       ///< the self-timer's command
  bool showsPointer = false;                  ///< the pointer belongs into the picture
  bool copies = false;                        ///< to the clipboard, whatever the settings say

  /// A key or a click: while a capture is under way, one more needs no answer.
  bool mayBeRepeated = false;

  /// Asked for at the desktop, without a terminal to answer on: how it ends is shown there.
  bool isAnsweredAtDesktop = false;

  /// Of a scrolling capture: it ends by itself so long after it was asked for.
  std::optional<std::chrono::seconds> timeout{};

  /// Gets the picture, which is not saved then.
  std::function<void(HandedPicture)> handOver{};

  /// Gets what was chosen, of which no picture is taken then.
  std::function<void(ChosenTarget)> handTarget{};
};

template <>
inline constexpr auto enumNames<StillCaptureCommand::Kind> =
    std::to_array<EnumName<StillCaptureCommand::Kind>>({
        {StillCaptureCommand::Kind::display, "display"},
        {StillCaptureCommand::Kind::window, "window"},
        {StillCaptureCommand::Kind::area, "area"},
        {StillCaptureCommand::Kind::previous, "previous"},
        {StillCaptureCommand::Kind::text, "text"},
        {StillCaptureCommand::Kind::scroll, "scroll"},
    });

}  // namespace vantorel
