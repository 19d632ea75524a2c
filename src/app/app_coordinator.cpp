#include "app/app_coordinator.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <utility>

#include "app/records/hot_key_text.hpp"
#include "base/log.hpp"
#include "library/file_reach.hpp"

namespace vantorel {
namespace {

// A grab takes milliseconds; a service that needs longer than this is stuck, unless a dialog of the
// desktop holds it up.
constexpr std::chrono::seconds grabBound{5};
constexpr std::chrono::seconds grabCap{60};

constexpr std::chrono::seconds clipboardBound{5};

/// How long somebody at the desktop goes without a sign of the capture he took.
constexpr std::chrono::seconds desktopPatience{1};
// Of a burst of changes the menu shows what came of it.
constexpr std::chrono::milliseconds menuPatience{250};
constexpr std::chrono::seconds trayBound{10};

StillCaptureRequest requestFor(const StillCaptureCommand& command, std::chrono::seconds delay) {
  StillCaptureRequest request{
      .delay = delay, .showsPointer = command.showsPointer, .isTimedCapture = command.isTimed};
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
    shortcuts_ = std::make_unique<ShortcutRegistry>(*services_.hotKeys, services_.main);
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
                             std::function<bool()> begins,
                             std::function<void(const Path&)> onStaged) {
  const SettingsValues& settings = services_.settings->values();
  const CaptureDelay usual =
      command.isTimed ? settings.timedCaptureLastDelaySeconds : settings.captureDelaySeconds;
  const std::chrono::seconds delay = command.delay.value_or(lengthOf(usual));
  if (command.isTimed) {
    services_.settings->set(&SettingsValues::timedCaptureLastDelaySeconds,
                            delayOfSeconds(delay.count()));
  }
  if (command.isAnsweredAtDesktop) {
    finished = [this, timed = command.isTimed,
                finished = std::move(finished)](CaptureReply reply) mutable {
      report(reply, timed);
      finished(std::move(reply));
    };
    onStaged = [this, told = std::move(onStaged)](const Path& staged) {
      if (told) told(staged);
      services_.main->postAfter(desktopPatience, alive_.guard([this] {
        // It is saved, and listed once the library comes free.
        if (services_.library->awaitedHolder()) services_.library->stopWaiting();
      }));
    };
  }
  withPermission(std::move(finished), [this, command = std::move(command), delay,
                                       begins = std::move(begins), onStaged = std::move(onStaged)](
                                          StillCapturePipeline::Finished permitted) mutable {
    if (begins && !begins()) return permitted(CaptureOutcome{CaptureOutcome::Cancelled{}});
    auto done = [this, copies = command.copies,
                 permitted = untilSaved(std::move(permitted))](CaptureReply reply) mutable {
      afterCapture(std::move(reply), copies, std::move(permitted));
    };
    StillCaptureRequest request = requestFor(command, delay);
    request.onStaged = std::move(onStaged);
    if (command.kind == StillCaptureCommand::Kind::previous) {
      stills_->capturePreviousArea(std::move(request), std::move(done));
    } else {
      stills_->capture(std::move(request), std::move(done));
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

void AppCoordinator::captureForUser(StillCaptureCommand command) {
  // While one is under way, pressing the key again needs no answer.
  if (refusal() == CaptureRefusal::captureRunning) return;
  command.isAnsweredAtDesktop = true;
  capture(std::move(command), [](const CaptureReply&) {});
}

/// Shows a user who has no terminal how a capture ended, unless it was by Escape.
void AppCoordinator::report(const CaptureReply& reply, bool timed) {
  if (const auto* refused = std::get_if<CaptureRefusal>(&reply)) {
    logInfo("Capture", "{}", sentence(*refused));
    services_.alerts->notify("Screenshot failed", sentence(*refused));
    return;
  }
  const CaptureOutcome& outcome = std::get<CaptureOutcome>(reply);
  if (const auto* failure = std::get_if<CaptureFailure>(&outcome.value)) {
    services_.alerts->notify(
        timed ? "Timer finished, but the screenshot failed" : "Screenshot failed",
        sentence(*failure));
  } else if (const auto* saved = std::get_if<CaptureOutcome::Saved>(&outcome.value)) {
    if (services_.cue) {
      services_.cue({saved->shown, services_.settings->values().playSounds});
    }
    const std::vector<std::string> remarks = remarksOn(*saved);
    if (!remarks.empty()) {
      services_.alerts->notify("Screenshot saved", fmt::format("{}", fmt::join(remarks, "\n")));
    }
  }
}

/// Does what the settings and the command want done with a new capture, then answers.
void AppCoordinator::afterCapture(CaptureReply reply, bool copies,
                                  StillCapturePipeline::Finished finished) {
  auto* const outcome = std::get_if<CaptureOutcome>(&reply);
  auto* const saved =
      outcome == nullptr ? nullptr : std::get_if<CaptureOutcome::Saved>(&outcome->value);
  if (saved == nullptr) return finished(std::move(reply));
  if (!services_.settings->values().hasCapturedSuccessfully) {
    services_.settings->set(&SettingsValues::hasCapturedSuccessfully, true);
  }
  copies |= saved->copies || services_.settings->values().copyToClipboardAfterCapture;
  if (!copies) {
    return finished(std::move(reply));
  }
  struct Waiting {
    CaptureReply reply;
    StillCapturePipeline::Finished finished;
  };
  const EntryPointer entry = saved->entry;
  auto waiting = std::make_shared<Waiting>(Waiting{std::move(reply), std::move(finished)});
  const auto answer = [waiting](const std::string& problem) {
    if (!waiting->finished) return;
    if (!problem.empty()) {
      std::get<CaptureOutcome::Saved>(std::get<CaptureOutcome>(waiting->reply).value)
          .remarks.push_back("Not copied: " + problem + ".");
    }
    std::exchange(waiting->finished, nullptr)(std::move(waiting->reply));
  };
  copyToClipboard(*entry, answer);
  // A clipboard that does not answer holds up neither the user nor a quit.
  services_.main->postAfter(clipboardBound,
                            alive_.guard([answer] { answer("the clipboard doesn't answer"); }));
}

/// Answers with what went wrong, a clause; empty when it is there.
void AppCoordinator::copyToClipboard(const ScreenshotEntry& entry,
                                     std::function<void(std::string)> done) {
  Clipboard* const clipboard = services_.clipboard ? services_.clipboard() : nullptr;
  if (clipboard == nullptr) return done("there is no clipboard here");
  services_.pictures->post(
      [files = services_.files, codec = services_.codec, path = entry.path,
       scale = entry.captureScale.value_or(1), main = services_.main,
       read = alive_.guard([clipboard, done = std::move(done)](Result<std::string>& png) {
         if (!png) return done("the screenshot couldn't be read");
         clipboard->setImage(std::move(*png), [done](const Result<void>& set) {
           if (!set) logWarning("Clipboard", "{}", set.error().reason);
           done(set ? "" : "the clipboard wouldn't take the image");
         });
       })]() mutable {
        Result<std::string> png = [&]() -> Result<std::string> {
          std::string bytes = VT_TRY(files->read(path));
          if (Path(path).extension() == ".png") return bytes;
          const Image image = VT_TRY(codec->decode(bytes));
          return codec->encode(image, {.format = ExportFormat::png, .pixelsPerPoint = scale});
        }();
        main->post([png = std::move(png), read = std::move(read)]() mutable { read(png); });
      });
}

std::vector<EntryPointer> AppCoordinator::recentImages(std::size_t count) const {
  std::vector<EntryPointer> images;
  for (const EntryPointer& entry : services_.library->store().newestFirst()) {
    if (images.size() == count) break;
    if (entry->medium == CaptureMedium::image) images.push_back(entry);
  }
  return images;
}

void AppCoordinator::copyRecent(int number) {
  const auto count = static_cast<std::size_t>(number);
  const std::vector<EntryPointer> images = recentImages(count);
  if (images.size() == count) return copyCapture(images.back()->id);
  services_.alerts->notify("Nothing to copy", "There are fewer captures in History than that.");
}

void AppCoordinator::copyCapture(const std::string& id) {
  services_.library->findFiles({id}, Library::Claimed::no, *services_.pictures,
                               alive_.guard([this, id](const std::set<std::string>& unsettled) {
                                 const EntryPointer found = services_.library->store().find(id);
                                 std::function<void(std::string)> tell =
                                     alive_.guard([this](const std::string& problem) {
                                       if (!problem.empty())
                                         services_.alerts->notify("Copy failed", problem);
                                     });
                                 if (!found || unsettled.contains(id))
                                   return tell("the screenshot couldn't be read");
                                 copyToClipboard(*found, std::move(tell));
                               }));
}

void AppCoordinator::tellThatItRuns() {
  hasTold_ = true;
  const auto key = bindingOf(ShortcutID::capture);
  const bool works = key && shortcuts_ && shortcuts_->works(ShortcutID::capture);
  const std::string how = works ? fmt::format("{} captures an area.", displayText(*key))
                                : std::string("\"vantorel capture area\" captures an area.");
  const char* const rest =
      services_.isTrayShown() ? " Its icon in the tray has everything else."
      : !services_.settings->values().showMenuBarIcon
          ? " Its icon is hidden; \"vantorel settings set showMenuBarIcon true\" shows it."
          : " This desktop shows no tray; \"vantorel quit\" ends it.";
  services_.alerts->notify("Vantorel is running", how + rest);
}

void AppCoordinator::recoverStagedCaptures(std::function<void(int)> done) {
  recovery_->sweep(services_.clock->now(), std::move(done));
}

// What is being staged on that runner is claimed here before the answer comes.
void AppCoordinator::whenStagingKnown(std::function<void(const std::set<Path>& underWay)> known) {
  services_.staging->post(
      [main = services_.main, reply = alive_.guard([this, known = std::move(known)] {
        known(filing_->pathsUnderWay());
      })]() mutable { main->post(std::move(reply)); });
}

void AppCoordinator::updateMenu() {
  menuUpdate_.renew();
  services_.main->postAfter(menuPatience,
                            menuUpdate_.guard([this] { services_.statusMenuChanged(); }));
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
  // Much of the menu is made of settings, collections and the newest captures.
  settingsObservation_ = services_.settings->observe([this](std::string_view key) {
    if (key == "rememberedRegion") {
      previousArea_.setRegion(services_.settings->values().rememberedRegion);
    }
    updateMenu();
  });
  libraryObservation_ =
      services_.library->store().observe([this](const HistoryChange&) { updateMenu(); });
  services_.settings->onShowMenuBarIconChange = [this] {
    services_.showStatusItem(services_.settings->values().showMenuBarIcon);
  };
  services_.showStatusItem(services_.settings->values().showMenuBarIcon);
  bindHotKeys();
  tellUnfinishedAtLastQuit();
  // A tray may start later than this program.
  services_.main->postAfter(trayBound, alive_.guard([this] {
    const bool isSeen = !services_.settings->values().showMenuBarIcon || services_.isTrayShown();
    if (!isSeen && !hasTold_) tellThatItRuns();
  }));
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
  services_.library->stopWaiting();
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
