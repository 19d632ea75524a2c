#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.hpp"

namespace vantorel {

/// A line of the kernel's table of mounts.
struct MountEntry {
  unsigned long long id = 0;  ///< of this mount alone, for as long as it lasts
  unsigned deviceMajor = 0;
  unsigned deviceMinor = 0;
  std::string root;        ///< the folder of the file system that is mounted
  std::string mountPoint;  ///< where it is seen
  std::string type;        ///< "ext4", "nfs4", "fuse.sshfs"
  std::string source;      ///< "/dev/sda1", "server:/share"
};

/// The mounts in the text of /proc/self/mountinfo. Of several at one place the last one is seen.
[[nodiscard]] std::vector<MountEntry> mountsIn(std::string_view table);

/// Those of this process. Never waits for a file system. Any thread.
[[nodiscard]] std::shared_ptr<const std::vector<MountEntry>> mountsNow();

/// Nothing when the mount is not there any more.
[[nodiscard]] std::optional<MountEntry> findMount(const std::vector<MountEntry>& mounts,
                                                  unsigned long long id);

/// The mount on which an absolute path without links lies; null when there is none.
[[nodiscard]] const MountEntry* mountOf(const std::vector<MountEntry>& mounts, const Path& path);

}  // namespace vantorel
