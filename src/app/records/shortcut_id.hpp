#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/enum_names.hpp"

namespace vantorel {

/// The commands that can carry a system-wide hot key, in the order Settings and Help show them.
enum class ShortcutID {
  radialMenu,
  capture,
  previousArea,
  captureText,
  fullscreen,
  window,
  history,
  openClipboard,
  copyRecent1,
  record,
  zoom,
  recordInStudio,
  scroll,
  comparison,
  timedCapture,
  copyRecent2,
  copyRecent3,
  copyRecent4,
  copyRecent5,
  copyRecent6,
  copyRecent7,
  copyRecent8,
  copyRecent9,
  copyRecent10,
};

template <>
inline constexpr auto enumNames<ShortcutID> = std::to_array<EnumName<ShortcutID>>({
    {ShortcutID::radialMenu, "radialMenu"},
    {ShortcutID::capture, "capture"},
    {ShortcutID::previousArea, "previousArea"},
    {ShortcutID::captureText, "captureText"},
    {ShortcutID::fullscreen, "fullscreen"},
    {ShortcutID::window, "window"},
    {ShortcutID::history, "history"},
    {ShortcutID::openClipboard, "openClipboard"},
    {ShortcutID::copyRecent1, "copyRecent1"},
    {ShortcutID::record, "record"},
    {ShortcutID::zoom, "zoom"},
    {ShortcutID::recordInStudio, "recordInStudio"},
    {ShortcutID::scroll, "scroll"},
    {ShortcutID::comparison, "comparison"},
    {ShortcutID::timedCapture, "timedCapture"},
    {ShortcutID::copyRecent2, "copyRecent2"},
    {ShortcutID::copyRecent3, "copyRecent3"},
    {ShortcutID::copyRecent4, "copyRecent4"},
    {ShortcutID::copyRecent5, "copyRecent5"},
    {ShortcutID::copyRecent6, "copyRecent6"},
    {ShortcutID::copyRecent7, "copyRecent7"},
    {ShortcutID::copyRecent8, "copyRecent8"},
    {ShortcutID::copyRecent9, "copyRecent9"},
    {ShortcutID::copyRecent10, "copyRecent10"},
});

/// What a key of its own needs beside the command.
struct ShortcutInfo {
  ShortcutID id;
  std::string_view title;        ///< in Settings and Help
  std::string_view settingsKey;  ///< of the setting that holds the binding
};

/// The later copy-recent commands have neither: theirs follow from the first one's.
inline constexpr auto shortcutTable = std::to_array<ShortcutInfo>({
    {ShortcutID::radialMenu, "Open capture menu", "radialMenuHotKey"},
    {ShortcutID::capture, "Capture", "captureHotKey"},
    {ShortcutID::previousArea, "Capture previous area", "previousAreaHotKey"},
    {ShortcutID::captureText, "Capture text", "captureTextHotKey"},
    {ShortcutID::fullscreen, "Capture main display", "fullscreenHotKey"},
    {ShortcutID::window, "Capture window", "windowHotKey"},
    {ShortcutID::history, "Open History", "historyHotKey"},
    {ShortcutID::openClipboard, "Open clipboard image", "openClipboardHotKey"},
    {ShortcutID::copyRecent1, "Copy recent capture 1", "copyRecentHotKey"},
    {ShortcutID::record, "Record screen", "recordHotKey"},
    {ShortcutID::zoom, "Zoom", "zoomHotKey"},
    {ShortcutID::recordInStudio, "Record in Studio", "recordInStudioHotKey"},
    {ShortcutID::scroll, "Scrolling capture", "scrollHotKey"},
    {ShortcutID::comparison, "Side-by-side comparison", "comparisonHotKey"},
    {ShortcutID::timedCapture, "Capture with self-timer", "timedCaptureHotKey"},
});

/// The title shown in Settings and Help.
[[nodiscard]] std::string title(ShortcutID id);

/// 1 for the newest capture up to 10; nothing for a command that copies no recent capture.
[[nodiscard]] std::optional<int> recentNumber(ShortcutID id);

/// The settings key that holds the command's binding; empty for the later copy-recent commands,
/// whose bindings follow from the first one's.
[[nodiscard]] std::string_view settingsKey(ShortcutID id);

}  // namespace vantorel
