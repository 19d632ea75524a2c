#pragma once

#include <chrono>
#include <functional>

namespace vantorel {

/// A piece of work handed to a runner; called once or, when the runner ends first, never.
using Task = std::move_only_function<void()>;

/// Runs tasks one after the other in the order posted. Classes that live on one runner need no
/// mutex. `post` and `postAfter` may be called from any thread.
class TaskRunner {
 public:
  virtual ~TaskRunner() = default;

  virtual void post(Task task) = 0;

  /// Runs `task` no sooner than `delay` from now, measured on the monotonic clock.
  virtual void postAfter(std::chrono::nanoseconds delay, Task task) = 0;

  /// True when called from a task of this runner.
  [[nodiscard]] virtual bool isCurrent() const = 0;
};

}  // namespace vantorel
