#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/scrolling_spool.hpp"
#include "capture/staged_capture_recovery.hpp"
#include "capture/still_capture_pipeline.hpp"
#include "library/library.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Everything between the wish for a still and its entry in the library, put together and told what
/// the settings say. Lives on the main runner.
class StillCaptures {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;

    // Serial queues that may block.
    std::shared_ptr<TaskRunner> staging;  ///< makes captures safe; shares with nothing slow
    std::shared_ptr<TaskRunner> filing;   ///< writes where the user keeps captures

    std::shared_ptr<const Clock> clock;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    ScreenCapture& screen;
    WindowList& windows;
    Library& library;
    SettingsStore& settings;
    RedactCapture redact;  ///< empty: a capture that awaits its redaction stays staged
    Path defaultCaptures;  ///< folder for captures when the chosen one cannot be used

    // What only a run with windows has; null otherwise.
    HotKeys* hotKeys = nullptr;
    std::shared_ptr<CountdownPanel> countdown;  ///< never null
    std::shared_ptr<DesktopCoverWindows> desktopCover;
    std::function<SelectionOverlay*()> overlay;
  };

  explicit StillCaptures(Services services);

  [[nodiscard]] StillCapturePipeline& pipeline() { return *pipeline_; }

  /// What looks through captures before they are filed.
  [[nodiscard]] StagedRedaction& redactions() { return *redaction_; }

  /// Told what is under way; set before the first capture.
  std::function<void(CaptureActivity, bool running)> onActivity;

  /// A picture that was not captured here, to be filed as if it had been.
  struct Import {
    std::string png;  ///< the bytes of a whole PNG file
    double capturedAt = 0;
    StagedCaptureRecord record;                          ///< with the id that its entry will have
    std::optional<StagedCapture> staged{};               ///< once it is safe on disk
    std::function<void(const Path& staged)> onStaged{};  ///< told then, before it is filed
  };

  /// Stages and files it. One that failed may be tried again, and is filed once; what was staged is
  /// otherwise filed by the next launch.
  void import(std::shared_ptr<Import> import, StillCaptureFiling::Filed filed);

  /// Makes a picture safe, and nothing more: the next launch files it. For the end of a process
  /// that nobody announced; to be called on a thread that may wait for the disk.
  using Stage =
      std::function<Result<void>(std::string_view png, double capturedAt, StagedCaptureRecord)>;
  [[nodiscard]] Stage stage() const;

  /// What keeps a scrolling session on disk while it runs.
  [[nodiscard]] std::shared_ptr<ScrollingSpool> makeSpool(ScrollingSpool::Session session) const;

  /// Files what an earlier run left staged, or of a scrolling session.
  void recoverStaged(std::function<void(int filed)> done);

  /// Answers with the staged files that this process is filing, what it is staging among them.
  void whenStagingKnown(std::function<void(const std::set<Path>& underWay)> known);

 private:
  [[nodiscard]] CaptureFileSettings fileSettings() const;
  [[nodiscard]] StillCaptureBackend backend() const;
  [[nodiscard]] std::function<void()> sessionRecovery() const;

  Services services_;
  std::shared_ptr<StagingFolder> staging_;
  std::unique_ptr<StagedRedaction> redaction_;
  std::unique_ptr<StillCaptureFiling> filing_;
  std::unique_ptr<TimedCaptureController> countdown_;
  std::unique_ptr<StillCapturePipeline> pipeline_;
  std::unique_ptr<StagedCaptureRecovery> recovery_;
  Observation storageObservation_;
  Lifetime lifetime_;
};

}  // namespace vantorel
