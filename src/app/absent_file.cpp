#include "app/absent_file.hpp"

#include <fmt/format.h>

#include "library/file_reach.hpp"

namespace vantorel {

std::string sentenceOfAbsence(const Files& files, const ScreenshotEntry& entry) {
  const FileReach reach = reachOf(files, entry);
  if (reach == FileReach::fileGone || reach == FileReach::folderReplaced) {
    return fmt::format("The capture's file is gone: {}.", entry.path);
  }
  const std::string_view away = sentence(reach);
  if (away.empty()) return {};
  return fmt::format("{}: {}{}", entry.path, away, away.ends_with('.') ? "" : ".");
}

}  // namespace vantorel
