#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/records/shortcut_id.hpp"

namespace vantorel {

class AppCoordinator;

/// A command that a person gives at the desktop, in whichever way: the menu, the hot keys, the
/// launcher's actions and the bus all read this one row of it.
struct DesktopCommand {
  std::string name;                      ///< for the launcher and the bus: "CaptureArea"
  std::string label;                     ///< in the menu
  std::optional<ShortcutID> shortcut{};  ///< what may carry a key, and its title in Settings
  std::function<void(AppCoordinator&)> run{};

  /// Why it may not run now, in a sentence. Empty: it always may, or says itself why not.
  std::function<std::optional<std::string>(AppCoordinator&)> obstacle{};

  /// The command line that does the same in a process of its own; empty when only the program in
  /// the tray can.
  std::vector<std::string> arguments{};
};

/// All that this version has; a command that it has not got has no row. Built once; any thread.
[[nodiscard]] const std::vector<DesktopCommand>& desktopCommands();

/// The command of that name, or null. Any thread.
[[nodiscard]] const DesktopCommand* findDesktopCommand(std::string_view name);

/// The command that this key is for, or null.
[[nodiscard]] const DesktopCommand* findDesktopCommand(ShortcutID shortcut);

}  // namespace vantorel
