#include "capture/source_app_resolution.hpp"

#include <algorithm>

namespace vantorel::SourceAppResolution {
namespace {

bool touches(const PointRect& a, const PointRect& b) {
  return a.x < b.right() && b.x < a.right() && a.y < b.bottom() && b.y < a.bottom();
}

SourceApp appOf(const WindowRecord& window) {
  SourceApp app;
  if (!window.applicationID.empty()) app.bundleID = window.applicationID;
  app.name = window.ownerName;
  return app;
}

/// The part of the shared desktop that the target shows; nothing for windows.
std::optional<PointRect> globalRect(const CaptureTarget& target,
                                    const std::vector<DisplaySnapshot>& displays) {
  if (const auto* whole = std::get_if<DisplayTarget>(&target)) {
    const DisplaySnapshot* const display = findDisplay(displays, whole->displayID);
    if (display != nullptr) return display->bounds;
  }
  // Of all displays, the main one tells what the user was at.
  if (std::holds_alternative<AllDisplaysTarget>(target)) {
    const DisplaySnapshot* const display = mainDisplay(displays);
    if (display != nullptr) return display->bounds;
  }
  if (const auto* region = std::get_if<RegionTarget>(&target)) {
    const DisplaySnapshot* const display = findDisplay(displays, region->displayID);
    if (display == nullptr) return std::nullopt;
    PointRect rect = region->rect;
    rect.x += display->bounds.x;
    rect.y += display->bounds.y;
    return rect;
  }
  return std::nullopt;
}

}  // namespace

std::vector<WindowRecord> records(const std::vector<WindowSnapshot>& windows) {
  std::vector<WindowRecord> found;
  for (const WindowSnapshot& window : windows) {
    if (!window.isShown() || window.isOwn || window.ownerName.empty()) continue;
    found.push_back(
        {window.windowID, window.ownerPID, window.ownerName, window.applicationID, window.frame});
  }
  return found;
}

std::optional<SourceApp> resolve(const CaptureTarget& target,
                                 const std::vector<WindowRecord>& windows,
                                 const std::vector<DisplaySnapshot>& displays) {
  if (const auto* chosen = std::get_if<WindowTarget>(&target)) {
    const auto found = std::ranges::find(windows, chosen->windowID, &WindowRecord::windowID);
    if (found == windows.end()) return std::nullopt;
    return appOf(*found);
  }
  const auto rect = globalRect(target, displays);
  if (!rect) return std::nullopt;
  const double middleX = rect->x + rect->width / 2;
  const double middleY = rect->y + rect->height / 2;
  auto found = std::ranges::find_if(
      windows, [&](const WindowRecord& window) { return window.frame.contains(middleX, middleY); });
  if (found == windows.end()) {
    found = std::ranges::find_if(
        windows, [&](const WindowRecord& window) { return touches(window.frame, *rect); });
  }
  if (found == windows.end()) return std::nullopt;
  return appOf(*found);
}

}  // namespace vantorel::SourceAppResolution
