#include "library/history_deletion.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>

#include "base/json_record.hpp"
#include "base/log.hpp"
#include "library/entry_paths.hpp"
#include "library/file_reach.hpp"

namespace vantorel {
namespace {

bool isInside(const Path& path, const Path& folder) {
  return std::ranges::mismatch(folder, path).in1 == folder.end();
}

std::string whyNotDeleted(const ScreenshotEntry& entry, const EntryBusy& busy) {
  if (entry.medium == CaptureMedium::project && busy.work == EntryWork::exporting) {
    return "a Studio project can't be deleted while it exports. Stop its export first";
  }
  return sentence(busy);
}

/// Of an entry that a deletion was busy with: its file, the last one of its folder, may be what
/// went.
bool isGone(const Files& files, const ScreenshotEntry& entry) {
  const FileReach reach =
      entry.fileIdentity ? reachOf(files, entry) : reachOf(files, Path(entry.path));
  return reach == FileReach::fileGone;
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
  isBusy_ = false;
  answer();
  startNext();
}

void HistoryDeletion::journal(const std::vector<std::string>& ids) {
  journalled_.insert(ids.begin(), ids.end());
  if (!ids.empty()) writeJournal();
}

// An index that was not saved still has entries whose files went: the journal goes on naming them.
void HistoryDeletion::release(const std::vector<std::string>& ids, bool isSaved) {
  if (ids.empty()) return;
  for (const std::string& id : ids) {
    claims_.erase(id);
    if (isSaved) journalled_.erase(id);
  }
  writeJournal();
}

// Runs before the moves that are posted after it.
void HistoryDeletion::writeJournal() {
  services_.work->post([&files = services_.files, paths = services_.store.paths(),
                        failure = journalFailure_,
                        ids = std::vector<std::string>(journalled_.begin(), journalled_.end())] {
    failure->reset();
    const auto written =
        ids.empty() ? files.remove(paths.deletions())
                    : files.replace(paths.deletions(), json::toText(ids), Privacy::ownerOnly);
    if (!written && written.error().kind != FailureKind::notFound) {
      logWarning("History", "the deletion journal could not be written: {}",
                 written.error().reason);
      *failure = written.error().reason;
    }
  });
}

void HistoryDeletion::recover(std::move_only_function<void()> done) {
  // What another process is busy with is no affair of ours.
  if (services_.store.indexRefusal()) return done();
  services_.work->post([&files = services_.files, paths = services_.store.paths(),
                        entries = services_.store.entries(), main = services_.main,
                        reply = alive_.guard([this, done = std::move(done)](
                                                 const std::vector<std::string>& gone,
                                                 std::optional<PendingUndo> pending) mutable {
                          services_.store.removeEntries(gone);
                          offerAgain(std::move(pending));
                          services_.store.flush(alive_.guard(
                              [this, done = std::move(done)](Result<void> saved) mutable {
                                if (saved && journalled_.empty()) writeJournal();
                                done();
                              }));
                        })]() mutable {
    std::vector<std::string> gone;
    const auto text = files.read(paths.deletions());
    const auto ids = text ? json::fromText<std::vector<std::string>>(*text)
                          : Result<std::vector<std::string>>(std::unexpected(text.error()));
    if (ids) {
      const std::set<std::string_view> named(ids->begin(), ids->end());
      // While its file was in the Trash, another capture may have got the name it had.
      std::set<std::string_view> taken;
      for (const EntryPointer& entry : entries) {
        if (!named.contains(entry->id)) taken.insert(entry->path);
      }
      for (const EntryPointer& entry : entries) {
        if (named.contains(entry->id) && (taken.contains(entry->path) || isGone(files, *entry))) {
          gone.push_back(entry->id);
        }
      }
    }
    main->post(
        [reply = std::move(reply), gone = std::move(gone),
         pending = readPendingUndo(files, paths)]() mutable { reply(gone, std::move(pending)); });
  });
}

// Copies of a capture, and captures made from others, may share files: those go with the last entry
// that shows them.
std::vector<TrashCandidate> HistoryDeletion::candidates(const EntryList& going) const {
  std::unordered_map<std::string_view, bool> isShownByOthers;
  std::set<std::string_view> ids;
  for (const EntryPointer& entry : going) {
    ids.insert(entry->id);
    isShownByOthers.emplace(entry->path, false);
    if (entry->originalPath) isShownByOthers.emplace(*entry->originalPath, false);
  }
  const auto mark = [&](std::string_view path) {
    const auto found = isShownByOthers.find(path);
    if (found != isShownByOthers.end()) found->second = true;
  };
  for (const EntryPointer& entry : services_.store.entries()) {
    if (ids.contains(entry->id)) continue;
    forEachPath(*entry, mark);
  }
  std::vector<TrashCandidate> all;
  for (const EntryPointer& entry : going) {
    all.push_back({entry, isShownByOthers[entry->path],
                   entry->originalPath && isShownByOthers[*entry->originalPath]});
  }
  return all;
}

void HistoryDeletion::trash(const std::vector<std::string>& ids, Undo undo,
                            std::move_only_function<void(TrashSweep)> done) {
  enqueue([this, ids, undo, done = std::move(done)]() mutable {
    trashNow(ids, undo, std::move(done));
  });
}

void HistoryDeletion::trashNow(const std::vector<std::string>& ids, Undo undo,
                               std::move_only_function<void(TrashSweep)> done) {
  TrashSweep sweep;
  EntryList going;
  // Files that went while the index stays as it was would leave entries of nothing behind.
  const auto refusal = services_.store.indexRefusal();
  for (const std::string& id : ids) {
    const EntryPointer entry = services_.store.find(id);
    if (!entry || !sweep.attempted.insert(id).second) continue;
    if (refusal) {
      sweep.failures.push_back({id, *refusal});
      continue;
    }
    auto claim = services_.store.claims().claim(id, EntryWork::deleting);
    if (!claim) {
      sweep.failures.push_back({id, whyNotDeleted(*entry, claim.error())});
      continue;
    }
    claims_.emplace(id, *std::move(claim));
    going.push_back(entry);
  }
  std::vector<std::string> claimed;
  for (const EntryPointer& entry : going) claimed.push_back(entry->id);
  journal(claimed);
  services_.work->post([trash = trash_, main = services_.main, all = candidates(going),
                        sweep = std::move(sweep), unnoted = journalFailure_,
                        reply = alive_.guard([this, claimed, undo,
                                              done = std::move(done)](TrashSweep& swept) mutable {
                          finishTrash(std::move(swept), claimed, undo, std::move(done));
                        })]() mutable {
    for (const TrashCandidate& candidate : all) {
      // Without a journal and an index, nobody would know afterwards where the file went.
      if (*unnoted) {
        sweep.failures.push_back({candidate.entry->id, "move to Trash failed: " + **unnoted});
        continue;
      }
      auto outcome = trash->trash(candidate);
      if (auto* const removed = std::get_if<RemovedEntry>(&outcome)) {
        sweep.removed.push_back(std::move(*removed));
      } else {
        sweep.failures.push_back(
            {candidate.entry->id, std::get<HistoryTrash::Failed>(outcome).reason});
      }
    }
    main->post([sweep = std::move(sweep), reply = std::move(reply)]() mutable { reply(sweep); });
  });
}

void HistoryDeletion::finishTrash(TrashSweep sweep, const std::vector<std::string>& claimed,
                                  Undo undo, std::move_only_function<void(TrashSweep)> done) {
  std::vector<std::string> ids;
  ids.reserve(sweep.removed.size());
  for (const RemovedEntry& removed : sweep.removed) ids.push_back(removed.entry->id);
  const std::vector<PlacedEntry> placed = services_.store.removeEntries(ids);
  for (const PlacedEntry& one : placed) {
    const auto found = std::ranges::find_if(sweep.removed, [&](const RemovedEntry& removed) {
      return removed.entry->id == one.entry->id;
    });
    // It may have been edited while its file moved.
    found->entry = one.entry;
    found->index = one.index;
  }
  if (undo == Undo::offered && !sweep.removed.empty()) offerUndo({sweep.removed});
  services_.store.flush(alive_.guard([this, claimed, sweep = std::move(sweep),
                                      done = std::move(done)](Result<void> saved) mutable {
    release(claimed, saved.has_value());
    if (!saved && !sweep.removed.empty()) sweep.indexNotSaved = saved.error().reason;
    end([&] { done(std::move(sweep)); });
  }));
}

void HistoryDeletion::offerUndo(RemovedBatch batch) {
  const double seconds = std::chrono::duration<double>(undoWindow).count();
  services_.work->post([&files = services_.files, paths = services_.store.paths(),
                        pending = PendingUndo{batch, services_.clock.now() + seconds}] {
    const auto written = writePendingUndo(files, paths, pending);
    if (!written) logWarning("History", "the undo was not kept: {}", written.error().reason);
  });
  offerUndoUntil(std::move(batch), undoWindow);
}

void HistoryDeletion::offerUndoUntil(RemovedBatch batch, std::chrono::nanoseconds left) {
  pendingUndo_ = std::move(batch);
  undoTimer_.renew();
  services_.main->postAfter(left, undoTimer_.guard([this] { withdrawUndo(); }));
  if (onPendingUndoChange) onPendingUndoChange();
}

void HistoryDeletion::offerAgain(std::optional<PendingUndo> pending) {
  // Another process may have the library, and this undo with it.
  if (pendingUndo_ || services_.store.indexRefusal()) return;
  if (pending) {
    // What an undo that was cut short has brought back needs none.
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
  offerUndoUntil(std::move(pending->batch),
                 std::chrono::duration_cast<std::chrono::nanoseconds>(left));
}

void HistoryDeletion::forgetPendingUndo() {
  services_.work->post([&files = services_.files, paths = services_.store.paths()] {
    const auto removed = removePendingUndo(files, paths);
    if (!removed) logWarning("History", "the kept undo stays: {}", removed.error().reason);
  });
}

void HistoryDeletion::withdrawUndo() {
  if (!pendingUndo_) return;
  undoTimer_.renew();
  pendingUndo_.reset();
  forgetPendingUndo();
  if (onPendingUndoChange) onPendingUndoChange();
}

void HistoryDeletion::settle(std::move_only_function<void()> done) {
  enqueue([this, done = std::move(done)]() mutable {
    services_.work->post(
        [main = services_.main, reply = alive_.guard([this, done = std::move(done)]() mutable {
          end(std::move(done));
        })]() mutable { main->post(std::move(reply)); });
  });
}

// Another capture may have got the name while the file was in the Trash.
std::string HistoryDeletion::freePath(const std::string& wanted) const {
  Path path = wanted;
  for (int number = 2; services_.store.findByPath(path.string()); ++number) {
    path.replace_filename(numberedName(wanted, number));
  }
  return path.string();
}

// The journal first, then the index, then the files: whenever the program ends in between, every
// file is still in the Trash or already back, and an entry stands for it, or the journal knows that
// it has none yet.
void HistoryDeletion::undo(std::move_only_function<void(UndoOutcome)> done) {
  enqueue([this, done = std::move(done)]() mutable { undoNow(std::move(done)); });
}

void HistoryDeletion::undoNow(std::move_only_function<void(UndoOutcome)> done) {
  if (!pendingUndo_) {
    services_.main->post(
        alive_.guard([this, done = std::move(done)]() mutable { end([&] { done({}); }); }));
    return;
  }
  RemovedBatch batch = *std::move(pendingUndo_);
  withdrawUndo();
  std::vector<std::string> ids;
  for (const RemovedEntry& removed : batch.items) {
    const std::string& id = removed.entry->id;
    ids.push_back(id);
    if (auto claim = services_.store.claims().claim(id, EntryWork::restoring)) {
      claims_.emplace(id, *std::move(claim));
    }
  }
  journal(ids);
  services_.work->post(
      [main = services_.main, unnoted = journalFailure_,
       reply = alive_.guard([this, batch = std::move(batch), ids, done = std::move(done)](
                                const std::optional<std::string>& failure) mutable {
         if (!failure) return putBack(std::move(batch), std::move(done));
         release(ids, true);
         offerUndo(std::move(batch));
         UndoOutcome outcome;
         for (const std::string& id : ids) {
           outcome.failures.push_back({id, "restore from Trash failed: " + *failure});
         }
         end([&] { done(std::move(outcome)); });
       })]() mutable {
        main->post([reply = std::move(reply), failure = *unnoted]() mutable { reply(failure); });
      });
}

void HistoryDeletion::putBack(RemovedBatch batch, std::move_only_function<void(UndoOutcome)> done) {
  std::vector<PlacedEntry> placed;
  for (RemovedEntry& removed : batch.items) {
    ScreenshotEntry entry = *removed.entry;
    std::erase_if(entry.collectionIDs, [&](const std::string& id) {
      return services_.store.findCollection(id) == nullptr;
    });
    entry.path = freePath(entry.path);
    if (entry != *removed.entry) {
      removed.entry = std::make_shared<const ScreenshotEntry>(std::move(entry));
    }
    placed.push_back({removed.index, removed.entry});
  }
  services_.store.insertEntries(std::move(placed));
  services_.store.flush(alive_.guard(
      [this, batch = std::move(batch), done = std::move(done)](Result<void> saved) mutable {
        UndoOutcome outcome;
        if (!saved) outcome.indexNotSaved = saved.error().reason;
        restoreFiles(std::move(batch), std::move(outcome), std::move(done));
      }));
}

void HistoryDeletion::restoreFiles(RemovedBatch batch, UndoOutcome outcome,
                                   std::move_only_function<void(UndoOutcome)> done) {
  services_.work->post(
      [trash = trash_, main = services_.main, batch = std::move(batch),
       reply = alive_.guard(
           [this, outcome = std::move(outcome), done = std::move(done)](
               const RemovedBatch& tried, const std::vector<HistoryTrash::Restored>& all) mutable {
             finishUndo(tried, all, std::move(outcome), std::move(done));
           })]() mutable {
        std::vector<HistoryTrash::Restored> all;
        all.reserve(batch.items.size());
        for (const RemovedEntry& removed : batch.items) all.push_back(trash->restore(removed));
        main->post([all = std::move(all), tried = std::move(batch),
                    reply = std::move(reply)]() mutable { reply(tried, all); });
      });
}

void HistoryDeletion::finishUndo(const RemovedBatch& tried,
                                 const std::vector<HistoryTrash::Restored>& all,
                                 UndoOutcome outcome,
                                 std::move_only_function<void(UndoOutcome)> done) {
  std::vector<std::string> ids;
  std::vector<std::string> withoutFile;
  RemovedBatch again;  // what is still in the Trash, for the user to make room for
  for (std::size_t i = 0; i < all.size(); ++i) {
    const HistoryTrash::Restored& restored = all[i];
    const std::string& id = restored.entry->id;
    ids.push_back(id);
    if (restored.failure) outcome.failures.push_back({id, *restored.failure});
    if (restored.failure && !restored.hasBackingImage) {
      withoutFile.push_back(id);
      if (restored.isInTrash) again.items.push_back(tried.items[i]);
      continue;
    }
    outcome.restored.push_back(id);
    (void)services_.store.update(id, [&](ScreenshotEntry& entry) {
      entry.path = restored.entry->path;
      entry.originalPath = restored.entry->originalPath;
    });
  }
  services_.store.removeEntries(withoutFile);
  if (!again.items.empty() && !pendingUndo_) offerUndo(std::move(again));
  services_.store.flush(alive_.guard([this, ids = std::move(ids), outcome = std::move(outcome),
                                      done = std::move(done)](Result<void> saved) mutable {
    release(ids, saved.has_value());
    if (!saved) outcome.indexNotSaved = saved.error().reason;
    end([&] { done(std::move(outcome)); });
  }));
}

void HistoryDeletion::forget(const std::vector<std::string>& ids,
                             std::move_only_function<void(Result<std::size_t>)> done) {
  if (const auto refusal = services_.store.indexRefusal()) {
    services_.main->post(alive_.guard([reason = *refusal, done = std::move(done)]() mutable {
      done(failed(FailureKind::denied, std::move(reason)));
    }));
    return;
  }
  std::vector<ForgetCandidate> going;
  for (const PlacedEntry& placed : services_.store.removeEntries(ids)) {
    ForgetCandidate candidate{placed.entry, std::nullopt};
    const auto& original = placed.entry->originalPath;
    const bool isSequestered =
        original && isInside(*original, services_.store.paths().redactedOriginals());
    if (isSequestered && !candidates({placed.entry}).front().keepsOriginal) {
      candidate.sequesteredOriginal = *original;
    }
    going.push_back(std::move(candidate));
  }
  services_.store.flush(alive_.guard(
      [this, going = std::move(going), done = std::move(done)](Result<void> saved) mutable {
        if (!saved) {
          done(failed(saved.error().kind, saved.error().reason));
          return;
        }
        const std::size_t count = going.size();
        services_.work->post([&trash = services_.trash, going = std::move(going)] {
          for (const ForgetCandidate& candidate : going) {
            if (!candidate.sequesteredOriginal) continue;
            const auto moved = trash.moveToTrash(*candidate.sequesteredOriginal);
            if (!moved && moved.error().kind != FailureKind::notFound) {
              logWarning("History", "move to Trash failed: {}", moved.error().reason);
            }
          }
        });
        done(count);
      }));
}

}  // namespace vantorel
