#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/files.hpp"
#include "platform/linux/file_descriptor.hpp"

namespace vantorel {

/// A line of the kernel's table of mounts.
struct MountEntry {
  unsigned deviceMajor = 0;
  unsigned deviceMinor = 0;
  std::string root;        ///< the folder of the file system that is mounted
  std::string mountPoint;  ///< where it is seen
  std::string type;        ///< "ext4", "nfs4", "fuse.sshfs"
  std::string source;      ///< "/dev/sda1", "server:/share"
};

/// The mount with this id in the text of /proc/self/mountinfo; nothing when it is not there any
/// more.
[[nodiscard]] std::optional<MountEntry> findMount(std::string_view table, unsigned long long id);

/// Where an open folder lies; `unreachable` when it is on a file system that was unmounted while it
/// was open.
[[nodiscard]] Result<FolderLocation> locationOf(const FileDescriptor& folder);

}  // namespace vantorel
