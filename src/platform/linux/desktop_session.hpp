#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/task_runner.hpp"
#include "platform/clipboard.hpp"
#include "platform/frame_stream.hpp"
#include "platform/hot_keys.hpp"
#include "platform/linux/x11_session.hpp"
#include "platform/native_windows.hpp"
#include "platform/screen_capture.hpp"
#include "platform/window_list.hpp"

namespace vantorel {

/// What kind of desktop the process was started on.
enum class DesktopSession { x11, wayland, none };

template <>
inline constexpr auto enumNames<DesktopSession> = std::to_array<EnumName<DesktopSession>>({
    {DesktopSession::x11, "x11"},
    {DesktopSession::wayland, "wayland"},
    {DesktopSession::none, "none"},
});

using EnvironmentLookup = std::function<std::optional<std::string>(const char* name)>;

/// Told by VANTOREL_PLATFORM ("x11", "wayland", "none") where it is set; otherwise a Wayland socket
/// comes before an X server, for the X server of a Wayland desktop shows none of its windows.
[[nodiscard]] DesktopSession desktopSession(const EnvironmentLookup& environment);

/// The desktop's services; none is null.
struct DesktopServices {
  std::unique_ptr<ScreenCapture> screen;
  std::unique_ptr<FrameStreams> frameStreams;
  std::unique_ptr<WindowList> windows;
  std::unique_ptr<HotKeys> hotKeys;
  std::unique_ptr<Clipboard> clipboard;
};

/// The one place that chooses a back end. Nothing is connected before it is used. `main` is the
/// runner the services live on.
[[nodiscard]] DesktopServices makeDesktopServices(const EnvironmentLookup& environment,
                                                  const std::shared_ptr<TaskRunner>& main,
                                                  WindowContents contents);

/// The same for the windows: on a Wayland desktop too they are shown through its X server.
[[nodiscard]] std::unique_ptr<DisplayServer> makeDisplayServer();

}  // namespace vantorel
