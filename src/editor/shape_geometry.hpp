#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "editor/records/axis_map.hpp"
#include "editor/records/shape.hpp"

// What follows from a shape's fields alone, without a font or a drawing library. Pure; any thread.

namespace vantorel {

/// The upright rectangle spanned by the two defining points.
[[nodiscard]] Box frameOf(const Shape& shape);

/// The smallest box around `points`; empty for none.
[[nodiscard]] Box boundsOf(const std::vector<Pt>& points);

/// `box` with every edge moved outwards by `margin`.
[[nodiscard]] Box grown(const Box& box, double margin);

[[nodiscard]] bool intersects(const Box& a, const Box& b);
[[nodiscard]] bool contains(const Box& box, Pt point);
[[nodiscard]] double distance(Pt a, Pt b);

/// The outline of a `polygon`, its first vertex pointing straight up before it is stretched to fill
/// the shape's frame. A star has twice as many vertices as points.
[[nodiscard]] std::vector<Pt> polygonVertices(const Shape& shape);

struct PolygonForm {
  int sides = 3;
  double starInset = 0;
  bool operator==(const PolygonForm&) const = default;
};

/// The display name of a form: "Hexagon", "7-sided", "Star", "8-pointed star".
[[nodiscard]] std::string polygonName(PolygonForm form);

[[nodiscard]] PolygonForm polygonForm(PolygonPreset preset);

/// The preset that has exactly this form.
[[nodiscard]] std::optional<PolygonPreset> polygonPreset(PolygonForm form);

/// The label of a measured length. Points are used only with a known scale (pixels per point).
[[nodiscard]] std::string measureLabel(double lengthPixels, std::optional<MeasureUnit> unit,
                                       std::optional<double> captureScale);
[[nodiscard]] std::string measureLabel(const Shape& shape, std::optional<double> captureScale);

/// `end` turned around `start` to the nearest multiple of 45°, at the same distance.
[[nodiscard]] Pt snappedTo45(Pt start, Pt end);

/// `corner` moved so that it spans a square with `start`, as large as the longer side asks for.
[[nodiscard]] Pt squared(Pt start, Pt corner);

/// An arrow's line: a quadratic curve whose middle lies `bow` pixels off the straight line's, to
/// the right when looking from start to end. Straight, the control point is the middle.
struct ArrowCurve {
  Pt start;
  Pt control;
  Pt end;

  [[nodiscard]] Pt at(double t) const;
};
[[nodiscard]] ArrowCurve arrowCurve(const Shape& arrow);

/// Where the handle lies that bends the arrow.
[[nodiscard]] Pt bowHandle(const Shape& arrow);

/// The bow that brings the handle next to `point`. None when that is next to straight: within
/// `straight` pixels of the line.
[[nodiscard]] std::optional<double> bowTowards(const Shape& arrow, Pt point, double straight);

/// Sizes of the kinds that are placed at a point; proportional to the stroke width.
[[nodiscard]] double counterRadius(const Shape& counter);
[[nodiscard]] double emojiSide(const Shape& emoji);

/// The stroke of a highlighter is wider than its nominal width.
inline constexpr double highlighterWidening = 4;

/// True for the kinds defined by two points.
[[nodiscard]] bool isTwoPoint(ShapeType type);

/// True for the kinds whose two points are the ends of a line.
[[nodiscard]] bool isLine(ShapeType type);

/// The map that carries `from` onto `to`. A side of `from` without length is not scaled.
[[nodiscard]] AxisMap mapBetween(const Box& from, const Box& to);

/// `shape` carried along by `map`: places by each axis, lengths (stroke, font, radius) by the mean
/// of both. A pure shift leaves lengths untouched to the last bit.
[[nodiscard]] Shape mapped(Shape shape, const AxisMap& map);

}  // namespace vantorel
