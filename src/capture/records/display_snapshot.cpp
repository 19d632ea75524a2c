#include "capture/records/display_snapshot.hpp"

#include <algorithm>

namespace vantorel {

const DisplaySnapshot* findDisplay(const std::vector<DisplaySnapshot>& displays,
                                   std::string_view text) {
  for (const auto part : {&DisplaySnapshot::id, &DisplaySnapshot::uuid, &DisplaySnapshot::name}) {
    const auto found = std::ranges::find(displays, text, part);
    if (found != displays.end()) return &*found;
  }
  return nullptr;
}

const DisplaySnapshot* mainDisplay(const std::vector<DisplaySnapshot>& displays) {
  if (displays.empty()) return nullptr;
  const auto main = std::ranges::find(displays, true, &DisplaySnapshot::isMain);
  return main == displays.end() ? &displays.front() : &*main;
}

const DisplaySnapshot* displayShowing(const std::vector<DisplaySnapshot>& displays,
                                      const PointRect& globalRect) {
  const DisplaySnapshot* best = mainDisplay(displays);
  double bestArea = 0;
  for (const DisplaySnapshot& display : displays) {
    const double width = std::min(display.bounds.right(), globalRect.right()) -
                         std::max(display.bounds.x, globalRect.x);
    const double height = std::min(display.bounds.bottom(), globalRect.bottom()) -
                          std::max(display.bounds.y, globalRect.y);
    if (width <= 0 || height <= 0 || width * height <= bestArea) continue;
    bestArea = width * height;
    best = &display;
  }
  return best;
}

}  // namespace vantorel
