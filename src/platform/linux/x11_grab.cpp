#include "platform/linux/x11_grab.hpp"

#include <xcb/composite.h>

#include <cstdint>
#include <cstring>
#include <set>

#include "base/log.hpp"
#include "platform/linux/x11_application_state.hpp"
#include "platform/linux/x11_area_reader.hpp"
#include "platform/linux/x11_pointer_painting.hpp"
#include "platform/linux/x11_redirection.hpp"
#include "platform/linux/x11_target_area.hpp"
#include "platform/linux/x11_window_part.hpp"

namespace vantorel {
namespace {

Result<Image> grabArea(X11Session& session, const PixelRect& area,
                       const std::vector<XMonitor>& monitors, const GrabRequest& request) {
  PixelBuffer buffer({area.width, area.height});
  X11AreaReader reader(session, request.keptOwnWindowIDs);
  VT_TRY(reader.read(area, monitors, {}, buffer));
  if (request.showsPointer) {
    VT_TRY(paintPointer(session, area, buffer));
    blankUnseen(area, monitors, buffer);
  }
  return std::move(buffer).finish(PixelFormat::bgrx);
}

/// Makes what lies outside the window's shape transparent; true when there was such a part.
bool cutToShape(X11Session& session, const XWindowPart& part, const PixelBuffer& buffer) {
  const auto outside = outsideOfShape(session, part.top, part.crop);
  if (outside.empty()) return false;
  if (part.top.depth != 32) {
    for (int y = 0; y < buffer.size.height; ++y) {
      for (int x = 0; x < buffer.size.width; ++x) buffer.row(y)[x * 4 + 3] = 255;
    }
  }
  for (const PixelRect& rect : outside) {
    for (int y = rect.y; y < rect.bottom(); ++y) {
      std::memset(buffer.row(y - part.crop.y) + static_cast<std::size_t>(rect.x - part.crop.x) * 4,
                  0, static_cast<std::size_t>(rect.width) * 4);
    }
  }
  return true;
}

Result<Image> grabWindow(X11Session& session, WindowID wantedID, const GrabRequest& request,
                         PixelRect& frame) {
  if (wantedID > UINT32_MAX) return std::unexpected(windowGone());
  const auto id = static_cast<xcb_window_t>(wantedID);
  xcb_connection_t* c = session.connection();
  // What covers the window is asked while nothing can move.
  std::optional<XRedirection> whole;
  std::optional<XServerGrab> atOnce;
  std::optional<PixelBuffer> read;
  XWindowPart part;
  while (!read) {
    atOnce.emplace(c);
    part = VT_TRY(findWindowPart(session, id, request.windowShadow, request.keptOwnWindowIDs));
    const auto& [top, onRoot, crop, isCovered] = part;
    const PixelRect inContent{crop.x - top.border, crop.y - top.border, crop.width, crop.height};
    PixelBuffer buffer({crop.width, crop.height});
    if (whole) {
      const auto content = xcb_generate_id(c);
      xcb_composite_name_window_pixmap(c, top.id, content);
      const auto done = session.pixels().read(content, crop, top.depth, top.visual, buffer, 0, 0);
      xcb_free_pixmap(c, content);
      VT_TRY(done);
      read = std::move(buffer);
    } else if (!isCovered) {
      VT_TRY(session.pixels().read(top.id, inContent, top.depth, top.visual, buffer, 0, 0));
      read = std::move(buffer);
    } else if (!session.hasComposite()) {
      return failed(FailureKind::unsupported,
                    "this display server cannot show a window that others cover");
    } else {
      atOnce.reset();
      whole.emplace(session, std::set{top.id});
      if (!whole->isComplete()) {
        if (auto why = whyUnpainted(session, id)) return std::unexpected(*std::move(why));
      }
    }
  }
  atOnce.reset();
  whole.reset();
  frame = part.frame;
  PixelBuffer buffer = *std::move(read);
  const bool hasHoles = cutToShape(session, part, buffer);
  if (request.showsPointer) VT_TRY(paintPointer(session, frame, buffer));
  return std::move(buffer).finish(part.top.depth == 32 || hasHoles ? PixelFormat::bgraPremultiplied
                                                                   : PixelFormat::bgrx);
}

Result<GrabbedPicture> grabTarget(X11Session& session, const GrabRequest& request) {
  const auto monitors = VT_TRY(session.monitors());
  GrabbedPicture picture;
  picture.scale = monitors[0].scale;
  picture.target = request.target;
  if (const auto* window = std::get_if<WindowTarget>(&request.target)) {
    PixelRect frame;
    picture.image = VT_TRY(grabWindow(session, window->windowID, request, frame));
    if (DisplayID display = displayUnder(frame, monitors); !display.empty()) {
      picture.target = WindowTarget{window->windowID, std::move(display)};
    }
    return picture;
  }
  PixelRect area = VT_TRY(areaOf(request.target, monitors));
  if (std::holds_alternative<AllDisplaysTarget>(request.target)) {
    area = intersection(
        area, {0, 0, session.screen().width_in_pixels, session.screen().height_in_pixels});
  }
  picture.image = VT_TRY(grabArea(session, area, monitors, request));
  return picture;
}

}  // namespace

Result<GrabbedPicture> grabFromScreen(X11Session& session, const GrabRequest& request) {
  const double convertedBefore = session.pixels().convertingMilliseconds();
  auto picture = grabTarget(session, request);
  logInfo("CaptureLatency", "of grab: convert {:.1f} ms",
          session.pixels().convertingMilliseconds() - convertedBefore);
  return picture;
}

}  // namespace vantorel
