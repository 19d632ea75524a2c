#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/result.hpp"
#include "base/task_runner.hpp"
#include "library/entry_caches.hpp"
#include "library/entry_claim.hpp"
#include "library/index_writer.hpp"
#include "library/library_paths.hpp"
#include "library/records/history_collection.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/clock.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What the library works with. `persist` is a serial queue on which index writes block.
struct HistoryServices {
  Files& files;
  const Clock& clock;
  std::shared_ptr<TaskRunner> main;
  std::shared_ptr<TaskRunner> persist;
  std::uint32_t userID = 0;  ///< the user this process runs as
};

/// What an observer of the library is told.
struct HistoryChange {
  struct Update {
    EntryPointer before;
    EntryPointer after;
  };
  EntryList added{};
  std::vector<Update> updated{};
  EntryList removed{};
  bool collections = false;
  bool loaded = false;  ///< the library has been read: everything may have changed
};

/// An entry together with its place in the list.
struct PlacedEntry {
  std::size_t index = 0;
  EntryPointer entry;
};

/// The library in memory: the only owner of its entries and collections. Every change is here at
/// once and on disk a moment later. Lives on the main runner.
///
/// Nothing can be changed before the index has been loaded. When the index could not be read, or a
/// newer build wrote it, the library works for this run and is not written: `indexRefusal` says so.
class HistoryStore {
 public:
  using Done = IndexWriter::Done;

  HistoryStore(HistoryServices services, LibraryPaths paths);
  ~HistoryStore();
  HistoryStore(const HistoryStore&) = delete;
  HistoryStore& operator=(const HistoryStore&) = delete;

  // Loading.

  /// Takes the library's lock (waiting up to a minute for another process to end) and reads the
  /// index, on the persist runner. `done` is called once, when the entries are here or the wait was
  /// in vain. Once, but again after `IndexLoad::inUse`, and then without waiting; what another
  /// process still has is then read anew for `looks` alone.
  void load(std::move_only_function<void()> done, bool looks = false);

  /// Who has the library that `load` waits for, "process 1234 (vantorel)"; nothing while it does
  /// not wait.
  [[nodiscard]] const std::optional<std::string>& awaitedHolder() const { return awaitedHolder_; }

  /// Told at each look that `load` takes in vain while it waits.
  std::function<void()> onHeld;

  /// `load` waits no longer: another process's library is read, and not written.
  void stopWaiting() { mayWait_ = false; }

  [[nodiscard]] bool isLoaded() const { return loadOutcome_.has_value(); }

  /// What loading came to; nothing before.
  [[nodiscard]] std::optional<IndexLoad> loadOutcome() const { return loadOutcome_; }

  /// True when the entries are those of the user's index (or there was none yet). Otherwise files
  /// that look as if no entry stood for them may well have one, and are left alone.
  [[nodiscard]] bool indexWasReadFromDisk() const;

  /// The files of items that the index keeps for a build that can read them: in no list here, and
  /// nobody else's either.
  [[nodiscard]] const std::vector<std::string>& unreadPaths() const { return unreadPaths_; }

  /// What lay beside the index at loading: half files, cleared by now, and the journals of what an
  /// earlier run did not end, which go when it has been made up for.
  [[nodiscard]] const std::vector<Path>& leftovers() const { return leftovers_; }

  /// Why the index cannot be written: "the index hasn't finished loading", "the index can't be
  /// written this run"; nothing when it can.
  [[nodiscard]] std::optional<std::string> indexRefusal() const { return writer_.refusal(); }

  /// What stands in the index's place that is not a file of this user, and what helps, in
  /// sentences; empty otherwise.
  [[nodiscard]] const std::string& indexHindrance() const { return indexHindrance_; }

  [[nodiscard]] const LibraryPaths& paths() const { return paths_; }

  /// Who has which entry now.
  [[nodiscard]] EntryClaims& claims() { return claims_; }
  [[nodiscard]] const EntryClaims& claims() const { return claims_; }

  // Reading. Pointers stay valid and unchanged for as long as they are held.

  /// In the order they were added.
  [[nodiscard]] const EntryList& entries() const { return entries_; }
  [[nodiscard]] const std::vector<HistoryCollection>& collections() const { return collections_; }
  [[nodiscard]] const EntryList& newestFirst() const { return caches_.newestFirst(); }
  [[nodiscard]] const CollectionMembership& membersOf(std::string_view collectionID) const {
    return caches_.membersOf(collectionID);
  }

  /// Null when there is none.
  [[nodiscard]] EntryPointer find(std::string_view id) const { return caches_.byID(id); }
  [[nodiscard]] EntryPointer findByPath(std::string_view path) const {
    return caches_.byPath(path);
  }
  [[nodiscard]] EntryPointer newest() const;

  /// What a person wrote to name an entry: a whole id, the beginning of just one, or "latest".
  [[nodiscard]] Result<EntryPointer> resolve(std::string_view text) const;

  /// Null when there is none. Valid until the next change.
  [[nodiscard]] const HistoryCollection* findCollection(std::string_view id) const;

