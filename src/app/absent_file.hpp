#pragma once

#include <string>

#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Why an entry's file cannot be used, in a sentence: it is gone, or its folder is out of reach.
/// Empty when it is there. Blocks; any thread.
[[nodiscard]] std::string sentenceOfAbsence(const Files& files, const ScreenshotEntry& entry);

}  // namespace vantorel
