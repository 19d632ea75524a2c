#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "base/json_record.hpp"
#include "library/doubtful_names.hpp"
#include "library/library_paths.hpp"
#include "library/relocation_journal.hpp"
#include "platform/files.hpp"
#include "platform/trash.hpp"

namespace vantorel {

/// What moves left in the folders they were to empty, kept beside the index.
struct RelocationLeftovers {
  /// Their captures were to move and did not: the next move takes them, wherever captures are filed
  /// by then.
  std::set<std::string> folders;

  /// Moved, and the file at the old place could not be removed, or is not certain to be the one
  /// that moved.
  std::vector<RelocationJournal::Pair> copied{};

  /// Where moves removed files.
  DoubtfulNames doubtful{};

  json::Object extra{};

  /// Empty when there is no such file, or none that can be read.
  [[nodiscard]] static RelocationLeftovers read(const Files& files, const LibraryPaths& paths);

  /// Replaces the file, or removes it when nothing is left.
  [[nodiscard]] Result<void> write(Files& files, const LibraryPaths& paths) const;

  /// Whether an entry has a file of this path.
  using IsNamed = std::function<bool(const std::string& path)>;

  /// Of `copied`, those whose file at the old place is still there, each with the path it has now:
  /// they may have got other names, and other numbers as well. A capture that moved back may look
  /// like what it left. Blocks.
  [[nodiscard]] std::vector<RelocationJournal::Pair> remaining(const Files& files,
                                                               const IsNamed& isNamed) const;

  /// What is to be remembered of `copied`: those, and what is in folders that are away. Blocks.
  [[nodiscard]] std::vector<RelocationJournal::Pair> notKnownGone(const Files& files,
                                                                  const IsNamed& isNamed) const;

  void addFolderOf(const Path& file) { folders.insert(file.parent_path().string()); }

  bool operator==(const RelocationLeftovers&) const = default;
};

/// Removes what moved and stayed (`RelocationLeftovers::remaining`), and remembers what still does.
/// What was changed since it moved is nowhere else, and what has another number may be somebody's
/// copy: that goes to the Trash. Answers the paths of what has gone. Blocks; while no move runs.
[[nodiscard]] std::vector<std::string> removeCopiesLeft(
    Files& files, Trash& trash, const LibraryPaths& paths,
    const std::vector<RelocationJournal::Pair>& copies);

}  // namespace vantorel
