#include "platform/testing/desktop/test_client.hpp"

#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <stdexcept>

namespace vantorel {
namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <class Reply>
using Owned = std::unique_ptr<Reply, Free>;
template <class Reply>
Owned<Reply> owned(Reply* reply) {
  return Owned<Reply>(reply);
}

template <class Condition>
void waitUntil(const char* what, Condition condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      throw std::runtime_error(fmt::format("waited too long for {}", what));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

}  // namespace

std::uint32_t testPixel(std::uint32_t seed, int x, int y) {
  std::uint32_t value = static_cast<std::uint32_t>(x) * 0x9E3779B1U;
  value = (value ^ static_cast<std::uint32_t>(y)) * 0x85EBCA6BU;
  value = (value ^ (value >> 15U) ^ seed) * 0xC2B2AE35U;
  return 0xFF000000U | (value >> 8U);
}

std::string differenceFromTestPicture(const Image& image, std::uint32_t seed, int left, int top) {
  for (int y = 0; y < image.height(); ++y) {
    const auto row = image.row(y);
    for (int x = 0; x < image.width(); ++x) {
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, row.data() + static_cast<std::size_t>(x) * 4, 4);
      const std::uint32_t wanted = testPixel(seed, left + x, top + y);
      if (((pixel ^ wanted) & 0xFFFFFFU) != 0) {
        return fmt::format("pixel {},{} is {:06x} where {:06x} was painted", x, y,
                           pixel & 0xFFFFFFU, wanted & 0xFFFFFFU);
      }
    }
  }
  return {};
}

TestClient::TestClient(const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
  if (xcb_connection_has_error(connection_) != 0) {
    xcb_disconnect(connection_);
    throw std::runtime_error("cannot connect to the test's X server " + display);
  }
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  for (auto depth = xcb_screen_allowed_depths_iterator(screen_); depth.rem != 0;
       xcb_depth_next(&depth)) {
    if (depth.data->depth != 32) continue;
    const auto visuals = xcb_depth_visuals_iterator(depth.data);
    if (visuals.rem != 0) argbVisual_ = visuals.data->visual_id;
  }
  protocols_ = atom("WM_PROTOCOLS");
  painter_ = std::thread([this] { repaintExposed(); });
}

TestClient::~TestClient() {
  shutdown(xcb_get_file_descriptor(connection_), SHUT_RDWR);
  painter_.join();
  xcb_disconnect(connection_);
}

