#include "platform/linux/remote_mounts.hpp"

#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <ranges>
#include <vector>

namespace vantorel {
namespace {

constexpr int maximumLinks = 40;  // as the kernel

/// The one of the root folder does not count: without it there is no system.
bool isRemote(const MountEntry& mount) {
  constexpr auto types = std::to_array<std::string_view>(
      {"nfs", "nfs4", "cifs", "smb3", "smbfs", "9p", "virtiofs", "ceph", "afs", "coda", "gfs2",
       "ocfs2", "lustre", "glusterfs", "autofs"});
  if (mount.mountPoint == "/") return false;
  return mount.type.starts_with("fuse") || std::ranges::find(types, mount.type) != types.end();
}

const MountEntry* seenAt(const std::vector<MountEntry>& mounts, const std::string& place) {
  const auto found = std::ranges::find(std::views::reverse(mounts), place, &MountEntry::mountPoint);
  return found == mounts.rend() ? nullptr : &*found;
}

/// What is to be gone through, the next part last.
void addParts(std::vector<std::string>& parts, const Path& path) {
  std::vector<std::string> added;
  for (const Path& part : path.relative_path()) added.push_back(part.string());
  parts.insert(parts.end(), added.rbegin(), added.rend());
}

/// Below a folder where servers are mounted when somebody looks, each has a mount of its own.
const MountEntry* nearest(const std::vector<MountEntry>& mounts, const MountEntry& found,
                          const std::vector<std::string>& rest) {
  Path path = found.mountPoint;
  for (const std::string& part : std::views::reverse(rest)) path /= part;
  return found.type == "autofs" ? mountOf(mounts, path) : &found;
}

}  // namespace

std::optional<MountEntry> remoteMountOnTheWayTo(const Path& path) {
  const auto mounts = mountsNow();
  if (!path.is_absolute() || std::ranges::none_of(*mounts, isRemote)) return std::nullopt;
  std::vector<std::string> parts;
  addParts(parts, path);
  Path at = "/";
  for (int links = 0; !parts.empty();) {
    const std::string part = std::move(parts.back());
    parts.pop_back();
    if (part.empty() || part == ".") continue;
    if (part == "..") {
      at = at.parent_path();
      continue;
    }
    const Path next = at / part;
    const MountEntry* const mount = seenAt(*mounts, next.native());
    if (mount != nullptr && isRemote(*mount)) return *nearest(*mounts, *mount, parts);
    std::array<char, PATH_MAX> target{};
    const ssize_t length =
        mount != nullptr ? -1 : ::readlink(next.c_str(), target.data(), target.size());
    if (length <= 0) {
      at = next;
      continue;
    }
    if (++links > maximumLinks) return std::nullopt;
    const Path to = std::string_view(target.data(), static_cast<std::size_t>(length));
    if (to.is_absolute()) at = "/";
    addParts(parts, to);
  }
  return std::nullopt;
}

}  // namespace vantorel
