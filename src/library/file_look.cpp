#include "library/file_look.hpp"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "library/capture_file_name.hpp"
#include "library/entry_paths.hpp"
#include "library/file_numbers.hpp"
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

/// A file that is not at its path, or of which what is there is not known to be it.
struct Astray {
  EntryFile file;
  std::optional<FileIdentity> inItsPlace{};  ///< what has its path
  FileReach reach = FileReach::there;        ///< why there is none
  bool isWanted = true;

  [[nodiscard]] const std::string& path() const { return file.path(); }
  [[nodiscard]] const BoxedOptional<FileIdentity>& seen() const { return file.seen(); }
  [[nodiscard]] bool isOriginal() const { return file.role == FileRole::original; }

  /// As large and as old as its file was, under whatever number.
  [[nodiscard]] bool looksOwn() const {
    return seen() && inItsPlace && traitOf(*seen()) == traitOf(*inItsPlace);
  }
};

std::map<std::string_view, EntryList> byFolder(const EntryList& entries) {
  std::map<std::string_view, EntryList> folders;
  for (const EntryPointer& entry : entries) folders[folderOf(entry->path)].push_back(entry);
  return folders;
}

std::map<std::string_view, std::vector<EntryFile>> filesByFolder(const EntryList& entries,
                                                                 const LibraryPaths& paths) {
  const OriginalFolders originals(paths);
  std::map<std::string_view, std::vector<EntryFile>> folders;
  for (const EntryPointer& entry : entries) {
    folders[folderOf(entry->path)].push_back({entry, FileRole::shown});
    if (originals.isAmongCaptures(*entry)) {
      folders[folderOf(*entry->originalPath)].push_back({entry, FileRole::original});
    }
  }
  return folders;
}

/// Looks for files where they should be.
class PlaceLook {
 public:
  PlaceLook(FileLook& look, std::vector<Astray>& astray, FileNumbers& numbers)
      : look_(look), astray_(astray), numbers_(numbers) {}

  void at(const FolderView& folder, const EntryFile& file) {
    const Path path = file.path();
    if (auto identity = folder.identify(path.filename())) {
      const auto& seen = file.seen();
      if (!seen || !identity->isSameFileAs(*seen)) {
        astray_.push_back({file, std::move(identity)});
        return;
      }
      numbers_.agree(*identity);
      // What a newer version keeps beside is of the file as it was.
      if (identity->folder != seen->folder || identity->folderFile != seen->folderFile) {
        look_.learned.push_back({file.entry, path, *std::move(identity), file.role});
      }
      return;
    }
    const FileReach reach = file.role == FileRole::shown ? folder.reachOf(*file.entry)
                                                         : folder.reachOfOriginal(*file.entry);
    if (reach != FileReach::there) astray_.push_back({file, std::nullopt, reach});
  }

  /// What was written to in place is the same file, unless it is by now as another one was: then
  /// the number may be all that stayed.
  void settleEdited() {
    std::erase_if(astray_, [this](Astray& one) {
      const bool isSame = one.inItsPlace && one.seen() && !one.isOriginal() &&
                          isSameNode(*one.inItsPlace, *one.seen()) &&
                          !numbers_.isAnothers(*one.inItsPlace);
      if (isSame) {
        look_.learned.push_back(
            {one.file.entry, one.path(), *std::move(one.inItsPlace), one.file.role});
      }
      return isSame;
    });
  }

 private:
  FileLook& look_;
  std::vector<Astray>& astray_;
  FileNumbers& numbers_;
};

/// Files that no entry names.
class Strangers {
 public:
  using Found = std::pair<Path, FileIdentity>;

  explicit Strangers(const Files& files) : files_(files) {}

  void list(std::string_view name, const std::function<bool(const std::string&)>& isFree) {
    const FolderView folder(files_, Path(name));
    if (!folder.location()) return;
    auto items = folder.list();
    if (!items) return;
    std::ranges::sort(*items, {}, &FolderItem::name);
    for (const FolderItem& item : *items) {
      Path path = Path(name) / item.name;
      const bool isHalf = item.name.starts_with('.') && path.extension() == ".partial";
      if (item.type != FileType::regular || isHalf) continue;
      if (!isFree(path.string())) continue;
      if (auto identity = folder.identify(item.name)) {
        found_.emplace_back(std::move(path), *std::move(identity));
      }
    }
  }