xcb_atom_t TestClient::atom(const char* name) {
  const auto reply = owned(xcb_intern_atom_reply(
      connection_,
      xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
      nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void TestClient::sync() {
  (void)owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

xcb_pixmap_t TestClient::makePicture(PixelSize size, int depth, std::uint32_t seed,
                                     std::uint32_t alpha) {
  const auto pixmap = xcb_generate_id(connection_);
  const auto deep = static_cast<std::uint8_t>(depth);
  xcb_create_pixmap(connection_, deep, pixmap, screen_->root,
                    static_cast<std::uint16_t>(size.width),
                    static_cast<std::uint16_t>(size.height));
  auto& context = contexts_[deep];
  if (context == 0) {
    context = xcb_generate_id(connection_);
    xcb_create_gc(connection_, context, pixmap, 0, nullptr);
  }
  const int rowsAtOnce = std::max(1, 200'000 / (size.width * 4));
  std::vector<std::uint32_t> rows;
  for (int top = 0; top < size.height; top += rowsAtOnce) {
    const int count = std::min(rowsAtOnce, size.height - top);
    rows.clear();
    for (int y = top; y < top + count; ++y) {
      for (int x = 0; x < size.width; ++x) {
        const std::uint32_t pixel = testPixel(seed, x, y);
        const auto part = [&](unsigned shift) {
          return ((pixel >> shift & 0xFFU) * alpha / 255) << shift;
        };
        rows.push_back(depth == 32 ? alpha << 24U | part(16) | part(8) | part(0) : pixel);
      }
    }
    xcb_put_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context,
                  static_cast<std::uint16_t>(size.width), static_cast<std::uint16_t>(count), 0,
                  static_cast<std::int16_t>(top), 0, deep,
                  static_cast<std::uint32_t>(rows.size() * 4),
                  reinterpret_cast<const std::uint8_t*>(rows.data()));
  }
  return pixmap;
}

void TestClient::repaintExposed() {
  while (const auto event = owned(xcb_wait_for_event(connection_))) {
    const unsigned type = event->response_type & 0x7FU;
    if (type == XCB_CLIENT_MESSAGE && !frozen_) {
      answerPing(reinterpret_cast<const xcb_client_message_event_t&>(*event));
    }
    if (type != XCB_EXPOSE || frozen_ || !paints_) continue;
    const auto& expose = reinterpret_cast<const xcb_expose_event_t&>(*event);
    const std::lock_guard lock(mutex_);
    const auto found = contents_.find(expose.window);
    if (found == contents_.end()) continue;
    const auto x = static_cast<std::int16_t>(expose.x);
    const auto y = static_cast<std::int16_t>(expose.y);
    xcb_copy_area(connection_, found->second.picture, expose.window,
                  contexts_[static_cast<std::uint8_t>(found->second.depth)], x, y, x, y,
                  expose.width, expose.height);
    xcb_flush(connection_);
    exposed_[expose.window] = true;
  }
}

void TestClient::answerPing(const xcb_client_message_event_t& message) {
  if (message.type != protocols_) return;
  xcb_client_message_event_t answer = message;
  answer.window = screen_->root;
  xcb_send_event(connection_, 0, screen_->root,
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&answer));
  xcb_flush(connection_);
}

std::uint32_t TestClient::open(const TestWindow& wanted) {
  const auto window = xcb_generate_id(connection_);
  const auto depth = static_cast<std::uint8_t>(wanted.depth);
  const bool argb = wanted.depth == 32;
  xcb_colormap_t colours = screen_->default_colormap;
  if (argb) {
    colours = xcb_generate_id(connection_);
    xcb_create_colormap(connection_, XCB_COLORMAP_ALLOC_NONE, colours, screen_->root, argbVisual_);
  }
  const PixelSize size{wanted.area.width, wanted.area.height};
  {
    const std::lock_guard lock(mutex_);
    contents_[window] = {size, wanted.depth,
                         makePicture(size, wanted.depth, wanted.seed, wanted.alpha)};
  }
  const std::uint32_t values[] = {0x00333333, 0, wanted.overrideRedirect ? 1U : 0U,
                                  XCB_EVENT_MASK_EXPOSURE, colours};
  xcb_create_window(connection_, depth, window, screen_->root,
                    static_cast<std::int16_t>(wanted.area.x),
                    static_cast<std::int16_t>(wanted.area.y),
                    static_cast<std::uint16_t>(size.width), static_cast<std::uint16_t>(size.height),
                    0, XCB_WINDOW_CLASS_INPUT_OUTPUT, argb ? argbVisual_ : screen_->root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT |
                        XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                    values);
  const auto setText = [&](const char* name, const char* type, const std::string& text) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(name), atom(type), 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
  };
  const auto setNumbers = [&](const char* name, xcb_atom_t type,
                              const std::vector<std::uint32_t>& numbers) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(name), type, 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
  };
  if (!wanted.title.empty()) setText("_NET_WM_NAME", "UTF8_STRING", wanted.title);
  if (!wanted.className.empty()) {
    setText("WM_CLASS", "STRING",
            wanted.className + std::string(1, '\0') + wanted.className + std::string(1, '\0'));
  }
  if (wanted.pid != 0) {
    setNumbers("_NET_WM_PID", XCB_ATOM_CARDINAL, {static_cast<std::uint32_t>(wanted.pid)});
    char machine[256] = {};
    gethostname(machine, sizeof machine - 1);
    setText("WM_CLIENT_MACHINE", "STRING", machine);
  }
  if (wanted.gtkExtents) {
    setNumbers("_GTK_FRAME_EXTENTS", XCB_ATOM_CARDINAL, *wanted.gtkExtents);
  }
  if (wanted.answersPings) setNumbers("WM_PROTOCOLS", XCB_ATOM_ATOM, {atom("_NET_WM_PING")});
  // Position and size as the user's own, so that a window manager keeps them.
  std::vector<std::uint32_t> hints(18);
  hints[0] = 1U | 2U;
  setNumbers("WM_NORMAL_HINTS", XCB_ATOM_WM_SIZE_HINTS, hints);
  xcb_map_window(connection_, window);
  xcb_flush(connection_);
  waitUntil("a window to be drawn", [&] {
    const std::lock_guard lock(mutex_);
    return exposed_[window] || frozen_;
  });
  sync();
  return window;
}

bool TestClient::windowsGetMapped() {
  const auto window = xcb_generate_id(connection_);
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, screen_->root, 0, 0, 8, 8, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  xcb_map_window(connection_, window);
  bool mapped = false;
  for (int tries = 0; tries < 20 && !mapped; ++tries) {
    const auto attributes = owned(xcb_get_window_attributes_reply(
        connection_, xcb_get_window_attributes(connection_, window), nullptr));
    mapped = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    if (!mapped) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  close(window);
  return mapped;
}

bool TestClient::windowsAreRedirected() {
  const auto window = open({.area = {0, 0, 8, 8}, .overrideRedirect = true});
  const auto content = xcb_generate_id(connection_);
  const auto error = owned(xcb_request_check(
      connection_, xcb_composite_name_window_pixmap_checked(connection_, window, content)));
  if (!error) xcb_free_pixmap(connection_, content);
  close(window);
  return !error;
}

void TestClient::close(std::uint32_t window) {
  xcb_destroy_window(connection_, window);
  sync();
}

void TestClient::unmap(std::uint32_t window) {
  xcb_unmap_window(connection_, window);
  sync();
}

void TestClient::map(std::uint32_t window) {
  xcb_map_window(connection_, window);
  sync();
}

void TestClient::resize(std::uint32_t window, PixelSize size) {
  const std::uint32_t values[] = {static_cast<std::uint32_t>(size.width),
                                  static_cast<std::uint32_t>(size.height)};
  xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                       values);
  sync();
}

void TestClient::repaint(std::uint32_t window, std::uint32_t seed) {
  {
    const std::lock_guard lock(mutex_);
    Content& content = contents_.at(window);
    xcb_free_pixmap(connection_, content.picture);
    content.picture = makePicture(content.size, content.depth, seed, 255);
    xcb_copy_area(connection_, content.picture, window,
                  contexts_[static_cast<std::uint8_t>(content.depth)], 0, 0, 0, 0,
                  static_cast<std::uint16_t>(content.size.width),
                  static_cast<std::uint16_t>(content.size.height));
  }
  sync();
}

void TestClient::raise(std::uint32_t window) {
  const std::uint32_t above[] = {XCB_STACK_MODE_ABOVE};
  xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_STACK_MODE, above);
  sync();
}

