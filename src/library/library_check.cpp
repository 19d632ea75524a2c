#include "library/library_check.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <set>
#include <unordered_map>

#include "base/random_id.hpp"
#include "library/capture_file_name.hpp"
#include "library/entry_paths.hpp"
#include "library/file_reach.hpp"
#include "library/known_files.hpp"
#include "library/parked_index.hpp"
#include "library/pending_undo.hpp"
#include "library/relocation_leftovers.hpp"
#include "library/rewrite_journal.hpp"
#include "library/silent_folders.hpp"

namespace vantorel {
namespace {

struct MediumOfSuffix {
  std::string_view suffix;
  CaptureMedium medium;
};
constexpr auto media = std::to_array<MediumOfSuffix>({{".png", CaptureMedium::image},
                                                      {".jpg", CaptureMedium::image},
                                                      {".jpeg", CaptureMedium::image},
                                                      {".heic", CaptureMedium::image},
                                                      {".webp", CaptureMedium::image},
                                                      {".gif", CaptureMedium::gif},
                                                      {".mp4", CaptureMedium::recording}});

std::optional<CaptureMedium> mediumOf(const Path& path) {
  const auto found = std::ranges::find(media, path.extension().string(), &MediumOfSuffix::suffix);
  return found == media.end() ? std::nullopt : std::optional(found->medium);
}

class Checker {
 public:
  Checker(const Files& files, const LibraryScope& scope, const LibraryFindings& findings)
      : files_(files), known_(files), parked_(files) {
    for (const EntryPointer& entry : findings.parked.found) parked_.add(entry->path);
    for (const std::string& path : scope.unreadPaths) known_.add(path);
    for (const EntryPointer& entry : scope.entries) {
      forEachPath(*entry, [this](const std::string& path) { known_.add(path); });
    }
    for (const SeenFile& file : findings.look.renamed) known_.add(file.path);
    for (const Path& path : findings.look.candidates) known_.add(path);
  }

  /// What is under way now has a name, too. To be called before folders are listed, for what ends
  /// meanwhile, and after it, for what begins. Moves and rewrites of captures that only a damaged
  /// index knows have ended.
  void learnWorkUnderWay(const LibraryScope& scope) {
    const auto learn = [this](const Path& path) { known_.add(path); };
    const auto learnUnlessParked = [this](const Path& path) {
      if (parked_.hasName(path)) return;
      // One that was cut short may have left two names of their file.
      if (parked_.hasFile(path)) {
        names_.insert(path);
      } else {
        known_.add(path);
      }
    };
    std::ranges::for_each(filesOfRewrites(files_, scope.paths), learnUnlessParked);
    if (scope.filesOfStaged) std::ranges::for_each(scope.filesOfStaged(), learn);
    if (const auto undo = readPendingUndo(files_, scope.paths)) {
      for (const RemovedEntry& removed : undo->batch.items) forEachPath(*removed.entry, learn);
    }
    const auto journal = RelocationJournal::read(files_, scope.paths);
    if (const auto* const moving = std::get_if<RelocationJournal>(&journal)) {
      for (const RelocationJournal::Pair& pair : moving->pairs) {
        learnUnlessParked(pair.oldPath);
        learnUnlessParked(pair.newPath);
      }
    }
  }

  /// They belong to entries that have their files elsewhere.
  void learn(const LibraryFindings& findings) {
    for (const RelocationJournal::Pair& pair : findings.copiesLeft) known_.add(pair.oldPath);
    for (const Path& path : findings.replacedFilesLeft) known_.add(path);
  }

  using Look = std::function<void(const Path& path, double modified)>;

  void lookThrough(const Path& folder, const Look& look) const {
    const auto items = files_.list(folder);
    if (!items) return;
    std::vector<Path> paths;
    for (const FolderItem& item : *items) {
      if (item.type == FileType::regular) paths.push_back(folder / item.name);
    }
    std::ranges::sort(paths);
    for (const Path& path : paths) {
      const auto status = files_.status(path);
      if (status) look(path, status->modified);
    }
  }

  [[nodiscard]] bool isKnown(const Path& path) {
    return known_.hasName(path) || names_.contains(path);
  }

  /// Also when the file has another name beside one that is known, by a hard link.
  [[nodiscard]] bool isKnownFile(const Path& path) {
    return known_.hasFile(path) || names_.contains(path);
  }

