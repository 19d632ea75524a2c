#include <fmt/format.h>

#include <algorithm>

#include "app/app_coordinator.hpp"
#include "app/records/hot_key_text.hpp"

namespace vantorel {
namespace {

// Keys are bound and refused several at once; what is told of them is told once.
constexpr std::chrono::milliseconds afterBinding{500};
constexpr std::chrono::seconds bindingBound{2};

constexpr const char* refusedKeysTitle = "Keys that don't work";

/// The key of the setting that `id` follows.
std::string_view settingOf(ShortcutID id) {
  return settingsKey(recentNumber(id) ? ShortcutID::copyRecent1 : id);
}

}  // namespace

std::optional<HotKeySpec> AppCoordinator::bindingOf(ShortcutID id) const {
  const SettingsValues& values = services_.settings->values();
  if (const auto number = recentNumber(id)) {
    if (!values.copyRecentHotKey) return std::nullopt;
    return copyRecentBinding(*values.copyRecentHotKey, *number);
  }
  switch (id) {
    case ShortcutID::radialMenu: return values.radialMenuHotKey;
    case ShortcutID::capture: return values.captureHotKey;
    case ShortcutID::previousArea: return values.previousAreaHotKey;
    case ShortcutID::captureText: return values.captureTextHotKey;
    case ShortcutID::fullscreen: return values.fullscreenHotKey;
    case ShortcutID::window: return values.windowHotKey;
    case ShortcutID::history: return values.historyHotKey;
    case ShortcutID::openClipboard: return values.openClipboardHotKey;
    case ShortcutID::record: return values.recordHotKey;
    case ShortcutID::zoom: return values.zoomHotKey;
    case ShortcutID::recordInStudio: return values.recordInStudioHotKey;
    case ShortcutID::scroll: return values.scrollHotKey;
    case ShortcutID::comparison: return values.comparisonHotKey;
    case ShortcutID::timedCapture: return values.timedCaptureHotKey;
    default: std::unreachable();
  }
}

std::function<void()> AppCoordinator::actionOf(ShortcutID id) {
  using Kind = StillCaptureCommand::Kind;
  if (const auto number = recentNumber(id)) return [this, n = *number] { copyRecent(n); };
  switch (id) {
    case ShortcutID::capture: return [this] { captureForUser({.kind = Kind::area}); };
    case ShortcutID::previousArea: return [this] { captureForUser({.kind = Kind::previous}); };
    case ShortcutID::fullscreen: return [this] { captureForUser({.kind = Kind::display}); };
    case ShortcutID::window: return [this] { captureForUser({.kind = Kind::window}); };
    case ShortcutID::timedCapture:
      return [this] { captureForUser({.kind = Kind::area, .isTimed = true}); };
    default: return {};
  }
}

void AppCoordinator::bind(ShortcutID id) {
  if (!shortcuts_ || !services_.hotKeys->areAvailable()) return;
  shortcuts_->unregister(id);
  const auto spec = bindingOf(id);
  auto action = actionOf(id);
  // A key without an action yet stays free for others.
  if (spec && action) shortcuts_->registerShortcut(id, *spec, std::move(action));
}

void AppCoordinator::bindHotKeys() {
  if (shortcuts_) {
    shortcuts_->onChange = [this] {
      services_.statusMenuChanged();
      refusedKeysChanged_.renew();
      services_.main->postAfter(afterBinding,
                                refusedKeysChanged_.guard([this] { tellRefusedKeys(); }));
    };
  }
  for (const auto& entry : enumNames<ShortcutID>) bind(entry.value);
  SettingsStore& settings = *services_.settings;
  const auto rebind = [this](ShortcutID id) { return [this, id] { bind(id); }; };
  settings.onHotKeyChange = rebind(ShortcutID::capture);
  settings.onHistoryHotKeyChange = rebind(ShortcutID::history);
  settings.onRecordHotKeyChange = rebind(ShortcutID::record);
  settings.onZoomHotKeyChange = rebind(ShortcutID::zoom);
  settings.onScrollHotKeyChange = rebind(ShortcutID::scroll);
  settings.onWindowHotKeyChange = rebind(ShortcutID::window);
  settings.onFullscreenHotKeyChange = rebind(ShortcutID::fullscreen);
  settings.onComparisonHotKeyChange = rebind(ShortcutID::comparison);
  settings.onTimedCaptureHotKeyChange = rebind(ShortcutID::timedCapture);
  settings.onPreviousAreaHotKeyChange = rebind(ShortcutID::previousArea);
  settings.onCaptureTextHotKeyChange = rebind(ShortcutID::captureText);
  settings.onOpenClipboardHotKeyChange = rebind(ShortcutID::openClipboard);
  settings.onRadialMenuHotKeyChange = rebind(ShortcutID::radialMenu);
  settings.onRecordInStudioHotKeyChange = rebind(ShortcutID::recordInStudio);
  settings.onCopyRecentHotKeyChange = [this] {
    for (const auto& entry : enumNames<ShortcutID>) {
      if (recentNumber(entry.value)) bind(entry.value);
    }
  };
}

/// A key that no command has, as it is typed.
std::string AppCoordinator::unusedKey() const {
  for (int digit = 1; digit < 9; ++digit) {
    std::string key = fmt::format("Ctrl+Shift+{}", digit);
    const bool isUsed = std::ranges::any_of(enumNames<ShortcutID>, [&](const auto& entry) {
      const auto spec = bindingOf(entry.value);
      return spec && displayText(*spec) == key;
    });
    if (!isUsed) return key;
  }
  return "Ctrl+Shift+9";
}

/// Tells once of each key that does not work, all of them together.
void AppCoordinator::tellRefusedKeys() {
  const std::vector<RefusedShortcut> refused = shortcuts_->refused();
  std::set<std::pair<ShortcutID, std::uint32_t>> now;
  for (const RefusedShortcut& one : refused) {
    now.emplace(one.id, one.spec.keyCode ^ (one.spec.carbonModifiers << 16U));
  }
  const bool isNews = !std::ranges::includes(toldKeys_, now);
  toldKeys_ = std::move(now);
  if (refused.empty()) services_.alerts->withdraw(refusedKeysTitle);
  if (!isNews) return;
  // A command that can be pasted as it is.
  std::string body =
      sentences(refused) + fmt::format(" For another key, as here: vantorel settings set {} {}",
                                       settingOf(refused.front().id), unusedKey());
  services_.alerts->notify(refusedKeysTitle, std::move(body));
}

void AppCoordinator::whenKeysKnown(std::string_view setting,
                                   std::function<void(std::string)> known) {
  if (!shortcuts_) return known({});
  shortcuts_->whenKnown(
      bindingBound, alive_.guard([this, setting = std::string(setting), known = std::move(known)] {
        std::vector<RefusedShortcut> refused = shortcuts_->refused();
        std::erase_if(refused, [&](const auto& one) { return settingOf(one.id) != setting; });
        known(sentences(refused));
      }));
}

}  // namespace vantorel
