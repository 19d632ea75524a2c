#include "library/history_store.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "base/check.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
namespace {

/// Twenty commands at a time on a large library take some twenty seconds.
constexpr std::chrono::seconds longestLockWait{60};
constexpr std::chrono::milliseconds firstLockPause{80};

bool matchesPrefix(std::string_view id, std::string_view prefix) {
  return id.size() >= prefix.size() &&
         std::ranges::equal(id.substr(0, prefix.size()), prefix, [](char a, char b) {
           return std::tolower(static_cast<unsigned char>(a)) ==
                  std::tolower(static_cast<unsigned char>(b));
         });
}

std::unexpected<Failure> collectionLeft() {
  return failed(FailureKind::notFound, "the collection is no longer in History");
}

}  // namespace

HistoryStore::HistoryStore(HistoryServices services, LibraryPaths paths)
    : services_(std::move(services)),
      paths_(std::move(paths)),
      storage_(std::make_shared<IndexStorage>(services_.files, paths_, services_.userID)),
      writer_(services_.clock, services_.main, services_.persist, storage_) {
  writer_.onForeign = [this](const ForeignIndex& foreign) {
    if (onForeignIndex) onForeignIndex(foreign);
    if (foreign.load != IndexLoad::inUse) return;
    loadOutcome_ = IndexLoad::inUse;
    if (onTakenOver) onTakenOver();
  };
}

HistoryStore::~HistoryStore() = default;

void HistoryStore::load(std::move_only_function<void()> done, bool looks) {
  VT_CHECK(!isLoaded() || loadOutcome_ == IndexLoad::inUse);
  // Who has waited in vain looks again without making anybody wait.
  const bool isFirst = !isLoaded();
  loadWithLock({services_.clock.monotonic(), isFirst, isFirst || looks}, std::move(done));
}

void HistoryStore::loadWithLock(LockWait wait, std::move_only_function<void()> done) {
  struct Attempt {
    std::optional<std::string> busyWith;
    IndexStorage::Loaded loaded;
  };
  roundTrip(
      *services_.persist, services_.main,
      [storage = storage_] {
        Attempt attempt;
        const auto locked = storage->takeLock();
        if (locked) {
          attempt.loaded = storage->load();
        } else if (locked.error().kind == FailureKind::busy) {
          attempt.busyWith = locked.error().reason;
        } else {
          logError("History", "index could not be read; index writes disabled for this run: {}",
                   locked.error().reason);
          attempt.loaded = storage->loadToLook(IndexLoad::unreadable);
          attempt.loaded.unreadReason = locked.error().reason;
        }
        return attempt;
      },
      lifetime_.guard([this, wait, done = std::move(done)](Attempt attempt) mutable {
        const auto waited = services_.clock.monotonic() - wait.since;
        awaitedHolder_.reset();
        if (!attempt.busyWith) {
          finishLoading(std::move(attempt.loaded), {});
        } else if (wait.mayWait && mayWait_ && waited < longestLockWait) {
          awaitedHolder_ = std::move(attempt.busyWith);
          if (onHeld) onHeld();
          return lookAgain(wait, waited, std::move(done));
        } else if (wait.looks) {
          return loadToLook(*std::move(attempt.busyWith), std::move(done));
        }
        done();
      }));
}

// Who has waited longest looks most often, and so comes first.
void HistoryStore::lookAgain(LockWait wait, std::chrono::nanoseconds waited,
                             std::move_only_function<void()> done) {
  const auto pause = std::max<std::chrono::nanoseconds>(firstLockPause - waited / 100,
                                                        std::chrono::milliseconds(4));
  services_.main->postAfter(pause, lifetime_.guard([this, wait, done = std::move(done)]() mutable {
    loadWithLock(wait, std::move(done));
  }));
}

/// What another process has is read all the same, and not written.
void HistoryStore::loadToLook(std::string holder, std::move_only_function<void()> done) {
  roundTrip(
      *services_.persist, services_.main,
      [storage = storage_] { return storage->loadToLook(IndexLoad::inUse); },
      lifetime_.guard([this, holder = std::move(holder),
                       done = std::move(done)](IndexStorage::Loaded loaded) mutable {
        finishLoading(std::move(loaded), std::move(holder));
        done();
      }));
}

void HistoryStore::finishLoading(IndexStorage::Loaded loaded, std::string holder) {
  entries_ = std::move(loaded.entries);
  collections_ = std::move(loaded.collections);
  caches_ = std::move(loaded.caches);
  unreadPaths_ = std::move(loaded.unreadPaths);
  leftovers_ = std::move(loaded.leftovers);
  indexHindrance_ = std::move(loaded.hindrance);
  loadOutcome_ = loaded.load;
  writer_.opened(loaded.load, loaded.load == IndexLoad::inUse ? std::move(holder)
                                                              : std::move(loaded.unreadReason));
  if (loaded.damage && onDamagedIndex) onDamagedIndex(*loaded.damage);
  if (loaded.changedByReading) writer_.schedule();
  observers_.notify({.loaded = true});
}

