#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/folder_watcher.hpp"
#include "platform/linux/file_descriptor.hpp"

namespace vantorel {

/// Watches folders through inotify. One thread waits for the events of all of them.
class InotifyWatcher final : public FolderWatcher {
 public:
  InotifyWatcher();
  ~InotifyWatcher() override;

  Result<std::unique_ptr<FolderWatch>> watch(
      const Path& folder, std::shared_ptr<TaskRunner> runner,
      std::function<void(const FolderEvent&)> onEvent) override;

 private:
  class Sinks;
  class Watch;

  std::shared_ptr<Sinks> sinks_;
  FileDescriptor stop_;
  std::jthread thread_;
};

}  // namespace vantorel
