#pragma once

#include <vector>

#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// What a capture of a window takes of the top level that the window lies in.
struct XWindowPart {
  XTopLevel top;
  PixelRect frame;         ///< on the root window: what is taken
  PixelRect crop;          ///< the same from the corner of the top level's border
  bool isCovered = false;  ///< not all of the top level is on the screen
};

/// With the shadow that the window draws itself, or without. Fails with `notFound` (it is gone),
/// `busy` (it is not on the screen now) and `other` (it is one of this program's own and not one of
/// `keptOwn`).
[[nodiscard]] Result<XWindowPart> findWindowPart(X11Session& session, xcb_window_t window,
                                                 bool withShadow,
                                                 const std::vector<WindowID>& keptOwn);

/// Why a window is not there any more.
[[nodiscard]] Failure windowGone();

/// The parts of `crop`, from the corner of the border of `top`, that lie outside the window's
/// shape.
[[nodiscard]] std::vector<PixelRect> outsideOfShape(X11Session& session, const XTopLevel& top,
                                                    const PixelRect& crop);

}  // namespace vantorel
