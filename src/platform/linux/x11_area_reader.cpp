#include "platform/linux/x11_area_reader.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/linux/x11_composition.hpp"
#include "platform/linux/x11_windows.hpp"

namespace vantorel {
namespace {

constexpr int reachOfTraces = 48;

// Windows that come up while others are being prepared have to be prepared, too; a screen on which
// this never ends is taken as it is.
constexpr int mostPreparations = 8;

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

}  // namespace

PixelRect withTraces(const PixelRect& window) {
  return {window.x - reachOfTraces, window.y - reachOfTraces, window.width + 2 * reachOfTraces,
          window.height + 2 * reachOfTraces};
}

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

/// What the program's own windows cover of an area.
struct X11AreaReader::OwnWindows {
  std::vector<PixelRect> holes;   ///< within the area, on the root window
  std::set<xcb_window_t> below;   ///< viewable windows of others under the holes
  std::vector<XTopLevel> others;  ///< all windows but the own, the lowest first
};

X11AreaReader::OwnWindows X11AreaReader::ownWindowsOver(
    const std::vector<XTopLevel>& windows, const PixelRect& area,
    const std::vector<PixelRect>& vacated) const {
  OwnWindows own;
  const auto addHole = [&](const PixelRect& place) {
    const PixelRect hole = intersection(withTraces(place), area);
    if (!hole.isEmpty()) own.holes.push_back(hole);
  };
  const auto toHide = topLevelsToHide(session_, windows, kept_);
  for (const XTopLevel& window : windows) {
    if (!toHide.contains(window.id)) {
      own.others.push_back(window);
    } else if (window.isViewable) {
      addHole(window.outer);
    }
  }
  for (const PixelRect& place : vacated) addHole(place);
  for (const XTopLevel& window : own.others) {
    const bool isUnderHole = std::ranges::any_of(own.holes, [&](const PixelRect& hole) {
      return !intersection(hole, window.outer).isEmpty();
    });
    if (window.isViewable && isUnderHole) own.below.insert(window.id);
  }
  return own;
}

Result<void> X11AreaReader::read(const PixelRect& area, const std::vector<XMonitor>& monitors,
                                 const std::vector<PixelRect>& vacated, const PixelBuffer& buffer) {
  // What the server said of the root window's size at first does not follow its changes.
  const xcb_window_t root = session_.screen().root;
  const auto size = xReply<xcb_get_geometry_reply>(session_.connection(),
                                                   xcb_get_geometry(session_.connection(), root));
  if (!size) return std::unexpected(serverGone());
  const PixelRect whole{0, 0, size->width, size->height};
  const PixelRect seen = intersection(area, whole);
  if (seen.isEmpty()) return failed(FailureKind::notFound, "the display shows nothing");
  if (seen != area) {
    std::memset(buffer.row(0), 0, buffer.stride * static_cast<std::size_t>(area.height));
  }
  const auto readAll = [&]() {
    return session_.pixels().read(root, seen, session_.screen().root_depth,
                                  session_.screen().root_visual, buffer, seen.x - area.x,
                                  seen.y - area.y);
  };
  // Own windows open and move at any time: where they are is asked while nobody can move them.
  // Others can only paint what those cover before that, and the round is begun anew.
  for (int preparations = 0;; ++preparations) {
    std::optional<XServerGrab> atOnce(session_.connection());
    const auto windows = VT_TRY(session_.topLevels());
    const OwnWindows own = ownWindowsOver(windows, area, vacated);
    if (!own.holes.empty() && (!session_.hasComposite() || !session_.hasRender())) {
      return failed(FailureKind::unsupported,
                    "this display server cannot leave Vantorel's own windows out of a picture");
    }
    if (std::ranges::includes(prepared_, own.below) || preparations == mostPreparations) {
      VT_TRY(readAll());
      if (own.holes.empty()) break;
      const auto bare = findBarePlace(windows, monitors, whole);
      for (const PixelRect& hole : own.holes) {
        VT_TRY(composeScreen(session_, own.others, bare, hole, buffer, hole.x - area.x,
                             hole.y - area.y));
      }
      break;
    }
    atOnce.reset();
    prepared_.insert(own.below.begin(), own.below.end());
    redirection_.reset();
    redirection_.emplace(session_, prepared_);
  }
  blankUnseen(area, monitors, buffer);
  return {};
}

}  // namespace vantorel
