#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "capture/records/display_snapshot.hpp"
#include "capture/records/source_app.hpp"
#include "platform/window_list.hpp"

namespace vantorel {

/// Names the application a capture was taken from.
namespace SourceAppResolution {

/// What the resolution needs to know of a window.
struct WindowRecord {
  WindowID windowID = 0;
  std::int64_t ownerPID = 0;
  std::string ownerName;
  std::string applicationID;  ///< may be empty
  PointRect frame;            ///< in points, on the shared desktop
};

/// Windows a capture can come from, topmost first: neither minimised nor the program's own.
[[nodiscard]] std::vector<WindowRecord> records(const std::vector<WindowSnapshot>& windows);

/// The owner of the window for a window capture. For a display or a region, the owner of the
/// topmost window over its middle, or else of the topmost one that touches it. Nothing when only
/// the desktop is there.
[[nodiscard]] std::optional<SourceApp> resolve(const CaptureTarget& target,
                                               const std::vector<WindowRecord>& windows,
                                               const std::vector<DisplaySnapshot>& displays);

}  // namespace SourceAppResolution
}  // namespace vantorel
