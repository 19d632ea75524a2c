#include "library/history_deletion.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "base/log.hpp"
#include "library/entry_paths.hpp"
#include "library/file_reach.hpp"
#include "library/look_adoption.hpp"
#include "library/sliced_work.hpp"

namespace vantorel {
namespace {

constexpr std::string_view category = "History";
constexpr std::string_view notMoved = "move to Trash failed: ";
constexpr double undoSeconds = std::chrono::duration<double>(HistoryDeletion::undoWindow).count();

constexpr std::string_view notRestored = "restore from Trash failed: ";

bool isInside(const Path& path, const Path& folder) {
  return std::ranges::mismatch(folder, path).in1 == folder.end();
}

std::string whyNotDeleted(const ScreenshotEntry& entry, const EntryBusy& busy) {
  if (entry.medium == CaptureMedium::project && busy.work == EntryWork::exporting) {
    return "a Studio project can't be deleted while it exports. Stop its export first";
  }
  return sentence(busy);
}

// Copies of a capture, and captures made from others, may share files: those go with the last entry
// that shows them.
std::vector<TrashCandidate> candidates(const EntryList& all, const EntryList& going) {
  std::unordered_map<std::string_view, bool> isShownByOthers;
  std::unordered_set<std::string_view> ids;
  for (const EntryPointer& entry : going) {
    ids.insert(entry->id);
    isShownByOthers.emplace(entry->path, false);
    if (entry->originalPath) isShownByOthers.emplace(*entry->originalPath, false);
  }
  const auto mark = [&](std::string_view path) {
    const auto found = isShownByOthers.find(path);
    if (found != isShownByOthers.end()) found->second = true;
  };
  for (const EntryPointer& entry : all) {
    if (!ids.contains(entry->id)) forEachPath(*entry, mark);
  }
  std::vector<TrashCandidate> found;
  for (const EntryPointer& entry : going) {
    found.push_back({entry, isShownByOthers[entry->path],
                     entry->originalPath && isShownByOthers[*entry->originalPath]});
  }
  return found;
}

/// The places that entries have in the list.
void place(std::vector<RemovedEntry>& removed, const EntryList& all) {
  std::unordered_map<std::string_view, RemovedEntry*> byID;
  for (RemovedEntry& one : removed) byID.emplace(one.entry->id, &one);
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (const auto found = byID.find(all[i]->id); found != byID.end()) found->second->index = i;
  }
}

/// A path that neither the disk nor an entry has: other files may have got the name while this one
/// was in the Trash.
std::string freePath(const Files& files, std::unordered_set<std::string>& taken,
                     const std::string& wanted) {
  Path path = wanted;
  for (int number = 2; taken.contains(path.string()) || files.status(path); ++number) {
    path.replace_filename(numberedName(wanted, number));
  }
  taken.insert(path.string());
  return path.string();
}

/// Decides where the files of a batch go. Entries that an earlier run brought back keep what they
/// have.
void choosePaths(const Files& files, const EntryList& all, std::vector<RemovedEntry>& items) {
  std::unordered_map<std::string_view, EntryPointer> present;
  std::unordered_set<std::string> taken;
  for (const EntryPointer& entry : all) {
    present.emplace(entry->id, entry);
    forEachPath(*entry, [&](const std::string& path) { taken.insert(path); });
  }
  for (RemovedEntry& item : items) {
    if (const auto found = present.find(item.entry->id); found != present.end()) {
      item.entry = found->second;
      continue;
    }
    ScreenshotEntry entry = *item.entry;
    // A file that never went is where it was.
    if (item.trashedPNGURL) entry.path = freePath(files, taken, entry.path);
    if (item.trashedOriginalURL && entry.originalPath) {
      entry.originalPath = freePath(files, taken, *entry.originalPath);
    }
    if (entry != *item.entry)
      item.entry = std::make_shared<const ScreenshotEntry>(std::move(entry));
  }
}

}  // namespace

std::string deletedFeedback(std::size_t count) {
  return fmt::format("{} {} deleted", count, count == 1 ? "capture" : "captures");
}

HistoryDeletion::HistoryDeletion(Services services)
    : services_(std::move(services)),
      trash_(std::make_shared<HistoryTrash>(services_.files, services_.trash)) {}

void HistoryDeletion::enqueue(Operation operation) {
  waiting_.push_back(std::move(operation));
  startNext();
}

