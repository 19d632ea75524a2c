#pragma once

#include <optional>

#include "base/result.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// The desktop's Trash, from which people put files back with any file manager. Calls block; any
/// thread. What they change is safe against a power cut after `flush`.
class Trash {
 public:
  virtual ~Trash() = default;

  /// Moves a file, a folder with all that is in it, or a link itself. Answers where it lies now, or
  /// nothing when the system does not tell. Fails with `notFound` when there is nothing to move,
  /// and with `unsupported` when its disk has no Trash and cannot get one.
  [[nodiscard]] virtual Result<std::optional<Path>> moveToTrash(const Path& path) = 0;

  /// Moves what `moveToTrash` answered back to `to`, making its folder when that has gone. Fails
  /// with `notFound` when it is no longer in the Trash and with `exists` when `to` is taken by
  /// another file: one that has both names loses the one in the Trash.
  [[nodiscard]] virtual Result<void> restore(const Path& trashed, const Path& to) = 0;

  /// Where the file with this inode that lay at `path` is in the Trash now; nothing when it is not
  /// there. Clears what a move of it left that was cut short before the file had gone, and ends one
  /// that was cut short when it had both names. Fails with `unreachable` when its disk is silent,
  /// and with nothing else.
  [[nodiscard]] virtual Result<std::optional<Path>> find(const Path& path, std::uint64_t inode) = 0;

  /// Clears what tells of a file that has left the Trash again.
  virtual void forget(const Path& trashed) = 0;

  /// Makes all moves so far safe: many cost no more than one.
  virtual void flush() = 0;
};

}  // namespace vantorel
