#include "library/parked_captures.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "library/entry_paths.hpp"
#include "library/file_numbers.hpp"
#include "library/file_reach.hpp"
#include "library/history_index_file.hpp"
#include "library/index_salvage.hpp"
#include "library/parked_index.hpp"
#include "library/relocation_journal.hpp"
#include "library/rewrite_journal.hpp"

namespace vantorel {
namespace {

bool isRemembered(const ScreenshotEntry& entry) {
  return entry.fileIdentity && hasTrait(*entry.fileIdentity);
}

/// Tells whether an entry is of a capture that has one already.
class CapturesWithEntry {
 public:
  explicit CapturesWithEntry(const EntryList& entries) {
    for (const EntryPointer& entry : entries) add(entry);
  }

  void add(const EntryPointer& entry) {
    ids_.insert(entry->id);
    const bool remembers = isRemembered(*entry);
    paths_[entry->path] |= remembers;
    if (remembers) files_.emplace(entry->fileIdentity->file, entry);
  }

  [[nodiscard]] bool has(const ScreenshotEntry& entry) const {
    if (ids_.contains(entry.id)) return true;
    const auto samePath = paths_.find(entry.path);
    if (!isRemembered(entry)) return samePath != paths_.end();
    if (samePath != paths_.end() && !samePath->second) return true;
    const auto [begin, end] = files_.equal_range(entry.fileIdentity->file);
    return std::any_of(begin, end, [&](const auto& one) {
      return one.second->fileIdentity->isSameFileAs(*entry.fileIdentity);
    });
  }

