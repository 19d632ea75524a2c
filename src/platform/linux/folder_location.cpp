#include "platform/linux/folder_location.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <system_error>

#include "platform/linux/mount_table.hpp"
#include "platform/linux/system_error.hpp"

namespace vantorel {
namespace {

/// File systems of a server or of another program: nothing but their source stays the same from one
/// mount to the next.
bool isNamedBySource(std::string_view type) {
  constexpr auto types = std::to_array<std::string_view>(
      {"nfs", "nfs4", "cifs", "smb3", "9p", "virtiofs", "ceph", "afs", "zfs", "fuse"});
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
  const auto mount = findMount(*mountsNow(), found.stx_mnt_id);
  const auto unmounted = failed(FailureKind::unreachable, "its file system was unmounted");
  if (!mount) return unmounted;
  // "/home" and "/home/me" give "/me"; "/" and "/home" give "/home".
  std::string inside = path.string();
  const std::string& point = mount->mountPoint;
  if (point != "/") {
    const bool isBelow =
        inside.starts_with(point) && (inside.size() == point.size() || inside[point.size()] == '/');
    // A folder of a mount that another one hides has no name any more.
    if (!isBelow) return unmounted;
    inside.erase(0, point.size());
  }
  std::string place = mount->root == "/" ? inside : mount->root + (inside == "/" ? "" : inside);
  if (place.empty()) place = "/";
  return FolderLocation{volumeOf(*mount, folder.number()), std::move(place)};
}

}  // namespace vantorel
