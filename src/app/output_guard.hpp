#pragma once

#include <optional>
#include <string>
#include <vector>

#include "library/library_paths.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What a picture that somebody asked for must not be written over.
struct ProtectedFiles {
  EntryList entries;  ///< all their files: shown, original, and of layers
  LibraryPaths paths;
  Path originals;              ///< of captures changed in place
  Path settings{};             ///< the file of the settings
  std::vector<Path> inputs{};  ///< what the picture is made from
};

/// Why nothing may be written to `output`, as a sentence; nothing when it may. Files are compared
/// by what they are on the disk, not by name: a link, or a folder reached by a link, leads to the
/// same file. Blocks; any thread.
[[nodiscard]] std::optional<std::string> outputRefusal(const Files& files, const Path& output,
                                                       const ProtectedFiles& kept);

}  // namespace vantorel
