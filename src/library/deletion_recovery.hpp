#pragma once

#include <functional>

#include "library/deletion_queue.hpp"
#include "library/deletion_undo.hpp"

namespace vantorel {

/// Carries on what a run had in hand when it ended: a file that went takes its original with it,
/// and its entry; a file that did not go keeps both. Lives on the main runner.
class DeletionRecovery {
 public:
  /// Both must outlive this.
  DeletionRecovery(DeletionQueue& queue, DeletionUndo& undo);

  /// Ends a deletion or an undo that was cut short, and offers again the undo of a deletion whose
  /// eight seconds are not over. `done` comes when the index says so too.
  void recover(DeletionQueue::Operation done);

 private:
  struct Found;

  void start(DeletionQueue::Operation done);
  void finish(Found found, bool isSaved, DeletionQueue::Operation done);

  DeletionQueue& queue_;
  DeletionUndo& undo_;
  const DeletionQueue::Services& services_;
};

}  // namespace vantorel
