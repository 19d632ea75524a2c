#pragma once

#include <filesystem>
#include <string_view>

#include "platform/files.hpp"

namespace vantorel {

/// Whether an entry's file can be got at, and if not, what is in the way.
enum class FileReach {
  there,
  fileGone,           ///< its folder is there, the file is not
  folderGone,         ///< its folder no longer exists
  folderUnreachable,  ///< its folder is on a disk that is not connected or does not answer
  folderDenied,       ///< its folder may not be opened
  unknown,            ///< it could not be looked up
};

/// Blocks for as long as the disk takes to answer.
[[nodiscard]] FileReach reachOf(const Files& files, const Path& path);

/// Why the file cannot be moved, told to the user after the entry's name; empty for `there` and
/// `fileGone`.
[[nodiscard]] std::string_view sentence(FileReach reach);

}  // namespace vantorel
