#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/autostart_switch.hpp"
#include "app/library_pane.hpp"
#include "app/shortcut_recorder.hpp"
#include "app/status_menu.hpp"
#include "base/observers.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// What the window of the first start shows and does. Lives on the main runner.
class WelcomeModel {
 public:
  struct Services {
    SettingsStore& settings;
    AutostartSwitch& autostart;
    LibraryPane& library;
    ShortcutRecorder* recorder = nullptr;  ///< knows whether the key works; may be null
    StatusItem* statusItem = nullptr;      ///< null where there is none
    std::string home;                      ///< see `SettingsModel::Services`

    std::function<void()> openShortcuts;  ///< in Settings
    std::function<void()> openHelp;
    std::function<void()> captureArea;
  };

  explicit WelcomeModel(Services services);

  /// The names on the keys that capture an area; empty when none is set.
  [[nodiscard]] std::vector<std::string> captureKey() const;

  /// How an area is captured, or what is the matter with the key.
  [[nodiscard]] std::string captureWords() const;

  [[nodiscard]] std::string folder() const;

  /// The same for a dialog, which begins there.
  [[nodiscard]] Path folderPath() const { return services_.settings.values().storageDirectory; }

  /// What became of the choice of another folder; mostly empty.
  [[nodiscard]] std::string folderRemark() const;

  [[nodiscard]] bool startsWithSession() const {
    return services_.autostart.isOn().value_or(false);
  }

  /// How the program is reached once it runs, or why starting with the session failed.
  [[nodiscard]] std::string sessionWords() const;

  void chooseFolder(const Path& folder) { services_.library.moveTo(folder); }
  void setStartsWithSession(bool on) { services_.autostart.set(on); }
  void changeKey() { services_.openShortcuts(); }
  void showAllKeys() { services_.openHelp(); }
  void tryCapture() { services_.captureArea(); }

  /// The window was closed, however: it does not come again.
  void finish() { services_.settings.set(&SettingsValues::hasCompletedOnboarding, true); }

  /// Called when something of it has changed.
  Observation observe(std::function<void()> observer) {
    return observers_.add(std::move(observer));
  }

  /// To be held by the window while it is there; see `LibraryPane::shown`.
  [[nodiscard]] Observation shown() { return services_.library.shown(); }

 private:
  Services services_;
  Observers<> observers_;
  std::vector<Observation> observations_;
};

}  // namespace vantorel
