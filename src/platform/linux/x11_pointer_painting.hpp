#pragma once

#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// Paints the pointer into a picture of `area`, a part of the root window. Fails with `unsupported`
/// where there is no telling what it looks like.
[[nodiscard]] Result<void> paintPointer(X11Session& session, const PixelRect& area,
                                        const PixelBuffer& buffer);

}  // namespace vantorel
