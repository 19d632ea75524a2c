#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_set>
#include <variant>
#include <vector>

#include "base/json_record.hpp"
#include "library/file_move.hpp"
#include "library/library_paths.hpp"
#include "library/records/file_identity.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Which files are on their way to another folder. On disk before the first one moves, and until
/// the index names the last one's new place.
struct RelocationJournal {
  static constexpr int currentVersion = 1;

  /// A file or a package, and what it was when it was still at its old place.
  struct Pair {
    std::string oldPath;
    std::string newPath;
    std::int64_t size = 0;
    double modified = 0;                    ///< seconds since 1970-01-01 UTC
    std::optional<std::int64_t> fileCount;  ///< of a package
    std::optional<std::int64_t> file;       ///< its number (inode), which a rename keeps
    std::optional<FileIdentity> copy;       ///< what was made of it on another file system
    std::optional<std::string> volume{};    ///< the disk of its old place, as `FolderLocation`
    json::Object extra;

    [[nodiscard]] FileMeasure measure() const;

    /// Whether it is as large and as old to the last digit: what is left to tell a file by when its
    /// disk has numbered its files anew.
    [[nodiscard]] bool isAlike(const FileMeasure& found) const;

    /// Whether the disk of its old place is not there, so that it may be on it still. Blocks.
    [[nodiscard]] bool isDiskOfOldAway(const Files& files) const;
    bool operator==(const Pair&) const = default;
    template <class V, class S>
    static void describe(V& v, S& pair);
  };

  int version = currentVersion;
  std::string id;
  std::vector<Pair> pairs;
  std::vector<JSONValue> unreadPairs;  ///< kept for a build that can read them
  json::Object extra;

  /// True when nothing is left to be remembered.
  [[nodiscard]] bool isEmpty() const { return pairs.empty() && unreadPairs.empty(); }

  struct None {};
  struct Unreadable {
    std::string reason;
  };
  /// What was found on disk. What a newer build wrote is unreadable.
  using Read = std::variant<RelocationJournal, None, Unreadable>;
  [[nodiscard]] static Read read(const Files& files, const LibraryPaths& paths);

  /// Replaces the journal on disk, or removes it when it is empty; safe against a power cut.
  [[nodiscard]] Result<void> write(Files& files, const LibraryPaths& paths) const;

  /// The name under which a file is copied into the folder of its new place before it gets its own.
  [[nodiscard]] Path temporaryFor(const Pair& pair) const;

  /// Removes the half copies of moves that were cut short, and forgets those that have not got
  /// their own names. To be called before `resolve`: what a disk that was silent may yet make of
  /// one comes to nothing without it. Blocks; any thread.
  void removeTemporaries(Files& files);

  /// What became of the pairs.
  struct Resolution {
    std::map<std::string, std::string> moved;  ///< old path to new path
    std::vector<std::string> surplus;  ///< originals to be removed once the index names the copies
    std::vector<Pair> inDoubt;         ///< of which those that stay are not certain to be originals
    std::vector<Pair> undecided;       ///< a disk is away that would tell, or has the original
    std::vector<Pair> unnamed;         ///< of no entry
    std::vector<std::string> unmoved;  ///< old paths of files that are still there
  };

  /// `named` are the paths that the entries keep. A file counts as moved when it is known to be the
  /// very file: by its number where a rename does it, by what the journal says of the copy between
  /// file systems. Where a disk has numbered its files anew, so that the old place has that number
  /// no longer, size and time tell. Whatever else is in the new place, alike or not, is somebody
  /// else's. Blocks; any thread.
  [[nodiscard]] Resolution resolve(const Files& files,
                                   const std::unordered_set<std::string>& named) const;
};

VT_JSON_RECORD_DECLARATION(RelocationJournal::Pair);

}  // namespace vantorel
