#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/task_runner.hpp"
#include "platform/clock.hpp"

namespace vantorel {

/// Any number of runners on one thread under one hand-turned clock. Nothing runs until the test
/// says so, and then in order of time and of posting.
class FakeRunners final : public Clock {
 public:
  /// 2026-01-02 03:04:05.678 UTC at the start.
  static constexpr double start = 1767323045.678;

  ~FakeRunners() override;

  /// The runner of that name; the same one each time.
  [[nodiscard]] std::shared_ptr<TaskRunner> runner(const std::string& name);
  [[nodiscard]] std::shared_ptr<TaskRunner> main() { return runner("main"); }

  /// From now on nothing runs on that runner, as when its task hangs.
  void hang(const std::string& name) { hanging_.insert(name); }

  /// Lets it go on, with what was posted meanwhile.
  void resume(const std::string& name);

  /// Runs everything that is due, and what that posts, until nothing is due now.
  void run();

  /// Turns the clock on and runs what falls due, in order.
  void advance(std::chrono::nanoseconds time);

  /// True when nothing waits, not even for later.
  [[nodiscard]] bool isIdle() const { return tasks_.empty(); }

  /// Moves the wall clock alone, as a user setting the time does.
  void setNow(double seconds) { offset_ = seconds - start; }

  [[nodiscard]] double now() const override;
  [[nodiscard]] std::chrono::nanoseconds monotonic() const override { return time_; }

 private:
  class Runner;
  struct Pending {
    Runner* runner;
    Task task;
  };

  std::chrono::nanoseconds time_{0};
  double offset_ = 0;
  std::uint64_t sequence_ = 0;
  std::map<std::pair<std::chrono::nanoseconds, std::uint64_t>, Pending> tasks_;
  std::map<std::string, std::shared_ptr<Runner>> runners_;
  std::set<std::string> hanging_;
  std::vector<Pending> held_;  // on runners that hang
};

}  // namespace vantorel
