#include "platform/linux/linux_file_content.hpp"

#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "platform/linux/posix_call.hpp"

namespace vantorel {
namespace {

FileType fileType(mode_t mode) {
  if (S_ISREG(mode)) return FileType::regular;
  if (S_ISDIR(mode)) return FileType::folder;
  if (S_ISLNK(mode)) return FileType::link;
  return FileType::other;
}

}  // namespace

std::unexpected<Failure> tooLargeForMemory() {
  return failed(FailureKind::tooLarge, "the file does not fit into memory");
}

FileStatus statusOf(const struct stat& found) {
  return FileStatus{.type = fileType(found.st_mode),
                    .size = static_cast<std::uint64_t>(found.st_size),
                    .modified = static_cast<double>(found.st_mtim.tv_sec) +
                                static_cast<double>(found.st_mtim.tv_nsec) * 1e-9,
                    .device = found.st_dev,
                    .inode = found.st_ino,
                    .mode = found.st_mode & 07777U,
                    .owner = found.st_uid};
}

void Pieces::written(int file) const {
  if (!progress_) return;
  (void)::sync_file_range(file, 0, 0, SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
  progress_();
}

Result<FileStatus> LinuxFileContent::status() const {
  struct stat found{};
  VT_TRY(resultOf(::fstat(number(), &found)));
  return statusOf(found);
}

Result<std::string> LinuxFileContent::read(std::uint64_t offset, std::uint64_t length) const try {
  std::string bytes;
  while (bytes.size() < length) {
    const std::size_t size = bytes.size();
    const std::size_t room = static_cast<std::size_t>(length) - size;
    ssize_t got = 0;
    bytes.resize_and_overwrite(length, [&](char* data, std::size_t) {
      got = uninterrupted(
          [&] { return ::pread(number(), data + size, room, static_cast<off_t>(offset + size)); });
      return size + static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    });
    if (got == -1) return lastSystemFailure();
    if (got == 0) return failed(FailureKind::other, "the file has become shorter");
  }
  return bytes;
} catch (const std::bad_alloc&) {
  return tooLargeForMemory();
} catch (const std::length_error&) {
  return tooLargeForMemory();
}

Result<void> writeAll(int file, std::string_view bytes, const Pieces& pieces) {
  while (!bytes.empty()) {
    const std::size_t size = std::min<std::uint64_t>(bytes.size(), pieces.most());
    const ssize_t written = uninterrupted([&] { return ::write(file, bytes.data(), size); });
    if (written == -1) return lastSystemFailure();
    bytes.remove_prefix(static_cast<std::size_t>(written));
    if (!bytes.empty()) pieces.written(file);
  }
  return {};
}

Result<void> copyRun(int to, const LinuxFileContent& from, std::uint64_t offset,
                     std::uint64_t length, const Pieces& pieces) {
  constexpr std::uint64_t stride = 1 << 20;
  auto place = static_cast<off64_t>(offset);
  while (length > 0) {
    const std::size_t size = std::min(length, pieces.most());
    const ssize_t copied = uninterrupted(
        [&] { return ::copy_file_range(from.number(), &place, to, nullptr, size, 0); });
    if (copied > 0) {
      length -= static_cast<std::uint64_t>(copied);
      pieces.written(to);
      continue;
    }
    if (copied == -1 && errno != EXDEV && errno != EINVAL && errno != ENOSYS &&
        errno != EOPNOTSUPP) {
      return lastSystemFailure();
    }
    const std::string bytes = VT_TRY(
        from.read(static_cast<std::uint64_t>(place), std::min({length, stride, pieces.most()})));
    pieces.gone();
    VT_TRY(writeAll(to, bytes, pieces));
    pieces.written(to);
    place += static_cast<off64_t>(bytes.size());
    length -= bytes.size();
  }
  return {};
}

// Small pieces are gathered: a call for each would cost more than their bytes.
Result<void> writeParts(int to, std::span<const ContentPart> parts, const Pieces& pieces) {
  constexpr std::size_t enough = 256 << 10;
  constexpr std::uint64_t worthACall = 16 << 10;
  std::string gathered;
  for (const ContentPart& part : parts) {
    if (gathered.size() >= enough) {
      VT_TRY(writeAll(to, gathered, pieces));
      gathered.clear();
    }
    if (part.source == nullptr) {
      gathered += part.bytes;
    } else if (part.length < worthACall) {
      gathered += VT_TRY(part.source->read(part.offset, part.length));
      pieces.gone();
    } else {
      VT_TRY(writeAll(to, gathered, pieces));
      gathered.clear();
      VT_TRY(copyRun(to, dynamic_cast<const LinuxFileContent&>(*part.source), part.offset,
                     part.length, pieces));
    }
  }
  return writeAll(to, gathered, pieces);
}

Result<void> copyAttributes(int from, int to) {
  std::string names;
  for (ssize_t size = 0; (size = ::flistxattr(from, nullptr, 0)) > 0;) {
    names.resize(static_cast<std::size_t>(size));
    const ssize_t got = ::flistxattr(from, names.data(), names.size());
    if (got == -1 && errno == ERANGE) continue;  // they grew in between
    names.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    break;
  }
  for (std::size_t at = 0; at < names.size(); at += std::strlen(&names[at]) + 1) {
    const char* const name = &names[at];
    if (!std::string_view(name).starts_with("user.")) continue;
    std::string value(std::size_t{64} << 10, '\0');  // the largest there is
    const ssize_t size = ::fgetxattr(from, name, value.data(), value.size());
    if (size == -1 && errno == ENODATA) continue;
    VT_TRY(resultOf(static_cast<int>(std::min<ssize_t>(size, 0))));
    if (::fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) == 0) continue;
    if (errno == EOPNOTSUPP) return {};
    return lastSystemFailure();
  }
  return {};
}

}  // namespace vantorel
