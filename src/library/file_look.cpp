#include "library/file_look.hpp"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "library/capture_file_name.hpp"
#include "library/entry_paths.hpp"
#include "library/file_reach.hpp"
#include "library/known_files.hpp"

namespace vantorel {
namespace {

/// What stays when a file gets another name on its volume.
using FileKey = std::tuple<std::string, std::int64_t, std::int64_t, double>;

FileKey keyOf(const FileIdentity& identity) {
  return {identity.volume, identity.file, identity.size, identity.modified};
}

/// Also when it was written to meanwhile.
bool isSameNode(const FileIdentity& one, const FileIdentity& other) {
  return one.volume == other.volume && one.file == other.file;
}

/// An entry whose path has no file, or one that is not known to be its own.
struct Astray {
  EntryPointer entry;
  std::optional<FileIdentity> inItsPlace;  ///< what has its path
  FileReach reach = FileReach::there;      ///< why there is none
  bool isWanted = true;
};

std::map<std::string_view, EntryList> byFolder(const EntryList& entries) {
  std::map<std::string_view, EntryList> folders;
  for (const EntryPointer& entry : entries) folders[folderOf(entry->path)].push_back(entry);
  return folders;
}

void lookFor(const FolderView& folder, const EntryPointer& entry, FileLook& look,
             std::vector<Astray>& astray) {
  const Path path = entry->path;
  if (auto identity = folder.identify(path.filename())) {
    const auto& seen = entry->fileIdentity;
    if (!seen || !isSameNode(*identity, *seen)) {
      astray.push_back({entry, *std::move(identity)});
    } else if (!identity->isSameFileAs(*seen) || identity->folder != seen->folder ||
               identity->folderFile != seen->folderFile) {
      // What a newer version keeps beside is of the file as it was.
      look.learned.push_back({entry, path, *std::move(identity)});
    }
    return;
  }
  const FileReach reach = folder.reachOf(*entry);
  if (reach != FileReach::there) astray.push_back({entry, std::nullopt, reach});
}

/// Its folder, or what is called so, does not have it.
bool isMissing(FileReach reach) {
  return reach == FileReach::fileGone || reach == FileReach::folderReplaced;
}

/// Finds the files of entries that went astray. A file that some entry shows is no other one's.
class AstrayFiles {
 public:
  AstrayFiles(const Files& files, const FileLookScope& scope, std::vector<Astray> astray)
      : files_(files), scope_(scope), astray_(std::move(astray)), known_(files) {}

  /// `wanted` are the entries that were looked at already.
  void sort(const EntryList& wanted, FileLook& look) {
    lookAtOriginals(wanted);
    dropNewcomers(look);
    if (astray_.empty()) return;
    if (wanted.size() < scope_.entries.size()) lookAtOthers(wanted);
    listTaken();
    swapNames();
    seekElsewhere();
    for (Astray& one : astray_) settle(one, look);
  }

 private:
  using Found = std::pair<Path, FileIdentity>;

  /// Of an original nothing is known but its name, which another entry's file may have by now.
  void lookAtOriginals(const EntryList& wanted) {
    const auto hasOriginal = [](const EntryPointer& entry) {
      return entry->originalPath && *entry->originalPath != entry->path;
    };
    if (std::ranges::none_of(wanted, hasOriginal)) return;
    std::unordered_map<std::int64_t, EntryPointer> owners;
    for (const EntryPointer& entry : scope_.entries) {
      if (entry->fileIdentity) owners.emplace(entry->fileIdentity->file, entry);
    }
    for (const EntryPointer& entry : wanted) {
      if (!hasOriginal(entry)) continue;
      auto identity = identifyFile(files_, *entry->originalPath);
      if (!identity) continue;
      const auto found = owners.find(identity->file);
      if (found == owners.end()) continue;
      const EntryPointer& owner = found->second;
      const bool isOther = owner != entry && owner->path != *entry->originalPath &&
                           keyOf(*owner->fileIdentity) == keyOf(*identity);
      if (!isOther) continue;
      if (std::ranges::find(astray_, owner, &Astray::entry) == astray_.end()) {
        FileLook ignored;
        lookFor(FolderView(files_, Path(folderOf(owner->path))), owner, ignored, astray_);
      }
      misnamed_.emplace(owner->path, Misnamed{entry, *std::move(identity)});
    }
  }

