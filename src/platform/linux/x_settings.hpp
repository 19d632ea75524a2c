#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/desktop_look.hpp"

namespace vantorel {

/// The settings that a desktop shares with all programs of its X server, by name.
struct XSettings {
  std::map<std::string, std::uint32_t, std::less<>> numbers;
  std::map<std::string, std::string, std::less<>> texts;
};

/// From the value of _XSETTINGS_SETTINGS; nothing of one that is cut off or makes no sense.
[[nodiscard]] XSettings xSettingsFrom(std::string_view value);

/// What the scale of the X resources is multiplied by: "Gdk/WindowScalingFactor", unless
/// "Gdk/UnscaledDPI" tells that the resolution has it already. 1 to 8.
[[nodiscard]] double scalingFactor(const XSettings& settings);

/// Dark as "Gtk/ApplicationPreferDarkTheme" asks, or as the theme's name says ("Greybird-dark").
[[nodiscard]] DesktopLook lookOf(const XSettings& settings);

}  // namespace vantorel
