#include "platform/linux/language_folder.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace vantorel {
namespace {

constexpr std::string_view suffix = ".traineddata";

}  // namespace

std::vector<std::string> languagesIn(const Path& folder) {
  std::vector<std::string> languages;
  std::error_code error;
  std::filesystem::directory_iterator file(folder, error);
  for (; !error && file != std::filesystem::directory_iterator(); file.increment(error)) {
    const std::string name = file->path().filename().native();
    if (!name.ends_with(suffix) || name.starts_with('.')) continue;
    std::string language = name.substr(0, name.size() - suffix.size());
    // A plus sign joins several names.
    if (!language.empty() && language != "osd" && !language.contains('+')) {
      languages.push_back(std::move(language));
    }
  }
  std::ranges::sort(languages);
  return languages;
}

Path languageFolder() {
  std::error_code error;
  if (const char* const named = std::getenv("TESSDATA_PREFIX");
      named != nullptr && *named != '\0') {
    // Some name the folder above it.
    const Path inner = Path(named) / "tessdata";
    return languagesIn(named).empty() && std::filesystem::is_directory(inner, error) ? inner
                                                                                     : Path(named);
  }
  std::vector<Path> found;
  std::filesystem::directory_iterator version("/usr/share/tesseract-ocr", error);
  for (; !error && version != std::filesystem::directory_iterator(); version.increment(error)) {
    found.push_back(version->path() / "tessdata");
  }
  std::ranges::sort(found, std::ranges::greater());
  found.insert(found.end(), {"/usr/share/tessdata", "/usr/local/share/tessdata"});
  for (const Path& folder : found) {
    if (!languagesIn(folder).empty()) return folder;
  }
  return {};
}

}  // namespace vantorel
