#include "main/tray_lock.hpp"

#include <fmt/format.h>
#include <poll.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

// Meant for C alone in the C library of Debian 12.
extern "C" {
#include <sys/pidfd.h>
}

#include "cli/command_reply.hpp"
#include "platform/linux/file_descriptor.hpp"

namespace vantorel {
namespace {

/// Most quits take a moment; one that has much to save, or asks, goes on without us.
constexpr std::chrono::milliseconds quitBound{10'000};

/// A process that was killed holds its locks until the kernel has taken it down.
constexpr std::chrono::milliseconds killedBound{1'000};

/// Waits up to `bound` for the one that has the lock; `busy` when it goes on having it.
Result<std::unique_ptr<FileLock>> awaitLock(Files& files, const Path& path,
                                            std::chrono::milliseconds bound) {
  const auto until = std::chrono::steady_clock::now() + bound;
  while (true) {
    auto lock = files.lock(path);
    if (lock || lock.error().kind != FailureKind::busy) return lock;
    if (std::chrono::steady_clock::now() >= until) return lock;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

BusReply failure(const std::string& sentence) {
  return {static_cast<int>(ExitStatus::failed), {}, sentence + "\n"};
}

}  // namespace

bool TrayLock::take(std::chrono::milliseconds endBound) {
  if (!files_.makeFolder(library_.data, Privacy::ownerOnly)) return true;
  auto lock = awaitLock(files_, library_.trayLock(), killedBound);
  if (!lock) return lock.error().kind != FailureKind::busy;
  {
    const std::scoped_lock guard(mutex_);
    lock_ = std::move(*lock);
  }
  (void)awaitLock(files_, library_.endingTrayLock(), endBound);
  return true;
}

void TrayLock::beginEnd() {
  const std::scoped_lock guard(mutex_);
  // Whoever finds neither lock held finds nobody to wait for.
  auto ending = files_.lock(library_.endingTrayLock());
  if (!ending) return;
  ending_ = std::move(*ending);
  lock_.reset();
}

std::optional<long> trayProcess(const RemoteFiles& files, const LibraryPaths& library) {
  return files.lockHolder(library.trayLock());
}

BusReply quitTray(const RemoteFiles& files, const LibraryPaths& library) {
  const auto process = trayProcess(files, library);
  if (!process) {
    const auto user = files.lockHolder(library.lock());
    return {0,
            {},
            user ? fmt::format("Vantorel isn't running in the tray; process {} has the library.\n",
                               *user)
                 : "Vantorel isn't running.\n"};
  }
  const FileDescriptor handle(::pidfd_open(static_cast<pid_t>(*process), 0));
  int error = errno;
  // From here on the number cannot go to another process; before, it could.
  if (trayProcess(files, library) != process) return {};
  const bool isReported =
      handle.isOpen() && ::pidfd_send_signal(handle.number(), SIGTERM, nullptr, 0) == 0;
  if (handle.isOpen()) error = errno;
  if (!isReported) {
    return failure(fmt::format("{} It couldn't be told to quit: {}.",
                               unreachableTraySentence(*process), std::strerror(error)));
  }
  pollfd ended{.fd = handle.number(), .events = POLLIN, .revents = 0};
  if (::poll(&ended, 1, static_cast<int>(quitBound.count())) == 1) return {};
  return failure(fmt::format(
      "Vantorel in the tray, process {}, was told to quit and is still at work.", *process));
}

}  // namespace vantorel
