#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/records/hot_key_spec.hpp"

namespace vantorel {

/// Modifiers in the order Ctrl, Alt, Shift, Super, then the key, by the names that stand on
/// keyboards of this system: "Ctrl+Alt+Enter".
[[nodiscard]] std::string displayText(const HotKeySpec& spec);

/// What a person types for a key; capitals and the order of the modifiers do not matter. Nothing
/// for what is no key.
[[nodiscard]] std::optional<HotKeySpec> hotKeyFromText(std::string_view text);

}  // namespace vantorel
