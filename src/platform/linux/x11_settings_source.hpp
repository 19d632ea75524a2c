#pragma once

#include <xcb/xcb.h>

#include "platform/linux/x_settings.hpp"

namespace vantorel {

/// The desktop's settings on an X server, which some window has: that of a service which may come,
/// go and be replaced. Lives on the connection's thread.
class X11SettingsSource {
 public:
  /// `selection` is _XSETTINGS_S with the number of the screen, `property` _XSETTINGS_SETTINGS.
  X11SettingsSource(xcb_connection_t* connection, xcb_atom_t selection, xcb_atom_t property)
      : connection_(connection), selection_(selection), property_(property) {}

  /// As they are now; empty where nobody has them.
  [[nodiscard]] XSettings read() const;

  /// The same, and whoever has them is listened to from now on. The root window's structure must be
  /// listened to as well.
  [[nodiscard]] XSettings follow();

  /// Whether the event tells that they have changed: then it is time to `follow` again.
  [[nodiscard]] bool isChange(const xcb_generic_event_t& event) const;

 private:
  [[nodiscard]] xcb_window_t findOwner() const;
  [[nodiscard]] XSettings readFrom(xcb_window_t owner) const;

  xcb_connection_t* connection_;
  xcb_atom_t selection_;
  xcb_atom_t property_;
  xcb_window_t followed_ = XCB_NONE;
};

}  // namespace vantorel