void HistoryDeletion::startNext() {
  while (!isBusy_ && !waiting_.empty()) {
    Operation operation = std::move(waiting_.front());
    waiting_.pop_front();
    isBusy_ = true;
    operation();
  }
}

void HistoryDeletion::end(Operation answer) {
  inSlices(
      claims_.size(),
      [this](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) claims_[i].end();
      },
      [this, answer = std::move(answer)]() mutable {
        claims_.clear();
        isBusy_ = false;
        answer();
        startNext();
      });
}

void HistoryDeletion::settle(std::move_only_function<void()> done) {
  enqueue([this, done = std::move(done)]() mutable {
    services_.work->post(
        [main = services_.main, reply = alive_.guard([this, done = std::move(done)]() mutable {
          end(std::move(done));
        })]() mutable { main->post(std::move(reply)); });
  });
}

template <class Value>
void HistoryDeletion::onWork(std::move_only_function<Value()> job,
                             std::move_only_function<void(Value)> then) {
  services_.work->post([main = services_.main, job = std::move(job),
                        reply = alive_.guard(std::move(then))]() mutable {
    main->post([value = job(), reply = std::move(reply)]() mutable { reply(std::move(value)); });
  });
}

void HistoryDeletion::inSlices(std::size_t count,
                               std::move_only_function<void(std::size_t, std::size_t)> slice,
                               Operation then) {
  vantorel::inSlices(services_.main, count, alive_.guard(std::move(slice)),
                     alive_.guard(std::move(then)));
}

// An index that was not saved still has entries whose files went: the journal goes on naming them.
void HistoryDeletion::clearJournal(bool isSaved, const DeletionJournal& current) {
  if (!isSaved) return unsaved_.append(current);
  unsaved_ = {};
  services_.work->post([&files = services_.files, paths = services_.store.paths()] {
    const auto removed = writeDeletionJournal(files, paths, {});
    if (!removed) {
      logWarning(category, "the deletion journal stays: {}", removed.error().reason);
    }
  });
}

// Recovery. What a run had in hand when it ended is carried on: a file that went takes its original
// with it, and its entry; a file that did not go keeps both.

void HistoryDeletion::recover(std::move_only_function<void()> done) {
  enqueue([this, done = std::move(done)]() mutable { recoverNow(std::move(done)); });
}

void HistoryDeletion::recoverNow(std::move_only_function<void()> done) {
  // Another process may have the library and what it has in hand, or the entries may be elsewhere.
  if (services_.store.indexRefusal() || !services_.store.indexWasReadFromDisk()) {
    return end(std::move(done));
  }
  onWork<Found>(
      [&files = services_.files, paths = services_.store.paths(), trash = trash_,
       entries = services_.store.entries()] {
        return lookForUnfinished(files, paths, *trash, entries);
      },
      [this, done = std::move(done)](Found found) mutable {
        std::vector<std::string> ids;
        for (const RemovedEntry& removed : found.removed) ids.push_back(removed.entry->id);
        services_.store.removeEntries(ids);
        std::optional<PendingUndo> offered;
        if (offerRemoved(found)) offered = found.pending;
        // The undo first: once the index is on disk nothing else knows the entries.
        onWork<Result<void>>(
            [&files = services_.files, paths = services_.store.paths(),
             pending = std::move(offered)]() -> Result<void> {
              return pending ? writePendingUndo(files, paths, *pending) : Result<void>{};
            },
            [this, found = std::move(found), done = std::move(done)](Result<void> kept) mutable {
              if (!kept) logWarning(category, "the undo was not kept: {}", kept.error().reason);
              services_.store.flush(
                  alive_.guard([this, found = std::move(found),
                                done = std::move(done)](Result<void> saved) mutable {
                    finishRecovery(std::move(found), saved.has_value(), std::move(done));
                  }));
            });
      });
}

