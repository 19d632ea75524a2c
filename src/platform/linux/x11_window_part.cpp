#include "platform/linux/x11_window_part.hpp"

#include <xcb/xfixes.h>

#include <algorithm>

#include "platform/linux/x11_redirection.hpp"
#include "platform/linux/x11_windows.hpp"

namespace vantorel {
namespace {

const char* whyNotShown(WindowVisibility visibility) {
  switch (visibility) {
    case WindowVisibility::rolledUp: return "the window is rolled up to its title bar";
    case WindowVisibility::onOtherWorkspace: return "the window is on another workspace";
    case WindowVisibility::shown:
    case WindowVisibility::minimized: return "the window is minimized";
  }
  std::unreachable();
}

}  // namespace

Failure windowGone() { return {FailureKind::notFound, "the window is no longer there"}; }

Result<XWindowPart> findWindowPart(X11Session& session, xcb_window_t window, bool withShadow,
                                   const std::vector<WindowID>& keptOwn) {
  const auto place = placeOf(session, window);
  const auto top = topLevelOf(session, window);
  const auto windows = VT_TRY(session.topLevels());
  const auto at =
      std::ranges::find_if(windows, [&](const XTopLevel& one) { return top && one.id == *top; });
  if (!place || at == windows.end()) return std::unexpected(windowGone());
  XWindowPart part{.top = *at, .frame = {}, .crop = {}};
  if (!part.top.isViewable || !place->isViewable) {
    return failed(FailureKind::busy, whyNotShown(visibilityOf(session, window, false)));
  }
  if (topLevelsToHide(session, windows, keptOwn).contains(part.top.id)) {
    return failed(FailureKind::other, "the window is one of Vantorel's own");
  }
  const PixelRect& outer = part.top.outer;
  part.frame =
      intersection(place->drawsShadow && withShadow ? place->content : place->frame, outer);
  if (part.frame.isEmpty()) return std::unexpected(windowGone());
  part.crop = {part.frame.x - outer.x, part.frame.y - outer.y, part.frame.width, part.frame.height};
  const xcb_screen_t& screen = session.screen();
  part.isCovered = !coveredParts(windows, static_cast<std::size_t>(at - windows.begin()),
                                 {screen.width_in_pixels, screen.height_in_pixels})
                        .empty();
  return part;
}

std::vector<PixelRect> outsideOfShape(X11Session& session, const XTopLevel& top,
                                      const PixelRect& crop) {
  if (!session.hasFixes()) return {};
  xcb_connection_t* c = session.connection();
  const auto region = xcb_generate_id(c);
  xcb_xfixes_create_region_from_window(c, region, top.id, 0);
  const auto shape = xReply<xcb_xfixes_fetch_region_reply>(c, xcb_xfixes_fetch_region(c, region));
  xcb_xfixes_destroy_region(c, region);
  if (!shape) return {};
  std::vector<PixelRect> outside{crop};
  const xcb_rectangle_t* rects = xcb_xfixes_fetch_region_rectangles(shape.get());
  for (int i = 0; i < xcb_xfixes_fetch_region_rectangles_length(shape.get()); ++i) {
    subtract(outside,
             {rects[i].x + top.border, rects[i].y + top.border, rects[i].width, rects[i].height});
  }
  return outside;
}

}  // namespace vantorel
