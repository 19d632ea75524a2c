#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "library/library_paths.hpp"
#include "platform/linux/command_bus.hpp"
#include "platform/linux/remote_files.hpp"

namespace vantorel {

/// Held by the program that lives in the tray, so that those to whom no session bus leads it can
/// tell that it runs, and as which process. The kernel takes it back however the program ends.
class TrayLock {
 public:
  TrayLock(RemoteFiles& files, const LibraryPaths& library) : files_(files), library_(library) {}

  /// Waits up to `bound` for a program that is about to end; false when another one goes on having
  /// it. Where the file system knows no locks, nobody has it. Blocks.
  [[nodiscard]] bool take(std::chrono::milliseconds bound);

 private:
  RemoteFiles& files_;
  LibraryPaths library_;
  std::unique_ptr<FileLock> lock_;
};

/// The process of the program in the tray of this library; nothing when there is none.
[[nodiscard]] std::optional<long> trayProcess(const RemoteFiles& files,
                                              const LibraryPaths& library);

/// Tells the program in the tray to quit, without a session bus: by SIGTERM. Waits some seconds for
/// its end and answers what came of it.
[[nodiscard]] BusReply quitTray(const RemoteFiles& files, const LibraryPaths& library);

}  // namespace vantorel