/// Makes the pending undo that of the deletion that was cut short, with its whole window: nobody
/// was told of it. Answers whether there is one.
bool HistoryDeletion::offerRemoved(Found& found) const {
  if (!found.journal.offersUndo) return false;
  std::set<std::string_view> named;
  for (const DeletionJournal::Item& item : found.journal.items) named.insert(item.id);
  std::set<std::string_view> removed;
  for (const RemovedEntry& item : found.removed) removed.insert(item.entry->id);
  std::vector<RemovedEntry> items = std::move(found.removed);
  const auto isOf = [](const auto& ids) {
    return [&ids](const RemovedEntry& item) { return ids.contains(item.entry->id); };
  };
  if (found.pending && !found.pending->isBegun &&
      std::ranges::any_of(found.pending->batch.items, isOf(named))) {
    // The index had lost some of it already.
    std::ranges::remove_copy_if(found.pending->batch.items, std::back_inserter(items),
                                isOf(removed));
  }
  if (items.empty()) return false;
  found.pending = {{std::move(items)}, services_.clock.now() + undoSeconds, false};
  return true;
}

HistoryDeletion::Found HistoryDeletion::lookForUnfinished(const Files& files,
                                                          const LibraryPaths& paths,
                                                          HistoryTrash& trash,
                                                          const EntryList& entries) {
  Found found{readDeletionJournal(files, paths), {}, readPendingUndo(files, paths)};
  std::unordered_map<std::string_view, const DeletionJournal::Item*> named;
  for (const DeletionJournal::Item& item : found.journal.items) named.emplace(item.id, &item);
  if (named.empty()) return found;
  EntryList going;
  // While its file was in the Trash, another capture may have got the name it had.
  std::unordered_set<std::string_view> taken;
  for (const EntryPointer& entry : entries) {
    if (named.contains(entry->id)) {
      going.push_back(entry);
    } else {
      taken.insert(entry->path);
    }
  }
  // What the pending undo names went whole; it knows where to.
  std::unordered_map<std::string_view, const RemovedEntry*> known;
  if (found.pending && !found.pending->isBegun) {
    for (const RemovedEntry& item : found.pending->batch.items) {
      known.emplace(item.entry->id, &item);
    }
  }
  for (const TrashCandidate& candidate : candidates(entries, going)) {
    const std::string& id = candidate.entry->id;
    const DeletionJournal::Item& item = *named.at(id);
    if (const auto listed = known.find(id);
        listed != known.end() && !files.status(candidate.entry->path)) {
      found.removed.push_back(*listed->second);
    } else if (!item.file && taken.contains(candidate.entry->path)) {
      found.removed.push_back({.entry = candidate.entry});
    } else if (auto removed = trash.resume(candidate, item)) {
      found.removed.push_back(*std::move(removed));
    }
  }
  place(found.removed, entries);
  trash.flush();
  return found;
}

void HistoryDeletion::finishRecovery(Found found, bool isSaved,
                                     std::move_only_function<void()> done) {
  if (!isSaved) {
    unsaved_ = std::move(found.journal);
    return end(std::move(done));
  }
  const bool isBegun = found.pending && found.pending->isBegun;
  onWork<bool>(
      [&files = services_.files, &trash = services_.trash, paths = services_.store.paths(),
       surplus = found.journal.surplus, entries = services_.store.entries()] {
        discard(trash, surplus, entries);
        return writeDeletionJournal(files, paths, {}).has_value();
      },
      [this, pending = std::move(found.pending), isBegun, done = std::move(done)](bool) mutable {
        if (!isBegun) {
          offerAgain(std::move(pending));
          return end(std::move(done));
        }
        logInfo(category, "an undo that was cut short goes on");
        pendingUndo_ = std::move(pending->batch);
        undoNow(true, [done = std::move(done)](const UndoOutcome&) mutable { done(); });
      });
}

/// Moves files that only the library knew to the Trash, unless an entry names them.
void HistoryDeletion::discard(Trash& trash, const std::vector<std::string>& surplus,
                              const EntryList& entries) {
  if (surplus.empty()) return;
  std::unordered_set<std::string_view> going(surplus.begin(), surplus.end());
  for (const EntryPointer& entry : entries) {
    forEachPath(*entry, [&](const std::string& path) { going.erase(path); });
  }
  for (const std::string_view path : going) {
    const auto moved = trash.moveToTrash(path);
    if (!moved && moved.error().kind != FailureKind::notFound) {
      logWarning(category, "move to Trash failed: {}", moved.error().reason);
    }
  }
  trash.flush();
}

// Deleting: the journal, the files, the undo, then the index. Whenever the run ends in between, the
// next one knows of each file where it is.

