#include "library/history_reachability.hpp"

namespace vantorel {

std::string_view folderOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

void HistoryReachability::look(
    const std::set<std::string>& folders,
    const std::function<void(const std::string& folder, const EntryList& went)>& done) {
  std::map<std::string, std::uint64_t, std::less<>> tickets;
  for (const std::string& folder : folders) {
    tickets[folder] = folders_[folder].ticket = ++tickets_;
  }
  work_->post([&files = files_, main = main_, tickets = std::move(tickets),
               entries = store_.entries(), reply = alive_.guard([this, done](const Look& look) {
                 const auto found = folders_.find(look.folder);
                 if (found == folders_.end() || found->second.ticket != look.ticket) return;
                 done(look.folder, adopt(look, found->second));
               })] {
    std::map<std::string_view, EntryList> byFolder;
    for (const EntryPointer& entry : entries) {
      const std::string_view folder = folderOf(entry->path);
      if (tickets.contains(folder)) byFolder[folder].push_back(entry);
    }
    for (const auto& [folder, ticket] : tickets) {
      Look look{folder, ticket, std::nullopt, {}, {}};
      lookAt(files, look, byFolder[folder]);
      main->post([reply, look = std::move(look)]() mutable { reply(look); });
    }
  });
}

void HistoryReachability::lookAt(const Files& files, Look& look, const EntryList& entries) {
  const auto before = identityOf(files, look.folder);
  for (const EntryPointer& entry : entries) {
    switch (reachOf(files, entry->path)) {
      case FileReach::there: break;
      case FileReach::fileGone: look.gone.push_back(entry); break;
      case FileReach::folderGone:
      case FileReach::folderUnreachable:
      case FileReach::folderDenied:
      case FileReach::unknown: look.outOfReach.push_back(entry); break;
    }
  }
  // A disk that went while its files were looked for leaves nothing known.
  if (before && before == identityOf(files, look.folder)) look.identity = before;
}

EntryList HistoryReachability::adopt(const Look& look, Folder& folder) {
  const bool isSameFolder = look.identity && look.identity == folder.identity;
  EntryList went;
  std::set<std::string> outOfReach;
  for (const EntryPointer& entry : look.gone) {
    if (isSameFolder && !folder.outOfReach.contains(entry->id)) {
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
