#pragma once

#include <string>
#include <string_view>

namespace vantorel {

/// A fixed text with the names that keys have on Linux's keyboards: "⌘C" is "Ctrl+C", "⌫" is "Del".
[[nodiscard]] std::string withLinuxKeys(std::string_view text);

}  // namespace vantorel