void HistoryDeletion::trash(const std::vector<std::string>& ids, Undo undo,
                            std::move_only_function<void(const TrashSweep&)> done) {
  enqueue([this, ids, undo, done = std::move(done)]() mutable {
    auto state =
        std::make_shared<Sweeping>(Sweeping{.ids = ids, .undo = undo, .done = std::move(done)});
    // Names may have been swapped: what goes is the entry's file, not what has its name.
    onWork<FileLook>([&files = services_.files,
                      before = LookBeforeUse(services_.store, ids)] { return before.look(files); },
                     [this, state](const FileLook& look) {
                       AdoptedLook adopted = adoptLook(services_.store, look);
                       state->unsettled = std::move(adopted.unsettled);
                       const auto go = [this, state] {
                         inSlices(
                             state->ids.size(),
                             [this, state](std::size_t begin, std::size_t end) {
                               claimSome(*state, begin, end);
                             },
                             [this, state] { moveToTrash(state); });
                       };
                       if (look.renamed.empty() && look.displaced.empty()) return go();
                       // What a kill leaves behind is found by the paths in the index on disk.
                       services_.store.flush(alive_.guard([go](const Result<void>&) { go(); }));
                     });
  });
}

void HistoryDeletion::claimSome(Sweeping& state, std::size_t begin, std::size_t end) {
  // Files that went while the index stays as it was would leave entries of nothing behind.
  const auto refusal = services_.store.indexRefusal();
  for (std::size_t i = begin; i < end; ++i) {
    const std::string& id = state.ids[i];
    const EntryPointer entry = services_.store.find(id);
    if (!entry || !state.sweep.attempted.insert(id).second) continue;
    if (refusal) {
      state.sweep.failures.push_back({id, *refusal});
      continue;
    }
    if (state.unsettled.contains(id)) {
      state.sweep.failures.push_back({id, unsettledSentence});
      continue;
    }
    auto claim = services_.store.claims().claim(id, EntryWork::deleting);
    if (!claim) {
      state.sweep.failures.push_back({id, whyNotDeleted(*entry, claim.error())});
      continue;
    }
    claims_.push_back(*std::move(claim));
    state.going.push_back(entry);
  }
}

void HistoryDeletion::moveToTrash(const std::shared_ptr<Sweeping>& state) {
  onWork<Moved>(
      [&files = services_.files, paths = services_.store.paths(), trash = trash_,
       entries = services_.store.entries(), going = std::move(state->going), unsaved = unsaved_,
       isOffered = state->undo == Undo::offered, &clock = services_.clock] {
        Moved moved;
        if (going.empty()) return moved;
        const std::vector<TrashCandidate> all = candidates(entries, going);
        for (const TrashCandidate& one : all) moved.journal.items.push_back(trash->describe(one));
        moved.journal.offersUndo = isOffered;
        const auto refuse = [&](const std::string& id, const std::string& reason) {
          moved.failures.push_back({id, std::string(notMoved) + reason});
        };
        DeletionJournal whole = unsaved;
        whole.append(moved.journal);
        // Without a journal, nobody would know afterwards where the files went.
        if (const auto written = writeDeletionJournal(files, paths, whole); !written) {
          logWarning(category, "the deletion journal could not be written: {}",
                     written.error().reason);
          for (const TrashCandidate& one : all) refuse(one.entry->id, written.error().reason);
          return moved;
        }
        for (const TrashCandidate& one : all) {
          auto outcome = trash->trash(one);
          if (auto* const removed = std::get_if<RemovedEntry>(&outcome)) {
            moved.removed.push_back(*std::move(removed));
          } else {
            moved.failures.push_back(
                {one.entry->id, std::get<HistoryTrash::Failed>(outcome).reason});
          }
        }
        trash->flush();
        place(moved.removed, entries);
        if (!isOffered || moved.removed.empty()) return moved;
        moved.batch.items = moved.removed;
        const auto kept = writePendingUndo(files, paths, {moved.batch, clock.now() + undoSeconds});
        if (kept) return moved;
        // What could not be undone is not done.
        std::vector<RemovedEntry> stuck;
        for (RemovedEntry& removed : moved.removed) {
          if (trash->restore(removed, false).failure) {
            stuck.push_back(std::move(removed));
          } else {
            refuse(removed.entry->id, kept.error().reason);
          }
        }
        moved.removed = std::move(stuck);
        moved.batch.items = moved.removed;
        return moved;
      },
      [this, state](Moved moved) {
        std::ranges::move(moved.failures, std::back_inserter(state->sweep.failures));
        state->sweep.removed = std::move(moved.removed);
        state->batch = std::move(moved.batch);
        state->journal = std::move(moved.journal);
        inSlices(
            state->sweep.removed.size(),
            [this, state](std::size_t begin, std::size_t end) { removeSome(*state, begin, end); },
            [this, state] { keepUndo(state); });
      });
}

