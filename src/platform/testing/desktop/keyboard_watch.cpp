#include "platform/testing/desktop/keyboard_watch.hpp"

#include <poll.h>

#include <chrono>
#include <cstdlib>
#include <memory>

namespace vantorel {

KeyboardWatch::KeyboardWatch(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
  const auto* const screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  const auto window = xcb_generate_id(connection_);
  // Outside the screen, and out of the window manager's sight.
  const std::uint32_t values[] = {1, XCB_EVENT_MASK_FOCUS_CHANGE};
  xcb_create_window(connection_, 0, window, screen->root, -8, -8, 4, 4, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                    XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
  xcb_map_window(connection_, window);
  xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
  // When this is answered, all that was asked for has been done.
  std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

KeyboardWatch::~KeyboardWatch() { xcb_disconnect(connection_); }

bool KeyboardWatch::waitUntilTaken() { return waitFor(XCB_FOCUS_OUT, XCB_NOTIFY_MODE_GRAB); }

bool KeyboardWatch::waitUntilFree() { return waitFor(XCB_FOCUS_IN, XCB_NOTIFY_MODE_UNGRAB); }

bool KeyboardWatch::waitFor(std::uint8_t event, std::uint8_t mode) {
  using namespace std::chrono;
  const auto end = steady_clock::now() + seconds(20);
  while (xcb_connection_has_error(connection_) == 0) {
    while (const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> came{
        xcb_poll_for_event(connection_), &std::free}) {
      const auto* const focus = reinterpret_cast<const xcb_focus_in_event_t*>(came.get());
      if ((came->response_type & 0x7FU) == event && focus->mode == mode) return true;
    }
    const auto left = duration_cast<milliseconds>(end - steady_clock::now()).count();
    pollfd waited{xcb_get_file_descriptor(connection_), POLLIN, 0};
    if (left <= 0 || ::poll(&waited, 1, static_cast<int>(left)) <= 0) return false;
  }
  return false;
}

}  // namespace vantorel
