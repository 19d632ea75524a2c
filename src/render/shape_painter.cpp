#include "render/shape_painter.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

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

void paintClosed(cairo_t* cr, const Shape& shape) {
  const Box frame = frameOf(shape);
  if (shape.type == ShapeType::rect) {
    addRoundedBox(cr, frame, shape.cornerRadius.value_or(0));
  } else if (shape.type == ShapeType::ellipse) {
    addEllipse(cr, frame);
  } else {
    for (const Pt vertex : polygonVertices(shape)) cairo_line_to(cr, vertex.x, vertex.y);
    cairo_close_path(cr);
  }
  const Ink ink = inkOf(shape.color);
  const FillStyle fill = shape.fill.value_or(FillStyle::none);
  if (fill != FillStyle::none) {
    ink.withAlpha(fill == FillStyle::tint ? 0.22 : 1).set(cr);
    cairo_fill_preserve(cr);
  }
  ink.set(cr);
  setStroke(cr, std::max(shape.width, 1.0), shape.lineStyle.value_or(LineStyle::solid));
  if (shape.type == ShapeType::polygon || shape.cornerRadius.value_or(0) <= 0) {
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_MITER);
  }
  cairo_stroke(cr);
}

struct TextForm {
  TextLayout layout;
  Pt at;
  double outline = 0;  // width of the contrasting line around the letters
  std::optional<Box> label;
};

TextForm formOf(const Shape& text) {
  TextForm form;
  form.layout = layoutOf(text);
  form.at = {text.x, text.y};
  switch (text.textStyle.value_or(TextStyle::outline)) {
    case TextStyle::outline: form.outline = std::max(0.16 * text.fontSize, 2.0); break;
    case TextStyle::plain: break;
    case TextStyle::label: {
      const Box lines = extentsOf(form.layout.get()).lines;
      Box label{text.x, text.y, text.boxWidth.value_or(lines.w), lines.h};
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
  const TextForm form = formOf(text);
  const Ink ink = inkOf(text.color);
  Ink letters = ink;
  if (form.label) {
    addRoundedBox(cr, *form.label, 0.3 * text.fontSize);
    ink.set(cr);
    cairo_fill(cr);
    letters = contrasting(ink);
  }
  if (form.outline > 0) {
    cairo_move_to(cr, form.at.x, form.at.y);
    pango_cairo_layout_path(cr, form.layout.get());
    setStroke(cr, form.outline, LineStyle::solid);
    contrasting(ink).set(cr);
    cairo_stroke(cr);
  }
  letters.set(cr);
  cairo_move_to(cr, form.at.x, form.at.y);
  pango_cairo_show_layout(cr, form.layout.get());
}

Box textBounds(const Shape& text) {
  const TextForm form = formOf(text);
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

void paintCounter(cairo_t* cr, const Shape& counter) {
  const double radius = counterRadius(counter);
  const Ink ink = inkOf(counter.color);
  const Ink letters = contrasting(ink);
  const auto circle = [&](double r) {
    cairo_new_sub_path(cr);
    cairo_arc(cr, counter.x, counter.y, r, 0, 2 * M_PI);
    cairo_fill(cr);
  };
  letters.set(cr);
  circle(radius);
  ink.set(cr);
  circle(0.88 * radius);
  const std::string number = std::to_string(counter.number.value_or(1));
  const double size = radius * (number.size() == 1 ? 1.15 : 1.9 / double(number.size()));
  const TextLayout layout = layoutText(number, size, TextWeight::bold);
  const Box digits = extentsOf(layout.get()).ink;
  letters.set(cr);
  cairo_move_to(cr, counter.x - digits.x - digits.w / 2, counter.y - digits.y - digits.h / 2);
  pango_cairo_show_layout(cr, layout.get());
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

void paintHighlight(cairo_t* cr, const Shape& area) {
  addRoundedBox(cr, frameOf(area), 3);
  inkOf(area.color).withAlpha(0.32).set(cr);
  cairo_fill(cr);
}

void paintOpaque(cairo_t* cr, const PlacedShape& placed) {
  const Shape& shape = placed.shape;
  switch (shape.type) {
    case ShapeType::pen:
    case ShapeType::highlighter: paintStroke(cr, shape); return;
    case ShapeType::arrow: paintArrow(cr, shape); return;
    case ShapeType::rect:
    case ShapeType::ellipse:
    case ShapeType::polygon: paintClosed(cr, shape); return;
    case ShapeType::text: paintText(cr, shape); return;
    case ShapeType::highlightRect: paintHighlight(cr, shape); return;
    case ShapeType::counter: paintCounter(cr, shape); return;
    case ShapeType::emoji: paintEmoji(cr, shape); return;
    case ShapeType::measure: paintMeasure(cr, shape, placed.measureLabel); return;
    case ShapeType::redact: return;
  }
}

Box boundsOfMarks(const Shape& shape, const std::string& label) {
  switch (shape.type) {
    case ShapeType::pen: return grown(boundsOf(shape.points), shape.width + 1);
    case ShapeType::highlighter:
      return grown(boundsOf(shape.points), shape.width * highlighterWidening / 2 + 2);
    case ShapeType::arrow: return arrowBounds(shape);
    // A mitred corner reaches further than half the stroke: up to ten times before it is cut.
    case ShapeType::polygon: return grown(frameOf(shape), 5 * std::max(shape.width, 1.0));
    case ShapeType::rect:
    case ShapeType::ellipse: return grown(frameOf(shape), std::max(shape.width, 1.0));
    case ShapeType::redact:
    case ShapeType::highlightRect: return frameOf(shape);
    case ShapeType::text: return textBounds(shape);
    case ShapeType::counter: {
      const double radius = counterRadius(shape);
      return {shape.x - radius, shape.y - radius, 2 * radius, 2 * radius};
    }
    case ShapeType::emoji: {
      const double half = emojiSide(shape) / 2;
      return {shape.x - half, shape.y - half, 2 * half, 2 * half};
    }
    case ShapeType::measure: return measureBounds(shape, label);
  }
  std::unreachable();
}

}  // namespace

PlacedShape placed(const Shape& shape, const AxisMap& toPicture,
                   std::optional<double> captureScale) {
  PlacedShape result;
  result.shape = mapped(shape, toPicture);
  tame(result.shape);
  if (shape.type == ShapeType::measure) result.measureLabel = measureLabel(shape, captureScale);
  result.bounds = pixelsAround(grown(boundsOfMarks(result.shape, result.measureLabel), 1));
  return result;
}

void paint(cairo_t* cr, const PlacedShape& placed) {
  const double opacity = std::clamp(placed.shape.opacity.value_or(1), 0.0, 1.0);
  if (opacity <= 0) return;
  if (opacity == 1) {
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
