#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <string>

namespace vantorel {

/// Hears when a program takes the keyboard for itself, as an overlay does, and when it lets go of
/// it. Gives the keyboard to a window of its own that nobody sees. One thread.
class KeyboardWatch {
 public:
  explicit KeyboardWatch(const std::string& display);
  KeyboardWatch(const KeyboardWatch&) = delete;
  KeyboardWatch& operator=(const KeyboardWatch&) = delete;
  ~KeyboardWatch();

  /// Waits for the next time; false when it does not come within twenty seconds.
  [[nodiscard]] bool waitUntilTaken();
  [[nodiscard]] bool waitUntilFree();

 private:
  [[nodiscard]] bool waitFor(std::uint8_t event, std::uint8_t mode);

  xcb_connection_t* connection_;
};

}  // namespace vantorel
