#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/app_windows.hpp"
#include "app/capture_copying.hpp"
#include "app/capture_exclusivity_arbiter.hpp"
#include "app/command_table.hpp"
#include "app/pending_archive_work.hpp"
#include "app/screen_permission_flow.hpp"
#include "app/status_menu.hpp"
#include "app/still_capture_command.hpp"
#include "app/still_captures.hpp"
#include "app/surface_registry.hpp"
#include "app/termination_handshake.hpp"
#include "library/library.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

class CaptureEditors;
class CapturePins;
class CommandKeys;
class ScrollingCapture;
class TextCapture;
class TrayMenu;

/// Owns every capture surface and turns commands, whatever their source, into work: the same
/// operation runs for a hot key, the menu, a script and an agent. Lives on the main runner.
class AppCoordinator {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    StillCaptures& captures;
    CaptureCopying& copying;
    ScreenCapture& screen;
    Alerts& alerts;
    Library& library;
    SettingsStore& settings;

    // What only a run with windows has; null otherwise.
    HotKeys* hotKeys = nullptr;
    StatusItem* statusItem = nullptr;
    AppWindows* windows = nullptr;

    /// Shows and sounds that a capture is saved; may be empty.
    std::function<void(const CaptureCue&)> cue{};

    std::function<bool()> relaunch;   ///< see `ScreenPermissionFlow`
    std::function<void()> terminate;  ///< ends the main loop; everything is on disk by then
  };

  explicit AppCoordinator(Services services);
  ~AppCoordinator();

  /// Takes a still. Refused while the arbiter says so. `begins`, when there is one, is asked once
  /// nothing else is in the way, whether it is still wanted; from then on `cancelCapture` is about
  /// this capture. `onStaged` is told the file in which the picture is safe, before it is filed.
  void capture(StillCaptureCommand command, StillCapturePipeline::Finished finished,
               std::function<bool()> begins = {},
               std::function<void(const Path& staged)> onStaged = {});

  /// Does with a capture that another took what is done with those of `capture`: the cue, the card,
  /// the clipboard and whatever else is set. `finished` is told when that is done.
  struct Conclusion {
    bool copies = false;               ///< to the clipboard, whatever the settings say
    bool isAnsweredAtDesktop = false;  ///< how it ended is shown there
    std::string refusedTitle = "Screenshot failed";
    std::string failedTitle = "Screenshot failed";
    std::string savedTitle = "Screenshot saved";
  };
  void conclude(CaptureReply reply, Conclusion how, StillCapturePipeline::Finished finished);

  /// A capture that is answered at the desktop is safe on disk.
  void stagedAtDesktop();

  /// Takes a still for a person at the desktop, whichever way he asked: how it ends is shown there.
  void captureForUser(StillCaptureCommand command);

  /// Runs a command of the desktop, in whichever way it was given.
  void perform(const DesktopCommand& command) { command.run(*this); }

  /// Copies the `number`-th newest picture, from 1, to the clipboard.
  void copyRecent(int number) { services_.copying.copyRecent(number); }

  void undoRecentDelete();

  /// Gives the keyboard to the newest card.
  void focusCard();

  /// Opens the window, or brings it forward. False when there are none.
  bool show(AppWindow window);

  /// Makes a collection in History, has its name written there, and files what is taken from now on
  /// into it.
  void newCollection();

  /// Told of each capture that a person or a script took, as soon as it is in the library, and of
  /// its id once it is on the clipboard as well.
  std::function<void(const CaptureOutcome::Saved&)> onSaved;
  std::function<void(const std::string& id)> onCopied;

  /// Gives the keyboard to the newest card, or to one for the newest capture. False when there is
  /// none. Empty where no cards are shown.
  std::function<bool()> onFocusCard;

  /// Calls off the capture that waits for the user.
  void cancelCapture() { stills().cancel(); }

  /// Takes a still for an agent; see `StillCapturePipeline::captureForRemote`.
  void captureForRemote(CaptureMode mode, std::function<void(const ScreenshotEntry&)> onFiled,
                        std::move_only_function<void(StillCapturePipeline::Grabbed)> capturing,
                        StillCapturePipeline::Finished finished);

  /// What a run in the tray does at the start: hot keys, the icon, what the last quit lost.
  void startResident();

  /// Shows History to one who looks for the program that runs already, or else says how it is used.
  /// A run in the tray.
  void startedAgain();

  /// The tray's menu as it is now. A run in the tray.
  [[nodiscard]] std::vector<StatusMenuItem> statusMenu();

  /// What opens captures in Annotate; null in a run that is not in the tray.
  CaptureEditors* editors = nullptr;
  /// What takes the text of the screen.
  TextCapture* texts = nullptr;
  /// What takes captures of what is scrolled.
  ScrollingCapture* scrolling = nullptr;
  /// Whether one of those is beyond the choice of its area.
  [[nodiscard]] bool isScrolling() const;
  /// What pins them above all windows; likewise.
  CapturePins* pins = nullptr;

  /// Asks what becomes of unsaved changes before a quit; answers whether the program may go. While
  /// it asks already, the question comes forward. Empty where nothing is edited.
  std::function<void(std::function<void(bool mayQuit)>)> closeEditors;
  /// Writes down what is not saved before a quit that nobody is asked about. Likewise.
  std::function<void(std::function<void()> kept)> keepUnsaved;

  /// Something that the menu shows has changed.
  void menuChanged();

  /// Quits when everything is filed, unless the user would rather go on with what is not saved.
  /// `answered`, which may be empty, is told whether the program quits as soon as that is known.
  /// While the user is asked, whoever wants it again brings the question forward.
  void quit(std::function<void(bool quits)> answered = {});
  /// The session ends, and nobody is there to be asked.
  void quitUnasked();
  [[nodiscard]] bool isQuitting() const { return termination_.isInProgress(); }

  [[nodiscard]] CaptureExclusivityArbiter& arbiter() { return arbiter_; }
  [[nodiscard]] PendingArchiveWork& pendingArchiveWork() { return pendingWork_; }
  [[nodiscard]] SurfaceRegistry& surfaces() { return surfaces_; }
  [[nodiscard]] TerminationHandshake& termination() { return termination_; }
  [[nodiscard]] const PreviousAreaMonitor& previousArea() const { return previousArea_; }
  [[nodiscard]] CaptureCopying& copying() { return services_.copying; }
  [[nodiscard]] StagedRedaction& redactions() { return services_.captures.redactions(); }
  [[nodiscard]] Library& library() { return services_.library; }
  [[nodiscard]] SettingsStore& settings() { return services_.settings; }

  /// Null when there are no hot keys.
  [[nodiscard]] CommandKeys* keys() { return keys_.get(); }

 private:
  [[nodiscard]] std::optional<CaptureRefusal> refusal() const;
  void withPermission(StillCapturePipeline::Finished finished,
                      std::move_only_function<void(StillCapturePipeline::Finished)> go);
  [[nodiscard]] StillCapturePipeline::Finished untilSaved(StillCapturePipeline::Finished finished);
  void report(const CaptureReply& reply, const Conclusion& how, bool isCued);
  void cue(const PixelRect& shown);
  void afterCapture(CaptureReply reply, bool copies, StillCapturePipeline::Finished finished);
  void followPreviousArea();
  void sayThatItRuns();
  void reportUnfinishedAtLastQuit();
  void quitNow();
  void terminateWhenSaved();
  void saveAndTerminate();
  void askAboutUnsaved(std::string_view what, std::string_view reason,
                       void (AppCoordinator::*quitAnyway)());
  void saveSettingsAndTerminate();
  void terminate() { services_.terminate(); }
  [[nodiscard]] StillCapturePipeline& stills() { return services_.captures.pipeline(); }

  Services services_;
  std::vector<std::function<void(bool)>> waitingForQuit_;
  bool quitSaving_ = false;
  bool hasSaidThatItRuns_ = false;
  PendingArchiveWork pendingWork_;
  SurfaceRegistry surfaces_;
  TerminationHandshake termination_;
  CaptureExclusivityArbiter arbiter_;
  ScreenPermissionFlow permission_;
  PreviousAreaMonitor previousArea_;
  std::unique_ptr<CommandKeys> keys_;
  std::unique_ptr<TrayMenu> menu_;
  Observation settingsObservation_;
  Observation redactions_;
  Observation keysObservation_;
  Lifetime lifetime_;
};

}  // namespace vantorel
