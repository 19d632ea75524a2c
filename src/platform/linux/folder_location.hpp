#pragma once

#include "platform/files.hpp"
#include "platform/linux/file_descriptor.hpp"

namespace vantorel {

/// Where an open folder lies; `unreachable` when it is on a file system that was unmounted while it
/// was open.
[[nodiscard]] Result<FolderLocation> locationOf(const FileDescriptor& folder);

}  // namespace vantorel