 private:
  std::unordered_set<std::string> ids_;
  std::unordered_map<std::string, bool> paths_;  // with whether its file is remembered
  std::unordered_multimap<std::int64_t, EntryPointer> files_;
};

/// The damaged copies, of the newest one first.
std::vector<Path> damagedCopies(const Files& files, const LibraryPaths& paths) {
  std::vector<std::pair<double, Path>> newestFirst;
  const auto items = files.list(paths.data);
  if (!items) return {};
  for (const FolderItem& item : *items) {
    if (parkedKind(paths.index(), item.name) != ParkedKind::unreadable) continue;
    const Path copy = paths.data / item.name;
    const auto status = files.status(copy);
    if (status && status->type == FileType::regular) {
      newestFirst.emplace_back(-status->modified, copy);
    }
  }
  std::ranges::sort(newestFirst);
  std::vector<Path> copies;
  for (auto& [age, copy] : newestFirst) copies.push_back(std::move(copy));
  return copies;
}

SalvagedIndex readCopy(const Files& files, const Path& copy) {
  const auto text = files.read(copy, largestParkedIndex);
  if (!text) return {};
  auto whole = decodeIndex(*text);
  if (!whole) return salvageIndex(*text);
  return {.entries = std::move(whole->file.entries),
          .collections = std::move(whole->file.collections)};
}

}  // namespace

ParkedCaptureLook::ParkedCaptureLook(const Files& files, const LibraryPaths& paths,
                                     const EntryList& library)
    : files_(files), paths_(paths), library_(library) {
  const std::vector<Path> copies = damagedCopies(files, paths);
  if (copies.empty()) return;
  CapturesWithEntry filed(library);
  std::unordered_set<std::string> collections;
  bool isNewest = true;
  for (const Path& copy : copies) {
    SalvagedIndex index = readCopy(files, copy);
    for (const EntryPointer& entry : index.entries) {
      forEachPath(*entry, [&](const std::string& path) {
        if (path != entry->path) captures.belongings.push_back(path);
      });
    }
    std::ranges::copy(index.originalPaths, std::back_inserter(captures.belongings));
    if (isSalvagedIndex(copy.filename().string())) continue;
    captures.ofDamagedEntries.insert(index.paths.begin(), index.paths.end());
    if (!index.entries.empty()) captures.copies.push_back(copy);
    for (EntryPointer& entry : index.entries) {
      captures.ofDamagedEntries.erase(entry->path);
      if (filed.has(*entry)) continue;
      filed.add(entry);
      if (!isNewest) older_.insert(entry);
      parked_.push_back(std::move(entry));
    }
    for (HistoryCollection& collection : index.collections) {
      if (collections.insert(collection.id).second) {
        captures.collections.push_back(std::move(collection));
      }
    }
    isNewest = false;
  }
  takeChanged();
}

void ParkedCaptureLook::takeChanged() {
  std::map<std::string, std::string> places;
  const auto read = RelocationJournal::read(files_, paths_);
  if (const auto* const journal = std::get_if<RelocationJournal>(&read)) {
    std::unordered_set<std::string> named(captures.belongings.begin(), captures.belongings.end());
    for (const EntryPointer& entry : parked_) named.insert(entry->path);
    places = journal->resolve(files_, named).moved;
  }
  for (const std::string& path : std::vector(captures.belongings)) {
    if (const auto found = places.find(path); found != places.end()) {
      captures.belongings.push_back(found->second);
    }
  }
  const std::set<Path> replaced = filesReplacedInPlace(files_, paths_);
  for (EntryPointer& entry : parked_) {
    ScreenshotEntry changed = *entry;
    forEachPath(changed, [&](std::string& path) {
      if (const auto found = places.find(path); found != places.end()) path = found->second;
    });
    const bool isReplaced = replaced.contains(entry->path);
    if (changed == *entry && !isReplaced) continue;
    if (isReplaced || changed.path != entry->path) {
      changed.fileIdentity = identifyFile(files_, changed.path);
    }
    if (changed.originalPath != entry->originalPath) {
      changed.originalIdentity = identifyFile(files_, *changed.originalPath);
    }
    const bool isOlder = older_.erase(entry) > 0;
    entry = std::make_shared<const ScreenshotEntry>(std::move(changed));
    if (isOlder) older_.insert(entry);
  }
}

FileLook ParkedCaptureLook::look(const std::vector<std::string>& unreadPaths,
                                 const CheckProgress& progress) {
  EntryList all = library_;
  all.insert(all.end(), parked_.begin(), parked_.end());
  FileLook look = lookForFiles(files_, all,
                               {.entries = all,
                                .unreadPaths = unreadPaths,
                                .onlyAsSeen = {parked_.begin(), parked_.end()},
                                .paths = paths_},
                               progress);
  if (!parked_.empty()) takeParked(look);
  return look;
}

void ParkedCaptureLook::takeParked(FileLook& look) {
  std::unordered_map<EntryPointer, ScreenshotEntry> now;
  for (const EntryPointer& entry : parked_) now.emplace(entry, *entry);
  for (auto* const list : {&look.learned, &look.displaced, &look.renamed}) {
    for (const SeenFile& file : *list) {
      const auto found = now.find(file.entry);
      if (found == now.end()) continue;
      ScreenshotEntry& entry = found->second;
      (file.role == FileRole::shown ? entry.path : entry.originalPath.emplace()) =
          file.path.string();
      (file.role == FileRole::shown ? entry.fileIdentity : entry.originalIdentity) = file.identity;
    }
    std::erase_if(*list, [&](const SeenFile& file) { return now.contains(file.entry); });
  }
  const auto isParked = [&](const EntryPointer& entry) { return now.contains(entry); };
  const std::unordered_set<EntryPointer> gone(look.gone.begin(), look.gone.end());
  std::unordered_set<EntryPointer> away(look.outOfReach.begin(), look.outOfReach.end());
  for (const EntryFile& file : look.inDoubt) {
    if (file.role == FileRole::shown) away.insert(file.entry);
  }
  for (auto* const list :
       {&look.gone, &look.outOfReach, &look.replaced, &look.originalsOutOfReach}) {
    std::erase_if(*list, isParked);
  }
  std::erase_if(look.inDoubt, [&](const EntryFile& file) { return isParked(file.entry); });
  std::erase_if(look.lostOriginals, [&](const LostOriginal& lost) { return isParked(lost.entry); });
  for (const EntryPointer& entry : parked_) {
    captures.ofDamagedEntries.erase(entry->path);
    if (gone.contains(entry)) continue;
    auto known = std::make_shared<const ScreenshotEntry>(std::move(now.at(entry)));
    forEachPath(*known, [&](const std::string& path) {
      if (path != known->path) captures.belongings.push_back(path);
    });
    if (older_.contains(entry)) captures.ofOlderCopies.insert(known->path);
    (away.contains(entry) ? captures.outOfReach : captures.found).push_back(std::move(known));
  }
}

std::unordered_set<std::string> pathsToSalvage(const Files& files, const LibraryPaths& paths) {
  std::unordered_set<std::string> named;
  for (const Path& copy : damagedCopies(files, paths)) {
    if (isSalvagedIndex(copy.filename().string())) continue;
    const SalvagedIndex index = readCopy(files, copy);
    if (index.entries.empty()) continue;
    for (const EntryPointer& entry : index.entries) {
      forEachPath(*entry, [&](const std::string& path) { named.insert(path); });
    }
    named.insert(index.paths.begin(), index.paths.end());
    named.insert(index.originalPaths.begin(), index.originalPaths.end());
  }
  return named;
}

}  // namespace vantorel
