#pragma once

#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "library/file_look.hpp"
#include "library/library_paths.hpp"
#include "library/records/history_collection.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Captures that only damaged copies of the index know, with the files that are theirs.
struct ParkedCaptures {
  EntryList found;       ///< their files are there; each has the path that its file has by now
  EntryList outOfReach;  ///< their files may well be there, or are not to be told from others
  std::vector<HistoryCollection> collections;

  /// Of `found` the paths of those that the newest copy does not have: they are as they were once.
  std::set<std::string> ofOlderCopies;

  /// What else the copies call a capture's file: its entry could not be read.
  std::set<std::string> ofDamagedEntries;

  /// The originals and pictures of layers that any copy names, used by a repair or not: no
  /// captures of their own.
  std::vector<std::string> belongings;

  std::vector<Path> copies;  ///< in which an entry can be read and that no repair has used
};

/// Looks for the files of the entries that can be read in the damaged copies of an index, together
/// with those of the library's: names may be swapped between them. What another program had put in
/// the index's place counts for nothing. Blocks; any thread.
class ParkedCaptureLook {
 public:
  /// Of several entries of one capture the one in the newest copy counts, and none of a capture
  /// that is among `library`.
  ParkedCaptureLook(const Files& files, const LibraryPaths& paths, const EntryList& library);

  /// As `lookForFiles` for the whole library; what it says of parked captures is in `captures`
  /// then, and not in the answer. A file is a parked entry's when it is what the entry remembers,
  /// not because of its name alone; the name does where nothing is remembered.
  [[nodiscard]] FileLook look(const std::vector<std::string>& unreadPaths,
                              const CheckProgress& progress);

  ParkedCaptures captures;

 private:
  /// What a move or a rewrite made of their files and was cut short before the index said so.
  void takeChanged();

  /// Moves what is said of parked captures to `captures`.
  void takeParked(FileLook& look);

  const Files& files_;
  const LibraryPaths& paths_;
  const EntryList& library_;
  EntryList parked_;
  std::set<EntryPointer> older_;  // of them, those that the newest copy does not have
};

/// What the damaged copies call a capture's file, as long as a repair can read entries in them: it
/// will ask the journals where these went. Blocks; any thread.
[[nodiscard]] std::unordered_set<std::string> pathsToSalvage(const Files& files,
                                                             const LibraryPaths& paths);

}  // namespace vantorel
