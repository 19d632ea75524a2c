#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/records/capture_activity.hpp"
#include "base/bounded_run.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/capture_outcome.hpp"
#include "capture/desktop_icon_cover.hpp"
#include "capture/previous_area_monitor.hpp"
#include "capture/still_capture_filing.hpp"
#include "capture/timed_capture_controller.hpp"
#include "platform/clock.hpp"
#include "platform/image_codec.hpp"
#include "platform/screen_capture.hpp"
#include "platform/window_list.hpp"

namespace vantorel {

/// Who asked for a capture.
enum class CaptureOrigin { user, remote };

/// Why a capture never began, apart from failures of the screen.
enum class CaptureRefusal {
  captureRunning,
  modalDialogUp,
  quitting,
  noPreviousArea,
  previousAreaDisplayDisconnected,
  previousAreaGeometryChanged,
  unknownDisplay,
  unknownWindow,
  noWindows,
  unreadableArea,
  displaysChanged,
  areaTooLow,
};

[[nodiscard]] std::string sentence(CaptureRefusal refusal);

/// Why the remembered region cannot be captured; nothing when it can.
[[nodiscard]] std::optional<CaptureRefusal> refusalOf(const RegionAvailability& availability);

using CaptureReply = std::variant<CaptureOutcome, CaptureRefusal>;

/// A picture of the screen for somebody who does not want it saved.
struct HandedPicture {
  Image image;
  double scale = 1;       ///< pixels per point
  double capturedAt = 0;  ///< seconds since 1970-01-01 UTC
  std::optional<SourceApp> sourceApp{};
};

/// What of the screen was named or chosen, for somebody who takes it himself.
struct ChosenTarget {
  CaptureTarget target;  ///< its display is connected
  double scale = 1;      ///< pixels per point
  PixelRect shown{};     ///< in pixels of the desktop; empty when that is not known
  std::optional<SourceApp> sourceApp{};
  std::string cut{};  ///< what of a named area lies beyond the display; a sentence, mostly empty
  bool copies = false;
};

/// What one still capture is to be.
struct StillCaptureRequest {
  CaptureMode mode = CaptureMode::region;

  /// The target, when the caller names it; else the user chooses, or, for a display, the main one
  /// is taken. A display may be named by id, uuid or name; an empty one is the main display.
  std::optional<CaptureTarget> target;
  std::chrono::seconds delay{0};

  /// The pointer belongs into the picture.
  bool showsPointer = false;

  /// Holds `timedCapture` instead of `plainCapture`.
  bool isTimedCapture = false;

  /// Told the file in which the picture is safe, before it is filed.
  std::function<void(const Path& staged)> onStaged{};

  /// Told, before one that is to be looked through is filed, where on the desktop it was taken.
  std::function<void(const PixelRect& shown)> onLookedThrough{};

  /// Gets the picture, which is neither saved nor filed then, after the capture has ended.
  std::function<void(HandedPicture)> handOver{};

  /// Gets the target, of which no picture is taken then, after the choice has ended.
  std::function<void(ChosenTarget)> handTarget{};

  /// As in `SelectionOverlay::Request`.
  int leastScrolledHeight = 0;

  /// What it holds meanwhile, where it is not a still of its own.
  std::optional<CaptureActivity> activity{};
};

/// What the settings say, read at each grab.
struct StillCaptureBackend {
  bool windowShadow = true;
  bool hidesDesktopIcons = false;
  bool redactsAfterCapture = false;  ///< nothing is published before Smart Redact has looked
  bool adjustsArea = false;          ///< a dragged area is adjusted before it is taken
  TimeBound bound;                   ///< for each wait for the capture service
};

/// Turns a still-capture command into a staged picture and hands it to filing. One capture at a
/// time; one that Smart Redact looks through once it is staged holds up no other. Lives on the main
/// runner; grabs are the platform's, encoding runs on `work`.
class StillCapturePipeline {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<const Clock> clock;
    ScreenCapture* screen = nullptr;
    WindowList* windows = nullptr;
    std::shared_ptr<const ImageCodec> codec;
    std::shared_ptr<StagingFolder> staging;
    StillCaptureFiling* filing = nullptr;
    TimedCaptureController* countdown = nullptr;
    std::shared_ptr<DesktopIconCover> iconCover;  ///< null: no desktop to cover

    /// Made when first needed; null when there is nothing to select on.
    std::function<SelectionOverlay*()> overlay;
    std::function<StillCaptureBackend()> backend;
    std::function<std::optional<RememberedRegion>()> rememberedRegion;
    std::function<void(RememberedRegion)> rememberRegion;
    std::function<void(CaptureActivity, bool running)> setActivity;
  };

  explicit StillCapturePipeline(Services services);
  ~StillCapturePipeline();

  using Finished = std::move_only_function<void(CaptureReply)>;

  void capture(StillCaptureRequest request, Finished finished);
  /// `request` without a target: the remembered region is it.
  void capturePreviousArea(StillCaptureRequest request, Finished finished);

  using Grabbed = std::move_only_function<void(Result<GrabbedPicture>)>;

  /// Files what `capturing` grabs, on behalf of an agent: the same path, without countdown and
  /// without touching the remembered region. `onFiled` is called before `finished`, when saved.
  void captureForRemote(CaptureMode mode, CaptureOrigin origin,
                        std::function<void(const ScreenshotEntry&)> onFiled,
                        std::move_only_function<void(Grabbed)> capturing, Finished finished);

  /// Calls off the capture that waits for the user or the countdown, or is on the way there; one
  /// that is grabbing or saving goes on.
  void cancel();

  /// The program is about to end: what waits for the user, or comes to, is called off; what needs
  /// nobody any more goes on until it is saved.
  void settle();

  [[nodiscard]] bool captureInFlight() const { return run_ != nullptr; }

 private:
  struct Run;
  using Step = void (StillCapturePipeline::*)();

  void start(StillCaptureRequest request, Finished finished);
  void withDisplays(Step next);
  void resolve();
  void choose();
  void freeze(std::size_t index);
  void chosen(SelectionOverlay::Answer choice);
  void rememberArea();
  void countDown();
  void coverIcons();
  void grab();
  [[nodiscard]] std::vector<WindowID> coverWindowIDs() const;
  void grabbed(std::optional<Result<GrabbedPicture>> answer);
  void handTarget();
  void nameSourceApp();
  void stage(std::optional<SourceApp> app);
  void file(StagedCapture staged);
  void reached(std::string_view step);
  void finish(CaptureReply reply);
  std::shared_ptr<Run> letGo();
  void fail(CaptureFailure::Case what, std::string reason = {});
  void failGrab(const Failure& failure);

  Services services_;
  std::shared_ptr<Run> run_;
  Lifetime lifetime_;
};

}  // namespace vantorel
