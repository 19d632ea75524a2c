#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/x11_shared_ring.hpp"
#include "platform/native_windows.hpp"

namespace vantorel {

/// Puts painted pixels into windows, in stripes through a small ring of shared memory. One thread.
class X11WindowPainter {
 public:
  explicit X11WindowPainter(xcb_connection_t* connection)
      : c_(connection), ring_(connection, slots, X11SharedRing::Server::reads) {}
  X11WindowPainter(const X11WindowPainter&) = delete;
  X11WindowPainter& operator=(const X11WindowPainter&) = delete;

  /// See `NativeWindows::paint`.
  [[nodiscard]] bool paint(xcb_window_t window, const std::vector<PixelRect>& areas,
                           const PaintBand& paint);

 private:
  [[nodiscard]] bool hasRing();
  [[nodiscard]] bool isDirectColor(xcb_window_t window) const;
  void awaitSlot(std::size_t slot);

  static constexpr std::size_t slots = 4;

  xcb_connection_t* c_;
  X11SharedRing ring_;
  std::optional<bool> hasRing_;
  std::array<std::optional<xcb_get_input_focus_cookie_t>, slots> inUse_{};
};

}  // namespace vantorel
