#include "library/silent_folders.hpp"

#include <set>
#include <string_view>

#include "library/file_reach.hpp"

namespace vantorel {

std::vector<std::string> silentFolders(const Files& files, const EntryList& entries) {
  std::set<std::string_view> folders;
  for (const EntryPointer& entry : entries) folders.insert(folderOf(entry->path));
  std::vector<std::string> silent;
  for (const std::string_view folder : folders) {
    const auto status = files.status(Path(folder));
    if (status || status.error().kind != FailureKind::unreachable) continue;
    silent.emplace_back(folder);
  }
  return silent;
}

std::string silenceOf(const std::vector<std::string>& folders) {
  std::string text;
  for (const std::string& folder : folders) {
    text += folder + " is out of reach: it does not answer.\n";
  }
  return text;
}

}  // namespace vantorel
