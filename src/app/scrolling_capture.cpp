#include "app/scrolling_capture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <new>
#include <utility>

#include "app/scrolling_safekeeping.hpp"
#include "base/bounded_run.hpp"
#include "base/check.hpp"
#include "base/count_text.hpp"
#include "base/log.hpp"
#include "base/random_id.hpp"
#include "base/round_trip.hpp"
#include "scrolling/latest_frame_conduit.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;

constexpr double framesPerSecond = 60;

constexpr auto startBound = 5s;
constexpr auto startCap = 60s;  // while a dialog of the desktop waits for the user
constexpr auto stopBound = 2s;
constexpr auto rescueBound = 30s;

/// A window that is moved takes its frame along.
constexpr auto windowLook = 500ms;

/// The picture so far shows whole on the panel until it is narrower than this, in pixels.
constexpr int leastPreviewWidth = 300;

/// So many heights of the area are soon scrolled again; what is taller is not thrown away unasked.
constexpr int unaskedHeights = 3;

constexpr const char* failedTitle = "Scrolling Capture failed";
constexpr const char* unsavedTitle = "Scrolling Capture not saved";

constexpr const char* scrollOn =
    "Scroll the page. Done in the panel, or the command's key, files it; Ctrl-C cancels.";

constexpr const char* isFull =
    "The picture is as large as pictures may be. What was scrolled to afterwards isn't in it.";
constexpr const char* sizeChanged = "what is captured changed its size or its scale";

CaptureReply cancelled() { return CaptureOutcome{CaptureOutcome::Cancelled{}}; }

CaptureReply failure(CaptureFailure::Case what, std::string reason = {}) {
  return CaptureOutcome{CaptureFailure{what, std::move(reason)}};
}

/// What the main runner is told of a frame.
struct SeenFrame {
  ScrollingSight sight = ScrollingSight::waiting;
  int height = 0;
  int frameHeight = 0;
  Image preview;
};

}  // namespace

/// What the picture came to.
struct ScrollingCapture::Joined {
  PixelSize size;
  bool hasGrown = false;
  Result<std::string, std::string> png;
};

/// The joining of one capture's frames. Everything on the frames' runner, where it is also freed.
class ScrollingCapture::Joining {
 public:
  Joining(LatestFrameConduit<SeenFrame>::Entrance seen, PointRect area)
      : seen_(std::move(seen)), area_(area) {}

  void add(const Frame& frame) {
    if (isClosed_) return;
    // The pointer alone has moved.
    if (frameSize_ && frame.damage.empty()) return;
    SeenFrame seen{.frameHeight = frame.image.height()};
    if (!frameSize_) {
      frameSize_ = frame.targetSize;
      scale_.display = frame.scale;
    }
    try {
      ScrollingCanvas::Step step;
      if (frame.targetSize == *frameSize_ && frame.scale == scale_.display) {
        step = canvas_.add({.image = frame.image,
                            .contentRect = area_,
                            .displayTime = std::chrono::duration<double>(frame.time).count()},
                           scale_);
      } else {
        step = {.sight = ScrollingSight::scaleChanged, .height = canvas_.size().height};
      }
      seen.sight = step.sight;
      seen.height = step.height;
      if (std::exchange(shownHeight_, step.height) != step.height) {
        preview_ = canvas_.preview(previewSize, leastPreviewWidth);
      }
    } catch (const std::bad_alloc&) {
      logWarning("Scrolling", "there is no memory for more of the page");
      seen.sight = ScrollingSight::full;
      seen.height = canvas_.size().height;
    }
    if (safekeeping_ && canvas_.hasGrown()) safekeeping_->changed();
    seen.preview = preview_;
    isClosed_ = seen.sight == ScrollingSight::full || seen.sight == ScrollingSight::scaleChanged;
    seen_.submit(std::move(seen));
  }

  /// Encodes what it has, once. It can be asked again after a failure.
  void join(const ImageCodec& codec, double scale, double createdAt) {
    isClosed_ = true;
    if (joined_.png && !joined_.png->empty()) return;
    if (picture_.isEmpty()) {
      if (safekeeping_) safekeeping_->keepRest();
      hasGrown_ = canvas_.hasGrown();
      picture_ = canvas_.finish();
    }
    joined_ = {.size = picture_.size(), .hasGrown = hasGrown_, .png = {}};
    if (picture_.isEmpty()) return;
    auto png = codec.encode(
        picture_, {.format = ExportFormat::png, .pixelsPerPoint = scale, .createdAt = createdAt});
    if (!png) {
      joined_.png = std::unexpected(std::move(png.error().reason));
      return;
    }
    joined_.png = *std::move(png);
    picture_ = {};
  }

