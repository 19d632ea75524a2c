#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "base/result.hpp"
#include "platform/linux/x11_session.hpp"
#include "platform/window_list.hpp"

namespace vantorel {

/// Where an application's window is on the root window.
struct XWindowPlace {
  PixelRect content;  ///< the window itself
  PixelRect frame;    ///< what the user sees as the window: with its title bar, without a shadow
  bool drawsShadow = false;  ///< `content` holds a shadow the application draws around `frame`
  bool isViewable = false;
};

/// Nothing when the window is gone.
[[nodiscard]] std::optional<XWindowPlace> placeOf(X11Session& session, xcb_window_t window);

/// What hides a window, if anything does; one that is not viewable is hidden.
[[nodiscard]] WindowVisibility visibilityOf(X11Session& session, xcb_window_t window,
                                            bool isViewable);

/// The child of the root window that `window` lies in; nothing when it is gone.
[[nodiscard]] std::optional<xcb_window_t> topLevelOf(X11Session& session, xcb_window_t window);

/// The process behind a window; 0 when it does not tell, or runs on another machine.
[[nodiscard]] std::int64_t processOf(X11Session& session, xcb_window_t window);

/// Those of `windows` that hold a window of this process, other than those of `kept`.
[[nodiscard]] std::set<xcb_window_t> topLevelsToHide(X11Session& session,
                                                     const std::vector<XTopLevel>& windows,
                                                     const std::vector<WindowID>& kept);

/// What a user would call the open windows, topmost first.
[[nodiscard]] Result<std::vector<WindowSnapshot>> listWindows(X11Session& session);

}  // namespace vantorel
