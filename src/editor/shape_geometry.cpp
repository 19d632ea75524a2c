#include "editor/shape_geometry.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vantorel {
namespace {

constexpr double pi = std::numbers::pi;

PolygonForm formOf(const Shape& shape) {
  PolygonForm form;
  if (shape.sides) form.sides = std::clamp(*shape.sides, Shape::minimumSides, Shape::maximumSides);
  if (shape.starInset) form.starInset = std::clamp(*shape.starInset, 0.0, Shape::deepestStarInset);
  return form;
}

Pt middle(const Shape& line) { return {(line.x1 + line.x2) / 2, (line.y1 + line.y2) / 2}; }

/// The unit vector to the right of the direction from start to end; none for a line of no length.
std::optional<Pt> rightOf(const Shape& line) {
  const double length = distance({line.x1, line.y1}, {line.x2, line.y2});
  if (!(length > 0)) return std::nullopt;
  return Pt{-(line.y2 - line.y1) / length, (line.x2 - line.x1) / length};
}

}  // namespace

Box frameOf(const Shape& shape) {
  return {std::min(shape.x1, shape.x2), std::min(shape.y1, shape.y2), std::abs(shape.x2 - shape.x1),
          std::abs(shape.y2 - shape.y1)};
}

Box boundsOf(const std::vector<Pt>& points) {
  if (points.empty()) return {};
  const auto [left, right] = std::ranges::minmax(points, {}, &Pt::x);
  const auto [top, bottom] = std::ranges::minmax(points, {}, &Pt::y);
  return {left.x, top.y, right.x - left.x, bottom.y - top.y};
}

Box grown(const Box& box, double margin) {
  return {box.x - margin, box.y - margin, box.w + 2 * margin, box.h + 2 * margin};
}

bool intersects(const Box& a, const Box& b) {
  return a.x <= b.right() && b.x <= a.right() && a.y <= b.bottom() && b.y <= a.bottom();
}

bool contains(const Box& box, Pt point) {
  return point.x >= box.x && point.x <= box.right() && point.y >= box.y && point.y <= box.bottom();
}

double distance(Pt a, Pt b) { return std::hypot(a.x - b.x, a.y - b.y); }

std::vector<Pt> polygonVertices(const Shape& shape) {
  const Box frame = frameOf(shape);
  const PolygonForm form = formOf(shape);
  const int count = form.starInset > 0 ? 2 * form.sides : form.sides;
  std::vector<Pt> vertices;
  for (int k = 0; k < count; ++k) {
    const double radius = form.starInset > 0 && k % 2 == 1 ? 1 - form.starInset : 1;
    const double angle = k * 2 * pi / count - pi / 2;
    vertices.push_back({radius * std::cos(angle), radius * std::sin(angle)});
  }
  const Box unit = boundsOf(vertices);
  for (Pt& vertex : vertices) {
    vertex.x = frame.x + (unit.w > 0 ? (vertex.x - unit.x) / unit.w * frame.w : 0);
    vertex.y = frame.y + (unit.h > 0 ? (vertex.y - unit.y) / unit.h * frame.h : 0);
  }
  return vertices;
}

std::string polygonName(PolygonForm form) {
  if (form.starInset > 0) {
    if (form.sides == 5) return "Star";
    if (form.sides > 9) return "Burst";
    return fmt::format("{}-pointed star", form.sides);
  }
  switch (form.sides) {
    case 3: return "Triangle";
    case 4: return "Diamond";
    case 5: return "Pentagon";
    case 6: return "Hexagon";
    case 8: return "Octagon";
    default: return fmt::format("{}-sided", form.sides);
  }
}

PolygonForm polygonForm(PolygonPreset preset) {
  switch (preset) {
    case PolygonPreset::triangle: return {3, 0};
    case PolygonPreset::diamond: return {4, 0};
    case PolygonPreset::pentagon: return {5, 0};
    case PolygonPreset::hexagon: return {6, 0};
    case PolygonPreset::octagon: return {8, 0};
    case PolygonPreset::star: return {5, 0.55};
    case PolygonPreset::burst: return {12, 0.25};
  }
  std::unreachable();
}

std::optional<PolygonPreset> polygonPreset(PolygonForm form) {
  for (const auto& entry : enumNames<PolygonPreset>) {
    if (polygonForm(entry.value) == form) return entry.value;
  }
  return std::nullopt;
}

std::string measureLabel(double lengthPixels, std::optional<MeasureUnit> unit,
                         std::optional<double> captureScale) {
  if (unit == MeasureUnit::pt && captureScale && *captureScale > 0) {
    const double points = std::round(lengthPixels / *captureScale * 10) / 10;
    if (points == std::trunc(points)) return fmt::format("{:.0f} pt", points);
    return fmt::format("{:.1f} pt", points);
  }
  return fmt::format("{:.0f} px", std::round(lengthPixels));
}

