#include "library/history_deletion.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <unordered_map>
#include <utility>

#include "base/log.hpp"
#include "library/doubtful_names.hpp"
#include "library/entry_failure.hpp"
#include "library/history_log.hpp"
#include "library/look_adoption.hpp"
#include "library/pending_undo.hpp"

namespace vantorel {
namespace {

constexpr std::string_view notMoved = "move to Trash failed: ";

/// Between two looks at what a silent disk made of a change.
constexpr std::chrono::seconds lookAgainPause{30};

bool isInside(const Path& path, const Path& folder) {
  return std::ranges::mismatch(folder, path).in1 == folder.end();
}

std::string whyNotDeleted(const ScreenshotEntry& entry, const EntryBusy& busy) {
  if (entry.medium == CaptureMedium::project && busy.work == EntryWork::exporting) {
    return "a Studio project can't be deleted while it exports. Stop its export first";
  }
  return sentence(busy);
}

/// What came of moving the files of a deletion.
struct Moved {
  std::vector<RemovedEntry> removed{};
  RemovedBatch batch{};  // the same, to be undone
  std::vector<TrashSweep::Failure> failures{};
  DeletionJournal journal{};

  /// The journal's item stays: it is not known where the files are.
  void doubt(const std::string& id, bool isGivenBack) {
    const auto item = std::ranges::find(journal.items, id, &DeletionJournal::Item::id);
    item->mayLandUntil = 0;
    item->isGivenBack = isGivenBack;
  }
};

}  // namespace

struct HistoryDeletion::Sweeping {
  std::vector<std::string> ids;
  Undo undo;
  std::set<std::string> unsettled{};
  TrashSweep sweep{};
  RemovedBatch batch{};
  EntryList going{};
  DeletionJournal journal{};
  std::move_only_function<void(const TrashSweep&)> done;
  bool wasEdited = false;
};

struct HistoryDeletion::Forgetting {
  std::vector<std::string> ids;
  EntryList going;
  DeletionJournal journal;
  std::move_only_function<void(Result<std::size_t>)> done;
  Originals originals = Originals::discarded;
};

HistoryDeletion::HistoryDeletion(Services services)
    : queue_(std::move(services)), undo_(queue_, [this] { undoObservers_.notify(); }) {}

std::string deletedFeedback(std::size_t count) {
  return fmt::format("{} {} deleted", count, count == 1 ? "capture" : "captures");
}

void HistoryDeletion::recover(std::move_only_function<void()> done) {
  recovery_.recover([this, done = std::move(done)]() mutable {
    lookAgainLater();
    done();
  });
}

void HistoryDeletion::undo(std::move_only_function<void(UndoOutcome)> done) {
  settleFirst();
  undo_.undo([this, done = std::move(done)](UndoOutcome outcome) mutable {
    lookAgainLater();
    done(std::move(outcome));
  });
}

void HistoryDeletion::settleFirst() {
  if (queue_.isUnsettled()) recover([] {});
}

void HistoryDeletion::lookAgainLater() {
  if (!queue_.isUnsettled()) return;
  timer_.renew();
  services_.main->postAfter(lookAgainPause, timer_.guard([this] { settleFirst(); }));
}

// Deleting: the journal, the files, the undo, then the index. Whenever the run ends in between, the
// next one knows of each file where it is.

void HistoryDeletion::trash(std::vector<std::string> ids, Undo undo,
                            std::move_only_function<void(const TrashSweep&)> done) {
  settleFirst();
  queue_.enqueue([this, ids = std::move(ids), undo, done = std::move(done)]() mutable {
    auto state = std::make_shared<Sweeping>(
        Sweeping{.ids = std::move(ids), .undo = undo, .done = std::move(done)});
    // What keeps an undo that waits for its disk would give way to what keeps this one's.
    if (undo == Undo::offered && !queue_.unsettledUndo.empty()) {
      state->undo = Undo::none;
      state->sweep.isUndoTaken = true;
    }
    // Names may have been swapped: what goes is the entry's file, not what has its name.
    queue_.onWork(
        [&files = services_.files, before = LookBeforeUse(services_.store, state->ids)] {
          return before.look(files);
        },
        [this, state](const FileLook& look) {
          state->unsettled = adoptLook(services_.store, look).unsettled;
          const auto go = [this, state] {
            queue_.inSlices(
                state->ids.size(),
                [this, state](std::size_t begin, std::size_t end) {
                  claimSome(*state, begin, end);
                },
                [this, state] { moveToTrash(state); });
          };
          if (look.renamed.empty() && look.displaced.empty()) return go();
          // What a kill leaves behind is found by the paths in the index on disk.
          queue_.flushIndex([go](const Result<void>&) { go(); });
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
      state.sweep.failures.push_back({id, sentence(EntryFailure{EntryFailure::Case::unsettled})});
      continue;
    }
    if (queue_.isInDoubt(id)) {
      state.sweep.failures.push_back({id, inDoubtReason});
      continue;
    }
    if (const auto claimed = queue_.claim(id, EntryWork::deleting); !claimed) {
      state.sweep.failures.push_back({id, whyNotDeleted(*entry, claimed.error())});
      continue;
    }
    state.going.push_back(entry);
  }
}

void HistoryDeletion::moveToTrash(const std::shared_ptr<Sweeping>& state) {
  queue_.onWork(
      [&files = services_.files, paths = services_.store.paths(), trash = queue_.trash(),
       entries = services_.store.entries(), going = std::move(state->going),
       unended = queue_.unended(), isOffered = state->undo == Undo::offered,
       &clock = services_.clock] {
        Moved moved;
        if (going.empty()) return moved;
        const std::vector<TrashCandidate> all = trashCandidates(files, entries, going);
        for (const TrashCandidate& one : all) moved.journal.items.push_back(trash->describe(one));
        moved.journal.offersUndo = isOffered;
        const auto refuse = [&](const std::string& id, const std::string& reason) {
          moved.failures.push_back({id, std::string(notMoved) + reason});
        };
        DeletionJournal whole = unended;
        whole.append(moved.journal);
        // Without a journal, nobody would know afterwards where the files went.
        if (const auto written = writeDeletionJournal(files, paths, whole); !written) {
          logWarning(historyLog, "the deletion journal could not be written: {}",
                     written.error().reason);
          for (const TrashCandidate& one : all) refuse(one.entry->id, written.error().reason);
          return moved;
        }
        for (std::size_t i = 0; i < all.size(); ++i) {
          const TrashCandidate& one = all[i];
          auto outcome = trash->trash(one, moved.journal.items[i]);
          if (auto* const removed = std::get_if<RemovedEntry>(&outcome)) {
            // Whoever asked for it tells it.
            const std::string remark = isOffered ? "" : originalRemark(*removed);
            if (!remark.empty()) {
              logWarning(historyLog, "{}: {}", removed->entry->path, remark);
            }
            moved.removed.push_back(std::move(*removed));
          } else {
            const auto& failure = std::get<HistoryTrash::Failed>(outcome);
            moved.failures.push_back({one.entry->id, failure.reason});
            if (failure.isUnanswered) moved.doubt(one.entry->id, failure.isGivenBack);
          }
        }
        trash->flush();
        notePlaces(moved.removed, entries);
        if (!isOffered || moved.removed.empty()) return moved;
        moved.batch.items = moved.removed;
        const auto kept = writePendingUndo(files, paths, {moved.batch, undoDeadline(clock)});
        if (kept) return moved;
        // What could not be undone is not done.
        std::vector<RemovedEntry> stuck;
        for (RemovedEntry& removed : moved.removed) {
          const auto restored = trash->restore(removed, Trash::Attempt::first, clock.now());
          if (restored.failure && !restored.isUnanswered) {
            stuck.push_back(std::move(removed));
          } else {
            refuse(removed.entry->id, restored.failure.value_or(kept.error().reason));
            if (restored.isUnanswered) moved.doubt(removed.entry->id, true);
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
        queue_.inSlices(
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
  const auto next = [this, state](const Result<void>& kept) {
    if (!kept) logUndoNotKept(kept.error());
    queue_.flushIndex([this, state](const Result<void>& saved) { finishTrash(state, saved); });
  };
  if (state->undo == Undo::none || state->sweep.removed.empty()) return next({});
  undo_.offer(std::move(state->batch));
  if (!state->wasEdited) return next({});
  queue_.onWork(
      [&files = services_.files, paths = services_.store.paths(),
       pending = PendingUndo{*undo_.pending(), undoDeadline(services_.clock)}] {
        return writePendingUndo(files, paths, pending);
      },
      next);
}

void HistoryDeletion::finishTrash(const std::shared_ptr<Sweeping>& state,
                                  const Result<void>& saved) {
  queue_.closeJournal(saved.has_value(), state->journal);
  if (!saved && !state->sweep.removed.empty()) state->sweep.indexNotSaved = saved.error().reason;
  queue_.end([this, state] {
    lookAgainLater();
    state->done(state->sweep);
    // So many entries take a while to be given back.
    services_.work->post([removed = std::move(state->sweep.removed)] {});
  });
}

void HistoryDeletion::forget(const std::vector<std::string>& ids,
                             std::move_only_function<void(Result<std::size_t>)> done,
                             Originals originals) {
  settleFirst();
  queue_.enqueue([this, ids, originals, done = std::move(done)]() mutable {
    auto state = std::make_shared<Forgetting>(Forgetting{ids, {}, {}, std::move(done), originals});
    if (const auto refusal = services_.store.indexRefusal()) {
      return queue_.endLater(
          [state, reason = *refusal] { state->done(failed(FailureKind::denied, reason)); });
    }
    const auto claim = [this, state](std::size_t begin, std::size_t end) {
      for (std::size_t i = begin; i < end; ++i) {
        const EntryPointer entry = services_.store.find(state->ids[i]);
        if (!entry || queue_.isInDoubt(entry->id)) continue;
        const bool isOpen =
            state->originals == Originals::kept && services_.store.claims().isEdited(entry->id);
        if (isOpen || queue_.claim(entry->id, EntryWork::deleting)) state->going.push_back(entry);
      }
    };
    queue_.inSlices(state->ids.size(), claim, [this, state] { noteSurplus(state); });
  });
}

// Originals in the library's own folders are nobody else's.
void HistoryDeletion::noteSurplus(const std::shared_ptr<Forgetting>& state) {
  queue_.onWork(
      [&files = services_.files, paths = services_.store.paths(), state, unended = queue_.unended(),
       entries = services_.store.entries()]() -> Result<void> {
        for (const TrashCandidate& one : trashCandidates(files, entries, state->going)) {
          const auto& original = one.entry->originalPath;
          if (original && !one.keepsOriginal &&
              (isInside(*original, paths.redactedOriginals()) ||
               (state->originals == Originals::discarded &&
                isInside(*original, paths.originals())))) {
            state->journal.surplus.push_back(*original);
          }
        }
        if (state->journal.isEmpty()) return {};
        DeletionJournal whole = unended;
        whole.append(state->journal);
        return writeDeletionJournal(files, paths, whole);
      },
      [this, state](Result<void> noted) {
        if (!noted) {
          return queue_.end([state, noted] { state->done(std::unexpected(noted.error())); });
        }
        const auto remove = [this, state](std::size_t begin, std::size_t end) {
          std::vector<std::string> ids;
          for (std::size_t i = begin; i < end; ++i) ids.push_back(state->going[i]->id);
          services_.store.removeEntries(ids);
        };
        queue_.inSlices(state->going.size(), remove, [this, state] {
          queue_.flushIndex(
              [this, state](const Result<void>& saved) { finishForget(state, saved); });
        });
      });
}

void HistoryDeletion::finishForget(const std::shared_ptr<Forgetting>& state,
                                   const Result<void>& saved) {
  if (saved && !state->journal.isEmpty()) {
    services_.work->post(
        [trash = queue_.trash(), surplus = state->journal.surplus,
         entries = services_.store.entries()] { trash->discard(surplus, entries); });
  }
  queue_.closeJournal(saved.has_value(), state->journal);
  queue_.end([state, saved] {
    if (!saved) return state->done(std::unexpected(saved.error()));
    state->done(state->going.size());
  });
}

}  // namespace vantorel
