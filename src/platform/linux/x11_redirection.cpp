#include "platform/linux/x11_redirection.hpp"

#include <xcb/composite.h>
#include <xcb/damage.h>

#include <algorithm>
#include <thread>

#include "base/log.hpp"

namespace vantorel {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Applications paint within a frame or two; those that have painted everything may still be
// drawing text over the background they began with.
constexpr milliseconds quietWhenComplete{12};
constexpr milliseconds quietWhenIncomplete{80};
constexpr milliseconds quietWhenUntouched{200};
constexpr milliseconds longest{400};

}  // namespace

void subtract(std::vector<PixelRect>& from, const PixelRect& cut) {
  std::vector<PixelRect> left;
  for (const PixelRect& rect : from) {
    const PixelRect hole = intersection(rect, cut);
    if (hole.isEmpty()) {
      left.push_back(rect);
      continue;
    }
    const PixelRect parts[] = {
        {rect.x, rect.y, rect.width, hole.y - rect.y},
        {rect.x, hole.bottom(), rect.width, rect.bottom() - hole.bottom()},
        {rect.x, hole.y, hole.x - rect.x, hole.height},
        {hole.right(), hole.y, rect.right() - hole.right(), hole.height},
    };
    for (const PixelRect& part : parts) {
      if (!part.isEmpty()) left.push_back(part);
    }
  }
  from = std::move(left);
}

std::vector<PixelRect> coveredParts(const std::vector<XTopLevel>& windows, std::size_t index,
                                    PixelSize screen) {
  const PixelRect& outer = windows[index].outer;
  std::vector<PixelRect> covered{outer};
  subtract(covered, {0, 0, screen.width, screen.height});
  for (std::size_t above = index + 1; above < windows.size(); ++above) {
    const PixelRect common = intersection(outer, windows[above].outer);
    if (windows[above].isViewable && !common.isEmpty()) covered.push_back(common);
  }
  for (PixelRect& rect : covered) {
    rect.x -= outer.x;
    rect.y -= outer.y;
  }
  return covered;
}

XRedirection::XRedirection(X11Session& session, const std::set<xcb_window_t>& needed)
    : session_(session) {
  if (!session.hasComposite() || session.hasCompositor()) return;
  if (session.keptSince() != steady_clock::time_point()) {
    std::this_thread::sleep_until(session.keptSince() + quietWhenUntouched);
    return;
  }
  {
    // What is covered may change at any time, and the damage must not count what the server itself
    // paints while it redirects.
    xcb_connection_t* c = session.connection();
    const XServerGrab alone(c);
    const auto windows = session.topLevels();
    if (!windows) return;
    const PixelSize screen{session.screen().width_in_pixels, session.screen().height_in_pixels};
    for (std::size_t index = 0; index < windows->size(); ++index) {
      const XTopLevel& window = (*windows)[index];
      if (!needed.contains(window.id)) continue;
      xcb_composite_redirect_window(c, window.id, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
      redirected_.push_back(window.id);
      auto covered = coveredParts(*windows, index, screen);
      if (covered.empty() || !session.damageEvent()) continue;
      const auto damage = xcb_generate_id(c);
      xcb_damage_create(c, damage, window.id, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
      dropFirstReport();
      repainting_.push_back({window.id, damage, window.border, std::move(covered)});
    }
  }
  awaitRepainting();
  for (const Repainting& one : repainting_) xcb_damage_destroy(session.connection(), one.damage);
  repainting_.clear();
}

XRedirection::~XRedirection() {
  xcb_connection_t* c = session_.connection();
  for (const xcb_window_t window : redirected_) {
    xcb_composite_unredirect_window(c, window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
  }
  xcb_flush(c);
}

/// The server begins by reporting the whole window as painted. Nobody else can paint meanwhile.
void XRedirection::dropFirstReport() {
  xcb_connection_t* c = session_.connection();
  static_cast<void>(xReply<xcb_get_input_focus_reply>(c, xcb_get_input_focus(c)));
  while (const XOwned<xcb_generic_event_t> event{xcb_poll_for_queued_event(c)}) note(*event);
}

/// Takes what was painted off what is waited for; true when something was that is waited for.
bool XRedirection::note(const xcb_generic_event_t& event) {
  if ((event.response_type & 0x7FU) != *session_.damageEvent() + XCB_DAMAGE_NOTIFY) {
    if (event.response_type != 0) session_.handle(event);
    return false;
  }
  const auto& painted = reinterpret_cast<const xcb_damage_notify_event_t&>(event);
  for (Repainting& one : repainting_) {
    if (one.damage != painted.damage) continue;
    subtract(one.missing, {painted.area.x + one.border, painted.area.y + one.border,
                           painted.area.width, painted.area.height});
    return true;
  }
  session_.handle(event);
  return false;
}

void XRedirection::awaitRepainting() {
  if (repainting_.empty()) return;
  const auto start = steady_clock::now();
  auto last = start;
  bool touched = false;
  for (;;) {
    const bool complete = std::all_of(repainting_.begin(), repainting_.end(),
                                      [](const Repainting& one) { return one.missing.empty(); });
    const auto quiet = complete  ? quietWhenComplete
                       : touched ? quietWhenIncomplete
                                 : quietWhenUntouched;
    const auto end = std::min(last + quiet, start + longest);
    const auto event = session_.nextEvent(end);
    if (!event) {
      isComplete_ = complete;
      if (!complete) {
        logInfo("CaptureLatency", "an application did not paint all of its covered window");
      }
      return;
    }
    if (!note(*event)) continue;
    touched = true;
    last = steady_clock::now();
  }
}

}  // namespace vantorel
