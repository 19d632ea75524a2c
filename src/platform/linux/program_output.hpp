#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace vantorel {

/// What a program (found in PATH) prints until it ends. Nothing when it is not there, ends with
/// another status than 0, or takes longer than `bound`: then it is killed. Blocks for as long.
[[nodiscard]] std::optional<std::string> programOutput(const std::vector<std::string>& command,
                                                       std::chrono::milliseconds bound);

}  // namespace vantorel