  /// What a person wrote to name a collection: its id, or its name in any case of letters. Valid
  /// until the next change.
  [[nodiscard]] Result<const HistoryCollection*> resolveCollection(std::string_view text) const;

  // Changing. Fails only before the index has loaded, for an unknown id (`notFound`) or for an id
  // that is taken (`exists`).

  [[nodiscard]] Result<void> add(ScreenshotEntry entry);

  /// Puts a changed copy in the entry's place. `change` must leave `id` alone.
  [[nodiscard]] Result<void> update(std::string_view id,
                                    const std::function<void(ScreenshotEntry&)>& change);

  /// A changed copy of an entry as it was when somebody began to work on it.
  struct Revision {
    EntryPointer before;
    ScreenshotEntry after;
  };

  /// Puts the copies in the places of those entries that are still as they were, as one change.
  /// Does nothing before the index has loaded.
  void revise(std::vector<Revision> revisions);

  [[nodiscard]] Result<void> addCollection(HistoryCollection collection);
  [[nodiscard]] Result<void> updateCollection(
      std::string_view id, const std::function<void(HistoryCollection&)>& change);

  /// Puts the collection at that place in the user's order, or at the end.
  [[nodiscard]] Result<void> moveCollection(std::string_view id, std::size_t place);

  /// Takes the collection away, and its id from all entries.
  [[nodiscard]] Result<void> removeCollection(std::string_view id);

  /// Files the entry into the collection, or takes it out; fine when it is so already.
  [[nodiscard]] Result<void> setMembership(std::string_view id, std::string_view collectionID,
                                           bool member);

  /// Called after each change, on the main runner.
  Observation observe(std::function<void(const HistoryChange&)> observer) {
    return observers_.add(std::move(observer));
  }

  // Writing.

  /// Grows by one with each change.
  [[nodiscard]] std::uint64_t writeSequence() const { return writer_.writeSequence(); }

  /// The changes up to this one are on disk.
  [[nodiscard]] std::uint64_t landedSequence() const { return writer_.landedSequence(); }

  /// Lets other processes have the library; this one must not change it any more. `done` comes on a
  /// thread of its own: the main runner may have ended.
  void release(std::move_only_function<void()> done);

  /// Writes at once what is not on disk yet. `done` comes when all changes made so far are safe
  /// against a power cut, or with the sentence that says why not. A capture is acknowledged then.
  void flush(Done done) { writer_.flush(std::move(done)); }

  /// The same before the program ends: what only this run still has is written too, when the index
  /// on disk was removed or damaged meanwhile.
  void secure(Done done) { writer_.secure(std::move(done)); }

  /// Called when another program's index was found in the place of the one in use.
  std::function<void(const ForeignIndex&)> onForeignIndex;

  /// Called when the index turned out to be damaged while it was loaded: the library starts empty,
  /// and a copy of what was there is kept.
  std::function<void(const IndexDamage&)> onDamagedIndex;

  /// Called when another process turned out to have had the library meanwhile, and `load` is to be
  /// called again: nothing is written until then.
  std::function<void()> onTakenOver;

  /// Why the last write failed; nothing once one has landed.
  [[nodiscard]] const std::optional<std::string>& indexSaveFailure() const {
    return writer_.saveFailure();
  }

  // For the parts of the library that remove and restore.

  /// Takes entries out of the list. Unknown ids are skipped. Answers what was removed, with the
  /// places it had. Collections keep the ids in their order, so that an entry put back finds its
  /// place.
  std::vector<PlacedEntry> removeEntries(const std::vector<std::string>& ids);

  /// Puts entries back at the places they had. One whose id is taken is skipped.
  void insertEntries(std::vector<PlacedEntry> placed);

 private:
  struct LockWait {
    std::chrono::nanoseconds since;
    bool mayWait = true;
    bool looks = true;  ///< reads what it did not get
  };
  void loadWithLock(LockWait wait, std::move_only_function<void()> done);
  void lookAgain(LockWait wait, std::chrono::nanoseconds waited,
                 std::move_only_function<void()> done);
  void loadToLook(std::string holder, std::move_only_function<void()> done);
  void finishLoading(IndexStorage::Loaded loaded, std::string holder);
  [[nodiscard]] Result<void> mayChange() const;
  [[nodiscard]] std::optional<std::size_t> positionOf(const EntryPointer& entry) const;
  HistoryChange::Update replaceAt(std::size_t position, ScreenshotEntry changed);
  void collectionsChanged();

  HistoryServices services_;
  LibraryPaths paths_;
  std::shared_ptr<IndexStorage> storage_;
  IndexWriter writer_;
  std::optional<IndexLoad> loadOutcome_;
  std::optional<std::string> awaitedHolder_;
  bool mayWait_ = true;
  EntryList entries_;
  std::vector<HistoryCollection> collections_;
  EntryCaches caches_;
  std::vector<std::string> unreadPaths_;
  std::vector<Path> leftovers_;
  std::string indexHindrance_;
  Observers<HistoryChange> observers_;
  EntryClaims claims_;
  Lifetime lifetime_;
};

}  // namespace vantorel