  /// To be called once all are listed.
  void sort() {
    for (Found& one : found_) {
      // By links and mounts, a folder has several names.
      if (!byKey_.emplace(keyOf(one.second), &one).second) continue;
      byTrait_.emplace(traitOf(one.second), &one);
    }
  }

  std::optional<Found> take(const FileIdentity& seen) {
    const auto at = byKey_.find(keyOf(seen));
    if (at == byKey_.end() || at->second->first.empty()) return std::nullopt;
    Found taken = *at->second;
    at->second->first.clear();
    return taken;
  }

  [[nodiscard]] std::vector<const Found*> alike(const FileIdentity& seen) const {
    std::vector<const Found*> found;
    const auto [begin, end] = byTrait_.equal_range(traitOf(seen));
    for (auto at = begin; at != end; ++at) {
      if (!at->second->first.empty()) found.push_back(at->second);
    }
    return found;
  }

 private:
  const Files& files_;
  std::vector<Found> found_;
  std::map<FileKey, Found*> byKey_;
  std::multimap<FileTrait, Found*> byTrait_;
};

/// Finds the files of entries that went astray. A file that some entry has is no other one's.
class AstrayFiles {
 public:
  AstrayFiles(const Files& files, const FileLookScope& scope, std::vector<Astray> astray,
              FileNumbers& numbers)
      : files_(files),
        scope_(scope),
        astray_(std::move(astray)),
        numbers_(numbers),
        known_(files),
        strangers_(files) {}

  /// `wanted` are the entries that were looked at already.
  void sort(const EntryList& wanted, FileLook& look) {
    dropNewcomers(look);
    if (astray_.empty()) return;
    if (wanted.size() < scope_.entries.size()) lookAtOthers(wanted);
    listTaken();
    swapNames();
    seekElsewhere();
    keepRestored();
    for (Astray& one : astray_) settle(one, look);
    dropLearnedOfMoved(look);
  }

 private:
  using Found = Strangers::Found;

  /// Of an entry that remembers nothing, the file at its path is its own, unless it is one that
  /// another entry remembers.
  void dropNewcomers(FileLook& look) {
    const auto isNew = [](const Astray& one) { return !one.seen() && one.inItsPlace; };
    if (std::ranges::none_of(astray_, isNew)) return;
    std::unordered_set<std::int64_t> remembered;
    for (const EntryPointer& entry : scope_.entries) {
      if (entry->fileIdentity) remembered.insert(entry->fileIdentity->file);
      if (entry->originalIdentity) remembered.insert(entry->originalIdentity->file);
    }
    std::erase_if(astray_, [&](Astray& one) {
      if (!isNew(one) || remembered.contains(one.inItsPlace->file)) return false;
      look.learned.push_back(
          {one.file.entry, one.path(), *std::move(one.inItsPlace), one.file.role});
      return true;
    });
  }

  /// The file that took an entry's path, or the one that it has now, may be any other entry's.
  void lookAtOthers(const EntryList& wanted) {
    std::unordered_set<EntryPointer> known(wanted.begin(), wanted.end());
    EntryList unknown;
    std::ranges::copy_if(scope_.entries, std::back_inserter(unknown),
                         [&](const EntryPointer& entry) { return !known.contains(entry); });
    FileLook ignored;
    std::vector<Astray> others;
    PlaceLook look(ignored, others, numbers_);
    for (const auto& [name, held] : filesByFolder(unknown, scope_.paths)) {
      const FolderView folder(files_, Path(name));
      for (const EntryFile& file : held) {
        if (file.seen() || file.role == FileRole::original) look.at(folder, file);
      }
    }
    look.settleEdited();
    for (Astray& other : others) {
      other.isWanted = false;
      astray_.push_back(std::move(other));
    }
  }

