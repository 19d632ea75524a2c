#include "library/entry_title.hpp"

#include <string_view>

namespace vantorel {

std::string fileNameOf(const ScreenshotEntry& entry) {
  const std::string_view path = entry.path;
  return std::string(path.substr(path.rfind('/') + 1));
}

std::string titleOf(const ScreenshotEntry& entry) {
  if (entry.title && !entry.title->empty()) return *entry.title;
  std::string name = fileNameOf(entry);
  const std::size_t ending = name.rfind('.');
  if (ending != std::string::npos && ending > 0) name.resize(ending);
  return name;
}

}  // namespace vantorel
