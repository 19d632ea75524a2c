#include "base/linux_keys.hpp"

#include <algorithm>
#include <array>

namespace vantorel {
namespace {

struct LinuxName {
  std::string_view sign;
  std::string_view name;
  bool isModifier = false;
};

constexpr std::array names{
    LinuxName{"⌘", "Ctrl", true},  LinuxName{"⌃", "Ctrl", true},
    LinuxName{"⇧", "Shift", true}, LinuxName{"⌥", "Alt", true},
    LinuxName{"⌫", "Del"},         LinuxName{"⌦", "Del"},
    LinuxName{"⏎", "Return"},      LinuxName{"⎋", "Esc"},
    LinuxName{"⇥", "Tab"},         LinuxName{"System Settings", "the desktop's settings"},
};

const LinuxName* nameAt(std::string_view text) {
  const auto found = std::ranges::find_if(
      names, [text](const LinuxName& entry) { return text.starts_with(entry.sign); });
  return found == names.end() ? nullptr : &*found;
}

bool isLetterOrDigit(char letter) {
  return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
         (letter >= 'a' && letter <= 'z');
}

}  // namespace

std::string withLinuxKeys(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const LinuxName* const entry = nameAt(text);
    if (entry == nullptr) {
      result += text.front();
      text.remove_prefix(1);
      continue;
    }
    text.remove_prefix(entry->sign.size());
    result += entry->name;
    const bool isHeldWithAKey =
        !text.empty() && (isLetterOrDigit(text.front()) || nameAt(text) != nullptr);
    if (entry->isModifier && isHeldWithAKey) result += '+';
  }
  return result;
}

}  // namespace vantorel
