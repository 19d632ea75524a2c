#include "platform/linux/secret_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <system_error>
#include <utility>

#include "base/random_id.hpp"
#include "platform/linux/posix_call.hpp"

namespace vantorel {
namespace {

constexpr std::size_t maximumBytes = 4096;

Result<void> checkOwned(const struct stat& status) {
  if (S_ISLNK(status.st_mode)) return failed(FailureKind::denied, "its file is a link");
  if (!S_ISREG(status.st_mode)) return failed(FailureKind::denied, "its file is no regular file");
  if (status.st_uid != ::geteuid()) {
    return failed(FailureKind::denied, "its file belongs to somebody else");
  }
  if (status.st_nlink > 1) return failed(FailureKind::denied, "its file has a second name");
  return {};
}

Result<void> writeSecret(const FileDescriptor& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written =
        uninterrupted([&] { return ::write(file.number(), bytes.data(), bytes.size()); });
    if (written < 0) return lastSystemFailure();
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return resultOf(::fsync(file.number()));
}

}  // namespace

SecretFile::SecretFile(Path path) : path_(std::move(path)) {}

Result<std::optional<std::string>> SecretFile::read() {
  // Without O_NONBLOCK the end of a pipe in its place would be waited for.
  const int number = uninterrupted(
      [&] { return ::open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); });
  if (number == -1 && (errno == ENOENT || errno == ENOTDIR)) return std::optional<std::string>{};
  if (number == -1 && errno == ELOOP) return failed(FailureKind::denied, "its file is a link");
  if (number == -1) return lastSystemFailure();
  const FileDescriptor file(number);
  struct stat status{};
  VT_TRY(resultOf(::fstat(file.number(), &status)));
  VT_TRY(checkOwned(status));
  if ((status.st_mode & 077U) != 0) {
    return failed(FailureKind::denied, "its file is open to others");
  }
  std::array<char, maximumBytes> bytes{};
  const ssize_t size =
      uninterrupted([&] { return ::read(file.number(), bytes.data(), bytes.size()); });
  if (size < 0) return lastSystemFailure();
  return std::string(bytes.data(), static_cast<std::size_t>(size));
}

Result<void> SecretFile::write(std::string_view secret) {
  std::error_code error;
  const Path folder = path_.parent_path();
  if (std::filesystem::create_directories(folder, error)) {
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
  }
  if (error) return systemFailure(error.value());
  struct stat status{};
  if (::lstat(path_.c_str(), &status) == 0) VT_TRY(checkOwned(status));
  const Path made = folder / ("." + path_.filename().string() + "." + randomID());
  Result<void> result = [&]() -> Result<void> {
    const FileDescriptor file =
        VT_TRY(openFile(made, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    VT_TRY(writeSecret(file, secret));
    return resultOf(::rename(made.c_str(), path_.c_str()));
  }();
  if (!result) {
    ::unlink(made.c_str());
    return result;
  }
  const FileDescriptor holder = VT_TRY(openFile(folder, O_RDONLY | O_DIRECTORY));
  return resultOf(::fsync(holder.number()));
}

Result<void> SecretFile::remove() {
  if (::unlink(path_.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR) return {};
  return lastSystemFailure();
}

}  // namespace vantorel
