#include "platform/testing/desktop/drop_target.hpp"

#include <sys/socket.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace vantorel {
namespace {

constexpr auto dropPatience = std::chrono::seconds(20);

struct FreeReply {
  void operator()(void* memory) const { std::free(memory); }
};
template <class Reply>
std::unique_ptr<Reply, FreeReply> ownedReply(Reply* reply) {
  return std::unique_ptr<Reply, FreeReply>(reply);
}

}  // namespace

DropTarget::DropTarget(const std::string& display, PixelRect area, const char* type)
    : connection_(xcb_connect(display.c_str(), nullptr)),
      window_(xcb_generate_id(connection_)),
      position_(atom("XdndPosition")),
      leave_(atom("XdndLeave")),
      drop_(atom("XdndDrop")),
      status_(atom("XdndStatus")),
      finished_(atom("XdndFinished")),
      copy_(atom("XdndActionCopy")),
      selection_(atom("XdndSelection")),
      type_(atom(type)),
      data_(atom("VANTOREL_TEST_DROP")) {
  const auto* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  const std::uint32_t values[] = {0x00446644, 1};
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen->root,
                    static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                    static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height),
                    0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                    XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
  const std::uint32_t version = 5;
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, atom("XdndAware"), XCB_ATOM_ATOM,
                      32, 1, &version);
  xcb_map_window(connection_, window_);
  (void)ownedReply(
      xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  thread_ = std::thread([this] { run(); });
}

DropTarget::~DropTarget() {
  shutdown(xcb_get_file_descriptor(connection_), SHUT_RDWR);
  thread_.join();
  xcb_disconnect(connection_);
}

xcb_atom_t DropTarget::atom(const char* name) {
  const auto reply = ownedReply(xcb_intern_atom_reply(
      connection_,
      xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
      nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void DropTarget::reply(xcb_window_t to, xcb_atom_t type, std::uint32_t flags, xcb_atom_t action) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = to;
  message.type = type;
  message.data.data32[0] = window_;
  message.data.data32[1] = flags;
  // The action stands last in a status, and third in what ends a drop.
  message.data.data32[type == status_ ? 4 : 2] = action;
  xcb_send_event(connection_, 0, to, 0, reinterpret_cast<const char*>(&message));
  xcb_flush(connection_);
}

void DropTarget::took(const xcb_client_message_event_t& message) {
  const std::uint32_t source = message.data.data32[0];
  if (message.type == position_) {
    reply(source, status_, 1, copy_);
    const std::lock_guard lock(mutex_);
    ++positions_;
  } else if (message.type == leave_) {
    const std::lock_guard lock(mutex_);
    positions_ = 0;
  } else if (message.type == drop_) {
    source_ = source;
    xcb_convert_selection(connection_, window_, selection_, type_, data_, message.data.data32[2]);
    xcb_flush(connection_);
  }
}

void DropTarget::run() {
  while (const auto event = ownedReply(xcb_wait_for_event(connection_))) {
    const unsigned kind = event->response_type & 0x7FU;
    if (kind == XCB_CLIENT_MESSAGE) {
      took(reinterpret_cast<const xcb_client_message_event_t&>(*event));
    } else if (kind == XCB_SELECTION_NOTIFY) {
      const auto& notice = reinterpret_cast<const xcb_selection_notify_event_t&>(*event);
      std::string bytes;
      if (notice.property != XCB_ATOM_NONE) {
        const auto value = ownedReply(xcb_get_property_reply(
            connection_,
            xcb_get_property(connection_, 1, window_, data_, XCB_ATOM_ANY, 0, 1U << 20U), nullptr));
        if (value) {
          bytes.assign(static_cast<const char*>(xcb_get_property_value(value.get())),
                       static_cast<std::size_t>(xcb_get_property_value_length(value.get())));
        }
      }
      reply(source_, finished_, 1, copy_);
      const std::lock_guard lock(mutex_);
      dropped_ = std::move(bytes);
      changed_.notify_all();
    }
  }
}

bool DropTarget::isAccepted() {
  const std::lock_guard lock(mutex_);
  // The next position is told after the answer to the one before has come.
  return positions_ > 1;
}

std::optional<std::string> DropTarget::waitForDrop() {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, dropPatience, [this] { return dropped_.has_value(); });
  return std::exchange(dropped_, std::nullopt);
}

}  // namespace vantorel
