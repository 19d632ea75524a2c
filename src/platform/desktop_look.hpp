#pragma once

#include <optional>
#include <string>

namespace vantorel {

/// How a desktop wants its programs to look, as far as it says.
struct DesktopLook {
  std::string font;            ///< in words, "Noto Sans Bold 10"; empty: it does not say
  std::optional<bool> isDark;  ///< nothing: it does not say

  bool operator==(const DesktopLook&) const = default;
};

}  // namespace vantorel
