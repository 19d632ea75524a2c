#include "library/history_reachability.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vantorel {
namespace {

constexpr std::size_t sliceSize = 500;

}  // namespace

void HistoryReachability::look(const std::set<std::string>& folders,
                               std::map<std::string, std::string> heardMoves,
                               const FolderSeen& done) {
  std::map<std::string, std::uint64_t, std::less<>> tickets;
  for (const std::string& folder : folders) {
    tickets[folder] = folders_[folder].ticket = ++tickets_;
  }
  work_->post([&files = files_, main = main_, tickets = std::move(tickets),
               scope = FileLookScope{.entries = store_.entries(),
                                     .unreadPaths = store_.unreadPaths(),
                                     .heardMoves = std::move(heardMoves)},
               reply = alive_.guard([this, done](Look& look) {
                 const auto found = folders_.find(look.folder);
                 if (found == folders_.end() || found->second.ticket != look.ticket) return;
                 done(look.folder, adopt(look, found->second));
               }),
               learn = alive_.guard(
                   [this](const std::vector<SeenFile>& files) { remember(store_, files); })] {
    std::map<std::string_view, EntryList> byFolder;
    for (const EntryPointer& entry : scope.entries) {
      const std::string_view folder = folderOf(entry->path);
      if (tickets.contains(folder)) byFolder[folder].push_back(entry);
    }
    for (const auto& [folder, ticket] : tickets) {
      Look look{folder, ticket, identityOf(files, folder), {}};
      look.found = lookForFiles(files, byFolder[folder], scope,
                                [](std::size_t, std::size_t) { return true; });
      // A disk that went while its files were looked for leaves nothing known.
      if (look.identity != identityOf(files, folder)) look.identity.reset();
      postInSlices(*main, std::exchange(look.found.learned, {}), learn);
      main->post([reply, look = std::move(look)]() mutable { reply(look); });
    }
  });
}

HistoryReachability::Seen HistoryReachability::adopt(Look& look, Folder& folder) {
  const bool isSameFolder = look.identity && look.identity == folder.identity;
  Seen seen{{}, std::move(look.found.renamed)};
  std::set<std::string> outOfReach;
  for (const EntryPointer& entry : look.found.gone) {
    if (isSameFolder && !folder.outOfReach.contains(entry->id)) {
      seen.went.push_back(entry);
    } else {
      outOfReach.insert(entry->id);
    }
  }
  for (const EntryPointer& entry : look.found.outOfReach) outOfReach.insert(entry->id);
  for (const std::string& id : folder.outOfReach) outOfReachIDs_.erase(id);
  outOfReachIDs_.insert(outOfReach.begin(), outOfReach.end());
  folder.outOfReach = std::move(outOfReach);
  folder.identity = look.identity;
  return seen;
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

void remember(HistoryStore& store, const std::vector<SeenFile>& files) {
  std::vector<HistoryStore::Revision> revisions;
  for (const SeenFile& file : files) {
    ScreenshotEntry after = *file.entry;
    after.path = file.path.string();
    after.fileIdentity = file.identity;
    revisions.push_back({file.entry, std::move(after)});
  }
  store.revise(std::move(revisions));
}

void postInSlices(TaskRunner& main, std::vector<SeenFile> files,
                  const std::function<void(const std::vector<SeenFile>&)>& learn) {
  for (std::size_t at = 0; at < files.size(); at += sliceSize) {
    const auto first = files.begin() + static_cast<std::ptrdiff_t>(at);
    const auto count = static_cast<std::ptrdiff_t>(std::min(sliceSize, files.size() - at));
    main.post([learn, slice = std::vector(std::move_iterator(first),
                                          std::move_iterator(first + count))] { learn(slice); });
  }
}

}  // namespace vantorel
