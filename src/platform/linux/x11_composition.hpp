#pragma once

#include <optional>
#include <vector>

#include "base/pixel_point.hpp"
#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// Draws the part `area` of the root window as it would look if only `windows` were open (the
/// lowest first, their content kept by an `XRedirection`), and puts it into `buffer` at (x, y).
/// `bare`, if there is one, is a place on the root window where no window is: what lies below them
/// all is told from it where a compositor draws that.
[[nodiscard]] Result<void> composeScreen(X11Session& session, const std::vector<XTopLevel>& windows,
                                         const std::optional<PixelPoint>& bare,
                                         const PixelRect& area, const PixelBuffer& buffer, int x,
                                         int y);

}  // namespace vantorel