  /// What that came to; for whoever was told that it is done.
  [[nodiscard]] Joined& joined() { return joined_; }

  /// Before the first frame.
  void keepSafe(std::shared_ptr<ScrollingSafekeeping> safekeeping) {
    safekeeping_ = std::move(safekeeping);
  }

  [[nodiscard]] const ScrollingCanvas& canvas() const { return canvas_; }

  void close() {
    isClosed_ = true;
    canvas_ = ScrollingCanvas();
    picture_ = {};
  }

 private:
  LatestFrameConduit<SeenFrame>::Entrance seen_;
  PointRect area_;
  ScrollingCanvas canvas_;
  std::shared_ptr<ScrollingSafekeeping> safekeeping_;
  std::optional<PixelSize> frameSize_;
  ScrollFrameScale scale_;
  Image preview_;
  int shownHeight_ = 0;
  Image picture_;  // once it is whole
  Joined joined_;
  bool hasGrown_ = false;
  bool isClosed_ = false;
};

struct ScrollingCapture::Taking {
  StillCaptureCommand command;
  StillCapturePipeline::Finished finished;
  ScrollingHooks hooks;
  bool isAnsweredAtDesktop = false;
  bool isChoosing = false;

  Phase phase = Phase::starting;
  ChosenTarget target;
  double capturedAt = 0;
  double scale = 1;
  std::string entryID = randomID();
  std::shared_ptr<ScrollingSpool> spool;
  std::optional<LatestFrameConduit<SeenFrame>> conduit;
  std::shared_ptr<Joining> joining;
  std::unique_ptr<FrameStream> stream;
  SeenFrame latest;
  End end = End::done;
  std::string endedBecause;  // of one that ended by itself
  std::vector<std::string> remarks;
  std::string trouble;         // why it is not saved
  bool isQuitWaiting = false;  // which that held up
  bool isPanelOpen = false;
  AlertID question = 0;
  std::shared_ptr<StillCaptures::Import> import;
  std::optional<PendingArchiveWork::Ticket> ticket;
};

/// Does nothing once the capture that runs now has been let go of.
template <class Callable>
auto ScrollingCapture::whileNow(Callable callable) {
  return lifetime_.guard([this, weak = std::weak_ptr<Taking>(now_),
                          callable = std::move(callable)](auto&&... arguments) mutable {
    const std::shared_ptr<Taking> taking = weak.lock();
    if (taking && taking == now_) callable(std::forward<decltype(arguments)>(arguments)...);
  });
}

ScrollingCapture::~ScrollingCapture() {
  if (now_) letGo(Spool::kept);
}

ScrollingCapture::Phase ScrollingCapture::phase() const { return now_ ? now_->phase : Phase::idle; }

// ---- the choice

void ScrollingCapture::takeForUser() {
  if (now_) return finish();
  take({.kind = StillCaptureCommand::Kind::scroll,
        .mayBeRepeated = true,
        .isAnsweredAtDesktop = true},
       [](const CaptureReply&) {});
}

void ScrollingCapture::take(StillCaptureCommand command, StillCapturePipeline::Finished finished,
                            ScrollingHooks hooks) {
  const auto taking = std::make_shared<Taking>();
  taking->finished = std::move(finished);
  taking->hooks = std::move(hooks);
  taking->isAnsweredAtDesktop = std::exchange(command.isAnsweredAtDesktop, false);
  command.kind = StillCaptureCommand::Kind::scroll;
  taking->command = command;
  command.handTarget =
      lifetime_.guard([this, taking](ChosenTarget target) { chosen(taking, std::move(target)); });
  if (command.timeout) {
    services_.main->postAfter(*command.timeout,
                              lifetime_.guard([this, weak = std::weak_ptr<Taking>(taking)] {
                                const auto late = weak.lock();
                                if (!late) return;
                                if (late->isChoosing) return services_.coordinator.cancelCapture();
                                if (late != now_) return;
                                if (now_->phase == Phase::starting) return giveUp(cancelled());
                                end(End::done);
                              }));
  }
  services_.coordinator.capture(
      std::move(command), lifetime_.guard([this, taking](CaptureReply reply) {
        taking->isChoosing = false;
        const auto* const outcome = std::get_if<CaptureOutcome>(&reply);
        if (outcome != nullptr &&
            std::holds_alternative<CaptureOutcome::HandedOver>(outcome->value))
          return;
        answer(taking, std::move(reply));
      }),
      [taking] {
        taking->isChoosing = !taking->hooks.begins || taking->hooks.begins();
        return taking->isChoosing;
      });
}

