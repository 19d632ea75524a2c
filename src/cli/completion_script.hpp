#pragma once

#include <string>
#include <string_view>

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

/// By which the scripts ask the program for captures to offer, behind its "--root" if there is one:
/// an id and a name on each line, with a tab between them.
inline constexpr std::string_view offeredCapturesArgument = "--offered-captures";

/// The script by which the shell completes the program's commands, options and their values.
[[nodiscard]] std::string completionScript(const CommandOutline& program, Shell shell);

}  // namespace vantorel
