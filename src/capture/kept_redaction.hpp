#pragma once

#include <cstddef>
#include <optional>

#include "library/library_paths.hpp"
#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// What Smart Redact covered in a capture before it was filed. It can be taken away, and put back.
struct KeptRedaction {
  std::size_t areas = 0;    ///< 0 when it is not known any more
  bool isCovering = false;  ///< the capture's file is covered, and its original is kept
};

/// Nothing where nothing was covered.
[[nodiscard]] std::optional<KeptRedaction> keptRedaction(const ScreenshotEntry& entry,
                                                         const LibraryPaths& paths);

}  // namespace vantorel
