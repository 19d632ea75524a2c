#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "main/detached_clipboard.hpp"
#include "main/lanes.hpp"
#include "platform/alerts.hpp"
#include "platform/linux/autostart_entry.hpp"
#include "platform/linux/desktop_notifications.hpp"
#include "platform/linux/desktop_session.hpp"
#include "platform/linux/desktop_sounds.hpp"
#include "platform/linux/inotify_watcher.hpp"
#include "platform/linux/linux_clock.hpp"
#include "platform/linux/linux_image_codec.hpp"
#include "platform/linux/remote_files.hpp"
#include "platform/linux/user_folders.hpp"
#include "settings/settings_file.hpp"
#include "settings/settings_store.hpp"
#include "ui/desktop_ui.hpp"

namespace vantorel {

/// The system around one run of the program, what it shows at the desktop, and the user's settings.
/// Lives on the main runner.
struct DesktopWing {
  /// `root` holds a library and settings of their own, instead of the user's. `desktopUi` is null
  /// for a run without windows.
  DesktopWing(Lanes& lanes, const std::optional<Path>& root, std::shared_ptr<RemoteFiles> theFiles,
              std::shared_ptr<TaskRunner> mainRunner, DesktopUi* desktopUi);

  /// What serves those who paste: this process while it lives in the tray, else one that stays
  /// behind.
  [[nodiscard]] Clipboard& clipboard();

  /// Shows and sounds that a capture is saved. With windows only.
  void cue(const CaptureCue& cue);

  /// Calls `done` when what was shown on behalf of a command has been seen and heard.
  void whenShown(const std::function<void()>& done);

  [[nodiscard]] FolderWatcher& watcher();
  [[nodiscard]] Path settingsPath() const { return folders.config / "settings.json"; }

  /// Starts the program anew in place of this process. Comes back only when that fails.
  [[nodiscard]] bool relaunch() const;

  // In the order they need each other; they go in the opposite one.
  Lanes& lanes;
  const std::optional<Path> root;
  const std::shared_ptr<TaskRunner> main;
  DesktopUi* const ui;
  const std::shared_ptr<RemoteFiles> files;
  const UserFolders user;     ///< the user's, whatever the root
  const UserFolders folders;  ///< those in use
  const std::shared_ptr<LinuxClock> clock = std::make_shared<LinuxClock>();
  const std::shared_ptr<LinuxImageCodec> codec = std::make_shared<LinuxImageCodec>();
  AutostartEntry autostart;
  DesktopServices session;
  DesktopNotifications notifications;
  const std::unique_ptr<Alerts> alerts;
  DetachedClipboard detachedClipboard;
  DesktopSounds sounds;
  std::unique_ptr<InotifyWatcher> folderWatcher;  ///< see `watcher`
  SettingsFile settingsFile;
  SettingsStore settings;
  bool isResident = false;  ///< lives in the tray
  std::optional<long>
      otherTray;                ///< the process in the tray of another session, if this one is too
  bool showsSomething = false;  ///< on behalf of a command

 private:
  void reportSettings();
};

}  // namespace vantorel
