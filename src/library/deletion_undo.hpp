#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/lifetime.hpp"
#include "library/deletion_outcome.hpp"
#include "library/deletion_queue.hpp"
#include "library/pending_undo.hpp"

namespace vantorel {

/// The batch that can be undone, and undoing it. The file that keeps the undo says that it has
/// begun, then come the index and the files, and only then that file goes: whenever the run ends in
/// between, the next one carries the undo on. Lives on the main runner.
class DeletionUndo {
 public:
  /// `onChange` is told when a batch can be undone, and when it no longer can. The queue must
  /// outlive this.
  DeletionUndo(DeletionQueue& queue, std::function<void()> onChange);

  /// The batch that can be undone now.
  [[nodiscard]] const std::optional<RemovedBatch>& pending() const { return pending_; }

  /// When it no longer can, by the monotonic clock.
  [[nodiscard]] std::chrono::nanoseconds ends() const { return ends_; }

  /// Offers a batch that is kept on disk already; it replaces the one before.
  void offer(RemovedBatch batch) { offerFor(undoWindow, std::move(batch)); }

  /// Offers what an earlier run kept for the time that is left of it. One that is over, or none, is
  /// removed from the disk.
  void offerAgain(std::optional<PendingUndo> pending);

  /// Undoes the pending batch, after what was begun before.
  void undo(std::move_only_function<void(UndoOutcome)> done);

  /// Ends an undo that an earlier run began, as part of the operation under way, which ends with
  /// it.
  void carryOn(RemovedBatch batch, std::move_only_function<void(UndoOutcome)> done);

 private:
  struct Undoing;

  void keepAndOffer(RemovedBatch batch);
  void offerFor(std::chrono::nanoseconds left, RemovedBatch batch);
  void removeKept();
  void keepBegun(RemovedBatch batch);

  void start(bool wasBegun, std::move_only_function<void(UndoOutcome)> done);
  void begin(const std::shared_ptr<Undoing>& state);
  void insertSome(Undoing& state, std::size_t begin, std::size_t end);
  void giveUp(const std::shared_ptr<Undoing>& state, const std::string& reason);
  void restoreFiles(const std::shared_ptr<Undoing>& state);
  void adoptSome(Undoing& state, std::size_t begin, std::size_t end);
  void finish(const std::shared_ptr<Undoing>& state, const Result<void>& saved);

  DeletionQueue& queue_;
  const DeletionQueue::Services& services_;
  std::function<void()> onChange_;
  std::optional<RemovedBatch> pending_;
  std::chrono::nanoseconds ends_{0};
  Lifetime timer_;
};

}  // namespace vantorel
