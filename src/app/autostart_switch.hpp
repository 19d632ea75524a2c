#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"
#include "platform/autostart.hpp"

namespace vantorel {

/// Starting with the session, as a window switches it: the file behind it is read and written where
/// that may take its time. Lives on the main runner.
class AutostartSwitch {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< a serial queue that may block
    Autostart* autostart = nullptr;    ///< outlives `work`
  };

  explicit AutostartSwitch(Services services) : services_(std::move(services)) {}

  /// Nothing before it was looked at.
  [[nodiscard]] std::optional<bool> isOn() const { return isOn_; }

  /// Why the last change did not come about, in a sentence; else empty.
  [[nodiscard]] const std::string& problem() const { return problem_; }

  /// Looks again: tools of the desktop change it too.
  void refresh();

  /// Shown at once, and taken back when it fails.
  void set(bool on);

  Observation observe(std::function<void()> observer) {
    return observers_.add(std::move(observer));
  }

 private:
  void show(bool isOn, std::string problem);

  Services services_;
  std::optional<bool> isOn_;
  std::string problem_;
  Observers<> observers_;
  Lifetime lifetime_;
};

}  // namespace vantorel
