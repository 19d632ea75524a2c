#include "settings/settings_store.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/check.hpp"
#include "base/json_record.hpp"

namespace vantorel {
namespace {

std::unexpected<Failure> unknownKey(std::string_view key) {
  return failed(FailureKind::notFound, fmt::format("there is no setting called \"{}\"", key));
}

std::string shown(const Setting& setting, const SettingsValues& values) {
  if (setting.words) return setting.words(values);
  const std::optional<JSONValue> value = setting.store(values);
  return value ? json::toText(*value) : "none";
}

bool isMistaken(const Setting& setting, const std::optional<JSONValue>& stored) {
  return stored && *stored != JSONValue{nullptr} && !setting.accepts(*stored);
}

}  // namespace

SettingsStore::SettingsStore(DefaultsStore& store, SettingsValues defaults)
    : store_(store), defaults_(std::move(defaults)), values_(defaults_) {
  for (const Setting& setting : settingsTable()) {
    const std::optional<JSONValue> stored = store_.value(setting.key);
    setting.load(stored, defaults_, values_);
    if (isMistaken(setting, stored)) {
      refusedAtStart_.push_back(fmt::format("{} must be {}; {} is used", setting.key,
                                            setting.allowed, shown(setting, values_)));
    }
  }
  store_.onOutsideChange(lifetime_.guard([this](std::string_view key) {
    if (const Setting* const setting = findSetting(key)) reload(*setting);
  }));
  store_.onUnsaved(lifetime_.guard([this](const std::string& reason) {
    unsaved_ = reason;
    unsavedObservers_.notify();
  }));
}

const Setting& SettingsStore::settingAt(std::size_t place) {
  const auto& table = settingsTable();
  const auto found = std::ranges::find(table, place, &Setting::place);
  VT_CHECK(found != table.end());
  return *found;
}

void SettingsStore::put(const Setting& setting, const SettingsValues& changed) {
  const std::optional<JSONValue> before = setting.store(values_);
  const std::optional<JSONValue> wanted = setting.store(changed);
  if (before == wanted && !isMistaken(setting, store_.value(setting.key))) return;
  setting.load(wanted, defaults_, values_);
  const std::optional<JSONValue> now = setting.store(values_);
  if (now) {
    store_.set(setting.key, *now);
  } else {
    store_.remove(setting.key);
  }
  if (now != before) announce(setting.key);
}

void SettingsStore::reload(const Setting& setting) {
  const std::optional<JSONValue> before = setting.store(values_);
  setting.load(store_.value(setting.key), defaults_, values_);
  if (setting.store(values_) != before) announce(setting.key);
}

void SettingsStore::announce(std::string_view key) {
  const auto found = listeners_.find(key);
  if (found != listeners_.end()) {
    if (const std::function<void()> listener = found->second) listener();
  }
  if (key == "mcpPort" && onMCPSettingsChange) onMCPSettingsChange();
  observers_.notify(key);
}

Result<JSONValue> SettingsStore::get(std::string_view key) const {
  const Setting* const setting = findSetting(key);
  if (setting == nullptr) return unknownKey(key);
  return setting->store(values_).value_or(JSONValue{nullptr});
}

JSONValue SettingsStore::defaultOf(const Setting& setting) const {
  return setting.store(defaults_).value_or(JSONValue{nullptr});
}

Result<void> SettingsStore::setFromText(std::string_view key, std::string_view text) {
  const Setting* const setting = findSetting(key);
  if (setting == nullptr) return unknownKey(key);
  return setFromValue(key, setting->parse(text));
}

Result<void> SettingsStore::setFromValue(std::string_view key, const JSONValue& value) {
  const Setting* const setting = findSetting(key);
  if (setting == nullptr) return unknownKey(key);
  if (!setting->accepts(value)) {
    return failed(FailureKind::malformed, fmt::format("{} must be {}", key, setting->allowed));
  }
  SettingsValues changed = values_;
  setting->load(value, defaults_, changed);
  put(*setting, changed);
  return {};
}

Result<void> SettingsStore::reset(std::string_view key) {
  const Setting* const setting = findSetting(key);
  if (setting == nullptr) return unknownKey(key);
  store_.remove(setting->key);
  reload(*setting);
  return {};
}

void SettingsStore::resetAll() {
  for (const Setting& setting : settingsTable()) {
    if (!setting.resets) continue;
    store_.remove(setting.key);
    reload(setting);
  }
  if (switchOffStartAtLogin) switchOffStartAtLogin();
}

std::vector<SettingDescription> describeSettings(const SettingsStore& settings) {
  std::vector<SettingDescription> all;
  for (const Setting& setting : settingsTable()) {
    if (!setting.isOffered()) continue;
    SettingDescription& one = all.emplace_back();
    one.key = setting.key;
    one.group = nameOf(setting.group);
    one.type = setting.type;
    one.allowed = setting.allowed;
    one.meaning = setting.meaning;
    one.value = setting.store(settings.values()).value_or(JSONValue{nullptr});
    one.defaultValue = settings.defaultOf(setting);
    if (!setting.words) continue;
    one.valueWords = setting.words(settings.values());
    one.defaultWords = setting.words(settings.defaults());
  }
  return all;
}

}  // namespace vantorel
