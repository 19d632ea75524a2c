#include "cli/command_runner.hpp"

#include <fmt/format.h>

#include <utility>

#include "app/capture_editors.hpp"
#include "app/capture_pins.hpp"
#include "app/command_keys.hpp"
#include "base/bounded_run.hpp"
#include "base/json_writer.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds listBound{5};
constexpr std::chrono::seconds filingBound{5};

constexpr const char* quitCalledOff = "Vantorel goes on: Annotate has changes that are not saved.";

/// So long a wait for the library needs no word: another command is about to end.
constexpr std::chrono::seconds silentWait{1};

template <class Value>
using Listing = Result<std::vector<Value>>;

ExitStatus statusOf(CaptureRefusal refusal) {
  switch (refusal) {
    case CaptureRefusal::captureRunning:
    case CaptureRefusal::modalDialogUp:
    case CaptureRefusal::quitting: return ExitStatus::refused;
    case CaptureRefusal::noPreviousArea:
    case CaptureRefusal::previousAreaDisplayDisconnected:
    case CaptureRefusal::previousAreaGeometryChanged:
    case CaptureRefusal::unknownDisplay:
    case CaptureRefusal::unknownWindow:
    case CaptureRefusal::noWindows:
    case CaptureRefusal::unreadableArea:
    case CaptureRefusal::displaysChanged:
    case CaptureRefusal::areaTooLow: return ExitStatus::failed;
  }
  std::unreachable();
}

/// What a command waits for.
std::string waitSentence(const std::string& holder, const Path& staged) {
  if (staged.empty()) {
    return fmt::format("Waiting for the library, which {} has. Ctrl-C stops.", holder);
  }
  return fmt::format(
      "The picture is safe: {}\nIt is filed when {} lets go of the library. Ctrl-C leaves that to "
      "the next run.",
      staged.string(), holder);
}

/// To one who called off a command that waited for the library.
CommandReply interruptedReply(const std::optional<std::string>& holder, const Path& staged) {
  const std::string has = holder ? fmt::format(", which {} has", *holder) : "";
  return {ExitStatus::interrupted,
          {},
          staged.empty()
              ? fmt::format("Stopped waiting for the library{}; nothing was changed.\n", has)
              : fmt::format("Stopped waiting for the library{}. The picture is safe, and the next "
                            "run files it: {}\n",
                            has, staged.string())};
}

CommandReply filed(const ScreenshotEntry& entry, bool json) {
  return {ExitStatus::done, (json ? json::toText(entry) : entry.path) + "\n", {}};
}

CommandReply replyTo(const CaptureReply& reply, bool json) {
  if (const auto* refused = std::get_if<CaptureRefusal>(&reply)) {
    return {statusOf(*refused), {}, sentence(*refused) + "\n"};
  }
  const auto& outcome = std::get<CaptureOutcome>(reply).value;
  if (const auto* failed = std::get_if<CaptureFailure>(&outcome))
    return failedReply(sentence(*failed));
  const auto* saved = std::get_if<CaptureOutcome::Saved>(&outcome);
  if (saved == nullptr) return {ExitStatus::cancelled, {}, "Cancelled.\n"};
  CommandReply done = filed(*saved->entry, json);
  if (saved->covered > 0) done.error += redactedWords(saved->covered) + ".\n";
  for (const std::string& remark : remarksOn(*saved)) done.error += remark + "\n";
  if (!saved->indexFailure.empty()) done.status = ExitStatus::failed;
  return done;
}

CommandReply replyTo(const TextCapture::Answer& taken, bool json) {
  if (!taken) {
    const auto& cause = taken.error().cause;
    const auto* const refused = std::get_if<CaptureRefusal>(&cause);
    const bool isCancelled = std::holds_alternative<TextCaptureFailure::Cancelled>(cause);
    return {isCancelled          ? ExitStatus::cancelled
            : refused != nullptr ? statusOf(*refused)
                                 : ExitStatus::failed,
            {},
            sentence(taken.error()) + "\n"};
  }
  CommandReply reply;
  reply.output = taken->text + "\n";
  if (json) {
    json::Writer writer;
    writer.beginObject();
    writer.member("text", taken->text);
    writer.key("blocks");
    write(writer, taken->reading.blocks);
    writer.key("codes");
    write(writer, taken->reading.codes);
    writer.member("shape", nameOf(taken->reading.shape));
    writer.member("truncated", taken->reading.isTruncated);
    if (taken->entry) writer.member("id", taken->entry->id);
    writer.endObject();
    reply.output = writer.take() + "\n";
  }
  for (const std::string& remark : taken->remarks) reply.error += remark + "\n";
  return reply;
}

