#include "platform/linux/x11_session.hpp"

#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <map>

#include "platform/linux/x11_call.hpp"
#include "platform/linux/x11_monitors.hpp"

namespace vantorel {
namespace {

bool isLocal(xcb_connection_t* connection) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  return getsockname(xcb_get_file_descriptor(connection), reinterpret_cast<sockaddr*>(&address),
                     &length) == 0 &&
         address.ss_family == AF_UNIX;
}

const xcb_query_extension_reply_t* extension(xcb_connection_t* connection, xcb_extension_t* id) {
  const auto* data = xcb_get_extension_data(connection, id);
  return data != nullptr && data->present != 0 ? data : nullptr;
}

xcb_intern_atom_cookie_t askAtom(xcb_connection_t* connection, std::string_view name) {
  return xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
}

}  // namespace

X11Session::X11Session(xcb_connection_t* connection, xcb_screen_t* screen, int screenNumber,
                       WindowContents contents)
    : connection_(connection),
      screen_(screen),
      screenNumber_(screenNumber),
      contents_(contents),
      pixels_(connection),
      applications_(DesktopApplications::standardFolders()) {}

Result<std::unique_ptr<X11Client>> X11Session::make(xcb_connection_t* connection, int screenNumber,
                                                    WindowContents contents) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (int i = 0; i < screenNumber && screens.rem > 1; ++i) xcb_screen_next(&screens);
  std::unique_ptr<X11Session> session(
      new X11Session(connection, screens.data, screenNumber, contents));
  if (auto done = session->setUp(); !done) return std::unexpected(std::move(done).error());
  return session;
}

