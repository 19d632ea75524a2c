#include "capture/kept_redaction.hpp"

#include "capture/redacted_originals.hpp"

namespace vantorel {

std::optional<KeptRedaction> keptRedaction(const ScreenshotEntry& entry,
                                           const LibraryPaths& paths) {
  KeptRedaction kept;
  if (entry.autoRedactions) kept.areas = entry.autoRedactions->size();
  kept.isCovering = entry.originalPath &&
                    Path(*entry.originalPath) == paths.redactedOriginals() / originalName(entry.id);
  if (!kept.isCovering && kept.areas == 0) return std::nullopt;
  return kept;
}

}  // namespace vantorel
