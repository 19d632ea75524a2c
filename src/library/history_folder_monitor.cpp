#include "library/history_folder_monitor.hpp"

#include <algorithm>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "library/gone_entries.hpp"
#include "library/history_log.hpp"

namespace vantorel {

HistoryFolderMonitor::HistoryFolderMonitor(Services services)
    : services_(std::move(services)),
      originalFolders_(services_.store.paths()),
      observation_(
          services_.store.observe([this](const HistoryChange& change) { follow(change); })) {
  auto watch = services_.mounts.watch(services_.main, lifetime_.guard([this] { mountsChanged(); }));
  if (watch) {
    mountWatch_ = *std::move(watch);
  } else {
    logWarning(historyLog, "disks that come and go are not noticed: {}", watch.error().reason);
  }
  if (services_.store.isLoaded()) follow({.loaded = true});
}

void HistoryFolderMonitor::follow(const HistoryChange& change) {
  if (change.loaded) {
    for (const EntryPointer& entry : services_.store.entries()) add(*entry);
  }
  for (const EntryPointer& entry : change.added) add(*entry);
  for (const EntryPointer& entry : change.removed) remove(*entry);
  for (const auto& [before, after] : change.updated) {
    if (before->path == after->path && before->originalPath == after->originalPath) continue;
    add(*after);
    remove(*before);
  }
  openWanted();
}

void HistoryFolderMonitor::add(const ScreenshotEntry& entry) {
  add(entry.path);
  if (!originalFolders_.isAmongCaptures(entry)) return;
  add(*entry.originalPath);
  ++originals_[*entry.originalPath];
}

void HistoryFolderMonitor::remove(const ScreenshotEntry& entry) {
  remove(entry.path);
  if (!originalFolders_.isAmongCaptures(entry)) return;
  remove(*entry.originalPath);
  const auto found = originals_.find(*entry.originalPath);
  if (found != originals_.end() && --found->second == 0) originals_.erase(found);
}

/// Whether an entry has its file or its original there.
bool HistoryFolderMonitor::isNamed(const std::string& path) const {
  return services_.store.findByPath(path) || originals_.contains(path);
}

void HistoryFolderMonitor::add(std::string_view path) {
  const std::string_view name = folderOf(path);
  if (name.empty()) return;
  const auto found = wanted_.find(name);
  ++(found == wanted_.end() ? wanted_[std::string(name)] : found->second).entries;
}

void HistoryFolderMonitor::remove(std::string_view path) {
  const auto found = wanted_.find(folderOf(path));
  if (found == wanted_.end() || --found->second.entries > 0) return;
  services_.reachability.forget(found->first);
  toLookAt_.erase(found->first);
  wanted_.erase(found);
}

void HistoryFolderMonitor::openWanted() {
  for (auto& [name, folder] : wanted_) {
    const bool isDue = folder.retryAt <= services_.clock.monotonic();
    if (!folder.watch && !folder.isOpening && isDue) open(name, folder);
  }
}

void HistoryFolderMonitor::open(const std::string& name, Folder& folder) {
  folder.isOpening = true;
  folder.generation = ++generations_;
  const auto watched = folder.watch ? folder.watched : std::nullopt;
  roundTrip(
      *services_.work, services_.main,
      [&watcher = services_.watcher, &files = services_.files, main = services_.main, name, watched,
       onEvent = lifetime_.guard(
           [this, name](const FolderEvent& event) { happened(name, event); })]() mutable {
        Opening opening{identityOf(files, name), std::nullopt};
        if (!opening.identity) {
          // A server that does not answer would hold the watcher.
          opening.watch = failed(FailureKind::unreachable, "the folder can't be reached");
        } else if (watched != opening.identity) {
          opening.watch = watcher.watch(name, main, std::move(onEvent));
        }
        return opening;
      },
      lifetime_.guard([this, name, generation = folder.generation](Opening opening) {
        opened(name, generation, std::move(opening));
      }));
}

void HistoryFolderMonitor::opened(const std::string& name, std::uint64_t generation,
                                  Opening opening) {
  const auto found = wanted_.find(name);
  if (found == wanted_.end() || found->second.generation != generation) return;
  Folder& folder = found->second;
  folder.isOpening = false;
  if (!opening.watch) return;
  // Nobody told what happened before the watch was there, and nobody tells without one.
  lookSoon(name);
  folder.watch.reset();
  if (*opening.watch) {
    folder.watch = *std::move(*opening.watch);
    folder.watched = opening.identity;
    folder.failures = 0;
    return;
  }
  if (folder.failures == 0) {
    logInfo(historyLog, "{} can't be watched: {}", name, opening.watch->error().reason);
  }
  backOff(folder);
}

void HistoryFolderMonitor::backOff(Folder& folder) {
  ++folder.failures;
  const auto delay = std::min<std::chrono::nanoseconds>(
      firstRetry * (1 << std::min(folder.failures - 1, 16)), longestRetry);
  folder.retryAt = services_.clock.monotonic() + delay;
  scheduleRetry();
}

void HistoryFolderMonitor::scheduleRetry() {
  std::optional<std::chrono::nanoseconds> first;
  for (const auto& [name, folder] : wanted_) {
    if (folder.watch || folder.isOpening) continue;
    first = std::min(first.value_or(folder.retryAt), folder.retryAt);
  }
  retryTimer_.renew();
  if (!first) return;
  const std::chrono::nanoseconds delay = *first - services_.clock.monotonic();
  services_.main->postAfter(std::max(delay, std::chrono::nanoseconds(0)), retryTimer_.guard([this] {
    openWanted();
    scheduleRetry();
  }));
}

void HistoryFolderMonitor::happened(const std::string& name, const FolderEvent& event) {
  const auto found = wanted_.find(name);
  if (found == wanted_.end()) return;
  switch (event.kind) {
    case FolderEvent::Kind::appeared:
    case FolderEvent::Kind::changed:
    case FolderEvent::Kind::disappeared: {
      const std::string path = name + "/" + event.name;
      hearMove(path, event);
      if (!isNamed(path)) {
        if (event.kind == FolderEvent::Kind::disappeared || departed_.empty()) return;
        arrivals_.insert(path);
        return lookSoon(name);
      }
      if (event.kind == FolderEvent::Kind::disappeared) {
        heard_.gone[name].insert(path);
      } else if (onFileChange) {
        onFileChange(path);
      }
      return lookSoon(name);
    }
    case FolderEvent::Kind::folderGone:
      found->second.watch.reset();
      services_.reachability.distrust(name);
      backOff(found->second);
      return lookSoon(name);
    case FolderEvent::Kind::overflowed: return lookSoon(name);
  }
}

// A disk may have been mounted over a folder: what is watched then is the folder below.
void HistoryFolderMonitor::mountsChanged() {
  if (std::exchange(mountsChanged_, true)) return;
  services_.main->postAfter(mountDebounce, lifetime_.guard([this] {
    mountsChanged_ = false;
    for (auto& [name, folder] : wanted_) {
      folder.failures = 0;
      folder.retryAt = {};
      open(name, folder);
    }
  }));
}

void HistoryFolderMonitor::activated() {
  for (auto& [name, folder] : wanted_) {
    if (!folder.watch && !folder.isOpening) open(name, folder);
  }
}

void HistoryFolderMonitor::lookSoon(const std::string& name) {
  const std::chrono::nanoseconds now = services_.clock.monotonic();
  if (toLookAt_.empty()) toLookSince_ = now;
  toLookAt_.insert(name);
  // What is scheduled stays scheduled.
  if (toLookSince_ < now && now - toLookSince_ >= longestDebounce - pruneDebounce) return;
  pruneTimer_.renew();
  services_.main->postAfter(pruneDebounce, pruneTimer_.guard([this] { prune(); }));
}

void HistoryFolderMonitor::prune() {
  movedFrom_.clear();
  origins_.clear();
  // A library that is not ours to write is not ours to clear up.
  if (services_.store.indexRefusal()) {
    heard_ = {};
    return toLookAt_.clear();
  }
  lookAtArrivals();
  const auto moving =
      std::make_shared<const std::vector<std::string>>(services_.store.claims().fileChanges());
  services_.reachability.look(
      std::exchange(toLookAt_, {}), std::exchange(heard_, {}),
      lifetime_.guard(
          [this, moving](const std::string& name, const HistoryReachability::Seen& seen) {
            if (seen.isUnsettled && wanted_.contains(name)) lookSoon(name);
            forgetGone(name, seen.went, *moving);
          }));
}

/// What changed or moved since it was looked at may have its file elsewhere by now.
EntryList HistoryFolderMonitor::resting(const EntryList& entries) const {
  return settledEntries(services_.store, entries);
}

void HistoryFolderMonitor::forgetGone(const std::string& name, const EntryList& went,
                                      const std::vector<std::string>& movingBefore) {
  EntryList going = resting(went);
  std::erase_if(going, [&](const EntryPointer& entry) {
    return std::ranges::binary_search(movingBefore, entry->id);
  });
  if (going.size() < went.size() && wanted_.contains(name)) lookSoon(name);
  if (going.empty()) return;
  lookAgain(services_.files, *services_.work, services_.main, going,
            lifetime_.guard([this, name, count = going.size()](const EntryList& gone) {
              const EntryList left = resting(gone);
              if (left.size() < count && wanted_.contains(name)) lookSoon(name);
              if (!left.empty()) forget(name, left);
            }));
}

void HistoryFolderMonitor::forget(const std::string& name, const EntryList& gone) {
  std::vector<std::string> going;
  for (const EntryPointer& entry : gone) going.push_back(entry->id);
  const std::set<EntryPointer> leaving(gone.begin(), gone.end());
  std::vector<PlacedEntry> departing;
  const EntryList& entries = services_.store.entries();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i]->fileIdentity && leaving.contains(entries[i])) {
      departing.push_back({i, entries[i]});
    }
  }
  keepDeparted(std::move(departing));
  const auto reported = [name](const Result<std::size_t>& count) {
    if (count) {
      logInfo(historyLog, "{} capture(s) went from {} and were removed from History", *count, name);
    } else {
      logWarning(historyLog, "the index could not be written: {}", count.error().reason);
    }
  };
  services_.deletion.forget(going, reported, HistoryDeletion::Originals::kept);
}

