#include "library/history_reachability.hpp"

#include <utility>

#include "base/log.hpp"
#include "library/look_adoption.hpp"

namespace vantorel {

void HistoryReachability::look(const std::set<std::string>& folders, Heard heard,
                               const FolderSeen& done) {
  Looks looks;
  for (const std::string& folder : folders) {
    looks[folder].ticket = folders_[folder].ticket = ++tickets_;
  }
  for (const std::string& path : heard.gone) {
    const auto folder = folders_.find(folderOf(path));
    if (folder != folders_.end()) folder->second.heardGone.insert(path);
  }
  work_->post([&files = files_, main = main_, looks = std::move(looks),
               scope = FileLookScope{.entries = store_.entries(),
                                     .unreadPaths = store_.unreadPaths(),
                                     .heardMoves = std::move(heard.moves),
                                     .paths = store_.paths()},
               reply = lifetime_.guard(
                   [this, done](Looks& seen, const FileLook& found) { landed(seen, found, done); }),
               learn = lifetime_.guard([this](const std::vector<SeenFile>& files) {
                 remember(store_, files);
               })]() mutable {
    EntryList wanted;
    for (const EntryPointer& entry : scope.entries) {
      const bool isHere = looks.contains(folderOf(entry->path)) ||
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
    auto learned = std::exchange(found.learned, {});
    postInSlices(main, std::move(learned), learn,
                 [reply, looks = std::move(looks), found = std::move(found)]() mutable {
                   reply(looks, found);
                 });
  });
}

void HistoryReachability::landed(Looks& looks, const FileLook& found, const FolderSeen& done) {
  const AdoptedLook adopted = adoptNames(store_, found);
  if (adopted.renamed > 0) {
    logInfo("History", "{} capture(s) have another name now", adopted.renamed);
  }
  const auto sort = [&](const EntryList& entries, EntryList Look::* list) {
    for (const EntryPointer& entry : entries) {
      const auto look = looks.find(folderOf(entry->path));
      if (look != looks.end()) (look->second.*list).push_back(entry);
    }
  };
  sort(adopted.gone, &Look::gone);
  sort(found.outOfReach, &Look::outOfReach);
  for (const auto& [name, look] : looks) {
    const auto folder = folders_.find(name);
    if (folder == folders_.end() || folder->second.ticket != look.ticket) continue;
    done(name, {adopt(look, folder->second), !adopted.unsettled.empty()});
  }
}

EntryList HistoryReachability::adopt(const Look& look, Folder& folder) {
  const bool isSameFolder = look.identity && look.identity == folder.identity;
  const auto heardGone = std::exchange(folder.heardGone, {});
  EntryList went;
  std::set<std::string> outOfReach;
  for (const EntryPointer& entry : look.gone) {
    const bool wasThere = isSameFolder && !folder.outOfReach.contains(entry->id);
    if (wasThere || heardGone.contains(entry->path)) {
      went.push_back(entry);
    } else {
      outOfReach.insert(entry->id);
    }
  }
  for (const EntryPointer& entry : look.outOfReach) outOfReach.insert(entry->id);
  for (const std::string& id : folder.outOfReach) outOfReachIDs_.erase(id);
  outOfReachIDs_.insert(outOfReach.begin(), outOfReach.end());
  folder.outOfReach = std::move(outOfReach);
  folder.identity = look.identity;
  return went;
}

void HistoryReachability::distrust(std::string_view folder) {
  if (const auto found = folders_.find(folder); found != folders_.end()) {
    found->second.identity.reset();
    found->second.ticket = ++tickets_;
  }
}

void HistoryReachability::forget(std::string_view folder) {
  const auto found = folders_.find(folder);
  if (found == folders_.end()) return;
  for (const std::string& id : found->second.outOfReach) outOfReachIDs_.erase(id);
  folders_.erase(found);
}

}  // namespace vantorel
