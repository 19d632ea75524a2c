#include "platform/linux/x11_windows.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "platform/linux/x11_call.hpp"
#include "platform/linux/x11_text.hpp"

namespace vantorel {
namespace {

constexpr std::uint32_t iconicState = 3;

xcb_get_property_cookie_t ask(X11Session& session, xcb_window_t window, xcb_atom_t property) {
  return xcb_get_property(session.connection(), 0, window, property, XCB_ATOM_ANY, 0, 2048);
}

XOwned<xcb_get_property_reply_t> answer(X11Session& session, xcb_get_property_cookie_t cookie) {
  return xReply<xcb_get_property_reply>(session.connection(), cookie);
}

/// The requests for a window's place, sent; `finish` waits for the answers.
struct PlaceRequest {
  xcb_get_window_attributes_cookie_t attributes;
  xcb_get_geometry_cookie_t geometry;
  xcb_translate_coordinates_cookie_t origin;
  xcb_get_property_cookie_t frame;
  xcb_get_property_cookie_t gtkFrame;

  PlaceRequest(X11Session& session, xcb_window_t window)
      : attributes(xcb_get_window_attributes(session.connection(), window)),
        geometry(xcb_get_geometry(session.connection(), window)),
        origin(
            xcb_translate_coordinates(session.connection(), window, session.screen().root, 0, 0)),
        frame(ask(session, window, session.atom(XAtom::frameExtents))),
        gtkFrame(ask(session, window, session.atom(XAtom::gtkFrameExtents))) {}

  std::optional<XWindowPlace> finish(X11Session& session) const {
    xcb_connection_t* c = session.connection();
    const auto state = xReply<xcb_get_window_attributes_reply>(c, attributes);
    const auto size = xReply<xcb_get_geometry_reply>(c, geometry);
    const auto corner = xReply<xcb_translate_coordinates_reply>(c, origin);
    const auto extents = answer(session, frame);
    const auto gtkExtents = answer(session, gtkFrame);
    if (!state || !size || !corner) return std::nullopt;
    XWindowPlace place;
    place.content = {corner->dst_x, corner->dst_y, size->width, size->height};
    place.isViewable = state->map_state == XCB_MAP_STATE_VIEWABLE;
    const auto grown = [](PixelRect rect, std::span<const std::uint32_t> by, int sign) {
      // Left, right, top, bottom; absurd numbers of a broken program must not overflow.
      std::array<int, 4> n{};
      for (std::size_t i = 0; i < 4; ++i) n[i] = sign * static_cast<int>(std::min(by[i], 4096U));
      return PixelRect{rect.x - n[0], rect.y - n[2], rect.width + n[0] + n[1],
                       rect.height + n[2] + n[3]};
    };
    const std::uint32_t border = size->border_width;
    place.frame = grown(place.content, std::array{border, border, border, border}, 1);
    if (const auto by = words(gtkExtents.get()); by.size() >= 4) {
      const PixelRect inner = grown(place.content, by, -1);
      place.drawsShadow = !inner.isEmpty() && inner != place.content;
      if (place.drawsShadow) place.frame = inner;
    } else if (const auto around = words(extents.get()); around.size() >= 4) {
      place.frame = grown(place.content, around, 1);
    }
    return place;
  }
};

const std::string& machineName() {
  static const std::string name = [] {
    char text[256] = {};
    gethostname(text, sizeof text - 1);
    return std::string(text);
  }();
  return name;
}

/// The requests for the process behind a window, sent.
struct ProcessRequest {
  xcb_get_property_cookie_t pid;
  xcb_get_property_cookie_t machine;

  ProcessRequest(X11Session& session, xcb_window_t window)
      : pid(ask(session, window, session.atom(XAtom::windowPID))),
        machine(ask(session, window, session.atom(XAtom::clientMachine))) {}

  /// 0 when the window does not tell, or runs on another machine.
  std::int64_t finish(X11Session& session) const {
    const auto number = answer(session, pid);
    const auto host = answer(session, machine);
    std::string_view name = bytes(host.get());
    name = name.substr(0, name.find('\0'));
    const auto value = words(number.get());
    if (value.empty() || (!name.empty() && name != machineName())) return 0;
    return value[0];
  }
};

/// The window manager's list in a property of the root window; nothing when there is none.
std::optional<std::vector<xcb_window_t>> windowsIn(X11Session& session, XAtom property) {
  const auto list = answer(session, ask(session, session.screen().root, session.atom(property)));
  if (!list || list->type == XCB_ATOM_NONE) return std::nullopt;
  const auto ids = words(list.get());
  return std::vector<xcb_window_t>(ids.begin(), ids.end());
}

bool holds(const xcb_get_property_reply_t* list, xcb_atom_t atom) {
  const auto atoms = words(list);
  return std::find(atoms.begin(), atoms.end(), atom) != atoms.end();
}

/// The requests for what hides a window, sent.
struct VisibilityRequest {
  xcb_get_property_cookie_t state;
  xcb_get_property_cookie_t oldState;
  xcb_get_property_cookie_t itsWorkspace;
  xcb_get_property_cookie_t workspace;