void ScrollingCapture::chosen(const std::shared_ptr<Taking>& taking, ChosenTarget target) {
  if (now_) return answer(taking, CaptureRefusal::captureRunning);
  if (!target.shown.isEmpty() && target.shown.height < leastHeight) {
    return answer(taking, CaptureRefusal::areaTooLow);
  }
  now_ = taking;
  taking->target = std::move(target);
  taking->scale = taking->target.scale;
  taking->capturedAt = services_.clock->now();
  if (!taking->target.cut.empty()) taking->remarks.push_back(taking->target.cut);
  setPhase(Phase::starting);
  taking->conduit.emplace(services_.main, whileNow([this](SeenFrame frame) {
                            now_->latest = std::move(frame);
                            seen();
                          }));
  const PixelRect& area = taking->target.shown;
  const double scale = taking->scale;
  taking->joining = std::make_shared<Joining>(
      taking->conduit->entrance(),
      PointRect{area.x / scale, area.y / scale, area.width / scale, area.height / scale});
  StagedCaptureRecord record = recordOf(*now_);
  record.isTallCapture = true;
  now_->spool = services_.captures.makeSpool({now_->capturedAt, std::move(record)});
  now_->joining->keepSafe(std::make_shared<ScrollingSafekeeping>(ScrollingSafekeeping::Services{
      .frames = services_.frames,
      .disk = services_.disk,
      .spool = now_->spool,
      .changes =
          [weak = std::weak_ptr<Joining>(now_->joining)](const TallState& known, std::size_t most) {
            const auto joining = weak.lock();
            return joining ? joining->canvas().changes(known, most) : TallChanges();
          },
      .failed = [main = services_.main,
                 told = std::function<void(const std::string&)>(
                     whileNow([this](const std::string& reason) { notKeptSafe(reason); }))](
                    const std::string& reason) { main->post([told, reason] { told(reason); }); }}));
  FrameListener listener{
      .frame = [joining = taking->joining](const Frame& frame) { joining->add(frame); },
      .runner = services_.frames,
      .ended = whileNow([this](const Failure& why) { ended(why.reason); })};
  using Started = Result<std::unique_ptr<FrameStream>>;
  runBounded<Started>(
      services_.main,
      {startBound, startCap,
       [&screen = services_.screen] { return screen.isSystemDialogVisible(); }},
      [this, listener = std::move(listener)](auto reply) mutable {
        services_.streams.start({.target = now_->target.target, .framesPerSecond = framesPerSecond},
                                std::move(listener), std::move(reply));
      },
      whileNow([this](std::optional<Started> stream) {
        if (!stream) {
          return giveUp(failure(CaptureFailure::Case::screenCaptureDidNotAnswer));
        }
        started(*std::move(stream));
      }),
      nullptr);
}

void ScrollingCapture::started(Result<std::unique_ptr<FrameStream>> stream) {
  if (!stream) {
    switch (stream.error().kind) {
      case FailureKind::denied: return giveUp(failure(CaptureFailure::Case::permissionDenied));
      case FailureKind::cancelled: return giveUp(cancelled());
      case FailureKind::notFound:
        if (now_->command.window) return giveUp(CaptureRefusal::unknownWindow);
        [[fallthrough]];
      default: return giveUp(failure(CaptureFailure::Case::interrupted, stream.error().reason));
    }
  }
  now_->stream = *std::move(stream);
  now_->scale = now_->stream->scale();
  now_->phase = Phase::following;
  if (ScrollingPanel* const panel = services_.panel()) {
    now_->isPanelOpen = true;
    panel->open({.area = now_->target.shown,
                 .mayCover = now_->stream->leavesOutOwnWindows(),
                 .done = lifetime_.guard([this] { finish(); }),
                 .cancel = lifetime_.guard([this] { cancel(); })});
  }
  setPhase(Phase::following);
  if (now_->hooks.onWord && !now_->command.timeout) now_->hooks.onWord(scrollOn);
  if (std::holds_alternative<WindowTarget>(now_->target.target)) followWindow();
}

