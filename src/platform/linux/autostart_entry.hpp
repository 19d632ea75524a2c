#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/autostart.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Starts with the session by a desktop entry in the user's autostart folder
/// (specifications.freedesktop.org/autostart-spec).
class AutostartEntry final : public Autostart {
 public:
  /// `entry` is the file, "~/.config/autostart/NAME.desktop"; `command` the program with its
  /// arguments. `shared` are the entries of that name for all users, as a package installs one:
  /// the user's own hides them.
  AutostartEntry(Files& files, std::filesystem::path entry, std::vector<std::string> command,
                 std::vector<std::filesystem::path> shared = {})
      : files_(files),
        entry_(std::move(entry)),
        command_(std::move(command)),
        shared_(std::move(shared)) {}

  /// False too when the user has switched it off with a tool of his desktop.
  [[nodiscard]] bool isOn() const override;
  [[nodiscard]] Result<void> set(bool on) override;

 private:
  Files& files_;
  std::filesystem::path entry_;
  std::vector<std::string> command_;
  std::vector<std::filesystem::path> shared_;
};

}  // namespace vantorel