 private:
  const Files& files_;
  KnownFiles known_;
  KnownFiles parked_;
  std::set<Path> names_;  // known in this spelling alone
};

/// Where captures may lie, each folder under one of the names it has.
std::vector<Path> foldersOfCaptures(const Files& files, const LibraryScope& scope) {
  std::set<FolderIdentity> seen;
  for (const Path& own : {scope.paths.data, scope.paths.stagedCaptures(),
                          scope.paths.redactedOriginals(), scope.originals}) {
    if (const auto identity = identityOf(files, own)) seen.insert(*identity);
  }
  std::set<Path> names(scope.captureFolders.begin(), scope.captureFolders.end());
  for (const EntryPointer& entry : scope.entries) names.emplace(folderOf(entry->path));
  std::vector<Path> folders;
  for (const Path& name : names) {
    const auto identity = identityOf(files, name);
    if (identity && seen.insert(*identity).second) folders.push_back(name);
  }
  return folders;
}

bool isTemporaryCapture(const Path& path) {
  const std::string name = path.filename().string();
  // A capture's file that was being replaced.
  if (path.extension() == ".staging") {
    const Path replaced = path.stem();
    return mediumOf(replaced) && timeInCaptureName(replaced.stem().string());
  }
  return name.starts_with('.') && path.extension() == ".partial" &&
         (name.starts_with(".vantorel-") || timeInCaptureName(path.stem().string().substr(1)));
}

bool isDamaged(const Files& files, const LibraryScope& scope, const ScreenshotEntry& entry) {
  if (entry.medium != CaptureMedium::image) return false;
  const auto place = files.resolved(entry.path);
  const auto there = place ? files.status(*place) : std::unexpected(place.error());
  // A folder or a pipe in a picture's place; opening it might wait for ever.
  if (there && there->type != FileType::regular) return true;
  const auto content = files.open(entry.path);
  const auto status = content ? (*content)->status() : std::unexpected(content.error());
  return status && !scope.isWholePicture(PictureOnDisk(*content, status->size));
}

/// Nobody renames what lies there: it is there, or it is lost.
void addLostOfOwnFolders(const Files& files, const LibraryScope& scope, LibraryFindings& findings) {
  const OriginalFolders folders(scope.paths);
  for (const EntryPointer& entry : scope.entries) {
    const bool isOwn = entry->originalPath && *entry->originalPath != entry->path &&
                       !folders.isAmongCaptures(*entry);
    if (isOwn && reachOfOriginal(files, *entry) == FileReach::fileGone) {
      findings.withoutOriginal.push_back({entry});
    }
  }
}

void addTemporary(const LibraryScope& scope, const Path& path, double modified,
                  LibraryFindings& findings) {
  (modified < scope.begunBefore ? findings.temporaries : findings.notJudged).push_back(path);
}

/// Files among the originals that no entry names.
std::vector<Path> lookForOriginals(Checker& checker, const LibraryScope& scope,
                                   LibraryFindings& findings) {
  std::vector<Path> originals;
  for (const Path& folder : {scope.originals, scope.paths.redactedOriginals()}) {
    checker.lookThrough(folder, [&](const Path& path, double modified) {
      const bool isOfRewrite = path.extension() == ".partial" || path.extension() == ".staging";
      // The words to an original, which nobody needs once its entry has them.
      const bool isOfRedaction = path.extension() == ".json" && !checker.isKnown(path);
      if (isOfRewrite || isOfRedaction) {
        addTemporary(scope, path, modified, findings);
      } else if (!checker.isKnown(path)) {
        originals.push_back(path);
      }
    });
  }
  return originals;
}

std::vector<Path> parkedIndexes(const Checker& checker, const LibraryScope& scope) {
  std::vector<Path> parked;
  checker.lookThrough(scope.paths.data, [&](const Path& path, double) {
    if (isParkedIndex(scope.paths.index(), path.filename().string())) parked.push_back(path);
  });
  return parked;
}

/// Captures that only a damaged index knows, whatever they are called.
void addFilesOfParked(Checker& checker, LibraryFindings& findings) {
  for (const EntryPointer& entry : findings.parked.found) {
    if (!checker.isKnownFile(entry->path)) findings.filesWithoutEntry.emplace_back(entry->path);
  }
}

/// Drops what belongs to captures that are to be filed.
void dropOfParked(const ParkedCaptures& parked, std::vector<Path>& originals) {
  std::set<std::string_view> named;
  for (const EntryList* const list : {&parked.found, &parked.outOfReach}) {
    for (const EntryPointer& entry : *list) {
      forEachPath(*entry, [&](const std::string& path) { named.insert(path); });
    }
  }
  std::erase_if(originals, [&](const Path& path) { return named.contains(path.native()); });
}

/// Drops what entries remember as their files, whatever its name is. Not what they remembered until
/// another file came in its place.
void dropFilesOfEntries(const Files& files, const EntryList& entries, LibraryFindings& findings) {
  if (findings.filesWithoutEntry.empty()) return;
  std::set<EntryPointer> outdated;
  for (const SeenFile& file : findings.look.learned) outdated.insert(file.entry);
  std::unordered_map<std::int64_t, std::vector<const FileIdentity*>> remembered;
  for (const EntryPointer& entry : entries) {
    if (!entry->fileIdentity || outdated.contains(entry)) continue;
    remembered[entry->fileIdentity->file].push_back(&*entry->fileIdentity);
  }
  std::erase_if(findings.filesWithoutEntry, [&](const Path& path) {
    const auto file = identifyFile(files, path);
    if (!file) return false;
    return std::ranges::any_of(remembered[file->file],
                               [&](const FileIdentity* one) { return one->isSameFileAs(*file); });
  });
}

void judgeOriginals(const Files& files, const LibraryScope& scope, const std::vector<Path>& copies,
                    std::vector<Path> originals, LibraryFindings& findings) {
  // Their entries may yet be had again from a copy of an index that is set right by hand.
  const auto parked = pathsInParkedIndexes(files, copies);
  const std::set<Path> named =
      parked ? std::set<Path>(parked->begin(), parked->end()) : std::set<Path>();
  for (Path& path : originals) {
    const bool isInDoubt = !scope.indexWasRead || !parked || named.contains(path);
    auto& list = isInDoubt ? findings.originalsInDoubt : findings.originalsWithoutEntry;
    list.push_back(std::move(path));
  }
}

}  // namespace

LibraryFindings checkLibrary(const Files& files, const LibraryScope& scope,
                             const CheckProgress& progress) {
  LibraryFindings findings;
  ParkedCaptureLook parkedLook(files, scope.paths, scope.entries);
  findings.look = parkedLook.look(scope.unreadPaths, progress);
  findings.parked = std::move(parkedLook.captures);
  if (findings.look.wasStopped) return findings;
  findings.silentFolders = silentFolders(files, findings.look.outOfReach);
  findings.withoutOriginal = findings.look.lostOriginals;
  addLostOfOwnFolders(files, scope, findings);
  for (std::size_t i = 0; scope.isWholePicture && i < scope.entries.size(); ++i) {
    if (isDamaged(files, scope, *scope.entries[i])) findings.damaged.push_back(scope.entries[i]);
    if (progress(i, scope.entries.size())) continue;
    findings.look.wasStopped = true;
    return findings;
  }
  Checker checker(files, scope, findings);
  findings.replacedFilesLeft = replacedFilesLeft(files, scope.paths);
  std::erase_if(findings.replacedFilesLeft,
                [&](const Path& path) { return checker.isKnown(path); });
  findings.copiesLeft =
      RelocationLeftovers::read(files, scope.paths).remaining(files, [&](const std::string& path) {
        return checker.isKnown(path);
      });
  checker.learnWorkUnderWay(scope);
  checker.learn(findings);

  addFilesOfParked(checker, findings);
  KnownFiles ofParked(files);
  for (const Path& path : findings.filesWithoutEntry) ofParked.add(path);
  for (const std::string& path : findings.parked.belongings) ofParked.add(path);
  for (const Path& folder : foldersOfCaptures(files, scope)) {
    checker.lookThrough(folder, [&](const Path& path, double modified) {
      if (isTemporaryCapture(path)) {
        addTemporary(scope, path, modified, findings);
      } else if (mediumOf(path) && timeInCaptureName(path.stem().string()) &&
                 !checker.isKnownFile(path) && !ofParked.hasFile(path)) {
        findings.filesWithoutEntry.push_back(path);
      }
    });
  }
  std::vector<Path> originals = lookForOriginals(checker, scope, findings);
  dropOfParked(findings.parked, originals);
  checker.lookThrough(scope.paths.stagedCaptures(), [&](const Path& path, double modified) {
    // Where no folder would take a capture, the staged file stays and is the filed one.
    if (checker.isKnown(path)) return;
    (modified < scope.stagedBefore ? findings.stagedCaptures : findings.notJudged).push_back(path);
  });
  checker.lookThrough(scope.paths.data, [&](const Path& path, double modified) {
    const std::string name = path.filename().string();
    if (name.ends_with(".staging")) {
      addTemporary(scope, path, modified, findings);
    } else if (isParkedIndex(scope.paths.index(), name)) {
      if (!isSalvagedIndex(name)) findings.parkedIndexes.push_back(path);
    } else if (path == scope.paths.deletions() || path == scope.paths.relocationJournal()) {
      const bool isInUse = scope.journalsInUse.contains(path) || modified >= scope.lookedAt;
      if (!isInUse) findings.journals.push_back(path);
    }
  });
  std::ranges::copy_if(scope.leftovers, std::back_inserter(findings.clearedAtStart),
                       [&](const Path& path) { return !files.status(path); });
  checker.learnWorkUnderWay(scope);
  const auto isKnown = [&](const Path& path) { return checker.isKnown(path); };
  std::erase_if(findings.filesWithoutEntry,
                [&](const Path& path) { return checker.isKnownFile(path); });
  std::erase_if(originals, isKnown);
  std::erase_if(findings.notJudged,
                [&](const Path& path) { return isKnown(path) || !files.status(path); });
  judgeOriginals(files, scope, parkedIndexes(checker, scope), std::move(originals), findings);
  return findings;
}

void checkAgain(const Files& files, const LibraryScope& now, LibraryFindings& findings) {
  findings.look.gone = goneOf(files, findings.look.gone);
  std::erase_if(findings.withoutOriginal, [&](const LostOriginal& lost) {
    return lost.isReplaced ? placeOfOriginal(files, *lost.entry) != OriginalPlace::anotherFile
                           : reachOfOriginal(files, *lost.entry) != FileReach::fileGone;
  });
  std::erase_if(findings.journals, [&](const Path& path) {
    return now.journalsInUse.contains(path) || !files.status(path);
  });
  const std::array lists{&findings.filesWithoutEntry, &findings.originalsWithoutEntry,
                         &findings.originalsInDoubt};
  if (std::ranges::all_of(lists, [](const auto* list) { return list->empty(); })) return;
  Checker checker(files, now, findings);
  checker.learnWorkUnderWay(now);
  for (auto* const list : lists) {
    std::erase_if(*list, [&](const Path& path) { return !files.status(path); });
  }
  checker.learnWorkUnderWay(now);
  for (auto* const list : lists) {
    std::erase_if(*list, [&](const Path& path) { return checker.isKnown(path); });
  }
  dropFilesOfEntries(files, now.entries, findings);
}

LibraryFindings checkOriginals(const Files& files, const LibraryScope& scope) {
  LibraryFindings findings;
  Checker checker(files, scope, {});
  checker.learnWorkUnderWay(scope);
  auto originals = lookForOriginals(checker, scope, findings);
  checker.learnWorkUnderWay(scope);
  std::erase_if(originals, [&](const Path& path) { return checker.isKnown(path); });
  if (originals.empty()) return findings;
  judgeOriginals(files, scope, parkedIndexes(checker, scope), std::move(originals), findings);
  return findings;
}

Result<ScreenshotEntry> entryForFile(const Files& files, const ImageCodec& codec,
                                     const Path& path) {
  const auto medium = mediumOf(path);
  if (!medium) return failed(FailureKind::unsupported, "it is no capture");
  const FileStatus status = VT_TRY(files.status(path));
  ScreenshotEntry entry;
  entry.id = randomID();
  entry.path = path.string();
  entry.fileIdentity = identifyFile(files, path);
  entry.capturedAt = timeInCaptureName(path.stem().string()).value_or(status.modified);
  entry.medium = *medium;
  if (*medium == CaptureMedium::image) {
    const PixelSize size = VT_TRY(codec.pixelSize(files, path));
    entry.pixelWidth = size.width;
    entry.pixelHeight = size.height;
  }
  return entry;
}

}  // namespace vantorel
