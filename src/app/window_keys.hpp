#pragma once

#include <string_view>
#include <vector>

namespace vantorel {

/// What a key does in a window.
struct WindowKey {
  std::string_view title;
  std::string_view keys;  ///< "Ctrl+Shift+S"; several that do the same are parted by " or "
};

/// A window's keys, as Help lists them.
struct WindowKeys {
  std::string_view window;
  std::vector<WindowKey> keys;
};

/// Of the windows that this version has, and first those that all of them share.
[[nodiscard]] const std::vector<WindowKeys>& windowKeys();

}  // namespace vantorel
