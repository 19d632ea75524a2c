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
  std::map<std::string, std::function<void()>, std::less<>> listeners_;  // by key

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
    put(settingAt(placeOf(member)), changed);
  }

  /// Called with the key after each change, whoever made it.
  Observation observe(std::function<void(std::string_view key)> observer) {
    return observers_.add(std::move(observer));
  }

  /// Called after each change of that setting alone.
  ///
  ///     observation_ = settings.observe(&SettingsValues::playSounds, [this] { ... });
  template <class T>
  Observation observe(T SettingsValues::* member, std::function<void()> observer) {
    return observe([key = settingAt(placeOf(member)).key,
                    observer = std::move(observer)](std::string_view changed) {
      if (changed == key) observer();
    });
  }

  /// Why changes are in force that are not on disk; empty when all are, or will be in a moment.
  /// Writing them is tried again for as long as the program runs.
  [[nodiscard]] const std::string& unsaved() const { return unsaved_; }

  /// Called after each change of `unsaved`.
  Observation observeUnsaved(std::function<void()> observer) {
    return unsavedObservers_.add(std::move(observer));
  }

  /// The one listener of that key, called after the setting changed and before the observers.
  [[nodiscard]] std::function<void()>& onChange(std::string_view key) {
    return listeners_[std::string(key)];
  }

  std::function<void()>& onHotKeyChange = onChange("captureHotKey");
  std::function<void()>& onHistoryHotKeyChange = onChange("historyHotKey");
  std::function<void()>& onRecordHotKeyChange = onChange("recordHotKey");
  std::function<void()>& onZoomHotKeyChange = onChange("zoomHotKey");
  std::function<void()>& onScrollHotKeyChange = onChange("scrollHotKey");
  std::function<void()>& onWindowHotKeyChange = onChange("windowHotKey");
  std::function<void()>& onFullscreenHotKeyChange = onChange("fullscreenHotKey");
  std::function<void()>& onComparisonHotKeyChange = onChange("comparisonHotKey");
  std::function<void()>& onTimedCaptureHotKeyChange = onChange("timedCaptureHotKey");
  std::function<void()>& onPreviousAreaHotKeyChange = onChange("previousAreaHotKey");
  std::function<void()>& onCaptureTextHotKeyChange = onChange("captureTextHotKey");
  std::function<void()>& onOpenClipboardHotKeyChange = onChange("openClipboardHotKey");
  std::function<void()>& onRadialMenuHotKeyChange = onChange("radialMenuHotKey");
  std::function<void()>& onRecordInStudioHotKeyChange = onChange("recordInStudioHotKey");
  std::function<void()>& onCopyRecentHotKeyChange = onChange("copyRecentHotKey");
  std::function<void()>& onShowMenuBarIconChange = onChange("showMenuBarIcon");
  std::function<void()>& onActiveCollectionChange = onChange("activeCollectionID");
  /// For "mcpEnabled" and "mcpPort".
  std::function<void()>& onMCPSettingsChange = onChange("mcpEnabled");

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
  template <class T>
  [[nodiscard]] static std::size_t placeOf(T SettingsValues::* member) {
    static const SettingsValues values;
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&(values.*member)) -
                                    reinterpret_cast<const char*>(&values));
  }
  [[nodiscard]] static const Setting& settingAt(std::size_t place);
  void put(const Setting& setting, const SettingsValues& changed);
  void reload(const Setting& setting);
  void announce(std::string_view key);

  DefaultsStore& store_;
  SettingsValues defaults_;
  SettingsValues values_;
  std::vector<std::string> refusedAtStart_;
  std::string unsaved_;
  Observers<std::string_view> observers_;
  Observers<> unsavedObservers_;
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