std::uint32_t TestClient::topLevelOf(std::uint32_t window) {
  for (;;) {
    const auto tree =
        owned(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
    if (!tree || tree->parent == tree->root) return window;
    window = tree->parent;
  }
}

void TestClient::raiseAbove(std::uint32_t window, std::uint32_t other) {
  raise(window);
  waitUntil("a window to be raised", [&] {
    const auto tree = owned(
        xcb_query_tree_reply(connection_, xcb_query_tree(connection_, screen_->root), nullptr));
    const std::span<const xcb_window_t> lowestFirst{
        xcb_query_tree_children(tree.get()),
        static_cast<std::size_t>(xcb_query_tree_children_length(tree.get()))};
    return std::ranges::find(lowestFirst, topLevelOf(window)) >
           std::ranges::find(lowestFirst, topLevelOf(other));
  });
}

void TestClient::moveTo(std::uint32_t window, int x, int y) {
  const std::uint32_t place[] = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
  xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, place);
  sync();
}

void TestClient::minimize(std::uint32_t window) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = atom("WM_CHANGE_STATE");
  message.data.data32[0] = 3;
  xcb_send_event(connection_, 0, screen_->root,
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection_);
  waitUntil("a window to be minimised", [&] {
    const auto attributes = owned(xcb_get_window_attributes_reply(
        connection_, xcb_get_window_attributes(connection_, window), nullptr));
    return !attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE;
  });
}

