#pragma once

#include <functional>

#include "platform/linux/x11_frame_pictures.hpp"
#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// What a stream takes its frames from: a part of the screen, or a window. Lives on the worker's
/// thread.
class X11FrameGround {
 public:
  virtual ~X11FrameGround() = default;

  /// Takes down what an event says; cheap.
  virtual void note(const xcb_generic_event_t& event) = 0;

  /// Follows what was noted. Fails when the target is gone.
  [[nodiscard]] virtual Result<void> update() = 0;

  /// False while the target shows nothing, as a minimized window does.
  [[nodiscard]] virtual bool isShown() const = 0;

  /// Of the target now.
  [[nodiscard]] virtual PixelSize size() const = 0;

  /// The window whose damage tells of changes, and where on it the frames begin.
  [[nodiscard]] virtual xcb_window_t watched() const = 0;
  [[nodiscard]] virtual PixelPoint corner() const = 0;

  /// The part of the root window where the frames are.
  [[nodiscard]] virtual PixelRect place() const = 0;

  /// Draws the target as it is now; black where it does not reach. False: there is nothing to see
  /// before something happens. `handleEvents` is to handle
  /// what has arrived so far.
  [[nodiscard]] virtual Result<bool> draw(X11FramePictures& pictures,
                                          const X11FramePictures::Picture& picture,
                                          const std::function<void()>& handleEvents) = 0;
};

}  // namespace vantorel
