#include "platform/linux/desktop_session.hpp"

#include "base/log.hpp"
#include "platform/linux/absent_desktop.hpp"
#include "platform/linux/x11_clipboard.hpp"
#include "platform/linux/x11_frame_streams.hpp"
#include "platform/linux/x11_hot_keys.hpp"
#include "platform/linux/x11_native_windows.hpp"
#include "platform/linux/x11_screen_capture.hpp"

namespace vantorel {

DesktopSession desktopSession(const EnvironmentLookup& environment) {
  const auto value = [&](const char* name) { return environment(name).value_or(""); };
  const std::string forced = value("VANTOREL_PLATFORM");
  if (const auto session = enumFromName<DesktopSession>(forced)) return *session;
  if (!forced.empty()) {
    logWarning("Platform", "VANTOREL_PLATFORM is \"{}\" but must be one of {}", forced,
               allNames<DesktopSession>());
  }
  const bool isX11Session = value("XDG_SESSION_TYPE") == "x11";
  if (!value("WAYLAND_DISPLAY").empty() && !isX11Session) return DesktopSession::wayland;
  if (!value("DISPLAY").empty()) return DesktopSession::x11;
  return DesktopSession::none;
}

DesktopServices makeDesktopServices(const EnvironmentLookup& environment,
                                    const std::shared_ptr<TaskRunner>& main,
                                    WindowContents contents) {
  switch (desktopSession(environment)) {
    case DesktopSession::x11: {
      const std::string display = environment("DISPLAY").value_or("");
      auto worker = makeCaptureWorker(display, contents);
      return {std::make_unique<X11ScreenCapture>(worker, main),
              std::make_unique<X11FrameStreams>(display, main),
              std::make_unique<X11WindowList>(worker, main),
              std::make_unique<X11HotKeys>(display, main),
              std::make_unique<X11Clipboard>(display, main)};
    }
    case DesktopSession::wayland:
      return {std::make_unique<WaylandScreenCapture>(main),
              std::make_unique<AbsentFrameStreams>(main, WaylandScreenCapture::reason()),
              std::make_unique<AbsentWindowList>(main, WaylandScreenCapture::reason()),
              std::make_unique<AbsentHotKeys>(main), std::make_unique<AbsentClipboard>()};
    case DesktopSession::none: break;
  }
  const Failure why{FailureKind::unreachable, "there is no display to capture"};
  return {std::make_unique<AbsentScreenCapture>(main, why),
          std::make_unique<AbsentFrameStreams>(main, why),
          std::make_unique<AbsentWindowList>(main, why), std::make_unique<AbsentHotKeys>(main),
          std::make_unique<AbsentClipboard>()};
}

std::unique_ptr<DisplayServer> makeDisplayServer() { return std::make_unique<X11DisplayServer>(); }

}  // namespace vantorel
