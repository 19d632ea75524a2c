#include "ui/selection/area_adjustment.hpp"

#include <algorithm>
#include <cstdlib>

namespace vantorel {
namespace {

/// One way of an area: from `start`, `length` long.
struct Span {
  int start;
  int length;
};

/// Moves the span, or its `side`. A side that goes past the other one becomes the other.
Span moved(Span span, int& side, int by, int low, int high) {
  const int end = span.start + span.length;
  if (side == 0) return {std::clamp(span.start + by, low, high - span.length), span.length};
  const int fixed = side < 0 ? end : span.start;
  int moving = std::clamp((side < 0 ? span.start : end) + by, low, high);
  if (moving == fixed) {
    // On to the first pixel beyond, where there is one.
    const bool goesBeyond = side < 0 ? fixed < high : fixed > low;
    moving += goesBeyond ? -side : side;
  }
  side = moving < fixed ? -1 : 1;
  return {std::min(moving, fixed), std::abs(moving - fixed)};
}

int placeOf(Span span, int side) { return span.start + span.length * (side + 1) / 2; }

/// Whether `at` is within `reach` of a side. Of a small area, half is left for its inside.
bool isNear(Span span, int side, int at, int reach) {
  const int off = (at - placeOf(span, side)) * (side == 0 ? 1 : -side);
  return off >= -reach && off <= std::min(reach, span.length / 4);
}

}  // namespace

AreaAdjustment::AreaAdjustment(const PixelRect& area, const PixelRect& bounds, int reach)
    : area_(area), bounds_(bounds), reach_(reach) {}

QPoint AreaAdjustment::placeOf(AreaGrip handle) const {
  return {vantorel::placeOf({area_.x, area_.width}, handle.across),
          vantorel::placeOf({area_.y, area_.height}, handle.down)};
}

std::optional<AreaGrip> AreaAdjustment::gripAt(QPoint point) const {
  const auto near = [&](AreaGrip handle) {
    return isNear({area_.x, area_.width}, handle.across, point.x(), reach_) &&
           isNear({area_.y, area_.height}, handle.down, point.y(), reach_);
  };
  // Corners first: in a small area they lie over the edges' middles.
  for (const bool corners : {true, false}) {
    for (const AreaGrip handle : areaHandles) {
      if ((handle.across != 0 && handle.down != 0) == corners && near(handle)) return handle;
    }
  }
  const bool isInside = point.x() >= area_.x && point.x() < area_.right() && point.y() >= area_.y &&
                        point.y() < area_.bottom();
  if (isInside) return AreaGrip{};
  return std::nullopt;
}

void AreaAdjustment::hold(AreaGrip grip, QPoint at) {
  held_ = {grip, at, area_};
  focus_ = grip;
}

void AreaAdjustment::drag(QPoint to) {
  if (!held_) return;
  QPoint by = to - held_->from;
  // The pointer cannot reach the display's far edge, and a handle is not held at its very middle.
  if (held_->grip.isHandle()) {
    const int beyond = bounds_.width + bounds_.height;
    if (to.x() <= bounds_.x) by.setX(-beyond);
    if (to.x() >= bounds_.right() - 1) by.setX(beyond);
    if (to.y() <= bounds_.y) by.setY(-beyond);
    if (to.y() >= bounds_.bottom() - 1) by.setY(beyond);
  }
  area_ = held_->area;
  focus_ = held_->grip;
  move(by);
}

bool AreaAdjustment::putBack() {
  if (!held_) return false;
  area_ = held_->area;
  focus_ = held_->grip;
  held_.reset();
  return true;
}

std::optional<AreaGrip> AreaAdjustment::held() const {
  if (!held_) return std::nullopt;
  return focus_;
}

void AreaAdjustment::moveFocus(int by) {
  // Place 0 is the whole area, behind it come the handles.
  const auto* const found = std::ranges::find(areaHandles, focus_);
  const int count = static_cast<int>(areaHandles.size()) + 1;
  const int now =
      found == areaHandles.end() ? 0 : static_cast<int>(found - areaHandles.begin()) + 1;
  const int next = ((now + by) % count + count) % count;
  focus_ = next == 0 ? AreaGrip{} : areaHandles[static_cast<std::size_t>(next - 1)];
}

void AreaAdjustment::nudge(int right, int down) { move({right, down}); }

void AreaAdjustment::resize(PixelSize size) {
  area_.width = std::clamp(size.width, 1, bounds_.width);
  area_.height = std::clamp(size.height, 1, bounds_.height);
  area_.x = std::min(area_.x, bounds_.right() - area_.width);
  area_.y = std::min(area_.y, bounds_.bottom() - area_.height);
}

void AreaAdjustment::move(QPoint by) {
  // An edge's handle moves along one way alone; the whole area along both.
  const bool isEdge = focus_.isHandle() && (focus_.across == 0 || focus_.down == 0);
  Span x{area_.x, area_.width};
  Span y{area_.y, area_.height};
  if (!isEdge || focus_.across != 0) {
    x = moved(x, focus_.across, by.x(), bounds_.x, bounds_.right());
  }
  if (!isEdge || focus_.down != 0) {
    y = moved(y, focus_.down, by.y(), bounds_.y, bounds_.bottom());
  }
  area_ = {x.start, y.start, x.length, y.length};
}

}  // namespace vantorel
