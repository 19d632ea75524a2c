#include "app/records/hot_key_text.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <utility>

namespace vantorel {
namespace {

using Names = std::pair<std::uint32_t, std::string_view>;

// The one place that names modifiers and keys; the first name of each is shown, the others are
// understood.
constexpr auto modifierNames = std::to_array<Names>({
    {HotKeySpec::control, "Ctrl"},
    {HotKeySpec::option, "Alt"},
    {HotKeySpec::shift, "Shift"},
    {HotKeySpec::command, "Super"},
    {HotKeySpec::control, "Control"},
    {HotKeySpec::option, "Option"},
    {HotKeySpec::command, "Command"},
    {HotKeySpec::command, "Meta"},
    {HotKeySpec::command, "Win"},
});

/// X keysyms of the keys that have a name instead of a character.
constexpr auto keyNames = std::to_array<Names>({
    {0x20, "Space"},          {0x2B, "Plus"},           {0xFF08, "Backspace"},
    {0xFF09, "Tab"},          {0xFF0D, returnKeyName},  {0xFF13, "Pause"},
    {0xFF14, "Scroll Lock"},  {0xFF1B, "Esc"},          {0xFF50, "Home"},
    {0xFF51, "Left"},         {0xFF52, "Up"},           {0xFF53, "Right"},
    {0xFF54, "Down"},         {0xFF55, "Page Up"},      {0xFF56, "Page Down"},
    {0xFF57, "End"},          {0xFF61, "Print"},        {0xFF63, "Insert"},
    {0xFF67, "Menu"},         {0xFF8D, "Keypad Enter"}, {0xFFFF, "Del"},
    {0xFF0D, "Enter"},        {0xFF1B, "Escape"},       {0xFF61, "PrintScreen"},
    {0xFF61, "Print Screen"}, {0xFF55, "PgUp"},         {0xFF56, "PgDn"},
    {0xFFFF, "Delete"},
});

constexpr std::uint32_t firstFunctionKey = 0xFFBE;
constexpr std::uint32_t functionKeys = 35;

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isSame(std::string_view one, std::string_view other) {
  return std::ranges::equal(one, other, {}, lower, lower);
}

std::optional<std::uint32_t> find(std::span<const Names> names, std::string_view text) {
  for (const auto& [value, name] : names) {
    if (isSame(name, text)) return value;
  }
  return std::nullopt;
}

std::optional<std::uint32_t> keyFromText(std::string_view text) {
  if (text.size() == 1 && text[0] > 0x20 && text[0] < 0x7F) {
    return static_cast<std::uint32_t>(lower(text[0]));
  }
  if (const auto named = find(keyNames, text)) return named;
  std::uint32_t number = 0;
  const bool isHex = text.starts_with("0x");
  const bool isFunction = !isHex && text.size() > 1 && lower(text[0]) == 'f';
  if (!isHex && !isFunction) return std::nullopt;
  const char* const end = text.data() + text.size();
  const auto [stop, error] =
      std::from_chars(text.data() + (isHex ? 2 : 1), end, number, isHex ? 16 : 10);
  if (error != std::errc{} || stop != end || number == 0) return std::nullopt;
  if (isHex) return number;
  return number <= functionKeys ? std::optional(firstFunctionKey + number - 1) : std::nullopt;
}

std::string keyText(std::uint32_t keysym) {
  for (const auto& [key, name] : keyNames) {
    if (key == keysym) return std::string(name);
  }
  if (keysym >= firstFunctionKey && keysym < firstFunctionKey + functionKeys) {
    return fmt::format("F{}", keysym - firstFunctionKey + 1);
  }
  if (keysym >= 'a' && keysym <= 'z') return std::string(1, static_cast<char>(keysym - 'a' + 'A'));
  if (keysym > 0x20 && keysym < 0x7F) return std::string(1, static_cast<char>(keysym));
  return fmt::format("{:#x}", keysym);
}

}  // namespace

std::vector<std::string> modifierNamesOf(std::uint32_t modifiers) {
  std::vector<std::string> names;
  std::uint32_t named = 0;
  for (const auto& [mask, name] : modifierNames) {
    if ((modifiers & ~named & mask) != 0) names.emplace_back(name);
    named |= mask;
  }
  return names;
}

std::vector<std::string> keyNamesOf(const HotKeySpec& spec) {
  std::vector<std::string> names = modifierNamesOf(spec.carbonModifiers);
  names.push_back(keyText(spec.keyCode));
  return names;
}

std::string displayText(const HotKeySpec& spec) {
  return fmt::format("{}", fmt::join(keyNamesOf(spec), "+"));
}

std::optional<HotKeySpec> hotKeyFromText(std::string_view text) {
  HotKeySpec spec;
  for (std::size_t plus = text.find('+', 1);
       plus != std::string_view::npos && plus + 1 < text.size(); plus = text.find('+', 1)) {
    const auto modifier = find(modifierNames, text.substr(0, plus));
    if (!modifier) return std::nullopt;
    spec.carbonModifiers |= *modifier;
    text.remove_prefix(plus + 1);
  }
  const auto key = keyFromText(text);
  if (!key) return std::nullopt;
  spec.keyCode = *key;
  return spec;
}

bool isForTyping(const HotKeySpec& spec) {
  constexpr std::uint32_t withOthers =
      HotKeySpec::command | HotKeySpec::option | HotKeySpec::control;
  if ((spec.carbonModifiers & withOthers) != 0) return false;
  if (spec.keyCode < 0xFF00) return true;  // the characters of the keyboards of the world
  if (spec.keyCode >= 0x01000100 && spec.keyCode <= 0x0110FFFF) return true;  // of Unicode
  constexpr auto editing =
      std::to_array<std::uint32_t>({0xFF08, 0xFF09, 0xFF0D, 0xFF1B, 0xFF50, 0xFF51, 0xFF52, 0xFF53,
                                    0xFF54, 0xFF55, 0xFF56, 0xFF57, 0xFF8D, 0xFFFF});
  const bool isKeypad = spec.keyCode >= 0xFFAA && spec.keyCode <= 0xFFB9;
  return isKeypad || std::ranges::find(editing, spec.keyCode) != editing.end();
}

}  // namespace vantorel
