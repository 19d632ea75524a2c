#include "app/shortcut_registry.hpp"

#include "base/log.hpp"

namespace vantorel {

bool ShortcutRegistry::registerShortcut(ShortcutID id, const HotKeySpec& spec,
                                        std::function<void()> onFire,
                                        std::function<void()> onRelease) {
  unregister(id);
  auto registration = hotKeys_.registerKey(
      spec, [this, id] { perform(actions_, id); }, [this, id] { perform(releaseActions_, id); });
  if (!registration) {
    logError("HotKey", "RegisterEventHotKey failed for id {} keyCode {} modifiers {}: OSStatus {}",
             static_cast<unsigned>(id), spec.keyCode, spec.carbonModifiers,
             registration.error().status);
    return false;
  }
  keys_.emplace(id, std::move(*registration));
  actions_[id] = std::move(onFire);
  releaseActions_[id] = std::move(onRelease);
  return true;
}

void ShortcutRegistry::unregister(ShortcutID id) {
  keys_.erase(id);
  actions_.erase(id);
  releaseActions_.erase(id);
}

void ShortcutRegistry::perform(const std::map<ShortcutID, std::function<void()>>& actions,
                               ShortcutID id) {
  const auto found = actions.find(id);
  if (found == actions.end() || !found->second) return;
  // A copy: the action may bind the key anew.
  const auto action = found->second;
  action();
}

std::optional<HotKeySpec> copyRecentBinding(const HotKeySpec& first, int number) {
  if (number == 1) return first;
  constexpr std::uint32_t zero = '0';
  if (first.keyCode < zero || first.keyCode > zero + 9) return std::nullopt;
  const std::uint32_t digit = first.keyCode - zero;
  return HotKeySpec{zero + (digit + static_cast<std::uint32_t>(number) - 1) % 10,
                    first.carbonModifiers};
}

}  // namespace vantorel
