#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/frame_stream.hpp"
#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// The pictures of one stream, drawn by the server into shared memory where it can. As few of them
/// as are held at once are ever touched, so that a quick listener costs the memory of two. Lives on
/// the worker's thread; pictures may be let go of on any.
class X11FramePictures {
 public:
  /// A picture being drawn, free again when its last image is gone.
  struct Picture {
    PixelBuffer buffer;
    std::uint32_t offset = 0;  ///< within the shared memory
  };

  /// `freed` is called, on whatever thread, when a picture is let go of that was missed: after
  /// `take` had none.
  X11FramePictures(X11Session& session, PixelSize size, std::function<void()> freed);

  /// Nothing while all are held.
  [[nodiscard]] std::optional<Picture> take();
  [[nodiscard]] bool hasFree() const;

  /// Copies `area` of a drawable to `picture` at (x, y), as `X11PixelReader::read` does.
  [[nodiscard]] Result<void> read(xcb_drawable_t drawable, const PixelRect& area, int depth,
                                  xcb_visualid_t visual, const Picture& picture, int x, int y);

 private:
  struct Slots;

  X11Session& session_;
  PixelSize size_;
  std::size_t slotBytes_;
  xcb_shm_seg_t segment_ = 0;  // 0: the memory is not shared
  std::shared_ptr<Slots> slots_;
};

}  // namespace vantorel
