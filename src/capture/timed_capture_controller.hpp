#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/capture_surfaces.hpp"
#include "capture/records/capture_target.hpp"
#include "platform/clock.hpp"
#include "platform/hot_keys.hpp"

namespace vantorel {

/// Counts down before a delayed capture. A panel shows the seconds left; Escape, registered only
/// while the countdown runs, calls it off. Lives on the main runner.
class TimedCaptureController {
 public:
  /// `hotKeys` may be null: then the countdown cannot be called off by key.
  TimedCaptureController(std::shared_ptr<TaskRunner> main, std::shared_ptr<const Clock> clock,
                         std::shared_ptr<CountdownPanel> panel, HotKeys* hotKeys);

  /// Calls `ended(true)` at zero, when the panel is off the screen, or `ended(false)` when called
  /// off. At once for no delay.
  void start(std::chrono::seconds delay, std::function<void(bool reachedZero)> ended);

  /// Calls it off.
  void cancel();

  [[nodiscard]] bool isRunning() const { return ended_ != nullptr; }

 private:
  void tick();
  void end(bool reachedZero);

  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<const Clock> clock_;
  std::shared_ptr<CountdownPanel> panel_;
  HotKeys* hotKeys_;
  std::unique_ptr<HotKeyRegistration> escape_;
  std::chrono::nanoseconds zero_{};
  std::function<void(bool)> ended_;
  Lifetime lifetime_;
};

}  // namespace vantorel
