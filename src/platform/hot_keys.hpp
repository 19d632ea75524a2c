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
  registrationFailed,  ///< the desktop refused; another program may hold the key
  alreadyRegistered,   ///< this program has it for something else
};

struct HotKeyError {
  HotKeyErrorCase what = HotKeyErrorCase::registrationFailed;
  std::int32_t status = 0;  ///< the platform's own error number
};

/// System-wide hot keys. Registration answers at once and never waits for the desktop for more than
/// a round trip. Lives on the main runner; the callbacks are called there.
class HotKeys {
 public:
  virtual ~HotKeys() = default;

  /// False where the desktop has no such facility: then every registration fails.
  [[nodiscard]] virtual bool areAvailable() const = 0;

  /// `onFire` at key down (not again while held), `onRelease` at key up. Works whatever the lock
  /// keys are set to.
  [[nodiscard]] virtual Result<std::unique_ptr<HotKeyRegistration>, HotKeyError> registerKey(
      const HotKeySpec& spec, std::function<void()> onFire, std::function<void()> onRelease) = 0;
};

}  // namespace vantorel