  /// The paths that have files of which nobody says yet whose they are.
  void listTaken() {
    for (const Astray& one : astray_) {
      if (!one.inItsPlace) continue;
      taken_.emplace(one.path(), *one.inItsPlace);
      numbers_.see(*one.inItsPlace);
      if (one.looksOwn()) lookOwn_.insert(one.path());
    }
    // Copies of a capture stay together.
    const auto leave = [this](const EntryFile& file) {
      const auto found = taken_.find(file.path());
      if (found == taken_.end() || !file.seen()) return;
      const bool isSame = file.role == FileRole::shown ? isSameNode(*file.seen(), found->second) &&
                                                             !numbers_.isAnothers(found->second)
                                                       : file.seen()->isSameFileAs(found->second);
      if (isSame) taken_.erase(found);
    };
    for (const EntryPointer& entry : scope_.entries) {
      leave({entry, FileRole::shown});
      if (entry->originalPath) leave({entry, FileRole::original});
    }
  }

  /// Files that have the names of other entries' files.
  void swapNames() {
    std::map<FileKey, std::string_view> byKey;
    std::map<std::pair<std::string_view, std::int64_t>, std::string_view> byNode;
    std::multimap<FileTrait, std::string_view> byTrait;
    for (const auto& [path, identity] : taken_) {
      if (byKey.emplace(keyOf(identity), path).second) byTrait.emplace(traitOf(identity), path);
      byNode.emplace(std::pair(std::string_view(identity.volume), identity.file), path);
    }
    for (const Astray& one : astray_) {
      if (!one.seen()) continue;
      const auto at = byKey.find(keyOf(*one.seen()));
      if (at != byKey.end()) take(one, at->second);
    }
    // An original that was never seen is what the file that has its name had before.
    for (const Astray& one : astray_) {
      const auto claim = claimed_.find(one.path());
      if (one.isOriginal() && !one.seen() && claim != claimed_.end()) take(one, claim->second);
    }
    for (const Astray& one : astray_) {
      const auto heard = scope_.heardMoves.find(one.path());
      if (heard != scope_.heardMoves.end()) take(one, heard->second);
    }
    for (const Astray& one : astray_) {
      if (found_.contains(one.path()) || !tellsByTrait(one)) continue;
      const auto [begin, end] = byTrait.equal_range(traitOf(*one.seen()));
      std::vector<std::string_view> paths;
      for (auto at = begin; at != end; ++at) {
        if (!lookOwn_.contains(at->second)) paths.push_back(at->second);
      }
      if (paths.size() == 1 && isOnlyOne(one) && strangersLike(one).empty()) take(one, paths[0]);
    }
    // Written to since. A number alone tells nothing, for numbers are given again; but here the
    // file that had the name is known to have gone elsewhere.
    for (const Astray& one : astray_) {
      if (!one.seen() || one.isOriginal() || !numbers_.areSteady(one.seen()->volume)) continue;
      const auto at = byNode.find({one.seen()->volume, one.seen()->file});
      if (at != byNode.end() && found_.contains(std::string(at->second))) take(one, at->second);
    }
  }

  /// Whether the file is to be sought by its size and time: its number tells nothing.
  [[nodiscard]] bool tellsByTrait(const Astray& one) const {
    return one.seen() && hasTrait(*one.seen()) && !one.looksOwn() &&
           (one.seen()->file == 0 || !numbers_.areSteady(one.seen()->volume));
  }

  /// No other remembered file was as large and as old, but those that are where they were.
  [[nodiscard]] bool isOnlyOne(const Astray& one) {
    const auto& paths = numbers_.pathsOf(traitOf(*one.seen()));
    return std::ranges::all_of(paths, [&](std::string_view path) {
      return path == one.path() || lookOwn_.contains(path);
    });
  }

  void take(const Astray& one, std::string_view path) {
    const auto at = taken_.find(std::string(path));
    if (at == taken_.end() || path == one.path() || !mayLeave(one)) return;
    if (found_.contains(one.path()) || claimed_.contains(at->first)) return;
    claimed_.emplace(at->first, one.path());
    found_.emplace(one.path(), Found{path, at->second});
  }

  /// False when another entry has the file at the path: copies stay together.
  [[nodiscard]] bool mayLeave(const Astray& one) const {
    const bool isStrangers = isReplaced(one) && !one.isOriginal();
    return !one.inItsPlace || isStrangers || taken_.contains(one.path());
  }

  [[nodiscard]] bool isDisplaced(const Astray& one) const {
    return one.inItsPlace && claimed_.contains(one.path());
  }

