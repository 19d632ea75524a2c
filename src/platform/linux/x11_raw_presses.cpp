#include "platform/linux/x11_raw_presses.hpp"

#include <xcb/xinput.h>

#include "platform/linux/x11_call.hpp"

namespace vantorel {

X11RawPresses::X11RawPresses(xcb_connection_t* connection) : c_(connection) {
  const auto* const data = xcb_get_extension_data(c_, &xcb_input_id);
  if (data == nullptr || data->present == 0) return;
  // From version 2.1 on they are told of while somebody has grabbed the pointer, too.
  const auto version = xReply<xcb_input_xi_query_version_reply>(
      c_, xcb_input_xi_query_version(c_, XCB_INPUT_MAJOR_VERSION, XCB_INPUT_MINOR_VERSION));
  const bool tellsAlways = version && (version->major_version > 2 ||
                                       (version->major_version == 2 && version->minor_version > 0));
  if (tellsAlways) extension_ = data->major_opcode;
}

void X11RawPresses::listen(bool wanted) {
  if (extension_ == 0) return;
  struct {
    xcb_input_event_mask_t head{.deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1};
    std::uint32_t mask = 0;
  } events;
  if (wanted) events.mask = XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
  xcb_input_xi_select_events(c_, xcb_setup_roots_iterator(xcb_get_setup(c_)).data->root, 1,
                             &events.head);
  xcb_flush(c_);
}

std::optional<std::uint32_t> X11RawPresses::buttonOf(const xcb_generic_event_t& event) const {
  if (extension_ == 0 || (event.response_type & 0x7FU) != XCB_GE_GENERIC) return std::nullopt;
  const auto& raw = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
  if (raw.extension != extension_ || raw.event_type != XCB_INPUT_RAW_BUTTON_PRESS) {
    return std::nullopt;
  }
  return raw.detail;
}

}  // namespace vantorel
