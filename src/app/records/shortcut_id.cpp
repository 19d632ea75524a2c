#include "app/records/shortcut_id.hpp"

#include <fmt/format.h>

#include <utility>

namespace vantorel {

std::optional<int> recentNumber(ShortcutID id) {
  if (id == ShortcutID::copyRecent1) return 1;
  if (id >= ShortcutID::copyRecent2)
    return 2 + static_cast<int>(id) - static_cast<int>(ShortcutID::copyRecent2);
  return std::nullopt;
}

std::string title(ShortcutID id) {
  if (const auto number = recentNumber(id)) return fmt::format("Copy recent capture {}", *number);
  switch (id) {
    case ShortcutID::radialMenu: return "Open capture menu";
    case ShortcutID::capture: return "Capture";
    case ShortcutID::previousArea: return "Capture previous area";
    case ShortcutID::captureText: return "Capture text";
    case ShortcutID::fullscreen: return "Capture main display";
    case ShortcutID::window: return "Capture window";
    case ShortcutID::history: return "Open History";
    case ShortcutID::openClipboard: return "Open clipboard image";
    case ShortcutID::record: return "Record screen";
    case ShortcutID::zoom: return "Zoom";
    case ShortcutID::recordInStudio: return "Record in Studio";
    case ShortcutID::scroll: return "Scrolling capture";
    case ShortcutID::comparison: return "Side-by-side comparison";
    case ShortcutID::timedCapture: return "Capture with self-timer";
    default: std::unreachable();
  }
}

std::string_view settingsKey(ShortcutID id) {
  switch (id) {
    case ShortcutID::radialMenu: return "radialMenuHotKey";
    case ShortcutID::capture: return "captureHotKey";
    case ShortcutID::previousArea: return "previousAreaHotKey";
    case ShortcutID::captureText: return "captureTextHotKey";
    case ShortcutID::fullscreen: return "fullscreenHotKey";
    case ShortcutID::window: return "windowHotKey";
    case ShortcutID::history: return "historyHotKey";
    case ShortcutID::openClipboard: return "openClipboardHotKey";
    case ShortcutID::copyRecent1: return "copyRecentHotKey";
    case ShortcutID::record: return "recordHotKey";
    case ShortcutID::zoom: return "zoomHotKey";
    case ShortcutID::recordInStudio: return "recordInStudioHotKey";
    case ShortcutID::scroll: return "scrollHotKey";
    case ShortcutID::comparison: return "comparisonHotKey";
    case ShortcutID::timedCapture: return "timedCaptureHotKey";
    default: return {};
  }
}

}  // namespace vantorel
