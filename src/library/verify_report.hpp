#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/enum_names.hpp"

namespace vantorel {

struct LibraryFindings;

enum class FindingKind {
  entryWithoutFile,
  entryUnderAnotherName,
  originalUnderAnotherName,
  entryInDoubt,
  originalInDoubt,
  entryOfReplacedFolder,
  entryOutOfReach,
  originalOutOfReach,
  damagedPicture,
  originalGone,
  originalReplaced,
  fileWithoutEntry,
  fileOfDamagedEntry,  ///< without an entry, for it could not be read in a damaged index
  fileOfOlderIndex,    ///< without an entry, and the newest damaged index does not have it either
  originalWithoutEntry,
  parkedIndex,
  temporary,
  stagedCapture,
  movedAndStillThere,
  replacedAndStillThere,
  journal,
  clearedAtStart,  ///< left by an earlier run, and in order since the library was opened
};

template <>
inline constexpr auto enumNames<FindingKind> = std::to_array<EnumName<FindingKind>>({
    {FindingKind::entryWithoutFile, "entry without file"},
    {FindingKind::entryUnderAnotherName, "entry under another name"},
    {FindingKind::originalUnderAnotherName, "original under another name"},
    {FindingKind::entryInDoubt, "entry in doubt"},
    {FindingKind::originalInDoubt, "original in doubt"},
    {FindingKind::entryOfReplacedFolder, "entry of a changed folder"},
    {FindingKind::entryOutOfReach, "entry out of reach"},
    {FindingKind::originalOutOfReach, "original out of reach"},
    {FindingKind::damagedPicture, "damaged picture"},
    {FindingKind::originalGone, "original gone"},
    {FindingKind::originalReplaced, "original replaced"},
    {FindingKind::fileWithoutEntry, "file without entry"},
    {FindingKind::fileOfDamagedEntry, "file of a damaged entry"},
    {FindingKind::fileOfOlderIndex, "file of an older index"},
    {FindingKind::originalWithoutEntry, "original without entry"},
    {FindingKind::parkedIndex, "parked index"},
    {FindingKind::temporary, "temporary"},
    {FindingKind::stagedCapture, "staged capture"},
    {FindingKind::movedAndStillThere, "moved and still there"},
    {FindingKind::replacedAndStillThere, "replaced and still there"},
    {FindingKind::journal, "journal"},
    {FindingKind::clearedAtStart, "cleared at start"},
});

/// What is in order now.
struct RepairedPaths {
  std::unordered_set<std::string> paths;
  std::unordered_set<std::string> originals;  ///< lost ones that no entry names any more
};

/// What a look through the library found, and what became of it.
struct VerifyReport {
  struct Finding {
    FindingKind kind = FindingKind::entryWithoutFile;
    std::string path;
    bool isRepaired = false;

    bool operator==(const Finding&) const = default;
  };

  std::vector<Finding> findings;
  std::vector<std::string> notJudged;      ///< paths of what may be work under way
  std::vector<std::string> silentFolders;  ///< of captures, that do not answer
  std::size_t captures = 0;                ///< in the library, after the repair
  std::uint64_t bytes = 0;                 ///< of all their files

  bool wasStopped = false;                     ///< nothing was changed, and nothing else is told
  std::optional<std::string> indexNotSaved{};  ///< why; nothing else is told then

  /// The findings of a look, and which of them are repaired.
  [[nodiscard]] static VerifyReport of(const LibraryFindings& findings,
                                       const RepairedPaths& repaired);

  [[nodiscard]] std::size_t repairedCount() const;
};

}  // namespace vantorel
