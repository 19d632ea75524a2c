#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/enum_names.hpp"
#include "base/json_value.hpp"
#include "base/result.hpp"
#include "settings/settings_values.hpp"

namespace vantorel {

enum class SettingGroup { shortcuts, capture, shelf, editor, recording, gif, agent, state };
template <>
inline constexpr auto enumNames<SettingGroup> = std::to_array<EnumName<SettingGroup>>({
    {SettingGroup::shortcuts, "shortcuts"},
    {SettingGroup::capture, "capture"},
    {SettingGroup::shelf, "shelf"},
    {SettingGroup::editor, "editor"},
    {SettingGroup::recording, "recording"},
    {SettingGroup::gif, "gif"},
    {SettingGroup::agent, "agent"},
    {SettingGroup::state, "state"},
});

/// One setting: how it is stored, read and described. `defaults` is what an absent key stands for.
struct Setting {
  std::string_view key;
  SettingGroup group = SettingGroup::capture;
  std::string type;                    ///< a word or two: "true or false", "choice", "number"
  std::string allowed;                 ///< completes the sentence "<key> must be ..."
  std::vector<std::string> choices{};  ///< all that it may be, where they can be counted
  double least = 0;                    ///< of a number that has a range
  double most = 0;                     ///< likewise
  std::string_view meaning{};          ///< of its `SettingRow`; empty when it has none
  bool resets = true;                  ///< returns to its default with "Reset all settings"

  /// Has an effect in this version. Others are only kept.
  [[nodiscard]] bool isOffered() const { return !meaning.empty(); }

  /// Takes the stored value over, by the setting's own reading rule; absent is nothing. Never
  /// fails: what makes no sense becomes the default or is clamped.
  std::function<void(const std::optional<JSONValue>& stored, const SettingsValues& defaults,
                     SettingsValues& values)>
      load;

  /// The value to store; nothing removes the key.
  std::function<std::optional<JSONValue>(const SettingsValues& values)> store;

  /// Whether a value given by a person or a script is allowed; stricter than `load`.
  std::function<bool(const JSONValue& value)> accepts;

  /// What is wrong with what a person has typed, in a sentence; empty where `allowed` has to do.
  std::function<std::string(std::string_view text)> fault;

  /// Words of a command line as a value.
  std::function<JSONValue(std::string_view text)> parse;

  /// The value as a person reads and types it; empty where the stored form is that.
  std::function<std::string(const SettingsValues& values)> words;

  /// Where the setting lies in `SettingsValues`.
  std::size_t place = 0;
};

/// All settings in the order they are listed. Built once.
[[nodiscard]] const std::vector<Setting>& settingsTable();

/// The setting of that key, or null.
[[nodiscard]] const Setting* findSetting(std::string_view key);

}  // namespace vantorel
