#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/native_windows.hpp"

namespace vantorel {

/// Puts painted pixels into windows, in stripes through a small ring of shared memory: while the
/// server copies one, the next is painted, and none of them is fresh memory after the first round.
/// A picture of a whole 4K display in one piece costs 8000 page faults on either side. One thread.
class X11WindowPainter {
 public:
  explicit X11WindowPainter(xcb_connection_t* connection) : c_(connection) {}
  X11WindowPainter(const X11WindowPainter&) = delete;
  X11WindowPainter& operator=(const X11WindowPainter&) = delete;
  ~X11WindowPainter();

  /// See `NativeWindows::paint`.
  [[nodiscard]] bool paint(xcb_window_t window, const std::vector<PixelRect>& areas,
                           const PaintBand& paint);

 private:
  [[nodiscard]] bool makeRing();
  [[nodiscard]] bool isDirectColor(xcb_window_t window) const;
  void awaitSlot(std::size_t slot);

  static constexpr std::size_t slots = 4;

  xcb_connection_t* c_;
  std::optional<bool> hasRing_;
  xcb_shm_seg_t segment_ = 0;
  std::uint8_t* ring_ = nullptr;
  std::array<std::optional<xcb_get_input_focus_cookie_t>, slots> inUse_{};
};

}  // namespace vantorel
