#include "editor/shape_handles.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vantorel {
namespace {

constexpr double minimumFontSize = 4;
constexpr double minimumBoxWidth = 8;

double distanceToSegment(Pt point, Pt a, Pt b) {
  const double length = distance(a, b);
  if (!(length > 0)) return distance(point, a);
  const double along =
      ((point.x - a.x) * (b.x - a.x) + (point.y - a.y) * (b.y - a.y)) / (length * length);
  const double t = std::clamp(along, 0.0, 1.0);
  return distance(point, {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)});
}

double distanceToPath(Pt point, const std::vector<Pt>& path, bool closed) {
  if (path.empty()) return HUGE_VAL;
  double nearest = distance(point, path.front());
  for (std::size_t i = 1; i < path.size(); ++i) {
    nearest = std::min(nearest, distanceToSegment(point, path[i - 1], path[i]));
  }
  if (closed) nearest = std::min(nearest, distanceToSegment(point, path.back(), path.front()));
  return nearest;
}

/// Even-odd rule.
bool isInside(Pt point, const std::vector<Pt>& outline) {
  bool inside = false;
  for (std::size_t i = 0, j = outline.size() - 1; i < outline.size(); j = i++) {
    const Pt a = outline[i];
    const Pt b = outline[j];
    if ((a.y > point.y) != (b.y > point.y) &&
        point.x < (b.x - a.x) * (point.y - a.y) / (b.y - a.y) + a.x) {
      inside = !inside;
    }
  }
  return inside;
}

std::vector<Pt> corners(const Box& box) {
  return {{box.x, box.y}, {box.right(), box.y}, {box.right(), box.bottom()}, {box.x, box.bottom()}};
}

/// The visible line of a shape as a polygon or polyline.
std::vector<Pt> outlineOf(const Shape& shape) {
  constexpr int pieces = 48;
  std::vector<Pt> path;
  switch (shape.type) {
    case ShapeType::arrow: {
      const ArrowCurve curve = arrowCurve(shape);
      for (int i = 0; i <= pieces; ++i) path.push_back(curve.at(double(i) / pieces));
      return path;
    }
    case ShapeType::measure: return {{shape.x1, shape.y1}, {shape.x2, shape.y2}};
    case ShapeType::polygon: return polygonVertices(shape);
    case ShapeType::ellipse: {
      const Box frame = frameOf(shape);
      for (int i = 0; i < pieces; ++i) {
        const double angle = 2 * 3.14159265358979 * i / pieces;
        path.push_back({frame.x + frame.w / 2 * (1 + std::cos(angle)),
                        frame.y + frame.h / 2 * (1 + std::sin(angle))});
      }
      return path;
    }
    case ShapeType::rect:
    case ShapeType::redact:
    case ShapeType::highlightRect: return corners(frameOf(shape));
    case ShapeType::pen:
    case ShapeType::highlighter: return shape.points;
    case ShapeType::text:
    case ShapeType::counter:
    case ShapeType::emoji: return {};
  }
  std::unreachable();
}

bool isFilled(const Shape& shape) {
  if (shape.type == ShapeType::redact || shape.type == ShapeType::highlightRect) return true;
  return shape.fill.value_or(FillStyle::none) != FillStyle::none;
}

ShapeHandle handleOf(const Box& frame, Pt position) {
  return {ResizeHandle{frame, position},
          {frame.x + position.x * frame.w, frame.y + position.y * frame.h}};
}

std::vector<ShapeHandle> cornerHandles(const Box& frame) {
  std::vector<ShapeHandle> handles;
  for (const Pt position : {Pt{1, 1}, Pt{0, 0}, Pt{1, 0}, Pt{0, 1}}) {
    handles.push_back(handleOf(frame, position));
  }
  return handles;
}

/// Placed at a point, and of one proportion.
bool isAtPoint(ShapeType type) {
  return type == ShapeType::counter || type == ShapeType::emoji || type == ShapeType::text;
}

Box centredBox(Pt centre, double half) {
  return {centre.x - half, centre.y - half, 2 * half, 2 * half};
}

}  // namespace