void HistoryDeletion::removeSome(Sweeping& state, std::size_t begin, std::size_t end) {
  std::vector<std::string> ids;
  std::unordered_map<std::string, std::size_t> places;
  for (std::size_t i = begin; i < end; ++i) {
    ids.push_back(state.sweep.removed[i].entry->id);
    places.emplace(ids.back(), i);
  }
  for (PlacedEntry& placed : services_.store.removeEntries(ids)) {
    const std::size_t i = places.at(placed.entry->id);
    RemovedEntry& removed = state.sweep.removed[i];
    // It may have been edited while its file moved.
    state.wasEdited |= placed.entry != removed.entry;
    removed.entry = std::move(placed.entry);
    if (i < state.batch.items.size()) state.batch.items[i].entry = removed.entry;
  }
}

void HistoryDeletion::keepUndo(const std::shared_ptr<Sweeping>& state) {
  const auto goOn = [this, state](const Result<void>& kept) {
    if (!kept) logWarning(category, "the undo was not kept: {}", kept.error().reason);
    services_.store.flush(
        alive_.guard([this, state](const Result<void>& saved) { finishTrash(state, saved); }));
  };
  if (state->undo == Undo::none || state->sweep.removed.empty()) return goOn({});
  offerUndoFor(undoWindow, std::move(state->batch));
  if (!state->wasEdited) return goOn({});
  onWork<Result<void>>(
      [&files = services_.files, paths = services_.store.paths(),
       pending = PendingUndo{*pendingUndo_, services_.clock.now() + undoSeconds}] {
        return writePendingUndo(files, paths, pending);
      },
      goOn);
}

void HistoryDeletion::finishTrash(const std::shared_ptr<Sweeping>& state,
                                  const Result<void>& saved) {
  if (!state->journal.isEmpty()) clearJournal(saved.has_value(), state->journal);
  if (!saved && !state->sweep.removed.empty()) state->sweep.indexNotSaved = saved.error().reason;
  end([this, state] {
    state->done(state->sweep);
    // So many entries take a while to be given back.
    services_.work->post([removed = std::move(state->sweep.removed)] {});
  });
}

// The pending undo.

void HistoryDeletion::offerUndo(RemovedBatch batch) {
  services_.work->post([&files = services_.files, paths = services_.store.paths(),
                        pending = PendingUndo{batch, services_.clock.now() + undoSeconds}] {
    const auto written = writePendingUndo(files, paths, pending);
    if (!written) logWarning(category, "the undo was not kept: {}", written.error().reason);
  });
  offerUndoFor(undoWindow, std::move(batch));
}

void HistoryDeletion::offerUndoFor(std::chrono::nanoseconds left, RemovedBatch batch) {
  pendingUndo_ = std::move(batch);
  undoTimer_.renew();
  services_.main->postAfter(left, undoTimer_.guard([this] {
    pendingUndo_.reset();
    forgetPendingUndo();
    if (onPendingUndoChange) onPendingUndoChange();
  }));
  if (onPendingUndoChange) onPendingUndoChange();
}

void HistoryDeletion::offerAgain(std::optional<PendingUndo> pending) {
  if (pendingUndo_) return;
  if (pending) {
    std::erase_if(pending->batch.items, [this](const RemovedEntry& item) {
      return services_.store.find(item.entry->id) != nullptr;
    });
  }
  const std::chrono::duration<double> left(pending ? pending->until - services_.clock.now() : 0);
  // More than the whole window is left only when the wall clock was set back.
  if (!pending || pending->batch.items.empty() || left.count() <= 0 || left > undoWindow) {
    forgetPendingUndo();
    return;
  }
  offerUndoFor(std::chrono::duration_cast<std::chrono::nanoseconds>(left),
               std::move(pending->batch));
}

void HistoryDeletion::forgetPendingUndo() {
  services_.work->post([&files = services_.files, paths = services_.store.paths()] {
    const auto removed = removePendingUndo(files, paths);
    if (!removed) logWarning(category, "the kept undo stays: {}", removed.error().reason);
  });
}

