#include "platform/linux/x11_grab.hpp"

#include <xcb/composite.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>

#include "platform/linux/x11_application_state.hpp"
#include "platform/linux/x11_composition.hpp"
#include "platform/linux/x11_redirection.hpp"
#include "platform/linux/x11_windows.hpp"

namespace vantorel {
namespace {

// How far beyond a window its traces reach, about: a compositor's shadow of it, or what it
// uncovered a moment ago while it moved and nobody painted yet.
constexpr int reachOfTraces = 48;

// Windows that come up while others are being prepared have to be prepared, too; a screen on which
// this never ends is taken as it is.
constexpr int mostPreparations = 8;

const XMonitor* findMonitor(const std::vector<XMonitor>& monitors, const DisplayID& id) {
  const auto found = std::find_if(monitors.begin(), monitors.end(), [&](const XMonitor& monitor) {
    return monitor.display.id == id;
  });
  return found == monitors.end() ? nullptr : &*found;
}

PixelRect desktopOf(const std::vector<XMonitor>& monitors) {
  PixelRect all = monitors.front().pixels;
  for (const XMonitor& monitor : monitors) {
    const PixelRect& one = monitor.pixels;
    const int right = std::max(all.right(), one.right());
    const int bottom = std::max(all.bottom(), one.bottom());
    all.x = std::min(all.x, one.x);
    all.y = std::min(all.y, one.y);
    all.width = right - all.x;
    all.height = bottom - all.y;
  }
  return all;
}

/// Blackens what no monitor shows: nobody has seen what the server keeps there.
void blankUnseen(const PixelRect& area, const std::vector<XMonitor>& monitors,
                 const PixelBuffer& buffer) {
  std::vector<PixelRect> unseen{area};
  for (const XMonitor& monitor : monitors) subtract(unseen, monitor.pixels);
  for (const PixelRect& rect : unseen) {
    for (int y = rect.y; y < rect.bottom(); ++y) {
      std::memset(buffer.row(y - area.y) + static_cast<std::size_t>(rect.x - area.x) * 4, 0,
                  static_cast<std::size_t>(rect.width) * 4);
    }
  }
}

Result<void> paintPointer(X11Session& session, const PixelRect& area, PixelBuffer& buffer);

PixelRect withTraces(const PixelRect& window) {
  return {window.x - reachOfTraces, window.y - reachOfTraces, window.width + 2 * reachOfTraces,
          window.height + 2 * reachOfTraces};
}

/// What the program's own windows cover of an area.
struct OwnWindows {
  std::vector<PixelRect> holes;   ///< within the area, on the root window
  std::set<xcb_window_t> below;   ///< viewable windows of others under the holes
  std::vector<XTopLevel> others;  ///< all windows but the own, the lowest first
};

OwnWindows ownWindowsOver(X11Session& session, const std::vector<XTopLevel>& windows,
                          const PixelRect& area, const std::vector<WindowID>& kept) {
  OwnWindows own;
  const auto toHide = topLevelsToHide(session, windows, kept);
  for (const XTopLevel& window : windows) {
    if (!toHide.contains(window.id)) {
      own.others.push_back(window);
      continue;
    }
    const PixelRect hole = intersection(withTraces(window.outer), area);
    if (window.isViewable && !hole.isEmpty()) own.holes.push_back(hole);
  }
  for (const XTopLevel& window : own.others) {
    const bool isUnderHole = std::ranges::any_of(own.holes, [&](const PixelRect& hole) {
      return !intersection(hole, window.outer).isEmpty();
    });
    if (window.isViewable && isUnderHole) own.below.insert(window.id);
  }
  return own;
}

/// In the midst of the largest part of the displays that no window covers or has left traces on.
std::optional<PixelPoint> findBarePlace(const std::vector<XTopLevel>& windows,
                                        const std::vector<XMonitor>& monitors,
                                        const PixelRect& root) {
  std::vector<PixelRect> bare;
  for (const XMonitor& monitor : monitors) bare.push_back(intersection(monitor.pixels, root));
  for (const XTopLevel& window : windows) {
    if (window.isViewable) subtract(bare, withTraces(window.outer));
  }
  const auto size = [](const PixelRect& rect) { return std::int64_t{rect.width} * rect.height; };
  const auto largest = std::ranges::max_element(bare, {}, size);
  if (largest == bare.end() || largest->isEmpty()) return std::nullopt;
  return PixelPoint{largest->x + largest->width / 2, largest->y + largest->height / 2};
}

Result<Image> grabArea(X11Session& session, const PixelRect& area,
                       const std::vector<XMonitor>& monitors, const std::vector<WindowID>& keptOwn,
                       bool showsPointer) {
  // A monitor may reach beyond the root window, which was made smaller meanwhile: black, as on the
  // monitor. Its size is asked for, as what the server said at first does not follow.
  const xcb_window_t root = session.screen().root;
  const auto size = xReply<xcb_get_geometry_reply>(session.connection(),
                                                   xcb_get_geometry(session.connection(), root));
  if (!size) return std::unexpected(serverGone());
  const PixelRect whole{0, 0, size->width, size->height};
  const PixelRect seen = intersection(area, whole);
  if (seen.isEmpty()) return failed(FailureKind::notFound, "the display shows nothing");
  PixelBuffer buffer({area.width, area.height});
  if (seen != area)
    std::memset(buffer.row(0), 0, buffer.stride * static_cast<std::size_t>(area.height));
  const auto readAll = [&]() {
    return session.pixels().read(root, seen, session.screen().root_depth,
                                 session.screen().root_visual, buffer, seen.x - area.x,
                                 seen.y - area.y);
  };
  // Own windows open and move at any time: where they are is asked while nobody can move them.
  // Others can only paint what those cover before that, and the round is begun anew.
  std::set<xcb_window_t> prepared;
  std::optional<XRedirection> kept;
  for (int preparations = 0;; ++preparations) {
    std::optional<XServerGrab> atOnce(session.connection());
    const auto windows = VT_TRY(session.topLevels());
    const OwnWindows own = ownWindowsOver(session, windows, area, keptOwn);
    if (!own.holes.empty() && (!session.hasComposite() || !session.hasRender())) {
      return failed(FailureKind::unsupported,
                    "this display server cannot leave Vantorel's own windows out of a picture");
    }
    if (std::ranges::includes(prepared, own.below) || preparations == mostPreparations) {
      VT_TRY(readAll());
      if (own.holes.empty()) break;
      const auto bare = findBarePlace(windows, monitors, whole);
      for (const PixelRect& hole : own.holes) {
        VT_TRY(composeScreen(session, own.others, bare, hole, buffer, hole.x - area.x,
                             hole.y - area.y));
      }
      break;
    }
    atOnce.reset();
    prepared.insert(own.below.begin(), own.below.end());
    kept.reset();
    kept.emplace(session, prepared);
  }
  if (showsPointer) VT_TRY(paintPointer(session, area, buffer));
  blankUnseen(area, monitors, buffer);
  return std::move(buffer).finish(PixelFormat::bgrx);
}

/// Paints the pointer into a picture of `area`. Without the extension there is no telling what it
/// looks like.
Result<void> paintPointer(X11Session& session, const PixelRect& area, PixelBuffer& buffer) {
  if (!session.hasFixes()) {
    return failed(FailureKind::unsupported,
                  "this display server does not tell what the pointer looks like");
  }
  xcb_connection_t* c = session.connection();
  const auto pointer = xReply<xcb_xfixes_get_cursor_image_reply>(c, xcb_xfixes_get_cursor_image(c));
  if (!pointer) return std::unexpected(serverGone());
  const std::uint32_t* pixels = xcb_xfixes_get_cursor_image_cursor_image(pointer.get());
  const PixelRect whole{pointer->x - pointer->xhot, pointer->y - pointer->yhot, pointer->width,
                        pointer->height};
  const PixelRect seen = intersection(whole, area);
  for (int y = seen.y; y < seen.bottom(); ++y) {
    for (int x = seen.x; x < seen.right(); ++x) {
      // Premultiplied alpha, red, green, blue in one number.
      const std::uint32_t over = pixels[(y - whole.y) * whole.width + (x - whole.x)];
      const std::uint32_t rest = 255 - (over >> 24U);
      std::uint8_t* const below = buffer.row(y - area.y) + static_cast<std::size_t>(x - area.x) * 4;
      for (unsigned channel = 0; channel < 4; ++channel) {
        const std::uint32_t under = below[channel] * rest;
        below[channel] =
            static_cast<std::uint8_t>(((over >> (8 * channel)) & 0xFFU) + (under + 127) / 255);
      }
    }
  }
  return {};
}

/// Makes what lies outside the window's shape transparent; true when there was such a part.
bool cutToShape(X11Session& session, const XTopLevel& window, const PixelRect& crop,
                const PixelBuffer& buffer) {
  if (!session.hasFixes()) return false;
  xcb_connection_t* c = session.connection();
  const auto region = xcb_generate_id(c);
  xcb_xfixes_create_region_from_window(c, region, window.id, 0);
  const auto shape = xReply<xcb_xfixes_fetch_region_reply>(c, xcb_xfixes_fetch_region(c, region));
  xcb_xfixes_destroy_region(c, region);
  if (!shape) return false;
  std::vector<PixelRect> outside{crop};
  std::vector<PixelRect> inside;
  const xcb_rectangle_t* rects = xcb_xfixes_fetch_region_rectangles(shape.get());
  for (int i = 0; i < xcb_xfixes_fetch_region_rectangles_length(shape.get()); ++i) {
    inside.push_back(
        {rects[i].x + window.border, rects[i].y + window.border, rects[i].width, rects[i].height});
    subtract(outside, inside.back());
  }
  if (outside.empty()) return false;
  if (window.depth != 32) {
    for (int y = 0; y < buffer.size.height; ++y) {
      for (int x = 0; x < buffer.size.width; ++x) buffer.row(y)[x * 4 + 3] = 255;
    }
  }
  for (const PixelRect& rect : outside) {
    for (int y = rect.y; y < rect.bottom(); ++y) {
      std::memset(buffer.row(y - crop.y) + static_cast<std::size_t>(rect.x - crop.x) * 4, 0,
                  static_cast<std::size_t>(rect.width) * 4);
    }
  }
  return true;
}

/// Why the window's application cannot be expected to have painted what was covered; none when it
/// can.
std::optional<Failure> whyUnpainted(X11Session& session, xcb_window_t window) {
  switch (applicationState(session, window)) {
    case ApplicationState::works: return std::nullopt;
    case ApplicationState::stopped:
      return Failure{
          FailureKind::unsupported,
          "the window's application is stopped, and what other windows cover of it can't "
          "be seen"};
    case ApplicationState::hangs:
      return Failure{FailureKind::unsupported,
                     "the window's application doesn't respond, and what other windows cover of it "
                     "can't be seen"};
  }
  std::unreachable();
}

const char* whyNotShown(WindowVisibility visibility) {
  switch (visibility) {
    case WindowVisibility::rolledUp: return "the window is rolled up to its title bar";
    case WindowVisibility::onOtherWorkspace: return "the window is on another workspace";
    case WindowVisibility::shown:
    case WindowVisibility::minimized: return "the window is minimized";
  }
  std::unreachable();
}

Result<Image> grabWindow(X11Session& session, WindowID wantedID, bool withShadow,
                         const std::vector<WindowID>& keptOwn, bool showsPointer,
                         PixelRect& frame) {
  const Failure gone{FailureKind::notFound, "the window is no longer there"};
  if (wantedID > UINT32_MAX) return std::unexpected(gone);
  const auto id = static_cast<xcb_window_t>(wantedID);
  xcb_connection_t* c = session.connection();
  // As above: what covers the window is asked while nothing can move.
  std::optional<XRedirection> whole;
  std::optional<XServerGrab> atOnce;
  std::optional<PixelBuffer> read;
  XTopLevel found;
  PixelRect crop;
  while (!read) {
    atOnce.emplace(c);
    const auto place = placeOf(session, id);
    const auto top = topLevelOf(session, id);
    const auto windows = VT_TRY(session.topLevels());
    const auto at = std::ranges::find_if(
        windows, [&](const XTopLevel& window) { return top && window.id == *top; });
    if (!place || at == windows.end()) return std::unexpected(gone);
    found = *at;
    if (!found.isViewable || !place->isViewable) {
      return failed(FailureKind::busy, whyNotShown(visibilityOf(session, id, false)));
    }
    if (topLevelsToHide(session, windows, keptOwn).contains(found.id)) {
      return failed(FailureKind::other, "the window is one of Vantorel's own");
    }
    const PixelRect wanted = place->drawsShadow && withShadow ? place->content : place->frame;
    frame = intersection(wanted, found.outer);
    if (frame.isEmpty()) return std::unexpected(gone);
    crop = {frame.x - found.outer.x, frame.y - found.outer.y, frame.width, frame.height};
    const auto index = static_cast<std::size_t>(at - windows.begin());
    const bool isWhole =
        coveredParts(windows, index,
                     {session.screen().width_in_pixels, session.screen().height_in_pixels})
            .empty();
    const PixelRect inContent{crop.x - found.border, crop.y - found.border, crop.width,
                              crop.height};
    PixelBuffer buffer({crop.width, crop.height});
    if (whole) {
      const auto content = xcb_generate_id(c);
      xcb_composite_name_window_pixmap(c, found.id, content);
      const auto done =
          session.pixels().read(content, crop, found.depth, found.visual, buffer, 0, 0);
      xcb_free_pixmap(c, content);
      VT_TRY(done);
      read = std::move(buffer);
    } else if (isWhole) {
      VT_TRY(session.pixels().read(found.id, inContent, found.depth, found.visual, buffer, 0, 0));
      read = std::move(buffer);
    } else if (!session.hasComposite()) {
      return failed(FailureKind::unsupported,
                    "this display server cannot show a window that others cover");
    } else {
      atOnce.reset();
      whole.emplace(session, std::set{found.id});
      if (!whole->isComplete()) {
        if (auto why = whyUnpainted(session, id)) return std::unexpected(*std::move(why));
      }
    }
  }
  atOnce.reset();
  whole.reset();
  PixelBuffer buffer = *std::move(read);
  const bool hasHoles = cutToShape(session, found, crop, buffer);
  if (showsPointer) VT_TRY(paintPointer(session, frame, buffer));
  return std::move(buffer).finish(found.depth == 32 || hasHoles ? PixelFormat::bgraPremultiplied
                                                                : PixelFormat::bgrx);
}

}  // namespace

Result<GrabbedPicture> grabFromScreen(X11Session& session, const GrabRequest& request) {
  const auto monitors = VT_TRY(session.monitors());
  GrabbedPicture picture;
  picture.scale = monitors[0].scale;
  picture.target = request.target;
  if (const auto* window = std::get_if<WindowTarget>(&request.target)) {
    PixelRect frame;
    picture.image = VT_TRY(grabWindow(session, window->windowID, request.windowShadow,
                                      request.keptOwnWindowIDs, request.showsPointer, frame));
    std::vector<DisplaySnapshot> displays;
    for (const XMonitor& monitor : monitors) displays.push_back(monitor.display);
    const PointRect onDesktop{frame.x / picture.scale, frame.y / picture.scale,
                              frame.width / picture.scale, frame.height / picture.scale};
    if (const auto* display = displayShowing(displays, onDesktop)) {
      picture.target = WindowTarget{window->windowID, display->id};
    }
    return picture;
  }
  if (std::holds_alternative<AllDisplaysTarget>(request.target)) {
    const PixelRect root{0, 0, session.screen().width_in_pixels, session.screen().height_in_pixels};
    const PixelRect area = intersection(desktopOf(monitors), root);
    picture.image =
        VT_TRY(grabArea(session, area, monitors, request.keptOwnWindowIDs, request.showsPointer));
    return picture;
  }
  const auto* whole = std::get_if<DisplayTarget>(&request.target);
  const auto* region = std::get_if<RegionTarget>(&request.target);
  if (whole == nullptr && region == nullptr) {
    return failed(FailureKind::unsupported,
                  "this desktop has no dialog of its own to choose what to capture");
  }
  const XMonitor* monitor =
      findMonitor(monitors, whole != nullptr ? whole->displayID : region->displayID);
  if (monitor == nullptr) {
    return failed(FailureKind::notFound, "the display is no longer connected");
  }
  PixelRect area = monitor->pixels;
  if (region != nullptr) {
    PixelRect part = toPixels(region->rect, monitor->scale);
    part.x += area.x;
    part.y += area.y;
    area = intersection(part, area);
  }
  if (area.isEmpty()) {
    return failed(FailureKind::notFound, "the area lies outside the display");
  }
  picture.image =
      VT_TRY(grabArea(session, area, monitors, request.keptOwnWindowIDs, request.showsPointer));
  return picture;
}

}  // namespace vantorel
