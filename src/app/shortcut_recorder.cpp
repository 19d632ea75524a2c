#include "app/shortcut_recorder.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "app/records/hot_key_text.hpp"
#include "base/check.hpp"
#include "base/json_record.hpp"

namespace vantorel {
namespace {

constexpr std::uint32_t escapeKey = 0xFF1B;
constexpr std::uint32_t backspaceKey = 0xFF08;

constexpr int recentCommands = 10;

ShortcutID commandOf(std::string_view setting) {
  const auto* const found = std::ranges::find(shortcutTable, setting, &ShortcutInfo::settingsKey);
  VT_CHECK(found != shortcutTable.end());
  return found->id;
}

/// The keys that a setting takes when it is given this one.
std::vector<HotKeySpec> keysFrom(std::string_view setting, const HotKeySpec& spec) {
  std::vector<HotKeySpec> all{spec};
  if (commandOf(setting) != ShortcutID::copyRecent1) return all;
  for (int number = 2; number <= recentCommands; ++number) {
    if (const auto next = copyRecentBinding(spec, number)) all.push_back(*next);
  }
  return all;
}

}  // namespace

ShortcutRecorder::ShortcutRecorder(Services services) : services_(services) {
  settingsObservation_ = services_.settings.observe([this](std::string_view key) {
    const bool isShortcut =
        std::ranges::find(shortcutTable, key, &ShortcutInfo::settingsKey) != shortcutTable.end();
    if (isShortcut) observers_.notify(key);
  });
  if (services_.keys == nullptr) return;
  keysObservation_ = services_.keys->observe([this] {
    askHolders();
    observers_.notify({});
  });
  askHolders();
}

ShortcutRecorder::Field ShortcutRecorder::field(std::string_view setting) const {
  Field field;
  if (setting == listening_) {
    field.isListening = true;
    field.caps = modifierNamesOf(held_);
    if (field.caps.empty()) field.prompt = "Press the keys…";
    field.remark = remark_;
    field.isTaken = wanted_.has_value();
    return field;
  }
  if (const auto spec = bindingOf(services_.settings, commandOf(setting))) {
    field.caps = keyNamesOf(*spec);
    field.remark = whyNot(setting);
  } else {
    field.prompt = "Record shortcut";
  }
  return field;
}

/// Why the bound key does nothing, in a sentence; empty when it works or that is not known.
std::string ShortcutRecorder::whyNot(std::string_view setting) const {
  if (services_.keys == nullptr) return "This desktop gives no keys to programs.";
  for (const RefusedShortcut& refused : services_.keys->refused()) {
    if (settingOf(refused.id) != setting) continue;
    const std::string key = displayText(refused.spec);
    if (refused.error.what == HotKeyErrorCase::alreadyRegistered) {
      return refused.holder ? fmt::format("{} is “{}”.", key, title(*refused.holder))
                            : fmt::format("{} is another command's key.", key);
    }
    if (refused.error.why == HotKeyObstacle::noSuchKey) {
      return fmt::format("This keyboard has no {}.", key);
    }
    if (refused.error.why == HotKeyObstacle::none) {
      return fmt::format("The desktop doesn't give Vantorel {}.", key);
    }
    const auto holder = holders_.find(key);
    return holder == holders_.end() || holder->second.empty()
               ? "Another program holds this key. It works once that program lets go."
               : fmt::format("“{}” holds this key. It works once that program lets go.",
                             holder->second);
  }
  return {};
}

/// Asks once about each key that another program has.
void ShortcutRecorder::askHolders() {
  if (services_.holders == nullptr) return;
  std::map<std::string, std::string> asked;
  for (const RefusedShortcut& refused : services_.keys->refused()) {
    if (refused.error.why != HotKeyObstacle::heldElsewhere) continue;
    std::string key = displayText(refused.spec);
    const auto known = holders_.find(key);
    if (known != holders_.end()) {
      asked.insert(*known);
      continue;
    }
    asked[key];
    services_.holders->whoHolds(refused.spec, lifetime_.guard([this, key](std::string holder) {
      const auto found = holders_.find(key);
      if (found == holders_.end() || found->second == holder) return;
      found->second = std::move(holder);
      observers_.notify({});
    }));
  }
  holders_ = std::move(asked);
}

void ShortcutRecorder::lookAgain() {
  if (services_.keys != nullptr) services_.keys->retryRefused();
}

void ShortcutRecorder::listen(std::string_view setting) {
  if (!listening_.empty()) stop();
  listening_ = setting;
  observers_.notify(listening_);
}

void ShortcutRecorder::stop() {
  const std::string ended = std::exchange(listening_, {});
  held_ = 0;
  wanted_.reset();
  remark_.clear();
  if (!ended.empty()) observers_.notify(ended);
}

void ShortcutRecorder::hold(std::uint32_t modifiers) {
  if (listening_.empty() || held_ == modifiers) return;
  held_ = modifiers;
  observers_.notify(listening_);
}

void ShortcutRecorder::press(const HotKeySpec& spec) {
  if (listening_.empty()) return;
  if (spec == HotKeySpec{escapeKey, 0}) return stop();
  if (spec == HotKeySpec{backspaceKey, 0}) {
    const std::string setting = listening_;
    store(setting, std::nullopt);
    return stop();
  }
  wanted_.reset();
  remark_.clear();
  if (isForTyping(spec)) {
    remark_ = "Add Ctrl, Alt or Super.";
  } else {
    for (const HotKeySpec& key : keysFrom(listening_, spec)) {
      const std::vector<ShortcutID> others = holdersOf(key);
      if (others.empty()) continue;
      wanted_ = spec;
      remark_ = fmt::format("{} is “{}”.", displayText(key), title(others.front()));
      break;
    }
  }
  if (!remark_.empty()) return observers_.notify(listening_);
  give(spec);
}

/// The commands of other settings that have this key.
std::vector<ShortcutID> ShortcutRecorder::holdersOf(const HotKeySpec& spec) const {
  std::vector<ShortcutID> all;
  for (const auto& [id, name] : enumNames<ShortcutID>) {
    if (findDesktopCommand(id) == nullptr || settingOf(id) == listening_) continue;
    if (bindingOf(services_.settings, id) == spec) all.push_back(id);
  }
  return all;
}

void ShortcutRecorder::useItHere() {
  if (listening_.empty() || !wanted_) return;
  const HotKeySpec spec = *wanted_;
  for (const HotKeySpec& key : keysFrom(listening_, spec)) {
    for (const ShortcutID other : holdersOf(key)) store(settingOf(other), std::nullopt);
  }
  give(spec);
}

void ShortcutRecorder::give(const HotKeySpec& spec) {
  const std::string setting = listening_;
  store(setting, spec);
  stop();
}

void ShortcutRecorder::store(std::string_view setting, const std::optional<HotKeySpec>& spec) {
  const auto value = spec ? json::parseValue(json::toText(*spec)) : JSONValue{nullptr};
  VT_CHECK(value.has_value() && services_.settings.setFromValue(setting, *value).has_value());
}

}  // namespace vantorel
