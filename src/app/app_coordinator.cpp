#include "app/app_coordinator.hpp"

#include <utility>

#include "base/log.hpp"
#include "library/file_reach.hpp"

namespace vantorel {
namespace {

// A grab takes milliseconds; a service that needs longer than this is stuck, unless a dialog of the
// desktop holds it up.
constexpr std::chrono::seconds grabBound{5};
constexpr std::chrono::seconds grabCap{60};

StillCaptureRequest requestFor(const StillCaptureCommand& command, CaptureDelay delay) {
  StillCaptureRequest request{.delay = delay, .isTimedCapture = command.isTimed};
  switch (command.kind) {
    case StillCaptureCommand::Kind::display:
      request.mode = CaptureMode::fullscreen;
      request.target = command.allDisplays ? CaptureTarget(AllDisplaysTarget{})
                                           : CaptureTarget(DisplayTarget{command.display});
      break;
    case StillCaptureCommand::Kind::window:
      request.mode = CaptureMode::window;
      if (command.window) request.target = WindowTarget{*command.window, {}};
      break;
    case StillCaptureCommand::Kind::area:
    case StillCaptureCommand::Kind::previous:
      request.mode = CaptureMode::region;
      if (command.rect) request.target = RegionTarget{command.display, *command.rect};
      break;
  }
  return request;
}

}  // namespace

AppCoordinator::AppCoordinator(Services services)
    : services_(std::move(services)),
      surfaces_(services_.main),
      termination_({.main = services_.main,
                    .work = &pendingWork_,
                    .alerts = services_.alerts,
                    .recordUnfinished =
                        [this](std::vector<std::string> names) {
                          services_.settings->set(&SettingsValues::filingUnfinishedAtQuit,
                                                  std::move(names));
                        },
                    .terminate = [this] { terminateWhenSaved(); }}),
      arbiter_([this] { return services_.alerts->isModalDialogUp(); },
               [this] { return termination_.isInProgress(); }),
      permission_(services_.main, *services_.screen, *services_.alerts, services_.relaunch),
      staging_(std::make_shared<StagingFolder>(services_.files, services_.stagedCaptures)) {
  if (services_.hotKeys != nullptr) {
    shortcuts_ = std::make_unique<ShortcutRegistry>(*services_.hotKeys);
  }
  const auto settings = [this]() -> const SettingsValues& { return services_.settings->values(); };
  filing_ = std::make_unique<StillCaptureFiling>(StillCaptureFiling::Services{
      .main = services_.main,
      .work = services_.filing,
      .staging = staging_,
      .placement =
          std::make_shared<CaptureFilePlacement>(services_.files, services_.codec, staging_),
      .library = services_.library,
      .fileSettings =
          [this, settings] {
            const std::string& folder = settings().storageDirectory;
            const FileIdentity* const seen =
                lastSeenIn(folder, services_.library->store().entries());
            return CaptureFileSettings{.storageFolder = folder,
                                       .defaultFolder = services_.defaultCaptures,
                                       .seenInStorage = seen ? Rare(*seen) : Rare<FileIdentity>(),
                                       .format = settings().exportFormat,
                                       .quality = settings().jpegQuality,
                                       .filenameTemplate = settings().filenameTemplate};
          },
      .activeCollectionID = [settings] { return settings().activeCollectionID; }});
  countdown_ = std::make_unique<TimedCaptureController>(services_.main, services_.clock,
                                                        services_.countdown, services_.hotKeys);
  stills_ = std::make_unique<StillCapturePipeline>(StillCapturePipeline::Services{
      .main = services_.main,
      .work = services_.staging,
      .clock = services_.clock,
      .screen = services_.screen,
      .windows = services_.windows,
      .codec = services_.codec,
      .staging = staging_,
      .filing = filing_.get(),
      .countdown = countdown_.get(),
      .iconCover = services_.desktopCover
                       ? std::make_shared<DesktopIconCover>(services_.desktopCover)
                       : nullptr,
      .overlay = services_.overlay,
      .backend =
          [this, settings] {
            return StillCaptureBackend{
                .windowShadow = settings().includeWindowShadow,
                .hidesDesktopIcons = settings().hideDesktopIconsWhileCapturing,
                .adjustsArea = settings().adjustBeforeCapturing,
                .bound = {.first = grabBound, .cap = grabCap, .extending = [this] {
                            return services_.screen->isSystemDialogVisible();
                          }}};
          },
      .rememberedRegion = [settings] { return settings().rememberedRegion; },
      .rememberRegion =
          [this](RememberedRegion region) {
            services_.settings->set(&SettingsValues::rememberedRegion, std::move(region));
          },
      .setActivity =
          [this](CaptureActivity activity, bool running) {
            arbiter_.set(activity, running);
            if (services_.statusMenuChanged) services_.statusMenuChanged();
          }});
  recovery_ = std::make_unique<StagedCaptureRecovery>(
      StagedCaptureRecovery::Services{.main = services_.main,
                                      .work = services_.staging,
                                      .staging = staging_,
                                      .filing = filing_.get(),
                                      .store = &services_.library->store(),
                                      .redactedOriginals = services_.redactedOriginals});
}

AppCoordinator::~AppCoordinator() = default;

std::optional<CaptureRefusal> AppCoordinator::refusal() const {
  const auto because = arbiter_.refusal();
  if (!because) return std::nullopt;
  switch (*because) {
    case CaptureRefusedBecause::activity: return CaptureRefusal::captureRunning;
    case CaptureRefusedBecause::modalDialog: return CaptureRefusal::modalDialogUp;
    case CaptureRefusedBecause::quitting: return CaptureRefusal::quitting;
  }
  std::unreachable();
}

void AppCoordinator::withPermission(
    StillCapturePipeline::Finished finished,
    std::move_only_function<void(StillCapturePipeline::Finished)> go) {
  if (const auto refused = refusal()) {
    if (refused == CaptureRefusal::modalDialogUp) services_.alerts->bringForward();
    finished(*refused);
    return;
  }
  struct Waiting {
    StillCapturePipeline::Finished finished;
    std::move_only_function<void(StillCapturePipeline::Finished)> go;
  };
  auto waiting = std::make_shared<Waiting>(Waiting{std::move(finished), std::move(go)});
  permission_.preflight(alive_.guard([this, waiting](bool granted) {
    if (!granted) {
      waiting->finished(CaptureOutcome{CaptureFailure{CaptureFailure::Case::permissionDenied, {}}});
      return;
    }
    // Another command may have been faster while the desktop was asked.
    if (const auto refused = refusal()) {
      waiting->finished(*refused);
      return;
    }
    waiting->go(std::move(waiting->finished));
  }));
}

void AppCoordinator::capture(StillCaptureCommand command, StillCapturePipeline::Finished finished,
                             std::function<bool()> begins) {
  const SettingsValues& settings = services_.settings->values();
  const CaptureDelay usual =
      command.isTimed ? settings.timedCaptureLastDelaySeconds : settings.captureDelaySeconds;
  const CaptureDelay delay = command.delay.value_or(usual);
  if (command.isTimed) {
    services_.settings->set(&SettingsValues::timedCaptureLastDelaySeconds, delay);
  }
  withPermission(
      std::move(finished), [this, command = std::move(command), delay, begins = std::move(begins)](
                               StillCapturePipeline::Finished permitted) mutable {
        if (begins && !begins()) return permitted(CaptureOutcome{CaptureOutcome::Cancelled{}});
        permitted = untilSaved(std::move(permitted));
        auto done = [this, permitted = std::move(permitted)](CaptureReply reply) mutable {
          if (const auto* outcome = std::get_if<CaptureOutcome>(&reply)) {
            if (const auto* saved = std::get_if<CaptureOutcome::Saved>(&outcome->value)) {
              afterCapture(*saved);
            }
          }
          permitted(std::move(reply));
        };
        if (command.kind == StillCaptureCommand::Kind::previous) {
          stills_->capturePreviousArea(delay, std::move(done));
        } else {
          stills_->capture(requestFor(command, delay), std::move(done));
        }
      });
}

void AppCoordinator::captureForRemote(
    CaptureMode mode, std::function<void(const ScreenshotEntry&)> onFiled,
    std::move_only_function<void(StillCapturePipeline::Grabbed)> capturing,
    StillCapturePipeline::Finished finished) {
  withPermission(std::move(finished), [this, mode, onFiled = std::move(onFiled),
                                       capturing = std::move(capturing)](
                                          StillCapturePipeline::Finished permitted) mutable {
    stills_->captureForRemote(mode, CaptureOrigin::remote, std::move(onFiled), std::move(capturing),
                              untilSaved(std::move(permitted)));
  });
}

/// A quit waits from now on, until `finished` has been called.
StillCapturePipeline::Finished AppCoordinator::untilSaved(StillCapturePipeline::Finished finished) {
  const auto ticket = pendingWork_.begin(QuitFilingNote::Item::stillCapture);
  return [this, ticket, finished = std::move(finished)](CaptureReply reply) mutable {
    finished(std::move(reply));
    pendingWork_.end(ticket);
  };
}

void AppCoordinator::captureFromSurface(StillCaptureCommand command) {
  const bool timed = command.isTimed;
  capture(std::move(command),
          alive_.guard([this, timed](const CaptureReply& reply) { report(reply, timed); }));
}

/// Tells a user who has no terminal how a capture ended, unless it ended well or by Escape.
void AppCoordinator::report(const CaptureReply& reply, bool timed) {
  if (const auto* refused = std::get_if<CaptureRefusal>(&reply)) {
    logInfo("Capture", "{}", sentence(*refused));
    // While one is under way, pressing the key again needs no answer.
    if (*refused != CaptureRefusal::captureRunning) {
      services_.alerts->notify("Screenshot failed", sentence(*refused));
    }
    return;
  }
  const CaptureOutcome& outcome = std::get<CaptureOutcome>(reply);
  if (const auto* failure = std::get_if<CaptureFailure>(&outcome.value)) {
    services_.alerts->notify(
        timed ? "Timer finished, but the screenshot failed" : "Screenshot failed",
        sentence(*failure));
  } else if (const auto* saved = std::get_if<CaptureOutcome::Saved>(&outcome.value)) {
    for (const CaptureNote& note : saved->notes) {
      services_.alerts->notify("Screenshot saved", sentence(note));
    }
    if (!saved->indexFailure.empty()) {
      services_.alerts->notify("Screenshot saved", saved->indexFailure);
    }
  }
}

void AppCoordinator::afterCapture(const CaptureOutcome::Saved& saved) {
  if (!services_.settings->values().hasCapturedSuccessfully) {
    services_.settings->set(&SettingsValues::hasCapturedSuccessfully, true);
  }
  if (saved.copies || services_.settings->values().copyToClipboardAfterCapture) {
    copyToClipboard(*saved.entry);
  }
}

void AppCoordinator::copyToClipboard(const ScreenshotEntry& entry) {
  if (services_.clipboard == nullptr) return;
  services_.pictures->post(
      [files = services_.files, codec = services_.codec, path = entry.path,
       scale = entry.captureScale.value_or(1), main = services_.main,
       done = alive_.guard([this](Result<std::string>& png) {
         const auto told = [this](const Result<void>& set) {
           if (set) return;
           logWarning("Clipboard", "{}", set.error().reason);
           services_.alerts->notify("Copy failed", "the clipboard wouldn't take the image");
         };
         if (!png) {
           services_.alerts->notify("Copy failed", "the screenshot couldn't be read");
           return;
         }
         services_.clipboard->setImage(std::move(*png), alive_.guard(told));
       })]() mutable {
        Result<std::string> png = [&]() -> Result<std::string> {
          std::string bytes = VT_TRY(files->read(path));
          if (Path(path).extension() == ".png") return bytes;
          const Image image = VT_TRY(codec->decode(bytes));
          return codec->encode(image, {.format = ExportFormat::png, .pixelsPerPoint = scale});
        }();
        main->post([png = std::move(png), done = std::move(done)]() mutable { done(png); });
      });
}

void AppCoordinator::copyRecent(int number) {
  int seen = 0;
  for (const EntryPointer& entry : services_.library->store().newestFirst()) {
    if (entry->medium != CaptureMedium::image || ++seen < number) continue;
    copyToClipboard(*entry);
    return;
  }
  services_.alerts->notify("Nothing to copy", "There are fewer captures in History than that.");
}

void AppCoordinator::recoverStagedCaptures(std::function<void(int)> done) {
  recovery_->sweep(services_.clock->now(), std::move(done));
}

void AppCoordinator::startResident() {
  previousArea_.onChange(alive_.guard([this] { services_.statusMenuChanged(); }));
  previousArea_.setRegion(services_.settings->values().rememberedRegion);
  const auto readDisplays = [this] {
    services_.screen->displays(alive_.guard([this](Result<std::vector<DisplaySnapshot>> displays) {
      if (!displays) return;
      previousArea_.setDisplays(std::move(*displays));
      services_.statusMenuChanged();  // a line of it is there for several displays only
    }));
  };
  services_.screen->onDisplaysChange(alive_.guard(readDisplays));
  readDisplays();
  settingsObservation_ = services_.settings->observe([this](std::string_view key) {
    if (key == "rememberedRegion") {
      previousArea_.setRegion(services_.settings->values().rememberedRegion);
    }
  });
  services_.settings->onShowMenuBarIconChange = [this] {
    services_.showStatusItem(services_.settings->values().showMenuBarIcon);
  };
  services_.settings->onActiveCollectionChange = [this] { services_.statusMenuChanged(); };
  services_.showStatusItem(services_.settings->values().showMenuBarIcon);
  bindHotKeys();
  tellUnfinishedAtLastQuit();
}

std::optional<HotKeySpec> AppCoordinator::bindingOf(ShortcutID id) const {
  const SettingsValues& values = services_.settings->values();
  if (const auto number = recentNumber(id)) {
    if (!values.copyRecentHotKey) return std::nullopt;
    return copyRecentBinding(*values.copyRecentHotKey, *number);
  }
  switch (id) {
    case ShortcutID::radialMenu: return values.radialMenuHotKey;
    case ShortcutID::capture: return values.captureHotKey;
    case ShortcutID::previousArea: return values.previousAreaHotKey;
    case ShortcutID::captureText: return values.captureTextHotKey;
    case ShortcutID::fullscreen: return values.fullscreenHotKey;
    case ShortcutID::window: return values.windowHotKey;
    case ShortcutID::history: return values.historyHotKey;
    case ShortcutID::openClipboard: return values.openClipboardHotKey;
    case ShortcutID::record: return values.recordHotKey;
    case ShortcutID::zoom: return values.zoomHotKey;
    case ShortcutID::recordInStudio: return values.recordInStudioHotKey;
    case ShortcutID::scroll: return values.scrollHotKey;
    case ShortcutID::comparison: return values.comparisonHotKey;
    case ShortcutID::timedCapture: return values.timedCaptureHotKey;
    default: std::unreachable();
  }
}

std::function<void()> AppCoordinator::actionOf(ShortcutID id) {
  using Kind = StillCaptureCommand::Kind;
  if (const auto number = recentNumber(id)) return [this, n = *number] { copyRecent(n); };
  switch (id) {
    case ShortcutID::capture: return [this] { captureFromSurface({.kind = Kind::area}); };
    case ShortcutID::previousArea: return [this] { captureFromSurface({.kind = Kind::previous}); };
    case ShortcutID::fullscreen: return [this] { captureFromSurface({.kind = Kind::display}); };
    case ShortcutID::window: return [this] { captureFromSurface({.kind = Kind::window}); };
    case ShortcutID::timedCapture:
      return [this] { captureFromSurface({.kind = Kind::area, .isTimed = true}); };
    default: return {};
  }
}

void AppCoordinator::bind(ShortcutID id) {
  if (!shortcuts_) return;
  shortcuts_->unregister(id);
  const auto spec = bindingOf(id);
  auto action = actionOf(id);
  // A key without an action yet stays free for others.
  if (spec && action) shortcuts_->registerShortcut(id, *spec, std::move(action));
}

void AppCoordinator::bindHotKeys() {
  for (const auto& entry : enumNames<ShortcutID>) bind(entry.value);
  SettingsStore& settings = *services_.settings;
  const auto rebind = [this](ShortcutID id) { return [this, id] { bind(id); }; };
  settings.onHotKeyChange = rebind(ShortcutID::capture);
  settings.onHistoryHotKeyChange = rebind(ShortcutID::history);
  settings.onRecordHotKeyChange = rebind(ShortcutID::record);
  settings.onZoomHotKeyChange = rebind(ShortcutID::zoom);
  settings.onScrollHotKeyChange = rebind(ShortcutID::scroll);
  settings.onWindowHotKeyChange = rebind(ShortcutID::window);
  settings.onFullscreenHotKeyChange = rebind(ShortcutID::fullscreen);
  settings.onComparisonHotKeyChange = rebind(ShortcutID::comparison);
  settings.onTimedCaptureHotKeyChange = rebind(ShortcutID::timedCapture);
  settings.onPreviousAreaHotKeyChange = rebind(ShortcutID::previousArea);
  settings.onCaptureTextHotKeyChange = rebind(ShortcutID::captureText);
  settings.onOpenClipboardHotKeyChange = rebind(ShortcutID::openClipboard);
  settings.onRadialMenuHotKeyChange = rebind(ShortcutID::radialMenu);
  settings.onRecordInStudioHotKeyChange = rebind(ShortcutID::recordInStudio);
  settings.onCopyRecentHotKeyChange = [this] {
    for (const auto& entry : enumNames<ShortcutID>) {
      if (recentNumber(entry.value)) bind(entry.value);
    }
  };
}

void AppCoordinator::tellUnfinishedAtLastQuit() {
  const auto items =
      QuitFilingNote::fromStored(services_.settings->values().filingUnfinishedAtQuit);
  if (!services_.settings->values().filingUnfinishedAtQuit.empty()) {
    services_.settings->set(&SettingsValues::filingUnfinishedAtQuit, {});
  }
  if (items.empty()) return;
  logWarning("Quit", "{}", QuitFilingNote::unfinishedAtLastQuit(items));
  services_.alerts->notify("Vantorel", QuitFilingNote::unfinishedAtLastQuit(items));
}

void AppCoordinator::quit() {
  if (services_.stopMoving) services_.stopMoving();
  stills_->settle();
  termination_.request();
}

void AppCoordinator::terminateWhenSaved() {
  if (std::exchange(quitSaving_, true)) return;
  if (!services_.whenMovingStopped) return saveAndTerminate();
  // The next launch finds what a move has begun, so a disk that hangs need not hold up the quit for
  // longer than anything else does.
  auto goOn = std::make_shared<bool>(false);
  const auto once = alive_.guard([this, goOn] {
    if (!std::exchange(*goOn, true)) saveAndTerminate();
  });
  services_.whenMovingStopped(once);
  services_.main->postAfter(QuitFilingDeadline::length, once);
}

void AppCoordinator::saveAndTerminate() {
  services_.library->store().flush(alive_.guard([this](Result<void> saved) {
    if (!saved && !services_.library->store().indexRefusal())
      logError("Quit", "the index could not be saved: {}", saved.error().reason);
    services_.settings->flush(alive_.guard([this](Result<void> stored) {
      if (!stored) {
        logError("Quit", "the settings could not be saved: {}", stored.error().reason);
      }
      services_.terminate();
    }));
  }));
}

}  // namespace vantorel
