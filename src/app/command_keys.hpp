#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/command_table.hpp"
#include "app/shortcut_registry.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"
#include "platform/alerts.hpp"
#include "platform/hot_keys.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// The setting that the command's key follows from.
[[nodiscard]] std::string_view settingOf(ShortcutID id);

/// The key that the settings give the command.
[[nodiscard]] std::optional<HotKeySpec> bindingOf(const SettingsStore& settings, ShortcutID id);

/// Binds the commands of the desktop to the keys that the settings give them, and tells the user of
/// keys that do not work. Lives on the main runner.
class CommandKeys {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    HotKeys& hotKeys;
    SettingsStore& settings;
    Alerts& alerts;
    std::function<void(const DesktopCommand&)> perform;
    std::function<bool()> isSaidInWindow;  ///< which keys do not work
  };

  explicit CommandKeys(Services services);

  /// From now on.
  void bind();

  /// Called when a key begins or ceases to work.
  Observation observe(std::function<void()> observer) {
    return observers_.add(std::move(observer));
  }

  /// The keys that do not work.
  [[nodiscard]] std::vector<RefusedShortcut> refused() const { return registry_.refused(); }

  /// Tries at once to get the keys that do not work.
  void retryRefused() { registry_.retryNow(); }

  /// The command's key in words; empty when it has none that works: a key that another program
  /// holds would be a promise that is not kept.
  [[nodiscard]] std::string workingKey(ShortcutID id) const;

  /// Calls `known` with what keeps the keys of that setting from working, in sentences; with
  /// nothing when they work, are not bound here, or the desktop does not answer.
  void whenKnown(std::string_view setting, std::function<void(std::string)> known);

 private:
  [[nodiscard]] std::optional<HotKeySpec> keyOf(ShortcutID id) const {
    return bindingOf(services_.settings, id);
  }
  void bindCommand(ShortcutID id);
  void reportRefused();

  Services services_;
  ShortcutRegistry registry_;
  std::set<std::pair<ShortcutID, std::uint32_t>> reported_;  // that they do not work
  Observers<> observers_;
  Lifetime refusedChanged_;
  Lifetime lifetime_;
};

}  // namespace vantorel
