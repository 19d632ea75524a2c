#include "app/command_keys.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

#include "app/records/hot_key_text.hpp"
#include "base/check.hpp"
#include "base/json_record.hpp"

namespace vantorel {
namespace {

// Keys are bound and refused several at once; what there is to say of them is said once.
constexpr std::chrono::milliseconds afterBinding{500};
constexpr std::chrono::seconds bindingBound{2};

constexpr const char* refusedKeysTitle = "Keys that don't work";

/// The command whose setting `id` follows.
ShortcutID leaderOf(ShortcutID id) { return recentNumber(id) ? ShortcutID::copyRecent1 : id; }

}  // namespace

std::string_view settingOf(ShortcutID id) { return settingsKey(leaderOf(id)); }

std::optional<HotKeySpec> bindingOf(const SettingsStore& settings, ShortcutID id) {
  const auto stored = settings.get(settingOf(id));
  VT_CHECK(stored.has_value());
  const auto key = json::fromText<HotKeySpec>(json::toText(*stored));
  if (!key) return std::nullopt;
  const auto number = recentNumber(id);
  return number ? copyRecentBinding(*key, *number) : *key;
}

CommandKeys::CommandKeys(Services services)
    : services_(std::move(services)), registry_(services_.hotKeys, services_.main) {}

void CommandKeys::bindCommand(ShortcutID id) {
  if (!services_.hotKeys.areAvailable()) return;
  registry_.unregister(id);
  const auto key = keyOf(id);
  // A key without a command yet stays free for others.
  const DesktopCommand* const command = findDesktopCommand(id);
  if (!key || command == nullptr) return;
  registry_.registerShortcut(id, *key, [this, command] { services_.perform(*command); });
}

void CommandKeys::bind() {
  registry_.onChange = [this] {
    observers_.notify();
    refusedChanged_.renew();
    services_.main->postAfter(afterBinding, refusedChanged_.guard([this] { reportRefused(); }));
  };
  for (const auto& entry : enumNames<ShortcutID>) bindCommand(entry.value);
  for (const ShortcutInfo& info : shortcutTable) {
    services_.settings.onChange(info.settingsKey) = lifetime_.guard([this, leader = info.id] {
      for (const auto& entry : enumNames<ShortcutID>) {
        if (leaderOf(entry.value) == leader) bindCommand(entry.value);
      }
    });
  }
}

std::string CommandKeys::workingKey(ShortcutID id) const {
  const auto key = registry_.works(id) ? keyOf(id) : std::nullopt;
  return key ? displayText(*key) : std::string();
}

/// Says once of each key that it does not work, of all of them together.
void CommandKeys::reportRefused() {
  const std::vector<RefusedShortcut> refused = registry_.refused();
  std::set<std::pair<ShortcutID, std::uint32_t>> now;
  for (const RefusedShortcut& one : refused) {
    now.emplace(one.id, one.spec.keyCode ^ (one.spec.carbonModifiers << 16U));
  }
  const bool isNews = !std::ranges::includes(reported_, now);
  reported_ = std::move(now);
  if (refused.empty()) services_.alerts.withdraw(refusedKeysTitle);
  if (!isNews || services_.isSaidInWindow()) return;
  services_.alerts.notify(refusedKeysTitle,
                          sentences(refused) + " Settings, Shortcuts gives other keys.");
}

void CommandKeys::whenKnown(std::string_view setting, std::function<void(std::string)> known) {
  registry_.whenKnown(bindingBound, lifetime_.guard([this, setting = std::string(setting),
                                                     known = std::move(known)] {
    std::vector<RefusedShortcut> refused = registry_.refused();
    std::erase_if(refused, [&](const auto& one) { return settingOf(one.id) != setting; });
    known(sentences(refused));
  }));
}

}  // namespace vantorel
