#pragma once

#include "base/result.hpp"

namespace vantorel {

/// Whether the desktop starts this program with the user's session. Small files: may be asked on
/// any thread.
class Autostart {
 public:
  virtual ~Autostart() = default;
  [[nodiscard]] virtual bool isOn() const = 0;
  [[nodiscard]] virtual Result<void> set(bool on) = 0;
};

}  // namespace vantorel
