#include "library/deletion_undo.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/log.hpp"
#include "library/capture_file_name.hpp"
#include "library/doubtful_names.hpp"
#include "library/entry_paths.hpp"
#include "library/history_log.hpp"

namespace vantorel {
namespace {

constexpr std::string_view notRestored = "restore from Trash failed: ";

/// A path that neither the disk nor an entry has: other files may have got the name while this one
/// was in the Trash.
std::string freePath(const Files& files, KnownFiles& doubtful,
                     std::unordered_set<std::string>& taken, const std::string& wanted) {
  Path path = wanted;
  const auto isTaken = [&] {
    return taken.contains(path.string()) || files.status(path) || doubtful.hasName(path);
  };
  for (int number = 2; isTaken(); ++number) {
    path.replace_filename(numberedName(wanted, number));
  }
  taken.insert(path.string());
  return path.string();
}

/// Decides where the files of a batch go. Entries that an earlier run brought back keep what they
/// have. A name whose removal may still be made is as good as taken.
void choosePaths(const Files& files, const LibraryPaths& paths, const EntryList& all,
                 std::vector<RemovedEntry>& items, double now) {
  std::unordered_map<std::string_view, EntryPointer> present;
  std::unordered_set<std::string> taken;
  for (const EntryPointer& entry : all) {
    present.emplace(entry->id, entry);
    forEachPath(*entry, [&](const std::string& path) { taken.insert(path); });
  }
  KnownFiles doubtful(files);
  addDoubtfulNames(files, paths, now, doubtful);
  for (RemovedEntry& item : items) {
    if (const auto found = present.find(item.entry->id); found != present.end()) {
      item.entry = found->second;
      continue;
    }
    ScreenshotEntry entry = *item.entry;
    // A file that never went is where it was.
    if (item.trashedPNGURL) entry.path = freePath(files, doubtful, taken, entry.path);
    if (item.trashedOriginalURL && entry.originalPath) {
      entry.originalPath = freePath(files, doubtful, taken, *entry.originalPath);
    }
    if (entry != *item.entry)
      item.entry = std::make_shared<const ScreenshotEntry>(std::move(entry));
  }
}

}  // namespace

struct DeletionUndo::Undoing {
  std::vector<RemovedEntry> items;    // as they were removed
  std::vector<RemovedEntry> tried;    // with the paths they are to have
  std::vector<std::string> inserted;  // ids
  std::vector<HistoryTrash::Restored> restored;
  bool wasBegun = false;  // by an earlier run
  RemovedBatch again;
  RemovedBatch unanswered;  // it is not known whether they are back
  UndoOutcome outcome;
  std::move_only_function<void(UndoOutcome)> done;
};

DeletionUndo::DeletionUndo(DeletionQueue& queue, std::function<void()> onChange)
    : queue_(queue), services_(queue.services()), onChange_(std::move(onChange)) {}

void DeletionUndo::keepAndOffer(RemovedBatch batch) {
  services_.work->post([&files = services_.files, paths = services_.store.paths(),
                        pending = PendingUndo{batch, undoDeadline(services_.clock)}] {
    const auto written = writePendingUndo(files, paths, pending);
    if (!written) logUndoNotKept(written.error());
  });
  offer(std::move(batch));
}

void DeletionUndo::offerFor(std::chrono::nanoseconds left, RemovedBatch batch) {
  pending_ = std::move(batch);
  ends_ = services_.clock.monotonic() + left;
  timer_.renew();
  services_.main->postAfter(left, timer_.guard([this] {
    pending_.reset();
    removeKept();
    onChange_();
  }));
  onChange_();
}

void DeletionUndo::offerAgain(std::optional<PendingUndo> pending) {
  if (pending_) return;
  if (pending) {
    std::erase_if(pending->batch.items, [this](const RemovedEntry& item) {
      return services_.store.find(item.entry->id) != nullptr;
    });
  }
  const std::chrono::duration<double> left(pending ? pending->until - services_.clock.now() : 0);
  // More than the whole window is left only when the wall clock was set back.
  if (!pending || pending->batch.items.empty() || left.count() <= 0 || left > undoWindow) {
    removeKept();
    return;
  }
  offerFor(std::chrono::duration_cast<std::chrono::nanoseconds>(left), std::move(pending->batch));
}

void DeletionUndo::removeKept() {
  services_.work->post([&files = services_.files, paths = services_.store.paths()] {
    const auto removed = removePendingUndo(files, paths);
    if (!removed) logWarning(historyLog, "the kept undo stays: {}", removed.error().reason);
  });
}

/// The next look carries it on.
void DeletionUndo::keepBegun(RemovedBatch batch) {
  for (const RemovedEntry& item : batch.items) {
    queue_.unsettledUndo.push_back(item.entry->id);
  }
  services_.work->post(
      [&files = services_.files, paths = services_.store.paths(),
       pending = PendingUndo{std::move(batch), undoDeadline(services_.clock), true}] {
        const auto written = writePendingUndo(files, paths, pending);
        // What was written when it began names these and more.
        if (!written) logUndoNotKept(written.error());
      });
}

void DeletionUndo::undo(std::move_only_function<void(UndoOutcome)> done) {
  queue_.enqueue([this, done = std::move(done)]() mutable {
    if (pending_) return start(false, std::move(done));
    queue_.endLater([done = std::move(done)]() mutable { done({}); });
  });
}

void DeletionUndo::carryOn(RemovedBatch batch, std::move_only_function<void(UndoOutcome)> done) {
  pending_ = std::move(batch);
  start(true, std::move(done));
}

void DeletionUndo::start(bool wasBegun, std::move_only_function<void(UndoOutcome)> done) {
  auto state = std::make_shared<Undoing>();
  state->items = std::move(pending_->items);
  state->wasBegun = wasBegun;
  queue_.unsettledUndo.clear();
  state->done = std::move(done);
  timer_.renew();
  pending_.reset();
  onChange_();
  const auto claim = [this, state](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      // One that somebody else has comes back all the same.
      (void)queue_.claim(state->items[i].entry->id, EntryWork::restoring);
    }
  };
  queue_.inSlices(state->items.size(), claim, [this, state] { begin(state); });
}