void TestClient::paintRoot(std::uint32_t seed) {
  const auto picture = makePicture({screen_->width_in_pixels, screen_->height_in_pixels},
                                   screen_->root_depth, seed, 255);
  const std::uint32_t value[] = {picture};
  xcb_change_window_attributes(connection_, screen_->root, XCB_CW_BACK_PIXMAP, value);
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, screen_->root, atom("_XROOTPMAP_ID"),
                      XCB_ATOM_PIXMAP, 32, 1, &picture);
  xcb_clear_area(connection_, 0, screen_->root, 0, 0, 0, 0);
  sync();
}

PixelRect TestClient::contentArea(std::uint32_t window) {
  const auto place = owned(xcb_translate_coordinates_reply(
      connection_, xcb_translate_coordinates(connection_, window, screen_->root, 0, 0), nullptr));
  const std::lock_guard lock(mutex_);
  const auto size = contents_.at(window).size;
  return {place ? place->dst_x : 0, place ? place->dst_y : 0, size.width, size.height};
}

bool TestClient::isOwned(const char* selection) {
  const auto reply = owned(xcb_get_selection_owner_reply(
      connection_, xcb_get_selection_owner(connection_, atom(selection)), nullptr));
  return reply && reply->owner != XCB_NONE;
}

bool TestClient::hasRootProperty(const char* name) {
  const auto reply = owned(xcb_get_property_reply(
      connection_, xcb_get_property(connection_, 0, screen_->root, atom(name), XCB_ATOM_ANY, 0, 1),
      nullptr));
  return reply && reply->type != XCB_ATOM_NONE;
}

void TestClient::setRootProperty(const char* name, const std::string& text) {
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, screen_->root, atom(name),
                      XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(text.size()), text.data());
  sync();
}

void TestClient::setDesktopSettings(const std::string& value) {
  const xcb_atom_t selection = atom("_XSETTINGS_S0");
  const auto owner = xcb_generate_id(connection_);
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, owner, screen_->root, 0, 0, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  const xcb_atom_t settings = atom("_XSETTINGS_SETTINGS");
  xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, owner, settings, settings, 8,
                      static_cast<std::uint32_t>(value.size()), value.data());
  xcb_set_selection_owner(connection_, owner, selection, XCB_CURRENT_TIME);
  xcb_client_message_event_t announced{};
  announced.response_type = XCB_CLIENT_MESSAGE;
  announced.format = 32;
  announced.window = screen_->root;
  announced.type = atom("MANAGER");
  announced.data.data32[1] = selection;
  announced.data.data32[2] = owner;
  xcb_send_event(connection_, 0, screen_->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&announced));
  sync();
}

void TestClient::key(std::uint32_t keysym, bool press) {
  auto* symbols = xcb_key_symbols_alloc(connection_);
  const auto codes = owned(xcb_key_symbols_get_keycode(symbols, keysym));
  xcb_key_symbols_free(symbols);
  if (!codes || codes.get()[0] == XCB_NO_SYMBOL) throw std::runtime_error("no such key");
  xcb_test_fake_input(connection_, press ? XCB_KEY_PRESS : XCB_KEY_RELEASE, codes.get()[0],
                      XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  sync();
}

void TestClient::chord(const std::vector<std::uint32_t>& keysyms) {
  for (const std::uint32_t keysym : keysyms) key(keysym, true);
  for (auto at = keysyms.rbegin(); at != keysyms.rend(); ++at) key(*at, false);
}

void TestClient::type(std::string_view text) {
  for (const char letter : text) chord({static_cast<std::uint32_t>(letter)});
}

void TestClient::moveTo(int x, int y) {
  xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, screen_->root,
                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
  sync();
}

void TestClient::button(std::uint8_t number, bool press) {
  xcb_test_fake_input(connection_, press ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, number,
                      XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  sync();
}

void TestClient::click(int x, int y) {
  moveTo(x, y);
  button(1, true);
  button(1, false);
}

}  // namespace vantorel
