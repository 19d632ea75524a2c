#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/lifetime.hpp"
#include "base/result.hpp"
#include "base/task_runner.hpp"
#include "library/index_storage.hpp"
#include "platform/clock.hpp"

namespace vantorel {

/// Writes the index a moment after the last of a burst of changes, or at once when somebody waits.
/// Counts changes, and knows up to which one the disk has them. Lives on the main runner; writes
/// run on the persist runner.
class IndexWriter {
 public:
  using Done = std::move_only_function<void(Result<void>)>;

  IndexWriter(const Clock& clock, std::shared_ptr<TaskRunner> main,
              std::shared_ptr<TaskRunner> persist, std::shared_ptr<IndexStorage> storage);

  /// Until called, and when `load` allows no writes, every write is refused.
  /// With `inUse`, `reason` is who has the library; with `unreadable`, why the index could not be
  /// read, a clause, or empty.
  void opened(IndexLoad load, std::string reason);

  static constexpr const char* notLoaded = "the index hasn't finished loading";

  /// Why the index cannot be written now, a clause; nothing when it can.
  [[nodiscard]] std::optional<std::string> refusal() const;

  /// Takes one change and schedules a write.
  void changed(IndexChange change);

  /// Schedules a write without a change.
  void schedule();

  /// Writes what is not on disk yet, at once. `done` comes on the main runner when the changes made
  /// so far are safe against a power cut, or with the reason why they are not.
  void flush(Done done);

  /// The same, and writes all of it when what is on disk is lost (`IndexStorage::isLost`).
  void secure(Done done);

  /// The number of changes so far, and of those on disk.
  [[nodiscard]] std::uint64_t writeSequence() const { return writeSequence_; }
  [[nodiscard]] std::uint64_t landedSequence() const { return landedSequence_; }

  /// Why the last write failed; nothing once one has landed.
  [[nodiscard]] const std::optional<std::string>& saveFailure() const { return saveFailure_; }

  /// Called on the main runner after each write.
  std::function<void()> onWritten;

  /// Called on the main runner when a write found another program's index in the place of ours.
  std::function<void(const ForeignIndex&)> onForeign;

 private:
  struct Written {
    std::uint64_t sequence;
    Result<void> result;
    std::vector<ForeignIndex> foreign;
  };

  void start();
  void landed(Written written);
  void retryLater();

  struct Waiter {
    std::uint64_t sequence;
    Done done;
  };

  const Clock& clock_;
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<TaskRunner> persist_;
  std::shared_ptr<IndexStorage> storage_;
  std::optional<IndexLoad> load_;
  std::string reason_;
  std::vector<IndexChange> pending_;
  std::uint64_t writeSequence_ = 0;
  std::uint64_t landedSequence_ = 0;
  std::chrono::nanoseconds unwrittenSince_{0};
  bool unwritten_ = false;  // a write is wanted that has not started
  bool inFlight_ = false;
  bool again_ = false;  // start another write when the one in flight has ended
  int failures_ = 0;    // in a row
  std::optional<std::string> saveFailure_;
  std::vector<Waiter> waiters_;
  Lifetime debounce_;
  Lifetime lifetime_;
};

}  // namespace vantorel
