#pragma once

#include <poll.h>
#include <sys/eventfd.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/linux/file_descriptor.hpp"

namespace vantorel {

/// What a thread that serves a connection shares with those who give it work: the jobs, and a
/// descriptor that wakes it while it waits for the connection. Any thread, unless it says
/// otherwise.
template <class Job>
class WorkerJobs {
 public:
  void post(Job job) {
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
    wake();
  }

  /// The oldest job that waits, else an empty one.
  [[nodiscard]] Job take() {
    const std::lock_guard lock(mutex_);
    if (jobs_.empty()) return {};
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    return job;
  }

  /// The jobs not yet begun, for a worker that drops them.
  [[nodiscard]] std::deque<Job> takeAll() {
    const std::lock_guard lock(mutex_);
    return std::exchange(jobs_, {});
  }

  /// Ends `wait`, also one that has yet to begin.
  void wake() {
    const std::uint64_t one = 1;
    (void)!::write(wake_.number(), &one, sizeof one);
  }

  void stop() {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    wake();
  }

  [[nodiscard]] bool isStopping() {
    const std::lock_guard lock(mutex_);
    return stopping_;
  }

  /// The worker's thread: waits for a job, the stop, `events` on the connection's `descriptor` (-1:
  /// there is none) or the end of `timeout` in milliseconds (-1: without end).
  void wait(int descriptor, short events, int timeout) const {
    pollfd waiting[2] = {{wake_.number(), POLLIN, 0}, {descriptor, events, 0}};
    poll(waiting, 2, timeout);
    std::uint64_t count = 0;
    (void)!::read(wake_.number(), &count, sizeof count);
  }

  /// The last thing the worker's thread does.
  void end() {
    const std::lock_guard lock(mutex_);
    hasEnded_ = true;
    ended_.notify_all();
  }

  /// After `stop`: waits 300 ms for the end; a thread that hangs in its connection is left behind.
  void finish(std::thread& thread) {
    std::unique_lock lock(mutex_);
    const bool ended =
        ended_.wait_for(lock, std::chrono::milliseconds(300), [this] { return hasEnded_; });
    lock.unlock();
    if (ended) {
      thread.join();
    } else {
      thread.detach();
    }
  }

 private:
  const FileDescriptor wake_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
  std::mutex mutex_;
  std::condition_variable ended_;
  std::deque<Job> jobs_;
  bool stopping_ = false;
  bool hasEnded_ = false;
};

}  // namespace vantorel
