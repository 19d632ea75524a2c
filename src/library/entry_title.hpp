#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "library/records/screenshot_entry.hpp"

namespace vantorel {

/// What a capture is called where it is shown: its title, or its file's name without the ending,
/// where the title shows nothing. On one line, whatever the index or the disk has.
[[nodiscard]] std::string titleOf(const ScreenshotEntry& entry);

/// The title that was typed, as it is kept; none when nothing of it can be seen.
[[nodiscard]] std::optional<std::string> titleFrom(std::string_view typed);

/// The name of its file.
[[nodiscard]] std::string fileNameOf(const ScreenshotEntry& entry);

}  // namespace vantorel
