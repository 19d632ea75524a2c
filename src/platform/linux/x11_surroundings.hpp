#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"
#include "platform/desktop_look.hpp"
#include "platform/linux/x11_worker.hpp"
#include "platform/native_windows.hpp"

namespace vantorel {

/// What happens on an X server around this program's windows, heard on a connection and a thread of
/// its own. Lives on the main runner.
class X11Surroundings {
 public:
  /// `display` such as ":0"; empty for the one that DISPLAY names.
  X11Surroundings(std::string display, const std::shared_ptr<TaskRunner>& main);

  /// See `NativeWindows`.
  [[nodiscard]] Observation observeLook(std::function<void(const DesktopLook&)> changed);
  [[nodiscard]] Observation observePresses(std::function<void(WindowID)> pressed);

 private:
  Observers<DesktopLook> look_;
  Observers<WindowID> presses_;
  std::shared_ptr<X11Worker> worker_;
  Lifetime lifetime_;
};

}  // namespace vantorel
