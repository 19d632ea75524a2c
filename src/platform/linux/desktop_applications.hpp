#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.hpp"

namespace vantorel {

/// What a window and its process tell of the application they belong to.
struct ApplicationHints {
  std::string applicationID;  ///< as GTK programs set it
  std::string className;      ///< the class of WM_CLASS
  std::string instanceName;   ///< the instance of WM_CLASS
  std::string processName;    ///< the file name of the executable
};

struct DesktopApplication {
  std::string id;    ///< the desktop file's name without ".desktop"
  std::string name;  ///< for people
};

/// The installed applications by their desktop files, read when first asked. One thread.
class DesktopApplications {
 public:
  /// `folders` hold "applications" folders, the strongest first.
  explicit DesktopApplications(std::vector<Path> folders) : folders_(std::move(folders)) {}

  /// XDG_DATA_HOME and XDG_DATA_DIRS, or their defaults.
  [[nodiscard]] static std::vector<Path> standardFolders();

  /// The application that fits best: by the class its desktop file declares, then by the file's
  /// name, then by the program it starts.
  [[nodiscard]] std::optional<DesktopApplication> find(const ApplicationHints& hints);

 private:
  void load();
  void add(const Path& file, const std::string& id);

  std::vector<Path> folders_;
  bool loaded_ = false;
  std::vector<DesktopApplication> applications_;
  std::map<std::string, std::size_t, std::less<>> byDeclaredClass_;  // lower case
  std::map<std::string, std::size_t, std::less<>> byID_;             // lower case
  std::map<std::string, std::size_t, std::less<>> byProgram_;
};

}  // namespace vantorel
