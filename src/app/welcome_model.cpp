#include "app/welcome_model.hpp"

#include <utility>

#include "app/folder_words.hpp"
#include "app/records/hot_key_text.hpp"

namespace vantorel {

WelcomeModel::WelcomeModel(Services services) : services_(std::move(services)) {
  const auto changed = [this] { observers_.notify(); };
  observations_.push_back(services_.settings.observe([changed](std::string_view key) {
    if (key == "captureHotKey" || key == "storageDirectory") changed();
  }));
  observations_.push_back(services_.autostart.observe(changed));
  observations_.push_back(services_.library.observe(changed));
  if (services_.statusItem != nullptr) {
    observations_.push_back(services_.statusItem->observeHost(changed));
  }
  if (services_.recorder != nullptr) {
    observations_.push_back(
        services_.recorder->observe([changed](std::string_view) { changed(); }));
  }
  services_.autostart.refresh();
}

std::vector<std::string> WelcomeModel::captureKey() const {
  const auto& key = services_.settings.values().captureHotKey;
  return key ? keyNamesOf(*key) : std::vector<std::string>();
}

std::string WelcomeModel::captureWords() const {
  if (services_.recorder != nullptr) {
    const ShortcutRecorder::Field field = services_.recorder->field("captureHotKey");
    if (!field.isListening && !field.remark.empty()) return field.remark;
  }
  return services_.settings.values().captureHotKey
             ? "Space picks a window, Escape cancels."
             : "No capture shortcut is set. Capture from the tray, or record one in Settings → "
               "Shortcuts.";
}

std::string WelcomeModel::folder() const {
  return folderWords(services_.settings.values().storageDirectory, services_.home);
}

std::string WelcomeModel::folderRemark() const {
  const auto& moving = services_.library.moving();
  return moving ? moving->words() : services_.library.moveReport();
}

std::string WelcomeModel::sessionWords() const {
  if (!services_.autostart.problem().empty()) return services_.autostart.problem();
  return services_.statusItem != nullptr && services_.statusItem->isHosted()
             ? "It waits in the tray. Right-click the icon for every command."
             : "This desktop has no tray. Start Vantorel again to open History.";
}

}  // namespace vantorel