  /// Of an entry that remembers nothing, the file at its path is its own, unless it is one that
  /// another entry remembers.
  void dropNewcomers(FileLook& look) {
    const auto isNew = [](const Astray& one) { return !one.entry->fileIdentity && one.inItsPlace; };
    if (std::ranges::none_of(astray_, isNew)) return;
    std::unordered_set<std::int64_t> remembered;
    for (const EntryPointer& entry : scope_.entries) {
      if (entry->fileIdentity) remembered.insert(entry->fileIdentity->file);
    }
    std::erase_if(astray_, [&](Astray& one) {
      if (!isNew(one) || remembered.contains(one.inItsPlace->file)) return false;
      look.learned.push_back({one.entry, one.entry->path, *std::move(one.inItsPlace)});
      return true;
    });
  }

  /// The file that took an entry's path, or the one that it has now, may be any other entry's.
  void lookAtOthers(const EntryList& wanted) {
    std::unordered_set<EntryPointer> known(wanted.begin(), wanted.end());
    for (const Astray& one : astray_) known.insert(one.entry);
    FileLook ignored;
    std::vector<Astray> others;
    for (const auto& [name, entries] : byFolder(scope_.entries)) {
      const FolderView folder(files_, Path(name));
      for (const EntryPointer& entry : entries) {
        if (entry->fileIdentity && !known.contains(entry)) lookFor(folder, entry, ignored, others);
      }
    }
    for (Astray& other : others) {
      other.isWanted = false;
      astray_.push_back(std::move(other));
    }
  }

  /// The paths that have files of which nobody says yet whose they are.
  void listTaken() {
    for (const Astray& one : astray_) {
      if (one.inItsPlace) taken_.emplace(one.entry->path, *one.inItsPlace);
    }
    // Copies of a capture stay together.
    for (const EntryPointer& entry : scope_.entries) {
      const auto found = taken_.find(entry->path);
      if (found == taken_.end() || !entry->fileIdentity) continue;
      if (isSameNode(*entry->fileIdentity, found->second)) taken_.erase(found);
    }
  }

  /// Files that have the names of other entries' files.
  void swapNames() {
    std::map<FileKey, std::string_view> byKey;
    std::map<std::pair<std::string_view, std::int64_t>, std::string_view> byNode;
    for (const auto& [path, identity] : taken_) {
      byKey.emplace(keyOf(identity), path);
      byNode.emplace(std::pair(std::string_view(identity.volume), identity.file), path);
    }
    for (const Astray& one : astray_) {
      if (!one.entry->fileIdentity) continue;
      const auto at = byKey.find(keyOf(*one.entry->fileIdentity));
      if (at != byKey.end()) take(one, at->second);
    }
    for (const Astray& one : astray_) {
      const auto heard = scope_.heardMoves.find(one.entry->path);
      if (heard != scope_.heardMoves.end()) take(one, heard->second);
    }
    // Written to since. A number alone tells nothing, for numbers are given again; but here the
    // file that had the name is known to have gone elsewhere.
    for (const Astray& one : astray_) {
      if (!one.entry->fileIdentity) continue;
      const FileIdentity& seen = *one.entry->fileIdentity;
      const auto at = byNode.find({seen.volume, seen.file});
      if (at != byNode.end() && found_.contains(std::string(at->second))) take(one, at->second);
    }
  }

  void take(const Astray& one, std::string_view path) {
    const auto at = taken_.find(std::string(path));
    if (at == taken_.end() || path == one.entry->path || !mayLeave(one)) return;
    if (found_.contains(one.entry->path) || claimed_.contains(at->first)) return;
    claimed_.insert(at->first);
    found_.emplace(one.entry->path, Found{path, at->second});
  }

  /// False when another entry shows the file at the path: copies stay together.
  [[nodiscard]] bool mayLeave(const Astray& one) const {
    return !one.inItsPlace || taken_.contains(one.entry->path);
  }

  [[nodiscard]] bool isDisplaced(const Astray& one) const {
    return one.inItsPlace && claimed_.contains(one.entry->path);
  }

  /// Files that have names of no entry. One that is still called as its entry says, and was written
  /// anew, is not that of an earlier time which its editor has put aside.
  void seekElsewhere() {
    for (const Astray& one : astray_) {
      const bool mayBeElsewhere = isMissing(one.reach) || one.reach == FileReach::linkBroken;
      const bool isElsewhere = (one.isWanted && mayBeElsewhere) || isDisplaced(one) ||
                               misnamed_.contains(one.entry->path);
      if (!isElsewhere || found_.contains(one.entry->path)) continue;
      if (auto found = findElsewhere(*one.entry)) {
        known_.add(found->first);
        found_.emplace(one.entry->path, *std::move(found));
      }
    }
  }

