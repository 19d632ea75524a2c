#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/app_coordinator.hpp"
#include "app/scrolling_panel.hpp"
#include "app/still_capture_command.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/still_capture_pipeline.hpp"
#include "platform/clock.hpp"
#include "platform/frame_stream.hpp"
#include "platform/image_codec.hpp"
#include "platform/window_list.hpp"

namespace vantorel {

/// Who else is told of a scrolling capture.
struct ScrollingHooks {
  /// See `AppCoordinator::capture`.
  std::function<bool()> begins{};
  /// Told the file in which the picture is safe, before it is filed.
  std::function<void(const Path& staged)> onStaged{};
  /// Told, in a sentence, what somebody without the panel should know meanwhile.
  std::function<void(const std::string& sentence)> onWord{};
};

/// Captures an area or a window while its page is scrolled, as one tall picture that is filed like
/// every capture. One at a time; no other capture may begin from the choice of the area until the
/// picture is safe on disk. What was joined is never lost by anything but the user's wish: when the
/// area goes away or the program ends it is filed, and when it can't be saved it stays until it
/// can. A crash costs what was joined in its last second: the rest is on disk meanwhile
/// (`ScrollingSafekeeping`), from where the next launch files it. Lives on the main runner; frames
/// are joined and encoded on `frames`.
class ScrollingCapture {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> frames;  ///< serial; nothing else runs there
    std::shared_ptr<TaskRunner> disk;    ///< serial; keeps what is joined safe meanwhile
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<const ImageCodec> codec;
    FrameStreams& streams;
    ScreenCapture& screen;
    WindowList& windows;
    StillCaptures& captures;
    AppCoordinator& coordinator;
    SettingsStore& settings;
    Alerts& alerts;
    std::function<ScrollingPanel*()> panel;  ///< null when there are no windows
  };

  /// What it is about.
  enum class Phase {
    idle,       ///< or the user is still choosing
    starting,   ///< the first frame has not come
    following,  ///< frames are joined
    saving,     ///< until the picture is safe on disk
    unsaved,    ///< it could not be saved
  };

  /// Pixels that an area must be high: less leaves no overlap to tell by how far it was scrolled.
  static constexpr int leastHeight = 240;

  /// In pixels, of the picture that grows on the panel: twice its size there.
  static constexpr PixelSize previewSize{452, 272};

  explicit ScrollingCapture(Services services) : services_(std::move(services)) {}
  ~ScrollingCapture();

  /// `command` says what to take; an area is chosen by the user where none is named. One that is
  /// answered at the desktop is answered there too. `finished` is told when it is filed or has come
  /// to nothing.
  void take(StillCaptureCommand command, StillCapturePipeline::Finished finished,
            ScrollingHooks hooks = {});

  /// For a person at the desktop: begins one, or ends the one that runs and files it.
  void takeForUser();

  /// The user is content with what there is. Of one that is unsaved: tries again.
  void finish();

  /// The user does not want it. Asks first where much would be lost.
  void cancel();

  /// Likewise, of one who has said so where nothing can be asked.
  void callOff();

  /// The program is about to end: what was joined is filed first.
  void settle();

  /// The process is ending already, as when the display server has gone: makes what was joined safe
  /// on disk, where the next launch finds it. Blocks, for half a minute at most.
  void rescue();

  /// Gives the keyboard to the panel. False while there is none.
  bool focusPanel();

  [[nodiscard]] Phase phase() const;

 private:
  class Joining;
  struct Taking;
  struct Joined;
  enum class End { done, byItself, quitting };

  template <class Callable>
  [[nodiscard]] auto whileNow(Callable callable);
  void chosen(const std::shared_ptr<Taking>& taking, ChosenTarget target);
  void started(Result<std::unique_ptr<FrameStream>> stream);
  void seen();
  void followWindow();
  void ended(std::string why);
  void end(End why);
  void join();
  void joined();
  [[nodiscard]] StagedCaptureRecord recordOf(const Taking& taking) const;
  void save();
  void staged(const Path& file);
  void filed(const std::shared_ptr<Taking>& taking, Result<CaptureOutcome::Saved> saved);
  void notSaved(const std::string& reason);
  void showProgress();
  void setPhase(Phase phase);
  /// What becomes of the picture on the disk.
  enum class Spool { removed, kept };
  void letGo(Spool spool = Spool::removed);
  void giveUp(CaptureReply reply, Spool spool = Spool::removed);
  void notKeptSafe(const std::string& reason);
  void answer(const std::shared_ptr<Taking>& taking, CaptureReply reply);

  Services services_;
  std::shared_ptr<Taking> now_;  ///< from the choice until the picture is safe
  Lifetime lifetime_;
};

}  // namespace vantorel
