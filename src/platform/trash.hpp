#pragma once

#include <optional>

#include "base/result.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// The desktop's Trash, from which people put files back with any file manager. Calls block; any
/// thread.
class Trash {
 public:
  virtual ~Trash() = default;

  /// Moves a file, a folder with all that is in it, or a link itself. Answers where it lies now, or
  /// nothing when the system does not tell. Fails with `notFound` when there is nothing to move,
  /// and with `unsupported` when its disk has no Trash and cannot get one.
  [[nodiscard]] virtual Result<std::optional<Path>> moveToTrash(const Path& path) = 0;

  /// Moves what `moveToTrash` answered back to `to`, making its folder when that has gone. Fails
  /// with `notFound` when it is no longer in the Trash and with `exists` when `to` is taken.
  [[nodiscard]] virtual Result<void> restore(const Path& trashed, const Path& to) = 0;
};

}  // namespace vantorel