  /// Another file has the name.
  [[nodiscard]] bool isReplaced(const Astray& one) const {
    return mustBeAsSeen(one) && one.inItsPlace && one.seen() &&
           !isSameOriginal(*one.seen(), *one.inItsPlace);
  }

  [[nodiscard]] bool mustBeAsSeen(const Astray& one) const {
    if (one.isOriginal()) return true;
    return one.seen() && hasTrait(*one.seen()) && scope_.onlyAsSeen.contains(one.file.entry);
  }

  /// What has the path is in another folder of the name: what was in the first may still be there.
  [[nodiscard]] static bool isInAnotherFolder(const Astray& one) {
    return one.inItsPlace && one.seen() && one.seen()->volume == one.inItsPlace->volume &&
           one.seen()->folder == one.inItsPlace->folder && one.seen()->folderFile &&
           one.inItsPlace->folderFile && one.seen()->folderFile != one.inItsPlace->folderFile;
  }

  /// Files that have names of no entry. One that is still called as its entry says, and was written
  /// anew, is not that of an earlier time which its editor has put aside.
  void seekElsewhere() {
    for (const Astray& one : astray_) {
      const bool mayBeElsewhere = isMissing(one.reach) || one.reach == FileReach::linkBroken;
      const bool isSought = one.isWanted && (mayBeElsewhere || isReplaced(one));
      if (!(isSought || isDisplaced(one)) || found_.contains(one.path())) continue;
      if (auto found = findElsewhere(one)) {
        known_.add(found->first);
        found_.emplace(one.path(), *std::move(found));
      }
    }
  }

  std::optional<Found> findElsewhere(const Astray& one) {
    if (const auto heard = scope_.heardMoves.find(one.path()); heard != scope_.heardMoves.end()) {
      if (auto identity = identifyFile(files_, heard->second); identity && isFree(heard->second)) {
        return Found{heard->second, *std::move(identity)};
      }
    }
    if (!one.seen()) return std::nullopt;
    listStrangers();
    if (auto found = strangers_.take(*one.seen())) return found;
    const auto alike = strangersLike(one);
    if (alike.empty()) return std::nullopt;
    if (alike.size() == 1 && isOnlyOne(one)) return strangers_.take(alike[0]->second);
    inDoubt_.insert(one.path());
    return std::nullopt;
  }

  std::vector<const Found*> strangersLike(const Astray& one) {
    if (!tellsByTrait(one)) return {};
    listStrangers();
    return strangers_.alike(*one.seen());
  }

  /// An original that was put in the place of the file made from it is what its entry shows now.
  void keepRestored() {
    for (const Astray& one : astray_) {
      const std::string& shown = one.file.entry->path;
      const auto found = found_.find(one.path());
      if (!one.isOriginal() || found == found_.end() || found->second.first != shown) continue;
      if (found_.contains(shown)) continue;
      found_.erase(found);
      claimed_.erase(shown);
    }
  }

  void settle(Astray& one, FileLook& look) {
    const EntryPointer& entry = one.file.entry;
    const FileRole role = one.file.role;
    if (const auto found = found_.find(one.path()); found != found_.end() && mayLeave(one)) {
      look.renamed.push_back({entry, found->second.first, found->second.second, role});
    } else if (isDisplaced(one)) {
      if (isInDoubt(one)) {
        doubt(one, look);
      } else {
        miss(one, isInAnotherFolder(one) ? FileReach::folderReplaced : FileReach::fileGone, look);
      }
      look.displaced.push_back({entry, freeName(one.path()), lastSeen(one), role});
    } else if (!one.isWanted) {
      if (isMissing(one.reach)) forgetNumber(one, look);
    } else if (isInDoubt(one)) {
      doubt(one, look);
    } else if (isReplaced(one) && !one.isOriginal()) {
      look.gone.push_back(entry);
    } else if (isReplaced(one) && isInAnotherFolder(one)) {
      miss(one, FileReach::folderReplaced, look);
    } else if (isReplaced(one)) {
      look.lostOriginals.push_back({entry, true});
    } else if (one.inItsPlace) {
      look.learned.push_back({entry, one.path(), *std::move(one.inItsPlace), role});
    } else {
      miss(one, one.reach, look);
    }
  }

  [[nodiscard]] bool isInDoubt(const Astray& one) const {
    const bool isAway = isMissing(one.reach) || isReplaced(one) || isDisplaced(one);
    return isAway && inDoubt_.contains(one.path());
  }

