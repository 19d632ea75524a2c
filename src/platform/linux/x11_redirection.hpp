#pragma once

#include <set>
#include <vector>

#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// The parts of `windows[index]` that cannot be seen on the screen: below those above it, or beyond
/// the screen's edges. In the window's own pixels from the border's corner. May overlap.
[[nodiscard]] std::vector<PixelRect> coveredParts(const std::vector<XTopLevel>& windows,
                                                  std::size_t index, PixelSize screen);

/// Takes `cut` out of every rectangle.
void subtract(std::vector<PixelRect>& from, const PixelRect& cut);

/// While it lives, the given windows keep their whole content in the server, also what is covered.
/// Where they have not done so all along, the constructor asks the applications to paint what was
/// covered and waits for that: usually some ten milliseconds, 400 at most. An application that
/// hangs paints nothing; its covered parts then come out in the window's background, and
/// `isComplete` tells.
class XRedirection {
 public:
  /// `needed` are top levels; those that are gone are left out. Not within an `XServerGrab`.
  XRedirection(X11Session& session, const std::set<xcb_window_t>& needed);
  XRedirection(const XRedirection&) = delete;
  XRedirection& operator=(const XRedirection&) = delete;
  ~XRedirection();

  /// False when something of what was covered was not painted: an application that shows nothing
  /// there but its background leaves it out, too, and so does one of which only the frame, which
  /// belongs to the window manager, was painted.
  [[nodiscard]] bool isComplete() const { return isComplete_; }

 private:
  struct Repainting {
    xcb_window_t window = 0;
    std::uint32_t damage = 0;
    int border = 0;
    std::vector<PixelRect> missing;
  };

  void dropFirstReport();
  bool note(const xcb_generic_event_t& event);
  void awaitRepainting();

  X11Session& session_;
  std::vector<xcb_window_t> redirected_;
  std::vector<Repainting> repainting_;
  bool isComplete_ = true;
};

}  // namespace vantorel
