#include "render/line_painter.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "render/dashes.hpp"
#include "render/ink.hpp"
#include "render/long_stroke.hpp"
#include "render/text_layout.hpp"

namespace vantorel {
namespace {

Pt operator+(Pt a, Pt b) { return {a.x + b.x, a.y + b.y}; }
Pt operator-(Pt a, Pt b) { return {a.x - b.x, a.y - b.y}; }
Pt operator*(double k, Pt a) { return {k * a.x, k * a.y}; }

/// From `a` towards `b`, of length one; along x when they coincide.
Pt direction(Pt a, Pt b) {
  const double length = distance(a, b);
  return length > 0 ? (1 / length) * (b - a) : Pt{1, 0};
}

void moveTo(cairo_t* cr, Pt point) { cairo_move_to(cr, point.x, point.y); }
void lineTo(cairo_t* cr, Pt point) { cairo_line_to(cr, point.x, point.y); }

/// The part of a curve between two of its places.
ArrowCurve cut(const ArrowCurve& curve, double from, double to) {
  const auto mix = [](Pt a, Pt b, double t) { return (1 - t) * a + t * b; };
  const Pt control =
      mix(mix(curve.start, curve.control, from), mix(curve.control, curve.end, from), to);
  return {curve.at(from), control, curve.at(to)};
}

void addCurve(cairo_t* cr, const ArrowCurve& curve) {
  const Pt first = curve.start + (2.0 / 3) * (curve.control - curve.start);
  const Pt second = curve.end + (2.0 / 3) * (curve.control - curve.end);
  moveTo(cr, curve.start);
  cairo_curve_to(cr, first.x, first.y, second.x, second.y, curve.end.x, curve.end.y);
}

/// Strokes of more samples, or of more pixels, are not the drawing library's.
constexpr std::size_t longStroke = 4000;
constexpr double longStrokePixels = 200'000;

/// The path as the drawing library would stroke it, curves as lines.
std::vector<Pt> linesOfPath(cairo_t* cr) {
  const std::unique_ptr<cairo_path_t, decltype(&cairo_path_destroy)> path(cairo_copy_path_flat(cr),
                                                                          cairo_path_destroy);
  std::vector<Pt> points;
  for (int i = 0; i < path->num_data; i += path->data[i].header.length) {
    points.push_back({path->data[i + 1].point.x, path->data[i + 1].point.y});
  }
  return points;
}

double lengthOf(const std::vector<Pt>& points) {
  double length = 0;
  for (std::size_t i = 0; i + 1 < points.size(); ++i) length += distance(points[i], points[i + 1]);
  return length;
}

struct ArrowForm {
  ArrowCurve curve;
  double width = 1;
  double head = 0;  // length of each head
  bool atStart = false;
  bool atEnd = false;
  double tail = 0;  // radius of the tail marker, 0 without one
};

ArrowForm formOf(const Shape& arrow) {
  ArrowForm form;
  form.curve = arrowCurve(arrow);
  form.width = std::max(arrow.width, 1.0);
  const ArrowHeadStyle style = arrow.headStyle.value_or(ArrowHeadStyle::end);
  form.atEnd = style != ArrowHeadStyle::headless;
  form.atStart = style == ArrowHeadStyle::both;
  const double length =
      distance(form.curve.start, form.curve.control) + distance(form.curve.control, form.curve.end);
  if (form.atEnd) form.head = std::min(4 * form.width + 6, length * (form.atStart ? 0.45 : 0.7));
  if (arrow.tailMarker.value_or(ArrowTailMarker::none) != ArrowTailMarker::none && !form.atStart) {
    const double scale = std::clamp(arrow.tailScale.value_or(1), 0.25, 8.0);
    form.tail = (1.5 * form.width + 2) * scale;
  }
  return form;
}

/// The place on the curve whose straight distance from one end is `length`.
double placeAt(const ArrowCurve& curve, double length, bool fromEnd) {
  const Pt tip = fromEnd ? curve.end : curve.start;
  constexpr int steps = 64;
  for (int i = 1; i < steps; ++i) {
    const double t = double(i) / steps;
    if (distance(curve.at(fromEnd ? 1 - t : t), tip) >= length) return fromEnd ? 1 - t : t;
  }
  return fromEnd ? 0 : 1;
}

void fillHead(cairo_t* cr, Pt tip, Pt from, double length) {
  const Pt along = direction(from, tip);
  const Pt across{-along.y, along.x};
  const Pt base = tip - length * along;
  moveTo(cr, tip);
  lineTo(cr, base + 0.46 * length * across);
  lineTo(cr, base + 0.14 * length * along);
  lineTo(cr, base - 0.46 * length * across);
  cairo_close_path(cr);
  cairo_set_dash(cr, nullptr, 0, 0);
  cairo_set_line_width(cr, 0.08 * length);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_fill_preserve(cr);
  cairo_stroke(cr);
}

struct MeasureForm {
  Pt start;
  Pt end;
  Pt across;
  double tick = 0;  // half its length
  double width = 1;
  TextLayout layout;
  Box label;  // of the pill
  Pt text;
};

/// The box moved into `room`, where it fits.
Box within(Box box, const Box& room) {
  constexpr double margin = 2;
  const Box inner = grown(room, -margin);
  if (box.w <= inner.w) box.x = std::clamp(box.x, inner.x, inner.right() - box.w);
  if (box.h <= inner.h) box.y = std::clamp(box.y, inner.y, inner.bottom() - box.h);
  return box;
}

MeasureForm formOf(const Shape& measure, const std::string& label, const Box& room) {
  MeasureForm form;
  form.start = {measure.x1, measure.y1};
  form.end = {measure.x2, measure.y2};
  form.width = std::max(measure.width, 1.0);
  form.tick = 2 * form.width + 3;
  const Pt along = direction(form.start, form.end);
  form.across = {-along.y, along.x};
  const double size = 10 + 1.5 * form.width;
  form.layout = layoutText(label, size, TextWeight::bold);
  const Box lines = extentsOf(form.layout.get()).lines;
  const double w = lines.w + 0.9 * size;
  const double h = lines.h + 0.3 * size;
  Pt middle = 0.5 * (form.start + form.end);
  // On a line too short to carry it the label stands beside, above or to the right.
  const double shadow = std::abs(along.x) * w + std::abs(along.y) * h;
  if (distance(form.start, form.end) < shadow + 2 * size) {
    const Pt side = form.across.y > 0 || (form.across.y == 0 && form.across.x < 0)
                        ? -1 * form.across
                        : form.across;
    const double reach = std::abs(side.x) * w / 2 + std::abs(side.y) * h / 2;
    middle = middle + (reach + form.tick + 3) * side;
  }
  form.label = {middle.x - w / 2, middle.y - h / 2, w, h};
  if (intersects(boundsOf({form.start, form.end}), room)) form.label = within(form.label, room);
  form.text = {form.label.x + (w - lines.w) / 2, form.label.y + (h - lines.h) / 2};
  return form;
}

}  // namespace

void setStroke(cairo_t* cr, double width) {
  cairo_set_line_width(cr, width);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_dash(cr, nullptr, 0, 0);
}

void strokePath(cairo_t* cr, double width, LineStyle style) {
  setStroke(cr, width);
  if (style == LineStyle::dashed) setDashesAlongPath(cr, width);
  cairo_stroke(cr);
}

namespace {

/// A quadratic curve. Where it cannot be seen in `near` it is a straight line: flattened, a wild
/// one has more points than memory holds.
void curveTo(cairo_t* cr, Pt from, Pt control, Pt to, const Box& near) {
  constexpr double longCurve = 8192;
  const Box hull = boundsOf({from, control, to});
  if (!intersects(hull, near)) return lineTo(cr, to);
  if (std::max(hull.w, hull.h) > longCurve) {
    const Pt first = 0.5 * (from + control);
    const Pt second = 0.5 * (control + to);
    const Pt middle = 0.5 * (first + second);
    curveTo(cr, from, first, middle, near);
    return curveTo(cr, middle, second, to, near);
  }
  const Pt first = from + (2.0 / 3) * (control - from);
  const Pt second = to + (2.0 / 3) * (control - to);
  cairo_curve_to(cr, first.x, first.y, second.x, second.y, to.x, to.y);
}

}  // namespace

void paintStroke(cairo_t* cr, const Shape& shape, const Box& room) {
  if (shape.points.empty()) return;
  const std::vector<Pt>& points = shape.points;
  const Box near = grown(room, std::max(shape.width, 1.0) * highlighterWidening + 2);
  moveTo(cr, points.front());
  // Through the middles of the samples, with the samples as control points: no corners.
  for (std::size_t i = 1; i + 1 < points.size(); ++i) {
    const Pt middle = 0.5 * (points[i] + points[i + 1]);
    Pt from;
    cairo_get_current_point(cr, &from.x, &from.y);
    curveTo(cr, from, points[i], middle, near);
  }
  lineTo(cr, points.back());
  const bool isMarker = shape.type == ShapeType::highlighter;
  const double width = std::max(shape.width, 1.0) * (isMarker ? highlighterWidening : 1);
  const LineStyle style = shape.lineStyle.value_or(LineStyle::solid);
  if (points.size() <= longStroke && lengthOf(points) <= longStrokePixels) {
    return strokePath(cr, width, style);
  }
  LongStroke stroke{.points = linesOfPath(cr), .width = width};
  if (style == LineStyle::dashed) {
    setDashesAlongPath(cr, width);
    if (cairo_get_dash_count(cr) == 2) {
      double dashes[2];
      cairo_get_dash(cr, dashes, nullptr);
      stroke.dash = dashes[0];
      stroke.gap = dashes[1];
    }
  }
  cairo_new_path(cr);
  ink(cr, stroke);
}

void paintArrow(cairo_t* cr, const Shape& arrow) {
  const ArrowForm form = formOf(arrow);
  inkOf(arrow.color).set(cr);
  double from = 0;
  double to = 1;
  if (form.atEnd) to = placeAt(form.curve, 0.8 * form.head, true);
  if (form.atStart) from = placeAt(form.curve, 0.8 * form.head, false);
  const bool isRing = form.tail > 0 && arrow.tailMarker == ArrowTailMarker::ring;
  if (isRing) from = placeAt(form.curve, form.tail, false);
  if (from < to) {
    addCurve(cr, cut(form.curve, from, to));
    strokePath(cr, form.width, arrow.lineStyle.value_or(LineStyle::solid));
  }
  if (form.atEnd) fillHead(cr, form.curve.end, form.curve.at(to), form.head);
  if (form.atStart) fillHead(cr, form.curve.start, form.curve.at(from), form.head);
  if (form.tail > 0) {
    cairo_set_dash(cr, nullptr, 0, 0);
    cairo_new_sub_path(cr);
    cairo_arc(cr, form.curve.start.x, form.curve.start.y, form.tail, 0, 2 * M_PI);
    cairo_set_line_width(cr, form.width);
    if (isRing) {
      cairo_stroke(cr);
    } else {
      cairo_fill(cr);
    }
  }
}

Box arrowBounds(const Shape& arrow) {
  const ArrowForm form = formOf(arrow);
  const Box hull = boundsOf({form.curve.start, form.curve.control, form.curve.end});
  return grown(hull, std::max({form.width, form.head, form.tail + form.width}));
}

void paintMeasure(cairo_t* cr, const Shape& measure, const std::string& label, const Box& room) {
  const MeasureForm form = formOf(measure, label, room);
  const Ink ink = inkOf(measure.color);
  ink.set(cr);
  setStroke(cr, form.width);
  moveTo(cr, form.start);
  lineTo(cr, form.end);
  for (const Pt end : {form.start, form.end}) {
    moveTo(cr, end - form.tick * form.across);
    lineTo(cr, end + form.tick * form.across);
  }
  cairo_stroke(cr);
  const double radius = form.label.h / 2;
  const double y = form.label.y + radius;
  cairo_new_sub_path(cr);
  cairo_arc(cr, form.label.x + radius, y, radius, M_PI / 2, 3 * M_PI / 2);
  cairo_arc(cr, form.label.right() - radius, y, radius, 3 * M_PI / 2, M_PI / 2);
  cairo_close_path(cr);
  cairo_fill(cr);
  readableOn(ink).set(cr);
  moveTo(cr, form.text);
  pango_cairo_show_layout(cr, form.layout.get());
}

Box measureBounds(const Shape& measure, const std::string& label, const Box& room) {
  const MeasureForm form = formOf(measure, label, room);
  const Box line = grown(boundsOf({form.start, form.end}), form.tick + form.width);
  return boundsOf({{line.x, line.y},
                   {line.right(), line.bottom()},
                   {form.label.x, form.label.y},
                   {form.label.right(), form.label.bottom()}});
}

}  // namespace vantorel
