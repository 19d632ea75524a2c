#include "editor/linux_keys.hpp"

#include <array>
#include <utility>

namespace vantorel {
namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 5> names{{
    {"⌘", "Ctrl"},
    {"⌥", "Alt"},
    {"⇧", "Shift"},
    {"⌫", "Del"},
    {"⏎", "Enter"},
}};

bool isKeyName(char next) {
  return (next >= 'A' && next <= 'Z') || (next >= 'a' && next <= 'z') ||
         (next >= '0' && next <= '9') || static_cast<unsigned char>(next) >= 0x80;
}

}  // namespace

std::string withLinuxKeys(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    bool isFound = false;
    for (const auto& [symbol, name] : names) {
      if (!text.starts_with(symbol)) continue;
      result += name;
      text.remove_prefix(symbol.size());
      // Pressed together with what stands right behind it.
      if (!text.empty() && isKeyName(text.front())) result += '+';
      isFound = true;
      break;
    }
    if (isFound) continue;
    result += text.front();
    text.remove_prefix(1);
  }
  return result;
}

}  // namespace vantorel