// Their folders go on being watched.
void HistoryFolderMonitor::keepDeparted(std::vector<PlacedEntry> departed) {
  for (PlacedEntry& one : departed) {
    add(*one.entry);
    departed_.push_back(std::move(one));
  }
  while (departed_.size() > departedLimit) {
    remove(*departed_.front().entry);
    departed_.pop_front();
  }
}

void HistoryFolderMonitor::hearMove(const std::string& path, const FolderEvent& event) {
  if (event.move == 0) return;
  if (event.kind == FolderEvent::Kind::disappeared) {
    const auto earlier = origins_.find(path);
    if (earlier != origins_.end()) {
      movedFrom_[event.move] = earlier->second;
    } else if (isNamed(path) && !heard_.moves.contains(path)) {
      // What goes after the entry's file has gone is what somebody put in its place.
      movedFrom_[event.move] = path;
    }
    return;
  }
  const auto from = movedFrom_.find(event.move);
  if (from == movedFrom_.end()) return;
  std::string& place = heard_.moves[from->second];
  const auto earlier = origins_.find(place);
  if (earlier != origins_.end() && earlier->second == from->second) origins_.erase(earlier);
  place = path;
  origins_[path] = from->second;
  movedFrom_.erase(from);
}

void HistoryFolderMonitor::lookAtArrivals() {
  if (arrivals_.empty()) return;
  EntryList departed;
  for (const PlacedEntry& one : departed_) departed.push_back(one.entry);
  roundTrip(
      *services_.work, services_.main,
      [&files = services_.files, paths = std::exchange(arrivals_, {}),
       departed = std::move(departed)] { return findDeparted(files, paths, departed); },
      lifetime_.guard([this](const std::vector<Arrival>& found) { welcomeBack(found); }));
}

