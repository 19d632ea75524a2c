#include "library/history_store.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include "base/check.hpp"
#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr auto lockRetry = std::chrono::milliseconds(50);
constexpr int lockAttempts = 200;

bool matchesPrefix(std::string_view id, std::string_view prefix) {
  return id.size() >= prefix.size() &&
         std::ranges::equal(id.substr(0, prefix.size()), prefix, [](char a, char b) {
           return std::tolower(static_cast<unsigned char>(a)) ==
                  std::tolower(static_cast<unsigned char>(b));
         });
}

}  // namespace

HistoryStore::HistoryStore(HistoryServices services, LibraryPaths paths)
    : services_(std::move(services)),
      paths_(std::move(paths)),
      storage_(std::make_shared<IndexStorage>(services_.files, paths_, services_.userID)),
      writer_(services_.clock, services_.main, services_.persist, storage_) {}

HistoryStore::~HistoryStore() = default;

void HistoryStore::load(std::move_only_function<void()> done) {
  VT_CHECK(!isLoaded());
  loadWithLock(1, std::move(done));
}

void HistoryStore::loadWithLock(int attempt, std::move_only_function<void()> done) {
  auto retry = alive_.guard([this, attempt](std::move_only_function<void()>& again) {
    services_.main->postAfter(lockRetry,
                              alive_.guard([this, attempt, again = std::move(again)]() mutable {
                                loadWithLock(attempt + 1, std::move(again));
                              }));
  });
  auto finish =
      alive_.guard([this](IndexStorage::Loaded& loaded, std::move_only_function<void()>& then) {
        finishLoading(std::move(loaded));
        then();
      });
  services_.persist->post([attempt, storage = storage_, main = services_.main,
                           retry = std::move(retry), finish = std::move(finish),
                           done = std::move(done)]() mutable {
    const auto locked = storage->takeLock();
    const bool isBusy = !locked && locked.error().kind == FailureKind::busy;
    if (isBusy && attempt < lockAttempts) {
      main->post([retry = std::move(retry), done = std::move(done)]() mutable { retry(done); });
      return;
    }
    IndexStorage::Loaded loaded;
    if (isBusy) {
      logError("History", "another process has the library; index writes disabled for this run");
      loaded = storage->loadToLook(IndexLoad::inUse);
    } else if (!locked) {
      logError("History", "index could not be read; index writes disabled for this run: {}",
               locked.error().reason);
      loaded = storage->loadToLook(IndexLoad::unreadable);
    } else {
      loaded = storage->load();
    }
    main->post([finish = std::move(finish), loaded = std::move(loaded),
                done = std::move(done)]() mutable { finish(loaded, done); });
  });
}

void HistoryStore::finishLoading(IndexStorage::Loaded loaded) {
  entries_ = std::move(loaded.entries);
  collections_ = std::move(loaded.collections);
  caches_ = std::move(loaded.caches);
  unreadPaths_ = std::move(loaded.unreadPaths);
  leftovers_ = std::move(loaded.leftovers);
  loadOutcome_ = loaded.load;
  writer_.opened(loaded.load);
  if (loaded.changedByReading) writer_.schedule();
  observers_.tell({.loaded = true});
}

bool HistoryStore::indexWasReadFromDisk() const {
  return loadOutcome_ == IndexLoad::read || loadOutcome_ == IndexLoad::absent;
}

EntryPointer HistoryStore::newest() const {
  return newestFirst().empty() ? nullptr : newestFirst().front();
}

Result<EntryPointer> HistoryStore::resolve(std::string_view text) const {
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
  if (!isLoaded()) return failed(FailureKind::denied, "the index hasn't finished loading");
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

Result<void> HistoryStore::update(std::string_view id,
                                  const std::function<void(ScreenshotEntry&)>& change) {
  VT_TRY(mayChange());
  const EntryPointer before = find(id);
  if (!before) return failed(FailureKind::notFound, "the capture is no longer in History");
  ScreenshotEntry changed = *before;
  change(changed);
  VT_CHECK(changed.id == before->id);
  if (changed == *before) return {};
  observers_.tell({.updated = {replaceAt(*positionOf(before), std::move(changed))}});
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
  if (!change.updated.empty()) observers_.tell(change);
}

HistoryChange::Update HistoryStore::replaceAt(std::size_t position, ScreenshotEntry changed) {
  const EntryPointer before = entries_[position];
  // What is remembered of one file says nothing of another.
  if (changed.path != before->path && changed.fileIdentity == before->fileIdentity) {
    changed.fileIdentity.reset();
  }
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
    return failed(FailureKind::notFound, "the collection is no longer in History");
  }
  HistoryCollection changed = *found;
  change(changed);
  VT_CHECK(changed.id == id);
  if (changed == *found) return {};
  *found = std::move(changed);
  collectionsChanged();
  return {};
}

Result<void> HistoryStore::removeCollection(std::string_view id) {
  VT_TRY(mayChange());
  const auto found = std::ranges::find(collections_, id, &HistoryCollection::id);
  if (found == collections_.end()) {
    return failed(FailureKind::notFound, "the collection is no longer in History");
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
  observers_.tell(change);
  return {};
}

Result<void> HistoryStore::setMembership(std::string_view id, std::string_view collectionID,
                                         bool member) {
  VT_TRY(mayChange());
  if (member && findCollection(collectionID) == nullptr) {
    return failed(FailureKind::notFound, "the collection is no longer in History");
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
  observers_.tell({.collections = true});
}

std::vector<PlacedEntry> HistoryStore::removeEntries(const std::vector<std::string>& ids) {
  std::vector<PlacedEntry> removed;
  if (!isLoaded()) return removed;
  for (const std::string& id : ids) {
    const EntryPointer entry = find(id);
    if (!entry) continue;
    const auto position = positionOf(entry);
    caches_.remove(entry);
    removed.push_back({*position, entry});
  }
  if (removed.empty()) return removed;
  std::ranges::sort(removed, {}, &PlacedEntry::index);
  IndexChange::Remove change;
  HistoryChange told;
  for (const PlacedEntry& placed : removed) {
    change.positions.push_back(placed.index);
    told.removed.push_back(placed.entry);
  }
  removeAt(entries_, change.positions);
  writer_.changed({std::move(change)});
  observers_.tell(told);
  return removed;
}

void HistoryStore::insertEntries(std::vector<PlacedEntry> placed) {
  if (!isLoaded()) return;
  std::ranges::stable_sort(placed, {}, &PlacedEntry::index);
  IndexChange::Insert change;
  HistoryChange told;
  for (const PlacedEntry& one : placed) {
    if (find(one.entry->id)) continue;
    // Places that are beyond the end by now move up to it.
    const std::size_t place = std::min(one.index, entries_.size() + change.entries.size());
    change.entries.emplace_back(place, one.entry);
    caches_.add(one.entry);
    told.added.push_back(one.entry);
  }
  if (change.entries.empty()) return;
  insertAt(entries_, change.entries);
  writer_.changed({std::move(change)});
  observers_.tell(told);
}

}  // namespace vantorel
