#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "library/doubtful_names.hpp"
#include "library/entry_paths.hpp"
#include "library/file_reach.hpp"
#include "library/known_files.hpp"
#include "library/library_paths.hpp"
#include "library/records/screenshot_entry.hpp"
#include "library/relocation_journal.hpp"
#include "library/relocation_leftovers.hpp"
#include "library/relocation_report.hpp"
#include "library/relocation_stop_flag.hpp"
#include "platform/clock.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Why captures stay where they were when the folder they move to goes away.
inline constexpr const char* targetGoneReason = "the new folder can't be reached any more";

/// Where captures are to be moved, and from where.
struct RelocationTarget {
  Path folder;                ///< absolute
  std::vector<Path> sources;  ///< folders whose captures move; those elsewhere stay
};

/// The half of a move that touches the disk: plans it, keeps its journal and moves files. Blocks;
/// lives on one serial queue, one move each.
class RelocationMover {
 public:
  RelocationMover(Files& files, LibraryPaths paths, const Clock& clock);

  /// An entry that has something to move.
  struct Capture {
    std::vector<std::size_t> pairs;  ///< places in `Plan::oldPaths`
    std::string problem;             ///< why a part of it cannot even be tried; mostly empty
  };
  struct Plan {
    std::vector<std::string> oldPaths;
    std::vector<Capture> captures;
    std::optional<RelocationRefusal> refusal;
    std::optional<std::string> problem;  ///< why nothing is to be moved
  };

  /// Finds what is to move and writes the journal. `entries` are as the index on disk has them.
  [[nodiscard]] Plan plan(const EntryList& entries, const RelocationTarget& target);

  struct Moved {
    std::size_t pair = 0;
    std::string oldPath;
    std::string newPath;
    bool isCopied = false;                   ///< the original is still there
    bool isInPlace = false;                  ///< both are names of the place it has had
    std::optional<FileIdentity> identity{};  ///< of the file at its new place
  };
  struct Batch {
    std::vector<Moved> moved;
    std::vector<std::pair<std::size_t, std::string>> failures;  ///< with the reason
  };

  /// Moves these pairs; none when the flag says stop. `moving` is called after each. The new folder
  /// is held open meanwhile: what moves cannot end up underneath the mount point of a disk that is
  /// taken away. When that happened, what this batch moved is brought back.
  [[nodiscard]] Batch move(std::span<const std::size_t> pairs, RelocationStopFlag& flag,
                           const std::function<void()>& moving);

  /// The index on disk names the new places: removes the originals of copies, and takes these pairs
  /// out of the journal, as well as `dropped`, which nobody needs any more. Answers those whose
  /// originals stay, since their copies cannot be seen any more, with what the originals are.
  std::vector<Moved> retire(const std::vector<Moved>& moved, std::span<const std::size_t> dropped);

  /// Files that were copied to another disk and could not be removed where they were.
  struct Remains {
    int files = 0;
    std::string reason;  ///< of the first one

    /// What may have moved, or be removed yet, while its disk did not answer; the journals go on
    /// naming it.
    bool hasUnanswered = false;
  };

  /// Closes the journal, but for what is not in the index yet, and notes what stays that was to
  /// move.
  Remains end();

 private:
  struct Planned {
    RelocationJournal::Pair pair;
    bool isInPlace = false;  // the new folder is the old one under another name
    bool isMoved = false;
    bool isUnanswered = false;  // it may have moved, and only a look tells
    bool staysBehind = false;   // its copy is done, and the original could not be removed
    bool isDone = false;
  };

  void findLeftovers();
  [[nodiscard]] const std::optional<FolderIdentity>& identity(const Path& folder);
  [[nodiscard]] std::optional<Path> below(const Path& folder, const Path& path);
  [[nodiscard]] bool isSamePlace(const Path& one, const Path& other);
  [[nodiscard]] std::optional<Path> relativePlace(const Path& path, const RelocationTarget& target);
  [[nodiscard]] Result<Path> freePlace(const Path& wanted);
  [[nodiscard]] Result<void> add(const std::string& path, const Path& wanted);
  [[nodiscard]] Result<void> moveOne(Planned& planned);
  void fail(std::size_t place, const Failure& failure, Batch& batch);
  [[nodiscard]] Result<void> giveName(const Path& file, RelocationJournal::Pair& pair);
  void nameCopies(std::span<const std::size_t> copied, Batch& batch);
  [[nodiscard]] Result<void> holdTarget();
  [[nodiscard]] bool isTargetThere() const;
  [[nodiscard]] Path at(const Path& newPath) const;
  void takeBack(Batch& batch);
  [[nodiscard]] Result<void> writeJournal();

  Files& files_;
  LibraryPaths paths_;
  const Clock& clock_;
  RelocationJournal journal_;  // what it holds beside `planned_` is kept for the next attempt
  std::vector<Planned> planned_;
  RelocationLeftovers leftovers_;                // of earlier moves that did not end
  RelocationLeftovers staying_;                  // of those, what cannot even be tried now
  std::vector<RelocationJournal::Pair> copied_;  // and could not be removed where they were
  std::string reasonOfStaying_;                  // of the first of those
  DoubtfulNames doubtful_;                       // of those that this move removed
  std::unordered_set<std::string> taken_;        // new paths
  KnownFiles notFree_;                           // names of files whose removal may still be made
  std::map<std::string, std::optional<FolderIdentity>> identities_;  // of folders, at planning
  Path target_;                                                      // the new folder
  std::optional<FolderLocation> targetLocation_;
  std::unique_ptr<FolderHandle> heldTarget_;  // during a batch
};

/// Succeeds when captures can be put into `folder`, which is tried; makes it when only the last
/// part of its name is missing, but not where a disk may be missing. Blocks; any thread.
[[nodiscard]] Result<void> prepareCaptureFolder(Files& files, const Path& folder);

}  // namespace vantorel
