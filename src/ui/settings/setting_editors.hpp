#pragma once

#include <functional>
#include <memory>

#include "app/settings_model.hpp"

class QWidget;

namespace vantorel {

/// What changes the value of a setting.
struct SettingEditor {
  QWidget* widget = nullptr;                        ///< null: the row has none of these
  std::function<void(const SettingsLine&)> show{};  ///< the value as it is now
};

/// The width of what stands at the right of a row, in px.
inline constexpr int settingControlWidth = 196;

/// The editor for the row's control, as a child of `parent`; not for keys and folders.
[[nodiscard]] SettingEditor makeSettingEditor(const std::shared_ptr<SettingsModel>& model,
                                              const SettingsLine& line, QWidget* parent);

}  // namespace vantorel
