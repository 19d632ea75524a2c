#pragma once

#include <expected>
#include <functional>
#include <variant>
#include <vector>

#include "capture/records/capture_target.hpp"
#include "platform/screen_capture.hpp"
#include "platform/window_list.hpp"

namespace vantorel {

/// One display with the picture it showed when the selection began.
struct FrozenDisplay {
  DisplaySnapshot display;
  Image image;
};

/// The overlay on which the user drags a region or, after Space, picks a window, by pointer or by
/// keyboard alone. It shows the frozen screen, so that what is chosen is what was there. Lives on
/// the main runner.
class SelectionOverlay {
 public:
  virtual ~SelectionOverlay() = default;

  struct Request {
    CaptureMode mode = CaptureMode::region;  ///< what a click begins with; Space changes it
    std::vector<FrozenDisplay> displays;
    std::vector<WindowSnapshot> windows;  ///< topmost first; empty: windows cannot be picked
    bool adjusts = false;  ///< a dragged area stays up until the user has put it right

    /// How high in pixels an area has to be that is to be scrolled; 0 when it is not.
    int leastScrolledHeight = 0;
  };

  struct Choice {
    CaptureTarget target;
    bool copies = false;  ///< the user wants it on the clipboard, whatever the settings say
  };

  /// Why nothing was chosen.
  enum class End {
    cancelled,        ///< the user pressed Escape
    displaysChanged,  ///< one was plugged in or out: what is frozen is not what is there
    keyboardHeld,     ///< another program does not let go of the keyboard
    pointerHeld,      ///< of the pointer
  };
  using Answer = std::expected<Choice, End>;

  /// The overlay is off the screen when it answers.
  virtual void select(Request request, std::function<void(Answer)> chosen) = 0;

  /// Takes the overlay down; the callback is not called.
  virtual void dismiss() = 0;
};

/// What tells that a capture worked, when nothing else on the screen does.
struct CaptureCue {
  PixelRect area;  ///< what was taken, in pixels of the desktop; empty when that is not known
  bool withSound = true;
};

/// The panel that shows the seconds left before a delayed capture. Lives on the main runner.
class CountdownPanel {
 public:
  virtual ~CountdownPanel() = default;
  virtual void show(int secondsLeft) = 0;

  /// Answers when the panel is off the screen.
  virtual void hide(std::function<void()> hidden) = 0;
};

/// The windows that hide the desktop's icons. Lives on the main runner.
class DesktopCoverWindows {
 public:
  virtual ~DesktopCoverWindows() = default;

  /// Answers when the cover is painted.
  virtual void show(std::function<void()> painted) = 0;
  virtual void hide() = 0;

  /// The cover's windows while it is shown: they belong into captures.
  [[nodiscard]] virtual std::vector<WindowID> windowIDs() const = 0;
};

}  // namespace vantorel
