#include "library/deletion_recovery.hpp"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/log.hpp"
#include "library/history_log.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {
namespace {

/// Nothing once an undo has begun: what that names is on its way back.
const PendingUndo* offeredUndo(const std::optional<PendingUndo>& pending) {
  return pending && !pending->isBegun ? &*pending : nullptr;
}

/// Adds what was removed before `items`, whose places are those in the list that it left.
void addRest(std::vector<RemovedEntry>& items, std::vector<RemovedEntry> rest,
             const std::set<std::string_view>& gone) {
  std::erase_if(rest, [&](const RemovedEntry& item) { return gone.contains(item.entry->id); });
  std::ranges::sort(rest, {}, &RemovedEntry::index);
  for (const RemovedEntry& before : rest) {
    for (RemovedEntry& item : items) {
      if (item.index >= before.index) ++item.index;
    }
  }
  std::ranges::move(rest, std::back_inserter(items));
}

}  // namespace

struct DeletionRecovery::Found {
  DeletionJournal journal;
  std::vector<RemovedEntry> removed;
  std::optional<PendingUndo> pending;
  bool isNewOffer = false;
  DeletionJournal unsettled{};  // of which it is not known where the files are

  static Found look(const Files& files, const LibraryPaths& paths, HistoryTrash& trash,
                    const EntryList& entries, double now);
  bool offerRemoved(const Clock& clock);
};

/// Looks where the files of what was under way are, and carries on their way to the Trash.
DeletionRecovery::Found DeletionRecovery::Found::look(const Files& files, const LibraryPaths& paths,
                                                      HistoryTrash& trash, const EntryList& entries,
                                                      double now) {
  Found found{readDeletionJournal(files, paths), {}, readPendingUndo(files, paths)};
  found.unsettled.offersUndo = found.journal.offersUndo;
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
  if (const PendingUndo* const offered = offeredUndo(found.pending)) {
    for (const RemovedEntry& item : offered->batch.items) known.emplace(item.entry->id, &item);
  }
  for (const TrashCandidate& candidate : trashCandidates(files, entries, going)) {
    const std::string& id = candidate.entry->id;
    DeletionJournal::Item item = *named.at(id);
    const auto listed = known.find(id);
    const auto status = listed == known.end() ? Result<FileStatus>(FileStatus())
                                              : files.status(candidate.entry->path);
    if (!status && !isUnanswered(status.error())) {
      found.removed.push_back(*listed->second);
      continue;
    }
    if (!item.file && taken.contains(candidate.entry->path)) {
      found.removed.push_back({.entry = candidate.entry});
      continue;
    }
    bool mayLand = status && item.mayLandUntil && mayStillLand(*item.mayLandUntil, now);
    auto resumed = status ? trash.resume(candidate, item, mayLand)
                          : HistoryTrash::Resumed{.isUnanswered = true};
    if (resumed.hadBothNames) {
      item.mayLandUntil = now + landingSeconds;
      item.isGivenBack = false;
      mayLand = true;
    }
    if (resumed.removed) {
      if (mayLand) resumed.removed->mayLandUntil = item.mayLandUntil;
      found.removed.push_back(*std::move(resumed.removed));
    } else if (resumed.isUnanswered) {
      item.mayLandUntil = 0;
      item.isGivenBack |= resumed.isGivenBack;
      found.unsettled.items.push_back(std::move(item));
    } else if (mayLand) {
      found.unsettled.items.push_back(std::move(item));
    }
  }
  notePlaces(found.removed, entries);
  trash.flush();
  return found;
}

