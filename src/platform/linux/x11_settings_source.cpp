#include "platform/linux/x11_settings_source.hpp"

#include "platform/linux/x11_call.hpp"

namespace vantorel {

XSettings X11SettingsSource::read() const { return readFrom(findOwner()); }

XSettings X11SettingsSource::follow() {
  const xcb_window_t owner = findOwner();
  if (owner != followed_ && owner != XCB_NONE) {
    const std::uint32_t events[] = {XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                    XCB_EVENT_MASK_PROPERTY_CHANGE};
    xcb_change_window_attributes(connection_, owner, XCB_CW_EVENT_MASK, events);
  }
  followed_ = owner;
  return readFrom(owner);
}

bool X11SettingsSource::isChange(const xcb_generic_event_t& event) const {
  switch (event.response_type & 0x7FU) {
    case XCB_PROPERTY_NOTIFY:
      return reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == property_;
    case XCB_CLIENT_MESSAGE:
      // A new owner of the settings says so.
      return reinterpret_cast<const xcb_client_message_event_t&>(event).data.data32[1] ==
             selection_;
    case XCB_DESTROY_NOTIFY:
      return reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == followed_;
    default: return false;
  }
}

xcb_window_t X11SettingsSource::findOwner() const {
  const auto found = xReply<xcb_get_selection_owner_reply>(
      connection_, xcb_get_selection_owner(connection_, selection_));
  return found ? found->owner : xcb_window_t{XCB_NONE};
}

XSettings X11SettingsSource::readFrom(xcb_window_t owner) const {
  if (owner == XCB_NONE) return {};
  const auto value = xReply<xcb_get_property_reply>(
      connection_, xcb_get_property(connection_, 0, owner, property_, XCB_ATOM_ANY, 0, 1U << 16U));
  return xSettingsFrom(bytes(value.get()));
}

}  // namespace vantorel