// ---- while it is scrolled

void ScrollingCapture::seen() {
  if (now_->phase != Phase::following) return;
  switch (now_->latest.sight) {
    case ScrollingSight::full: now_->remarks.emplace_back(isFull); return end(End::done);
    case ScrollingSight::scaleChanged: return ended(sizeChanged);
    default: return showProgress();
  }
}

/// The stream goes along with a window that is moved; so do panel and frame.
void ScrollingCapture::followWindow() {
  services_.main->postAfter(
      windowLook, whileNow([this] {
        if (now_->phase != Phase::following) return;
        services_.windows.windows(whileNow([this](const Result<std::vector<WindowSnapshot>>& open) {
          const auto* const target = std::get_if<WindowTarget>(&now_->target.target);
          if (now_->phase != Phase::following || !open || target == nullptr) return;
          const auto found = std::ranges::find(*open, target->windowID, &WindowSnapshot::windowID);
          if (found == open->end()) return;
          const PixelRect area = toPixels(found->frame, now_->target.scale);
          if (std::exchange(now_->target.shown, area) == area || !now_->isPanelOpen) return;
          services_.panel()->moveTo(area);
        }));
        followWindow();
      }));
}

void ScrollingCapture::ended(std::string why) {
  if (now_->phase == Phase::starting) {
    return giveUp(failure(CaptureFailure::Case::interrupted, std::move(why)));
  }
  if (now_->phase != Phase::following) return;
  now_->endedBecause = std::move(why);
  end(End::byItself);
}

void ScrollingCapture::finish() {
  if (!now_) return;
  if (now_->phase == Phase::following) return end(End::done);
  if (now_->phase != Phase::unsaved) return;
  now_->ticket =
      services_.coordinator.pendingArchiveWork().begin(QuitFilingNote::Item::scrollingCapture);
  setPhase(Phase::saving);
  now_->import ? save() : join();
}

void ScrollingCapture::settle() {
  if (!now_) return;
  if (now_->phase == Phase::starting) return giveUp(cancelled());
  if (now_->phase == Phase::following) return end(End::quitting);
  finish();
}

void ScrollingCapture::cancel() {
  if (!now_ || now_->phase == Phase::saving || now_->question != 0) return;
  const bool isLarge = now_->latest.height > unaskedHeights * now_->latest.frameHeight;
  if (now_->phase != Phase::unsaved && !isLarge) return callOff();
  now_->question = services_.alerts.ask(
      {.style = Alert::Style::warning,
       .message = "Discard this Scrolling Capture?",
       .informative = fmt::format("It is {} pixels high, and can't be brought back.",
                                  countText(static_cast<std::uint64_t>(now_->latest.height))),
       .buttons = {{"Discard"}, {"Keep", true, true}}},
      whileNow([this](std::size_t button) {
        now_->question = 0;
        if (button == 0) callOff();
      }));
}

void ScrollingCapture::callOff() {
  if (!now_) return services_.coordinator.cancelCapture();
  if (now_->phase != Phase::saving) giveUp(cancelled());
}

bool ScrollingCapture::focusPanel() {
  return now_ && now_->isPanelOpen && services_.panel()->takeKeyboard();
}

void ScrollingCapture::showProgress() {
  if (!now_->isPanelOpen) return;
  const auto shown = [&] {
    switch (now_->phase) {
      case Phase::saving: return ScrollingProgress::Phase::saving;
      case Phase::unsaved: return ScrollingProgress::Phase::unsaved;
      default: return ScrollingProgress::Phase::following;
    }
  };
  services_.panel()->show({.phase = shown(),
                           .sight = now_->latest.sight,
                           .height = now_->latest.height,
                           .preview = now_->latest.preview,
                           .trouble = now_->trouble});
}

void ScrollingCapture::setPhase(Phase phase) {
  now_->phase = phase;
  services_.coordinator.arbiter().set(CaptureActivity::scrollingCapture, true);
  showProgress();
  services_.coordinator.menuChanged();
}

// ---- the end

