#pragma once

#include <string>

#include "base/enum_names.hpp"
#include "cli/command_outline.hpp"

namespace vantorel {

enum class Shell { bash, zsh, fish };
template <>
inline constexpr auto enumNames<Shell> = std::to_array<EnumName<Shell>>({
    {Shell::bash, "bash"},
    {Shell::zsh, "zsh"},
    {Shell::fish, "fish"},
});

/// The script by which the shell completes the program's commands, options and their values.
[[nodiscard]] std::string completionScript(const CommandOutline& program, Shell shell);

}  // namespace vantorel
