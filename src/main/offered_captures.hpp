#pragma once

#include <optional>
#include <string>

#include "platform/files.hpp"

namespace vantorel {

/// What the completions of shells offer where a command takes captures, asked for with
/// `offeredCapturesArgument`: the ids and names of the newest, one a line, the newest first. Empty
/// when the library cannot be read. Only looks: it waits for no other process, changes nothing and
/// asks no program in the tray. Blocks.
[[nodiscard]] std::string offeredCaptures(const std::optional<Path>& root);

}  // namespace vantorel
