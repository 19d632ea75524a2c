#include "app/hot_key_text.hpp"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace vantorel {
namespace {

/// X keysyms of the keys that have a name instead of a character.
constexpr auto namedKeys = std::to_array<std::pair<std::uint32_t, std::string_view>>({
    {0x20, "Space"},     {0xFF08, "Backspace"},   {0xFF09, "Tab"},    {0xFF0D, "Return"},
    {0xFF13, "Pause"},   {0xFF14, "Scroll Lock"}, {0xFF1B, "Escape"}, {0xFF50, "Home"},
    {0xFF51, "Left"},    {0xFF52, "Up"},          {0xFF53, "Right"},  {0xFF54, "Down"},
    {0xFF55, "Page Up"}, {0xFF56, "Page Down"},   {0xFF57, "End"},    {0xFF61, "Print"},
    {0xFF63, "Insert"},  {0xFF67, "Menu"},        {0xFF8D, "Enter"},  {0xFFFF, "Delete"},
});

std::string keyText(std::uint32_t keysym) {
  for (const auto& [key, name] : namedKeys) {
    if (key == keysym) return std::string(name);
  }
  constexpr std::uint32_t firstFunctionKey = 0xFFBE;
  if (keysym >= firstFunctionKey && keysym < firstFunctionKey + 35) {
    return fmt::format("F{}", keysym - firstFunctionKey + 1);
  }
  if (keysym >= 'a' && keysym <= 'z') return std::string(1, static_cast<char>(keysym - 'a' + 'A'));
  if (keysym > 0x20 && keysym < 0x7F) return std::string(1, static_cast<char>(keysym));
  return fmt::format("Key {:#x}", keysym);
}

}  // namespace

std::string displayText(const HotKeySpec& spec) {
  constexpr auto modifiers = std::to_array<std::pair<std::uint32_t, std::string_view>>({
      {HotKeySpec::control, "Control"},
      {HotKeySpec::option, "Option"},
      {HotKeySpec::shift, "Shift"},
      {HotKeySpec::command, "Command"},
  });
  std::string text;
  for (const auto& [mask, name] : modifiers) {
    if ((spec.carbonModifiers & mask) != 0) text.append(name).append("+");
  }
  return text + keyText(spec.keyCode);
}

}  // namespace vantorel
