#pragma once

#include <string>
#include <vector>

#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Those folders in which files of the entries lie and which do not answer. Blocks; any thread.
[[nodiscard]] std::vector<std::string> silentFolders(const Files& files, const EntryList& entries);

/// "/mnt/nas is out of reach: it does not answer." for each of them, line by line.
[[nodiscard]] std::string silenceOf(const std::vector<std::string>& folders);

}  // namespace vantorel
