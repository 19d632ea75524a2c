#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "library/known_files.hpp"
#include "library/library_paths.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Names the files that rewrites under way have made or are making, so that what one that was cut
/// short leaves is known for ours and goes. Blocks; lives on one runner at a time.
class RewriteJournal {
 public:
  RewriteJournal(Files& files, LibraryPaths paths) : files_(files), paths_(std::move(paths)) {}

  struct Item {
    std::string id;
    std::string old;  ///< the entry's file before
    std::optional<std::string> oldInode{};

    /// A new file beside it, noted before it gets this name.
    std::optional<std::string> made{};
    std::optional<std::string> madeInode{};

    /// Where the old file is kept, in the library's own folder.
    std::optional<std::string> original{};
  };

  /// Clears up after earlier rewrites whose disk did not answer then. To be called before `begin`.
  void settle(const EntryList& entries);

  /// Before anything is written. Fails with `unreachable` while it is not known what came of an
  /// earlier rewrite of this entry.
  [[nodiscard]] Result<void> begin(const std::string& id, const Path& old,
                                   const std::optional<Path>& original);

  /// Before a file with this inode gets the name `made`.
  [[nodiscard]] Result<void> willMake(const std::string& id, const Path& made, std::uint64_t inode);

  /// A file that was replaced by a new one beside it and could not be removed. That is tried again
  /// whenever the journal is; until then it is nobody's new capture.
  struct Left {
    std::string path;
    FileIdentity file;  ///< what was changed since stays
    std::string reason{};
  };

  struct Ended {
    std::optional<Left> left{};
    bool isUnsettled = false;  ///< its disk did not answer: new files may be there, or appear
  };

  /// The index on disk says what came of it, or nothing came of it: clears up. Answers what stays
  /// of this rewrite.
  Ended end(const std::string& id, const EntryList& entries);

  /// At the start: clears up after an earlier run.
  void recover(const EntryList& entries);

 private:
  [[nodiscard]] Result<void> write();
  void learnEarlier();
  void learn(std::string_view journal);
  [[nodiscard]] Result<void> putBack(const Item& item);
  void clearUp(std::vector<Item> items, const EntryList& entries);
  struct Named;
  [[nodiscard]] Result<void> clearUp(const Item& item, Named& named);
  [[nodiscard]] Result<void> clear(const Path& path);
  [[nodiscard]] Result<void> remove(const Path& path);
  void retryLeft(KnownFiles& named);

  Files& files_;
  LibraryPaths paths_;
  std::vector<Item> items_;
  std::vector<Item> unsettled_;  // their disk did not answer
  std::vector<Left> left_;
  bool knowsEarlier_ = false;  // what an earlier run has left, too
};

/// The files that rewrites under way need, as the journal on disk has them. Blocks; any thread.
[[nodiscard]] std::vector<Path> filesOfRewrites(const Files& files, const LibraryPaths& paths);

/// Those of `RewriteJournal::Left` that are still there, as the journal on disk has them. Blocks;
/// any thread.
[[nodiscard]] std::vector<Path> replacedFilesLeft(const Files& files, const LibraryPaths& paths);

/// The name under which a new file for `old` is written before it is whole.
[[nodiscard]] Path rewriteTemporary(const Path& old);

}  // namespace vantorel
