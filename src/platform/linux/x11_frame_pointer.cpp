#include "platform/linux/x11_frame_pointer.hpp"

#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <cstring>

namespace vantorel {

X11FramePointer::X11FramePointer(X11Session& session) : session_(session) {
  xcb_connection_t* c = session.connection();
  const xcb_window_t root = session.screen().root;
  if (session.hasFixes()) {
    pictureEvent_ = xcb_get_extension_data(c, &xcb_xfixes_id)->first_event;
    xcb_xfixes_select_cursor_input(c, root, XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
  }
  const auto* const input = xcb_get_extension_data(c, &xcb_input_id);
  if (input == nullptr || input->present == 0) return;
  const auto version = xReply<xcb_input_xi_query_version_reply>(
      c, xcb_input_xi_query_version(c, XCB_INPUT_MAJOR_VERSION, XCB_INPUT_MINOR_VERSION));
  if (!version || version->major_version < 2) return;
  inputExtension_ = input->major_opcode;
  const struct {
    xcb_input_event_mask_t head{.deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1};
    std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
  } events;
  xcb_input_xi_select_events(c, root, 1, &events.head);
}

void X11FramePointer::note(const xcb_generic_event_t& event) {
  const std::uint8_t type = event.response_type & 0x7FU;
  if (type == XCB_GE_GENERIC) {
    const auto& raw = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    hasChanged_ = hasChanged_ || (inputExtension_ != 0 && raw.extension == inputExtension_ &&
                                  raw.event_type == XCB_INPUT_RAW_MOTION);
  } else if (pictureEvent_ && type == *pictureEvent_ + XCB_XFIXES_CURSOR_NOTIFY) {
    hasChanged_ = true;
  }
}

FrameCursor X11FramePointer::look(const PixelRect& place) {
  hasChanged_ = false;
  FrameCursor cursor;
  if (!session_.hasFixes()) return cursor;
  xcb_connection_t* c = session_.connection();
  const auto pointer = xReply<xcb_xfixes_get_cursor_image_reply>(c, xcb_xfixes_get_cursor_image(c));
  if (!pointer) return cursor;
  const PixelSize size{pointer->width, pointer->height};
  const PixelRect onRoot{pointer->x - pointer->xhot, pointer->y - pointer->yhot, size.width,
                         size.height};
  if (intersection(onRoot, place).isEmpty()) return cursor;
  cursor.isVisible = true;
  cursor.position = {pointer->x - place.x, pointer->y - place.y};
  cursor.hotSpot = {pointer->xhot, pointer->yhot};
  cursor.serial = pointer->cursor_serial;
  MutableImage picture(size, PixelFormat::bgraPremultiplied);
  const std::uint32_t* pixels = xcb_xfixes_get_cursor_image_cursor_image(pointer.get());
  for (int y = 0; y < size.height; ++y) {
    std::memcpy(picture.row(y).data(), pixels + std::ptrdiff_t{y} * size.width,
                picture.row(y).size());
  }
  cursor.picture = std::move(picture).finish();
  return cursor;
}

}  // namespace vantorel
