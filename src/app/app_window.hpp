#pragma once

#include "base/enum_names.hpp"

namespace vantorel {

/// The windows of which there is one at most, by the names that commands give them.
enum class AppWindow { history, settings, help, welcome };

template <>
inline constexpr auto enumNames<AppWindow> = std::to_array<EnumName<AppWindow>>({
    {AppWindow::history, "history"},
    {AppWindow::settings, "settings"},
    {AppWindow::help, "help"},
    {AppWindow::welcome, "welcome"},
});

}  // namespace vantorel