void DeletionUndo::begin(const std::shared_ptr<Undoing>& state) {
  queue_.onWork(
      [&files = services_.files, paths = services_.store.paths(), state,
       entries = services_.store.entries(), now = services_.clock.now(),
       until = undoDeadline(services_.clock)] {
        auto noted = writePendingUndo(files, paths, {{state->items}, until, true});
        if (!noted) return noted;
        state->tried = state->items;
        choosePaths(files, paths, entries, state->tried, now);
        return noted;
      },
      [this, state](const Result<void>& begun) {
        if (!begun) return giveUp(state, begun.error().reason);
        queue_.inSlices(
            state->tried.size(),
            [this, state](std::size_t begin, std::size_t end) { insertSome(*state, begin, end); },
            [this, state] {
              queue_.flushIndex([this, state](const Result<void>& saved) {
                if (saved) return restoreFiles(state);
                // No file comes back without its entry.
                state->outcome.indexNotSaved = saved.error().reason;
                services_.store.removeEntries(state->inserted);
                giveUp(state, saved.error().reason);
              });
            });
      });
}

void DeletionUndo::insertSome(Undoing& state, std::size_t begin, std::size_t end) {
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

/// Nothing has moved, unless an earlier attempt did it: everything can be undone again.
void DeletionUndo::giveUp(const std::shared_ptr<Undoing>& state, const std::string& reason) {
  for (const RemovedEntry& item : state->items) {
    state->outcome.failures.push_back({item.entry->id, std::string(notRestored) + reason});
  }
  if (state->wasBegun) {
    keepBegun({std::move(state->items)});
  } else {
    keepAndOffer({std::move(state->items)});
  }
  queue_.end([state] { state->done(std::move(state->outcome)); });
}

void DeletionUndo::restoreFiles(const std::shared_ptr<Undoing>& state) {
  using All = std::vector<HistoryTrash::Restored>;
  queue_.onWork(
      [trash = queue_.trash(), state, now = services_.clock.now()] {
        const auto attempt = state->wasBegun ? Trash::Attempt::repeated : Trash::Attempt::first;
        All all;
        all.reserve(state->tried.size());
        for (const RemovedEntry& removed : state->tried) {
          all.push_back(trash->restore(removed, attempt, now));
        }
        trash->flush();
        state->tried = {};
        return all;
      },
      [this, state](All all) {
        state->restored = std::move(all);
        queue_.inSlices(
            state->restored.size(),
            [this, state](std::size_t begin, std::size_t end) { adoptSome(*state, begin, end); },
            [this, state] {
              queue_.flushIndex([this, state](const Result<void>& saved) { finish(state, saved); });
            });
      });
}

void DeletionUndo::adoptSome(Undoing& state, std::size_t begin, std::size_t end) {
  std::vector<std::string> withoutFile;
  for (std::size_t i = begin; i < end; ++i) {
    HistoryTrash::Restored restored = std::move(state.restored[i]);
    const std::string& id = restored.entry->id;
    if (restored.failure) state.outcome.failures.push_back({id, *restored.failure});
    if (restored.isUnanswered) {
      // Its entry waits for it.
      state.unanswered.items.push_back(std::move(restored.again));
      continue;
    }
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

void DeletionUndo::finish(const std::shared_ptr<Undoing>& state, const Result<void>& saved) {
  if (!saved) state->outcome.indexNotSaved = saved.error().reason;
  if (!state->unanswered.items.empty()) {
    std::ranges::move(state->again.items, std::back_inserter(state->unanswered.items));
    keepBegun(std::move(state->unanswered));
  } else if (!state->again.items.empty()) {
    keepAndOffer(std::move(state->again));
  } else if (saved) {
    removeKept();
  }
  // So many paths take a while to be given back.
  services_.work->post([items = std::move(state->items)] {});
  queue_.end([state] { state->done(std::move(state->outcome)); });
}

}  // namespace vantorel