void ScrollingCapture::end(End why) {
  if (now_->phase != Phase::following) return;
  now_->end = why;
  now_->ticket =
      services_.coordinator.pendingArchiveWork().begin(QuitFilingNote::Item::scrollingCapture);
  if (now_->question != 0) services_.alerts.dismiss(std::exchange(now_->question, 0));
  setPhase(Phase::saving);
  // One that has ended has nothing more to stop; its frames are on their way already.
  if (why == End::byItself) return join();
  struct Stopped {};
  runBounded<Stopped>(
      services_.main, {stopBound, stopBound, {}},
      [stream = now_->stream.get()](auto reply) {
        stream->stop([reply = std::move(reply)]() mutable { reply({}); });
      },
      whileNow([this](std::optional<Stopped>) { join(); }), nullptr);
}

void ScrollingCapture::join() {
  now_->stream.reset();
  roundTrip(
      *services_.frames, services_.main,
      [joining = now_->joining, codec = services_.codec, scale = now_->scale,
       createdAt = now_->capturedAt] { joining->join(*codec, scale, createdAt); },
      whileNow([this] { joined(); }));
}

StagedCaptureRecord ScrollingCapture::recordOf(const Taking& taking) const {
  StagedCaptureRecord record;
  record.scale = taking.scale;
  record.entryID = taking.entryID;
  record.sourceApp = taking.target.sourceApp;
  record.awaitsRedaction = services_.settings.values().smartRedactAfterCapture;
  return record;
}

void ScrollingCapture::joined() {
  Joined& result = now_->joining->joined();
  if (result.size == PixelSize{}) {
    return giveUp(failure(CaptureFailure::Case::interrupted, now_->endedBecause.empty()
                                                                 ? "no picture of it came"
                                                                 : now_->endedBecause));
  }
  if (!result.hasGrown && now_->end == End::quitting) return giveUp(cancelled());
  if (!now_->endedBecause.empty()) {
    if (!result.hasGrown) {
      return giveUp(failure(CaptureFailure::Case::interrupted,
                            now_->endedBecause + ", before anything was scrolled"));
    }
    now_->remarks.push_back(
        fmt::format("The Scrolling Capture ended early: {}. What was scrolled until then is in it.",
                    std::exchange(now_->endedBecause, {})));
  }
  if (!result.png) return notSaved(result.png.error());
  StagedCaptureRecord record = recordOf(*now_);
  record.isTallCapture = result.hasGrown;
  now_->import = std::make_shared<StillCaptures::Import>(
      StillCaptures::Import{.png = *std::move(result.png),
                            .capturedAt = now_->capturedAt,
                            .record = std::move(record),
                            .onStaged = whileNow([this](const Path& file) { staged(file); })});
  save();
}

void ScrollingCapture::save() {
  services_.captures.import(
      now_->import, lifetime_.guard([this, taking = now_](Result<CaptureOutcome::Saved> saved) {
        filed(taking, std::move(saved));
      }));
}

/// It is safe: the next capture may begin. It is filed meanwhile.
void ScrollingCapture::staged(const Path& file) {
  const std::shared_ptr<Taking> taking = now_;
  taking->import->png = {};
  letGo();
  if (taking->isAnsweredAtDesktop) services_.coordinator.stagedAtDesktop();
  if (taking->hooks.onStaged) taking->hooks.onStaged(file);
}

void ScrollingCapture::filed(const std::shared_ptr<Taking>& taking,
                             Result<CaptureOutcome::Saved> saved) {
  if (!saved && taking == now_) return notSaved(saved.error().reason);
  if (!saved) {
    return answer(taking, failure(CaptureFailure::Case::writeFailed, saved.error().reason));
  }
  saved->copies |= taking->target.copies;
  saved->shown = taking->target.shown;
  std::ranges::move(taking->remarks, std::back_inserter(saved->remarks));
  answer(taking, CaptureOutcome{*std::move(saved)});
}

/// It stays as it is, to be tried again.
void ScrollingCapture::notSaved(const std::string& reason) {
  logError("Scrolling", "the capture could not be saved: {}", reason);
  now_->trouble = fmt::format("Couldn't be saved: {}.", reason);
  const auto ticket = std::exchange(now_->ticket, std::nullopt);
  if (!now_->isPanelOpen) {
    // The next launch files it from there.
    giveUp(failure(CaptureFailure::Case::writeFailed, reason), Spool::kept);
  } else {
    setPhase(Phase::unsaved);
    // Before the quit hears that nothing is pending any more.
    if (services_.coordinator.termination().isInProgress()) {
      now_->isQuitWaiting = true;
      services_.coordinator.termination().scrollingCaptureNotSaved();
    } else {
      services_.alerts.notify(
          unsavedTitle,
          now_->trouble + " It stays open: Try Again in its panel saves it once there is room.");
    }
    if (now_->hooks.onWord) now_->hooks.onWord(now_->trouble + " Its panel can try again.");
    // Nobody is at the panel for a script.
    if (now_->command.timeout && now_->finished) {
      std::exchange(now_->finished, nullptr)(failure(CaptureFailure::Case::writeFailed, reason));
    }
  }
  if (ticket) services_.coordinator.pendingArchiveWork().end(*ticket);
}

