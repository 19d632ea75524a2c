#pragma once

#include <optional>

#include "base/result.hpp"
#include "platform/file_mark.hpp"
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

  /// What came of an attempt before this one may not be known: it was cut short, or not answered.
  enum class Attempt { first, repeated };

  /// Moves what `moveToTrash` answered back to `to`, making its folder when that has gone. Fails
  /// with `notFound` when it is no longer in the Trash and with `exists` when `to` is taken by
  /// another file: one that has both names loses the one in the Trash. A `repeated` attempt takes
  /// what is at `to`, when it is no longer in the Trash, for what the one before put there; and
  /// since that one's removal may still be made, nothing gets the name in the Trash for a minute.
  [[nodiscard]] virtual Result<void> restore(const Path& trashed, const Path& to,
                                             Attempt attempt) = 0;

  struct Found {
    Path place;
    bool hadBothNames = false;  ///< it was still where it had been, too
  };

  /// Where the file that lay at `path` is in the Trash now; nothing when it is not there. Clears
  /// what a move of it left that was cut short before the file had gone, and ends one that was cut
  /// short when it had both names. Where files get new numbers it is the one of its size and time
  /// that came from this path, unless there are several. Fails with `unreachable` when its disk is
  /// silent, and with nothing else.
  [[nodiscard]] virtual Result<std::optional<Found>> find(const Path& path,
                                                          const FileMark& file) = 0;

  /// Makes all moves so far safe: many cost no more than one.
  virtual void flush() = 0;
};

}  // namespace vantorel
