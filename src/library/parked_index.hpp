#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "library/library_paths.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Larger ones are left alone. Bytes.
inline constexpr std::uint64_t largestParkedIndex = 512 << 20;

/// What became of putting a copy of a damaged index aside.
enum class Parking { parked, alreadyParked, failed };

/// Why a copy is kept beside the index.
enum class ParkedKind {
  unreadable,  ///< it is damaged, or has two entries for one capture
  replaced,    ///< whole, but another program put it in the place of the one in use; never deleted
};

/// The name that `parkIndex` gives to `text`: "history-<digest>.unreadable.json" or
/// "history-<digest>.replaced.json".
[[nodiscard]] std::string parkedName(const Path& index, std::string_view text, ParkedKind kind);

/// Of which kind of copy a file in the index's folder is, if it is one.
[[nodiscard]] std::optional<ParkedKind> parkedKind(const Path& index, std::string_view name);

/// Whether it is such a copy, of either kind.
[[nodiscard]] bool isParkedIndex(const Path& index, std::string_view name);

/// Whether a damaged copy has, by its name, been used by a repair.
[[nodiscard]] bool isSalvagedIndex(std::string_view name);

/// Gives a damaged copy the name of one that has been used by a repair:
/// "history-<digest>.salvaged.unreadable.json". Blocks; any thread.
[[nodiscard]] Result<void> markSalvaged(Files& files, const Path& copy);

/// Keeps `text` beside the index, for its owner only. The same text is parked once.
[[nodiscard]] Parking parkIndex(Files& files, const Path& index, std::string_view text,
                                ParkedKind kind);

/// What a pass over the parked copies came to: how many of each.
struct ParkedIndexPass {
  int scrubbed = 0;      ///< rewritten without recognised text
  int alreadyClean = 0;  ///< has none
  int removed = 0;  ///< of no use for thirty days: no build can read any of it, or a repair has
  int left = 0;     ///< a link, not to be read or written now, or waiting for its thirty days
  bool folderUnchecked = false;  ///< the folder could not be listed
  bool operator==(const ParkedIndexPass&) const = default;
};

/// Takes what recognition can find again out of the parked copies, makes them readable by their
/// owner alone, and in the end deletes those that are no index of any build or that a repair has
/// used. Which of them is newer stays. Links are not followed. `now` is in seconds since 1970-01-01
/// UTC. Blocks; any thread.
ParkedIndexPass tidyParkedIndexes(Files& files, const LibraryPaths& paths, double now);

/// The paths that stand in these parked copies; nothing when one of them cannot be read to its end,
/// so that it may have named any file. Blocks; any thread.
[[nodiscard]] std::optional<std::vector<std::string>> pathsInParkedIndexes(
    const Files& files, const std::vector<Path>& copies);

}  // namespace vantorel
