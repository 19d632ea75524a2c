#pragma once

#include <memory>
#include <string>

#include "base/task_runner.hpp"

namespace vantorel {

/// Passing messages by the desktop's notification service (org.freedesktop.Notifications). Sent
/// from a queue of its own, so that nobody waits; where no service answers they are only logged.
/// Any thread.
class DesktopNotifications {
 public:
  /// `queue` is a serial queue that may block.
  explicit DesktopNotifications(std::shared_ptr<TaskRunner> queue) : queue_(std::move(queue)) {}

  void notify(std::string title, std::string body);

 private:
  std::shared_ptr<TaskRunner> queue_;
};

}  // namespace vantorel
