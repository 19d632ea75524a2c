#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "app/records/hot_key_spec.hpp"
#include "base/result.hpp"

namespace vantorel {

/// A registered system-wide hot key; gone when destroyed.
class HotKeyRegistration {
 public:
  virtual ~HotKeyRegistration() = default;
};

enum class HotKeyErrorCase {
  registrationFailed,  ///< the desktop refused, for `why`
  alreadyRegistered,   ///< this program has it for something else
};

enum class HotKeyObstacle {
  none,
  heldElsewhere,  ///< another program has the key
  noSuchKey,      ///< the keyboard has no such key
};

struct HotKeyError {
  HotKeyErrorCase what = HotKeyErrorCase::registrationFailed;
  HotKeyObstacle why = HotKeyObstacle::none;  ///< as far as the desktop tells
  std::int32_t status = 0;                    ///< the platform's own error number, for the log
};

/// System-wide hot keys. Nobody waits for the desktop. Lives on the main runner; the callbacks are
/// called there.
class HotKeys {
 public:
  virtual ~HotKeys() = default;

  /// False where the desktop has no such facility: then every registration fails.
  [[nodiscard]] virtual bool areAvailable() const = 0;

  /// Called when other keys lie on the keyboard than before.
  std::function<void()> onKeyboardChange;

  using State = Result<void, HotKeyError>;

  /// `onFire` at key down (not again while held), `onRelease` at key up. Works whatever the lock
  /// keys are set to. `onState` is called, after this call, with whether the key is ours, and again
  /// when that changes; never by a desktop that does not answer. Nothing is called once the
  /// registration is gone. A key that is not ours is not tried again.
  [[nodiscard]] virtual std::unique_ptr<HotKeyRegistration> registerKey(
      const HotKeySpec& spec, std::function<void()> onFire, std::function<void()> onRelease,
      std::function<void(State)> onState) = 0;
};

}  // namespace vantorel