bool HistoryStore::indexWasReadFromDisk() const {
  return loadOutcome_ == IndexLoad::read || loadOutcome_ == IndexLoad::absent;
}

EntryPointer HistoryStore::newest() const {
  return newestFirst().empty() ? nullptr : newestFirst().front();
}

Result<EntryPointer> HistoryStore::resolve(std::string_view text) const {
  // A library that could not be read is not an empty one.
  if (const auto refusal = entries_.empty() ? indexRefusal() : std::nullopt) {
    return failed(FailureKind::denied, "the library can't be used now: " + *refusal);
  }
  if (text == "latest") {
    if (EntryPointer entry = newest()) return entry;
    return failed(FailureKind::notFound, "the library is empty");
  }
  if (EntryPointer entry = find(text)) return entry;
  const auto [count, only] = text.empty() ? EntryCaches::Prefixed{} : caches_.byIDPrefix(text);
  if (count == 1) return only;
  if (count == 0) {
    return failed(FailureKind::notFound, fmt::format("no capture has the id \"{}\"", text));
  }
  return failed(FailureKind::malformed,
                fmt::format("{} captures have an id that begins with \"{}\"", count, text));
}

const HistoryCollection* HistoryStore::findCollection(std::string_view id) const {
  const auto found = std::ranges::find(collections_, id, &HistoryCollection::id);
  return found == collections_.end() ? nullptr : &*found;
}

Result<const HistoryCollection*> HistoryStore::resolveCollection(std::string_view text) const {
  if (const HistoryCollection* const collection = findCollection(text)) return collection;
  const HistoryCollection* only = nullptr;
  for (const HistoryCollection& collection : collections_) {
    if (collection.name.size() != text.size() || !matchesPrefix(collection.name, text)) continue;
    if (only != nullptr) {
      return failed(FailureKind::malformed,
                    fmt::format("several collections are called \"{}\"; name one by its id", text));
    }
    only = &collection;
  }
  if (only != nullptr) return only;
  return failed(FailureKind::notFound, fmt::format("no collection is called \"{}\"", text));
}

Result<void> HistoryStore::mayChange() const {
  if (!isLoaded()) return failed(FailureKind::denied, IndexWriter::notLoaded);
  return {};
}

std::optional<std::size_t> HistoryStore::positionOf(const EntryPointer& entry) const {
  // Changes mostly concern what was added last.
  const auto found = std::ranges::find(entries_.rbegin(), entries_.rend(), entry);
  if (found == entries_.rend()) return std::nullopt;
  return static_cast<std::size_t>(entries_.rend() - found) - 1;
}

Result<void> HistoryStore::add(ScreenshotEntry entry) {
  VT_TRY(mayChange());
  if (find(entry.id)) return failed(FailureKind::exists, "a capture of that id is there already");
  insertEntries({{entries_.size(), std::make_shared<const ScreenshotEntry>(std::move(entry))}});
  return {};
}

void HistoryStore::release(std::move_only_function<void()> done) {
  services_.persist->post([storage = storage_, done = std::move(done)]() mutable {
    storage->giveLockBack();
    done();
  });
}

Result<void> HistoryStore::update(std::string_view id,
                                  const std::function<void(ScreenshotEntry&)>& change) {
  VT_TRY(mayChange());
  const EntryPointer before = find(id);
  if (!before) return failed(FailureKind::notFound, "the capture is no longer in History");
  ScreenshotEntry changed = *before;
  change(changed);
  VT_CHECK(changed.id == before->id);
  // What is remembered of one file says nothing of another.
  if (changed.path != before->path && changed.fileIdentity == before->fileIdentity) {
    changed.fileIdentity.reset();
  }
  if (changed.originalPath != before->originalPath &&
      changed.originalIdentity == before->originalIdentity) {
    changed.originalIdentity.reset();
  }
  if (changed == *before) return {};
  observers_.notify({.updated = {replaceAt(*positionOf(before), std::move(changed))}});
  return {};
}

void HistoryStore::revise(std::vector<Revision> revisions) {
  if (!isLoaded()) return;
  std::unordered_map<const ScreenshotEntry*, std::size_t> positions;
  for (const Revision& revision : revisions) positions.emplace(revision.before.get(), SIZE_MAX);
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (const auto found = positions.find(entries_[i].get()); found != positions.end()) {
      found->second = i;
    }
  }
  HistoryChange change;
  for (Revision& revision : revisions) {
    VT_CHECK(revision.after.id == revision.before->id);
    std::size_t& position = positions[revision.before.get()];
    if (position == SIZE_MAX || revision.after == *revision.before) continue;
    change.updated.push_back(
        replaceAt(std::exchange(position, SIZE_MAX), std::move(revision.after)));
  }
  if (!change.updated.empty()) observers_.notify(change);
}

HistoryChange::Update HistoryStore::replaceAt(std::size_t position, ScreenshotEntry changed) {
  const EntryPointer before = entries_[position];
  const EntryPointer after = std::make_shared<const ScreenshotEntry>(std::move(changed));
  entries_[position] = after;
  caches_.replace(before, after);
  writer_.changed({IndexChange::Replace{position, after}});
  return {before, after};
}

