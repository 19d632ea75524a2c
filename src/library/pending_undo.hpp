#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "library/history_trash.hpp"
#include "library/library_paths.hpp"
#include "platform/clock.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What was deleted together and can be brought back together.
struct RemovedBatch {
  std::vector<RemovedEntry> items;
};

/// For so long a deletion can be undone.
inline constexpr std::chrono::seconds undoWindow{8};

/// When the undo of what is deleted now ends, in seconds since 1970-01-01 UTC.
[[nodiscard]] double undoDeadline(const Clock& clock);

/// A batch that can be undone, as it is kept on disk: a command that deletes ends at once, and the
/// next one may undo it.
struct PendingUndo {
  RemovedBatch batch;
  double until = 0;  ///< seconds since 1970-01-01 UTC

  /// An undo has begun: a run that finds this ends what was cut short.
  bool isBegun = false;
};

// Block; readable by the owner alone. What is on disk and cannot be read is set aside, not replaced
// or removed.
[[nodiscard]] Result<void> writePendingUndo(Files& files, const LibraryPaths& paths,
                                            const PendingUndo& pending);

/// For those who go on without it.
void logUndoNotKept(const Failure& failure);
[[nodiscard]] Result<void> removePendingUndo(Files& files, const LibraryPaths& paths);

/// Nothing when there is none, or none that can be read.
[[nodiscard]] std::optional<PendingUndo> readPendingUndo(const Files& files,
                                                         const LibraryPaths& paths);

}  // namespace vantorel
