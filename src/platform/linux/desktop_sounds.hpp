#pragma once

#include <memory>
#include <string>

#include "base/task_runner.hpp"

namespace vantorel {

/// Sounds of the desktop's sound theme (specifications.freedesktop.org/sound-naming-spec), through
/// libcanberra where it is installed. Nobody waits; where there is no sound server or no such sound
/// it stays silent. Any thread.
class DesktopSounds {
 public:
  /// `queue` is a serial queue that may block.
  explicit DesktopSounds(std::shared_ptr<TaskRunner> queue) : queue_(std::move(queue)) {}

  /// By its name in the theme, such as "screen-capture".
  void play(std::string name);

 private:
  std::shared_ptr<TaskRunner> queue_;
};

}  // namespace vantorel
