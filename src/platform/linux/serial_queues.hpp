#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/task_runner.hpp"

namespace vantorel {

class AsioGate;

/// Named serial queues for work that blocks, on threads of their own: with as many threads as
/// queues none of them waits for another. A runner may outlive it and then drops what it is given.
class SerialQueues {
 public:
  /// Throws `std::runtime_error`, in a sentence, when the system refuses a thread.
  explicit SerialQueues(int threads = 2);
  ~SerialQueues();

  /// Waits for the tasks that run and drops those that wait. The destructor does so too.
  void stop();

  SerialQueues(const SerialQueues&) = delete;
  SerialQueues& operator=(const SerialQueues&) = delete;

  /// The queue of that name; the same one each time. Any thread.
  [[nodiscard]] std::shared_ptr<TaskRunner> queue(const std::string& name);

 private:
  void work();

  std::shared_ptr<AsioGate> gate_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<TaskRunner>> queues_;
  std::vector<std::jthread> threads_;
};

}  // namespace vantorel
