#pragma once

#include <string>

#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// The id of the capture whose file this is, whatever links, mounts and names lead to it; empty for
/// other files. Asks the disk: not for the main thread.
[[nodiscard]] std::string entryOfFile(const Files& files, const Path& file,
                                      const EntryList& entries);

}  // namespace vantorel
