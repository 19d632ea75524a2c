#pragma once

#include <cstddef>
#include <deque>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/lifetime.hpp"
#include "base/round_trip.hpp"
#include "library/deletion_journal.hpp"
#include "library/history_store.hpp"
#include "library/history_trash.hpp"
#include "platform/clock.hpp"

namespace vantorel {

/// What deletions, undos and their recovery share: they run one after the other, each with the
/// entries it claims, and move files where that may block. What is begun here does nothing more
/// once the queue is gone. Lives on the main runner.
class DeletionQueue {
 public:
  struct Services {
    HistoryStore& store;
    Files& files;
    Trash& trash;
    const Clock& clock;
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< a serial queue on which moves block
  };
  using Operation = std::move_only_function<void()>;

  explicit DeletionQueue(Services services);

  [[nodiscard]] const Services& services() const { return services_; }

  /// For use on `work`; shared, because a move may outlast the queue.
  [[nodiscard]] const std::shared_ptr<HistoryTrash>& trash() const { return trash_; }

  /// Runs `operation` when those before it are over. It lasts until it calls `end`.
  void enqueue(Operation operation);

  /// Ends the operation under way: gives its entries back, calls `answer`, and starts the next one.
  void end(Operation answer);

  /// The same for one that had nothing to do: nobody is answered before his call returns.
  void endLater(Operation answer);

  [[nodiscard]] bool isBusy() const { return isBusy_; }

  /// Calls `done` when the operations so far are over and nothing waits for the disk any more.
  void settle(Operation done);

  /// Has the operation under way hold an entry until it ends.
  [[nodiscard]] std::expected<void, EntryBusy> claim(const std::string& id, EntryWork work);

  /// Calls `job` where it may block, and then `then` on the main runner with what came of it.
  template <class Job, class Then>
  void onWork(Job job, Then then) {
    roundTrip(*services_.work, services_.main, std::move(job), lifetime_.guard(std::move(then)));
  }

  /// Calls `slice` with one run of [0, count) after the other, and lets the main runner do other
  /// things in between.
  void inSlices(std::size_t count, std::move_only_function<void(std::size_t, std::size_t)> slice,
                Operation then);

  /// Writes the index.
  void flushIndex(std::move_only_function<void(const Result<void>&)> then);

  /// What journals go on naming: deletions whose end is not in the index on disk, or not known.
  [[nodiscard]] const DeletionJournal& unended() const { return unended_; }

  /// Takes the operation under way out of the journal, but for items whose files did not answer. An
  /// index that was not saved still has entries whose files went: then all stay.
  void closeJournal(bool isSaved, const DeletionJournal& current);

  /// From now on the journal names this; the caller writes it.
  void keep(DeletionJournal unended) { unended_ = std::move(unended); }

  /// Whether there is something of which it is not known what came of it.
  [[nodiscard]] bool isUnsettled() const;

  /// Whether that is about this entry: nothing else may be done with its files.
  [[nodiscard]] bool isInDoubt(const std::string& id) const;

  /// The entries of an undo of which the same is true: the file that keeps it must not be replaced.
  std::vector<std::string> unsettledUndo;

 private:
  void startNext();

  /// Between operations nobody is to take the entries for such without files.
  void holdUnsettled();

  Services services_;
  std::shared_ptr<HistoryTrash> trash_;
  DeletionJournal unended_;
  std::vector<EntryClaim> claims_;           // of the operation under way
  std::vector<EntryClaim> unsettledClaims_;  // while there is none
  std::deque<Operation> waiting_;
  bool isBusy_ = false;
  Lifetime lifetime_;
};

}  // namespace vantorel
