#include "library/history_folder_monitor.hpp"

#include <algorithm>
#include <utility>

#include "base/log.hpp"
#include "library/gone_entries.hpp"

namespace vantorel {
namespace {

constexpr std::string_view category = "History";

}  // namespace

HistoryFolderMonitor::HistoryFolderMonitor(Services services)
    : services_(std::move(services)),
      observation_(
          services_.store.observe([this](const HistoryChange& change) { follow(change); })) {
  auto watch = services_.mounts.watch(services_.main, alive_.guard([this] { mountsChanged(); }));
  if (watch) {
    mountWatch_ = *std::move(watch);
  } else {
    logWarning(category, "disks that come and go are not noticed: {}", watch.error().reason);
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
    if (before->path == after->path) continue;
    add(*after);
    remove(*before);
  }
  openWanted();
}

void HistoryFolderMonitor::add(const ScreenshotEntry& entry) {
  const std::string_view name = folderOf(entry.path);
  if (name.empty()) return;
  const auto found = wanted_.find(name);
  ++(found == wanted_.end() ? wanted_[std::string(name)] : found->second).entries;
}

void HistoryFolderMonitor::remove(const ScreenshotEntry& entry) {
  const auto found = wanted_.find(folderOf(entry.path));
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
  services_.work->post(
      [&watcher = services_.watcher, &files = services_.files, main = services_.main, name, watched,
       onEvent = alive_.guard([this, name](const FolderEvent& event) { happened(name, event); }),
       reply = alive_.guard([this, name, generation = folder.generation](Opening& opening) {
         opened(name, generation, std::move(opening));
       })]() mutable {
        Opening opening{identityOf(files, name), std::nullopt};
        if (!watched || watched != opening.identity) {
          opening.watch = watcher.watch(name, main, std::move(onEvent));
        }
        main->post(
            [reply = std::move(reply), opening = std::move(opening)]() mutable { reply(opening); });
      });
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
    logInfo(category, "{} can't be watched: {}", name, opening.watch->error().reason);
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
      if (!services_.store.findByPath(path)) return;
      if (event.kind != FolderEvent::Kind::disappeared && onFileChange) onFileChange(path);
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
  services_.main->postAfter(mountDebounce, alive_.guard([this] {
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
  // A library that is not ours to write is not ours to clear up.
  if (services_.store.indexRefusal()) return toLookAt_.clear();
  services_.reachability.look(std::exchange(toLookAt_, {}),
                              alive_.guard([this, moving = services_.store.claims().fileChanges()](
                                               const std::string& name, const EntryList& went) {
                                forgetGone(name, went, moving);
                              }));
}

void HistoryFolderMonitor::forgetGone(const std::string& name, const EntryList& went,
                                      const std::set<std::string>& movingBefore) {
  // What changed or moved meanwhile may have its file elsewhere by now.
  const auto resting = [this](const EntryList& entries) {
    return settledEntries(services_.store, entries);
  };
  EntryList going = resting(went);
  std::erase_if(going, [&](const EntryPointer& entry) { return movingBefore.contains(entry->id); });
  if (going.size() < went.size() && wanted_.contains(name)) lookSoon(name);
  if (going.empty()) return;
  lookAgain(services_.files, *services_.work, services_.main, going,
            alive_.guard([this, name, resting, count = going.size()](const EntryList& gone) {
              const EntryList left = resting(gone);
              if (left.size() < count && wanted_.contains(name)) lookSoon(name);
              if (!left.empty()) forget(name, left);
            }));
}

void HistoryFolderMonitor::forget(const std::string& name, const EntryList& gone) {
  std::vector<std::string> going;
  for (const EntryPointer& entry : gone) going.push_back(entry->id);
  services_.deletion.forget(going, [name](const Result<std::size_t>& count) {
    if (count) {
      logInfo(category, "{} capture(s) went from {} and were removed from History", *count, name);
    } else {
      logWarning(category, "the index could not be written: {}", count.error().reason);
    }
  });
}

}  // namespace vantorel
