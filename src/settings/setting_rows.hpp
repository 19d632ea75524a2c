#pragma once

#include <string_view>
#include <vector>

#include "base/enum_names.hpp"

namespace vantorel {

/// The panes of the Settings window, in their order.
enum class SettingsPane {
  general,
  capture,
  afterCapture,
  shortcuts,
  annotate,
  text,
  library,
  recording,
  assistants
};
/// As the window titles them.
template <>
inline constexpr auto enumNames<SettingsPane> = std::to_array<EnumName<SettingsPane>>({
    {SettingsPane::general, "General"},
    {SettingsPane::capture, "Capture"},
    {SettingsPane::afterCapture, "After capture"},
    {SettingsPane::shortcuts, "Shortcuts"},
    {SettingsPane::annotate, "Annotate"},
    {SettingsPane::text, "Text"},
    {SettingsPane::library, "Library"},
    {SettingsPane::recording, "Recording"},
    {SettingsPane::assistants, "Assistants"},
});

/// What a person changes a setting with.
enum class SettingControl {
  toggle,
  choice,      ///< one of `SettingRow::choices`
  number,      ///< a slider; see `SettingRow::shown`
  color,       ///< "#rrggbb"
  folder,      ///< an absolute path
  picture,     ///< the absolute path of a picture's file, or none
  text,        ///< a line of it
  shortcut,    ///< a key
  collection,  ///< one of the library's, or none
};

/// A value and what it is called.
struct ChoiceWords {
  std::string_view stored;  ///< as it is typed to set it
  std::string_view words;
};

/// How a number is shown: the stored one times `scale`, in steps of `step`, before `unit`. Its
/// range is the setting's.
struct NumberLook {
  double scale = 1;
  double step = 1;  ///< of what is shown
  std::string_view unit{};
};

/// What a setting needs from another one to have an effect.
struct SettingNeed {
  std::string_view key{};  ///< empty: it needs nothing
  std::string_view value{};
};

/// How a setting is offered to a person: by the window, and with its `meaning` by `settings list`
/// and the manual.
struct SettingRow {
  std::string_view key;
  std::string_view meaning;  ///< what it does, as the end of a sentence that begins with the key
  SettingsPane pane = SettingsPane::general;
  std::string_view group{};  ///< title of the rows it stands among; empty: the pane's first ones
  std::string_view label;
  std::string_view explanation{};  ///< a sentence or two below the label; may be empty
  SettingControl control = SettingControl::toggle;
  std::vector<ChoiceWords> choices{};  ///< all of them, in the setting's order
  NumberLook shown{};
  SettingNeed needs{};
};

/// Every setting that has an effect in this version, in the order of the window. What is not here
/// is kept, but nobody is offered it. Built once; any thread.
[[nodiscard]] const std::vector<SettingRow>& settingRows();

/// The row of that setting, or null.
[[nodiscard]] const SettingRow* findSettingRow(std::string_view key);

}  // namespace vantorel