  /// Nothing has its number any more, or another file.
  [[nodiscard]] bool hasLostNumber(const Astray& one) const {
    return one.seen() && one.seen()->file != 0 &&
           (isInDoubt(one) || numbers_.haveChanged(one.seen()->volume));
  }

  /// Once the others of the disk are known by their new numbers, nothing else would tell that this
  /// one is to be known by its size and time.
  void forgetNumber(const Astray& one, FileLook& look) const {
    if (!hasLostNumber(one)) return;
    FileIdentity identity = *one.seen();
    identity.file = 0;
    look.learned.push_back({one.file.entry, one.path(), std::move(identity), one.file.role});
  }

  void doubt(const Astray& one, FileLook& look) {
    look.inDoubt.push_back(one.file);
    forgetNumber(one, look);
    for (const Found* const found : strangersLike(one)) {
      // Two entries may have the same in doubt.
      if (std::ranges::find(look.candidates, found->first) == look.candidates.end()) {
        look.candidates.push_back(found->first);
      }
    }
  }

  static void miss(const Astray& one, FileReach reach, FileLook& look) {
    const EntryPointer& entry = one.file.entry;
    const bool isLost = reach == FileReach::fileGone;
    if (!one.isOriginal()) {
      (isLost ? look.gone : look.outOfReach).push_back(entry);
      if (!isLost) look.obstacles.emplace(entry, reach);
      if (reach == FileReach::folderReplaced) look.replaced.push_back(entry);
    } else if (isLost) {
      look.lostOriginals.push_back({entry, false});
    } else {
      look.originalsOutOfReach.push_back(entry);
    }
  }

  /// They are changed once, and by their new places.
  static void dropLearnedOfMoved(FileLook& look) {
    std::unordered_set<EntryPointer> moved(look.gone.begin(), look.gone.end());
    for (const auto* const list : {&look.renamed, &look.displaced}) {
      for (const SeenFile& file : *list) moved.insert(file.entry);
    }
    std::erase_if(look.learned, [&](const SeenFile& file) { return moved.contains(file.entry); });
  }

  [[nodiscard]] FileIdentity lastSeen(const Astray& one) const {
    if (one.seen()) {
      FileIdentity identity = *one.seen();
      if (isInDoubt(one)) identity.file = 0;
      return identity;
    }
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
    if (isListed_) return;
    isListed_ = true;
    for (const auto& [name, held] : filesByFolder(scope_.entries, scope_.paths)) {
      strangers_.list(name, [this](const std::string& path) { return isFree(path); });
    }
    strangers_.sort();
  }

  const Files& files_;
  const FileLookScope& scope_;
  std::vector<Astray> astray_;
  FileNumbers& numbers_;
  std::map<std::string, FileIdentity> taken_;   // by path
  std::set<std::string, std::less<>> lookOwn_;  // paths that have files as large and old as theirs
  std::map<std::string, std::string> claimed_;  // of those, with the paths that their owners have
  std::map<std::string, Found> found_;          // by the path that the entries have
  std::set<std::string> inDoubt_;               // paths whose files may be more than one
  KnownFiles known_;
  bool isKnownFilled_ = false;
  bool isListed_ = false;
  Strangers strangers_;
};

}  // namespace

FileLook lookForFiles(const Files& files, const EntryList& wanted, const FileLookScope& scope,
                      const CheckProgress& progress) {
  FileLook look;
  std::vector<Astray> astray;
  FileNumbers numbers(scope.entries);
  PlaceLook places(look, astray, numbers);
  std::size_t done = 0;
  for (const auto& [name, held] : filesByFolder(wanted, scope.paths)) {
    const FolderView folder(files, Path(name));
    for (const EntryFile& file : held) {
      if (file.role == FileRole::shown && !progress(done++, wanted.size())) {
        look.wasStopped = true;
        for (const Astray& one : astray) {
          if (one.reach == FileReach::fileGone && !one.isOriginal()) {
            look.gone.push_back(one.file.entry);
          }
        }
        return look;
      }
      places.at(folder, file);
    }
  }
  places.settleEdited();
  AstrayFiles(files, scope, std::move(astray), numbers).sort(wanted, look);
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