/// With a sentence for each picture that is not there.
CommandReply replyTo(const std::vector<UnopenedPicture>& unopened) {
  CommandReply reply;
  if (!unopened.empty()) reply.status = ExitStatus::failed;
  for (const UnopenedPicture& one : unopened) reply.error += sentence(one) + "\n";
  return reply;
}

void writeRect(json::Writer& writer, std::string_view key, const PointRect& rect) {
  writer.key(key);
  write(writer, rect);
}

std::string line(const DisplaySnapshot& display, bool json) {
  if (!json) {
    return fmt::format("{}\t{}x{}\tscale {}\tat {},{}\t{}{}\n", display.id, display.pixelSize.width,
                       display.pixelSize.height, display.scale(), display.bounds.x,
                       display.bounds.y, display.name, display.isMain ? " (main)" : "");
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("id", display.id);
  writer.member("uuid", display.uuid);
  writer.member("name", display.name);
  writeRect(writer, "bounds", display.bounds);
  writer.key("pixelSize");
  write(writer, display.pixelSize);
  writer.member("scale", display.scale());
  writer.member("main", display.isMain);
  writer.endObject();
  return writer.take() + "\n";
}

std::string_view whyUnseen(WindowVisibility visibility) {
  switch (visibility) {
    case WindowVisibility::shown: return "";
    case WindowVisibility::minimized: return " (minimized)";
    case WindowVisibility::rolledUp: return " (rolled up)";
    case WindowVisibility::onOtherWorkspace: return " (on another workspace)";
  }
  std::unreachable();
}

std::string line(const WindowSnapshot& window, bool json) {
  if (!json) {
    return fmt::format("{}\t{}x{}\tat {},{}\t{}\t{}{}\n", window.windowID, window.frame.width,
                       window.frame.height, window.frame.x, window.frame.y,
                       inOneCell(window.ownerName), inOneCell(window.title),
                       whyUnseen(window.visibility));
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("id", static_cast<std::int64_t>(window.windowID));
  writer.member("title", window.title);
  writer.member("application", window.ownerName);
  writer.member("applicationID", window.applicationID);
  writer.member("pid", window.ownerPID);
  writeRect(writer, "frame", window.frame);
  writer.member("display", window.displayID);
  writer.member("minimized", window.visibility == WindowVisibility::minimized);
  writer.member("visibility", nameOf(window.visibility));
  writer.endObject();
  return writer.take() + "\n";
}

template <class Value>
CommandReply listing(const std::optional<Listing<Value>>& answer, bool json) {
  if (!answer) {
    return failedReply(
        sentence(CaptureFailure{CaptureFailure::Case::screenCaptureDidNotAnswer, {}}));
  }
  if (!*answer) {
    return failedReply(
        sentence(CaptureFailure{CaptureFailure::Case::interrupted, answer->error().reason}));
  }
  CommandReply reply;
  for (const Value& value : **answer) reply.output += line(value, json);
  return reply;
}

}  // namespace

void CommandRunner::run(const CommandLine& line, Done done, const CommandRequester& requester) {
  if (const auto* capturing = std::get_if<command::Capture>(&line.command)) {
    capture(*capturing, line.json, requester, std::move(done));
  } else if (std::holds_alternative<command::ListDisplays>(line.command)) {
    listDisplays(line.json, std::move(done));
  } else if (std::holds_alternative<command::ListWindows>(line.command)) {
    listWindows(line.json, std::move(done));
  } else if (const auto* settings = std::get_if<command::Settings>(&line.command)) {
    changeSettings(*settings, line.json, requester, withRemarks(*settings, std::move(done)));
  } else if (const auto* autostart = std::get_if<command::Autostart>(&line.command)) {
    switchAutostart(*autostart, std::move(done));
  } else if (std::holds_alternative<command::Quit>(line.command)) {
    quit(std::move(done), requester);
  } else if (const auto* const shown = std::get_if<command::Show>(&line.command)) {
    const bool isShown = services_.coordinator->show(shown->window);
    done(isShown ? CommandReply() : failedReply("The window can't be opened now."));
  } else if (const auto* const editing = std::get_if<command::Edit>(&line.command)) {
    edit(*editing, std::move(done));
  } else if (const auto* const pinning = std::get_if<command::Pin>(&line.command)) {
    pin(*pinning, std::move(done));
  } else if (line.stitched() != nullptr) {
    done(failedReply("Frames are stitched where the command is typed."));
  } else if (std::holds_alternative<command::Run>(line.command)) {
    services_.coordinator->startedAgain();
    done({ExitStatus::done, {}, "Vantorel is running already.\n"});
  } else {
    whenLibraryReady(requester, std::move(done), [this, line, requester](Done wanted) {
      if (line.onlyVerifies()) return withLibrary(line, std::move(wanted), requester);
      whenStagedFiled(std::move(wanted), [this, line, requester](Done remarking) {
        withLibrary(line, std::move(remarking), requester);
      });
    });
  }
}

/// Answers when it is known whether the program ends: the user may be asked first.
void CommandRunner::quit(Done done, const CommandRequester& requester) {
  const auto answered = std::make_shared<Done>(std::move(done));
  services_.coordinator->quit([answered](bool quits) {
    std::exchange(*answered, nullptr)(quits ? CommandReply() : failedReply(quitCalledOff));
  });
  if (*answered && requester.show) {
    requester.show({.words = "Waiting for an answer about unsaved changes in Annotate."});
  }
}

/// Answers when all pictures are in their windows, with a sentence for each that is not.
void CommandRunner::edit(const command::Edit& what, Done done) {
  CaptureEditors* const editors = services_.coordinator->editors;
  if (editors == nullptr || services_.coordinator->isQuitting()) {
    return done(failedReply("The window can't be opened now."));
  }
  const auto answered = std::make_shared<Done>(std::move(done));
  if (what.clipboard) {
    return editors->openClipboard([answered](const Result<void, std::string>& opened) {
      (*answered)(opened ? CommandReply() : failedReply(opened.error()));
    });
  }
  editors->openAll(what.pictures, [answered](const std::vector<UnopenedPicture>& unopened) {
    (*answered)(replyTo(unopened));
  });
}

void CommandRunner::pin(const command::Pin& what, Done done) {
  CapturePins* const pins = services_.coordinator->pins;
  if (pins == nullptr || services_.coordinator->isQuitting()) {
    return done(failedReply("The picture can't be pinned now."));
  }
  pins->pinAll(what.pictures, [answered = std::make_shared<Done>(std::move(done))](
                                  const std::vector<UnopenedPicture>& unopened) {
    (*answered)(replyTo(unopened));
  });
}

// What a value names has to be there: it is refused here, where somebody reads why. What goes later
// leaves the setting as it is.
void CommandRunner::changeSettings(const command::Settings& what, bool json,
                                   const CommandRequester& requester, Done done) {
  const Setting* const setting = findSetting(what.key);
  const JSONValue value = setting != nullptr && what.verb == command::Settings::Verb::set
                              ? setting->parse(what.value)
                              : JSONValue();
  const auto* const named = std::get_if<std::string>(&value.value);
  const auto change = [this, json](const command::Settings& checked, Done wanted) {
    runSettingsCommand(checked, json, *services_.settings, std::move(wanted));
  };
  if (named == nullptr || !setting->accepts(value)) return change(what, std::move(done));
  const auto checked = [this, what, change](Done wanted, const auto& words) {
    return lifetime_.guard(
        [what, change, words,
         wanted = std::make_shared<Done>(std::move(wanted))](const auto& usable) {
          if (!usable) return (*wanted)(failedReply(words(usable.error())));
          change(what, std::move(*wanted));
        });
  };
  if (what.key == "storageDirectory") {
    services_.move->checkFolder(*named, checked(std::move(done), [](const FolderRefusal& refusal) {
      return sentence(refusal);
    }));
  } else if (what.key == "desktopCoverImagePath") {
    services_.checkFile(*named, checked(std::move(done), [file = *named](const Failure& failure) {
      return fmt::format("{} can't be opened: {}.", file, failure.reason);
    }));
  } else if (what.namesCollection()) {
    whenLibraryReady(requester, std::move(done), [this, what, change, name = *named](Done wanted) {
      const HistoryStore& store = services_.library->store();
      const auto collection = store.resolveCollection(name);
      if (!collection) {
        const std::string reason = store.collections().empty()
                                       ? store.indexRefusal().value_or(collection.error().reason)
                                       : collection.error().reason;
        return wanted(failedReply(
            fmt::format("{}; \"vantorel library collections\" lists them all", reason)));
      }
      command::Settings byID = what;
      byID.value = (*collection)->id;
      change(byID, std::move(wanted));
    });
  } else {
    change(what, std::move(done));
  }
}

void CommandRunner::withLibrary(const CommandLine& line, Done done,
                                const CommandRequester& requester) {
  // What a menu of History's would be called.
  done = [reported = std::move(done)](CommandReply reply) mutable {
    if (reply.error.contains("Remove from History")) {
      reply.error += "Here Remove from History is \"vantorel library forget\".\n";
    }
    reported(std::move(reply));
  };
  if (const auto* annotating = std::get_if<command::Annotate>(&line.command)) {
    annotate(*annotating, line.json, std::move(done));
  } else if (const auto* rendering = std::get_if<command::Render>(&line.command)) {
    render(*rendering, std::move(done));
  } else if (const auto* redacting = std::get_if<command::Redact>(&line.command)) {
    redact(*redacting, line.json, std::move(done));
  } else if (const auto* library = std::get_if<command::Library>(&line.command)) {
    services_.libraryCommands->run(*library, line.json, std::move(done), requester);
  } else {
    rewrite(line, std::move(done));
  }
}

void CommandRunner::redact(const command::Redact& what, bool json, Done done) {
  const auto answered = std::make_shared<Done>(std::move(done));
  const auto scanned = [answered, json](const auto& scan) { (*answered)(scanReply(scan, json)); };
  const auto changed = [answered, json](const CaptureRedactor::Answer<EntryPointer>& entry) {
    (*answered)(entry ? filed(**entry, json) : failedReply(sentence(entry.error())));
  };
  CaptureRedactor& redactor = *services_.redactor;
  if (const auto* const scan = std::get_if<command::Redact::Scan>(&what.what)) {
    if (!scan->picture.file.empty()) return redactor.scanPicture(scan->picture.file, scanned);
    redactor.scanCapture(scan->picture.capture, scanned);
  } else if (const auto* const apply = std::get_if<command::Redact::Apply>(&what.what)) {
    redactor.apply(apply->capture, apply->wanted, [answered, json](const auto& applied) {
      (*answered)(appliedReply(applied, json));
    });
  } else if (const auto* const remove = std::get_if<command::Redact::Remove>(&what.what)) {
    redactor.remove(remove->capture, changed);
  } else if (const auto* const reapply = std::get_if<command::Redact::Reapply>(&what.what)) {
    redactor.reapply(reapply->capture, changed);
  }
}

/// Calls `go`, unless the command is called off before.
void CommandRunner::whenLibraryReady(const CommandRequester& requester, Done done,
                                     std::move_only_function<void(Done)> go) {
  const auto waiting = std::make_shared<Done>(std::move(done));
  const auto place = waiting_.emplace(requester.name, waiting);
  services_.library->whenUpToDate(
      lifetime_.guard([this, waiting, place, show = requester.show, go = std::move(go)]() mutable {
        waiting_.erase(place);
        if (!*waiting) return;
        sayWhoHasTheLibrary(show);
        go(std::exchange(*waiting, nullptr));
      }));
  announceWait(requester.show, waiting, {});
}

/// Captures that an earlier run left belong to the library that is asked for. A disk that takes
/// long to file them holds nobody.
void CommandRunner::whenStagedFiled(Done done, std::move_only_function<void(Done)> go) {
  struct Filed {};
  runBounded<Filed>(
      services_.main, {filingBound, filingBound, {}},
      [this](std::move_only_function<void(Filed)> reply) {
        services_.fileStaged([reply = std::make_shared<std::move_only_function<void(Filed)>>(
                                  std::move(reply))] { (*reply)({}); });
      },
      lifetime_.guard(
          [done = std::move(done), go = std::move(go)](std::optional<Filed> filed) mutable {
            if (filed) return go(std::move(done));
            go([done = std::move(done)](CommandReply reply) mutable {
              reply.error += "Captures of an earlier run are still being filed.\n";
              done(std::move(reply));
            });
          }),
      nullptr);
}

/// Says what is waited for, should it take long. Another process that lives in the tray may have
/// the library for days: that one is not waited for.
void CommandRunner::announceWait(const ShowProgress& show, Waiting waiting, const Path& staged) {
  if (services_.library->isReady()) return;
  services_.main->postAfter(
      silentWait, lifetime_.guard([this, show, waiting = std::move(waiting), staged] {
        const std::optional<std::string> holder = services_.library->awaitedHolder();
        if (!holder || !*waiting) return;
        if (trayThatIs(holder)) return services_.library->stopWaiting();
        if (show) show({0, 0, waitSentence(*holder, staged)});
      }));
}

/// A capture that is looked through before it is filed takes seconds.
void CommandRunner::announceScan(const ShowProgress& show, Waiting waiting) const {
  if (!show) return;
  services_.main->postAfter(silentWait, lifetime_.guard([this, show, waiting = std::move(waiting)] {
    const std::string words = scanningWords(services_.coordinator->redactions().underWay());
    if (*waiting && !words.empty()) show({0, 0, words + "."});
  }));
}

/// When it was not waited for, and no session bus leads there.
void CommandRunner::sayWhoHasTheLibrary(const ShowProgress& show) const {
  // The refusal begins with who it is.
  const auto tray = trayThatIs(services_.library->store().indexRefusal());
  if (tray && show) show({0, 0, unreachableTraySentence(*tray)});
}

/// The process of the unreachable program in the tray, when it is the one named.
std::optional<long> CommandRunner::trayThatIs(const std::optional<std::string>& holder) const {
  if (!holder || !services_.unreachableTray) return std::nullopt;
  const auto tray = services_.unreachableTray();
  if (!tray || !holder->starts_with(fmt::format("process {} ", *tray))) return std::nullopt;
  return tray;
}

/// What keeps a setting that was just made from working belongs to the answer.
CommandDone CommandRunner::withRemarks(const command::Settings& what, Done done) {
  using Verb = command::Settings::Verb;
  if (what.verb != Verb::set && what.verb != Verb::reset) return done;
  return [this, key = what.key, done = std::move(done)](CommandReply reply) mutable {
    if (reply.status != ExitStatus::done) return done(std::move(reply));
    if (key == "retentionDays") {
      const std::string remark = services_.retention->remark();
      if (!remark.empty()) reply.error += remark + "\n";
      return done(std::move(reply));
    }
    const SettingsValues& values = services_.settings->values();
    if (key.starts_with("desktopCover") && values.desktopCoverStyle == DesktopCoverStyle::custom &&
        !values.desktopCoverImagePath) {
      reply.error +=
          "No image is chosen (\"desktopCoverImagePath\"), so the color covers the desktop's "
          "icons.\n";
    }
    CommandKeys* const keys = services_.coordinator->keys();
    if (keys == nullptr) return done(std::move(reply));
    keys->whenKnown(key, lifetime_.guard([reply = std::move(reply),
                                          done = std::make_shared<Done>(std::move(done))](
                                             const std::string& sentences) mutable {
      if (!sentences.empty()) reply.error += sentences + "\n";
      (*done)(std::move(reply));
    }));
  };
}

void CommandRunner::requesterGone(const std::string& requester) {
  const auto [first, last] = capturing_.equal_range(requester);
  const bool isScrolling = std::any_of(first, last, [](const auto& one) {
    return one.second->isScrolled && one.second->hasBegun && one.second->staged.empty();
  });
  const bool isFollowing =
      isScrolling && services_.scrolling->phase() != ScrollingCapture::Phase::idle;
  // From then on it waits for nobody.
  if (isFollowing) services_.scrolling->settle();
  callOff(requester);
}

void CommandRunner::callOff(const std::string& requester) {
  std::vector<std::pair<Done, Path>> interrupted;
  const auto take = [&](Done& done, const Path& staged) {
    if (done) interrupted.emplace_back(std::exchange(done, nullptr), staged);
  };
  bool isInFlight = false;
  bool isScrolling = false;
  const auto [begin, end] = capturing_.equal_range(requester);
  for (auto found = begin; found != end; ++found) {
    Capturing& capturing = *found->second;
    capturing.isCalledOff = true;
    // One that is staged waits for nobody; what waits for the user now may be another one.
    const bool isUnderWay = capturing.hasBegun && capturing.staged.empty();
    (capturing.isScrolled ? isScrolling : isInFlight) |= isUnderWay;
    if (!capturing.staged.empty() && !services_.library->isReady()) {
      take(capturing.done, capturing.staged);
    }
  }
  const auto [first, last] = waiting_.equal_range(requester);
  for (auto found = first; found != last; ++found) take(*found->second, {});
  // Answers, here and below, may end commands and with them their places among the others.
  for (auto& [done, staged] : interrupted) {
    done(interruptedReply(services_.library->awaitedHolder(), staged));
  }
  if (isInFlight) services_.coordinator->cancelCapture();
  if (isScrolling) services_.scrolling->callOff();
  services_.libraryCommands->stop(requester);
}

void CommandRunner::capture(const command::Capture& what, bool json,
                            const CommandRequester& requester, Done done) {
  if (what.what.kind == StillCaptureCommand::Kind::text) {
    return captureText(what, json, requester, std::move(done));
  }
  const auto capturing = std::make_shared<Capturing>(Capturing{
      .done = std::move(done), .isScrolled = what.what.kind == StillCaptureCommand::Kind::scroll});
  const auto place = capturing_.emplace(requester.name, capturing);
  begin(what, capturing, requester,
        [this, place, capturing, json, output = what.output,
         show = requester.show](const CaptureReply& reply) mutable {
          capturing_.erase(place);
          Done answered = std::exchange(capturing->done, nullptr);
          if (!answered) return;
          const auto* const outcome = std::get_if<CaptureOutcome>(&reply);
          const auto* const saved =
              outcome == nullptr ? nullptr : std::get_if<CaptureOutcome::Saved>(&outcome->value);
          if (saved != nullptr && !saved->indexFailure.empty()) sayWhoHasTheLibrary(show);
          CommandReply answer = replyTo(reply, json);
          if (saved == nullptr || !output) return answered(std::move(answer));
          handOut(*saved, *output, json, std::move(answer), std::move(answered));
        });
}

void CommandRunner::begin(const command::Capture& what, const std::shared_ptr<Capturing>& capturing,
                          const CommandRequester& requester,
                          StillCapturePipeline::Finished finished) {
  auto begins = [capturing] { return capturing->hasBegun = !capturing->isCalledOff; };
  auto onStaged = [this, capturing, requester](const Path& staged) {
    capturing->staged = staged;
    if (capturing->isCalledOff) return callOff(requester.name);
    announceWait(requester.show, Waiting(capturing, &capturing->done), staged);
    announceScan(requester.show, Waiting(capturing, &capturing->done));
  };
  if (!capturing->isScrolled) {
    return services_.coordinator->capture(what.what, std::move(finished), std::move(begins),
                                          std::move(onStaged));
  }
  services_.scrolling->take(what.what, std::move(finished),
                            {.begins = std::move(begins),
                             .onStaged = std::move(onStaged),
                             .onWord = [show = requester.show](const std::string& words) {
                               if (show) show({0, 0, words});
                             }});
}

void CommandRunner::captureText(const command::Capture& what, bool json,
                                const CommandRequester& requester, Done done) {
  const auto capturing = std::make_shared<Capturing>(Capturing{.done = std::move(done)});
  const auto place = capturing_.emplace(requester.name, capturing);
  services_.texts->take(
      what.what, lifetime_.guard([this, place, capturing, json](const TextCapture::Answer& taken) {
        capturing_.erase(place);
        if (Done answered = std::exchange(capturing->done, nullptr)) {
          answered(replyTo(taken, json));
        }
      }),
      [capturing] { return capturing->hasBegun = !capturing->isCalledOff; });
}

/// Gives a capture that is saved to the file or the pipe as well.
void CommandRunner::handOut(const CaptureOutcome::Saved& saved,
                            const command::Capture::Output& output, bool json, CommandReply answer,
                            Done done) {
  struct Handing {
    CommandReply answer;
    Done done;
  };
  const auto handing = std::make_shared<Handing>(Handing{std::move(answer), std::move(done)});
  const EntryPointer& entry = saved.entry;
  const auto fail = [handing, place = (saved.indexFailure.empty() ? "in the library: " : "at ") +
                                      entry->path](const std::string& why) {
    handing->answer.status = ExitStatus::failed;
    handing->answer.output.clear();
    handing->answer.error += why + " The capture is " + place + ".\n";
    handing->done(std::move(handing->answer));
  };
  if (output.file.empty()) {
    services_.exporting->read(entry, output.format,
                              [handing, fail](Result<std::string, ExportFailure> bytes) {
                                if (!bytes) return fail(sentence(bytes.error()));
                                handing->answer.output = std::move(*bytes);
                                handing->done(std::move(handing->answer));
                              });
    return;
  }
  services_.exporting->write(
      entry, output.format, output.file,
      [handing, fail, json, file = output.file](const Result<void, ExportFailure>& written) {
        if (!written) return fail(sentence(written.error()));
        if (!json) handing->answer.output = file.string() + "\n";
        handing->done(std::move(handing->answer));
      });
}

void CommandRunner::switchAutostart(const command::Autostart& what, Done done) {
  using Verb = command::Autostart::Verb;
  Autostart& autostart = *services_.autostart;
  if (what.verb != Verb::status) {
    if (const auto switched = autostart.set(what.verb == Verb::on); !switched) {
      return done(failedReply("Starting with the session couldn't be switched: " +
                              switched.error().reason));
    }
  }
  done({ExitStatus::done, autostart.isOn() ? "on\n" : "off\n", {}});
}

void CommandRunner::listDisplays(bool json, Done done) {
  runBounded<Listing<DisplaySnapshot>>(
      services_.main, {listBound, listBound, {}},
      [screen = services_.screen](auto reply) { screen->displays(std::move(reply)); },
      [json,
       done = std::move(done)](const std::optional<Listing<DisplaySnapshot>>& answer) mutable {
        done(listing(answer, json));
      },
      nullptr);
}

void CommandRunner::listWindows(bool json, Done done) {
  runBounded<Listing<WindowSnapshot>>(
      services_.main, {listBound, listBound, {}},
      [windows = services_.windows](auto reply) { windows->windows(std::move(reply)); },
      [json, done = std::move(done)](std::optional<Listing<WindowSnapshot>> answer) mutable {
        if (answer && *answer) {
          std::erase_if(**answer, [](const WindowSnapshot& window) { return window.isOwn; });
        }
        done(listing(answer, json));
      },
      nullptr);
}

void CommandRunner::rewrite(const CommandLine& line, Done done) {
  const auto finished = [json = line.json,
                         done = std::make_shared<Done>(std::move(done))](RewriteReply reply) {
    if (!reply) {
      (*done)(failedReply(sentence(reply.error())));
      return;
    }
    CommandReply said = filed(*reply->entry, json);
    said.error = reply->remark.empty() ? "" : reply->remark + "\n";
    (*done)(std::move(said));
  };
  if (const auto* convert = std::get_if<command::Convert>(&line.command)) {
    services_.rewriter->convert(convert->entryID, convert->format, finished);
  } else {
    const auto& compress = std::get<command::Compress>(line.command);
    services_.rewriter->compress(compress.entryID, compress.downscaleTo1x, finished);
  }
}

void CommandRunner::annotate(const command::Annotate& what, bool json, Done done) {
  const auto shared = std::make_shared<Done>(std::move(done));
  if (what.document) {
    services_.annotator->apply(
        what.entryID, *what.document, [json, shared](CaptureAnnotator::Answer<EntryPointer> entry) {
          (*shared)(entry ? filed(**entry, json) : failedReply(sentence(entry.error())));
        });
    return;
  }
  services_.annotator->document(
      what.entryID, [shared](CaptureAnnotator::Answer<CaptureAnnotator::Annotations> found) {
        if (!found) return (*shared)(failedReply(sentence(found.error())));
        CommandReply reply{ExitStatus::done, json::toText(found->document) + "\n", {}};
        if (!found->remark.empty()) reply.error = found->remark + "\n";
        (*shared)(std::move(reply));
      });
}

void CommandRunner::render(const command::Render& what, Done done) {
  services_.annotator->draw(what.drawing, [shared = std::make_shared<Done>(std::move(done)),
                                           isFile = !what.drawing.output.empty()](
                                              CaptureAnnotator::Answer<std::string> drawn) {
    if (!drawn) return (*shared)(failedReply(sentence(drawn.error())));
    (*shared)({ExitStatus::done, *std::move(drawn) + (isFile ? "\n" : ""), {}});
  });
}

}  // namespace vantorel