std::vector<HistoryFolderMonitor::Arrival> HistoryFolderMonitor::findDeparted(
    const Files& files, const std::set<std::string>& paths, const EntryList& departed) {
  std::vector<Arrival> found;
  for (const std::string& path : paths) {
    auto identity = identifyFile(files, path);
    if (!identity) continue;
    for (const EntryPointer& entry : departed) {
      if (!entry->fileIdentity->isSameFileAs(*identity)) continue;
      const bool hasOriginal =
          !entry->originalPath || placeOfOriginal(files, *entry) == OriginalPlace::original;
      found.push_back({entry, path, *std::move(identity), hasOriginal});
      break;
    }
  }
  return found;
}

// Only what nobody has decided about meanwhile: a file that has an entry again keeps that one.
void HistoryFolderMonitor::welcomeBack(const std::vector<Arrival>& arrivals) {
  std::vector<PlacedEntry> returning;
  for (const Arrival& arrival : arrivals) {
    const auto found = std::ranges::find(departed_, arrival.entry, &PlacedEntry::entry);
    if (found == departed_.end()) continue;
    const std::size_t index = found->index;
    departed_.erase(found);
    if (!services_.store.find(arrival.entry->id) && !services_.store.findByPath(arrival.path)) {
      ScreenshotEntry entry = *arrival.entry;
      entry.path = arrival.path;
      entry.fileIdentity = arrival.identity;
      if (!arrival.hasOriginal) {
        entry.originalPath.reset();
        entry.originalIdentity.reset();
      }
      std::erase_if(entry.collectionIDs, [this](const std::string& id) {
        return services_.store.findCollection(id) == nullptr;
      });
      returning.push_back({index, std::make_shared<const ScreenshotEntry>(std::move(entry))});
    }
    remove(*arrival.entry);
  }
  if (returning.empty()) return;
  logInfo(historyLog, "{} capture(s) came back to History with their files", returning.size());
  services_.store.insertEntries(std::move(returning));
}

}  // namespace vantorel
