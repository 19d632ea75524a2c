#pragma once

#include <cstddef>
#include <functional>

#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Told how far a long look at the disk has come; answers whether to go on.
using CheckProgress = std::function<bool(std::size_t done, std::size_t total)>;

/// Entries whose files cannot be shown.
struct MissingFiles {
  EntryList gone;        ///< the file is no longer in its folder
  EntryList outOfReach;  ///< its folder is gone or does not answer: the file may well be there
};

/// Looks for the file of each entry. Blocks; any thread.
[[nodiscard]] MissingFiles findMissingFiles(const Files& files, const EntryList& entries,
                                            const CheckProgress& progress);

}  // namespace vantorel
