#include "platform/linux/x11_pointer_painting.hpp"

#include <xcb/xfixes.h>

namespace vantorel {

Result<void> paintPointer(X11Session& session, const PixelRect& area, const PixelBuffer& buffer) {
  if (!session.hasFixes()) {
    return failed(FailureKind::unsupported,
                  "this display server does not tell what the pointer looks like");
  }
  xcb_connection_t* c = session.connection();
  const auto pointer = xReply<xcb_xfixes_get_cursor_image_reply>(c, xcb_xfixes_get_cursor_image(c));
  if (!pointer) return std::unexpected(serverGone());
  const std::uint32_t* pixels = xcb_xfixes_get_cursor_image_cursor_image(pointer.get());
  const PixelRect whole{pointer->x - pointer->xhot, pointer->y - pointer->yhot, pointer->width,
                        pointer->height};
  const PixelRect seen = intersection(whole, area);
  for (int y = seen.y; y < seen.bottom(); ++y) {
    for (int x = seen.x; x < seen.right(); ++x) {
      // Premultiplied alpha, red, green, blue in one number.
      const std::uint32_t over = pixels[(y - whole.y) * whole.width + (x - whole.x)];
      const std::uint32_t rest = 255 - (over >> 24U);
      std::uint8_t* const below = buffer.row(y - area.y) + static_cast<std::size_t>(x - area.x) * 4;
      for (unsigned channel = 0; channel < 4; ++channel) {
        const std::uint32_t under = below[channel] * rest;
        below[channel] =
            static_cast<std::uint8_t>(((over >> (8 * channel)) & 0xFFU) + (under + 127) / 255);
      }
    }
  }
  return {};
}

}  // namespace vantorel
