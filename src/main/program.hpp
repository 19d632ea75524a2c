#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/command_table.hpp"
#include "cli/command_line.hpp"
#include "cli/command_runner.hpp"
#include "platform/linux/remote_files.hpp"
#include "platform/linux/user_folders.hpp"
#include "ui/desktop_ui.hpp"

namespace vantorel {

class TrayLock;

/// One run of the program: its wings, and the order in which they start and stop. Lives on the main
/// runner.
class Program {
 public:
  /// `root` holds a library and settings of their own, instead of the user's. `ui` is null for a
  /// run without windows. `terminate` ends the main loop.
  Program(const std::optional<Path>& root, std::shared_ptr<RemoteFiles> files,
          std::shared_ptr<TaskRunner> main, DesktopUi* ui, std::function<void()> terminate);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Begins to live in the tray. Commands may come at once. `otherTray` is the process of the
  /// program in the tray of another session, which has the library and `tray`; when it has gone,
  /// this one takes both.
  void startResident(TrayLock& tray, std::optional<long> otherTray);

  /// Runs a command of the desktop.
  void perform(const DesktopCommand& command);

  /// To one who started it once more.
  void startedAgain();

  /// Opens the window, or brings it forward. A run in the tray.
  void show(AppWindow window);

  /// Opens pictures in Annotate; what cannot be is said at the desktop. A run in the tray.
  void openFiles(const std::vector<std::string>& uris);

  /// Whether a picture is open in a window of its own.
  [[nodiscard]] bool hasPictures() const;

  /// Calls `done` when the command's work is safe on disk.
  void run(const CommandLine& line, CommandRunner::Done done,
           const CommandRequester& requester = {});

  /// Ends early what the requester waits for, empty for this process; see `CommandRunner::callOff`.
  void callOff(const std::string& requester = {});

  /// See `CommandRunner::requesterGone`.
  void requesterGone(const std::string& requester);

  /// After a single command: files what an earlier run left staged unless it only looked, sees to
  /// it that settings are on disk, then calls `done`.
  void finish(std::function<void()> done);

  /// Lets a clipboard manager keep what was copied; waits a bounded time. When the runner has
  /// stopped.
  void handOverClipboard();

  /// Gives the library to the next process, when nothing else is to be done and the main runner has
  /// ended: a thread that hangs in a disk of this machine keeps the process from ending, and must
  /// not keep the library. Waits for a second at most.
  void releaseLibrary();

  /// The process is ending in the midst of everything, on the main thread: what lies in memory
  /// alone is made safe. Blocks for a bounded time.
  void rescue();

  /// Quits as the menu does; see `AppCoordinator::quit`.
  void quit();

  /// When nobody is there to be asked about what is not saved.
  void quitUnasked();

 private:
  void yieldTo(long otherTray, TrayLock& tray);

  struct Wings;
  std::unique_ptr<Wings> wings_;
};

}  // namespace vantorel
