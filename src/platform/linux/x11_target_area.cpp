#include "platform/linux/x11_target_area.hpp"

#include <algorithm>

namespace vantorel {
namespace {

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

}  // namespace

Result<PixelRect> areaOf(const CaptureTarget& target, const std::vector<XMonitor>& monitors) {
  if (std::holds_alternative<AllDisplaysTarget>(target)) return desktopOf(monitors);
  const auto* whole = std::get_if<DisplayTarget>(&target);
  const auto* region = std::get_if<RegionTarget>(&target);
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
  return area;
}

DisplayID displayUnder(const PixelRect& frame, const std::vector<XMonitor>& monitors) {
  std::vector<DisplaySnapshot> displays;
  for (const XMonitor& monitor : monitors) displays.push_back(monitor.display);
  const double scale = monitors.front().scale;
  const auto* display = displayShowing(
      displays, {frame.x / scale, frame.y / scale, frame.width / scale, frame.height / scale});
  return display != nullptr ? display->id : DisplayID();
}

}  // namespace vantorel
