#include "ui/selection/selection_model.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "base/check.hpp"

namespace vantorel {
namespace {

constexpr double handleReachPoints = 12;

bool contains(const PixelRect& area, QPoint point) {
  return point.x() >= area.x && point.x() < area.right() && point.y() >= area.y &&
         point.y() < area.bottom();
}

QPoint nearestInside(const PixelRect& area, QPoint point) {
  return {std::clamp(point.x(), area.x, area.right() - 1),
          std::clamp(point.y(), area.y, area.bottom() - 1)};
}

QPoint middleOf(const PixelRect& area) {
  return {area.x + area.width / 2, area.y + area.height / 2};
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
                               const std::vector<WindowSnapshot>& windows, QPoint pointer,
                               double windowScale)
    : mode_(mode) {
  VT_CHECK(!displays.empty());
  for (const auto& display : displays) {
    displays_.push_back(
        {display.id, areaOf(display), display.scale(), std::max(display.scale(), windowScale)});
  }
  for (const auto& window : windows) {
    if (window.isOwn || !window.isShown()) continue;
    const auto* const display = findDisplay(displays, window.displayID);
    const double scale = (display != nullptr ? *display : displays.front()).scale();
    windows_.push_back(
        {window.windowID, window.displayID, toPixels(window.frame, scale), window.title});
  }
  if (mode_ == CaptureMode::window && windows_.empty()) mode_ = CaptureMode::region;
  movePointer(pointer);
  if (mode_ == CaptureMode::window && chosenWindow() == nullptr) moveFocus(1);
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
  if (to != pointer_) {
    windowByKeys_.reset();
    if (!isDragging_) isDrawnByKeys_ = false;
  }
  pointer_ = to;
  if (adjustment_) {
    pointer_ = nearestInside(displays_[displayAt(to)].area, to);
    adjustment_->drag(to);
    return;
  }
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
  if (mode_ != CaptureMode::region || isDragging_) return;
  if (adjustment_) {
    if (const auto grip = adjustment_->gripAt(pointer_)) return adjustment_->hold(*grip, pointer_);
    setAside_ = std::exchange(adjustment_, std::nullopt);
    display_ = displayAt(pointer_);
  }
  isDragging_ = true;
  isDrawnByKeys_ = false;
  anchor_ = corner_ = edgeAt(pointer_);
}

std::optional<CaptureTarget> SelectionModel::release(bool adjusts) {
  if (mode_ != CaptureMode::region || isDrawnByKeys_) return confirm();
  if (adjustment_) adjustment_->letGo();
  if (!isDragging_) return std::nullopt;
  const PixelRect area = draggedArea();
  endDrag();
  if (area.isEmpty()) {
    if (setAside_) takeUpAgain();
    return std::nullopt;
  }
  if (!adjusts && !setAside_) return targetOf(area);
  adjust(area);
  return std::nullopt;
}

void SelectionModel::endDrag() {
  isDragging_ = false;
  move_.reset();
}

void SelectionModel::adjust(const PixelRect& area) {
  mode_ = CaptureMode::region;
  endDrag();
  isDrawnByKeys_ = false;
  entry_.reset();
  setAside_.reset();
  adjustment_.emplace(area, display().area,
                      static_cast<int>(std::lround(handleReachPoints * display().drawingScale)));
}

void SelectionModel::takeUpAgain() {
  adjustment_ = std::exchange(setAside_, std::nullopt);
  display_ = displayAt({adjustment_->area().x, adjustment_->area().y});
  mode_ = CaptureMode::region;
  windowByKeys_.reset();
  isDrawnByKeys_ = false;
  endDrag();
}

CaptureTarget SelectionModel::targetOf(const PixelRect& area) const {
  const double scale = display().scale;
  return RegionTarget{display().id,
                      {(area.x - display().area.x) / scale, (area.y - display().area.y) / scale,
                       area.width / scale, area.height / scale}};
}

std::optional<CaptureTarget> SelectionModel::adjustedTarget() const {
  if (!adjustment_) return std::nullopt;
  return targetOf(adjustment_->area());
}

void SelectionModel::pressSpace() {
  if (isDragging_) {
    if (!move_) move_ = {pointer_, anchor_, corner_};
  } else if (setAside_) {
    takeUpAgain();
  } else if (mode_ != CaptureMode::region) {
    mode_ = CaptureMode::region;
    windowByKeys_.reset();
  } else if (canPickWindows() && (!adjustment_ || !adjustment_->held())) {
    setAside_ = std::exchange(adjustment_, std::nullopt);
    entry_.reset();
    mode_ = CaptureMode::window;
  }
}

void SelectionModel::releaseSpace() {
  if (!move_) return;
  move_.reset();
  pointer_ = nearestInside(display().area, corner_);
}

std::optional<CaptureTarget> SelectionModel::confirm() {
  if (mode_ == CaptureMode::window) {
    const Window* const window = chosenWindow();
    if (window == nullptr) return std::nullopt;
    return WindowTarget{window->id, window->displayID};
  }
  if (entry_) {
    endSizeEntry();
    return std::nullopt;
  }
  if (adjustment_) return adjustment_->held() ? std::nullopt : adjustedTarget();
  if (isDragging_) {
    const PixelRect area = draggedArea();
    if (!isDrawnByKeys_ || area.isEmpty()) return std::nullopt;
    const AreaGrip corner{corner_.x() < anchor_.x() ? -1 : 1, corner_.y() < anchor_.y() ? -1 : 1};
    adjust(area);
    adjustment_->setFocus(corner);
    return std::nullopt;
  }
  if (isDrawnByKeys_) {
    isDragging_ = true;
    anchor_ = corner_ = edgeAt(pointer_);
    return std::nullopt;
  }
  return DisplayTarget{display().id};
}

bool SelectionModel::canGoBack() const {
  return entry_ || adjustment_ || setAside_ || (isDragging_ && isDrawnByKeys_);
}

bool SelectionModel::goBack() {
  if (entry_) {
    entry_.reset();
  } else if (adjustment_) {
    if (adjustment_->putBack()) return true;
    adjustment_.reset();
    movePointer(pointer_);
  } else if (setAside_) {
    takeUpAgain();
  } else if (isDragging_ && isDrawnByKeys_) {
    endDrag();
  } else {
    return false;
  }
  return true;
}

void SelectionModel::nudge(int right, int down) {
  if (adjustment_) {
    if (!adjustment_->held()) adjustment_->nudge(right, down);
    return;
  }
  const QPoint by(right, down);
  if (!isDragging_ || move_) {
    movePointer(pointer_ + by);
    if (mode_ == CaptureMode::region && !isDragging_) isDrawnByKeys_ = true;
    return;
  }
  const PixelRect& area = display().area;
  corner_ = {std::clamp(corner_.x() + right, area.x, area.right()),
             std::clamp(corner_.y() + down, area.y, area.bottom())};
  pointer_ = nearestInside(area, corner_);
}

void SelectionModel::moveFocus(int by) {
  if (entry_) {
    const auto field = entry_->field();
    endSizeEntry();
    if (field == SizeEntry::Field::width && by > 0) editSize(SizeEntry::Field::height);
    if (field == SizeEntry::Field::height && by < 0) editSize(SizeEntry::Field::width);
    return;
  }
  if (adjustment_) {
    if (!adjustment_->held()) adjustment_->moveFocus(by);
    return;
  }
  if (isDragging_ || !canPickWindows()) return;
  const int count = static_cast<int>(windows_.size());
  const Window* const now = mode_ == CaptureMode::window ? chosenWindow() : nullptr;
  const int index = now == nullptr ? (by > 0 ? -1 : count) : static_cast<int>(now - &windows_[0]);
  mode_ = CaptureMode::window;
  windowByKeys_ = static_cast<std::size_t>(((index + by) % count + count) % count);
  display_ = displayAt(middleOf(windows_[*windowByKeys_].area));
}

void SelectionModel::selectAll() {
  if (entry_) return entry_->selectAll();
  if (isDragging_ && !isDrawnByKeys_) return;
  if (!adjustment_ && displayAt(pointer_) != display_) pointer_ = middleOf(display().area);
  adjust(display().area);
}

void SelectionModel::moveToDisplay(int by) {
  if (isDragging_ || (adjustment_ && adjustment_->held())) return;
  const int count = static_cast<int>(displays_.size());
  const auto next =
      static_cast<std::size_t>(((static_cast<int>(display_) + by) % count + count) % count);
  const PixelRect& area = displays_[next].area;
  if (adjustment_) {
    display_ = next;
    pointer_ = middleOf(area);
    return adjust(area);
  }
  movePointer(middleOf(area));
  isDrawnByKeys_ = mode_ == CaptureMode::region;
}

void SelectionModel::editSize(SizeEntry::Field field) {
  if (!adjustment_) return;
  endSizeEntry();
  entry_.emplace(field, PixelSize{adjustment_->area().width, adjustment_->area().height});
}

void SelectionModel::endSizeEntry() {
  if (!entry_) return;
  if (const auto size = entry_->size()) adjustment_->resize(*size);
  entry_.reset();
}

void SelectionModel::typeDigit(char digit) {
  if (!entry_) editSize(SizeEntry::Field::width);
  if (entry_) entry_->type(digit);
}

void SelectionModel::eraseDigit() {
  if (entry_) entry_->erase();
}

std::optional<QPoint> SelectionModel::detail() const {
  if (mode_ != CaptureMode::region) return std::nullopt;
  if (!adjustment_) return isDragging_ ? nearestInside(display().area, corner_) : pointer_;
  const AreaGrip grip = adjustment_->held().value_or(adjustment_->focus());
  if (!grip.isHandle()) return std::nullopt;
  return nearestInside(adjustment_->area(), adjustment_->placeOf(grip));
}

const SelectionModel::Window* SelectionModel::chosenWindow() const {
  if (windowByKeys_) return &windows_[*windowByKeys_];
  for (const Window& window : windows_) {
    if (contains(window.area, pointer_)) return &window;
  }
  return nullptr;
}

PixelRect SelectionModel::draggedArea() const { return between(anchor_, corner_); }

PixelRect SelectionModel::chosenArea() const {
  switch (mode_) {
    case CaptureMode::region:
      if (adjustment_) return adjustment_->area();
      return isDragging_ ? draggedArea() : PixelRect{};
    case CaptureMode::window: {
      const Window* const window = chosenWindow();
      return window != nullptr ? window->area : PixelRect{};
    }
    case CaptureMode::fullscreen: return display().area;
  }
  return {};
}

}  // namespace vantorel
