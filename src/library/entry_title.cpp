#include "library/entry_title.hpp"

#include <utility>

#include "base/plain_name.hpp"

namespace vantorel {

std::string fileNameOf(const ScreenshotEntry& entry) {
  const std::string_view path = entry.path;
  return std::string(path.substr(path.rfind('/') + 1));
}

std::string titleOf(const ScreenshotEntry& entry) {
  if (entry.title) {
    if (std::string title = plainName(*entry.title); !title.empty()) return title;
  }
  std::string name = fileNameOf(entry);
  const std::size_t ending = name.rfind('.');
  if (ending != std::string::npos && ending > 0) name.resize(ending);
  std::string plain = plainName(name);
  return plain.empty() ? name : plain;
}

std::optional<std::string> titleFrom(std::string_view typed) {
  std::string title = plainName(typed);
  return title.empty() ? std::nullopt : std::optional(std::move(title));
}

}  // namespace vantorel