  VisibilityRequest(X11Session& session, xcb_window_t window)
      : state(ask(session, window, session.atom(XAtom::windowState))),
        oldState(ask(session, window, session.atom(XAtom::oldWindowState))),
        itsWorkspace(ask(session, window, session.atom(XAtom::windowDesktop))),
        workspace(ask(session, session.screen().root, session.atom(XAtom::currentDesktop))) {}

  WindowVisibility finish(X11Session& session, bool isViewable) const {
    constexpr std::uint32_t everyWorkspace = 0xFFFFFFFF;
    const auto states = answer(session, state);
    const auto former = answer(session, oldState);
    const auto own = answer(session, itsWorkspace);
    const auto current = answer(session, workspace);
    const auto old = words(former.get());
    const auto at = words(own.get());
    const auto now = words(current.get());
    // A compositor may keep a window viewable that nobody sees.
    const bool isHidden = holds(states.get(), session.atom(XAtom::windowStateHidden)) ||
                          (!old.empty() && old[0] == iconicState);
    if (isViewable && !isHidden) return WindowVisibility::shown;
    if (holds(states.get(), session.atom(XAtom::windowStateShaded))) {
      return WindowVisibility::rolledUp;
    }
    const bool isElsewhere =
        !at.empty() && !now.empty() && at[0] != now[0] && at[0] != everyWorkspace;
    return isElsewhere ? WindowVisibility::onOtherWorkspace : WindowVisibility::minimized;
  }
};

std::string processName(std::int64_t pid) {
  std::error_code failure;
  const auto program =
      std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/exe", failure);
  return failure ? std::string() : program.filename().string();
}

/// Everything asked about one window of the list at once, so that all windows together cost one
/// round trip.
struct WindowRequest {
  PlaceRequest place;
  ProcessRequest process;
  xcb_get_property_cookie_t name;
  xcb_get_property_cookie_t oldName;
  xcb_get_property_cookie_t classes;
  xcb_get_property_cookie_t applicationID;
  VisibilityRequest visibility;
  xcb_get_property_cookie_t type;

