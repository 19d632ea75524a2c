#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

#include "library/library_paths.hpp"
#include "platform/linux/command_bus.hpp"
#include "platform/linux/remote_files.hpp"

namespace vantorel {

/// Held by the program that lives in the tray, so that those to whom no session bus leads it can
/// tell that it runs, and as which process. The kernel takes it back however the program ends. Any
/// thread.
class TrayLock {
 public:
  TrayLock(RemoteFiles& files, const LibraryPaths& library) : files_(files), library_(library) {}

  /// False when another program goes on having it: one that was killed lets go of it in a moment.
  /// One that is about to end is waited for, up to `endBound`. Where the file system knows no
  /// locks, nobody has it. Blocks.
  [[nodiscard]] bool take(std::chrono::milliseconds endBound);

  /// From now on this program is about to end: whoever takes the lock after it may wait for that.
  void beginEnd();

 private:
  RemoteFiles& files_;
  LibraryPaths library_;
  std::mutex mutex_;
  std::unique_ptr<FileLock> lock_;
  std::unique_ptr<FileLock> ending_;
};

/// The process of the program in the tray of this library; nothing when there is none.
[[nodiscard]] std::optional<long> trayProcess(const RemoteFiles& files,
                                              const LibraryPaths& library);

/// Tells the program in the tray to quit, without a session bus: by SIGTERM. Waits some seconds for
/// its end and answers what came of it.
[[nodiscard]] BusReply quitTray(const RemoteFiles& files, const LibraryPaths& library);

}  // namespace vantorel
