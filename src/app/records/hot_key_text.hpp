#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/records/hot_key_spec.hpp"

namespace vantorel {

/// The one name of the key that takes something, in windows, hints, menus and messages.
inline constexpr const char* returnKeyName = "Return";

/// Modifiers in the order Ctrl, Alt, Shift, Super, then the key, by the names that stand on
/// keyboards of this system: "Ctrl+Alt+Return".
[[nodiscard]] std::string displayText(const HotKeySpec& spec);

/// The same, a name each: "Ctrl", "Alt", "Return".
[[nodiscard]] std::vector<std::string> keyNamesOf(const HotKeySpec& spec);

/// The modifiers of a mask alone: "Ctrl", "Alt".
[[nodiscard]] std::vector<std::string> modifierNamesOf(std::uint32_t modifiers);

/// What a person types for a key; capitals and the order of the modifiers do not matter. Nothing
/// for what is no key.
[[nodiscard]] std::optional<HotKeySpec> hotKeyFromText(std::string_view text);

/// Whether somebody who writes presses this key: letters, digits, signs, Return, the arrow keys and
/// their like, at most with Shift. As a hot key it could no longer be typed anywhere.
[[nodiscard]] bool isForTyping(const HotKeySpec& spec);

}  // namespace vantorel
