#pragma once

#include <array>
#include <string_view>
#include <utility>

namespace vantorel {

/// What an exit status means, for the help and the manual page.
inline constexpr auto exitStatuses = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"0", "done"},
    {"1", "failed, with the reason on standard error"},
    {"2", "wrong usage"},
    {"3", "cancelled by the user"},
    {"4", "refused because another capture or a dialog is running"},
    {"130, 143", "ended by Ctrl-C or SIGTERM while another process had the library"},
});

}  // namespace vantorel