// Undoing: the file that keeps the undo says that it has begun, then the index, then the files, and
// only then that file goes. Whenever the run ends in between, the next one carries the undo on.

void HistoryDeletion::undo(std::move_only_function<void(UndoOutcome)> done) {
  enqueue([this, done = std::move(done)]() mutable { undoNow(false, std::move(done)); });
}

void HistoryDeletion::undoNow(bool wasBegun, std::move_only_function<void(UndoOutcome)> done) {
  if (!pendingUndo_) {
    services_.main->post(alive_.guard([this, done = std::move(done)]() mutable {
      end([done = std::move(done)]() mutable { done({}); });
    }));
    return;
  }
  auto state = std::make_shared<Undoing>();
  state->items = std::move(pendingUndo_->items);
  state->wasBegun = wasBegun;
  state->done = std::move(done);
  undoTimer_.renew();
  pendingUndo_.reset();
  if (onPendingUndoChange) onPendingUndoChange();
  const auto claim = [this, state](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      const std::string& id = state->items[i].entry->id;
      if (auto claimed = services_.store.claims().claim(id, EntryWork::restoring)) {
        claims_.push_back(*std::move(claimed));
      }
    }
  };
  inSlices(state->items.size(), claim, [this, state] { beginUndo(state); });
}

void HistoryDeletion::beginUndo(const std::shared_ptr<Undoing>& state) {
  onWork<Result<void>>(
      [&files = services_.files, paths = services_.store.paths(), state,
       entries = services_.store.entries(), until = services_.clock.now() + undoSeconds] {
        auto noted = writePendingUndo(files, paths, {{state->items}, until, true});
        if (!noted) return noted;
        state->tried = state->items;
        choosePaths(files, entries, state->tried);
        return noted;
      },
      [this, state](Result<void> begun) {
        if (!begun) return giveUpUndo(state, begun.error().reason);
        inSlices(
            state->tried.size(),
            [this, state](std::size_t begin, std::size_t end) { insertSome(*state, begin, end); },
            [this, state] {
              services_.store.flush(alive_.guard([this, state](const Result<void>& saved) {
                if (saved) return restoreFiles(state);
                // No file comes back without its entry.
                state->outcome.indexNotSaved = saved.error().reason;
                services_.store.removeEntries(state->inserted);
                giveUpUndo(state, saved.error().reason);
              }));
            });
      });
}

void HistoryDeletion::insertSome(Undoing& state, std::size_t begin, std::size_t end) {
  std::vector<PlacedEntry> placed;
  for (std::size_t i = begin; i < end; ++i) {
    RemovedEntry& item = state.tried[i];
    if (services_.store.find(item.entry->id)) continue;
    ScreenshotEntry entry = *item.entry;
    std::erase_if(entry.collectionIDs, [&](const std::string& id) {
      return services_.store.findCollection(id) == nullptr;
    });
    if (entry != *item.entry) {
      item.entry = std::make_shared<const ScreenshotEntry>(std::move(entry));
    }
    state.inserted.push_back(item.entry->id);
    placed.push_back({item.index, item.entry});
  }
  services_.store.insertEntries(std::move(placed));
}

/// Nothing has moved: everything can be undone again.
void HistoryDeletion::giveUpUndo(const std::shared_ptr<Undoing>& state, const std::string& reason) {
  for (const RemovedEntry& item : state->items) {
    state->outcome.failures.push_back({item.entry->id, std::string(notRestored) + reason});
  }
  offerUndo({std::move(state->items)});
  end([state] { state->done(std::move(state->outcome)); });
}

void HistoryDeletion::restoreFiles(const std::shared_ptr<Undoing>& state) {
  using All = std::vector<HistoryTrash::Restored>;
  onWork<All>(
      [trash = trash_, state] {
        All all;
        all.reserve(state->tried.size());
        for (const RemovedEntry& removed : state->tried) {
          all.push_back(trash->restore(removed, state->wasBegun));
        }
        trash->flush();
        state->tried = {};
        return all;
      },
      [this, state](All all) {
        state->restored = std::move(all);
        inSlices(
            state->restored.size(),
            [this, state](std::size_t begin, std::size_t end) { adoptSome(*state, begin, end); },
            [this, state] {
              services_.store.flush(alive_.guard(
                  [this, state](const Result<void>& saved) { finishUndo(state, saved); }));
            });
      });
}

