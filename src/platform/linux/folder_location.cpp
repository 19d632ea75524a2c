#include "platform/linux/folder_location.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

#include "platform/linux/system_error.hpp"

namespace vantorel {
namespace {

std::vector<std::string_view> fieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  while (!line.empty()) {
    const std::size_t space = std::min(line.find(' '), line.size());
    fields.push_back(line.substr(0, space));
    line.remove_prefix(std::min(space + 1, line.size()));
  }
  return fields;
}

/// The kernel writes spaces, tabs, line ends and backslashes as octal numbers.
std::string unescaped(std::string_view field) {
  std::string text;
  for (std::size_t at = 0; at < field.size(); ++at) {
    unsigned code = 0;
    const bool isEscape =
        field[at] == '\\' && at + 3 < field.size() &&
        std::from_chars(&field[at + 1], &field[at] + 4, code, 8).ptr == &field[at] + 4;
    text += isEscape ? static_cast<char>(code) : field[at];
    if (isEscape) at += 3;
  }
  return text;
}

template <class Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// File systems of a server or of another program: nothing but their source stays the same from one
/// mount to the next.
bool isNamedBySource(std::string_view type) {
  constexpr auto types = std::to_array<std::string_view>(
      {"nfs", "nfs4", "cifs", "smb3", "9p", "virtiofs", "ceph", "afs", "zfs"});
  return type.starts_with("fuse.") || std::ranges::find(types, type) != types.end();
}

/// File systems whose statfs identity is made of what is written on the disk. Of most others it is
/// the number of the device, which may be another one after the next start.
bool hasLastingIdentity(std::string_view type) {
  constexpr auto types =
      std::to_array<std::string_view>({"ext2", "ext3", "ext4", "btrfs", "bcachefs"});
  return std::ranges::find(types, type) != types.end();
}

/// The block device below a mount; 0 when there is none.
dev_t blockDeviceOf(const MountEntry& mount) {
  if (mount.deviceMajor != 0) return makedev(mount.deviceMajor, mount.deviceMinor);
  struct stat found{};
  const bool isBlock = mount.source.starts_with('/') && ::stat(mount.source.c_str(), &found) == 0 &&
                       S_ISBLK(found.st_mode);
  return isBlock ? found.st_rdev : 0;
}

/// The identity that the desktop's device manager has read from the disk.
std::optional<std::string> uuidOf(dev_t device) {
  std::error_code error;
  std::filesystem::directory_iterator item("/dev/disk/by-uuid", error);
  for (; !error && item != std::filesystem::directory_iterator(); item.increment(error)) {
    struct stat found{};
    if (::stat(item->path().c_str(), &found) == 0 && S_ISBLK(found.st_mode) &&
        found.st_rdev == device) {
      return item->path().filename().string();
    }
  }
  return std::nullopt;
}

std::string volumeOf(const MountEntry& mount, int folder) {
  const std::string type = mount.type == "nfs4" ? "nfs" : mount.type;
  if (isNamedBySource(type)) return fmt::format("{} {}", type, mount.source);
  struct statfs system{};
  std::uint64_t identity = 0;
  static_assert(sizeof system.f_fsid == sizeof identity);
  if (::fstatfs(folder, &system) == 0) std::memcpy(&identity, &system.f_fsid, sizeof identity);
  if (identity != 0 && hasLastingIdentity(type)) return fmt::format("{} {:016x}", type, identity);
  if (const dev_t device = blockDeviceOf(mount); device != 0) {
    if (const auto uuid = uuidOf(device)) return "uuid " + *uuid;
  }
  // Of memory file systems each has an identity of its own, and ends with it.
  if (identity != 0) return fmt::format("{} {:016x}", type, identity);
  return fmt::format("{} {} {}:{}", type, mount.source, mount.deviceMajor, mount.deviceMinor);
}

}  // namespace

std::optional<MountEntry> findMount(std::string_view table, unsigned long long id) {
  while (!table.empty()) {
    const std::size_t end = std::min(table.find('\n'), table.size());
    const std::string_view line = table.substr(0, end);
    table.remove_prefix(std::min(end + 1, table.size()));
    if (numberIn<unsigned long long>(line.substr(0, line.find(' '))) != id) continue;
    const auto fields = fieldsOf(line);
    const auto separator = std::ranges::find(fields, std::string_view("-"));
    if (fields.size() < 7 || fields.end() - separator < 3) return std::nullopt;
    const std::string_view device = fields[2];
    const std::size_t colon = std::min(device.find(':'), device.size() - 1);
    return MountEntry{.deviceMajor = numberIn<unsigned>(device.substr(0, colon)).value_or(0),
                      .deviceMinor = numberIn<unsigned>(device.substr(colon + 1)).value_or(0),
                      .root = unescaped(fields[3]),
                      .mountPoint = unescaped(fields[4]),
                      .type = unescaped(separator[1]),
                      .source = unescaped(separator[2])};
  }
  return std::nullopt;
}

Result<FolderLocation> locationOf(const FileDescriptor& folder) {
  struct statx found{};
  if (::statx(folder.number(), "", AT_EMPTY_PATH, STATX_NLINK | STATX_MNT_ID, &found) == -1) {
    return lastSystemFailure();
  }
  if (found.stx_nlink == 0) return failed(FailureKind::notFound, "the folder was removed");
  std::error_code error;
  const Path path =
      std::filesystem::read_symlink(fmt::format("/proc/self/fd/{}", folder.number()), error);
  if (error) return systemFailure(error.value());
  std::ifstream file("/proc/self/mountinfo");
  const std::string table{std::istreambuf_iterator<char>(file), {}};
  const auto mount = findMount(table, found.stx_mnt_id);
  if (!mount) return failed(FailureKind::unreachable, "its file system was unmounted");
  // "/home" and "/home/me" give "/me"; "/" and "/home" give "/home".
  std::string inside = path.string();
  const std::string& point = mount->mountPoint;
  if (point != "/") {
    const bool isBelow =
        inside.starts_with(point) && (inside.size() == point.size() || inside[point.size()] == '/');
    // A folder of a mount that another one hides has no name any more.
    if (!isBelow) return failed(FailureKind::unreachable, "its file system was unmounted");
    inside.erase(0, point.size());
  }
  std::string place = mount->root == "/" ? inside : mount->root + (inside == "/" ? "" : inside);
  if (place.empty()) place = "/";
  return FolderLocation{volumeOf(*mount, folder.number()), std::move(place)};
}

}  // namespace vantorel
