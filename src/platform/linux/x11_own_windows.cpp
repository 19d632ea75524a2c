#include "platform/linux/x11_own_windows.hpp"

#include <algorithm>

#include "platform/linux/x11_area_reader.hpp"
#include "platform/linux/x11_windows.hpp"

namespace vantorel {
namespace {

using std::chrono::steady_clock;

// By then applications have painted what a window uncovered.
constexpr std::chrono::seconds longestTrace{1};

}  // namespace

X11OwnWindows::X11OwnWindows(X11Session& session, std::vector<WindowID> kept)
    : session_(session), kept_(std::move(kept)) {
  // The first two are the session's.
  const std::uint32_t events[] = {XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE |
                                  XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY};
  xcb_change_window_attributes(session.connection(), session.screen().root, XCB_CW_EVENT_MASK,
                               events);
}

void X11OwnWindows::note(const xcb_generic_event_t& event) {
  switch (event.response_type & 0x7FU) {
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_CONFIGURE_NOTIFY:
    case XCB_REPARENT_NOTIFY:
    case XCB_DESTROY_NOTIFY:
    case XCB_GRAVITY_NOTIFY: isStale_ = true; break;
    case XCB_PROPERTY_NOTIFY:
      isStale_ = isStale_ || reinterpret_cast<const xcb_property_notify_event_t&>(event).atom ==
                                 session_.atom(XAtom::clientList);
      break;
    default: break;
  }
}

Result<void> X11OwnWindows::refresh() {
  isStale_ = false;
  const auto windows = VT_TRY(session_.topLevels());
  const auto own = topLevelsToHide(session_, windows, kept_);
  leaveShadows_ = session_.hasCompositor();
  std::vector<PixelRect> places;
  for (const XTopLevel& window : windows) {
    if (window.isViewable && own.contains(window.id)) places.push_back(window.outer);
  }
  for (const PixelRect& place : places_) {
    if (std::ranges::find(places, place) != places.end()) continue;
    vacated_.push_back({place, steady_clock::now() + longestTrace});
  }
  places_ = std::move(places);
  return {};
}

Result<bool> X11OwnWindows::areOver(const PixelRect& area) {
  if (isStale_) VT_TRY(refresh());
  const auto now = steady_clock::now();
  std::erase_if(vacated_, [&](const Vacated& one) { return one.until < now; });
  vacatedPlaces_.clear();
  for (const Vacated& one : vacated_) vacatedPlaces_.push_back(one.place);
  const auto reaches = [&](const PixelRect& place) { return !intersection(place, area).isEmpty(); };
  return std::ranges::any_of(places_,
                             [&](const PixelRect& place) {
                               return reaches(leaveShadows_ ? withTraces(place) : place);
                             }) ||
         std::ranges::any_of(vacatedPlaces_,
                             [&](const PixelRect& place) { return reaches(withTraces(place)); });
}

}  // namespace vantorel
