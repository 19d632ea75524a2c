#pragma once

#include <memory>

#include "base/task_runner.hpp"

namespace vantorel {

class AsioGate;

/// The main loop of a run without windows. Lives on the thread that makes it, which is also where
/// its runner's tasks run; that runner counts as current everywhere on this thread. The destructor
/// drops what waits; a runner may outlive it and then drops what it is given.
class LoopRunner {
 public:
  LoopRunner();
  ~LoopRunner();

  LoopRunner(const LoopRunner&) = delete;
  LoopRunner& operator=(const LoopRunner&) = delete;

  [[nodiscard]] std::shared_ptr<TaskRunner> runner() const { return runner_; }

  /// Runs tasks until `quit`; at once when that was called already. May be called again.
  void run();

  /// Ends `run` after the task that runs now. Any thread.
  void quit();

 private:
  std::shared_ptr<AsioGate> gate_;
  std::shared_ptr<TaskRunner> runner_;
};

}  // namespace vantorel
