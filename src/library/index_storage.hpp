#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "library/entry_caches.hpp"
#include "library/history_index_file.hpp"
#include "library/index_salvage.hpp"
#include "library/library_paths.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What became of reading the index at launch.
enum class IndexLoad {
  absent,      ///< there is none yet
  read,        ///< read; the library is what it says
  parked,      ///< it made no sense; a copy lies beside it and the library starts empty
  notParked,   ///< it made no sense and could not be copied: not written this run
  newer,       ///< made by a newer build: not written this run
  unreadable,  ///< it could not be read, or is no file of this user: not written this run
  inUse,       ///< another process has the library: nothing is known of it yet
};

/// Whether the index may be written after such a load.
[[nodiscard]] bool allowsWrites(IndexLoad load);

/// An index that somebody else put in the place of the one in use: a backup, a synchroniser, an
/// editor.
struct ForeignIndex {
  IndexLoad load = IndexLoad::read;  ///< what it is; `inUse`: of who had the library meanwhile
  std::string keptAs;                ///< file name of its copy; empty when it stays where it is

  [[nodiscard]] std::string sentence() const;
};

/// One change of the list, in the order they were made. Positions are those at that moment.
struct IndexChange {
  struct Insert {
    /// Ascending positions, those that the entries have afterwards.
    std::vector<std::pair<std::size_t, EntryPointer>> entries;
  };
  struct Replace {
    std::size_t position = 0;
    EntryPointer entry;
  };
  struct Remove {
    std::vector<std::size_t> positions;  ///< ascending
  };
  struct Collections {
    std::vector<HistoryCollection> all;
  };

  std::variant<Insert, Replace, Remove, Collections> value;
};

template <class Item>
void insertAt(std::vector<Item>& list, std::vector<std::pair<std::size_t, Item>> added) {
  if (added.size() == 1) {
    const auto place = list.begin() + static_cast<std::ptrdiff_t>(added[0].first);
    list.insert(place, std::move(added[0].second));
    return;
  }
  std::vector<Item> merged;
  merged.reserve(list.size() + added.size());
  auto old = list.begin();
  for (auto& [position, item] : added) {
    while (merged.size() < position && old != list.end()) merged.push_back(std::move(*old++));
    merged.push_back(std::move(item));
  }
  merged.insert(merged.end(), std::make_move_iterator(old), std::make_move_iterator(list.end()));
  list = std::move(merged);
}

template <class Item>
void removeAt(std::vector<Item>& list, const std::vector<std::size_t>& positions) {
  auto next = positions.begin();
  std::size_t kept = 0;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (next != positions.end() && *next == i) {
      ++next;
      continue;
    }
    if (kept != i) list[kept] = std::move(list[i]);
    ++kept;
  }
  list.resize(kept);
}

/// The index on disk. Keeps the library as the index has it, follows changes and writes. Blocks:
/// lives on the persist runner.
class IndexStorage {
 public:
  /// `userID` is the user this process runs as.
  IndexStorage(Files& files, LibraryPaths paths, std::uint32_t userID);
  ~IndexStorage();

  struct Loaded {
    IndexLoad load = IndexLoad::absent;
    EntryList entries;
    EntryCaches caches;  ///< of the entries
    std::vector<HistoryCollection> collections;
    std::size_t unreadCount = 0;           ///< items kept for a build that can read them
    std::vector<std::string> unreadPaths;  ///< of the files that those name
    bool changedByReading = false;         ///< the entries are not all as the file has them
    std::optional<IndexDamage> damage;     ///< of an index that was parked
    std::string unreadReason;              ///< why it could not be read, a clause; or empty
    std::string hindrance;                 ///< why it is no file of ours, and what helps; or empty
    std::vector<Path> leftovers;  ///< of an earlier run: half files that were cleared, journals
  };

  /// Takes the library's lock. `busy` when another process has it.
  [[nodiscard]] Result<void> takeLock();

  /// Gives the library to the next process. Nothing may be written afterwards.
  void giveLockBack() { lock_.reset(); }

  /// Reads the index, or says why not. Logs what the user's support would ask for.
  [[nodiscard]] Loaded load();

  /// The same without the lock and without any change of the disk, for `load` as the reason why:
  /// what another process writes meanwhile is there whole, before or after.
  [[nodiscard]] Loaded loadToLook(IndexLoad load);

  void apply(std::vector<IndexChange> changes);

  /// Writes the whole index in one step; readers see the old or the new one, also after a power
  /// cut. Entries that did not change since the last reading or writing are not encoded: their text
  /// is copied from the index as it was: one change among 100,000 entries (155 MB) takes 0.19 s and
  /// 85 ms of CPU until it is safely on disk, against 0.98 s and 816 ms with all of them encoded.
  /// What somebody else put in the index's place since we last read or wrote it is kept beside it
  /// first; when it may not be written over, this fails. Neither kept nor written over is what
  /// another process wrote while the lock was lost with the process that served the disk: then the
  /// lock is given back, and the library has to be opened again.
  [[nodiscard]] Result<void> write();

  /// Whether the index that was last read or written is no longer on disk, nor another one that
  /// makes sense.
  [[nodiscard]] bool isLost() const;

  /// What the last writes found in the index's place that was not ours.
  [[nodiscard]] std::vector<ForeignIndex> takeForeign() { return std::exchange(foreign_, {}); }

 private:
  /// An entry, and where its text stands in `content_`; a length of 0 when it stands nowhere.
  struct Item {
    EntryPointer entry;
    TextRun run;
  };

  [[nodiscard]] std::array<Path, 4> ownFiles() const;
  /// Answers what was removed.
  std::optional<Path> clearStaging(const Path& path);
  void makeOwnerOnly();
  [[nodiscard]] std::string hindranceOf(const FileStatus& status) const;
  [[nodiscard]] Loaded readIndex();
  [[nodiscard]] Loaded decode();
  [[nodiscard]] static Loaded unreadable(const Failure& failure);
  [[nodiscard]] IndexDamage damageOf(const std::string& text) const;
  [[nodiscard]] IndexLoad park(const std::string& text, std::string_view reason);
  [[nodiscard]] bool contentIsUnchanged() const;
  [[nodiscard]] Result<void> keepForeign();
  [[nodiscard]] Result<ForeignIndex> park(const std::string& foreign);
  [[nodiscard]] bool isAsWritten(const std::string& text) const;
  /// Whether what was open there went with the process that served its disk, and the lock with it:
  /// it was taken anew, and somebody may have had it in between.
  [[nodiscard]] bool lockMayHaveBeenLost() const;
  void forgetRuns();

  Files& files_;
  LibraryPaths paths_;
  std::uint32_t userID_;
  bool onlyLooks_ = false;
  std::unique_ptr<FileLock> lock_;
  std::vector<Item> items_;
  HistoryIndexFile rest_;  // without entries
  std::shared_ptr<FileContent> content_;
  FileStatus contentStatus_;
  std::optional<FileStatus> inPlace_;  // what the index's name led to when last read or written
  std::vector<ForeignIndex> foreign_;
};

}  // namespace vantorel