  WindowRequest(X11Session& session, xcb_window_t window)
      : place(session, window),
        process(session, window),
        name(ask(session, window, session.atom(XAtom::windowName))),
        oldName(ask(session, window, XCB_ATOM_WM_NAME)),
        classes(ask(session, window, XCB_ATOM_WM_CLASS)),
        applicationID(ask(session, window, session.atom(XAtom::gtkApplicationID))),
        visibility(session, window),
        type(ask(session, window, session.atom(XAtom::windowType))) {}
};

std::string titleOf(X11Session& session, const xcb_get_property_reply_t* name,
                    const xcb_get_property_reply_t* oldName) {
  if (const auto text = bytes(name); !text.empty()) {
    return textOfProperty(text, XTextEncoding::utf8);
  }
  if (oldName == nullptr) return {};
  const XTextEncoding encoding =
      oldName->type == session.atom(XAtom::utf8String)     ? XTextEncoding::utf8
      : oldName->type == session.atom(XAtom::compoundText) ? XTextEncoding::compound
                                                           : XTextEncoding::latin1;
  return textOfProperty(bytes(oldName), encoding);
}

std::optional<WindowSnapshot> snapshotOf(X11Session& session, xcb_window_t window,
                                         const WindowRequest& request, double scale) {
  const auto place = request.place.finish(session);
  const std::int64_t pid = request.process.finish(session);
  const auto name = answer(session, request.name);
  const auto oldName = answer(session, request.oldName);
  const auto classes = answer(session, request.classes);
  const auto applicationID = answer(session, request.applicationID);
  const auto visibility = request.visibility.finish(session, place && place->isViewable);
  const auto type = answer(session, request.type);
  if (!place || place->content.isEmpty()) return std::nullopt;  // closed meanwhile
  if (holds(type.get(), session.atom(XAtom::windowTypeDesktop)) ||
      holds(type.get(), session.atom(XAtom::windowTypeDock))) {
    return std::nullopt;
  }
  WindowSnapshot snapshot;
  snapshot.windowID = window;
  snapshot.ownerPID = pid;
  snapshot.title = titleOf(session, name.get(), oldName.get());
  // The position only means anything while the window is shown, but an old one does no harm.
  const PixelRect& frame = place->frame;
  snapshot.frame = {frame.x / scale, frame.y / scale, frame.width / scale, frame.height / scale};
  snapshot.visibility = visibility;
  snapshot.isOwn = pid == getpid();

  std::string_view pair = bytes(classes.get());
  ApplicationHints hints;
  hints.instanceName = pair.substr(0, pair.find('\0'));
  pair.remove_prefix(std::min(hints.instanceName.size() + 1, pair.size()));
  hints.className = pair.substr(0, pair.find('\0'));
  hints.applicationID = bytes(applicationID.get());
  if (pid != 0) hints.processName = processName(pid);
  if (auto application = session.applications().find(hints)) {
    snapshot.applicationID = std::move(application->id);
    snapshot.ownerName = std::move(application->name);
  } else {
    snapshot.ownerName = textOfProperty(
        !hints.className.empty() ? hints.className : hints.processName, XTextEncoding::utf8);
  }
  return snapshot;
}

}  // namespace

std::optional<XWindowPlace> placeOf(X11Session& session, xcb_window_t window) {
  return PlaceRequest(session, window).finish(session);
}

WindowVisibility visibilityOf(X11Session& session, xcb_window_t window, bool isViewable) {
  return VisibilityRequest(session, window).finish(session, isViewable);
}

std::optional<xcb_window_t> topLevelOf(X11Session& session, xcb_window_t window) {
  for (int depth = 0; depth < 32; ++depth) {
    const auto tree = xReply<xcb_query_tree_reply>(session.connection(),
                                                   xcb_query_tree(session.connection(), window));
    if (!tree || tree->parent == XCB_NONE) return std::nullopt;
    if (tree->parent == tree->root) return window;
    window = tree->parent;
  }
  return std::nullopt;
}

std::int64_t processOf(X11Session& session, xcb_window_t window) {
  return ProcessRequest(session, window).finish(session);
}

std::set<xcb_window_t> topLevelsToHide(X11Session& session, const std::vector<XTopLevel>& windows,
                                       const std::vector<WindowID>& kept) {
  // Windows without a frame stand among the top levels themselves, the others in the window
  // manager's list.
  std::vector<xcb_window_t> candidates =
      windowsIn(session, XAtom::clientList).value_or(std::vector<xcb_window_t>());
  for (const XTopLevel& window : windows) {
    if (window.isViewable) candidates.push_back(window.id);
  }
  std::vector<ProcessRequest> asked;
  asked.reserve(candidates.size());
  for (const xcb_window_t window : candidates) asked.emplace_back(session, window);
  std::set<xcb_window_t> toHide;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const bool isOwn = asked[i].finish(session) == getpid();
    const bool isKept = std::find(kept.begin(), kept.end(), candidates[i]) != kept.end();
    if (isOwn && !isKept) toHide.insert(candidates[i]);
  }

  std::set<xcb_window_t> hidden;
  for (const xcb_window_t window : toHide) {
    const bool isTopLevel = std::any_of(windows.begin(), windows.end(),
                                        [&](const XTopLevel& top) { return top.id == window; });
    if (isTopLevel) {
      hidden.insert(window);
    } else if (const auto top = topLevelOf(session, window)) {
      hidden.insert(*top);
    }
  }
  return hidden;
}

Result<std::vector<WindowSnapshot>> listWindows(X11Session& session) {
  const auto monitors = VT_TRY(session.monitors());
  std::vector<DisplaySnapshot> displays;
  for (const XMonitor& monitor : monitors) displays.push_back(monitor.display);
  auto managed = windowsIn(session, XAtom::clientListStacking);
  if (!managed) managed = windowsIn(session, XAtom::clientList);
  std::vector<xcb_window_t> ids;
  if (managed) {
    ids = std::move(*managed);
  } else {
    // No window manager: whatever is on the screen.
    for (const XTopLevel& window : VT_TRY(session.topLevels())) {
      if (window.isViewable) ids.push_back(window.id);
    }
  }
  std::reverse(ids.begin(), ids.end());
  std::vector<WindowRequest> asked;
  asked.reserve(ids.size());
  for (const xcb_window_t id : ids) asked.emplace_back(session, id);
  std::vector<WindowSnapshot> windows;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    auto window = snapshotOf(session, ids[i], asked[i], monitors[0].scale);
    if (!window) continue;
    if (const auto* display = displayShowing(displays, window->frame)) {
      window->displayID = display->id;
    }
    windows.push_back(std::move(*window));
  }
  if (session.isLost()) return std::unexpected(serverGone());
  return windows;
}

}  // namespace vantorel
