#pragma once

#include <functional>
#include <memory>

#include "base/result.hpp"
#include "base/task_runner.hpp"

namespace vantorel {

/// Ends the watch when it goes; nothing comes after that.
class MountWatch {
 public:
  virtual ~MountWatch() = default;
};

/// Tells when disks come and go. Any thread.
class MountWatcher {
 public:
  virtual ~MountWatcher() = default;

  /// Calls `onChange` on `runner`, on which the watch is also given up, after something was mounted
  /// or unmounted; several changes may be told as one.
  [[nodiscard]] virtual Result<std::unique_ptr<MountWatch>> watch(
      std::shared_ptr<TaskRunner> runner, std::function<void()> onChange) = 0;
};

}  // namespace vantorel