  std::optional<Found> findElsewhere(const ScreenshotEntry& entry) {
    if (const auto heard = scope_.heardMoves.find(entry.path); heard != scope_.heardMoves.end()) {
      if (auto identity = identifyFile(files_, heard->second); identity && isFree(heard->second)) {
        return Found{heard->second, *std::move(identity)};
      }
    }
    if (const auto named = misnamed_.find(entry.path); named != misnamed_.end()) {
      return Found{*named->second.of->originalPath, named->second.identity};
    }
    if (!entry.fileIdentity) return std::nullopt;
    if (!isListed_) listStrangers();
    const auto at = strangers_.find(keyOf(*entry.fileIdentity));
    if (at == strangers_.end() || at->second.first.empty()) return std::nullopt;
    return std::exchange(at->second, {});
  }

  void settle(Astray& one, FileLook& look) {
    const EntryPointer& entry = one.entry;
    if (const auto found = found_.find(entry->path); found != found_.end() && mayLeave(one)) {
      look.renamed.push_back({entry, found->second.first, found->second.second});
      if (const auto named = misnamed_.find(entry->path);
          named != misnamed_.end() && !isDisplaced(one)) {
        const Path original = one.inItsPlace ? Path(entry->path) : Path();
        look.originals.push_back({named->second.of, original, found->second.second});
      }
    } else if (isDisplaced(one)) {
      look.gone.push_back(entry);
      look.displaced.push_back({entry, freeName(entry->path), lastSeen(one)});
    } else if (!one.isWanted) {
      return;
    } else if (one.inItsPlace) {
      look.learned.push_back({entry, entry->path, *std::move(one.inItsPlace)});
    } else {
      (one.reach == FileReach::fileGone ? look.gone : look.outOfReach).push_back(entry);
      if (one.reach == FileReach::folderReplaced) look.replaced.push_back(entry);
    }
  }

  static FileIdentity lastSeen(const Astray& one) {
    if (one.entry->fileIdentity) return *one.entry->fileIdentity;
    return {.volume = one.inItsPlace->volume, .folder = one.inItsPlace->folder, .extra = {}};
  }

  Path freeName(const std::string& path) {
    Path name = path;
    for (int number = 2; !isFree(name.string()) || files_.status(name); ++number) {
      name.replace_filename(numberedName(path, number));
    }
    known_.add(name);
    return name;
  }

  [[nodiscard]] bool isFree(const std::string& path) {
    if (!isKnownFilled_) fillKnown();
    return !known_.hasName(path);
  }

  void fillKnown() {
    isKnownFilled_ = true;
    for (const std::string& path : scope_.unreadPaths) known_.add(path);
    for (const EntryPointer& entry : scope_.entries) {
      forEachPath(*entry, [this](const std::string& path) { known_.add(path); });
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
        Path path = Path(name) / item.name;
        const bool isHalf = item.name.starts_with('.') && path.extension() == ".partial";
        if (item.type != FileType::regular || isHalf) continue;
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
  std::vector<Astray> astray_;
  std::map<std::string, FileIdentity> taken_;  // by path
  std::set<std::string> claimed_;              // of those, whose owners are known
  std::map<std::string, Found> found_;         // by the path that the entries have
  KnownFiles known_;
  bool isKnownFilled_ = false;
  bool isListed_ = false;
  std::map<FileKey, Found> strangers_;
  struct Misnamed {
    EntryPointer of;  // whose original has had the name
    FileIdentity identity;
  };
  std::map<std::string, Misnamed> misnamed_;  // by the path of the entry whose file it is
};

}  // namespace

FileLook lookForFiles(const Files& files, const EntryList& wanted, const FileLookScope& scope,
                      const CheckProgress& progress) {
  FileLook look;
  std::vector<Astray> astray;
  std::size_t done = 0;
  for (const auto& [name, entries] : byFolder(wanted)) {
    const FolderView folder(files, Path(name));
    for (const EntryPointer& entry : entries) {
      if (!progress(done++, wanted.size())) {
        look.wasStopped = true;
        for (const Astray& one : astray) {
          if (one.reach == FileReach::fileGone) look.gone.push_back(one.entry);
        }
        return look;
      }
      lookFor(folder, entry, look, astray);
    }
  }
  AstrayFiles(files, scope, std::move(astray)).sort(wanted, look);
  return look;
}

EntryList goneOf(const Files& files, const EntryList& entries) {
  EntryList gone;
  for (const auto& [name, inside] : byFolder(entries)) {
    const FolderView folder(files, Path(name));
    std::ranges::copy_if(inside, std::back_inserter(gone), [&](const EntryPointer& entry) {
      return isMissing(folder.reachOf(*entry));
    });
  }
  return gone;
}

}  // namespace vantorel
