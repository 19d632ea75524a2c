#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "base/result.hpp"

namespace sdbus {
class IConnection;
}

namespace vantorel {

/// One thread with one connection to the session bus: jobs and the bus's own calls run there, one
/// after the other. Connects at the first job and only once; a bus that went away stays away. Any
/// thread may post.
class BusWorker {
 public:
  /// Gets the connection, or why there is none. May throw sdbus::Error, which is logged.
  using Job = std::move_only_function<void(Result<sdbus::IConnection*>)>;

  BusWorker();
  BusWorker(const BusWorker&) = delete;
  BusWorker& operator=(const BusWorker&) = delete;

  /// Runs the jobs that wait, for 300 ms at most, and closes the connection; a thread that hangs in
  /// a bus that does not answer is left behind.
  ~BusWorker();

  void post(Job job);

 private:
  struct State;
  static void run(const std::shared_ptr<State>& state);

  std::shared_ptr<State> state_;
  std::thread thread_;
};

}  // namespace vantorel
