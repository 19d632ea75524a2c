#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "library/entry_files.hpp"
#include "library/file_reach.hpp"
#include "library/library_paths.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Told how far a long look at the disk has come; answers whether to go on.
using CheckProgress = std::function<bool(std::size_t done, std::size_t total)>;

/// An entry whose file was looked at, and what is to be remembered of the file.
struct SeenFile {
  EntryPointer entry;
  Path path;  ///< where the file is: another path than the entry's when it was renamed
  FileIdentity identity;
  FileRole role = FileRole::shown;
};

/// An original that is not there.
struct LostOriginal {
  EntryPointer entry;
  bool isReplaced = false;  ///< another file has its name
};

/// Where files may be that are not where their entries say.
struct FileLookScope {
  /// All of the library: a file that one of them has is no other one's under a new name.
  EntryList entries;

  /// Files that other items of the index name.
  std::vector<std::string> unreadPaths{};

  /// Where files went by what was heard of them, from old path to new.
  std::map<std::string, std::string> heardMoves{};

  /// What has the path of one of these is its file only as long as it is what was seen there, as
  /// with originals, or that was written to in place: nobody has looked after them for a while.
  std::unordered_set<EntryPointer> onlyAsSeen{};

  /// The library's own: originals that lie there are not looked for.
  LibraryPaths paths{};
};

/// What looking for the files of entries came to. Where an entry is listed the file it shows is
/// meant, and where a `SeenFile` is, the one of its role. Nothing is learned of an entry that has
/// another place, or lost its file.
struct FileLook {
  EntryList gone;        ///< deleted, overwritten, or moved to where no captures are
  EntryList outOfReach;  ///< the folder is away: the file may well be there

  /// Those of `outOfReach` whose folders are others of the same names by now, without the files.
  EntryList replaced;

  /// What is in the way of each of `outOfReach`.
  std::unordered_map<EntryPointer, FileReach> obstacles;

  std::vector<SeenFile> renamed;  ///< there under another name, or in another folder of captures
  /// There, and not as it is remembered; or not found, with the number 0 for one that tells nothing
  /// any more.
  std::vector<SeenFile> learned;

  /// Not to be told from others: their disk numbers its files anew with each mount, and more than
  /// one file may be theirs by size and time.
  std::vector<EntryFile> inDoubt;
  std::vector<Path> candidates;  ///< the files that may be theirs, and that no entry names

  /// Those that were not found and whose paths other entries' files have by now, each with a free
  /// path of its own and with what is remembered of its file.
  std::vector<SeenFile> displaced;

  /// Deleted, overwritten, or moved to where no captures are.
  std::vector<LostOriginal> lostOriginals;

  /// Of these the original may well be there: its folder is away, or another one of the name by
  /// now, or it is a link that leads nowhere.
  EntryList originalsOutOfReach;
  bool wasStopped = false;
};

/// Looks for the files of each of these entries, the one it shows and its original: the one place
/// that says which file is an entry's. What has the entry's path is its file, whoever wrote it,
/// unless it is known to be the file of another entry, which got the name: names may be swapped,
/// and one file put over another. What has an original's path is the original as long as it is what
/// was seen there. A file that is not at its path is sought by its number, size and time under the
/// names of other entries' files, and, when nothing else has its path, in all folders of captures
/// on its volume. Where a volume numbers its files anew with each mount, size and time have to do,
/// as long as only one file has them. When files of other entries of the library turn out to have
/// changed names too, those are answered as well. Blocks; any thread.
[[nodiscard]] FileLook lookForFiles(const Files& files, const EntryList& wanted,
                                    const FileLookScope& scope, const CheckProgress& progress);

/// Those of the entries whose files are missing from folders that are there. Blocks; any thread.
[[nodiscard]] EntryList goneOf(const Files& files, const EntryList& entries);

}  // namespace vantorel