Box selectionFrame(const Shape& shape, const MeasureText& measureText) {
  switch (shape.type) {
    case ShapeType::pen:
    case ShapeType::highlighter: return boundsOf(shape.points);
    case ShapeType::arrow: return boundsOf(outlineOf(shape));
    case ShapeType::text: return measureText(shape);
    case ShapeType::counter: return centredBox({shape.x, shape.y}, counterRadius(shape));
    case ShapeType::emoji: return centredBox({shape.x, shape.y}, emojiSide(shape) / 2);
    case ShapeType::measure:
    case ShapeType::rect:
    case ShapeType::ellipse:
    case ShapeType::polygon:
    case ShapeType::redact:
    case ShapeType::highlightRect: return frameOf(shape);
  }
  std::unreachable();
}

bool hits(const Shape& shape, Pt point, double tolerance, const MeasureText& measureText) {
  // Most shapes lie elsewhere.
  if (isTwoPoint(shape.type) && !shape.bow &&
      !contains(grown(frameOf(shape), tolerance + shape.width / 2), point)) {
    return false;
  }
  switch (shape.type) {
    case ShapeType::text:
    case ShapeType::counter:
    case ShapeType::emoji:
      return contains(grown(selectionFrame(shape, measureText), tolerance), point);
    case ShapeType::pen:
    case ShapeType::highlighter: {
      const double widening = shape.type == ShapeType::pen ? 1 : highlighterWidening;
      const double reach = tolerance + shape.width * widening / 2;
      return contains(grown(boundsOf(shape.points), reach), point) &&
             distanceToPath(point, shape.points, false) <= reach;
    }
    case ShapeType::arrow:
    case ShapeType::measure:
      return distanceToPath(point, outlineOf(shape), false) <= tolerance + shape.width / 2;
    case ShapeType::rect:
    case ShapeType::ellipse:
    case ShapeType::polygon:
    case ShapeType::redact:
    case ShapeType::highlightRect: {
      const std::vector<Pt> outline = outlineOf(shape);
      return (isFilled(shape) && isInside(point, outline)) ||
             distanceToPath(point, outline, true) <= tolerance + shape.width / 2;
    }
  }
  std::unreachable();
}

bool touches(const Shape& shape, const Box& box, const MeasureText& measureText) {
  if (isTwoPoint(shape.type) && !shape.bow) return intersects(frameOf(shape), box);
  return intersects(selectionFrame(shape, measureText), box);
}

std::vector<ShapeHandle> frameHandles(const Box& frame) {
  std::vector<ShapeHandle> handles = cornerHandles(frame);
  for (const Pt position : {Pt{1, 0.5}, Pt{0.5, 1}, Pt{0, 0.5}, Pt{0.5, 0}}) {
    handles.push_back(handleOf(frame, position));
  }
  return handles;
}

std::vector<ShapeHandle> handlesOf(const Shape& shape, const MeasureText& measureText) {
  const Box frame = selectionFrame(shape, measureText);
  if (isAtPoint(shape.type)) return cornerHandles(frame);
  if (!isLine(shape.type)) return frameHandles(frame);
  std::vector<ShapeHandle> handles{{EndpointHandle{1}, {shape.x2, shape.y2}},
                                   {EndpointHandle{0}, {shape.x1, shape.y1}}};
  if (shape.type == ShapeType::arrow) handles.push_back({BowHandle{}, bowHandle(shape)});
  return handles;
}
std::vector<ShapeHandle> textBoxHandles(const Shape& text, const MeasureText& measureText) {
  const Box frame = selectionFrame(text, measureText);
  const double middle = frame.y + frame.h / 2;
  return {{TextBoxHandle::scale, {frame.right(), frame.bottom()}},
          {TextBoxHandle::width, {frame.right(), middle}},
          {TextBoxHandle::widthLeft, {frame.x, middle}}};
}

