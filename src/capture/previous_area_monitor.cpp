#include "capture/previous_area_monitor.hpp"

#include <algorithm>

namespace vantorel {

RegionAvailability availabilityOf(const std::optional<RememberedRegion>& region,
                                  const std::vector<DisplaySnapshot>& displays) {
  if (!region) return {RegionAvailability::None{}};
  const auto found = std::ranges::find(displays, region->displayUUID, &DisplaySnapshot::uuid);
  if (found == displays.end()) return {RegionAvailability::DisplayDisconnected{}};
  const PointSize pointSize{found->bounds.width, found->bounds.height};
  if (pointSize != region->displayPointSize || found->pixelSize != region->displayPixelSize) {
    return {RegionAvailability::GeometryChanged{}};
  }
  PointRect global = region->rect;
  global.x += found->bounds.x;
  global.y += found->bounds.y;
  return {RegionAvailability::Available{found->id, region->rect, global}};
}

RememberedRegion rememberRegion(const DisplaySnapshot& display, const PointRect& rect) {
  return {.displayUUID = display.uuid,
          .rect = rect,
          .displayPointSize = {display.bounds.width, display.bounds.height},
          .displayPixelSize = display.pixelSize,
          .extra = {}};
}

void PreviousAreaMonitor::setRegion(std::optional<RememberedRegion> region) {
  region_ = std::move(region);
  evaluate();
}

void PreviousAreaMonitor::setDisplays(std::vector<DisplaySnapshot> displays) {
  displays_ = std::move(displays);
  evaluate();
}

void PreviousAreaMonitor::evaluate() {
  RegionAvailability now = availabilityOf(region_, displays_);
  if (now == availability_) return;
  availability_ = std::move(now);
  if (listener_) listener_();
}

}  // namespace vantorel
