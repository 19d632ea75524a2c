#pragma once

#include <chrono>
#include <vector>

#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// Where this program's own windows are on the screen, followed by events: nothing is asked while
/// nothing changes. Lives on the worker's thread.
class X11OwnWindows {
 public:
  /// All of them but those of `kept`. Hears of the root window's children from now on.
  X11OwnWindows(X11Session& session, std::vector<WindowID> kept);

  /// Takes down what an event says.
  void note(const xcb_generic_event_t& event);
  /// Events may have been missed.
  void look() { isStale_ = true; }

  /// Whether one of them, or what it leaves behind for a moment, may be seen within `area`.
  [[nodiscard]] Result<bool> areOver(const PixelRect& area);

  /// Where some were until a second ago.
  [[nodiscard]] const std::vector<PixelRect>& vacated() const { return vacatedPlaces_; }

 private:
  struct Vacated {
    PixelRect place;
    std::chrono::steady_clock::time_point until;
  };

  [[nodiscard]] Result<void> refresh();

  X11Session& session_;
  std::vector<WindowID> kept_;
  bool isStale_ = true;
  bool leaveShadows_ = false;
  std::vector<PixelRect> places_;
  std::vector<Vacated> vacated_;
  std::vector<PixelRect> vacatedPlaces_;
};

}  // namespace vantorel
