#include "platform/linux/user_folders.hpp"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <ranges>

namespace vantorel {
namespace {

/// The file of an honest user is much smaller.
constexpr std::uint64_t longestText = 64 << 10;

/// A base directory: the variable when it holds an absolute path (others are to be ignored), else
/// the usual place.
Path baseFolder(const UserFolders::Environment& environment, const char* variable,
                const Path& usual) {
  const auto value = environment(variable);
  if (value && Path(*value).is_absolute()) return *value;
  return usual;
}

/// The absolute paths of a list like "/etc/xdg:/usr/share/xdg".
std::vector<Path> foldersOf(std::string_view list) {
  std::vector<Path> folders;
  for (const auto part : std::views::split(list, ':')) {
    if (Path folder(part.begin(), part.end()); folder.is_absolute()) folders.push_back(folder);
  }
  return folders;
}

/// The value of `XDG_PICTURES_DIR="$HOME/Pictures"`: an absolute path or one below "$HOME/".
std::optional<Path> picturesFolder(std::string_view text, const Path& home) {
  std::optional<Path> found;
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    constexpr std::string_view name = "XDG_PICTURES_DIR=\"";
    if (!line.starts_with(name)) continue;
    line.remove_prefix(name.size());
    line = line.substr(0, line.find('"'));
    constexpr std::string_view inHome = "$HOME/";
    if (line.starts_with(inHome)) {
      found = home / line.substr(inHome.size());
    } else if (line.starts_with('/')) {
      found = line;
    }
  }
  return found;
}

}  // namespace

UserFolders UserFolders::ofUser(const Environment& environment, std::string_view userDirectories) {
  const Path home = environment("HOME").value_or("/");
  const Path pictures = picturesFolder(userDirectories, home).value_or(home / "Pictures");
  return {.data = baseFolder(environment, "XDG_DATA_HOME", home / ".local/share") / "Vantorel",
          .config = baseFolder(environment, "XDG_CONFIG_HOME", home / ".config") / "Vantorel",
          .cache = baseFolder(environment, "XDG_CACHE_HOME", home / ".cache") / "Vantorel",
          .captures = pictures / "Vantorel",
          .sharedConfig = foldersOf(environment("XDG_CONFIG_DIRS").value_or("/etc/xdg"))};
}

UserFolders UserFolders::below(const std::filesystem::path& root) {
  return {.data = root, .config = root, .cache = root / "Caches", .captures = root / "Captures"};
}

UserFolders UserFolders::ofThisUser(const Files& files) {
  const Environment environment = [](const char* name) -> std::optional<std::string> {
    const char* value = std::getenv(name);
    if (value == nullptr && std::string_view(name) == "HOME") {
      const passwd* const user = getpwuid(getuid());
      value = user == nullptr ? nullptr : user->pw_dir;
    }
    if (value == nullptr || *value == '\0') return std::nullopt;
    return value;
  };
  const Path home = environment("HOME").value_or("/");
  const auto text = files.read(
      baseFolder(environment, "XDG_CONFIG_HOME", home / ".config") / "user-dirs.dirs", longestText);
  return ofUser(environment, text.value_or(""));
}

}  // namespace vantorel
