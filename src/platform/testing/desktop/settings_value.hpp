#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <variant>

namespace vantorel {

/// One of the settings that a desktop shares with programs of X.
struct SharedSetting {
  std::string name;
  std::variant<std::uint32_t, std::string> value;
};

/// What the property _XSETTINGS_SETTINGS holds for them, the least significant byte first.
[[nodiscard]] std::string settingsValue(std::initializer_list<SharedSetting> settings);

}  // namespace vantorel
