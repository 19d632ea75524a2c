#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "library/doubtful_names.hpp"
#include "library/known_files.hpp"
#include "library/library_paths.hpp"
#include "library/noted_place.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/clock.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Names the files that rewrites under way have made or are making, so that what one that was cut
/// short leaves is known for ours and goes. Blocks; lives on one runner at a time.
class RewriteJournal {
 public:
  RewriteJournal(Files& files, LibraryPaths paths, const Clock& clock)
      : files_(files), paths_(std::move(paths)), clock_(clock) {}

  struct Item {
    std::string id;
    std::string old;  ///< the entry's file before
    std::optional<FileMark> oldFile{};

    /// A new file beside it, noted before it gets this name.
    std::optional<std::string> made{};
    std::optional<FileMark> madeFile{};

    /// What is about to be put in the old file's place, in bytes.
    std::optional<std::int64_t> newSize{};

    /// Where the old file is kept, in the library's own folder.
    std::optional<std::string> original{};
    json::Object extra{};

    template <class V, class S>
    static void describe(V& v, S& item);
  };

  /// Clears up after earlier rewrites whose disk did not answer then. To be called before `begin`.
  void settle(const EntryList& entries);

  /// Before anything is written. Fails with `unreachable` while it is not known what came of an
  /// earlier rewrite of this entry, or the original might go again.
  [[nodiscard]] Result<void> begin(const std::string& id, const Path& old,
                                   const std::optional<Path>& original);

  /// Before the file at `temporary`, which is whole, gets the name `made`.
  [[nodiscard]] Result<void> willMake(const std::string& id, const Path& made,
                                      const Path& temporary);

  /// Before so many bytes are put in the old file's place.
  [[nodiscard]] Result<void> willReplace(const std::string& id, std::uint64_t bytes);

  /// One of the two files of a rewrite that is not needed and could not be removed, or is not
  /// certainly the one. That is tried again whenever the journal is; until then it is nobody's new
  /// capture.
  struct Left {
    std::string path;
    FileMark file;  ///< what was changed since stays

    /// The other of the two, by which a disk is known that numbers its files anew.
    std::optional<std::string> other{};
    std::optional<FileMark> otherFile{};
    std::string reason{};
    json::Object extra{};

    template <class V, class S>
    static void describe(V& v, S& left);
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
  void writeOrWarn();
  void learnEarlier();
  void learn(std::string_view journal);
  [[nodiscard]] Result<void> putBack(const Item& item);
  void clearUp(std::vector<Item> items, const EntryList& entries);
  struct Named;
  [[nodiscard]] Result<void> clearUp(const Item& item, Named& named);
  [[nodiscard]] Result<void> clearOriginal(const Item& item, NotedPlace old, Named& named);
  void leave(Left left);
  [[nodiscard]] Result<void> clearHalf(const Path& path);
  [[nodiscard]] Result<void> clear(const Path& path, const std::optional<FileMark>& ofDisk = {});
  [[nodiscard]] Result<void> remove(const Path& path, const std::optional<FileMark>& ofDisk = {});
  [[nodiscard]] Result<void> removeOrWarn(const Path& path,
                                          const std::optional<FileMark>& ofDisk = {});
  void retryLeft(KnownFiles& named);

  Files& files_;
  LibraryPaths paths_;
  const Clock& clock_;
  std::vector<Item> items_;
  std::vector<Item> unsettled_;  // their disk did not answer
  std::vector<Left> left_;
  DoubtfulNames doubtful_;
  json::Object extra_;
  bool knowsEarlier_ = false;  // what an earlier run has left, too
};

VT_JSON_RECORD_DECLARATION(RewriteJournal::Item);
VT_JSON_RECORD_DECLARATION(RewriteJournal::Left);

/// The files that rewrites under way need, as the journal on disk has them. Blocks; any thread.
[[nodiscard]] std::vector<Path> filesOfRewrites(const Files& files, const LibraryPaths& paths);

/// Those of them in whose place a rewrite has put a smaller one. Blocks; any thread.
[[nodiscard]] std::set<Path> filesReplacedInPlace(const Files& files, const LibraryPaths& paths);

/// Those of `RewriteJournal::Left` that are still there, as the journal on disk has them. Blocks;
/// any thread.
[[nodiscard]] std::vector<Path> replacedFilesLeft(const Files& files, const LibraryPaths& paths);

/// Names that rewrites removed, as the journal on disk has them. Blocks; any thread.
[[nodiscard]] DoubtfulNames doubtfulNamesOfRewrites(const Files& files, const LibraryPaths& paths);

/// The name under which a new file for `old` is written before it is whole.
[[nodiscard]] Path rewriteTemporary(const Path& old);

}  // namespace vantorel