Result<void> X11Session::setUp() {
  xcb_connection_t* c = connection_;
  for (auto* id : {&xcb_shm_id, &xcb_randr_id, &xcb_composite_id, &xcb_damage_id, &xcb_xfixes_id,
                   &xcb_render_id}) {
    xcb_prefetch_extension_data(c, id);
  }
  std::array<xcb_intern_atom_cookie_t, xAtomNames.size()> names{};
  for (std::size_t i = 0; i < names.size(); ++i) names[i] = askAtom(c, xAtomNames[i]);
  const auto compositor = askAtom(c, fmt::format("_NET_WM_CM_S{}", screenNumber_));
  const auto settings = askAtom(c, fmt::format("_XSETTINGS_S{}", screenNumber_));

  const auto* shm = extension(c, &xcb_shm_id);
  const auto* randr = extension(c, &xcb_randr_id);
  const auto* composite = extension(c, &xcb_composite_id);
  const auto* damage = extension(c, &xcb_damage_id);
  hasFixes_ = extension(c, &xcb_xfixes_id) != nullptr;
  hasRender_ = extension(c, &xcb_render_id) != nullptr;
  // The server wants to be told the version of each extension before the first real request.
  std::optional<xcb_shm_query_version_cookie_t> shmVersion;
  std::optional<xcb_randr_query_version_cookie_t> randrVersion;
  std::optional<xcb_composite_query_version_cookie_t> compositeVersion;
  if (shm != nullptr && isLocal(c)) shmVersion = xcb_shm_query_version(c);
  if (randr != nullptr) randrVersion = xcb_randr_query_version(c, 1, 5);
  if (composite != nullptr) compositeVersion = xcb_composite_query_version(c, 0, 4);
  if (damage != nullptr) {
    damageEvent_ = damage->first_event;
    xcb_discard_reply(c, xcb_damage_query_version(c, 1, 1).sequence);
  }
  if (hasFixes_) xcb_discard_reply(c, xcb_xfixes_query_version(c, 5, 0).sequence);
  if (hasRender_) xcb_discard_reply(c, xcb_render_query_version(c, 0, 11).sequence);
  // A monitor set by hand shows only as a ConfigureNotify on the root window.
  const std::uint32_t events[] = {XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE};
  xcb_change_window_attributes(c, screen_->root, XCB_CW_EVENT_MASK, events);
  if (randr != nullptr) {
    randrEvent_ = randr->first_event;
    xcb_randr_select_input(c, screen_->root,
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_RESOURCE_CHANGE);
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto reply = xReply<xcb_intern_atom_reply>(c, names[i]);
    if (reply) atoms_[i] = reply->atom;
  }
  if (const auto reply = xReply<xcb_intern_atom_reply>(c, compositor)) {
    compositorSelection_ = reply->atom;
  }
  const auto settingsSelection = xReply<xcb_intern_atom_reply>(c, settings);
  settings_.emplace(c, settingsSelection ? settingsSelection->atom : xcb_atom_t{XCB_ATOM_NONE},
                    atom(XAtom::settings));
  if (shmVersion) {
    const auto reply = xReply<xcb_shm_query_version_reply>(c, *shmVersion);
    pixels_.allowSharedMemory(reply && (reply->major_version > 1 || reply->minor_version >= 2));
  }
  if (randrVersion) {
    const auto reply = xReply<xcb_randr_query_version_reply>(c, *randrVersion);
    hasMonitors_ = reply && (reply->major_version > 1 || reply->minor_version >= 5);
  }
  if (compositeVersion) {
    const auto reply = xReply<xcb_composite_query_version_reply>(c, *compositeVersion);
    hasComposite_ = reply && (reply->major_version > 0 || reply->minor_version >= 2);
  }
  if (hasComposite_ && contents_ == WindowContents::keptFromStart) {
    xcb_composite_redirect_subwindows(c, screen_->root, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    keptSince_ = std::chrono::steady_clock::now();
  }
  xcb_flush(c);
  if (isLost()) return std::unexpected(serverGone());
  return {};
}

Failure X11Session::failure(FailureKind kind, std::string reason) const {
  return isLost() ? serverGone() : Failure{kind, std::move(reason)};
}

Result<std::vector<XMonitor>> X11Session::monitors() {
  if (monitorsAreStale_) {
    monitors_ = VT_TRY(readMonitors());
    monitorsAreStale_ = false;
  }
  return monitors_;
}

Result<std::vector<XMonitor>> X11Session::readMonitors() {
  xcb_connection_t* c = connection_;
  const auto askResources = xcb_get_property(c, 0, screen_->root, atom(XAtom::resourceManager),
                                             XCB_ATOM_STRING, 0, 1U << 16U);
  const auto askRoot = xcb_get_geometry(c, screen_->root);
  XOwned<xcb_randr_get_monitors_reply_t> found;
  if (hasMonitors_) {
    found = xReply<xcb_randr_get_monitors_reply>(c, xcb_randr_get_monitors(c, screen_->root, 1));
  }
  const auto resources = xReply<xcb_get_property_reply>(c, askResources);
  const auto root = xReply<xcb_get_geometry_reply>(c, askRoot);
  if (!root) return std::unexpected(failure(FailureKind::other, "the screen has no size"));
  const double scale = std::min(
      scaleFromResources(bytes(resources.get())) * scalingFactor(settings_->follow()), 8.0);

  struct Asked {
    xcb_randr_monitor_info_t info;
    xcb_get_atom_name_cookie_t name;
    std::optional<xcb_randr_get_output_property_cookie_t> edid;
  };
  std::vector<Asked> asked;
  if (found) {
    for (auto next = xcb_randr_get_monitors_monitors_iterator(found.get()); next.rem != 0;
         xcb_randr_monitor_info_next(&next)) {
      if (next.data->width == 0 || next.data->height == 0) continue;
      Asked one{*next.data, xcb_get_atom_name(c, next.data->name), {}};
      if (xcb_randr_monitor_info_outputs_length(next.data) > 0) {
        one.edid = xcb_randr_get_output_property(c, *xcb_randr_monitor_info_outputs(next.data),
                                                 atom(XAtom::edid), XCB_ATOM_ANY, 0, 128, 0, 0);
      }
      asked.push_back(one);
    }
  }

  std::vector<XMonitor> monitors;
  std::vector<std::string> edids;
  for (const Asked& one : asked) {
    XMonitor monitor;
    if (const auto name = xReply<xcb_get_atom_name_reply>(c, one.name)) {
      monitor.display.id.assign(xcb_get_atom_name_name(name.get()), name->name_len);
    }
    std::string edid;
    if (one.edid) {
      const auto block = xReply<xcb_randr_get_output_property_reply>(c, *one.edid);
      if (block && block->format == 8 && block->num_items >= 128) {
        edid.assign(reinterpret_cast<const char*>(xcb_randr_get_output_property_data(block.get())),
                    block->num_items);
      }
    }
    monitor.display.name = monitorIdentity(edid).name;
    monitor.display.isMain = one.info.primary != 0;
    monitor.pixels = {one.info.x, one.info.y, one.info.width, one.info.height};
    monitors.push_back(std::move(monitor));
    edids.push_back(std::move(edid));
  }
  if (monitors.empty()) {
    monitors.emplace_back().display.id = "screen";
    monitors[0].pixels = {0, 0, root->width, root->height};
    edids.emplace_back();
  }
  for (std::size_t i = 0; i < monitors.size(); ++i) {
    auto& [display, pixels, pixelsPerPoint] = monitors[i];
    pixelsPerPoint = scale;
    if (display.name.empty()) display.name = display.id;
    display.pixelSize = {pixels.width, pixels.height};
    display.bounds = {pixels.x / scale, pixels.y / scale, pixels.width / scale,
                      pixels.height / scale};
    // Two monitors of one make may carry the same block; then the socket tells them apart.
    const bool isUnique = std::count(edids.begin(), edids.end(), edids[i]) == 1;
    display.uuid = uuidOf(isUnique && !edids[i].empty() ? edids[i] : edids[i] + display.id);
  }
  const auto main = std::find_if(monitors.begin(), monitors.end(),
                                 [](const XMonitor& monitor) { return monitor.display.isMain; });
  if (main == monitors.end()) {
    monitors[0].display.isMain = true;
  } else {
    std::rotate(monitors.begin(), main, main + 1);
  }
  if (isLost()) return std::unexpected(serverGone());
  return monitors;
}

Result<std::vector<XTopLevel>> X11Session::topLevels() {
  const auto tree =
      xReply<xcb_query_tree_reply>(connection_, xcb_query_tree(connection_, screen_->root));
  if (!tree) return std::unexpected(failure(FailureKind::other, "the windows cannot be listed"));
  const std::span<const xcb_window_t> children{
      xcb_query_tree_children(tree.get()),
      static_cast<std::size_t>(xcb_query_tree_children_length(tree.get()))};
  std::vector<std::pair<xcb_get_window_attributes_cookie_t, xcb_get_geometry_cookie_t>> asked;
  asked.reserve(children.size());
  for (const xcb_window_t child : children) {
    asked.emplace_back(xcb_get_window_attributes(connection_, child),
                       xcb_get_geometry(connection_, child));
  }
  std::vector<XTopLevel> windows;
  for (std::size_t i = 0; i < children.size(); ++i) {
    const auto attributes = xReply<xcb_get_window_attributes_reply>(connection_, asked[i].first);
    const auto geometry = xReply<xcb_get_geometry_reply>(connection_, asked[i].second);
    if (!attributes || !geometry) continue;  // closed meanwhile
    const int border = geometry->border_width;
    windows.push_back(
        {children[i],
         {geometry->x, geometry->y, geometry->width + 2 * border, geometry->height + 2 * border},
         border,
         geometry->depth,
         attributes->visual,
         attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
             attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT});
  }
  return windows;
}

bool X11Session::hasCompositor() {
  const auto owner = xReply<xcb_get_selection_owner_reply>(
      connection_, xcb_get_selection_owner(connection_, compositorSelection_));
  return owner && owner->owner != XCB_NONE;
}

void X11Session::onMonitorsChange(std::function<void()> listener) {
  monitorsListener_ = std::move(listener);
  if (auto now = monitors()) announcedMonitors_ = std::move(*now);
}

XOwned<xcb_generic_event_t> X11Session::nextEvent(std::chrono::steady_clock::time_point end) {
  for (;;) {
    if (XOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) return event;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() < 0 || isLost()) return nullptr;
    pollfd waiting{xcb_get_file_descriptor(connection_), POLLIN, 0};
    poll(&waiting, 1, static_cast<int>(left.count()) + 1);
  }
}

void X11Session::handle(const xcb_generic_event_t& event) {
  if (eventListener_) eventListener_(event);
  const std::uint8_t type = event.response_type & 0x7FU;
  const bool areNewResources = type == XCB_PROPERTY_NOTIFY &&
                               reinterpret_cast<const xcb_property_notify_event_t&>(event).atom ==
                                   atom(XAtom::resourceManager);
  const bool areNewDisplays =
      type == XCB_CONFIGURE_NOTIFY ||
      (randrEvent_ && (type == *randrEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                       type == *randrEvent_ + XCB_RANDR_NOTIFY));
  if (areNewResources || areNewDisplays || settings_->isChange(event)) monitorsAreStale_ = true;
}

void X11Session::eventsHandled() {
  if (!monitorsListener_) return;
  auto now = monitors();
  if (!now || *now == announcedMonitors_) return;
  announcedMonitors_ = std::move(*now);
  monitorsListener_();
}

}  // namespace vantorel
