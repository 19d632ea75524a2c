#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/alive.hpp"
#include "library/deletion_journal.hpp"
#include "library/history_store.hpp"
#include "library/history_trash.hpp"
#include "library/pending_undo.hpp"
#include "platform/clock.hpp"

namespace vantorel {

/// What a deletion came to.
struct TrashSweep {
  struct Failure {
    std::string id;
    std::string reason;
  };
  std::vector<RemovedEntry> removed;
  std::vector<Failure> failures;
  std::set<std::string> attempted;
  std::optional<std::string> indexNotSaved;  ///< the files moved, but the index was not written
};

/// What an undo came to.
struct UndoOutcome {
  std::vector<std::string> restored;  ///< ids that are back in the library
  std::vector<TrashSweep::Failure> failures;
  std::optional<std::string> indexNotSaved;
};

/// "12 captures deleted".
[[nodiscard]] std::string deletedFeedback(std::size_t count);

/// Takes entries out of the library: to the Trash with an undo, by age, or out of History alone.
/// One thing after the other: an undo waits for the deletion it undoes. Lives on the main runner;
/// files move on `work`.
///
/// However the program ends, a file is either in the library with its entry or in the Trash, and an
/// undo is either still to be had or done: a journal names the entries whose files are moving, and
/// the next run carries on what was cut short.
class HistoryDeletion {
 public:
  static constexpr std::chrono::seconds undoWindow{8};

  struct Services {
    HistoryStore& store;
    Files& files;
    Trash& trash;
    const Clock& clock;
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< a serial queue on which moves block
  };

  explicit HistoryDeletion(Services services);

  /// After loading: carries on a deletion or an undo that an earlier run did not end, and offers
  /// again the undo of a deletion whose eight seconds are not over. `done` comes when the index
  /// says so too.
  void recover(std::move_only_function<void()> done);

  enum class Undo { offered, none };

  /// Moves the entries' files and originals to the Trash, takes the entries out of the library, and
  /// writes the index. Entries whose files cannot be moved stay. With `offered` the batch can be
  /// undone for eight seconds; a newer one replaces it.
  void trash(const std::vector<std::string>& ids, Undo undo,
             std::move_only_function<void(const TrashSweep&)> done);

  /// The batch that can be undone now.
  [[nodiscard]] const std::optional<RemovedBatch>& pendingUndo() const { return pendingUndo_; }

  /// Told when a batch can be undone, and when it no longer can.
  std::function<void()> onPendingUndoChange;

  /// Puts the pending batch back: entries at their old places and in their collections, files back
  /// from the Trash. Entries whose files are gone stay away; those whose files could not be put
  /// back, and all of them when the index cannot be saved, can be undone again.
  void undo(std::move_only_function<void(UndoOutcome)> done);

  /// Takes the entries out of the library and leaves their files where they are. An original that
  /// only the library knew goes to the Trash. Those that somebody has stay. Answers how many went.
  /// With `kept`, originals of changed captures stay for files that may come back; what Smart
  /// Redact put aside goes all the same.
  enum class Originals { discarded, kept };
  void forget(const std::vector<std::string>& ids,
              std::move_only_function<void(Result<std::size_t>)> done,
              Originals originals = Originals::discarded);

  /// Calls `done` when nothing that was begun waits for the disk any more.
  void settle(std::move_only_function<void()> done);

  /// Whether a deletion or an undo is under way: its journal is in use.
  [[nodiscard]] bool isBusy() const { return isBusy_; }

 private:
  using Operation = std::move_only_function<void()>;

  /// What an earlier run had in hand.
  struct Found {
    DeletionJournal journal;
    std::vector<RemovedEntry> removed;
    std::optional<PendingUndo> pending;
  };
  /// What came of moving the files of a deletion.
  struct Moved {
    std::vector<RemovedEntry> removed{};
    RemovedBatch batch{};  // the same, to be undone
    std::vector<TrashSweep::Failure> failures{};
    DeletionJournal journal{};
  };
  struct Sweeping {
    std::vector<std::string> ids;
    Undo undo;
    std::set<std::string> unsettled{};
    TrashSweep sweep{};
    RemovedBatch batch{};
    EntryList going{};
    DeletionJournal journal{};
    std::move_only_function<void(const TrashSweep&)> done;
    bool wasEdited = false;
  };
  struct Undoing {
    std::vector<RemovedEntry> items;    // as they were removed
    std::vector<RemovedEntry> tried;    // with the paths they are to have
    std::vector<std::string> inserted;  // ids
    std::vector<HistoryTrash::Restored> restored;
    bool wasBegun = false;  // by an earlier run
    RemovedBatch again;
    UndoOutcome outcome;
    std::move_only_function<void(UndoOutcome)> done;
  };
  struct Forgetting {
    std::vector<std::string> ids;
    EntryList going;
    DeletionJournal journal;
    std::move_only_function<void(Result<std::size_t>)> done;
    Originals originals = Originals::discarded;
  };

  void enqueue(Operation operation);
  void startNext();
  void recoverNow(std::move_only_function<void()> done);
  void end(Operation answer);

  template <class Value>
  void onWork(std::move_only_function<Value()> job, std::move_only_function<void(Value)> then);

  /// Calls `slice` with one run of [0, count) after the other, and lets the main runner do other
  /// things in between.
  void inSlices(std::size_t count, std::move_only_function<void(std::size_t, std::size_t)> slice,
                Operation then);

  [[nodiscard]] static Found lookForUnfinished(const Files& files, const LibraryPaths& paths,
                                               HistoryTrash& trash, const EntryList& entries);
  [[nodiscard]] bool offerRemoved(Found& found) const;
  void finishRecovery(Found found, bool isSaved, std::move_only_function<void()> done);
  static void discard(Trash& trash, const std::vector<std::string>& surplus,
                      const EntryList& entries);
  void clearJournal(bool isSaved, const DeletionJournal& current);

  void claimSome(Sweeping& state, std::size_t begin, std::size_t end);
  void moveToTrash(const std::shared_ptr<Sweeping>& state);
  void removeSome(Sweeping& state, std::size_t begin, std::size_t end);
  void keepUndo(const std::shared_ptr<Sweeping>& state);
  void finishTrash(const std::shared_ptr<Sweeping>& state, const Result<void>& saved);

  void offerUndo(RemovedBatch batch);
  void offerUndoFor(std::chrono::nanoseconds left, RemovedBatch batch);
  void offerAgain(std::optional<PendingUndo> pending);
  void forgetPendingUndo();

  void undoNow(bool wasBegun, std::move_only_function<void(UndoOutcome)> done);
  void beginUndo(const std::shared_ptr<Undoing>& state);
  void insertSome(Undoing& state, std::size_t begin, std::size_t end);
  void giveUpUndo(const std::shared_ptr<Undoing>& state, const std::string& reason);
  void restoreFiles(const std::shared_ptr<Undoing>& state);
  void adoptSome(Undoing& state, std::size_t begin, std::size_t end);
  void finishUndo(const std::shared_ptr<Undoing>& state, const Result<void>& saved);

  void noteSurplus(const std::shared_ptr<Forgetting>& state);
  void finishForget(const std::shared_ptr<Forgetting>& state, const Result<void>& saved);

  Services services_;
  std::shared_ptr<HistoryTrash> trash_;
  std::optional<RemovedBatch> pendingUndo_;
  DeletionJournal unsaved_;         // of deletions whose end is not in the index on disk
  std::vector<EntryClaim> claims_;  // of the operation under way
  std::deque<Operation> waiting_;
  bool isBusy_ = false;
  Alive undoTimer_;
  Alive alive_;
};

}  // namespace vantorel
