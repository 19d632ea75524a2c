#pragma once

#include <atomic>

namespace vantorel {

/// A line of tasks of which one runs at a time: a runner's while its task runs, otherwise that of
/// the thread. Two are the same when they are equal; good for nothing else.
using Sequence = const void*;

/// The one that this is called on. Any thread.
[[nodiscard]] Sequence currentSequence();

/// The thread's own, whatever task runs on it now: the main runner's, on the main thread.
[[nodiscard]] Sequence sequenceOfThread();

/// Says whose task runs on this thread, for as long as it lives. For runners.
class [[nodiscard]] SequenceScope {
 public:
  explicit SequenceScope(Sequence sequence);
  ~SequenceScope();
  SequenceScope(const SequenceScope&) = delete;
  SequenceScope& operator=(const SequenceScope&) = delete;

 private:
  Sequence before_;
};

/// Holds a class that lives on one runner to it. The first question decides which runner that is,
/// so that an object may be made elsewhere and handed over.
///
///     void set(int value) {
///       VT_CHECK(sequence_.isCurrent());
class SequenceChecker {
 public:
  SequenceChecker() = default;
  SequenceChecker(const SequenceChecker&) = delete;
  SequenceChecker& operator=(const SequenceChecker&) = delete;

  /// Any thread.
  [[nodiscard]] bool isCurrent() const {
    Sequence ours = nullptr;
    const Sequence now = currentSequence();
    return ours_.compare_exchange_strong(ours, now) || ours == now;
  }

 private:
  mutable std::atomic<Sequence> ours_ = nullptr;
};

}  // namespace vantorel
