#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>

namespace vantorel {

/// Hears of each press of a button of the pointer, whoever gets it and whoever has grabbed the
/// pointer: the second version of the input extension. Lives on the connection's thread.
class X11RawPresses {
 public:
  explicit X11RawPresses(xcb_connection_t* connection);

  /// From now on, or no longer. Without the extension nothing is heard.
  void listen(bool wanted);

  /// The button that the event says was pressed, counted from 1; nothing for any other event.
  [[nodiscard]] std::optional<std::uint32_t> buttonOf(const xcb_generic_event_t& event) const;

 private:
  xcb_connection_t* c_;
  std::uint8_t extension_ = 0;  // 0: not there
};

}  // namespace vantorel
