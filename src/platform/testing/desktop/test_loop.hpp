#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "base/task_runner.hpp"

namespace vantorel {

/// A main runner for tests that talk to real services: the test's thread runs tasks while it
/// waits for something.
class TestLoop final : public TaskRunner {
 public:
  void post(Task task) override { postAfter(std::chrono::nanoseconds(0), std::move(task)); }

  void postAfter(std::chrono::nanoseconds delay, Task task) override {
    const std::lock_guard lock(mutex_);
    tasks_.emplace(std::chrono::steady_clock::now() + delay, std::move(task));
    changed_.notify_all();
  }

  [[nodiscard]] bool isCurrent() const override { return std::this_thread::get_id() == thread_; }

  /// Runs tasks until `done` answers true; false when that took longer than `bound`.
  bool runUntil(const std::function<bool()>& done,
                std::chrono::milliseconds bound = std::chrono::seconds(20)) {
    const auto end = std::chrono::steady_clock::now() + bound;
    while (!done()) {
      std::unique_lock lock(mutex_);
      const auto now = std::chrono::steady_clock::now();
      if (now >= end) return false;
      if (tasks_.empty() || tasks_.begin()->first > now) {
        // Short, for `done` may ask about something no task tells of.
        const auto soon = now + std::chrono::milliseconds(5);
        changed_.wait_until(lock, std::min(tasks_.empty() ? end : tasks_.begin()->first, soon));
        continue;
      }
      Task task = std::move(tasks_.begin()->second);
      tasks_.erase(tasks_.begin());
      lock.unlock();
      task();
    }
    return true;
  }

  void runFor(std::chrono::milliseconds time) {
    (void)runUntil([] { return false; }, time);
  }

  /// Starts something that answers through a callback and waits for the answer; nothing when it
  /// does not come within `bound`. The callback may outlive the wait.
  template <class Value, class Start>
  std::optional<Value> answer(Start start,
                              std::chrono::milliseconds bound = std::chrono::seconds(20)) {
    auto slot = std::make_shared<std::optional<Value>>();
    start([slot](Value value) { slot->emplace(std::move(value)); });
    (void)runUntil([&] { return slot->has_value(); }, bound);
    return std::move(*slot);
  }

 private:
  const std::thread::id thread_ = std::this_thread::get_id();
  std::mutex mutex_;
  std::condition_variable changed_;
  std::multimap<std::chrono::steady_clock::time_point, Task> tasks_;
};

}  // namespace vantorel
