#pragma once

#include <vector>

#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// Draws the part `area` of the root window as it would look if only `windows` were open (the
/// lowest first, their content kept by an `XRedirection`), and puts it into `buffer` at (x, y).
[[nodiscard]] Result<void> composeScreen(X11Session& session, const std::vector<XTopLevel>& windows,
                                         const PixelRect& area, const PixelBuffer& buffer, int x,
                                         int y);

}  // namespace vantorel
