#include "library/verify_report.hpp"

#include <algorithm>

#include "library/library_check.hpp"

namespace vantorel {

VerifyReport VerifyReport::of(const LibraryFindings& findings, const RepairedPaths& repaired) {
  VerifyReport report;
  const auto add = [&](FindingKind kind, const std::string& path) {
    report.findings.push_back({kind, path, repaired.paths.contains(path)});
  };
  // Somebody may still need what they are about.
  const auto addKept = [&](FindingKind kind, const std::string& path) {
    report.findings.push_back({kind, path, false});
  };
  const auto addAll = [&](FindingKind kind, const std::vector<Path>& paths) {
    for (const Path& path : paths) add(kind, path.string());
  };
  for (const EntryPointer& entry : findings.look.gone) {
    add(FindingKind::entryWithoutFile, entry->path);
  }
  for (const SeenFile& file : findings.look.renamed) {
    add(file.role == FileRole::shown ? FindingKind::entryUnderAnotherName
                                     : FindingKind::originalUnderAnotherName,
        file.path.string());
  }
  for (const EntryFile& file : findings.look.inDoubt) {
    addKept(file.role == FileRole::shown ? FindingKind::entryInDoubt : FindingKind::originalInDoubt,
            file.path());
  }
  const std::unordered_set<EntryPointer> replaced(findings.look.replaced.begin(),
                                                  findings.look.replaced.end());
  for (const EntryPointer& entry : findings.look.outOfReach) {
    addKept(replaced.contains(entry) ? FindingKind::entryOfReplacedFolder
                                     : FindingKind::entryOutOfReach,
            entry->path);
  }
  for (const EntryPointer& entry : findings.look.originalsOutOfReach) {
    addKept(FindingKind::originalOutOfReach, *entry->originalPath);
  }
  for (const EntryPointer& entry : findings.damaged) {
    addKept(FindingKind::damagedPicture, entry->path);
  }
  for (const LostOriginal& lost : findings.withoutOriginal) {
    const std::string& original = *lost.entry->originalPath;
    report.findings.push_back(
        {lost.isReplaced ? FindingKind::originalReplaced : FindingKind::originalGone, original,
         repaired.originals.contains(original)});
  }
  for (const Path& path : findings.filesWithoutEntry) {
    const ParkedCaptures& parked = findings.parked;
    const FindingKind kind =
        parked.ofOlderCopies.contains(path.native())      ? FindingKind::fileOfOlderIndex
        : parked.ofDamagedEntries.contains(path.native()) ? FindingKind::fileOfDamagedEntry
                                                          : FindingKind::fileWithoutEntry;
    add(kind, path.string());
  }
  addAll(FindingKind::originalWithoutEntry, findings.originalsWithoutEntry);
  addAll(FindingKind::originalWithoutEntry, findings.originalsInDoubt);
  addAll(FindingKind::parkedIndex, findings.parkedIndexes);
  addAll(FindingKind::temporary, findings.temporaries);
  addAll(FindingKind::stagedCapture, findings.stagedCaptures);
  for (const RelocationJournal::Pair& pair : findings.copiesLeft) {
    add(FindingKind::movedAndStillThere, pair.oldPath);
  }
  addAll(FindingKind::replacedAndStillThere, findings.replacedFilesLeft);
  addAll(FindingKind::journal, findings.journals);
  for (const Path& path : findings.clearedAtStart) {
    report.findings.push_back({FindingKind::clearedAtStart, path.string(), true});
  }
  for (const Path& path : findings.notJudged) report.notJudged.push_back(path.string());
  report.silentFolders = findings.silentFolders;
  return report;
}

std::size_t VerifyReport::repairedCount() const {
  return static_cast<std::size_t>(std::ranges::count_if(findings, &Finding::isRepaired));
}

}  // namespace vantorel
