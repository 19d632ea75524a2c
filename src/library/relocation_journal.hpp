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
    json::Object extra;

    [[nodiscard]] FileMeasure measure() const;
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

  /// The name under which a file is copied into `folder` before it gets its own.
  [[nodiscard]] Path temporaryIn(const Path& folder) const;

  /// Removes what moves that were cut short left behind: half copies, and originals of copies that
  /// the entries name by now. `named` are the paths that the entries keep. Blocks; any thread.
  void clearUp(Files& files, const std::unordered_set<std::string>& named) const;

  /// What became of the pairs.
  struct Resolution {
    std::map<std::string, std::string> moved;  ///< old path to new path
    std::vector<Pair> undecided;               ///< not moved, as far as can be told
  };

  /// `named` are the paths that the entries keep. What has the new place's name without having been
  /// moved there is somebody else's: a file of an entry that names it, or one whose old file is
  /// still there though a move on one file system would have taken it. Blocks; any thread.
  [[nodiscard]] Resolution resolve(const Files& files,
                                   const std::unordered_set<std::string>& named) const;
};

VT_JSON_RECORD_DECLARATION(RelocationJournal::Pair);

}  // namespace vantorel
