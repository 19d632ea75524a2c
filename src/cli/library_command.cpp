#include "cli/library_command.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "app/capture_rewriter.hpp"
#include "base/json_record.hpp"
#include "base/random_id.hpp"
#include "base/time_text.hpp"
#include "capture/bounded_run.hpp"
#include "cli/library_report_text.hpp"
#include "library/entry_filter.hpp"
#include "library/file_reach.hpp"
#include "library/gone_entries.hpp"
#include "library/look_adoption.hpp"
#include "library/silent_folders.hpp"
#include "library/sliced_work.hpp"

namespace vantorel {
namespace {

using Verb = command::Library::Verb;

/// A disk that takes longer to say whether it has a file does not answer.
constexpr std::chrono::seconds lookBound{5};

/// After a number of captures.
constexpr const char* replacedRemark =
    "not in the folder that has been put in the place of theirs: kept in History. \"vantorel "
    "library "
    "prune --replaced\" removes such captures.\n";

CommandReply refused(std::string reason) {
  if (!reason.empty() && reason.front() >= 'a' && reason.front() <= 'z') {
    reason.front() = static_cast<char>(reason.front() - 'a' + 'A');
  }
  return failedReply(std::move(reason));
}

std::string nameOf(const ScreenshotEntry& entry) {
  return inOneCell(entry.title.value_or(Path(entry.path).filename().string()));
}

std::string sizeOf(const ScreenshotEntry& entry) {
  if (!entry.pixelWidth || !entry.pixelHeight) return "-";
  return fmt::format("{}x{}", *entry.pixelWidth, *entry.pixelHeight);
}

std::string line(const ScreenshotEntry& entry, bool json) {
  if (json) return json::toText(entry) + "\n";
  return fmt::format("{}\t{}\t{}\t{}\t{}\t{}\t{}\n", inOneCell(entry.id),
                     tableTime(entry.capturedAt), nameOf(entry.medium), sizeOf(entry),
                     entry.starred ? "starred" : "-",
                     entry.sourceApp ? inOneCell(entry.sourceApp->name) : "-", nameOf(entry));
}

std::string lines(const EntryList& entries, bool json) {
  std::string text;
  for (const EntryPointer& entry : entries) text += line(*entry, json);
  return text;
}

std::string captures(std::size_t count) {
  return fmt::format("{} {}", count, count == 1 ? "capture" : "captures");
}

/// What is wrong with a capture's file; empty when it is there.
std::string_view remarkOn(FileReach reach) {
  switch (reach) {
    case FileReach::there: return "";
    case FileReach::fileGone:
    case FileReach::folderGone: return "gone";
    case FileReach::linkBroken: return "a link that leads nowhere";
    case FileReach::folderReplaced: return "gone: its folder is another one of that name now";
    case FileReach::folderUnreachable: return "out of reach now: its disk is not connected";
    case FileReach::folderDenied: return "in a folder that may not be opened";
    case FileReach::unknown: return "on a disk that doesn't answer";
  }
  std::unreachable();
}

std::string details(const ScreenshotEntry& entry, const HistoryStore& store, FileReach reach) {
  std::string text;
  const auto row = [&](std::string_view name, const std::string& value) {
    if (!value.empty()) text += fmt::format("{}: {}\n", name, inOneCell(value));
  };
  row("id", entry.id);
  row("title", entry.title.value_or(""));
  row("path", entry.path);
  row("file", std::string(remarkOn(reach)));
  row("original", entry.originalPath.value_or(""));
  row("captured", tableTime(entry.capturedAt));
  if (entry.editedAt) row("edited", tableTime(*entry.editedAt));
  row("medium", std::string(nameOf(entry.medium)));
  if (entry.pixelWidth && entry.pixelHeight) row("pixels", sizeOf(entry));
  if (entry.captureScale) row("scale", fmt::format("{}", *entry.captureScale));
  if (entry.durationSeconds) row("seconds", fmt::format("{}", *entry.durationSeconds));
  row("starred", entry.starred ? "yes" : "no");
  for (const std::string& id : entry.collectionIDs) {
    const HistoryCollection* const collection = store.findCollection(id);
    row("collection", collection == nullptr ? id : collection->name);
  }
  if (entry.sourceApp) {
    row("application", entry.sourceApp->bundleID ? fmt::format("{} ({})", entry.sourceApp->name,
                                                               *entry.sourceApp->bundleID)
                                                 : entry.sourceApp->name);
  }
  row("text", entry.ocrText.value_or(""));
  return text;
}

std::string line(const HistoryCollection& collection, std::size_t count, bool json) {
  if (!json) {
    return fmt::format("{}\t{}\t{}\t{}\n", inOneCell(collection.id), inOneCell(collection.name),
                       nameOf(collection.color), captures(count));
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("id", collection.id);
  writer.member("name", collection.name);
  writer.member("color", nameOf(collection.color));
  writer.member("note", collection.note);
  writer.member("createdAt", collection.createdAt);
  writer.member("count", static_cast<std::int64_t>(count));
  writer.endObject();
  return writer.take() + "\n";
}

/// Adds what went wrong entry by entry, and that it did.
void addFailures(CommandReply& reply, const std::vector<TrashSweep::Failure>& failures,
                 const std::function<std::string(const std::string& id)>& name) {
  for (const TrashSweep::Failure& failure : failures) {
    reply.status = ExitStatus::failed;
    reply.error += name(failure.id) + ": " + failure.reason;
    reply.error += failure.reason.ends_with('.') ? "\n" : ".\n";
  }
}

void addUnsaved(CommandReply& reply, const std::optional<std::string>& reason) {
  if (!reason) return;
  reply.status = ExitStatus::failed;
  reply.error += fmt::format("The library's index could not be saved: {}.\n", *reason);
}

CommandReply replyTo(const RelocationOutcome& outcome, const Path& folder, bool json,
                     bool isCalledOff) {
  CommandReply reply;
  const auto alert = RelocationReport::alert(outcome);
  if (alert) {
    const bool isStopped = outcome.stoppedForQuit && !outcome.indexNotSaved && !outcome.refusal;
    reply.status = isStopped ? ExitStatus::cancelled : ExitStatus::failed;
    reply.error = isStopped && isCalledOff
                      ? "Stopped. " + stillThere(outcome.failed + outcome.notMoved) + "\n"
                      : alert->text + "\n";
  }
  // Beside whatever else is told.
  if (outcome.failed > 0 && outcome.copiesLeft > 0) {
    reply.error += copiesLeftSentence(outcome) + "\n";
  }
  if (!json) {
    if (!alert || outcome.moved > 0) {
      reply.output =
          fmt::format("{} moved to {}\n", captureCount(outcome.moved), inOneCell(folder.string()));
    }
    return reply;
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("folder", folder.string());
  for (const auto& [key, count] :
       {std::pair("moved", outcome.moved), std::pair("failed", outcome.failed),
        std::pair("notMoved", outcome.notMoved), std::pair("copiesLeft", outcome.copiesLeft)}) {
    writer.member(key, count);
  }
  writer.member("stopped", outcome.stoppedForQuit);
  writer.endObject();
  reply.output = writer.take() + "\n";
  return reply;
}

bool isRedacted(const ScreenshotEntry& entry) {
  return std::ranges::find(entry.shapes, ShapeType::redact, &Shape::type) != entry.shapes.end();
}

}  // namespace

void LibraryCommands::run(command::Library what, bool json, CommandDone done,
                          const CommandRequester& requester) {
  auto running = std::make_shared<Running>();
  running->show = requester.show;
  std::erase_if(running_, [](const auto& item) { return item.second.expired(); });
  running_.emplace(requester.name, running);
  services_.library->whenReady(lifetime_.guard(
      [this, what = std::move(what), json, running, done = std::move(done)]() mutable {
        if (what.verb == Verb::relocate) {
          return relocate(what.folder, json, running, std::move(done));
        }
        runNow(what, json, running, std::move(done));
      }));
}

void LibraryCommands::stop(const std::string& requester) {
  const auto [begin, end] = running_.equal_range(requester);
  for (auto found = begin; found != end; ++found) {
    if (const RunningPointer running = found->second.lock()) {
      running->isCalledOff = true;
      running->flag.stopped = true;
    }
  }
}

Result<EntryList> LibraryCommands::resolve(const std::vector<std::string>& names) const {
  EntryList entries;
  std::set<const ScreenshotEntry*> seen;
  for (const std::string& name : names) {
    EntryPointer entry = VT_TRY(services_.library->store().resolve(name));
    if (seen.insert(entry.get()).second) entries.push_back(std::move(entry));
  }
  return entries;
}

void LibraryCommands::runNow(const command::Library& what, bool json, const RunningPointer& running,
                             CommandDone done) {
  HistoryStore& store = services_.library->store();
  // Another process's library may be looked at. One that cannot be read is not an empty one.
  const bool onlyLooks = what.verb == Verb::list || what.verb == Verb::show ||
                         what.verb == Verb::path || what.verb == Verb::collections;
  const auto refusal = store.indexRefusal();
  if (refusal && !(onlyLooks && !store.entries().empty())) {
    return done(failedReply(fmt::format("The library can't be used now: {}", *refusal)));
  }
  // All names first: a mistake in the last one changes nothing.
  const auto entries = resolve(what.ids);
  if (!entries) return done(refused(entries.error().reason));
  switch (what.verb) {
    case Verb::list: return list(what, json, std::move(done));
    case Verb::show:
    case Verb::path: return lookAt(what, *entries, json, std::move(done));
    case Verb::star:
    case Verb::unstar:
      return change(
          *entries, json,
          [&](const std::string& id) {
            return store.update(
                id, [&](ScreenshotEntry& entry) { entry.starred = what.verb == Verb::star; });
          },
          std::move(done));
    case Verb::title:
      return change(
          *entries, json,
          [&](const std::string& id) {
            return store.update(id, [&](ScreenshotEntry& entry) {
              entry.title = what.title.empty() ? std::nullopt : std::optional(what.title);
            });
          },
          std::move(done));
    case Verb::collect:
    case Verb::uncollect: return collect(what, *entries, json, std::move(done));
    case Verb::trash: return trash(*entries, json, std::move(done));
    case Verb::undo: return undo(json, std::move(done));
    case Verb::forget: {
      // Whose file has whose name by now is known only while all entries are there.
      std::vector<std::string> ids;
      for (const EntryPointer& entry : *entries) ids.push_back(entry->id);
      return services_.library->findFiles(
          ids, Library::Claimed::no, *services_.work,
          lifetime_.guard(
              [this, ids, json, done = std::move(done)](const std::set<std::string>&) mutable {
                forget(found(ids), json, {}, std::move(done));
              }));
    }
    case Verb::prune: return prune(what.forgetsReplaced, json, running, std::move(done));
    case Verb::collections: return collections(json, std::move(done));
    case Verb::relocate: break;
    case Verb::verify: return verify(what.repairs, json, running, std::move(done));
  }
  std::unreachable();
}

void LibraryCommands::list(const command::Library& what, bool json, CommandDone done) const {
  const auto moment = [this](const std::optional<command::Library::When>& when) {
    if (!when) return std::optional<double>();
    return std::optional(when->isAgo ? services_.clock->now() - when->seconds : when->seconds);
  };
  EntryFilter filter{.medium = what.medium,
                     .starred = what.starred,
                     .collectionID = {},
                     .application = what.application,
                     .since = moment(what.since),
                     .before = moment(what.before)};
  if (!what.collection.empty()) {
    const auto collection = services_.library->store().resolveCollection(what.collection);
    if (!collection) return done(refused(collection.error().reason));
    filter.collectionID = (*collection)->id;
  }
  withLines(findEntries(services_.library->store(), filter, what.limit), json, {}, std::move(done));
}

void LibraryCommands::withLines(EntryList entries, bool json, CommandReply reply,
                                CommandDone done) const {
  struct Writing {
    EntryList entries;
    CommandReply reply;
    CommandDone done;
  };
  const auto writing =
      std::make_shared<Writing>(std::move(entries), std::move(reply), std::move(done));
  inSlices(
      services_.main, writing->entries.size(),
      [writing, json](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
          writing->reply.output += line(*writing->entries[i], json);
        }
      },
      [writing] { writing->done(std::move(writing->reply)); });
}

/// `show` and `path`, once it is known which files are there and under which names.
void LibraryCommands::lookAt(const command::Library& what, const EntryList& entries, bool json,
                             CommandDone done) {
  std::vector<std::string> ids;
  for (const EntryPointer& entry : entries) ids.push_back(entry->id);
  runBounded<Looked>(
      services_.main, {lookBound, lookBound, {}},
      [this, ids](std::move_only_function<void(Looked)> reply) {
        services_.library->findFiles(
            ids, Library::Claimed::no, *services_.work,
            lifetime_.guard([this, ids, reply = std::move(reply)](
                                const std::set<std::string>& unsettled) mutable {
              reachAll({found(ids), {}, unsettled}, std::move(reply));
            }));
      },
      lifetime_.guard([this, verb = what.verb, ids, json,
                       done = std::move(done)](const std::optional<Looked>& answer) mutable {
        const Looked looked = answer ? *answer : Looked{found(ids), {}, {}};
        done(verb == Verb::path ? paths(looked, json) : details(looked, json));
      }),
      nullptr);
}

EntryList LibraryCommands::found(const std::vector<std::string>& ids) const {
  EntryList entries;
  for (const std::string& id : ids) {
    if (EntryPointer entry = services_.library->store().find(id))
      entries.push_back(std::move(entry));
  }
  return entries;
}

void LibraryCommands::reachAll(Looked looked, std::move_only_function<void(Looked)> done) {
  services_.work->post([files = services_.files, main = services_.main, looked = std::move(looked),
                        done = std::move(done)]() mutable {
    for (const EntryPointer& entry : looked.entries) {
      looked.reaches.push_back(reachOf(*files, *entry));
    }
    main->post([looked = std::move(looked), done = std::move(done)]() mutable {
      done(std::move(looked));
    });
  });
}

CommandReply LibraryCommands::details(const Looked& looked, bool json) const {
  CommandReply reply;
  for (std::size_t i = 0; i < looked.entries.size(); ++i) {
    const ScreenshotEntry& entry = *looked.entries[i];
    if (json) {
      reply.output += line(entry, true);
    } else {
      reply.output += (i > 0 ? "\n" : "") +
                      vantorel::details(entry, services_.library->store(), looked.reachOf(i));
    }
  }
  return reply;
}

CommandReply LibraryCommands::paths(const Looked& looked, bool json) {
  CommandReply reply;
  for (std::size_t i = 0; i < looked.entries.size(); ++i) {
    const ScreenshotEntry& entry = *looked.entries[i];
    if (looked.unsettled.contains(entry.id)) return failedReply(unsettledSentence);
    reply.output += json ? line(entry, true) : entry.path + "\n";
    if (const FileReach reach = looked.reachOf(i); reach != FileReach::there) {
      reply.status = ExitStatus::failed;
      reply.error += fmt::format("{}: the file is {}.\n", entry.path, remarkOn(reach));
    }
    if (isRedacted(entry)) {
      reply.error +=
          fmt::format("{}: {} in this file: use render.\n", entry.path, coveredInFile(entry));
    }
  }
  return reply;
}

void LibraryCommands::collections(bool json, CommandDone done) const {
  CommandReply reply;
  for (const HistoryCollection& collection : services_.library->store().collections()) {
    const std::size_t count = services_.library->store().membersOf(collection.id).entries.size();
    reply.output += line(collection, count, json);
  }
  done(std::move(reply));
}

void LibraryCommands::change(const EntryList& entries, bool json, const Change& change,
                             CommandDone done) {
  EntryList changed;
  for (const EntryPointer& entry : entries) {
    const auto outcome = change(entry->id);
    if (!outcome) return done(refused(outcome.error().reason));
    changed.push_back(services_.library->store().find(entry->id));
  }
  services_.library->store().flush(
      [reply = CommandReply{ExitStatus::done, lines(changed, json), {}},
       done = std::move(done)](const Result<void>& saved) mutable {
        if (!saved) addUnsaved(reply, saved.error().reason);
        done(std::move(reply));
      });
}

void LibraryCommands::collect(const command::Library& what, const EntryList& entries, bool json,
                              CommandDone done) {
  HistoryStore& store = services_.library->store();
  const auto found = store.resolveCollection(what.collection);
  std::string id = found ? (*found)->id : "";
  if (!found && found.error().kind == FailureKind::notFound && what.makesCollection) {
    HistoryCollection made;
    made.id = id = randomID();
    made.name = what.collection;
    made.createdAt = services_.clock->now();
    const auto added = store.addCollection(std::move(made));
    if (!added) return done(refused(added.error().reason));
  } else if (!found) {
    const bool canMake = found.error().kind == FailureKind::notFound && what.verb == Verb::collect;
    return done(refused(found.error().reason + (canMake ? "; --new makes it" : "")));
  }
  change(
      entries, json,
      [&](const std::string& entryID) {
        return store.setMembership(entryID, id, what.verb == Verb::collect);
      },
      std::move(done));
}

void LibraryCommands::trash(const EntryList& entries, bool json, CommandDone done) {
  std::vector<std::string> ids;
  for (const EntryPointer& entry : entries) ids.push_back(entry->id);
  services_.library->deletion().trash(
      ids, HistoryDeletion::Undo::offered,
      [this, json, done = std::move(done)](const TrashSweep& sweep) mutable {
        CommandReply reply;
        EntryList removed;
        if (json) {
          for (const RemovedEntry& one : sweep.removed) removed.push_back(one.entry);
        }
        if (!json) reply.output = deletedFeedback(sweep.removed.size()) + "\n";
        if (!sweep.removed.empty()) {
          reply.error = fmt::format("\"vantorel library undo\" brings {} back within 8 seconds.\n",
                                    sweep.removed.size() == 1 ? "it" : "them");
        }
        for (const RemovedEntry& one : sweep.removed) {
          const std::string remark = originalRemark(one);
          if (!remark.empty()) reply.error += nameOf(*one.entry) + ": " + remark + "\n";
        }
        addFailures(reply, sweep.failures, [&](const std::string& id) {
          const EntryPointer entry = services_.library->store().find(id);
          return entry ? nameOf(*entry) : id;
        });
        addUnsaved(reply, sweep.indexNotSaved);
        // A command that ends now leaves the undo to the next one, so it has to be on disk.
        services_.library->deletion().settle([this, removed = std::move(removed),
                                              reply = std::move(reply),
                                              done = std::move(done)]() mutable {
          withLines(std::move(removed), true, std::move(reply), std::move(done));
        });
      });
}

void LibraryCommands::undo(bool json, CommandDone done) {
  if (!services_.library->deletion().pendingUndo()) {
    return done(failedReply("There is nothing to undo: a deletion can be undone for 8 seconds"));
  }
  services_.library->deletion().undo(
      [this, json, done = std::move(done)](const UndoOutcome& outcome) mutable {
        CommandReply reply;
        EntryList restored;
        for (const std::string& id : outcome.restored) {
          if (EntryPointer entry = services_.library->store().find(id)) {
            restored.push_back(std::move(entry));
          }
        }
        addFailures(reply, outcome.failures, [this](const std::string& id) {
          const EntryPointer entry = services_.library->store().find(id);
          return entry ? nameOf(*entry) : id;
        });
        addUnsaved(reply, outcome.indexNotSaved);
        withLines(std::move(restored), json, std::move(reply), std::move(done));
      });
}

void LibraryCommands::forget(const EntryList& entries, bool json, std::string remark,
                             CommandDone done) {
  std::vector<std::string> ids;
  for (const EntryPointer& entry : entries) ids.push_back(entry->id);
  services_.library->deletion().forget(
      ids, [this, json, gone = json ? entries : EntryList(), remark = std::move(remark),
            done = std::move(done)](const Result<std::size_t>& count) mutable {
        CommandReply reply{ExitStatus::done, {}, std::move(remark)};
        if (!count) {
          addUnsaved(reply, count.error().reason);
        } else if (!json) {
          reply.output = captures(*count) + " removed from History\n";
        }
        withLines(std::move(gone), true, std::move(reply), std::move(done));
      });
}

void LibraryCommands::relocate(const Path& folder, bool json, const RunningPointer& running,
                               CommandDone done) {
  if (running->isCalledOff) return done(nothingChanged());
  HistoryRelocation::Progress moving;
  if (running->show) {
    moving = [show = running->show](std::size_t moved, std::size_t total) {
      show({moved, total, "files moved"});
    };
  }
  services_.move->moveTo(folder, std::move(moving), {running, &running->flag},
                         [running, folder, json, done = std::move(done)](
                             const std::expected<RelocationOutcome, std::string>& outcome) mutable {
                           done(outcome ? replyTo(*outcome, folder, json, running->isCalledOff)
                                        : failedReply(outcome.error()));
                         });
}

CheckProgress LibraryCommands::progressOf(RunningPointer running) {
  return [running = std::move(running)](std::size_t at, std::size_t total) {
    if (running->show && (at % 100 == 0 || at + 1 == total)) {
      running->show({at + 1, total, "captures"});
    }
    return !running->flag.stopped;
  };
}

void LibraryCommands::verify(bool repairs, bool json, const RunningPointer& running,
                             CommandDone done) {
  auto answer = [this, json, done = std::move(done)](VerifyReport report) mutable {
    // The lines of a large library hold the runner too long.
    services_.work->post([report = std::move(report), json, main = services_.main,
                          done = lifetime_.guard(std::move(done))]() mutable {
      main->post([reply = replyTo(report, json), done = std::move(done)]() mutable {
        done(std::move(reply));
      });
    });
  };
  services_.repair->run(repairs, progressOf(running), lifetime_.guard(std::move(answer)));
}

void LibraryCommands::prune(bool forgetsReplaced, bool json, const RunningPointer& running,
                            CommandDone done) {
  services_.work->post(
      [files = services_.files, main = services_.main,
       scope = FileLookScope{.entries = services_.library->store().entries(),
                             .unreadPaths = services_.library->store().unreadPaths(),
                             .paths = services_.library->store().paths()},
       keepGoing = progressOf(running),
       learn = lifetime_.guard([this](const std::vector<SeenFile>& files) {
         remember(services_.library->store(), files);
       }),
       reply = lifetime_.guard(
           [this, forgetsReplaced, json, done = std::move(done)](
               const FileLook& look, const std::vector<std::string>& silent) mutable {
             if (look.wasStopped) {
               return done(nothingChanged());
             }
             const AdoptedLook adopted = adoptNames(services_.library->store(), look);
             std::string remark = silenceOf(silent);
             if (adopted.renamed > 0) {
               remark += captures(adopted.renamed) + " found under " +
                         (adopted.renamed == 1 ? "another name" : "other names") + ".\n";
             }
             const std::size_t away = look.outOfReach.size() - look.replaced.size();
             if (away > 0) {
               remark += captures(away) + " out of reach " + (away == 1 ? "stays" : "stay") +
                         " in History.\n";
             }
             const auto inDoubt = static_cast<std::size_t>(
                 std::ranges::count(look.inDoubt, FileRole::shown, &EntryFile::role));
             if (inDoubt > 0) {
               remark += captures(inDoubt) + (inDoubt == 1 ? " stays" : " stay") +
                         " in History: the disk numbers its files anew, and several may be " +
                         (inDoubt == 1 ? "its own.\n" : "theirs.\n");
             }
             EntryList going = adopted.gone;
             if (forgetsReplaced) {
               going.insert(going.end(), look.replaced.begin(), look.replaced.end());
             } else if (!look.replaced.empty()) {
               remark += captures(look.replaced.size()) + " " + replacedRemark;
             }
             // What changed meanwhile may have its file elsewhere by now.
             lookAgain(*services_.files, *services_.work, services_.main,
                       settledEntries(services_.library->store(), going),
                       lifetime_.guard([this, json, remark = std::move(remark),
                                        done = std::move(done)](const EntryList& gone) mutable {
                         forget(settledEntries(services_.library->store(), gone), json,
                                std::move(remark), std::move(done));
                       }));
           })]() mutable {
        FileLook look = lookForFiles(*files, scope.entries, scope, keepGoing);
        auto silent = silentFolders(*files, look.outOfReach);
        auto learned = look.wasStopped ? std::vector<SeenFile>() : std::move(look.learned);
        postInSlices(main, std::move(learned), std::move(learn),
                     [look = std::move(look), silent = std::move(silent),
                      reply = std::move(reply)]() mutable { reply(look, silent); });
      });
}

}  // namespace vantorel
