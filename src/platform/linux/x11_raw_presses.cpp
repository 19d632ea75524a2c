#include "platform/linux/x11_raw_presses.hpp"

#include <sys/uio.h>
#include <xcb/xcbext.h>

#include <cstdlib>
#include <cstring>

#include "platform/linux/x11_call.hpp"

namespace vantorel {
namespace {

// The X Input Extension, version 2.3.
constexpr std::uint8_t selectEvents = 46;
constexpr std::uint8_t queryVersion = 47;
constexpr std::uint16_t rawButtonPress = 15;
constexpr std::uint16_t allMasterDevices = 1;

struct VersionRequest {
  std::uint32_t head = 0;  // the connection fills it
  std::uint16_t major = 2;
  std::uint16_t minor = 2;
};

struct VersionReply {
  std::uint8_t type;
  std::uint8_t unused;
  std::uint16_t sequence;
  std::uint32_t length;
  std::uint16_t major;
  std::uint16_t minor;
};

struct SelectRequest {
  std::uint32_t head = 0;
  xcb_window_t window = 0;
  std::uint16_t masks = 1;
  std::uint16_t unused = 0;
  std::uint16_t device = allMasterDevices;
  std::uint16_t maskWords = 1;
  std::uint32_t mask = 0;
};

struct RawEvent {
  std::uint8_t type;
  std::uint8_t extension;
  std::uint16_t sequence;
  std::uint32_t length;
  std::uint16_t kind;
  std::uint16_t device;
  std::uint32_t time;
  std::uint32_t detail;
};

xcb_extension_t* inputExtension() {
  static xcb_extension_t extension{"XInputExtension", 0};
  return &extension;
}

unsigned send(xcb_connection_t* c, std::uint8_t opcode, bool hasReply, void* bytes,
              std::size_t size) {
  const xcb_protocol_request_t kind{.count = 1,
                                    .ext = inputExtension(),
                                    .opcode = opcode,
                                    .isvoid = static_cast<std::uint8_t>(hasReply ? 0 : 1)};
  iovec parts[3]{};  // the first two are the connection's own
  parts[2] = {bytes, size};
  return xcb_send_request(c, 0, &parts[2], &kind);
}

}  // namespace

X11RawPresses::X11RawPresses(xcb_connection_t* connection) : c_(connection) {
  const auto* const data = xcb_get_extension_data(c_, inputExtension());
  if (data == nullptr || data->present == 0) return;
  // From version 2.1 on they are told of while somebody has grabbed the pointer, too.
  VersionRequest request;
  xcb_generic_error_t* error = nullptr;
  const XOwned<void> reply(
      xcb_wait_for_reply(c_, send(c_, queryVersion, true, &request, sizeof request), &error));
  std::free(error);
  VersionReply version{};
  if (reply != nullptr) std::memcpy(&version, reply.get(), sizeof version);
  const bool tellsAlways = version.major > 2 || (version.major == 2 && version.minor >= 1);
  if (tellsAlways) extension_ = data->major_opcode;
}

void X11RawPresses::listen(bool wanted) {
  if (extension_ == 0) return;
  SelectRequest request;
  request.window = xcb_setup_roots_iterator(xcb_get_setup(c_)).data->root;
  request.mask = wanted ? 1U << rawButtonPress : 0;
  send(c_, selectEvents, false, &request, sizeof request);
  xcb_flush(c_);
}

std::optional<std::uint32_t> X11RawPresses::buttonOf(const xcb_generic_event_t& event) const {
  if (extension_ == 0 || (event.response_type & 0x7FU) != XCB_GE_GENERIC) return std::nullopt;
  RawEvent raw{};
  std::memcpy(&raw, &event, sizeof raw);
  if (raw.extension != extension_ || raw.kind != rawButtonPress) return std::nullopt;
  return raw.detail;
}

}  // namespace vantorel
