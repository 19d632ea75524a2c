#pragma once

#include "editor/records/box.hpp"

namespace vantorel {

/// Scaling and shifting: x to sx·x + dx, y to sy·y + dy.
struct AxisMap {
  double sx = 1;
  double sy = 1;
  double dx = 0;
  double dy = 0;

  [[nodiscard]] Pt operator()(Pt point) const { return {sx * point.x + dx, sy * point.y + dy}; }
  [[nodiscard]] Box operator()(const Box& box) const {
    return {sx * box.x + dx, sy * box.y + dy, sx * box.w, sy * box.h};
  }
  [[nodiscard]] AxisMap inverse() const { return {1 / sx, 1 / sy, -dx / sx, -dy / sy}; }

  /// First this map, then `next`.
  [[nodiscard]] AxisMap then(const AxisMap& next) const {
    return {sx * next.sx, sy * next.sy, dx * next.sx + next.dx, dy * next.sy + next.dy};
  }

  bool operator==(const AxisMap&) const = default;
};

}  // namespace vantorel
