#pragma once

#include <memory>
#include <thread>

#include "base/task_runner.hpp"
#include "platform/loopback_listener.hpp"

namespace vantorel {

class AsioGate;

/// The one thread that serves sockets, and the runner on it. What lives on that runner goes on it
/// before this does.
class LoopbackIO {
 public:
  /// Throws `std::system_error` when the system refuses the thread.
  LoopbackIO();

  /// Runs what was posted before, and drops what is for later.
  ~LoopbackIO();

  LoopbackIO(const LoopbackIO&) = delete;
  LoopbackIO& operator=(const LoopbackIO&) = delete;

  /// Any thread.
  [[nodiscard]] std::shared_ptr<TaskRunner> runner() const { return runner_; }

  /// On the runner.
  [[nodiscard]] std::unique_ptr<LoopbackListener> makeListener();

 private:
  std::shared_ptr<AsioGate> gate_;
  std::shared_ptr<TaskRunner> runner_;
  std::thread thread_;
};

}  // namespace vantorel
