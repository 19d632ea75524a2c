#pragma once

#include <string>

#include "app/records/hot_key_spec.hpp"

namespace vantorel {

/// Modifier names in the order Control, Option, Shift, Command, then the key: "Control+Return".
[[nodiscard]] std::string displayText(const HotKeySpec& spec);

}  // namespace vantorel