void ScrollingCapture::rescue() {
  if (!now_ || now_->phase == Phase::starting) return;
  const auto done = std::make_shared<std::promise<void>>();
  services_.frames->post([done, stage = services_.captures.stage(), joining = now_->joining,
                          import = now_->import, codec = services_.codec, record = recordOf(*now_),
                          scale = now_->scale, capturedAt = now_->capturedAt]() mutable {
    const auto safe = [&]() -> Result<void> {
      // Staged twice, it is filed once: by its id.
      if (import) return stage(import->png, capturedAt, import->record);
      joining->join(*codec, scale, capturedAt);
      const Joined& joined = joining->joined();
      if (!joined.hasGrown) return {};
      if (!joined.png) return failed(FailureKind::other, joined.png.error());
      record.isTallCapture = true;
      return stage(*joined.png, capturedAt, std::move(record));
    }();
    if (!safe) logError("Scrolling", "the capture is lost: {}", safe.error().reason);
    done->set_value();
  });
  (void)done->get_future().wait_for(rescueBound);
}

/// The capture goes on, and is in memory alone meanwhile.
void ScrollingCapture::notKeptSafe(const std::string& reason) {
  if (now_->phase != Phase::following || !now_->hooks.onWord) return;
  now_->hooks.onWord(fmt::format(
      "What is joined can't be kept on disk meanwhile: {}. The capture goes on without.", reason));
}

/// Another capture may begin.
void ScrollingCapture::letGo(Spool spool) {
  const std::shared_ptr<Taking> taking = std::exchange(now_, nullptr);
  if (taking->question != 0) services_.alerts.dismiss(taking->question);
  taking->stream.reset();
  taking->conduit.reset();
  if (std::exchange(taking->isPanelOpen, false)) services_.panel()->close();
  // The picture is large, and freed where it was made.
  services_.frames->post([joining = std::move(taking->joining)] { joining->close(); });
  if (taking->spool) {
    services_.disk->post([kept = std::move(taking->spool), spool] {
      spool == Spool::kept ? kept->release() : kept->remove();
    });
  }
  services_.coordinator.arbiter().set(CaptureActivity::scrollingCapture, false);
  services_.coordinator.menuChanged();
}

void ScrollingCapture::giveUp(CaptureReply reply, Spool spool) {
  const std::shared_ptr<Taking> taking = now_;
  letGo(spool);
  answer(taking, std::move(reply));
}

void ScrollingCapture::answer(const std::shared_ptr<Taking>& taking, CaptureReply reply) {
  const auto* const refused = std::get_if<CaptureRefusal>(&reply);
  const bool isRepeated = taking->command.mayBeRepeated && refused != nullptr &&
                          *refused == CaptureRefusal::captureRunning;
  const auto* const outcome = std::get_if<CaptureOutcome>(&reply);
  const bool isSaved =
      outcome != nullptr && std::holds_alternative<CaptureOutcome::Saved>(outcome->value);
  services_.coordinator.conclude(std::move(reply),
                                 {.copies = taking->command.copies,
                                  .isAnsweredAtDesktop = taking->isAnsweredAtDesktop && !isRepeated,
                                  .refusedTitle = failedTitle,
                                  .failedTitle = failedTitle,
                                  .savedTitle = "Scrolling Capture saved"},
                                 lifetime_.guard([this, taking, isSaved](CaptureReply end) {
                                   if (taking->finished)
                                     std::exchange(taking->finished, nullptr)(std::move(end));
                                   if (taking->ticket) {
                                     services_.coordinator.pendingArchiveWork().end(
                                         *std::exchange(taking->ticket, std::nullopt));
                                   }
                                   if (isSaved && taking->isQuitWaiting) {
                                     services_.coordinator.quitUnasked();
                                   }
                                 }));
}

}  // namespace vantorel
