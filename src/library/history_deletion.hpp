#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/observers.hpp"
#include "library/deletion_outcome.hpp"
#include "library/deletion_queue.hpp"
#include "library/deletion_recovery.hpp"
#include "library/deletion_undo.hpp"

namespace vantorel {

/// "12 captures deleted".
[[nodiscard]] std::string deletedFeedback(std::size_t count);

/// Takes entries out of the library: to the Trash with an undo, by age, or out of History alone.
/// One thing after the other: an undo waits for the deletion it undoes. Lives on the main runner;
/// files move on `work`.
///
/// However the program ends, a file is either in the library with its entry or in the Trash, and an
/// undo is either still to be had or done: a journal names the entries whose files are moving, and
/// the next run carries on what was cut short. Where a disk did not answer, and nobody knows what
/// came of it, this run does so itself, every now and then and before anything else is begun.
class HistoryDeletion {
 public:
  using Services = DeletionQueue::Services;

  explicit HistoryDeletion(Services services);

  /// After loading: carries on a deletion or an undo that an earlier run did not end, and offers
  /// again the undo of a deletion whose eight seconds are not over. `done` comes when the index
  /// says so too.
  void recover(std::move_only_function<void()> done);

  enum class Undo { offered, none };

  /// Moves the entries' files and originals to the Trash, takes the entries out of the library, and
  /// writes the index. Entries whose files cannot be moved stay. With `offered` the batch can be
  /// undone for eight seconds; a newer one replaces it.
  void trash(std::vector<std::string> ids, Undo undo,
             std::move_only_function<void(const TrashSweep&)> done);

  /// The batch that can be undone now.
  [[nodiscard]] const std::optional<RemovedBatch>& pendingUndo() const { return undo_.pending(); }

  /// Until when, on the clock that never jumps; while there is one.
  [[nodiscard]] std::chrono::nanoseconds undoEnds() const { return undo_.ends(); }

  /// Told when a batch can be undone, and when it no longer can.
  Observation observeUndo(std::function<void()> observer) {
    return undoObservers_.add(std::move(observer));
  }

  /// Puts the pending batch back: entries at their old places and in their collections, files back
  /// from the Trash. Entries whose files are gone stay away; those whose files could not be put
  /// back, and all of them when the index cannot be saved, can be undone again.
  void undo(std::move_only_function<void(UndoOutcome)> done);

  /// Takes the entries out of the library and leaves their files where they are. An original that
  /// only the library knew goes to the Trash. Those that somebody has stay. Answers how many went.
  /// With `kept`, for entries whose files went: originals of changed captures stay for files that
  /// may come back, while what Smart Redact put aside goes all the same; and those that are open in
  /// Annotate go too, for the window has the picture, and can say so in time.
  enum class Originals { discarded, kept };
  void forget(const std::vector<std::string>& ids,
              std::move_only_function<void(Result<std::size_t>)> done,
              Originals originals = Originals::discarded);

  /// Calls `done` when nothing that was begun waits for the disk any more.
  void settle(std::move_only_function<void()> done) { queue_.settle(std::move(done)); }

  /// Whether a deletion or an undo is under way: its journal is in use.
  [[nodiscard]] bool isBusy() const { return queue_.isBusy(); }

 private:
  struct Sweeping;
  struct Forgetting;

  void settleFirst();
  void lookAgainLater();

  void claimSome(Sweeping& state, std::size_t begin, std::size_t end);
  void moveToTrash(const std::shared_ptr<Sweeping>& state);
  void removeSome(Sweeping& state, std::size_t begin, std::size_t end);
  void keepUndo(const std::shared_ptr<Sweeping>& state);
  void finishTrash(const std::shared_ptr<Sweeping>& state, const Result<void>& saved);

  void noteSurplus(const std::shared_ptr<Forgetting>& state);
  void finishForget(const std::shared_ptr<Forgetting>& state, const Result<void>& saved);

  DeletionQueue queue_;
  const Services& services_{queue_.services()};
  Observers<> undoObservers_;
  DeletionUndo undo_;
  DeletionRecovery recovery_{queue_, undo_};
  Lifetime timer_;
};

}  // namespace vantorel
