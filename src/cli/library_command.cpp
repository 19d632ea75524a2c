#include "cli/library_command.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/local_day.hpp"
#include "base/round_trip.hpp"
#include "cli/entry_text.hpp"
#include "cli/library_report_text.hpp"
#include "editor/capture_text.hpp"
#include "library/entry_failure.hpp"
#include "library/entry_filter.hpp"
#include "library/entry_search.hpp"
#include "library/entry_title.hpp"
#include "library/sliced_work.hpp"

namespace vantorel {
namespace {

using Verb = command::Library::Verb;

/// Whether its text, if it has one, is not that of its picture as it is now.
bool isUnread(const EntryPointer& entry) {
  return entry->medium == CaptureMedium::image && entry->ocrVersion == 0;
}

bool hasText(const ScreenshotEntry& entry) { return entry.ocrText || entry.ocrBlocks; }

CommandReply refused(std::string reason) {
  if (!reason.empty() && reason.front() >= 'a' && reason.front() <= 'z') {
    reason.front() = static_cast<char>(reason.front() - 'a' + 'A');
  }
  return failedReply(std::move(reason));
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

void LibraryCommands::runNow(const command::Library& what, bool json, const RunningPointer& running,
                             CommandDone done) {
  HistoryStore& store = services_.library->store();
  const bool onlyLooks = what.verb == Verb::list || what.verb == Verb::search ||
                         what.verb == Verb::show || what.verb == Verb::text ||
                         what.verb == Verb::path || what.verb == Verb::collections;
  auto refusal = onlyLooks ? refusalToLook(store) : store.indexRefusal();
  if (refusal) {
    CommandReply reply =
        failedReply(sentence(EntryFailure{EntryFailure::Case::libraryClosed, *std::move(refusal)}));
    if (!store.indexHindrance().empty()) reply.error += store.indexHindrance() + "\n";
    return done(std::move(reply));
  }
  // All names first: a mistake in the last one changes nothing.
  const auto entries = resolveEntries(store, what.ids);
  if (!entries) return done(refused(entries.error().reason));
  switch (what.verb) {
    case Verb::list: return list(what, json, std::move(done));
    case Verb::search: return search(what, json, std::move(done));
    case Verb::text: return text(*entries, json, running, std::move(done));
    case Verb::show:
    case Verb::path: return lookAt(what.verb, *entries, json, std::move(done));
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
            return store.update(
                id, [&](ScreenshotEntry& entry) { entry.title = titleFrom(what.title); });
          },
          std::move(done));
    case Verb::collect:
    case Verb::uncollect: return collect(what, *entries, json, std::move(done));
    case Verb::trash: return trash(*entries, json, std::move(done));
    case Verb::undo: return undo(json, std::move(done));
    case Verb::forget: return forget(*entries, json, std::move(done));
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

void LibraryCommands::search(const command::Library& what, bool json, CommandDone done) const {
  struct Searching {
    EntryList entries;
    EntrySearch search;
    std::size_t limit;
    CommandReply reply;
    CommandDone done;
  };
  const auto searching = std::make_shared<Searching>(
      services_.library->store().newestFirst(),
      EntrySearch(PreparedHistoryQuery({.text = what.query}), systemDay, captureTextIn), what.limit,
      CommandReply(), std::move(done));
  inSlices(
      services_.main, searching->entries.size(),
      [searching, json](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end && searching->limit > 0; ++i) {
          const ScreenshotEntry& entry = *searching->entries[i];
          if (!searching->search.finds(entry)) continue;
          --searching->limit;
          searching->reply.output += foundLineOf(entry, searching->search.query().words(), json);
        }
      },
      [searching] {
        const auto unread = std::ranges::count_if(searching->entries, isUnread);
        if (unread > 0) {
          searching->reply.error += fmt::format("The text of {} has not been read yet.\n",
                                                captureCount(std::size_t(unread)));
        }
        searching->done(std::move(searching->reply));
      });
}

/// The texts of captures, of which some have to be read first.
struct LibraryCommands::Texts {
  EntryList entries;
  bool json = false;
  RunningPointer running;
  CommandDone done;
  CommandReply reply{};
  std::size_t place = 0;

  void add(const ScreenshotEntry& entry) {
    if (!json && !reply.output.empty()) reply.output += '\n';
    reply.output += textOf(entry, json);
  }
  void fail(const ScreenshotEntry& entry, const std::string& why) {
    reply.status = ExitStatus::failed;
    reply.error += inOneCell(entry.id) + ": " + why + "\n";
  }
};

void LibraryCommands::text(EntryList entries, bool json, const RunningPointer& running,
                           CommandDone done) {
  const auto unread = std::ranges::count_if(entries, isUnread);
  if (unread > 0 && services_.readText && running->show) {
    running->show(
        {0, 0, fmt::format("Reading the text of {}.", captureCount(std::size_t(unread)))});
  }
  nextText(std::make_shared<Texts>(std::move(entries), json, running, std::move(done)));
}

void LibraryCommands::nextText(const std::shared_ptr<Texts>& texts) {
  while (texts->place < texts->entries.size()) {
    const EntryPointer entry = texts->entries[texts->place++];
    const bool canRead = services_.readText && !texts->running->flag.stopped;
    if (!isUnread(entry) || !canRead) {
      hasText(*entry) ? texts->add(*entry) : texts->fail(*entry, "no text has been read yet.");
      continue;
    }
    services_.readText(
        entry->id,
        lifetime_.guard([this, texts, entry](const Result<EntryPointer, std::string>& read) {
          if (read) {
            texts->add(**read);
          } else if (hasText(*entry)) {
            texts->add(*entry);
          } else {
            texts->fail(*entry, read.error());
          }
          nextText(texts);
        }));
    return;
  }
  // What was read is not to be read again; where the index can't be written, that is so.
  services_.library->store().flush(
      lifetime_.guard([texts](const Result<void>&) { texts->done(std::move(texts->reply)); }));
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
          writing->reply.output += lineOf(*writing->entries[i], json);
        }
      },
      [writing] { writing->done(std::move(writing->reply)); });
}

