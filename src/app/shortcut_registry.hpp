#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "app/records/hot_key_spec.hpp"
#include "app/records/shortcut_id.hpp"
#include "platform/hot_keys.hpp"

namespace vantorel {

/// One registered system-wide hot key of a command; unregistered when destroyed.
class GlobalHotKey {
 public:
  explicit GlobalHotKey(std::unique_ptr<HotKeyRegistration> registration)
      : registration_(std::move(registration)) {}

 private:
  std::unique_ptr<HotKeyRegistration> registration_;
};

/// Which command answers to which hot key. A key that cannot be registered is logged and leaves the
/// others working. Lives on the main runner.
class ShortcutRegistry {
 public:
  explicit ShortcutRegistry(HotKeys& hotKeys) : hotKeys_(hotKeys) {}

  /// Binds `id` to `spec`, in place of what it was bound to. False when the key is taken.
  bool registerShortcut(ShortcutID id, const HotKeySpec& spec, std::function<void()> onFire,
                        std::function<void()> onRelease = {});

  void unregister(ShortcutID id);

  [[nodiscard]] bool isRegistered(ShortcutID id) const { return keys_.contains(id); }

 private:
  void perform(const std::map<ShortcutID, std::function<void()>>& actions, ShortcutID id);

  HotKeys& hotKeys_;
  std::map<ShortcutID, GlobalHotKey> keys_;
  std::map<ShortcutID, std::function<void()>> actions_;
  std::map<ShortcutID, std::function<void()>> releaseActions_;
};

/// The binding of the `number`-th copy-recent command that follows from the first one's: bound to a
/// digit key, the later commands take the digits after it (9 is followed by 0); bound to any other
/// key, only the first command has a binding.
[[nodiscard]] std::optional<HotKeySpec> copyRecentBinding(const HotKeySpec& first, int number);

}  // namespace vantorel
