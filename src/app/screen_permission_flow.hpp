#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/alerts.hpp"
#include "platform/screen_capture.hpp"

namespace vantorel {

/// Sees to it that the desktop lets this program capture: asks once, and then watches for the
/// grant. Lives on the main runner.
class ScreenPermissionFlow {
 public:
  static constexpr std::chrono::seconds watchInterval{2};
  static constexpr std::chrono::seconds queryBound{5};

  /// `relaunch` starts the program anew and ends this process; it answers false when it cannot.
  ScreenPermissionFlow(std::shared_ptr<TaskRunner> main, ScreenCapture& screen, Alerts& alerts,
                       std::function<bool()> relaunch)
      : main_(std::move(main)), screen_(screen), alerts_(alerts), relaunch_(std::move(relaunch)) {}

  /// Answers whether a capture may go ahead now. Without a grant the user is told, once a run.
  void preflight(std::function<void(bool granted)> answer);

  /// Called when a grant comes that the watch was waiting for.
  void onGranted(std::function<void()> listener) { onGranted_ = std::move(listener); }

  [[nodiscard]] bool alertPresented() const { return alertPresented_; }
  [[nodiscard]] bool isWatching() const { return watching_; }

 private:
  void relaunch();
  void refused(const std::function<void(bool)>& answer);
  void watch();
  void look(std::uint64_t generation);

  std::shared_ptr<TaskRunner> main_;
  ScreenCapture& screen_;
  Alerts& alerts_;
  std::function<bool()> relaunch_;
  std::function<void()> onGranted_;
  bool alertPresented_ = false;
  bool watching_ = false;
  std::uint64_t watchGeneration_ = 0;
  Lifetime lifetime_;
};

}  // namespace vantorel
