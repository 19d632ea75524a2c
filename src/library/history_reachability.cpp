#include "library/history_reachability.hpp"

#include <algorithm>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "library/look_adoption.hpp"

namespace vantorel {

FileReach HistoryReachability::reachOf(const ScreenshotEntry& entry) const {
  const auto folder = folders_.find(folderOf(entry.path));
  if (folder == folders_.end() || !folder->second.outOfReach) return FileReach::there;
  const auto found = folder->second.outOfReach->find(entry.id);
  return found == folder->second.outOfReach->end() ? FileReach::there : found->second;
}

void HistoryReachability::look(const std::set<std::string>& folders, Heard heard,
                               const FolderSeen& done) {
  for (const std::string& name : folders) folders_[name].ticket = ++tickets_;
  for (auto& [name, paths] : heard.gone) {
    const auto folder = folders_.find(name);
    if (folder == folders_.end()) continue;
    folder->second.heardGone.push_back(std::make_shared<const HeardPaths>(std::move(paths)));
  }
  Looks looks;
  for (const std::string& name : folders) looks[name].before = folders_[name];
  struct LookedFolders {
    Looks looks;
    FileLook found;
  };
  roundTrip(
      *work_, main_,
      [&files = files_, looks = std::move(looks),
       scope = FileLookScope{.entries = store_.entries(),
                             .unreadPaths = store_.unreadPaths(),
                             .heardMoves = std::move(heard.moves),
                             .paths = store_.paths()}]() mutable {
        EntryList wanted;
        for (const EntryPointer& entry : scope.entries) {
          const bool isHere =
              looks.contains(folderOf(entry->path)) ||
              (entry->originalPath && looks.contains(folderOf(*entry->originalPath)));
          if (isHere) wanted.push_back(entry);
        }
        for (auto& [name, look] : looks) look.identity = identityOf(files, name);
        // Names may be swapped between folders, so that all are looked at as one.
        FileLook found =
            lookForFiles(files, wanted, scope, [](std::size_t, std::size_t) { return true; });
        // A disk that went while its files were looked for leaves nothing known.
        for (auto& [name, look] : looks) {
          if (look.identity != identityOf(files, name)) look.identity.reset();
        }
        sort(looks, found);
        return LookedFolders{std::move(looks), std::move(found)};
      },
      lifetime_.guard([this, done](LookedFolders seen) {
        auto learned = std::exchange(seen.found.learned, {});
        learnInSlices(main_, std::move(learned),
                      lifetime_.guard([this](const auto& slice) { remember(store_, slice); }),
                      lifetime_.guard([this, done, seen = std::move(seen)]() mutable {
                        landed(seen.looks, seen.found, done);
                      }));
      }));
}

/// Into what went and what is out of reach, by folders. Off the main runner: there are as many as a
/// disk holds that went.
void HistoryReachability::sort(Looks& looks, const FileLook& found) {
  for (std::size_t i = 0; i < found.gone.size(); ++i) {
    const ScreenshotEntry& entry = *found.gone[i];
    const auto at = looks.find(folderOf(entry.path));
    if (at == looks.end()) continue;
    Look& look = at->second;
    const Folder& before = look.before;
    const bool wasThere = look.identity && look.identity == before.identity &&
                          !(before.outOfReach && before.outOfReach->contains(entry.id));
    const bool wasHeardToGo = std::ranges::any_of(
        before.heardGone, [&](const auto& paths) { return paths->contains(entry.path); });
    if (wasThere || wasHeardToGo) {
      look.went.push_back(i);
    } else {
      look.outOfReach->emplace(entry.id, FileReach::fileGone);
    }
  }
  for (const EntryPointer& entry : found.outOfReach) {
    const auto at = looks.find(folderOf(entry->path));
    if (at != looks.end()) at->second.outOfReach->emplace(entry->id, found.obstacles.at(entry));
  }
  for (auto& [name, look] : looks) {
    const auto& before = look.before.outOfReach;
    look.isOther = before ? *before != *look.outOfReach : !look.outOfReach->empty();
  }
}

void HistoryReachability::landed(Looks& looks, const FileLook& found, const FolderSeen& done) {
  const AdoptedLook adopted = adoptNames(store_, found);
  if (adopted.renamed > 0) {
    logInfo("History", "{} capture(s) have another name now", adopted.renamed);
  }
  bool isOther = false;
  for (auto& [name, look] : looks) {
    const auto at = folders_.find(name);
    if (at == folders_.end() || at->second.ticket != look.before.ticket) continue;
    Folder& folder = at->second;
    folder.identity = look.identity;
    folder.outOfReach = std::move(look.outOfReach);
    isOther |= look.isOther;
    folder.heardGone.clear();
    Seen seen{.isUnsettled = !adopted.unsettled.empty()};
    for (const std::size_t place : look.went) seen.went.push_back(adopted.gone[place]);
    done(name, seen);
  }
  if (isOther) observers_.notify();
  // So many paths take a while to be given back.
  work_->post([looks = std::move(looks)] {});
}

void HistoryReachability::distrust(std::string_view folder) {
  if (const auto found = folders_.find(folder); found != folders_.end()) {
    found->second.identity.reset();
    found->second.ticket = ++tickets_;
  }
}

void HistoryReachability::forget(std::string_view folder) {
  if (const auto found = folders_.find(folder); found != folders_.end()) folders_.erase(found);
}

}  // namespace vantorel
