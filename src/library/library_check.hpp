#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <vector>

#include "library/file_look.hpp"
#include "library/library_paths.hpp"
#include "library/parked_captures.hpp"
#include "library/records/screenshot_entry.hpp"
#include "library/relocation_journal.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Where a library is looked through.
struct LibraryScope {
  EntryList entries;

  /// Files that other items of the index name (`HistoryStore::unreadPaths`).
  std::vector<std::string> unreadPaths{};

  /// False when there may be an index that the entries are not from.
  bool indexWasRead = true;
  LibraryPaths paths;
  std::vector<Path> captureFolders;  ///< beside those that entries lie in
  Path originals;                    ///< of captures changed in place

  // Seconds since 1970-01-01 UTC. What is younger may be somebody's work and is not judged.
  double stagedBefore = 0;  ///< of staged captures: another process may be about to file them
  double begunBefore = 0;   ///< of half files: this run may be writing them

  double lookedAt = 0;  ///< of journals: the moment from which `journalsInUse` is

  /// The files that staged captures have elsewhere; called on the thread that looks. Empty: none.
  std::function<std::vector<Path>()> filesOfStaged{};

  std::vector<Path> leftovers{};  ///< that an earlier run had left at loading

  /// Journals of what was going on then.
  std::set<Path> journalsInUse{};

  /// Whether a picture file is sound as far as a short look tells; empty: nobody looks.
  std::function<bool(const PictureBytes&)> isWholePicture{};
};

/// What in a library does not fit together.
struct LibraryFindings {
  FileLook look;
  std::vector<std::string> silentFolders;  ///< of entries that are out of reach
  EntryList damaged;                       ///< their picture is not whole
  std::vector<LostOriginal> withoutOriginal;

  /// Named as captures are, or known to a damaged index.
  std::vector<Path> filesWithoutEntry;
  std::vector<Path> originalsWithoutEntry;  ///< in the folders that only the library uses

  /// Such that an index may name which could not be read, or that lies parked: not to be touched.
  std::vector<Path> originalsInDoubt;
  std::vector<Path> parkedIndexes;  ///< that no repair has used
  ParkedCaptures parked;
  std::vector<Path> temporaries;     ///< half a file, left by a run that was killed
  std::vector<Path> stagedCaptures;  ///< grabbed and not yet filed
  std::vector<Path> journals;        ///< of a deletion or a move that did not end
  std::vector<Path> notJudged;       ///< too young; see `LibraryScope`

  /// Files that moved to another disk and stay where they were.
  std::vector<RelocationJournal::Pair> copiesLeft;
  std::vector<Path> replacedFilesLeft;  ///< by a rewrite, and could not be removed
  std::vector<Path> clearedAtStart;     ///< leftovers that are in order now
};

/// Looks and changes nothing. What the journals on disk and staged captures tell to be under way is
/// no finding, for whose entry came meanwhile the requester has to see. Blocks; any thread.
/// Stopped, it answers what it has found so far.
[[nodiscard]] LibraryFindings checkLibrary(const Files& files, const LibraryScope& scope,
                                           const CheckProgress& progress);

/// Looks once more at what was found a while ago, with the library as it is now, and drops what is
/// in order: entries whose files or originals are there, files that are not there, or that an entry
/// or work under way has, and journals that are gone or in use. Blocks; any thread.
void checkAgain(const Files& files, const LibraryScope& now, LibraryFindings& findings);

/// The part of it that is about originals: fills `originalsWithoutEntry`, `originalsInDoubt` and
/// what half files lie among them. Blocks; any thread.
[[nodiscard]] LibraryFindings checkOriginals(const Files& files, const LibraryScope& scope);

/// A new entry for a capture's file that has none, with what its name and its header tell.
[[nodiscard]] Result<ScreenshotEntry> entryForFile(const Files& files, const ImageCodec& codec,
                                                   const Path& path);

}  // namespace vantorel
