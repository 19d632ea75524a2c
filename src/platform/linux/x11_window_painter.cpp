#include "platform/linux/x11_window_painter.hpp"

#include <algorithm>

#include "platform/linux/x11_call.hpp"

namespace vantorel {

bool X11WindowPainter::hasRing() {
  if (hasRing_) return *hasRing_;
  hasRing_ = false;
  const auto* const shm = xcb_get_extension_data(c_, &xcb_shm_id);
  if (shm == nullptr || shm->present == 0) return false;
  const auto version = xReply<xcb_shm_query_version_reply>(c_, xcb_shm_query_version(c_));
  if (!version || (version->major_version == 1 && version->minor_version < 2)) return false;
  hasRing_ = ring_.make();
  return *hasRing_;
}

bool X11WindowPainter::isDirectColor(xcb_window_t window) const {
  const auto geometry = xReply<xcb_get_geometry_reply>(c_, xcb_get_geometry(c_, window));
  const xcb_setup_t* const setup = xcb_get_setup(c_);
  if (!geometry || geometry->depth != 24 || setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST) {
    return false;
  }
  for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem != 0;
       xcb_format_next(&format)) {
    if (format.data->depth == 24) return format.data->bits_per_pixel == 32;
  }
  return false;
}

void X11WindowPainter::awaitSlot(std::size_t slot) {
  if (!inUse_[slot]) return;
  static_cast<void>(xReply<xcb_get_input_focus_reply>(c_, *inUse_[slot]));
  inUse_[slot].reset();
}

bool X11WindowPainter::paint(xcb_window_t window, const std::vector<PixelRect>& areas,
                             const PaintBand& paint) {
  if (!hasRing() || !isDirectColor(window)) return false;
  const xcb_gcontext_t gc = xcb_generate_id(c_);
  xcb_create_gc(c_, gc, window, 0, nullptr);
  std::size_t slot = 0;
  for (const PixelRect& area : areas) {
    const std::size_t stride = static_cast<std::size_t>(area.width) * 4;
    if (area.isEmpty() || stride > X11SharedRing::slotBytes) continue;
    const int rows = static_cast<int>(X11SharedRing::slotBytes / stride);
    for (int top = area.y; top < area.bottom(); top += rows, slot = (slot + 1) % slots) {
      const PixelRect band{area.x, top, area.width, std::min(rows, area.bottom() - top)};
      awaitSlot(slot);
      paint(band, ring_.slot(slot), stride);
      xcb_shm_put_image(c_, window, gc, static_cast<std::uint16_t>(band.width),
                        static_cast<std::uint16_t>(band.height), 0, 0,
                        static_cast<std::uint16_t>(band.width),
                        static_cast<std::uint16_t>(band.height), static_cast<std::int16_t>(band.x),
                        static_cast<std::int16_t>(band.y), 24, XCB_IMAGE_FORMAT_Z_PIXMAP, 0,
                        ring_.segment(), X11SharedRing::offset(slot));
      inUse_[slot] = xcb_get_input_focus(c_);
      xcb_flush(c_);
    }
  }
  xcb_free_gc(c_, gc);
  xcb_flush(c_);
  return true;
}

}  // namespace vantorel
