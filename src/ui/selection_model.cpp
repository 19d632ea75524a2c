#include "ui/selection_model.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/check.hpp"

namespace vantorel {
namespace {

bool contains(const PixelRect& area, QPoint point) {
  return point.x() >= area.x && point.x() < area.right() && point.y() >= area.y &&
         point.y() < area.bottom();
}

QPoint nearestInside(const PixelRect& area, QPoint point) {
  return {std::clamp(point.x(), area.x, area.right() - 1),
          std::clamp(point.y(), area.y, area.bottom() - 1)};
}

PixelRect between(QPoint a, QPoint b) {
  return {std::min(a.x(), b.x()), std::min(a.y(), b.y()), std::abs(a.x() - b.x()),
          std::abs(a.y() - b.y())};
}

PixelRect areaOf(const DisplaySnapshot& display) {
  const double scale = display.scale();
  return {static_cast<int>(std::lround(display.bounds.x * scale)),
          static_cast<int>(std::lround(display.bounds.y * scale)), display.pixelSize.width,
          display.pixelSize.height};
}

}  // namespace

SelectionModel::SelectionModel(CaptureMode mode, const std::vector<DisplaySnapshot>& displays,
                               const std::vector<WindowSnapshot>& windows, QPoint pointer)
    : mode_(mode) {
  VT_CHECK(!displays.empty());
  for (const auto& display : displays) {
    displays_.push_back({display.id, areaOf(display), display.scale()});
  }
  for (const auto& window : windows) {
    if (window.isOwn || window.isMinimized) continue;
    const auto* const display = findDisplay(displays, window.displayID);
    const double scale = (display != nullptr ? *display : displays.front()).scale();
    windows_.push_back(
        {window.windowID, window.displayID, toPixels(window.frame, scale), window.title});
  }
  if (mode_ == CaptureMode::window && windows_.empty()) mode_ = CaptureMode::region;
  movePointer(pointer);
}

std::size_t SelectionModel::displayAt(QPoint point) const {
  std::size_t best = 0;
  int bestDistance = std::numeric_limits<int>::max();
  for (std::size_t i = 0; i < displays_.size(); ++i) {
    const int distance = (nearestInside(displays_[i].area, point) - point).manhattanLength();
    if (distance < bestDistance) {
      best = i;
      bestDistance = distance;
    }
  }
  return best;
}

QPoint SelectionModel::edgeAt(QPoint point) const {
  const PixelRect& area = display().area;
  QPoint edge = nearestInside(area, point);
  if (edge.x() == area.right() - 1) edge.setX(area.right());
  if (edge.y() == area.bottom() - 1) edge.setY(area.bottom());
  return edge;
}

void SelectionModel::movePointer(QPoint to) {
  // The answer to our own moving of the pointer: the corner is where it belongs already.
  if (isDragging_ && to == pointer_) return;
  pointer_ = to;
  if (!isDragging_) {
    display_ = displayAt(to);
    pointer_ = nearestInside(display().area, to);
    return;
  }
  if (!move_) {
    corner_ = edgeAt(to);
    return;
  }
  const PixelRect& area = display().area;
  const PixelRect start = between(move_->anchor, move_->corner);
  const QPoint by(
      std::clamp(to.x() - move_->from.x(), area.x - start.x, area.right() - start.right()),
      std::clamp(to.y() - move_->from.y(), area.y - start.y, area.bottom() - start.bottom()));
  anchor_ = move_->anchor + by;
  corner_ = move_->corner + by;
}

void SelectionModel::press() {
  if (mode_ != CaptureMode::region) return;
  isDragging_ = true;
  anchor_ = corner_ = edgeAt(pointer_);
}

std::optional<CaptureTarget> SelectionModel::release() {
  switch (mode_) {
    case CaptureMode::region: break;
    case CaptureMode::window: {
      const Window* const window = windowUnderPointer();
      if (window == nullptr) return std::nullopt;
      return WindowTarget{window->id, window->displayID};
    }
    case CaptureMode::fullscreen: return confirm();
  }
  if (!isDragging_) return std::nullopt;
  const PixelRect area = draggedArea();
  isDragging_ = false;
  move_.reset();
  if (area.isEmpty()) return std::nullopt;
  const double scale = display().scale;
  return RegionTarget{display().id,
                      {(area.x - display().area.x) / scale, (area.y - display().area.y) / scale,
                       area.width / scale, area.height / scale}};
}

void SelectionModel::pressSpace() {
  if (isDragging_) {
    if (!move_) move_ = {pointer_, anchor_, corner_};
  } else if (mode_ != CaptureMode::region) {
    mode_ = CaptureMode::region;
  } else if (canPickWindows()) {
    mode_ = CaptureMode::window;
  }
}

void SelectionModel::releaseSpace() {
  if (!move_) return;
  move_.reset();
  pointer_ = nearestInside(display().area, corner_);
}

std::optional<CaptureTarget> SelectionModel::confirm() const {
  if (isDragging_) return std::nullopt;
  return DisplayTarget{display().id};
}

void SelectionModel::nudge(int right, int down) {
  const QPoint by(right, down);
  if (!isDragging_ || move_) return movePointer(pointer_ + by);
  const PixelRect& area = display().area;
  corner_ = {std::clamp(corner_.x() + right, area.x, area.right()),
             std::clamp(corner_.y() + down, area.y, area.bottom())};
  pointer_ = nearestInside(area, corner_);
}

const SelectionModel::Window* SelectionModel::windowUnderPointer() const {
  for (const Window& window : windows_) {
    if (contains(window.area, pointer_)) return &window;
  }
  return nullptr;
}

PixelRect SelectionModel::draggedArea() const { return between(anchor_, corner_); }

PixelRect SelectionModel::chosenArea() const {
  switch (mode_) {
    case CaptureMode::region: return isDragging_ ? draggedArea() : PixelRect{};
    case CaptureMode::window: {
      const Window* const window = windowUnderPointer();
      return window != nullptr ? window->area : PixelRect{};
    }
    case CaptureMode::fullscreen: return display().area;
  }
  return {};
}

}  // namespace vantorel
