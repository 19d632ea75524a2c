#include "render/shape_painter.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "render/dashes.hpp"
#include "render/ink.hpp"
#include "render/line_painter.hpp"
#include "render/text_layout.hpp"
#include "render/tiled_surface.hpp"

namespace vantorel {
namespace {

/// Beyond every picture, and within what the drawing library counts in.
constexpr double farAway = 1e6;

void tame(double& number) {
  number = std::isnan(number) ? 0 : std::clamp(number, -farAway, farAway);
}

void tame(std::optional<double>& number) {
  if (number) tame(*number);
}

void tame(Shape& shape) {
  for (Pt& point : shape.points) {
    tame(point.x);
    tame(point.y);
  }
  for (double* number : {&shape.x1, &shape.y1, &shape.x2, &shape.y2, &shape.x, &shape.y}) {
    tame(*number);
  }
  tame(shape.width);
  shape.width = std::clamp(shape.width, 0.0, 1000.0);
  tame(shape.fontSize);
  for (auto* number : {&shape.boxWidth, &shape.bow, &shape.tailScale, &shape.cornerRadius}) {
    tame(*number);
  }
}

void addRoundedBox(cairo_t* cr, const Box& box, double wanted) {
  const double radius = std::clamp(wanted, 0.0, std::min(box.w, box.h) / 2);
  if (radius <= 0) {
    cairo_rectangle(cr, box.x, box.y, box.w, box.h);
    return;
  }
  cairo_new_sub_path(cr);
  cairo_arc(cr, box.right() - radius, box.y + radius, radius, -M_PI / 2, 0);
  cairo_arc(cr, box.right() - radius, box.bottom() - radius, radius, 0, M_PI / 2);
  cairo_arc(cr, box.x + radius, box.bottom() - radius, radius, M_PI / 2, M_PI);
  cairo_arc(cr, box.x + radius, box.y + radius, radius, M_PI, 3 * M_PI / 2);
  cairo_close_path(cr);
}

void addEllipse(cairo_t* cr, const Box& box) {
  if (box.w <= 0 || box.h <= 0) {
    cairo_move_to(cr, box.x, box.y);
    cairo_line_to(cr, box.right(), box.bottom());
    return;
  }
  cairo_save(cr);
  cairo_translate(cr, box.x + box.w / 2, box.y + box.h / 2);
  cairo_scale(cr, box.w / 2, box.h / 2);
  cairo_new_sub_path(cr);
  cairo_arc(cr, 0, 0, 1, 0, 2 * M_PI);
  cairo_close_path(cr);
  cairo_restore(cr);
}

/// Where the outline turns; nothing for a round one.
std::vector<Pt> cornersOf(const Shape& shape) {
  if (shape.type == ShapeType::polygon) return polygonVertices(shape);
  if (shape.type == ShapeType::ellipse || shape.cornerRadius.value_or(0) > 0) return {};
  const Box frame = frameOf(shape);
  return {{frame.x, frame.y},
          {frame.right(), frame.y},
          {frame.right(), frame.bottom()},
          {frame.x, frame.bottom()}};
}

void paintClosed(cairo_t* cr, const Shape& shape) {
  const Box frame = frameOf(shape);
  const std::vector<Pt> corners = cornersOf(shape);
  if (shape.type == ShapeType::rect) {
    addRoundedBox(cr, frame, shape.cornerRadius.value_or(0));
  } else if (shape.type == ShapeType::ellipse) {
    addEllipse(cr, frame);
  } else {
    for (const Pt vertex : corners) cairo_line_to(cr, vertex.x, vertex.y);
    cairo_close_path(cr);
  }
  const Ink ink = inkOf(shape.color);
  const FillStyle fill = shape.fill.value_or(FillStyle::none);
  if (fill != FillStyle::none) {
    ink.withAlpha(fill == FillStyle::tint ? 0.22 : 1).set(cr);
    cairo_fill_preserve(cr);
  }
  ink.set(cr);
  const double width = std::max(shape.width, 1.0);
  if (corners.empty()) return strokePath(cr, width, shape.lineStyle.value_or(LineStyle::solid));
  setStroke(cr, width);
  if (shape.lineStyle == LineStyle::dashed) setDashesAlongSides(cr, corners, width);
  // The spikes of a star would reach far beyond its frame.
  if (shape.type == ShapeType::rect) cairo_set_line_join(cr, CAIRO_LINE_JOIN_MITER);
  cairo_stroke(cr);
}

struct TextForm {
  TextLayout layout;
  Pt at;
  double outline = 0;  // width of the contrasting line around the letters
  std::optional<Box> label;
};

TextForm formOfText(const Shape& text) {
  TextForm form;
  form.layout = layoutOf(text);
  form.at = {text.x, text.y};
  switch (text.textStyle.value_or(TextStyle::outline)) {
    case TextStyle::outline: form.outline = std::max(0.16 * text.fontSize, 2.0); break;
    case TextStyle::plain: break;
    case TextStyle::label: {
      const Box lines = extentsOf(form.layout.get()).lines;
      // A letter that is wider than its box belongs on the label too.
      const double left = std::min(lines.x, 0.0);
      const double right = std::max(text.boxWidth.value_or(0), lines.right());
      Box label{text.x + left, text.y, right - left, lines.h};
      const double margin = 0.3 * text.fontSize;
      label = {label.x - margin, label.y - margin / 2, label.w + 2 * margin, label.h + margin};
      form.label = label;
      break;
    }
  }
  return form;
}

void paintText(cairo_t* cr, const Shape& text) {
  if (text.text.empty() || text.fontSize <= 0) return;
  const TextForm form = formOfText(text);
  const Ink ink = inkOf(text.color);
  Ink letters = ink;
  if (form.label) {
    addRoundedBox(cr, *form.label, 0.3 * text.fontSize);
    ink.set(cr);
    cairo_fill(cr);
    letters = readableOn(ink);
  }
  if (form.outline > 0) {
    cairo_move_to(cr, form.at.x, form.at.y);
    pango_cairo_layout_path(cr, form.layout.get());
    setStroke(cr, form.outline);
    rimOf(ink).set(cr);
    cairo_stroke(cr);
  }
  letters.set(cr);
  cairo_move_to(cr, form.at.x, form.at.y);
  pango_cairo_show_layout(cr, form.layout.get());
}

Box textBounds(const Shape& text) {
  const TextForm form = formOfText(text);
  const LayoutExtents extents = extentsOf(form.layout.get());
  const Box ink =
      grown({text.x + extents.ink.x, text.y + extents.ink.y, extents.ink.w, extents.ink.h},
            form.outline + 2);
  if (!form.label) return ink;
  return boundsOf({{ink.x, ink.y},
                   {ink.right(), ink.bottom()},
                   {form.label->x, form.label->y},
                   {form.label->right(), form.label->bottom()}});
}

struct CounterForm {
  double radius = 0;
  Box badge;  // a circle, or as wide as many digits need
  TextLayout layout;
  Pt digits;
};

CounterForm formOfCounter(const Shape& counter) {
  CounterForm form;
  form.radius = counterRadius(counter);
  const std::string number = std::to_string(counter.number.value_or(1));
  const double size = form.radius * (number.size() == 1 ? 1.15 : number.size() == 2 ? 0.98 : 0.9);
  form.layout = layoutText(number, size, TextWeight::bold);
  const Box ink = extentsOf(form.layout.get()).ink;
  const double half = std::max(form.radius, ink.w / 2 + 0.42 * form.radius);
  form.badge = {counter.x - half, counter.y - form.radius, 2 * half, 2 * form.radius};
  form.digits = {counter.x - ink.x - ink.w / 2, counter.y - ink.y - ink.h / 2};
  return form;
}

void paintCounter(cairo_t* cr, const Shape& counter) {
  const CounterForm form = formOfCounter(counter);
  const Ink ink = inkOf(counter.color);
  rimOf(ink).set(cr);
  addRoundedBox(cr, form.badge, form.radius);
  cairo_fill(cr);
  ink.set(cr);
  addRoundedBox(cr, grown(form.badge, -0.12 * form.radius), 0.88 * form.radius);
  cairo_fill(cr);
  readableOn(ink).set(cr);
  cairo_move_to(cr, form.digits.x, form.digits.y);
  pango_cairo_show_layout(cr, form.layout.get());
}

void paintEmoji(cairo_t* cr, const Shape& emoji) {
  const double side = emojiSide(emoji);
  const TextLayout layout = layoutText(emoji.text, side, TextWeight::regular);
  const Box ink = extentsOf(layout.get()).ink;
  if (ink.w <= 0 || ink.h <= 0) return;
  const double scale = side / std::max(ink.w, ink.h);
  cairo_translate(cr, emoji.x, emoji.y);
  cairo_scale(cr, scale, scale);
  inkOf(emoji.color).set(cr);
  cairo_move_to(cr, -ink.x - ink.w / 2, -ink.y - ink.h / 2);
  pango_cairo_show_layout(cr, layout.get());
}

/// Lays colour on the ground and leaves what is written on it: dark letters stay as dark on light
/// ground, and light ones as light on dark.
void paintHighlight(cairo_t* cr, const PlacedShape& placed) {
  const Shape& shape = placed.shape;
  const bool isArea = shape.type == ShapeType::highlightRect;
  double share = isArea ? 0.32 : 0.4;
  if (placed.isOnDark) share = 0.3;
  share *= std::clamp(shape.opacity.value_or(1), 0.0, 1.0);
  inkOf(shape.color).withAlpha(share).set(cr);
  cairo_set_operator(cr, placed.isOnDark ? CAIRO_OPERATOR_SCREEN : CAIRO_OPERATOR_MULTIPLY);
  if (!isArea) return paintStroke(cr, shape, placed.room);
  addRoundedBox(cr, frameOf(shape), 3);
  cairo_fill(cr);
}

void paintOpaque(cairo_t* cr, const PlacedShape& placed) {
  const Shape& shape = placed.shape;
  switch (shape.type) {
    case ShapeType::pen:
      inkOf(shape.color).set(cr);
      paintStroke(cr, shape, placed.room);
      return;
    case ShapeType::arrow: paintArrow(cr, shape); return;
    case ShapeType::rect:
    case ShapeType::ellipse:
    case ShapeType::polygon: paintClosed(cr, shape); return;
    case ShapeType::text: paintText(cr, shape); return;
    case ShapeType::highlighter:
    case ShapeType::highlightRect: paintHighlight(cr, placed); return;
    case ShapeType::counter: paintCounter(cr, shape); return;
    case ShapeType::emoji: paintEmoji(cr, shape); return;
    case ShapeType::measure: paintMeasure(cr, shape, placed.measureLabel, placed.room); return;
    case ShapeType::redact: return;
  }
}

Box boundsOfMarks(const Shape& shape, const std::string& label, const Box& room) {
  switch (shape.type) {
    case ShapeType::pen: return grown(boundsOf(shape.points), shape.width + 1);
    case ShapeType::highlighter:
      return grown(boundsOf(shape.points), shape.width * highlighterWidening / 2 + 2);
    case ShapeType::arrow: return arrowBounds(shape);
    case ShapeType::polygon:
    case ShapeType::rect:
    case ShapeType::ellipse: return grown(frameOf(shape), std::max(shape.width, 1.0));
    case ShapeType::redact:
    case ShapeType::highlightRect: return frameOf(shape);
    case ShapeType::text: return textBounds(shape);
    case ShapeType::counter: return formOfCounter(shape).badge;
    case ShapeType::emoji: {
      const double half = emojiSide(shape) / 2;
      return {shape.x - half, shape.y - half, 2 * half, 2 * half};
    }
    case ShapeType::measure: return measureBounds(shape, label, room);
  }
  std::unreachable();
}

}  // namespace

PlacedShape placed(const Shape& shape, const AxisMap& toPicture, std::optional<double> captureScale,
                   PixelSize picture) {
  PlacedShape result;
  result.shape = mapped(shape, toPicture);
  tame(result.shape);
  if (shape.type == ShapeType::measure) result.measureLabel = measureLabel(shape, captureScale);
  result.room = {0, 0, double(picture.width), double(picture.height)};
  result.bounds =
      pixelsAround(grown(boundsOfMarks(result.shape, result.measureLabel, result.room), 1));
  return result;
}

void paint(cairo_t* cr, const PlacedShape& placed) {
  const double opacity = std::clamp(placed.shape.opacity.value_or(1), 0.0, 1.0);
  if (opacity <= 0) return;
  if (opacity == 1 || isHighlight(placed.shape)) {
    paintOpaque(cr, placed);
    return;
  }
  // As a whole: where its own parts overlap the shape does not grow darker.
  cairo_push_group(cr);
  paintOpaque(cr, placed);
  cairo_pop_group_to_source(cr);
  cairo_paint_with_alpha(cr, opacity);
}

}  // namespace vantorel
