#pragma once

#include <string_view>

#include "platform/files.hpp"

namespace vantorel {

/// What became of putting a copy of a damaged index aside.
enum class Parking { parked, alreadyParked, failed };

/// Keeps `text` beside the index as "history-<digest>.unreadable.json", for its owner only. The
/// same text is parked once.
[[nodiscard]] Parking parkIndex(Files& files, const Path& index, std::string_view text);

}  // namespace vantorel