void HistoryDeletion::adoptSome(Undoing& state, std::size_t begin, std::size_t end) {
  std::vector<std::string> withoutFile;
  for (std::size_t i = begin; i < end; ++i) {
    HistoryTrash::Restored restored = std::move(state.restored[i]);
    const std::string& id = restored.entry->id;
    if (restored.failure) state.outcome.failures.push_back({id, *restored.failure});
    if (!restored.failure || restored.hasBackingImage) {
      state.outcome.restored.push_back(id);
      continue;
    }
    withoutFile.push_back(id);
    // What is still in the Trash, for the user to make room for.
    if (restored.isInTrash) state.again.items.push_back(std::move(restored.again));
  }
  services_.store.removeEntries(withoutFile);
}

void HistoryDeletion::finishUndo(const std::shared_ptr<Undoing>& state, const Result<void>& saved) {
  if (!saved) state->outcome.indexNotSaved = saved.error().reason;
  if (!state->again.items.empty()) {
    offerUndo(std::move(state->again));
  } else if (saved) {
    forgetPendingUndo();
  }
  // So many paths take a while to be given back.
  services_.work->post([items = std::move(state->items)] {});
  end([state] { state->done(std::move(state->outcome)); });
}

void HistoryDeletion::forget(const std::vector<std::string>& ids,
                             std::move_only_function<void(Result<std::size_t>)> done,
                             Originals originals) {
  enqueue([this, ids, originals, done = std::move(done)]() mutable {
    auto state = std::make_shared<Forgetting>(Forgetting{ids, {}, {}, std::move(done), originals});
    if (const auto refusal = services_.store.indexRefusal()) {
      services_.main->post(alive_.guard([this, state, reason = *refusal] {
        end([state, reason] { state->done(failed(FailureKind::denied, reason)); });
      }));
      return;
    }
    const auto claim = [this, state](std::size_t begin, std::size_t end) {
      for (std::size_t i = begin; i < end; ++i) {
        const EntryPointer entry = services_.store.find(state->ids[i]);
        if (!entry) continue;
        auto claimed = services_.store.claims().claim(entry->id, EntryWork::deleting);
        if (!claimed) continue;
        claims_.push_back(*std::move(claimed));
        state->going.push_back(entry);
      }
    };
    inSlices(state->ids.size(), claim, [this, state] { noteSurplus(state); });
  });
}

// Originals in the library's own folders are nobody else's.
void HistoryDeletion::noteSurplus(const std::shared_ptr<Forgetting>& state) {
  onWork<Result<void>>(
      [&files = services_.files, paths = services_.store.paths(), state, unsaved = unsaved_,
       entries = services_.store.entries()]() -> Result<void> {
        for (const TrashCandidate& one : candidates(entries, state->going)) {
          const auto& original = one.entry->originalPath;
          if (original && !one.keepsOriginal &&
              (isInside(*original, paths.redactedOriginals()) ||
               (state->originals == Originals::discarded &&
                isInside(*original, paths.originals())))) {
            state->journal.surplus.push_back(*original);
          }
        }
        if (state->journal.isEmpty()) return {};
        DeletionJournal whole = unsaved;
        whole.append(state->journal);
        return writeDeletionJournal(files, paths, whole);
      },
      [this, state](Result<void> noted) {
        if (!noted) return end([state, noted] { state->done(std::unexpected(noted.error())); });
        const auto remove = [this, state](std::size_t begin, std::size_t end) {
          std::vector<std::string> ids;
          for (std::size_t i = begin; i < end; ++i) ids.push_back(state->going[i]->id);
          services_.store.removeEntries(ids);
        };
        inSlices(state->going.size(), remove, [this, state] {
          services_.store.flush(alive_.guard(
              [this, state](const Result<void>& saved) { finishForget(state, saved); }));
        });
      });
}

void HistoryDeletion::finishForget(const std::shared_ptr<Forgetting>& state,
                                   const Result<void>& saved) {
  if (!saved) {
    unsaved_.append(state->journal);
    return end([state, saved] { state->done(std::unexpected(saved.error())); });
  }
  if (!state->journal.isEmpty()) {
    services_.work->post(
        [&trash = services_.trash, surplus = state->journal.surplus,
         entries = services_.store.entries()] { discard(trash, surplus, entries); });
    clearJournal(true, state->journal);
  }
  end([state] { state->done(state->going.size()); });
}

}  // namespace vantorel
