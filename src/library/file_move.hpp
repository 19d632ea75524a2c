#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/files.hpp"

namespace vantorel {

/// What tells a capture's file, or a package (a folder that is one capture), from another.
struct FileMeasure {
  std::uint64_t size = 0;  ///< bytes; of a package, those of all files in it
  double modified = 0;     ///< seconds since 1970-01-01 UTC; of a package, the newest of its files
  std::optional<std::int64_t> fileCount;  ///< of a package

  /// Times may differ by two seconds: some file systems keep them no finer.
  [[nodiscard]] bool isAs(const FileMeasure& other) const;
};

/// Fails for what cannot be moved: a link, or a package that holds something else than files and
/// folders.
[[nodiscard]] Result<FileMeasure> measureFile(const Files& files, const Path& path);

/// Whether two regular files have the same bytes.
[[nodiscard]] Result<bool> isSameContent(const Files& files, const Path& one, const Path& other);

/// True when `copy` holds, byte for byte, whatever there is of `original`.
[[nodiscard]] bool holdsAllOf(const Files& files, const Path& copy, const Path& original);

/// True when both are there, on two file systems.
[[nodiscard]] bool isOnOtherFileSystem(const Files& files, const Path& one, const Path& other);

/// Removes a file or a package; fine when it is not there.
[[nodiscard]] Result<void> removeFile(Files& files, const Path& path);

/// The same for a file that was noted on the disk with this `volume`: that it is not there counts
/// only when its folder is on that disk. Fails with `unreachable` otherwise.
[[nodiscard]] Result<void> removeNotedFile(Files& files, const Path& path,
                                           const std::optional<std::string>& volume);

/// Of one that is nobody's: that it stays is no more than logged.
void removeFileOrWarn(Files& files, const Path& path);

/// Copies the file or package `from` to the new name `to`, on whatever file system, and compares
/// the copy with the original. A failure leaves nothing under `to`. What an earlier attempt left
/// there is replaced.
[[nodiscard]] Result<void> copyFile(Files& files, const Path& from, const Path& to);

}  // namespace vantorel
