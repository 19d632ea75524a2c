#pragma once

#include <string>
#include <string_view>

#include "cli/command_outline.hpp"

namespace vantorel {

/// The manual page, vantorel(1), in the man macros of troff: every command, option and setting.
[[nodiscard]] std::string manualPage(const CommandOutline& program, std::string_view version);

}  // namespace vantorel
