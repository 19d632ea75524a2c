#include "platform/linux/desktop_applications.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <set>

#include "base/utf8.hpp"

namespace vantorel {
namespace {

std::string lowered(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

/// The file name of the program an Exec line starts, "env" and its variables skipped.
std::string programOf(std::string_view exec) {
  while (!exec.empty()) {
    const char quote = exec[0] == '"' ? '"' : ' ';
    if (quote == '"') exec.remove_prefix(1);
    const std::size_t end = std::min(exec.find(quote), exec.size());
    std::string_view word = exec.substr(0, end);
    exec.remove_prefix(std::min(end + 1, exec.size()));
    word.remove_prefix(word.rfind('/') + 1);  // npos + 1 is 0
    if (!word.empty() && word != "env" && word.find('=') == std::string_view::npos) {
      return std::string(word);
    }
  }
  return {};
}

std::string environmentOr(const char* key, std::string fallback) {
  const char* value = std::getenv(key);
  return value != nullptr && *value != '\0' ? value : std::move(fallback);
}

}  // namespace

std::vector<Path> DesktopApplications::standardFolders() {
  const std::string home = environmentOr("HOME", "/");
  std::vector<Path> folders{environmentOr("XDG_DATA_HOME", home + "/.local/share")};
  const std::string list = environmentOr("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
  for (std::size_t start = 0; start <= list.size();) {
    const std::size_t end = std::min(list.find(':', start), list.size());
    if (end > start) folders.emplace_back(list.substr(start, end - start));
    start = end + 1;
  }
  return folders;
}

void DesktopApplications::load() {
  if (loaded_) return;
  loaded_ = true;
  std::set<std::string> seen;  // a file hides those of its name in weaker folders
  for (const Path& folder : folders_) {
    const Path top = folder / "applications";
    std::error_code failure;
    std::filesystem::recursive_directory_iterator files(
        top, std::filesystem::directory_options::skip_permission_denied, failure);
    for (const std::filesystem::recursive_directory_iterator end; !failure && files != end;
         files.increment(failure)) {
      if (files->path().extension() != ".desktop") continue;
      std::string id = files->path().lexically_relative(top).replace_extension().string();
      std::replace(id.begin(), id.end(), '/', '-');
      if (seen.insert(id).second) add(files->path(), id);
    }
  }
}

void DesktopApplications::add(const Path& file, const std::string& id) {
  std::ifstream stream(file);
  std::string line;
  std::string name;
  std::string declaredClass;
  std::string program;
  bool isShown = true;
  for (bool inEntry = false; std::getline(stream, line);) {
    if (line.starts_with('[')) {
      if (inEntry) break;
      inEntry = line.starts_with("[Desktop Entry]");
      continue;
    }
    const std::size_t equals = line.find('=');
    if (!inEntry || equals == std::string::npos) continue;
    std::string_view key(line.data(), equals);
    std::string_view value(line);
    value.remove_prefix(equals + 1);
    while (key.ends_with(' ')) key.remove_suffix(1);
    while (value.starts_with(' ')) value.remove_prefix(1);
    while (value.ends_with(' ') || value.ends_with('\r')) value.remove_suffix(1);
    if (key == "Name") name = repairedUtf8(value);
    if (key == "StartupWMClass") declaredClass = value;
    if (key == "Exec") program = programOf(value);
    if (key == "NoDisplay" && value == "true") isShown = false;
    if (key == "Hidden" && value == "true") return;
  }
  if (name.empty()) return;
  const std::size_t index = applications_.size();
  applications_.push_back({id, name});
  byID_.emplace(lowered(id), index);
  if (!declaredClass.empty()) byDeclaredClass_.emplace(lowered(declaredClass), index);
  // Hidden entries are often a second door into a program that has a real one.
  if (!program.empty() && isShown) byProgram_.emplace(program, index);
}

std::optional<DesktopApplication> DesktopApplications::find(const ApplicationHints& hints) {
  load();
  using Table = std::map<std::string, std::size_t, std::less<>>;
  const auto look = [&](const Table& table,
                        const std::string& key) -> std::optional<DesktopApplication> {
    if (key.empty()) return std::nullopt;
    const auto found = table.find(key);
    if (found == table.end()) return std::nullopt;
    return applications_[found->second];
  };
  const std::array names{hints.applicationID, hints.className, hints.instanceName};
  for (const std::string& name : names) {
    if (auto found = look(byDeclaredClass_, lowered(name))) return found;
  }
  for (const std::string& name : names) {
    const std::string key = lowered(name);
    if (auto found = look(byID_, key)) return found;
    // "org.gnome.Nautilus.desktop" belongs to the class "Nautilus" too.
    if (key.empty()) continue;
    for (const auto& [id, index] : byID_) {
      if (id.size() > key.size() && id.ends_with(key) && id[id.size() - key.size() - 1] == '.') {
        return applications_[index];
      }
    }
  }
  return look(byProgram_, hints.processName);
}

}  // namespace vantorel
