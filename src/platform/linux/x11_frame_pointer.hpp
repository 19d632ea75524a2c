#pragma once

#include <cstdint>
#include <optional>

#include "platform/frame_stream.hpp"
#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// Follows the pointer for a stream: hears of its moves and of its pictures, and tells them from
/// the corner of the frames. Lives on the worker's thread.
class X11FramePointer {
 public:
  explicit X11FramePointer(X11Session& session);

  /// Takes down what an event says.
  void note(const xcb_generic_event_t& event);

  /// Whether it may have changed since it was looked at.
  [[nodiscard]] bool hasChanged() const { return hasChanged_; }

  /// Where it is now, from the corner of `place` on the root window.
  [[nodiscard]] FrameCursor look(const PixelRect& place);

 private:
  X11Session& session_;
  std::uint8_t inputExtension_ = 0;  // 0: not there
  std::optional<std::uint8_t> pictureEvent_;
  bool hasChanged_ = true;
};

}  // namespace vantorel