Result<void> HistoryStore::addCollection(HistoryCollection collection) {
  VT_TRY(mayChange());
  if (findCollection(collection.id) != nullptr) {
    return failed(FailureKind::exists, "a collection of that id is there already");
  }
  collections_.push_back(std::move(collection));
  collectionsChanged();
  return {};
}

Result<void> HistoryStore::updateCollection(std::string_view id,
                                            const std::function<void(HistoryCollection&)>& change) {
  VT_TRY(mayChange());
  const auto found = std::ranges::find(collections_, id, &HistoryCollection::id);
  if (found == collections_.end()) {
    return collectionLeft();
  }
  HistoryCollection changed = *found;
  change(changed);
  VT_CHECK(changed.id == id);
  if (changed == *found) return {};
  *found = std::move(changed);
  collectionsChanged();
  return {};
}

Result<void> HistoryStore::moveCollection(std::string_view id, std::size_t place) {
  VT_TRY(mayChange());
  const auto found = std::ranges::find(collections_, id, &HistoryCollection::id);
  if (found == collections_.end()) return collectionLeft();
  const auto target =
      collections_.begin() + static_cast<std::ptrdiff_t>(std::min(place, collections_.size() - 1));
  if (target == found) return {};
  if (target < found) {
    std::rotate(target, found, std::next(found));
  } else {
    std::rotate(found, std::next(found), std::next(target));
  }
  collectionsChanged();
  return {};
}

Result<void> HistoryStore::removeCollection(std::string_view id) {
  VT_TRY(mayChange());
  const auto found = std::ranges::find(collections_, id, &HistoryCollection::id);
  if (found == collections_.end()) {
    return collectionLeft();
  }
  const std::string gone = found->id;
  collections_.erase(found);
  HistoryChange change{.collections = true};
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (std::ranges::find(entries_[i]->collectionIDs, gone) == entries_[i]->collectionIDs.end()) {
      continue;
    }
    ScreenshotEntry changed = *entries_[i];
    std::erase(changed.collectionIDs, gone);
    change.updated.push_back(replaceAt(i, std::move(changed)));
  }
  writer_.changed({IndexChange::Collections{collections_}});
  observers_.notify(change);
  return {};
}

Result<void> HistoryStore::setMembership(std::string_view id, std::string_view collectionID,
                                         bool member) {
  VT_TRY(mayChange());
  if (member && findCollection(collectionID) == nullptr) {
    return collectionLeft();
  }
  return update(id, [&](ScreenshotEntry& entry) {
    const auto found = std::ranges::find(entry.collectionIDs, collectionID);
    if (member && found == entry.collectionIDs.end()) {
      entry.collectionIDs.emplace_back(collectionID);
    } else if (!member) {
      std::erase(entry.collectionIDs, collectionID);
    }
  });
}

void HistoryStore::collectionsChanged() {
  writer_.changed({IndexChange::Collections{collections_}});
  observers_.notify({.collections = true});
}

std::vector<PlacedEntry> HistoryStore::removeEntries(const std::vector<std::string>& ids) {
  std::vector<PlacedEntry> removed;
  if (!isLoaded()) return removed;
  EntryList going;
  std::unordered_set<const ScreenshotEntry*> unplaced;
  for (const std::string& id : ids) {
    EntryPointer entry = find(id);
    if (entry && unplaced.insert(entry.get()).second) going.push_back(std::move(entry));
  }
  if (going.empty()) return removed;
  // Changes mostly concern what was added last.
  for (std::size_t i = entries_.size(); i > 0 && !unplaced.empty(); --i) {
    if (unplaced.erase(entries_[i - 1].get()) > 0) removed.push_back({i - 1, entries_[i - 1]});
  }
  std::ranges::reverse(removed);
  caches_.removeAll(going);
  IndexChange::Remove change;
  HistoryChange reported;
  for (const PlacedEntry& placed : removed) {
    change.positions.push_back(placed.index);
    reported.removed.push_back(placed.entry);
  }
  removeAt(entries_, change.positions);
  writer_.changed({std::move(change)});
  observers_.notify(reported);
  return removed;
}

void HistoryStore::insertEntries(std::vector<PlacedEntry> placed) {
  if (!isLoaded()) return;
  std::ranges::stable_sort(placed, {}, &PlacedEntry::index);
  IndexChange::Insert change;
  HistoryChange reported;
  std::unordered_set<std::string_view> ids;
  for (const PlacedEntry& one : placed) {
    if (find(one.entry->id)) continue;
    // Places that are beyond the end by now move up to it.
    const std::size_t place = std::min(one.index, entries_.size() + change.entries.size());
    if (!ids.insert(one.entry->id).second) continue;
    change.entries.emplace_back(place, one.entry);
    reported.added.push_back(one.entry);
  }
  if (change.entries.empty()) return;
  caches_.addAll(reported.added);
  insertAt(entries_, change.entries);
  writer_.changed({std::move(change)});
  observers_.notify(reported);
}

}  // namespace vantorel
