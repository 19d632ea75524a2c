#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/enum_names.hpp"
#include "base/geometry.hpp"
#include "base/result.hpp"
#include "capture/records/capture_target.hpp"

namespace vantorel {

/// Whether a window can be seen, as far as its desktop goes, and why not.
enum class WindowVisibility { shown, minimized, rolledUp, onOtherWorkspace };
template <>
inline constexpr auto enumNames<WindowVisibility> = std::to_array<EnumName<WindowVisibility>>({
    {WindowVisibility::shown, "shown"},
    {WindowVisibility::minimized, "minimized"},
    {WindowVisibility::rolledUp, "rolledUp"},
    {WindowVisibility::onOtherWorkspace, "onOtherWorkspace"},
});

/// One open window that a user would call a window.
struct WindowSnapshot {
  WindowID windowID = 0;
  std::int64_t ownerPID = 0;  ///< 0 when the window does not tell
  std::string ownerName;      ///< the application's display name
  std::string applicationID;  ///< the desktop file's name without ".desktop"; may be empty
  std::string title;
  PointRect frame;      ///< in points, on the shared desktop, frame included
  DisplayID displayID;  ///< the display showing most of it
  WindowVisibility visibility = WindowVisibility::shown;
  bool isOwn = false;  ///< a window of this process

  [[nodiscard]] bool isShown() const { return visibility == WindowVisibility::shown; }
};

/// Answers on the runner it was made for, or never: callers bound the wait. Lives on that runner.
class WindowList {
 public:
  virtual ~WindowList() = default;

  /// Topmost first. `unsupported` where the desktop gives no list (the reason is a sentence).
  virtual void windows(
      std::move_only_function<void(Result<std::vector<WindowSnapshot>>)> reply) = 0;
};

}  // namespace vantorel
