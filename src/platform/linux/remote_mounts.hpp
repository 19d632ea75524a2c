#pragma once

#include <optional>

#include "platform/linux/mount_table.hpp"

namespace vantorel {

/// The first mount on the way to `path` that another machine or another program serves, and which
/// therefore may never answer; nothing when the disks of this machine alone are asked. Follows
/// links, and never asks the mount itself. Any thread.
[[nodiscard]] std::optional<MountEntry> remoteMountOnTheWayTo(const Path& path);

}  // namespace vantorel
