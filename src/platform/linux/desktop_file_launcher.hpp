#pragma once

#include <memory>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/file_launcher.hpp"

namespace vantorel {

/// By the file manager on the session bus (org.freedesktop.FileManager1), and by xdg-open where
/// there is none.
class DesktopFileLauncher final : public FileLauncher {
 public:
  /// `queue` is a serial queue that may block.
  DesktopFileLauncher(std::shared_ptr<TaskRunner> main, std::shared_ptr<TaskRunner> queue)
      : main_(std::move(main)), queue_(std::move(queue)) {}

  void open(const Path& file, Done done) override;
  void reveal(const std::vector<Path>& files, Done done) override;

 private:
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<TaskRunner> queue_;
  Lifetime lifetime_;
};

}  // namespace vantorel
