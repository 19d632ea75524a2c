#pragma once

#include <cstdint>
#include <functional>
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
  /// Adds a folder to an inotify queue for these events, and answers its number there, as
  /// `RemoteFiles::watch` does. May block.
  using AddWatch = std::function<Result<int>(int queue, const Path& folder, std::uint32_t events)>;

  explicit InotifyWatcher(AddWatch addWatch);
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
