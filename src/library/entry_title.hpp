#pragma once

#include <string>

#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// What a capture is called where it is shown: its title, or its file's name without the ending.
[[nodiscard]] std::string titleOf(const ScreenshotEntry& entry);

/// The name of its file.
[[nodiscard]] std::string fileNameOf(const ScreenshotEntry& entry);

}  // namespace vantorel
