#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.hpp"

namespace vantorel {

/// Where this user's things belong: the XDG base directories
/// (specifications.freedesktop.org/basedir-spec) and the Pictures folder of xdg-user-dirs; or, for
/// tests and portable use, all below one root.
struct UserFolders {
  std::filesystem::path data;      ///< the library's index and staged captures
  std::filesystem::path config;    ///< the settings
  std::filesystem::path cache;     ///< what can be made again
  std::filesystem::path captures;  ///< the default folder for capture files

  /// Where desktops keep what is configured for all users, the most important first. Not below.
  std::vector<std::filesystem::path> sharedConfig{};

  using Environment = std::function<std::optional<std::string>(const char* name)>;

  /// `userDirectories` is the text of "user-dirs.dirs", empty when there is none.
  [[nodiscard]] static UserFolders ofUser(const Environment& environment,
                                          std::string_view userDirectories);
  [[nodiscard]] static UserFolders below(const std::filesystem::path& root);

  /// Those of the running process's user. Blocks.
  [[nodiscard]] static UserFolders ofThisUser(const Files& files);
};

}  // namespace vantorel