/// `show` and `path`, once it is known which files are there and under which names.
void LibraryCommands::lookAt(Verb verb, const EntryList& entries, bool json, CommandDone done) {
  services_.fileLook->look(
      idsOf(entries), lifetime_.guard([this, verb, json, done = std::move(done)](
                                          const LookedEntries& looked) mutable {
        done(verb == Verb::path ? pathsOf(looked, json)
                                : detailsOf(looked, services_.library->store(), json));
      }));
}

void LibraryCommands::collections(bool json, CommandDone done) const {
  CommandReply reply;
  for (const HistoryCollection& collection : services_.library->store().collections()) {
    const std::size_t count = services_.library->store().membersOf(collection.id).entries.size();
    reply.output += lineOf(collection, count, json);
  }
  done(std::move(reply));
}

void LibraryCommands::change(const EntryList& entries, bool json, const Change& change,
                             CommandDone done) {
  changeEntries(services_.library->store(), entries, change,
                [json, done = std::move(done)](const Result<ChangeReport>& report) mutable {
                  done(report ? replyTo(*report, json) : refused(report.error().reason));
                });
}

void LibraryCommands::collect(const command::Library& what, const EntryList& entries, bool json,
                              CommandDone done) {
  HistoryStore& store = services_.library->store();
  const bool isMember = what.verb == Verb::collect;
  const auto found = what.makesCollection
                         ? findOrMakeCollection(store, what.collection, services_.clock->now())
                         : store.resolveCollection(what.collection);
  if (!found) {
    const bool canMake =
        !what.makesCollection && isMember && found.error().kind == FailureKind::notFound;
    return done(refused(found.error().reason + (canMake ? "; --new makes it" : "")));
  }
  change(
      entries, json,
      [&, id = (*found)->id](const std::string& entryID) {
        return store.setMembership(entryID, id, isMember);
      },
      std::move(done));
}

void LibraryCommands::trash(const EntryList& entries, bool json, CommandDone done) {
  services_.library->deletion().trash(
      idsOf(entries), HistoryDeletion::Undo::offered,
      [this, json, done = std::move(done)](const TrashSweep& sweep) mutable {
        EntryList removed;
        if (json) {
          for (const RemovedEntry& one : sweep.removed) removed.push_back(one.entry);
        }
        // A command that ends now leaves the undo to the next one, so it has to be on disk.
        services_.library->deletion().settle(
            [this, removed = std::move(removed),
             reply = replyTo(sweep, services_.library->store(), json),
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
      [this, json, done = std::move(done)](UndoOutcome outcome) mutable {
        // As many as were deleted: found and told when the undo itself has let the runner go.
        services_.main->post(lifetime_.guard(
            [this, json, outcome = std::move(outcome), done = std::move(done)]() mutable {
              const HistoryStore& store = services_.library->store();
              withLines(findEntries(store, outcome.restored), json, replyTo(outcome, store),
                        std::move(done));
            }));
      });
}

void LibraryCommands::forget(const EntryList& entries, bool json, CommandDone done) {
  services_.prune->forget(
      idsOf(entries),
      lifetime_.guard([this, json, done = std::move(done)](ForgetReport report) mutable {
        withForgotten(std::move(report), json, {}, std::move(done));
      }));
}

void LibraryCommands::prune(bool takesReplaced, bool json, const RunningPointer& running,
                            CommandDone done) {
  services_.prune->run(
      takesReplaced, progressOf(running),
      lifetime_.guard([this, json, done = std::move(done)](PruneReport report) mutable {
        if (report.wasStopped) return done(nothingChanged());
        withForgotten(std::move(report.forgotten), json, remarksOn(report), std::move(done));
      }));
}

void LibraryCommands::withForgotten(ForgetReport report, bool json, const std::string& remarks,
                                    CommandDone done) const {
  CommandReply reply = replyTo(report, json);
  reply.error.insert(0, remarks);
  withLines(json ? std::move(report.entries) : EntryList(), true, std::move(reply),
            std::move(done));
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
                             const Result<RelocationOutcome, FolderRefusal>& outcome) mutable {
                           done(outcome ? replyTo(*outcome, folder, json, running->isCalledOff)
                                        : failedReply(sentence(outcome.error())));
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
    roundTrip(
        *services_.work, services_.main,
        [report = std::move(report), json] { return replyTo(report, json); },
        lifetime_.guard(std::move(done)));
  };
  services_.repair->run(repairs, progressOf(running), lifetime_.guard(std::move(answer)));
}

}  // namespace vantorel
