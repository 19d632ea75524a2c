#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "platform/defaults_store.hpp"
#include "settings/settings_table.hpp"
#include "settings/settings_values.hpp"

namespace vantorel {

/// Every preference of the user. Reads all keys once when it is built; later changes are written
/// back under the same key, and changes made by other processes come in. Lives on the main runner.
class SettingsStore {
 public:
  /// `defaults` are the values of absent keys: the initialisers of `SettingsValues`, completed
  /// with the folders of this user.
  SettingsStore(DefaultsStore& store, SettingsValues defaults);

  /// What the store had at start that is no value of its setting, a sentence each; another value is
  /// in force.
  [[nodiscard]] const std::vector<std::string>& refusedAtStart() const { return refusedAtStart_; }

  [[nodiscard]] const SettingsValues& values() const { return values_; }
  [[nodiscard]] const SettingsValues& defaults() const { return defaults_; }

  /// Stores the value and tells the observers, unless it is what was there. What is out of range is
  /// clamped as it is when read.
  ///
  ///     settings.set(&SettingsValues::playSounds, false);
  template <class T>
  void set(T SettingsValues::* member, std::type_identity_t<T> value) {
    SettingsValues changed = values_;
    changed.*member = std::move(value);
    const auto place = static_cast<std::size_t>(reinterpret_cast<const char*>(&(changed.*member)) -
                                                reinterpret_cast<const char*>(&changed));
    put(settingAt(place), changed);
  }

  /// Called with the key after each change, whoever made it.
  Observation observe(std::function<void(std::string_view key)> observer) {
    return observers_.add(std::move(observer));
  }

  // One listener each, called after the setting changed and before the observers.
  std::function<void()> onHotKeyChange;
  std::function<void()> onHistoryHotKeyChange;
  std::function<void()> onRecordHotKeyChange;
  std::function<void()> onZoomHotKeyChange;
  std::function<void()> onScrollHotKeyChange;
  std::function<void()> onWindowHotKeyChange;
  std::function<void()> onFullscreenHotKeyChange;
  std::function<void()> onComparisonHotKeyChange;
  std::function<void()> onTimedCaptureHotKeyChange;
  std::function<void()> onPreviousAreaHotKeyChange;
  std::function<void()> onCaptureTextHotKeyChange;
  std::function<void()> onOpenClipboardHotKeyChange;
  std::function<void()> onRadialMenuHotKeyChange;
  std::function<void()> onRecordInStudioHotKeyChange;
  std::function<void()> onCopyRecentHotKeyChange;
  std::function<void()> onShowMenuBarIconChange;
  std::function<void()> onActiveCollectionChange;
  /// For "mcpEnabled" and "mcpPort".
  std::function<void()> onMCPSettingsChange;

  /// Switches starting at login off; called by `resetAll`.
  std::function<void()> switchOffStartAtLogin;

  // By key, for the command line and agents. Failures carry a sentence that names what is allowed:
  // `notFound` for an unknown key, `malformed` for a value that is refused.

  /// The value as it would be stored; null for an optional setting that is empty.
  [[nodiscard]] Result<JSONValue> get(std::string_view key) const;
  [[nodiscard]] JSONValue defaultOf(const Setting& setting) const;
  [[nodiscard]] Result<void> setFromText(std::string_view key, std::string_view text);
  [[nodiscard]] Result<void> setFromValue(std::string_view key, const JSONValue& value);

  /// Back to the default: the key is removed.
  [[nodiscard]] Result<void> reset(std::string_view key);

  /// "Reset all settings": every setting whose row says so, and starting at login. Captures, the
  /// library, "indexScreenshotText" and what the program remembers of its own life stay.
  void resetAll();

  /// Answers when everything set so far is on disk.
  void flush(std::move_only_function<void(Result<void>)> done) { store_.flush(std::move(done)); }

 private:
  [[nodiscard]] static const Setting& settingAt(std::size_t place);
  void put(const Setting& setting, const SettingsValues& changed);
  void reload(const Setting& setting);
  void announce(std::string_view key);

  DefaultsStore& store_;
  SettingsValues defaults_;
  SettingsValues values_;
  std::vector<std::string> refusedAtStart_;
  Observers<std::string_view> observers_;
  Lifetime lifetime_;
};

/// For `settings list`: one line of words about a setting.
struct SettingDescription {
  std::string_view key;
  std::string_view group;
  std::string type;
  std::string allowed;
  std::string_view meaning;
  JSONValue value;
  JSONValue defaultValue;
  std::string valueWords;    ///< as a person types it; empty where the stored form is that
  std::string defaultWords;  ///< likewise
};
/// Those that do something in this version.
[[nodiscard]] std::vector<SettingDescription> describeSettings(const SettingsStore& settings);

}  // namespace vantorel
