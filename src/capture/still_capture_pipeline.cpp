#include "capture/still_capture_pipeline.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/check.hpp"
#include "base/log.hpp"
#include "base/random_id.hpp"
#include "base/round_trip.hpp"
#include "base/spent_time.hpp"
#include "capture/source_app_resolution.hpp"

namespace vantorel {
namespace {

/// Naming the application must never hold a capture up.
constexpr std::chrono::milliseconds windowListBound{700};

constexpr const char* iconsAreShown =
    "The desktop's icons could not be hidden: only Vantorel in the tray can do that.";

/// What of the area lies on the display; empty when nothing does.
PixelRect partOn(const DisplaySnapshot& display, const PointRect& rect) {
  const bool isArea =
      std::isfinite(rect.x) && std::isfinite(rect.y) && rect.width > 0 && rect.height > 0;
  if (!isArea) return {};
  return intersection(toPixels(rect, display.scale()),
                      {0, 0, display.pixelSize.width, display.pixelSize.height});
}

PointRect toPoints(const PixelRect& rect, double scale) {
  return {rect.x / scale, rect.y / scale, rect.width / scale, rect.height / scale};
}

CaptureReply replyTo(SelectionOverlay::End end) {
  const auto interrupted = [](std::string reason) {
    return CaptureOutcome{CaptureFailure{CaptureFailure::Case::interrupted, std::move(reason)}};
  };
  switch (end) {
    case SelectionOverlay::End::cancelled: return CaptureOutcome{CaptureOutcome::Cancelled{}};
    case SelectionOverlay::End::displaysChanged: return CaptureRefusal::displaysChanged;
    case SelectionOverlay::End::keyboardHeld:
      return interrupted("another program or an open menu holds the keyboard");
    case SelectionOverlay::End::pointerHeld:
      return interrupted("another program or an open menu holds the pointer");
  }
  std::unreachable();
}

}  // namespace

std::string sentence(CaptureRefusal refusal) {
  switch (refusal) {
    case CaptureRefusal::captureRunning:
      return "Another capture is running. Finish or cancel it first.";
    case CaptureRefusal::modalDialogUp:
      return "A dialog of Vantorel waits for an answer. Answer it first.";
    case CaptureRefusal::quitting: return "Vantorel is quitting.";
    case CaptureRefusal::noPreviousArea:
      return "There is no previous area yet. Capture an area first.";
    case CaptureRefusal::previousAreaDisplayDisconnected:
      return "The display of the previous area isn't connected.";
    case CaptureRefusal::previousAreaGeometryChanged:
      return "The display of the previous area has a different size now.";
    case CaptureRefusal::unknownDisplay:
      return "No display has that id. \"vantorel displays\" lists them.";
    case CaptureRefusal::unknownWindow:
      return "No window on screen has that id. \"vantorel windows\" lists them.";
    case CaptureRefusal::noWindows: return "There is no window to capture.";
    case CaptureRefusal::unreadableArea:
      return "Couldn't read that area. It lies outside the display.";
    case CaptureRefusal::displaysChanged:
      return "The displays changed while you were choosing. Capture again.";
    case CaptureRefusal::areaTooLow:
      return "That area is too low to follow its scrolling. It must be 240 pixels high at least.";
  }
  std::unreachable();
}

std::optional<CaptureRefusal> refusalOf(const RegionAvailability& availability) {
  struct Refusal {
    using Answer = std::optional<CaptureRefusal>;
    Answer operator()(const RegionAvailability::Available&) const { return std::nullopt; }
    Answer operator()(RegionAvailability::None) const { return CaptureRefusal::noPreviousArea; }
    Answer operator()(RegionAvailability::DisplayDisconnected) const {
      return CaptureRefusal::previousAreaDisplayDisconnected;
    }
    Answer operator()(RegionAvailability::GeometryChanged) const {
      return CaptureRefusal::previousAreaGeometryChanged;
    }
  };
  return std::visit(Refusal{}, availability.value);
}

struct StillCapturePipeline::Run {
  /// When each step of the way was done, for the log.
  std::vector<std::pair<std::string_view, std::chrono::nanoseconds>> steps;

  StillCaptureRequest request;
  Finished finished;
  CaptureActivity activity = CaptureActivity::plainCapture;
  StillCaptureBackend backend;
  bool isPreviousArea = false;
  bool remembersRegion = false;  // what a person chose, not what a script names
  bool copies = false;
  bool waitsForUser = false;
  bool isCalledOff = false;  // before it waited
  bool mayWait = true;       // for the user
  std::function<void(const ScreenshotEntry&)> onFiled;

