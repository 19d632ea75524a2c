#include "platform/linux/x11_native_windows.hpp"

#include <xcb/composite.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/linux/absent_desktop.hpp"
#include "platform/linux/x11_call.hpp"
#include "platform/linux/x11_settings_source.hpp"

namespace vantorel {
namespace {

/// A compositor was seen to show windows up to 106 ms after they were unmapped.
constexpr std::chrono::milliseconds compositorDelay{150};

constexpr std::chrono::seconds answerBound{3};

}  // namespace

X11NativeWindows::X11NativeWindows(xcb_connection_t* connection, std::shared_ptr<TaskRunner> main)
    : c_(connection),
      root_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root),
      main_(std::move(main)) {}

xcb_atom_t X11NativeWindows::atom(std::string_view name) const {
  const auto reply = xReply<xcb_intern_atom_reply>(
      c_, xcb_intern_atom(c_, 0, static_cast<std::uint16_t>(name.size()), name.data()));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

bool X11NativeWindows::isOwned(std::string_view selection) const {
  const auto reply =
      xReply<xcb_get_selection_owner_reply>(c_, xcb_get_selection_owner(c_, atom(selection)));
  return reply && reply->owner != XCB_NONE;
}

bool X11NativeWindows::hasWindowManager() const {
  const auto reply = xReply<xcb_get_property_reply>(
      c_, xcb_get_property(c_, 0, root_, atom("_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 0, 1));
  return !words(reply.get()).empty();
}

void X11NativeWindows::floatAboveAll(WindowID window, FloatingInput input) {
  const auto id = static_cast<xcb_window_t>(window);
  const std::uint32_t unmanaged[] = {1};
  xcb_change_window_attributes(c_, id, XCB_CW_OVERRIDE_REDIRECT, unmanaged);
  if (input == FloatingInput::all) return;
  const xcb_xfixes_region_t nowhere = xcb_generate_id(c_);
  xcb_xfixes_create_region(c_, nowhere, 0, nullptr);
  xcb_xfixes_set_window_shape_region(c_, id, XCB_SHAPE_SK_INPUT, 0, 0, nowhere);
  xcb_xfixes_destroy_region(c_, nowhere);
}

void X11NativeWindows::coverDisplay(WindowID window, PixelPoint at) {
  floatAboveAll(window, FloatingInput::all);
  // A compositor paints into the overlay window itself.
  const auto* const composite = xcb_get_extension_data(c_, &xcb_composite_id);
  if (canBeTransparent() || composite == nullptr || composite->present == 0) return;
  const auto version =
      xReply<xcb_composite_query_version_reply>(c_, xcb_composite_query_version(c_, 0, 3));
  if (!version || (version->major_version == 0 && version->minor_version < 3)) return;
  const auto overlay = xReply<xcb_composite_get_overlay_window_reply>(
      c_, xcb_composite_get_overlay_window(c_, root_));
  if (!overlay) return;
  const auto id = static_cast<xcb_window_t>(window);
  covering_.insert(id);
  xcb_reparent_window(c_, id, overlay->overlay_win, static_cast<std::int16_t>(at.x),
                      static_cast<std::int16_t>(at.y));
}

void X11NativeWindows::uncoverDisplay(WindowID window) {
  const auto id = static_cast<xcb_window_t>(window);
  if (covering_.erase(id) == 0) return;
  xcb_unmap_window(c_, id);
  xcb_reparent_window(c_, id, root_, 0, 0);
  // Counted by the server: the last one to be given back takes it off the screen.
  xcb_composite_release_overlay_window(c_, root_);
  xcb_flush(c_);
}

void X11NativeWindows::setInputArea(WindowID window, const PixelRect& area) {
  const xcb_rectangle_t rectangle{
      static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
      static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height)};
  const xcb_xfixes_region_t region = xcb_generate_id(c_);
  xcb_xfixes_create_region(c_, region, 1, &rectangle);
  xcb_xfixes_set_window_shape_region(c_, static_cast<xcb_window_t>(window), XCB_SHAPE_SK_INPUT, 0,
                                     0, region);
  xcb_xfixes_destroy_region(c_, region);
}

void X11NativeWindows::coverDesktop(WindowID window) {
  const auto id = static_cast<xcb_window_t>(window);
  const std::uint32_t allDesktops[] = {0xFFFFFFFF};
  xcb_change_property(c_, XCB_PROP_MODE_REPLACE, id, atom("_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32,
                      1, allDesktops);
  // The toolkit adds the states that it has flags for when it maps the window, and keeps these.
  const xcb_atom_t states[] = {atom("_NET_WM_STATE_SKIP_TASKBAR"), atom("_NET_WM_STATE_SKIP_PAGER"),
                               atom("_NET_WM_STATE_STICKY")};
  xcb_change_property(c_, XCB_PROP_MODE_REPLACE, id, atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32, 3,
                      states);
  // Where nobody arranges windows they come up on top.
  const std::uint32_t below[] = {XCB_STACK_MODE_BELOW};
  if (!hasWindowManager()) xcb_configure_window(c_, id, XCB_CONFIG_WINDOW_STACK_MODE, below);
}

bool X11NativeWindows::canBeTransparent() const { return isOwned("_NET_WM_CM_S0"); }

bool X11NativeWindows::hasEmbeddingTray() const { return isOwned("_NET_SYSTEM_TRAY_S0"); }

bool X11NativeWindows::isAnythingPressed() const {
  constexpr auto anyButton = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3 |
                             XCB_BUTTON_MASK_4 | XCB_BUTTON_MASK_5;
  const auto keys = xReply<xcb_query_keymap_reply>(c_, xcb_query_keymap(c_));
  const auto state = xReply<xcb_query_pointer_reply>(c_, xcb_query_pointer(c_, root_));
  return (keys && std::ranges::any_of(keys->keys, [](std::uint8_t eight) { return eight != 0; })) ||
         (state && (state->mask & anyButton) != 0);
}

DesktopLook X11NativeWindows::look() const {
  const X11SettingsSource settings(c_, atom("_XSETTINGS_S0"), atom("_XSETTINGS_SETTINGS"));
  return lookOf(settings.read());
}

X11Surroundings& X11NativeWindows::surroundings() {
  if (surroundings_ == nullptr) surroundings_ = std::make_unique<X11Surroundings>("", main_);
  return *surroundings_;
}

std::uint32_t X11NativeWindows::plainSymbol(std::uint32_t hardwareKey) const {
  const xcb_setup_t* const setup = xcb_get_setup(c_);
  if (hardwareKey < setup->min_keycode || hardwareKey > setup->max_keycode) return 0;
  const auto mapping = xReply<xcb_get_keyboard_mapping_reply>(
      c_, xcb_get_keyboard_mapping(c_, static_cast<xcb_keycode_t>(hardwareKey), 1));
  if (!mapping || xcb_get_keyboard_mapping_keysyms_length(mapping.get()) == 0) return 0;
  return *xcb_get_keyboard_mapping_keysyms(mapping.get());
}

std::optional<PixelPoint> X11NativeWindows::pointer() const {
  const auto reply = xReply<xcb_query_pointer_reply>(c_, xcb_query_pointer(c_, root_));
  if (!reply) return std::nullopt;
  return PixelPoint{reply->root_x, reply->root_y};
}

void X11NativeWindows::movePointer(PixelPoint to) {
  xcb_warp_pointer(c_, XCB_NONE, root_, 0, 0, 0, 0, static_cast<std::int16_t>(to.x),
                   static_cast<std::int16_t>(to.y));
  xcb_flush(c_);
}

Image X11NativeWindows::wallpaper() const {
  const auto property = xReply<xcb_get_property_reply>(
      c_, xcb_get_property(c_, 0, root_, atom("_XROOTPMAP_ID"), XCB_ATOM_PIXMAP, 0, 1));
  const auto pixmap = words(property.get());
  if (pixmap.empty()) return {};
  const auto size = xReply<xcb_get_geometry_reply>(c_, xcb_get_geometry(c_, pixmap[0]));
  if (!size || size->depth < 24) return {};
  auto pixels =
      xReply<xcb_get_image_reply>(c_, xcb_get_image(c_, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap[0], 0, 0,
                                                    size->width, size->height, ~0U));
  const std::size_t stride = std::size_t{4} * size->width;
  if (!pixels ||
      static_cast<std::size_t>(xcb_get_image_data_length(pixels.get())) < stride * size->height) {
    return {};
  }
  const std::shared_ptr<xcb_get_image_reply_t> kept = std::move(pixels);
  return {{size->width, size->height},
          stride,
          PixelFormat::bgrx,
          {kept, xcb_get_image_data(kept.get())}};
}

void X11NativeWindows::sync() {
  static_cast<void>(xReply<xcb_get_input_focus_reply>(c_, xcb_get_input_focus(c_)));
}

void X11NativeWindows::whenShown(Task then) {
  sync();
  main_->postAfter(canBeTransparent() ? compositorDelay : std::chrono::milliseconds(0),
                   std::move(then));
}

/// A server that hangs keeps whoever connects: that is a thread of its own, which is left behind
/// when it gets no answer.
bool X11DisplayServer::answers() {
  struct Answer {
    std::mutex mutex;
    std::condition_variable came;
    std::optional<bool> value;
  };
  const auto answer = std::make_shared<Answer>();
  std::thread([answer] {
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool connected = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    const std::lock_guard lock(answer->mutex);
    answer->value = connected;
    answer->came.notify_one();
  }).detach();
  std::unique_lock lock(answer->mutex);
  answer->came.wait_for(lock, answerBound, [&] { return answer->value.has_value(); });
  return answer->value.value_or(false);
}

std::shared_ptr<NativeWindows> X11DisplayServer::nativeWindows(ToolkitConnection connection,
                                                               std::shared_ptr<TaskRunner> main) {
  if (connection.x11 == nullptr) return std::make_shared<AbsentNativeWindows>(std::move(main));
  return std::make_shared<X11NativeWindows>(connection.x11, std::move(main));
}

}  // namespace vantorel
