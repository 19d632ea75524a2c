#pragma once

#include <vector>

#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// The part of the root window that a display, a region or all displays are, in full even where the
/// root window ends before. Fails with `notFound` (the display is gone, or the region lies outside)
/// and, for targets of another kind, `unsupported`.
[[nodiscard]] Result<PixelRect> areaOf(const CaptureTarget& target,
                                       const std::vector<XMonitor>& monitors);

/// The display that shows most of `frame`, on the root window; empty when none does.
[[nodiscard]] DisplayID displayUnder(const PixelRect& frame, const std::vector<XMonitor>& monitors);

}  // namespace vantorel