  std::vector<DisplaySnapshot> displays;
  std::vector<WindowSnapshot> windows;
  std::vector<FrozenDisplay> frozen;
  std::optional<DesktopIconCover::Hold> coverHold;
  bool lacksCover = false;  // the desktop's icons were to be hidden and could not
  std::string cut;          // what of a named area is not in the picture; a sentence
  double capturedAt = 0;
  GrabbedPicture picture;

  void reached(std::string_view step, const Clock& clock) {
    steps.emplace_back(step, clock.monotonic());
  }
  [[nodiscard]] PixelRect shownArea() const;
  [[nodiscard]] std::optional<ChosenTarget> chosenTarget();
  void end(CaptureReply reply);
};

/// Where on the desktop what was captured is.
PixelRect StillCapturePipeline::Run::shownArea() const {
  const CaptureTarget& target = picture.target;
  const double scale = picture.scale;
  if (const auto* window = std::get_if<WindowTarget>(&target)) {
    for (const WindowSnapshot& open : windows) {
      if (open.windowID == window->windowID) return toPixels(open.frame, scale);
    }
    return {};
  }
  const auto* whole = std::get_if<DisplayTarget>(&target);
  const auto* region = std::get_if<RegionTarget>(&target);
  if (whole == nullptr && region == nullptr) return {};
  const DisplaySnapshot* const display =
      findDisplay(displays, whole != nullptr ? whole->displayID : region->displayID);
  if (display == nullptr) return {};
  PointRect shown = display->bounds;
  if (region != nullptr) {
    shown = {shown.x + region->rect.x, shown.y + region->rect.y, region->rect.width,
             region->rect.height};
  }
  return toPixels(shown, scale);
}

/// Nothing when it is a window that is not there.
std::optional<ChosenTarget> StillCapturePipeline::Run::chosenTarget() {
  const DisplaySnapshot* display = mainDisplay(displays);
  if (auto* const wanted = std::get_if<WindowTarget>(&picture.target)) {
    const auto open = std::ranges::find(windows, wanted->windowID, &WindowSnapshot::windowID);
    if (open != windows.end()) {
      display = displayShowing(displays, open->frame);
      if (display != nullptr) wanted->displayID = display->id;
    } else if (!windows.empty()) {
      return std::nullopt;
    }
  } else if (const auto* const region = std::get_if<RegionTarget>(&picture.target)) {
    display = findDisplay(displays, region->displayID);
  } else if (const auto* const whole = std::get_if<DisplayTarget>(&picture.target)) {
    display = findDisplay(displays, whole->displayID);
  }
  if (display != nullptr) picture.scale = display->scale();
  return ChosenTarget{.target = picture.target,
                      .scale = picture.scale,
                      .shown = shownArea(),
                      .cut = cut,
                      .copies = copies};
}

/// Answers, and logs how long each step took.
void StillCapturePipeline::Run::end(CaptureReply reply) {
  using Milliseconds = std::chrono::duration<double, std::milli>;
  for (std::size_t i = 1; i < steps.size(); ++i) {
    logInfo("CaptureLatency", "{}: {:.1f} ms", steps[i].first,
            Milliseconds(steps[i].second - steps[i - 1].second).count());
  }
  finished(std::move(reply));
}

StillCapturePipeline::StillCapturePipeline(Services services) : services_(std::move(services)) {}
StillCapturePipeline::~StillCapturePipeline() = default;

void StillCapturePipeline::start(StillCaptureRequest request, Finished finished) {
  if (run_) {
    finished(CaptureRefusal::captureRunning);
    return;
  }
  run_ = std::make_shared<Run>();
  run_->request = std::move(request);
  run_->finished = std::move(finished);
  reached("start");
  run_->backend = services_.backend();
  run_->activity = run_->request.activity.value_or(
      run_->request.isTimedCapture ? CaptureActivity::timedCapture : CaptureActivity::plainCapture);
  services_.setActivity(run_->activity, true);
}

void StillCapturePipeline::capture(StillCaptureRequest request, Finished finished) {
  const bool idle = !run_;
  const bool isChosen = !request.target;
  start(std::move(request), std::move(finished));
  if (!idle) return;
  run_->remembersRegion = isChosen;
  withDisplays(&StillCapturePipeline::resolve);
}

void StillCapturePipeline::capturePreviousArea(StillCaptureRequest request, Finished finished) {
  const bool idle = !run_;
  request.mode = CaptureMode::region;
  request.target.reset();
  start(std::move(request), std::move(finished));
  if (!idle) return;
  run_->isPreviousArea = true;
  withDisplays(&StillCapturePipeline::resolve);
}

void StillCapturePipeline::captureForRemote(CaptureMode mode, CaptureOrigin origin,
                                            std::function<void(const ScreenshotEntry&)> onFiled,
                                            std::move_only_function<void(Grabbed)> capturing,
                                            Finished finished) {
  const bool idle = !run_;
  start({.mode = mode, .target = {}}, std::move(finished));
  if (!idle) return;
  logInfo("Capture", "{} capture for {}", nameOf(mode),
          origin == CaptureOrigin::remote ? "an agent" : "the user");
  run_->onFiled = std::move(onFiled);
  runBounded<Result<GrabbedPicture>>(
      services_.main, run_->backend.bound, std::move(capturing),
      lifetime_.guard([this](std::optional<Result<GrabbedPicture>> answer) {
        run_->capturedAt = services_.clock->now();
        grabbed(std::move(answer));
      }),
      [](Result<GrabbedPicture>) {
        logWarning("Capture", "a grab finished after it was given up; it is discarded");
      });
}

void StillCapturePipeline::withDisplays(Step next) {
  using Displays = Result<std::vector<DisplaySnapshot>>;
  runBounded<Displays>(
      services_.main, run_->backend.bound,
      [screen = services_.screen](auto reply) { screen->displays(std::move(reply)); },
      lifetime_.guard([this, next](std::optional<Displays> answer) {
        if (!answer) return fail(CaptureFailure::Case::screenCaptureDidNotAnswer);
        if (!*answer) return failGrab(answer->error());
        run_->displays = std::move(**answer);
        reached("displays");
        (this->*next)();
      }),
      nullptr);
}

void StillCapturePipeline::resolve() {
  Run& run = *run_;
  std::optional<CaptureTarget>& target = run.request.target;
  const DisplaySnapshot* const main = mainDisplay(run.displays);
  if (main == nullptr) {
    return fail(CaptureFailure::Case::interrupted, "no display is connected");
  }
  if (run.isPreviousArea) {
    const RegionAvailability availability =
        availabilityOf(services_.rememberedRegion(), run.displays);
    if (const auto refused = refusalOf(availability)) return finish(*refused);
    const auto& area = std::get<RegionAvailability::Available>(availability.value);
    target = RegionTarget{area.displayID, area.rect};
  }
  if (!target && run.request.mode == CaptureMode::fullscreen) target = DisplayTarget{main->id};
  if (!target) return choose();

  const auto displayOf = [&](const DisplayID& id) {
    return id.empty() ? main : findDisplay(run.displays, id);
  };
  if (auto* whole = std::get_if<DisplayTarget>(&*target)) {
    const DisplaySnapshot* const display = displayOf(whole->displayID);
    if (display == nullptr) return finish(CaptureRefusal::unknownDisplay);
    whole->displayID = display->id;
  }
  if (auto* region = std::get_if<RegionTarget>(&*target)) {
    const DisplaySnapshot* const display = displayOf(region->displayID);
    if (display == nullptr) return finish(CaptureRefusal::unknownDisplay);
    const PixelRect part = partOn(*display, region->rect);
    if (part.isEmpty()) return finish(CaptureRefusal::unreadableArea);
    if (part != toPixels(region->rect, display->scale())) {
      const PointRect wanted = std::exchange(region->rect, toPoints(part, display->scale()));
      run_->cut = fmt::format(
          "The area reaches beyond the display: {:g} x {:g} points of {:g} x {:g} were captured.",
          region->rect.width, region->rect.height, wanted.width, wanted.height);
    }
    region->displayID = display->id;
  }
  if (run.request.handTarget) return handTarget();
  countDown();
}

void StillCapturePipeline::choose() {
  using Windows = Result<std::vector<WindowSnapshot>>;
  runBounded<Windows>(
      services_.main, {windowListBound, windowListBound, {}},
      [windows = services_.windows](auto reply) { windows->windows(std::move(reply)); },
      lifetime_.guard([this](std::optional<Windows> answer) {
        if (answer && *answer) run_->windows = std::move(**answer);
        if (run_->request.mode == CaptureMode::window && answer && *answer &&
            run_->windows.empty()) {
          return finish(CaptureRefusal::noWindows);
        }
        // What is not taken now has its icons covered in vain.
        if (run_->backend.hidesDesktopIcons && services_.iconCover && !run_->request.handTarget) {
          run_->coverHold.emplace(
              DesktopIconCover::hold(services_.iconCover, lifetime_.guard([this] { freeze(0); })));
        } else {
          freeze(0);
        }
      }),
      nullptr);
}

void StillCapturePipeline::freeze(std::size_t index) {
  if (index == run_->displays.size()) {
    SelectionOverlay* const overlay = services_.overlay();
    if (overlay == nullptr) {
      return fail(CaptureFailure::Case::interrupted,
                  "there is no window system to select on; name the target instead");
    }
    if (run_->isCalledOff || !run_->mayWait) {
      return finish(CaptureOutcome{CaptureOutcome::Cancelled{}});
    }
    run_->capturedAt = services_.clock->now();
    run_->waitsForUser = true;
    overlay->select(
        {.mode = run_->request.mode,
         .displays = run_->frozen,
         .windows = run_->windows,
         .adjusts = run_->backend.adjustsArea,
         .leastScrolledHeight = run_->request.leastScrolledHeight},
        lifetime_.guard([this](SelectionOverlay::Answer choice) { chosen(std::move(choice)); }));
    return;
  }
  GrabRequest request{.target = DisplayTarget{run_->displays[index].id},
                      .keptOwnWindowIDs = coverWindowIDs(),
                      .showsPointer = run_->request.showsPointer};
  runBounded<Result<GrabbedPicture>>(
      services_.main, run_->backend.bound,
      [screen = services_.screen, request = std::move(request)](auto reply) mutable {
        screen->grab(std::move(request), std::move(reply));
      },
      lifetime_.guard([this, index](std::optional<Result<GrabbedPicture>> answer) {
        if (!answer) return fail(CaptureFailure::Case::screenCaptureDidNotAnswer);
        if (!*answer) return failGrab(answer->error());
        run_->frozen.push_back({run_->displays[index], std::move((*answer)->image)});
        freeze(index + 1);
      }),
      nullptr);
}

void StillCapturePipeline::chosen(SelectionOverlay::Answer choice) {
  Run& run = *run_;
  run.waitsForUser = false;
  if (!choice) return finish(replyTo(choice.error()));
  run.request.target = std::move(choice->target);
  run.copies = choice->copies;
  if (run.request.handTarget) return handTarget();
  const auto* region = std::get_if<RegionTarget>(&*run.request.target);
  if (region == nullptr || run.request.delay.count() > 0) return countDown();

  // What the user saw while choosing is what is taken.
  for (const FrozenDisplay& frozen : run.frozen) {
    if (frozen.display.id != region->displayID) continue;
    const double scale = frozen.display.scale();
    const PixelRect rect = intersection(toPixels(region->rect, scale),
                                        {0, 0, frozen.image.width(), frozen.image.height()});
    if (rect.isEmpty()) break;
    run.picture = {frozen.image.cropped(rect), scale, *run.request.target};
    rememberArea();
    return nameSourceApp();
  }
  finish(CaptureRefusal::unreadableArea);
}

/// Nothing is grabbed: who takes it begins when the screen is as it was before the choice.
void StillCapturePipeline::handTarget() {
  run_->picture.target = *run_->request.target;
  nameSourceApp();
}

/// Once there is a picture of it: an area that could not be taken is no previous area.
void StillCapturePipeline::rememberArea() {
  if (!run_->remembersRegion || !run_->request.target) return;
  const auto* region = std::get_if<RegionTarget>(&*run_->request.target);
  if (region == nullptr) return;
  if (const auto* display = findDisplay(run_->displays, region->displayID)) {
    services_.rememberRegion(vantorel::rememberRegion(*display, region->rect));
  }
}

void StillCapturePipeline::countDown() {
  const bool waits = run_->request.delay.count() > 0;
  if (run_->isCalledOff || (waits && !run_->mayWait)) {
    return finish(CaptureOutcome{CaptureOutcome::Cancelled{}});
  }
  run_->waitsForUser = waits;
  services_.countdown->start(run_->request.delay, lifetime_.guard([this](bool reachedZero) {
    run_->waitsForUser = false;
    if (reachedZero) {
      coverIcons();
    } else {
      finish(CaptureOutcome{CaptureOutcome::Cancelled{}});
    }
  }));
}

void StillCapturePipeline::coverIcons() {
  const bool needed = run_->backend.hidesDesktopIcons && !run_->coverHold &&
                      !std::holds_alternative<WindowTarget>(*run_->request.target);
  run_->lacksCover = needed && !services_.iconCover;
  if (!needed || run_->lacksCover) return grab();
  run_->coverHold.emplace(
      DesktopIconCover::hold(services_.iconCover, lifetime_.guard([this] { grab(); })));
}

void StillCapturePipeline::grab() {
  run_->capturedAt = services_.clock->now();
  GrabRequest request{.target = *run_->request.target,
                      .windowShadow = run_->backend.windowShadow,
                      .keptOwnWindowIDs = coverWindowIDs(),
                      .showsPointer = run_->request.showsPointer};
  runBounded<Result<GrabbedPicture>>(
      services_.main, run_->backend.bound,
      [screen = services_.screen, request = std::move(request)](auto reply) mutable {
        screen->grab(std::move(request), std::move(reply));
      },
      lifetime_.guard(
          [this](std::optional<Result<GrabbedPicture>> answer) { grabbed(std::move(answer)); }),
      [](Result<GrabbedPicture>) {
        logWarning("Capture", "a grab finished after it was given up; it is discarded");
      });
}

std::vector<WindowID> StillCapturePipeline::coverWindowIDs() const {
  return services_.iconCover ? services_.iconCover->windowIDs() : std::vector<WindowID>{};
}

void StillCapturePipeline::grabbed(std::optional<Result<GrabbedPicture>> answer) {
  run_->coverHold.reset();
  if (!answer) return fail(CaptureFailure::Case::screenCaptureDidNotAnswer);
  if (!*answer) {
    const bool windowGone =
        answer->error().kind == FailureKind::notFound && run_->request.mode == CaptureMode::window;
    return windowGone ? finish(CaptureRefusal::unknownWindow) : failGrab(answer->error());
  }
  run_->picture = std::move(**answer);
  reached("grab");
  rememberArea();
  nameSourceApp();
}

void StillCapturePipeline::nameSourceApp() {
  using Windows = Result<std::vector<WindowSnapshot>>;
  run_->coverHold.reset();
  run_->frozen.clear();
  const auto resolved = [this](const std::vector<WindowSnapshot>& windows) {
    return SourceAppResolution::resolve(run_->picture.target, SourceAppResolution::records(windows),
                                        run_->displays);
  };
  if (!run_->windows.empty()) return stage(resolved(run_->windows));
  runBounded<Windows>(
      services_.main, {windowListBound, windowListBound, {}},
      [windows = services_.windows](auto reply) { windows->windows(std::move(reply)); },
      lifetime_.guard([this, resolved](std::optional<Windows> answer) {
        if (answer && *answer) run_->windows = std::move(**answer);
        stage(run_->windows.empty() ? std::nullopt : resolved(run_->windows));
      }),
      nullptr);
}

void StillCapturePipeline::stage(std::optional<SourceApp> app) {
  reached("source application");
  if (run_->request.handTarget) {
    if (run_->isCalledOff || !run_->mayWait) {
      return finish(CaptureOutcome{CaptureOutcome::Cancelled{}});
    }
    auto chosen = run_->chosenTarget();
    if (!chosen) return finish(CaptureRefusal::unknownWindow);
    chosen->sourceApp = std::move(app);
    const auto handTarget = std::move(run_->request.handTarget);
    finish(CaptureOutcome{CaptureOutcome::HandedOver{}});
    return handTarget(*std::move(chosen));
  }
  if (run_->request.handOver) {
    HandedPicture handed{std::move(run_->picture.image), run_->picture.scale, run_->capturedAt,
                         std::move(app)};
    const auto handOver = std::move(run_->request.handOver);
    finish(CaptureOutcome{CaptureOutcome::HandedOver{}});
    return handOver(std::move(handed));
  }
  StagedCaptureRecord record;
  record.scale = run_->picture.scale;
  record.entryID = randomID();
  record.sourceApp = std::move(app);
  // It may have been switched on while somebody chose what to capture.
  record.awaitsRedaction =
      run_->backend.redactsAfterCapture || services_.backend().redactsAfterCapture;

  using Staged = Result<StagedCapture, CaptureFailure>;
  roundTrip(
      *services_.work, services_.main,
      [codec = services_.codec, staging = services_.staging, image = run_->picture.image,
       capturedAt = run_->capturedAt, record = std::move(record)]() mutable -> Staged {
        SpentTime encoding;
        const auto png = encoding.measure([&] {
          return codec->encode(image, {.format = ExportFormat::png,
                                       .pixelsPerPoint = record.scale.value_or(1),
                                       .createdAt = capturedAt});
        });
        logInfo("CaptureLatency", "of stage: encode {:.1f} ms", encoding.milliseconds());
        using Case = CaptureFailure::Case;
        if (!png) {
          logError("Capture", "encoding failed: {}", png.error().reason);
          return std::unexpected(
              CaptureFailure{Case::writeFailed, "the capture couldn't be encoded"});
        }
        auto written = staging->stage(*png, capturedAt, std::move(record));
        if (!written) {
          return std::unexpected(CaptureFailure{Case::writeFailed, written.error().reason});
        }
        return std::move(*written);
      },
      lifetime_.guard([this](Staged staged) {
        if (!staged) return finish(CaptureOutcome{std::move(staged.error())});
        reached("stage");
        services_.filing->claim(staged->path);
        if (run_->request.onStaged) run_->request.onStaged(staged->path);
        file(*std::move(staged));
      }));
}

void StillCapturePipeline::file(StagedCapture staged) {
  const std::shared_ptr<Run> run = run_;
  Image image = run->picture.image;
  if (staged.record.awaitsRedaction) {
    // To be looked through takes seconds. It is safe, and the next one may be taken meanwhile; of
    // the raw picture nothing is kept for those who show it.
    run->picture.image = {};
    letGo();
    if (run->request.onLookedThrough) run->request.onLookedThrough(run->shownArea());
  }
  services_.filing->file(
      std::move(staged), std::move(image),
      lifetime_.guard([this, run](Result<CaptureOutcome::Saved> filed) {
        if (run == run_) letGo();
        if (!filed) {
          return run->end(CaptureOutcome{
              CaptureFailure{CaptureFailure::Case::writeFailed, std::move(filed.error().reason)}});
        }
        run->reached("forget the staged file", *services_.clock);
        filed->copies = run->copies;
        if (run->onFiled) run->onFiled(*filed->entry);
        filed->shown = run->shownArea();
        if (filed->picture.isEmpty()) filed->picture = std::move(run->picture.image);
        if (run->lacksCover) filed->remarks.emplace_back(iconsAreShown);
        if (!run->cut.empty()) filed->remarks.push_back(run->cut);
        run->end(CaptureOutcome{std::move(*filed)});
      }),
      [run, clock = services_.clock](std::string_view step) { run->reached(step, *clock); });
}

void StillCapturePipeline::reached(std::string_view step) { run_->reached(step, *services_.clock); }

void StillCapturePipeline::cancel() {
  if (!run_) return;
  if (!run_->waitsForUser) {
    run_->isCalledOff = true;  // counts if it comes to wait
    return;
  }
  if (services_.countdown->isRunning()) {
    services_.countdown->cancel();
    return;
  }
  if (SelectionOverlay* const overlay = services_.overlay()) overlay->dismiss();
  finish(CaptureOutcome{CaptureOutcome::Cancelled{}});
}

void StillCapturePipeline::settle() {
  if (!run_) return;
  run_->mayWait = false;
  if (run_->waitsForUser) cancel();
}

void StillCapturePipeline::finish(CaptureReply reply) { letGo()->end(std::move(reply)); }

/// The next capture may start.
std::shared_ptr<StillCapturePipeline::Run> StillCapturePipeline::letGo() {
  VT_CHECK(run_ != nullptr);
  auto run = std::exchange(run_, nullptr);
  services_.setActivity(run->activity, false);
  return run;
}

void StillCapturePipeline::fail(CaptureFailure::Case what, std::string reason) {
  finish(CaptureOutcome{CaptureFailure{what, std::move(reason)}});
}

void StillCapturePipeline::failGrab(const Failure& failure) {
  switch (failure.kind) {
    case FailureKind::denied: return fail(CaptureFailure::Case::permissionDenied);
    case FailureKind::cancelled: return finish(CaptureOutcome{CaptureOutcome::Cancelled{}});
    default: return fail(CaptureFailure::Case::interrupted, failure.reason);
  }
}

}  // namespace vantorel
