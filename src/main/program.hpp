#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/app_coordinator.hpp"
#include "cli/command_line.hpp"
#include "cli/command_runner.hpp"
#include "platform/linux/user_folders.hpp"
#include "ui/desktop_ui.hpp"

namespace vantorel {

/// One run of the program: the real platform, the stores and the coordinator, put together. Lives
/// on the main runner.
class Program {
 public:
  /// `ui` is null for a run without windows. `terminate` ends the main loop.
  Program(const UserFolders& folders, std::shared_ptr<TaskRunner> main, DesktopUi* ui,
          std::function<void()> terminate);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Begins to read the library, which the first command that needs it does as well. Commands may
  /// come at once.
  void start();

  /// What only a run in the tray does.
  void startResident();

  /// Calls `done` when the command's work is safe on disk.
  void run(const CommandLine& line, CommandRunner::Done done, const CommandAsker& asker = {});

  /// Ends early what the asker waits for, empty for this process; see `CommandRunner::callOff`.
  void callOff(const std::string& asker = {});

  /// After a single command: files what an earlier run left staged unless it only looked, sees to
  /// it that settings are on disk, then calls `done`.
  void finish(std::function<void()> done);

  /// Lets a clipboard manager keep what was copied; waits a bounded time. When the runner has
  /// stopped.
  void handOverClipboard();

  /// Quits as the menu does; see `AppCoordinator::quit`.
  void quit();

 private:
  void recover(std::function<void()> done);

  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace vantorel
