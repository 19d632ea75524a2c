#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.hpp"
#include "platform/testing/desktop/child_process.hpp"

namespace vantorel {

struct TestDesktopOptions {
  std::optional<PixelSize> screen = PixelSize{1280, 800};  ///< none: no X server at all
  int depth = 24;
  bool windowManager = false;  ///< openbox
  bool compositor = false;     ///< picom
  bool bus = false;            ///< a session bus
  bool accessibility = false;  ///< programs describe their windows to a `ScreenReader`
};

/// A desktop of one test's own: a virtual X server, on wish a window manager, a compositor and a
/// session bus, and fresh folders for HOME and the XDG variables. Everything is gone when the
/// object is, also after a failure. The constructor throws, and so fails the test, when a program
/// is missing or does not start.
class TestDesktop {
 public:
  explicit TestDesktop(TestDesktopOptions options = {});
  TestDesktop(const TestDesktop&) = delete;
  TestDesktop& operator=(const TestDesktop&) = delete;
  ~TestDesktop();

  /// Such as ":12"; empty without a server.
  [[nodiscard]] const std::string& display() const { return display_; }
  [[nodiscard]] const std::string& busAddress() const { return busAddress_; }
  [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }
  [[nodiscard]] std::filesystem::path home() const { return folder_ / "home"; }
  [[nodiscard]] std::filesystem::path dataHome() const { return folder_ / "data"; }

  /// What a program of this desktop sees: DISPLAY, DBUS_SESSION_BUS_ADDRESS, HOME, XDG_..., PATH.
  [[nodiscard]] const ChildEnvironment& environment() const { return environment_; }

  /// Puts `environment()` into this process until the desktop is destroyed; variables of a real
  /// desktop are taken out.
  void enter();

  [[nodiscard]] ChildProcess start(std::vector<std::string> arguments) const;

  /// Runs a program to its end; throws when it does not end well.
  // NOLINTNEXTLINE(modernize-use-nodiscard): what a program prints rarely matters
  std::string run(std::vector<std::string> arguments) const;

  struct Monitor {
    std::string name;
    PixelRect area;
  };

  /// Divides the screen; the first monitor is the primary one. The list replaces the one before.
  void setMonitors(const std::vector<Monitor>& monitors);

  ChildProcess& server() { return *server_; }
  ChildProcess& bus() { return *bus_; }

 private:
  void startServer(const TestDesktopOptions& options);
  void startBus();

  std::filesystem::path folder_;
  std::string display_;
  std::string busAddress_;
  ChildEnvironment environment_;
  std::optional<ChildProcess> server_;
  std::optional<ChildProcess> bus_;
  std::optional<ChildProcess> windowManager_;
  std::optional<ChildProcess> compositor_;
  std::vector<std::string> monitors_;
  std::optional<std::map<std::string, std::optional<std::string>>> environmentBefore_;
};

}  // namespace vantorel
