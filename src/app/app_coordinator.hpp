#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/capture_exclusivity_arbiter.hpp"
#include "app/pending_archive_work.hpp"
#include "app/screen_permission_flow.hpp"
#include "app/shortcut_registry.hpp"
#include "app/status_menu.hpp"
#include "app/still_capture_command.hpp"
#include "app/surface_registry.hpp"
#include "app/termination_handshake.hpp"
#include "capture/staged_capture_recovery.hpp"
#include "capture/still_capture_pipeline.hpp"
#include "library/library.hpp"
#include "platform/clipboard.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Owns every capture surface and turns commands, whatever their source, into work: the same
/// operation runs for a hot key, the menu, a script and an agent. Lives on the main runner.
class AppCoordinator {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;

    // Serial queues that may block.
    std::shared_ptr<TaskRunner> staging;   ///< makes captures safe; shares with nothing slow
    std::shared_ptr<TaskRunner> filing;    ///< writes where the user keeps captures
    std::shared_ptr<TaskRunner> pictures;  ///< reads and converts them
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    ScreenCapture* screen = nullptr;
    WindowList* windows = nullptr;
    Alerts* alerts = nullptr;
    Library* library = nullptr;
    SettingsStore* settings = nullptr;
    Path stagedCaptures;     ///< folder
    Path redactedOriginals;  ///< folder
    Path defaultCaptures;    ///< folder for captures when the chosen one cannot be used

    // What only a run with windows has; null or empty otherwise.
    HotKeys* hotKeys = nullptr;
    std::function<Clipboard*()> clipboard;
    std::shared_ptr<CountdownPanel> countdown;  ///< never null
    std::shared_ptr<DesktopCoverWindows> desktopCover;
    std::function<SelectionOverlay*()> overlay;
    std::function<void(bool visible)> showStatusItem;
    std::function<void()> statusMenuChanged;
    std::function<bool()> isTrayShown;

    /// Shows and sounds that a capture is saved.
    std::function<void(const CaptureCue&)> cue;

    /// Told when the user quits: long work that can go on later comes to a stop.
    std::function<void()> stopMoving;
    /// Calls back when such work has come to its stop.
    std::function<void(std::move_only_function<void()>)> whenMovingStopped;

    std::function<bool()> relaunch;
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

  /// Takes a still for a person at the desktop, whichever way he asked: how it ends is shown there.
  void captureForUser(StillCaptureCommand command);

  /// Calls off the capture that waits for the user.
  void cancelCapture() { stills_->cancel(); }

  /// Takes a still for an agent; see `StillCapturePipeline::captureForRemote`.
  void captureForRemote(CaptureMode mode, std::function<void(const ScreenshotEntry&)> onFiled,
                        std::move_only_function<void(StillCapturePipeline::Grabbed)> capturing,
                        StillCapturePipeline::Finished finished);

  /// Files what an earlier run left staged.
  void recoverStagedCaptures(std::function<void(int filed)> done);

  /// Answers with the staged files that this process is filing, what it is staging among them.
  void whenStagingKnown(std::function<void(const std::set<Path>& underWay)> known);

  /// What a run in the tray does at the start: hot keys, the icon, what the last quit lost.
  void startResident();

  /// Calls `known` with what keeps the keys of that setting from working, in sentences; with
  /// nothing when they work, are not bound here, or the desktop does not answer.
  void whenKeysKnown(std::string_view setting, std::function<void(std::string)> known);

  /// Says that the program runs and how it is used, to one who looks for it. A run in the tray.
  void tellThatItRuns();

  /// The tray menu as it is now.
  [[nodiscard]] std::vector<StatusMenuItem> statusMenu();

  /// Quits when everything is filed.
  void quit();
  [[nodiscard]] bool isQuitting() const { return termination_.isInProgress(); }

  [[nodiscard]] CaptureExclusivityArbiter& arbiter() { return arbiter_; }
  [[nodiscard]] PendingArchiveWork& pendingArchiveWork() { return pendingWork_; }
  [[nodiscard]] SurfaceRegistry& surfaces() { return surfaces_; }
  [[nodiscard]] TerminationHandshake& termination() { return termination_; }

 private:
  [[nodiscard]] std::optional<CaptureRefusal> refusal() const;
  void withPermission(StillCapturePipeline::Finished finished,
                      std::move_only_function<void(StillCapturePipeline::Finished)> go);
  [[nodiscard]] StillCapturePipeline::Finished untilSaved(StillCapturePipeline::Finished finished);
  void report(const CaptureReply& reply, bool timed);
  void updateMenu();
  void afterCapture(CaptureReply reply, bool copies, StillCapturePipeline::Finished finished);
  void copyToClipboard(const ScreenshotEntry& entry, std::function<void(std::string)> done);
  void copyRecent(int number);
  void copyCapture(const std::string& id);
  [[nodiscard]] std::vector<EntryPointer> recentImages(std::size_t count) const;
  [[nodiscard]] StatusMenuItem menuLine(std::string label, ShortcutID id);
  [[nodiscard]] StatusMenuItem copyRecentMenu();
  void undoRecentDelete();
  void bindHotKeys();
  void tellRefusedKeys();
  [[nodiscard]] std::string unusedKey() const;
  void bind(ShortcutID id);
  [[nodiscard]] std::optional<HotKeySpec> bindingOf(ShortcutID id) const;
  [[nodiscard]] std::function<void()> actionOf(ShortcutID id);
  void terminateWhenSaved();
  void saveAndTerminate();
  void tellUnfinishedAtLastQuit();

  Services services_;
  bool quitSaving_ = false;
  bool hasTold_ = false;  // that it runs
  PendingArchiveWork pendingWork_;
  SurfaceRegistry surfaces_;
  TerminationHandshake termination_;
  CaptureExclusivityArbiter arbiter_;
  ScreenPermissionFlow permission_;
  std::unique_ptr<ShortcutRegistry> shortcuts_;
  PreviousAreaMonitor previousArea_;
  std::shared_ptr<StagingFolder> staging_;
  std::unique_ptr<StillCaptureFiling> filing_;
  std::unique_ptr<TimedCaptureController> countdown_;
  std::unique_ptr<StillCapturePipeline> stills_;
  std::unique_ptr<StagedCaptureRecovery> recovery_;
  Observation settingsObservation_;
  Observation libraryObservation_;
  Alive menuUpdate_;
  std::set<std::pair<ShortcutID, std::uint32_t>> toldKeys_;  // that they do not work
  Alive refusedKeysChanged_;
  Alive alive_;
};

}  // namespace vantorel
