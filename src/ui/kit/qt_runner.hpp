#pragma once

#include <memory>

#include "base/task_runner.hpp"

namespace vantorel {

/// Runs tasks in the toolkit's event loop, on the thread that made it. Tasks posted before the loop
/// runs wait for it; those still waiting when the last owner lets go are never called. May outlive
/// the loop.
class QtRunner : public TaskRunner {
 public:
  QtRunner();
  ~QtRunner() override;

  void post(Task task) override;
  void postAfter(std::chrono::nanoseconds delay, Task task) override;
  [[nodiscard]] bool isCurrent() const override;

 private:
  class Receiver;
  std::unique_ptr<Receiver> receiver_;
};

}  // namespace vantorel
