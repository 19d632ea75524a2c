#pragma once

#include <string>
#include <string_view>

namespace vantorel {

/// `text` with the names that keys and places have on Linux in place of signs and names from
/// elsewhere: "⌘C copies" is "Ctrl+C copies", "⇧-click" is "Shift-click". For texts that are
/// fixed with those signs, where they are shown.
[[nodiscard]] std::string withLinuxKeys(std::string_view text);

}  // namespace vantorel
