#pragma once

#include <string>

namespace vantorel {

/// A folder or file as a person reads it: "~/Pictures" for what is in `home`, which may be empty.
[[nodiscard]] inline std::string folderWords(const std::string& path, const std::string& home) {
  const bool isIn = home.size() > 1 && path.starts_with(home) &&
                    (path.size() == home.size() || path[home.size()] == '/');
  return isIn ? "~" + path.substr(home.size()) : path;
}

}  // namespace vantorel
