#pragma once

#include <cstdint>
#include <functional>
#include <map>
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

  /// In place of the one of the same title before it, should that still be up. `done`, when there
  /// is one, is told on the queue whether a service took it.
  void notify(std::string title, std::string body, std::function<void(bool isTaken)> done = {});

  /// Closes the one of that title, should it still be up.
  void withdraw(std::string title);

 private:
  using Numbers = std::map<std::string, std::uint32_t>;

  std::shared_ptr<TaskRunner> queue_;
  std::shared_ptr<Numbers> numbers_ = std::make_shared<Numbers>();  // by title; the queue's
};

}  // namespace vantorel
