#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "base/task_runner.hpp"

namespace vantorel {

class QueueThreads;

/// Named serial queues for work that blocks, on threads of their own: with as many threads as
/// queues none of them waits for another. A runner may outlive it and then drops what it is given.
class SerialQueues {
 public:
  /// One thread starts now; the others, `maximumThreads` in all, when as many queues have work at
  /// once, and where the system refuses one then, queues wait for each other. Throws
  /// `std::runtime_error`, in a sentence, when it refuses the first.
  explicit SerialQueues(int maximumThreads = 2);
  ~SerialQueues();

  /// Waits for the tasks that run and drops those that wait. The destructor does so too.
  void stop();

  SerialQueues(const SerialQueues&) = delete;
  SerialQueues& operator=(const SerialQueues&) = delete;

  /// The queue of that name; the same one each time. Any thread.
  [[nodiscard]] std::shared_ptr<TaskRunner> queue(const std::string& name);

 private:
  std::shared_ptr<QueueThreads> threads_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<TaskRunner>> queues_;
};

}  // namespace vantorel
