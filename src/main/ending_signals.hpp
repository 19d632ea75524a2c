#pragma once

#include <functional>
#include <memory>

namespace vantorel {

/// The signals that ask a process to end: Ctrl-C, SIGTERM and SIGHUP. They are blocked from the
/// making on, in this thread and those it starts, and read by a thread of their own; so it is made
/// before any other thread. One that is ignored, as "nohup" makes it, stays so. What is handed in
/// runs on that thread and must not block.
class EndingSignals {
 public:
  /// To begin with another process may be doing the work: the first Ctrl-C calls `cancel`; another
  /// one or any other signal ends the process at once, with 128 and the signal's number.
  explicit EndingSignals(std::function<void()> cancel);
  EndingSignals(const EndingSignals&) = delete;
  EndingSignals& operator=(const EndingSignals&) = delete;

  /// Any signal ends the process at once.
  ~EndingSignals();

  /// From now on this process works: each signal calls `asked` with its number, also the Ctrl-C
  /// that came before. The third one ends the process at once.
  void work(std::function<void(int signal)> asked);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace vantorel
