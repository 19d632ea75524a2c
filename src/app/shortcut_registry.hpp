#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/records/hot_key_spec.hpp"
#include "app/records/shortcut_id.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/hot_keys.hpp"

namespace vantorel {

/// One registered system-wide hot key of a command; unregistered when destroyed.
class GlobalHotKey {
 public:
  enum class State { asked, works, refused };

  HotKeySpec spec;
  State state = State::asked;
  HotKeyError error;  ///< when refused
  std::unique_ptr<HotKeyRegistration> registration;
};

/// A key that a command does not get.
struct RefusedShortcut {
  ShortcutID id = ShortcutID::capture;
  HotKeySpec spec;
  HotKeyError error;
  std::optional<ShortcutID> holder;  ///< the command of this program that has it
};

/// Which command answers to which hot key. A key that cannot be registered leaves the others
/// working, and is tried again, for nothing tells when another program lets it go: soon at first,
/// then ever more rarely, so that a key which another program keeps wakes nobody all day. Lives on
/// the main runner.
class ShortcutRegistry {
 public:
  static constexpr std::chrono::seconds firstRetryPause{5};
  static constexpr std::chrono::seconds longestRetryPause{320};

  ShortcutRegistry(HotKeys& hotKeys, std::shared_ptr<TaskRunner> main);

  /// Binds `id` to `spec`, in place of what it was bound to.
  void registerShortcut(ShortcutID id, const HotKeySpec& spec, std::function<void()> onFire,
                        std::function<void()> onRelease = {});

  void unregister(ShortcutID id);

  /// Tries the refused keys at once, and soon again: somebody looks at them, or the keyboard is
  /// another one.
  void retryNow();

  /// Whether pressing the key of `id` does something.
  [[nodiscard]] bool works(ShortcutID id) const;

  [[nodiscard]] std::vector<RefusedShortcut> refused() const;

  /// Called when a key begins or ceases to work, or was refused for the first time.
  std::function<void()> onChange;

  /// Calls `known` once the desktop has answered for every key, at the latest after `bound`.
  void whenKnown(std::chrono::milliseconds bound, std::function<void()> known);

 private:
  void ask(ShortcutID id);
  void answered(ShortcutID id, const HotKeys::State& state);
  void retryLater();
  void retrySoon();
  void retry();
  [[nodiscard]] bool isAllKnown() const;
  void perform(const std::map<ShortcutID, std::function<void()>>& actions, ShortcutID id);

  HotKeys& hotKeys_;
  std::shared_ptr<TaskRunner> main_;
  std::map<ShortcutID, GlobalHotKey> keys_;
  std::map<ShortcutID, std::function<void()>> actions_;
  std::map<ShortcutID, std::function<void()>> releaseActions_;
  std::vector<std::function<void()>> waiting_;
  std::chrono::seconds retryPause_ = firstRetryPause;
  bool isRetrying_ = false;
  Lifetime retrying_;
  Lifetime lifetime_;
};

/// The keys that do not work, a sentence each cause, and how to change that; empty for none.
[[nodiscard]] std::string sentences(const std::vector<RefusedShortcut>& refused);

/// The binding of the `number`-th copy-recent command that follows from the first one's: bound to a
/// digit key, the later commands take the digits after it (9 is followed by 0); bound to any other
/// key, only the first command has a binding.
[[nodiscard]] std::optional<HotKeySpec> copyRecentBinding(const HotKeySpec& first, int number);

}  // namespace vantorel