/// Makes the pending undo that of the deletion that was cut short, with its whole window: nobody
/// was told of it. Answers whether there is one.
bool DeletionRecovery::Found::offerRemoved(const Clock& clock) {
  if (!journal.offersUndo) return false;
  std::set<std::string_view> named;
  for (const DeletionJournal::Item& item : journal.items) named.insert(item.id);
  std::set<std::string_view> gone;
  for (const RemovedEntry& item : removed) gone.insert(item.entry->id);
  std::vector<RemovedEntry> items = std::move(removed);
  const auto isOf = [](const auto& ids) {
    return [&ids](const RemovedEntry& item) { return ids.contains(item.entry->id); };
  };
  const PendingUndo* const offered = offeredUndo(pending);
  // The rest of a deletion whose disk did not answer has ended, and can still be undone.
  const bool isRestOpen = offered && offered->until > clock.now() &&
                          std::ranges::any_of(journal.items, [](const auto& item) {
                            return item.mayLandUntil.has_value();
                          });
  if (isRestOpen) {
    addRest(items, offered->batch.items, gone);
  } else if (offered && std::ranges::any_of(offered->batch.items, isOf(named))) {
    // The index had lost some of it already.
    std::ranges::remove_copy_if(offered->batch.items, std::back_inserter(items), isOf(gone));
  }
  if (gone.empty() && isRestOpen) return false;
  if (items.empty()) return false;
  isNewOffer = true;
  pending = {{std::move(items)}, undoDeadline(clock), false};
  return true;
}

DeletionRecovery::DeletionRecovery(DeletionQueue& queue, DeletionUndo& undo)
    : queue_(queue), undo_(undo), services_(queue.services()) {}

void DeletionRecovery::recover(DeletionQueue::Operation done) {
  queue_.enqueue([this, done = std::move(done)]() mutable { start(std::move(done)); });
}

void DeletionRecovery::start(DeletionQueue::Operation done) {
  if (services_.store.indexRefusal() || !services_.store.indexWasReadFromDisk()) {
    return queue_.end(std::move(done));
  }
  queue_.onWork(
      [&files = services_.files, paths = services_.store.paths(), trash = queue_.trash(),
       entries = services_.store.entries(),
       now = services_.clock.now()] { return Found::look(files, paths, *trash, entries, now); },
      [this, done = std::move(done)](Found found) mutable {
        std::vector<std::string> ids;
        for (const RemovedEntry& removed : found.removed) ids.push_back(removed.entry->id);
        services_.store.removeEntries(ids);
        std::optional<PendingUndo> offered;
        if (found.offerRemoved(services_.clock)) offered = found.pending;
        // The undo first: once the index is on disk nothing else knows the entries.
        queue_.onWork(
            [&files = services_.files, paths = services_.store.paths(),
             pending = std::move(offered)]() -> Result<void> {
              return pending ? writePendingUndo(files, paths, *pending) : Result<void>{};
            },
            [this, found = std::move(found),
             done = std::move(done)](const Result<void>& kept) mutable {
              if (!kept) logUndoNotKept(kept.error());
              queue_.flushIndex([this, found = std::move(found),
                                 done = std::move(done)](const Result<void>& saved) mutable {
                finish(std::move(found), saved.has_value(), std::move(done));
              });
            });
      });
}

void DeletionRecovery::finish(Found found, bool isSaved, DeletionQueue::Operation done) {
  if (!isSaved) {
    queue_.closeJournal(false, found.journal);
    return queue_.end(std::move(done));
  }
  queue_.onWork(
      [&files = services_.files, paths = services_.store.paths(), trash = queue_.trash(),
       surplus = std::move(found.journal.surplus), entries = services_.store.entries(),
       unsettled = found.unsettled] {
        trash->discard(surplus, entries);
        return writeDeletionJournal(files, paths, unsettled);
      },
      // A journal that stays is read again, and finds nothing left to do.
      [this, unsettled = found.unsettled, isNewOffer = found.isNewOffer,
       pending = std::move(found.pending), done = std::move(done)](const Result<void>&) mutable {
        queue_.keep(std::move(unsettled));
        if (isNewOffer) {
          undo_.offer(std::move(pending->batch));
          return queue_.end(std::move(done));
        }
        if (!pending || !pending->isBegun) {
          undo_.offerAgain(std::move(pending));
          return queue_.end(std::move(done));
        }
        logInfo(historyLog, "an undo that was cut short goes on");
        undo_.carryOn(std::move(pending->batch),
                      [done = std::move(done)](const UndoOutcome&) mutable { done(); });
      });
}

}  // namespace vantorel
