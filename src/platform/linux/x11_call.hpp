#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <span>
#include <type_traits>

namespace vantorel {

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};

/// Memory that xcb allocated and we free.
template <class Type>
using XOwned = std::unique_ptr<Type, FreeMemory>;

/// Waits for the reply to `cookie`; null when the server answered with an error (a window gone
/// meanwhile) or is gone itself: `auto tree = xReply<xcb_query_tree_reply>(c,
/// xcb_query_tree(...))`.
template <auto replyFunction, class Cookie>
[[nodiscard]] auto xReply(xcb_connection_t* connection, Cookie cookie) {
  xcb_generic_error_t* error = nullptr;
  auto* reply = replyFunction(connection, cookie, &error);
  std::free(error);
  return XOwned<std::remove_pointer_t<decltype(reply)>>(reply);
}

/// The 32-bit items of a property; none when it is missing or of another width.
[[nodiscard]] inline std::span<const std::uint32_t> words(const xcb_get_property_reply_t* reply) {
  if (reply == nullptr || reply->format != 32) return {};
  return {static_cast<const std::uint32_t*>(xcb_get_property_value(reply)), reply->value_len};
}

/// The bytes of a property; none when it is missing or of another width.
[[nodiscard]] inline std::string_view bytes(const xcb_get_property_reply_t* reply) {
  if (reply == nullptr || reply->format != 8) return {};
  return {static_cast<const char*>(xcb_get_property_value(reply)), reply->value_len};
}

/// Keeps every other client out while it lives: for what must be seen at one moment. Never held
/// while waiting for anybody but the server.
class XServerGrab {
 public:
  explicit XServerGrab(xcb_connection_t* connection) : connection_(connection) {
    xcb_grab_server(connection_);
  }
  XServerGrab(const XServerGrab&) = delete;
  XServerGrab& operator=(const XServerGrab&) = delete;
  ~XServerGrab() {
    xcb_ungrab_server(connection_);
    xcb_flush(connection_);
  }

 private:
  xcb_connection_t* connection_;
};

}  // namespace vantorel
