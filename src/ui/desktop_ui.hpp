#pragma once

#include <memory>

#include "app/status_menu.hpp"
#include "base/task_runner.hpp"
#include "capture/capture_surfaces.hpp"
#include "platform/alerts.hpp"
#include "platform/clipboard.hpp"

namespace vantorel {

/// Everything with a window, in a module of its own that is loaded only when a window is needed: a
/// plain command does not pay for the toolkit. One object a process, made and used on the thread
/// of `main()`, which becomes the main runner's thread. The parts live as long as this.
class DesktopUi {
 public:
  virtual ~DesktopUi() = default;

  [[nodiscard]] virtual std::shared_ptr<TaskRunner> mainRunner() = 0;

  /// Runs the event loop until `quit`; answers with the status given to it.
  virtual int run() = 0;
  virtual void quit(int status) = 0;

  [[nodiscard]] virtual StatusItem& statusItem() = 0;
  [[nodiscard]] virtual SelectionOverlay& selectionOverlay() = 0;
  [[nodiscard]] virtual std::shared_ptr<CountdownPanel> countdownPanel() = 0;
  [[nodiscard]] virtual std::shared_ptr<DesktopCoverWindows> desktopCoverWindows() = 0;
  [[nodiscard]] virtual Clipboard& clipboard() = 0;

  /// `notify` of these alerts does nothing but log: notifications are the platform's.
  [[nodiscard]] virtual Alerts& alerts() = 0;
};

/// The name under which the module exports its factory, of type `DesktopUiFactory`.
inline constexpr const char* desktopUiFactoryName = "vantorelMakeDesktopUi";

/// Null when there is no window system to show windows on.
using DesktopUiFactory = DesktopUi* (*)();

}  // namespace vantorel
