#include "library/file_look.hpp"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "library/entry_paths.hpp"
#include "library/file_reach.hpp"

namespace vantorel {
namespace {

/// What stays when a file gets another name on its volume.
using FileKey = std::tuple<std::string, std::int64_t, std::int64_t, double>;

FileKey keyOf(const FileIdentity& identity) {
  return {identity.volume, identity.file, identity.size, identity.modified};
}

/// Missing files found again. A file that some entry shows is no other one's.
class RenamedFiles {
 public:
  RenamedFiles(const Files& files, const FileLookScope& scope) : files_(files), scope_(scope) {}

  void find(FileLook& look) {
    if (look.gone.empty()) return;
    EntryList left;
    for (const EntryPointer& entry : look.gone) {
      if (auto found = findOne(*entry)) {
        look.renamed.push_back({entry, std::move(found->first), std::move(found->second)});
      } else {
        left.push_back(entry);
      }
    }
    look.gone = std::move(left);
  }

 private:
  using Found = std::pair<Path, FileIdentity>;

  std::optional<Found> findOne(const ScreenshotEntry& entry) {
    // Copies of a capture share its file.
    if (const auto known = found_.find(entry.path); known != found_.end()) return known->second;
    if (const auto heard = scope_.heardMoves.find(entry.path); heard != scope_.heardMoves.end()) {
      if (auto identity = identifyFile(files_, heard->second); identity && isFree(heard->second)) {
        return keep(entry, {heard->second, *std::move(identity)});
      }
    }
    if (!entry.fileIdentity) return std::nullopt;
    if (!isListed_) listStrangers();
    const auto at = strangers_.find(keyOf(*entry.fileIdentity));
    if (at == strangers_.end()) return std::nullopt;
    return keep(entry, std::exchange(at->second, {}));
  }

  std::optional<Found> keep(const ScreenshotEntry& entry, const Found& found) {
    if (found.first.empty()) return std::nullopt;
    found_.emplace(entry.path, found);
    known_.insert(found.first.string());
    return found;
  }

  [[nodiscard]] bool isFree(const std::string& path) {
    if (!isKnownFilled_) fillKnown();
    return !known_.contains(path);
  }

  void fillKnown() {
    isKnownFilled_ = true;
    known_.insert(scope_.unreadPaths.begin(), scope_.unreadPaths.end());
    for (const EntryPointer& entry : scope_.entries) {
      forEachPath(*entry, [this](const std::string& path) { known_.insert(path); });
    }
  }

  void listStrangers() {
    isListed_ = true;
    std::set<std::string_view> folders;
    for (const EntryPointer& entry : scope_.entries) folders.insert(folderOf(entry->path));
    for (const std::string_view name : folders) {
      const FolderView folder(files_, Path(name));
      if (!folder.location()) continue;
      auto items = folder.list();
      if (!items) continue;
      std::ranges::sort(*items, {}, &FolderItem::name);
      for (const FolderItem& item : *items) {
        // Half files have names with a point before them.
        if (item.type != FileType::regular || item.name.starts_with('.')) continue;
        Path path = Path(name) / item.name;
        if (!isFree(path.string())) continue;
        if (auto identity = folder.identify(item.name)) {
          FileKey key = keyOf(*identity);
          strangers_.emplace(std::move(key), Found{std::move(path), *std::move(identity)});
        }
      }
    }
  }

  const Files& files_;
  const FileLookScope& scope_;
  std::unordered_set<std::string> known_;
  bool isKnownFilled_ = false;
  bool isListed_ = false;
  std::map<FileKey, Found> strangers_;
  std::map<std::string, Found> found_;  // by the path that the entries have
};

std::map<std::string_view, EntryList> byFolder(const EntryList& entries) {
  std::map<std::string_view, EntryList> folders;
  for (const EntryPointer& entry : entries) folders[folderOf(entry->path)].push_back(entry);
  return folders;
}

void lookFor(const FolderView& folder, const EntryPointer& entry, FileLook& look) {
  const Path path = entry->path;
  if (auto identity = folder.identify(path.filename())) {
    // What a newer version keeps beside is of the file as it was.
    if (!entry->fileIdentity || !identity->isSameFileAs(*entry->fileIdentity) ||
        identity->folder != entry->fileIdentity->folder) {
      look.learned.push_back({entry, path, *std::move(identity)});
    }
    return;
  }
  switch (folder.reachOf(*entry)) {
    case FileReach::there: break;
    case FileReach::fileGone: look.gone.push_back(entry); break;
    case FileReach::folderGone:
    case FileReach::folderUnreachable:
    case FileReach::folderDenied:
    case FileReach::unknown: look.outOfReach.push_back(entry); break;
  }
}

}  // namespace

FileLook lookForFiles(const Files& files, const EntryList& wanted, const FileLookScope& scope,
                      const CheckProgress& progress) {
  FileLook look;
  std::size_t done = 0;
  for (const auto& [name, entries] : byFolder(wanted)) {
    const FolderView folder(files, Path(name));
    for (const EntryPointer& entry : entries) {
      if (!progress(done++, wanted.size())) {
        look.wasStopped = true;
        return look;
      }
      lookFor(folder, entry, look);
    }
  }
  RenamedFiles(files, scope).find(look);
  return look;
}

EntryList goneOf(const Files& files, const EntryList& entries) {
  EntryList gone;
  for (const auto& [name, inside] : byFolder(entries)) {
    const FolderView folder(files, Path(name));
    std::ranges::copy_if(inside, std::back_inserter(gone), [&](const EntryPointer& entry) {
      return folder.reachOf(*entry) == FileReach::fileGone;
    });
  }
  return gone;
}

}  // namespace vantorel
