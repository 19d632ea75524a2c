#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

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

/// What a folder is, behind a symbolic link as well: files are looked for there.
[[nodiscard]] Result<FileStatus> statusOfFolder(const Files& files, const Path& folder);

/// A folder on a file system; another one under the same name has another identity.
using FolderIdentity = std::pair<std::uint64_t, std::uint64_t>;

/// Nothing when the folder cannot be reached.
[[nodiscard]] std::optional<FolderIdentity> identityOf(const Files& files, const Path& folder);

/// Why the file cannot be moved, told to the user after the entry's name; empty for `there` and
/// `fileGone`.
[[nodiscard]] std::string_view sentence(FileReach reach);

}  // namespace vantorel
