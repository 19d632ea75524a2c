#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/alive.hpp"
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
/// However the program ends, a file is either in the library with its entry or in the Trash: files
/// move while the index has their entries, and a journal names the entries whose files are moving.
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

  /// After loading: takes entries out whose files an earlier run had just moved to the Trash, or
  /// not yet brought back from it, when it ended, and offers again the undo of a deletion whose
  /// eight seconds are not over. `done` comes when the index says so too.
  void recover(std::move_only_function<void()> done);

  enum class Undo { offered, none };

  /// Moves the entries' files and originals to the Trash, takes the entries out of the library, and
  /// writes the index. Entries whose files cannot be moved stay. With `offered` the batch can be
  /// undone for eight seconds; a newer one replaces it.
  void trash(const std::vector<std::string>& ids, Undo undo,
             std::move_only_function<void(TrashSweep)> done);

  /// The batch that can be undone now.
  [[nodiscard]] const std::optional<RemovedBatch>& pendingUndo() const { return pendingUndo_; }

  /// Told when a batch can be undone, and when it no longer can.
  std::function<void()> onPendingUndoChange;

  /// Puts the pending batch back: entries at their old places and in their collections, files back
  /// from the Trash. Entries whose files are gone stay away; those whose files could not be put
  /// back can be undone again.
  void undo(std::move_only_function<void(UndoOutcome)> done);

  /// Takes the entries out of the library and leaves their files where they are. An original that
  /// only the library knew, in "Redacted Originals", goes to the Trash. Answers how many went.
  void forget(const std::vector<std::string>& ids,
              std::move_only_function<void(Result<std::size_t>)> done);

  /// Calls `done` when nothing that was begun waits for the disk any more.
  void settle(std::move_only_function<void()> done);

  /// Whether a deletion or an undo is under way: its journal is in use.
  [[nodiscard]] bool isBusy() const { return isBusy_; }

 private:
  struct ForgetCandidate {
    EntryPointer entry;
    std::optional<Path> sequesteredOriginal;
  };

  using Operation = std::move_only_function<void()>;

  void enqueue(Operation operation);
  void startNext();
  void end(Operation answer);
  void trashNow(const std::vector<std::string>& ids, Undo undo,
                std::move_only_function<void(TrashSweep)> done);
  void undoNow(std::move_only_function<void(UndoOutcome)> done);
  void journal(const std::vector<std::string>& ids);
  void release(const std::vector<std::string>& ids, bool isSaved);
  void writeJournal();
  void finishTrash(TrashSweep sweep, const std::vector<std::string>& claimed, Undo undo,
                   std::move_only_function<void(TrashSweep)> done);
  void putBack(RemovedBatch batch, std::move_only_function<void(UndoOutcome)> done);
  void restoreFiles(RemovedBatch batch, UndoOutcome outcome,
                    std::move_only_function<void(UndoOutcome)> done);
  void finishUndo(const RemovedBatch& tried, const std::vector<HistoryTrash::Restored>& all,
                  UndoOutcome outcome, std::move_only_function<void(UndoOutcome)> done);
  void offerUndo(RemovedBatch batch);
  void offerUndoUntil(RemovedBatch batch, std::chrono::nanoseconds left);
  void offerAgain(std::optional<PendingUndo> pending);
  void withdrawUndo();
  void forgetPendingUndo();
  [[nodiscard]] std::string freePath(const std::string& wanted) const;
  [[nodiscard]] std::vector<TrashCandidate> candidates(const EntryList& going) const;

  Services services_;
  std::shared_ptr<HistoryTrash> trash_;

  /// Why the last journal could not be written. Lives on the work runner.
  std::shared_ptr<std::optional<std::string>> journalFailure_ =
      std::make_shared<std::optional<std::string>>();
  std::optional<RemovedBatch> pendingUndo_;
  std::map<std::string, EntryClaim> claims_;
  std::set<std::string> journalled_;
  std::deque<Operation> waiting_;
  bool isBusy_ = false;
  Alive undoTimer_;
  Alive alive_;
};

}  // namespace vantorel