std::string measureLabel(const Shape& shape, std::optional<double> captureScale) {
  return measureLabel(distance({shape.x1, shape.y1}, {shape.x2, shape.y2}), shape.measureUnit,
                      captureScale);
}

Pt snappedTo45(Pt start, Pt end) {
  const double length = distance(start, end);
  const int eighth =
      static_cast<int>(std::lround(std::atan2(end.y - start.y, end.x - start.x) / (pi / 4)));
  // Whole directions have to stay exact: cos(π/2) is not 0.
  static constexpr double diagonal = std::numbers::sqrt2 / 2;
  static constexpr Pt directions[] = {
      {1, 0},  {diagonal, diagonal},   {0, 1},  {-diagonal, diagonal},
      {-1, 0}, {-diagonal, -diagonal}, {0, -1}, {diagonal, -diagonal}};
  const Pt direction = directions[(eighth + 8) % 8];
  return {start.x + length * direction.x, start.y + length * direction.y};
}

Pt squared(Pt start, Pt corner) {
  const double side = std::max(std::abs(corner.x - start.x), std::abs(corner.y - start.y));
  return {start.x + std::copysign(side, corner.x - start.x),
          start.y + std::copysign(side, corner.y - start.y)};
}

Pt ArrowCurve::at(double t) const {
  const double a = (1 - t) * (1 - t);
  const double b = 2 * t * (1 - t);
  const double c = t * t;
  return {a * start.x + b * control.x + c * end.x, a * start.y + b * control.y + c * end.y};
}

ArrowCurve arrowCurve(const Shape& arrow) {
  Pt control = middle(arrow);
  if (const auto right = rightOf(arrow); right && arrow.bow) {
    control.x += 2 * *arrow.bow * right->x;
    control.y += 2 * *arrow.bow * right->y;
  }
  return {{arrow.x1, arrow.y1}, control, {arrow.x2, arrow.y2}};
}

Pt bowHandle(const Shape& arrow) { return arrowCurve(arrow).at(0.5); }

std::optional<double> bowTowards(const Shape& arrow, Pt point, double straight) {
  const auto right = rightOf(arrow);
  if (!right) return std::nullopt;
  const Pt from = middle(arrow);
  const double bow = (point.x - from.x) * right->x + (point.y - from.y) * right->y;
  if (std::abs(bow) <= straight) return std::nullopt;
  return bow;
}

double counterRadius(const Shape& counter) { return 5 * std::max(counter.width, 1.0); }
double emojiSide(const Shape& emoji) { return 12 * std::max(emoji.width, 1.0); }

bool isLine(ShapeType type) { return type == ShapeType::arrow || type == ShapeType::measure; }

bool isTwoPoint(ShapeType type) {
  switch (type) {
    case ShapeType::arrow:
    case ShapeType::measure:
    case ShapeType::rect:
    case ShapeType::ellipse:
    case ShapeType::polygon:
    case ShapeType::redact:
    case ShapeType::highlightRect: return true;
    case ShapeType::pen:
    case ShapeType::highlighter:
    case ShapeType::text:
    case ShapeType::counter:
    case ShapeType::emoji: return false;
  }
  std::unreachable();
}

AxisMap mapBetween(const Box& from, const Box& to) {
  const double sx = from.w != 0 ? to.w / from.w : 1;
  const double sy = from.h != 0 ? to.h / from.h : 1;
  return {sx, sy, to.x - sx * from.x, to.y - sy * from.y};
}

Shape mapped(Shape shape, const AxisMap& map) {
  for (Pt& point : shape.points) point = map(point);
  const auto move = [&](double& x, double& y) {
    const Pt to = map(Pt{x, y});
    x = to.x;
    y = to.y;
  };
  if (isTwoPoint(shape.type)) {
    move(shape.x1, shape.y1);
    move(shape.x2, shape.y2);
  } else {
    move(shape.x, shape.y);
  }
  if (map.sx == 1 && map.sy == 1) return shape;
  const double mean = std::sqrt(std::abs(map.sx * map.sy));
  shape.width *= mean;
  shape.fontSize *= mean;
  if (shape.boxWidth) *shape.boxWidth *= std::abs(map.sx);
  if (shape.cornerRadius) *shape.cornerRadius *= mean;
  if (shape.bow) *shape.bow *= map.sx * map.sy < 0 ? -mean : mean;
  return shape;
}

}  // namespace vantorel
