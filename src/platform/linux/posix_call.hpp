#pragma once

#include <fcntl.h>

#include <cerrno>

#include "platform/files.hpp"
#include "platform/linux/file_descriptor.hpp"
#include "platform/linux/system_error.hpp"

namespace vantorel {

/// Calls again what a signal interrupted.
auto uninterrupted(auto call) {
  auto answer = call();
  while (answer == -1 && errno == EINTR) answer = call();
  return answer;
}

/// The failure of a call that answered -1.
[[nodiscard]] inline Result<void> resultOf(int returned) {
  if (returned == -1) return lastSystemFailure();
  return {};
}

/// Closed in programs that are started.
[[nodiscard]] inline Result<FileDescriptor> openFile(const Path& path, int flags, mode_t mode = 0) {
  const int number = uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); });
  if (number == -1) return lastSystemFailure();
  return FileDescriptor(number);
}

/// What setting a mode came to. FAT and its like keep no modes and refuse to try; who may read
/// there is the mount's business.
[[nodiscard]] inline Result<void> modeSet(int returned) {
  if (returned == -1 && (errno == EPERM || errno == EOPNOTSUPP)) return {};
  return resultOf(returned);
}

}  // namespace vantorel