Box pulledFrame(const ResizeHandle& handle, Pt point, Proportions proportions) {
  const Box& start = handle.startFrame;
  const bool acrossStays = handle.position.x == 0.5;
  const bool downStays = handle.position.y == 0.5;
  const Pt fixed{start.x + (1 - handle.position.x) * start.w,
                 start.y + (1 - handle.position.y) * start.h};
  double w = acrossStays ? start.w : (point.x - fixed.x) * (handle.position.x > 0 ? 1 : -1);
  double h = downStays ? start.h : (point.y - fixed.y) * (handle.position.y > 0 ? 1 : -1);
  if (proportions == Proportions::kept && start.w > 0 && start.h > 0) {
    const double across = std::abs(w) / start.w;
    const double down = std::abs(h) / start.h;
    const double factor = acrossStays ? down : downStays ? across : std::max(across, down);
    w = std::copysign(factor * start.w, w);
    h = std::copysign(factor * start.h, h);
  }
  // What stays may be as thin as it was.
  if (!acrossStays && std::abs(w) < 1) w = std::copysign(1, w);
  if (!downStays && std::abs(h) < 1) h = std::copysign(1, h);
  // What stays does so to the last bit.
  const double x = w == start.w && acrossStays ? start.x : fixed.x - (1 - handle.position.x) * w;
  const double y = h == start.h && downStays ? start.y : fixed.y - (1 - handle.position.y) * h;
  return {x, y, w, h};
}

Shape withEndpoint(Shape start, EndpointHandle handle, Pt point, bool snap) {
  const Pt other = handle.index == 0 ? Pt{start.x2, start.y2} : Pt{start.x1, start.y1};
  const Pt to = snap ? snappedTo45(other, point) : point;
  (handle.index == 0 ? start.x1 : start.x2) = to.x;
  (handle.index == 0 ? start.y1 : start.y2) = to.y;
  return start;
}

Shape resized(const Shape& start, const ResizeHandle& handle, Pt point, Proportions proportions) {
  const bool atPoint = isAtPoint(start.type);
  const Box frame = pulledFrame(handle, point, atPoint ? Proportions::kept : proportions);
  if (atPoint) {
    // Pulled past the opposite corner, it lies there, but does not turn over.
    const Box upright{std::min(frame.x, frame.right()), std::min(frame.y, frame.bottom()),
                      std::abs(frame.w), std::abs(frame.h)};
    return mapped(start, mapBetween(handle.startFrame, upright));
  }
  Shape shape = mapped(start, mapBetween(handle.startFrame, frame));
  shape.width = start.width;
  shape.cornerRadius = start.cornerRadius;
  if (isTwoPoint(start.type) && !isLine(start.type)) {
    // Straight from the frame: what is drawn on whole pixels stays on them.
    const bool leftFirst = start.x1 <= start.x2;
    const bool topFirst = start.y1 <= start.y2;
    (leftFirst ? shape.x1 : shape.x2) = frame.x;
    (leftFirst ? shape.x2 : shape.x1) = frame.x + frame.w;
    (topFirst ? shape.y1 : shape.y2) = frame.y;
    (topFirst ? shape.y2 : shape.y1) = frame.y + frame.h;
  }
  return shape;
}

Shape enlarged(const Shape& shape, double dw, double dh, const Box& frame) {
  if (isLine(shape.type)) {
    return withEndpoint(shape, EndpointHandle{1}, {shape.x2 + dw, shape.y2 + dh}, false);
  }
  if (isAtPoint(shape.type)) {  // both ways alike
    if (dw == 0 && frame.h > 0) dw = dh / frame.h * frame.w;
    if (frame.w > 0) dh = dw / frame.w * frame.h;
  }
  const ResizeHandle corner{frame, {1, 1}};
  const Pt to{std::max(frame.right() + dw, frame.x + 1),
              std::max(frame.bottom() + dh, frame.y + 1)};
  return resized(shape, corner, to, Proportions::free);
}

Shape withTextBox(Shape start, TextBoxHandle handle, const Box& frame, Pt grabbed, Pt point) {
  const double dx = point.x - grabbed.x;
  const double dy = point.y - grabbed.y;
  switch (handle) {
    case TextBoxHandle::width: start.boxWidth = std::max(frame.w + dx, minimumBoxWidth); break;
    case TextBoxHandle::widthLeft:
      start.boxWidth = std::max(frame.w - dx, minimumBoxWidth);
      start.x += frame.w - *start.boxWidth;
      break;
    case TextBoxHandle::scale: {
      const double factor = frame.h > 0 ? (frame.h + dy) / frame.h : 1;
      const double size = std::max(start.fontSize * factor, minimumFontSize);
      if (start.boxWidth && start.fontSize > 0) *start.boxWidth *= size / start.fontSize;
      start.fontSize = size;
      break;
    }
    case TextBoxHandle::move:
      start.x += dx;
      start.y += dy;
      break;
  }
  return start;
}

}  // namespace vantorel
