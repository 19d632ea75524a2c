#include "app/app_coordinator.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <utility>

#include "app/command_keys.hpp"
#include "app/scrolling_capture.hpp"
#include "app/tray_menu.hpp"
#include "base/log.hpp"
#include "library/entry_filter.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds clipboardBound{5};

/// How long somebody at the desktop goes without a sign of the capture he took.
constexpr std::chrono::seconds desktopPatience{1};
constexpr std::chrono::seconds trayBound{10};
/// For a look whether the index is in its place, on a disk that may hang.
constexpr std::chrono::seconds indexLookBound{5};

StillCaptureRequest requestFor(const StillCaptureCommand& command, std::chrono::seconds delay) {
  StillCaptureRequest request{
      .delay = delay, .showsPointer = command.showsPointer, .isTimedCapture = command.isTimed};
  request.handOver = command.handOver;
  request.handTarget = command.handTarget;
  if (command.kind == StillCaptureCommand::Kind::scroll) {
    request.activity = CaptureActivity::scrollingCapture;
    request.leastScrolledHeight = ScrollingCapture::leastHeight;
  }
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
    case StillCaptureCommand::Kind::text:
    case StillCaptureCommand::Kind::scroll:
      if (command.window) {
        request.mode = CaptureMode::window;
        request.target = WindowTarget{*command.window, {}};
        break;
      }
      [[fallthrough]];
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
                    .alerts = &services_.alerts,
                    .recordUnfinished =
                        [this](std::vector<std::string> names) {
                          services_.settings.set(&SettingsValues::filingUnfinishedAtQuit,
                                                 std::move(names));
                        },
                    .terminate = [this] { terminateWhenSaved(); }}),
      arbiter_([this] { return services_.alerts.isModalDialogUp(); },
               [this] { return termination_.isInProgress(); }),
      permission_(services_.main, services_.screen, services_.alerts, services_.relaunch) {
  services_.captures.onActivity = lifetime_.guard([this](CaptureActivity activity, bool running) {
    arbiter_.set(activity, running);
    menuChanged();
  });
  redactions_ = services_.captures.redactions().observe([this] { menuChanged(); });
  if (services_.hotKeys != nullptr) {
    keys_ = std::make_unique<CommandKeys>(CommandKeys::Services{
        .main = services_.main,
        .hotKeys = *services_.hotKeys,
        .settings = services_.settings,
        .alerts = services_.alerts,
        .perform = [this](const auto& command) { perform(command); },
        .isSaidInWindow =
            [this] { return surfaces_.settings.isOpen() || surfaces_.welcome.isOpen(); }});
  }
  if (services_.statusItem != nullptr) {
    menu_ = std::make_unique<TrayMenu>(*this, services_.main, *services_.statusItem);
  }
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
    if (refused == CaptureRefusal::modalDialogUp) services_.alerts.bringForward();
    finished(*refused);
    return;
  }
  struct Waiting {
    StillCapturePipeline::Finished finished;
    std::move_only_function<void(StillCapturePipeline::Finished)> go;
  };
  auto waiting = std::make_shared<Waiting>(Waiting{std::move(finished), std::move(go)});
  permission_.preflight(lifetime_.guard([this, waiting](bool granted) {
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
  const SettingsValues& settings = services_.settings.values();
  const CaptureDelay usual =
      command.isTimed ? settings.timedCaptureLastDelaySeconds : settings.captureDelaySeconds;
  const std::chrono::seconds delay = command.delay.value_or(lengthOf(usual));
  std::function<void(const PixelRect&)> onLookedThrough;
  if (command.isAnsweredAtDesktop) {
    // What is filed seconds later was seen to be taken when it was.
    const auto isCued = std::make_shared<bool>(false);
    onLookedThrough = [this, isCued](const PixelRect& shown) {
      *isCued = true;
      cue(shown);
    };
    Conclusion how{.isAnsweredAtDesktop = true};
    if (delay.count() > 0) how.failedTitle = "Timer finished, but the screenshot failed";
    finished = [this, how = std::move(how), isCued, mayBeRepeated = command.mayBeRepeated,
                finished = std::move(finished)](CaptureReply reply) mutable {
      const auto* const refused = std::get_if<CaptureRefusal>(&reply);
      const bool isRepeated =
          mayBeRepeated && refused != nullptr && *refused == CaptureRefusal::captureRunning;
      if (!isRepeated) report(reply, how, *isCued);
      finished(std::move(reply));
    };
    onStaged = [this, also = std::move(onStaged)](const Path& staged) {
      if (also) also(staged);
      stagedAtDesktop();
    };
  }
  withPermission(std::move(finished), [this, command = std::move(command), delay,
                                       begins = std::move(begins), onStaged = std::move(onStaged),
                                       onLookedThrough = std::move(onLookedThrough)](
                                          StillCapturePipeline::Finished permitted) mutable {
    if (begins && !begins()) return permitted(CaptureOutcome{CaptureOutcome::Cancelled{}});
    if (command.isTimed) {
      services_.settings.set(&SettingsValues::timedCaptureLastDelaySeconds,
                             delayOfSeconds(delay.count()));
    }
    auto done = [this, copies = command.copies,
                 permitted = untilSaved(std::move(permitted))](CaptureReply reply) mutable {
      afterCapture(std::move(reply), copies, std::move(permitted));
    };
    StillCaptureRequest request = requestFor(command, delay);
    request.onStaged = std::move(onStaged);
    request.onLookedThrough = std::move(onLookedThrough);
    if (command.kind == StillCaptureCommand::Kind::previous) {
      stills().capturePreviousArea(std::move(request), std::move(done));
    } else {
      stills().capture(std::move(request), std::move(done));
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
    stills().captureForRemote(mode, CaptureOrigin::remote, std::move(onFiled), std::move(capturing),
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
  command.isAnsweredAtDesktop = true;
  command.mayBeRepeated = true;
  capture(std::move(command), [](const CaptureReply&) {});
}

void AppCoordinator::cue(const PixelRect& shown) {
  if (services_.cue) services_.cue({shown, services_.settings.values().playSounds});
}

/// Shows a user who has no terminal how a capture ended, unless it was by Escape.
void AppCoordinator::report(const CaptureReply& reply, const Conclusion& how, bool isCued) {
  if (const auto* refused = std::get_if<CaptureRefusal>(&reply)) {
    logInfo("Capture", "{}", sentence(*refused));
    services_.alerts.notify(how.refusedTitle, sentence(*refused));
    return;
  }
  const CaptureOutcome& outcome = std::get<CaptureOutcome>(reply);
  if (const auto* failure = std::get_if<CaptureFailure>(&outcome.value)) {
    services_.alerts.notify(how.failedTitle, sentence(*failure));
  } else if (const auto* saved = std::get_if<CaptureOutcome::Saved>(&outcome.value)) {
    if (!isCued) cue(saved->shown);
    std::vector<std::string> remarks = remarksOn(*saved);
    // Otherwise the card says it.
    if (saved->covered > 0 && !services_.settings.values().showQuickAccessOverlay) {
      remarks.push_back(redactedWords(saved->covered) + ".");
    }
    if (!remarks.empty()) {
      services_.alerts.notify(how.savedTitle, fmt::format("{}", fmt::join(remarks, "\n")));
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
  if (onSaved) onSaved(*saved);
  // Whoever shows it has it now; it would lie in memory until the reply is read.
  saved->picture = {};
  if (!services_.settings.values().hasCapturedSuccessfully) {
    services_.settings.set(&SettingsValues::hasCapturedSuccessfully, true);
  }
  copies |= saved->copies || services_.settings.values().copyToClipboardAfterCapture;
  if (!copies) {
    return finished(std::move(reply));
  }
  struct Waiting {
    CaptureReply reply;
    StillCapturePipeline::Finished finished;
  };
  const EntryPointer entry = saved->entry;
  auto waiting = std::make_shared<Waiting>(Waiting{std::move(reply), std::move(finished)});
  const auto answer = [waiting, id = entry->id,
                       told = onCopied](const Result<void, CopyFailure>& copied) {
    if (!waiting->finished) return;
    if (copied && told) told(id);
    if (!copied) {
      const std::string why = sentence(copied.error());
      std::get<CaptureOutcome::Saved>(std::get<CaptureOutcome>(waiting->reply).value)
          .remarks.push_back("Not copied: " + why + (why.ends_with('.') ? "" : "."));
    }
    std::exchange(waiting->finished, nullptr)(std::move(waiting->reply));
  };
  services_.copying.copy(*entry, answer);
  // A clipboard that does not answer holds up neither the user nor a quit.
  services_.main->postAfter(clipboardBound, lifetime_.guard([answer] {
    answer(std::unexpected(CopyFailure{CopyFailure::Case::silent}));
  }));
}

void AppCoordinator::stagedAtDesktop() {
  services_.main->postAfter(desktopPatience, lifetime_.guard([this] {
    // It is saved, and listed once the library comes free.
    if (services_.library.awaitedHolder()) services_.library.stopWaiting();
  }));
}

void AppCoordinator::conclude(CaptureReply reply, Conclusion how,
                              StillCapturePipeline::Finished finished) {
  const bool copies = how.copies;
  if (how.isAnsweredAtDesktop) {
    finished = [this, how = std::move(how),
                finished = std::move(finished)](CaptureReply end) mutable {
      report(end, how, false);
      finished(std::move(end));
    };
  }
  afterCapture(std::move(reply), copies, std::move(finished));
}

void AppCoordinator::undoRecentDelete() {
  if (!services_.library.deletion().pendingUndo()) {
    if (auto refusal = services_.library.store().indexRefusal()) {
      return services_.alerts.notify(
          "History",
          sentence(EntryFailure{EntryFailure::Case::libraryClosed, *std::move(refusal)}));
    }
    return services_.alerts.notify("Nothing to undo", "A deletion can be undone for 8 seconds.");
  }
  services_.library.deletion().undo(lifetime_.guard([this](const UndoOutcome& outcome) {
    if (outcome.indexNotSaved) {
      services_.alerts.notify("History couldn't be saved", *outcome.indexNotSaved);
    }
    if (outcome.failures.empty()) return;
    services_.alerts.notify("Some captures weren't restored", outcome.failures.front().reason);
  }));
}

void AppCoordinator::focusCard() {
  if (isQuitting() || (onFocusCard && onFocusCard())) return;
  if (auto refusal = refusalToLook(services_.library.store())) {
    return services_.alerts.notify(
        "History", sentence(EntryFailure{EntryFailure::Case::libraryClosed, *std::move(refusal)}));
  }
  services_.alerts.notify("No card to focus", "There is no capture to show on a card yet.");
}

std::vector<StatusMenuItem> AppCoordinator::statusMenu() {
  VT_CHECK(menu_ != nullptr);
  return menu_->lines();
}

void AppCoordinator::menuChanged() {
  if (menu_ != nullptr) menu_->update();
}

bool AppCoordinator::show(AppWindow window) {
  if (services_.windows == nullptr || isQuitting()) return false;
  WindowSlot& slot = surfaces_.slot(window);
  slot.show([this, window, &slot] {
    return services_.windows->open(window, [&slot] { slot.closed(); });
  });
  return slot.isOpen();
}

void AppCoordinator::startedAgain() {
  if (!show(AppWindow::history)) sayThatItRuns();
}

void AppCoordinator::newCollection() {
  if (!show(AppWindow::history)) return;
  if (Surface* const history = surfaces_.history.surface()) history->addCollection();
}

void AppCoordinator::sayThatItRuns() {
  hasSaidThatItRuns_ = true;
  const std::string key = keys_ ? keys_->workingKey(ShortcutID::capture) : std::string();
  const std::string how = key.empty() ? std::string("\"vantorel capture area\" captures an area.")
                                      : fmt::format("{} captures an area.", key);
  const char* const rest =
      services_.statusItem != nullptr && services_.statusItem->isHosted()
          ? " Its icon in the tray has everything else."
      : !services_.settings.values().showMenuBarIcon
          ? " Its icon is hidden; \"vantorel settings set showMenuBarIcon true\" shows it."
          : " This desktop shows no tray; \"vantorel quit\" ends it.";
  services_.alerts.notify("Vantorel is running", how + rest);
}

void AppCoordinator::followPreviousArea() {
  previousArea_.onChange(lifetime_.guard([this] { menuChanged(); }));
  previousArea_.setRegion(services_.settings.values().rememberedRegion);
  settingsObservation_ = services_.settings.observe(&SettingsValues::rememberedRegion, [this] {
    previousArea_.setRegion(services_.settings.values().rememberedRegion);
  });
  const auto readDisplays = [this] {
    services_.screen.displays(
        lifetime_.guard([this](Result<std::vector<DisplaySnapshot>> displays) {
          if (!displays) return;
          previousArea_.setDisplays(std::move(*displays));
          menuChanged();  // a line of it is there for several displays only
        }));
  };
  services_.screen.onDisplaysChange(lifetime_.guard(readDisplays));
  readDisplays();
}

void AppCoordinator::startResident() {
  VT_CHECK(menu_ != nullptr);
  followPreviousArea();
  menu_->follow();
  const auto showIcon = [this] {
    services_.statusItem->setVisible(services_.settings.values().showMenuBarIcon);
  };
  services_.settings.onShowMenuBarIconChange = lifetime_.guard(showIcon);
  showIcon();
  if (keys_) {
    keysObservation_ = keys_->observe([this] { menuChanged(); });
    keys_->bind();
  }
  reportUnfinishedAtLastQuit();
  if (!services_.settings.values().hasCompletedOnboarding) (void)show(AppWindow::welcome);
  // A tray may start later than this program.
  services_.main->postAfter(trayBound, lifetime_.guard([this] {
    const bool isSeen =
        !services_.settings.values().showMenuBarIcon || services_.statusItem->isHosted();
    if (!isSeen && !hasSaidThatItRuns_) sayThatItRuns();
  }));
}

void AppCoordinator::reportUnfinishedAtLastQuit() {
  const std::vector<std::string> stored = services_.settings.values().filingUnfinishedAtQuit;
  // A quit that was begun meanwhile may have put down others.
  auto forget = lifetime_.guard([this, stored] {
    if (services_.settings.values().filingUnfinishedAtQuit != stored) return;
    services_.settings.set(&SettingsValues::filingUnfinishedAtQuit, {});
  });
  if (stored.empty()) return;
  const auto items = QuitFilingNote::fromStored(stored);
  if (items.empty()) return forget();
  logWarning("Quit", "{}", QuitFilingNote::unfinishedAtLastQuit(items));
  services_.alerts.tell("Vantorel", QuitFilingNote::unfinishedAtLastQuit(items), forget);
}

bool AppCoordinator::isScrolling() const {
  return scrolling != nullptr && scrolling->phase() != ScrollingCapture::Phase::idle;
}

void AppCoordinator::quit(std::function<void(bool)> answered) {
  if (answered) waitingForQuit_.push_back(std::move(answered));
  // Whoever asked is answered first: afterwards nobody is left to answer.
  auto go = lifetime_.guard([this](bool mayQuit) {
    for (const auto& told : std::exchange(waitingForQuit_, {})) told(mayQuit);
    if (mayQuit && !isQuitting()) quitNow();
  });
  if (isQuitting()) {
    services_.alerts.bringForward();
    return go(true);
  }
  closeEditors ? closeEditors(go) : go(true);
}

void AppCoordinator::quitUnasked() {
  if (keepUnsaved && !isQuitting()) {
    const auto ticket = pendingWork_.begin(QuitFilingNote::Item::editorSave);
    keepUnsaved(lifetime_.guard([this, ticket] { pendingWork_.end(ticket); }));
  }
  quitNow();
}

void AppCoordinator::quitNow() {
  services_.library.relocation().stop();
  services_.library.stopWaiting();
  stills().settle();
  if (scrolling != nullptr) scrolling->settle();
  termination_.request();
}

void AppCoordinator::terminateWhenSaved() {
  if (std::exchange(quitSaving_, true)) return;
  // The next launch finds what a move has begun, so a disk that hangs need not hold up the quit for
  // longer than anything else does.
  const auto once = lifetime_.guard([this, ended = std::make_shared<bool>(false)] {
    if (!std::exchange(*ended, true)) saveAndTerminate();
  });
  services_.library.relocation().settle(once);
  services_.main->postAfter(QuitFilingDeadline::length, once);
}

void AppCoordinator::saveAndTerminate() {
  const HistoryStore& store = services_.library.store();
  auto once = lifetime_.guard(
      [this, &store, ended = std::make_shared<bool>(false)](const Result<void>& saved) {
        if (std::exchange(*ended, true)) return;
        // What may not be written in this run at all was said when it was opened.
        if (saved || store.indexRefusal()) return saveSettingsAndTerminate();
        askAboutUnsaved("History", saved.error().reason, &AppCoordinator::saveSettingsAndTerminate);
      });
  // With nothing unsaved, all there is to do is a look whether the index is still in its place.
  if (store.landedSequence() == store.writeSequence()) {
    services_.main->postAfter(indexLookBound, [once]() mutable { once(Result<void>()); });
  }
  services_.library.store().secure(once);
}

void AppCoordinator::saveSettingsAndTerminate() {
  services_.settings.flush(lifetime_.guard([this](const Result<void>&) {
    // What may not be written in this run at all was said when it was read.
    const std::string& reason = services_.settings.unsaved();
    if (reason.empty()) return services_.terminate();
    askAboutUnsaved("The settings", reason, &AppCoordinator::terminate);
  }));
}

void AppCoordinator::askAboutUnsaved(std::string_view what, std::string_view reason,
                                     void (AppCoordinator::*quitAnyway)()) {
  services_.alerts.ask(
      {.style = Alert::Style::warning,
       .message = fmt::format("{} couldn't be saved", what),
       .informative = fmt::format("Your latest changes are not on the disk yet: {}. If you quit "
                                  "now, they will be lost.",
                                  reason),
       .buttons = {{"Quit Anyway"}, {"Try Again"}, {"Don't Quit", true, true}}},
      lifetime_.guard([this, quitAnyway](std::size_t button) {
        if (button == 0) return (this->*quitAnyway)();
        if (button == 1) return saveAndTerminate();
        quitSaving_ = false;
        termination_.callOff();
      }));
}

}  // namespace vantorel
