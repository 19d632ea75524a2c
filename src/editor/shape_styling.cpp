#include "editor/shape_styling.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "editor/tool_spec.hpp"

namespace vantorel {
namespace {

/// Calls `visit` with the three places (style, shape, defaults) of each optional field that means
/// something for `type`.
template <class Visit>
void visitFields(ShapeType type, Visit visit) {
  using Style = ToolStyle;
  using Start = StyleDefaults;
  const auto opacity = [&] { visit(&Style::opacity, &Shape::opacity, &Start::opacity); };
  const auto line = [&] { visit(&Style::lineStyle, &Shape::lineStyle, &Start::lineStyle); };
  const auto fill = [&] { visit(&Style::fill, &Shape::fill, &Start::fill); };
  switch (type) {
    case ShapeType::pen:
      opacity();
      line();
      return;
    case ShapeType::arrow:
      visit(&Style::tailMarker, &Shape::tailMarker, &Start::tailMarker);
      visit(&Style::tailScale, &Shape::tailScale, &Start::tailScale);
      visit(&Style::headStyle, &Shape::headStyle, &Start::headStyle);
      opacity();
      line();
      return;
    case ShapeType::rect:
      visit(&Style::cornerRadius, &Shape::cornerRadius, &Start::cornerRadius);
      [[fallthrough]];
    case ShapeType::ellipse:
      opacity();
      fill();
      line();
      return;
    case ShapeType::polygon:
      visit(&Style::sides, &Shape::sides, &Start::sides);
      visit(&Style::starInset, &Shape::starInset, &Start::starInset);
      opacity();
      fill();
      line();
      return;
    case ShapeType::text:
      visit(&Style::textStyle, &Shape::textStyle, &Start::textStyle);
      visit(&Style::textAlign, &Shape::textAlign, &Start::textAlign);
      opacity();
      return;
    case ShapeType::redact:
      visit(&Style::redactStyle, &Shape::redactStyle, &Start::redactStyle);
      return;
    case ShapeType::measure:
      visit(&Style::measureUnit, &Shape::measureUnit, &Start::measureUnit);
      opacity();
      return;
    case ShapeType::highlighter:
    case ShapeType::highlightRect:
    case ShapeType::counter:
    case ShapeType::emoji: opacity(); return;
  }
}

int nearestWidth(double width) {
  const auto nearest = std::ranges::min_element(
      strokeWidths, {}, [&](double candidate) { return std::abs(candidate - width); });
  return static_cast<int>(nearest - strokeWidths.begin());
}

void setWidth(Shape& shape, int index, double scale) {
  const double width = strokeWidth(index);
  shape.width = scale * width;
  if (shape.type == ShapeType::text) shape.fontSize = scale * fontSizeFor(width);
}

}  // namespace

double strokeWidth(int index) {
  const int last = static_cast<int>(strokeWidths.size()) - 1;
  return strokeWidths[static_cast<std::size_t>(std::clamp(index, 0, last))];
}

double fontSizeFor(double width) { return 8 + 6 * width; }

StyleDefaults styleDefaults(Tool tool) {
  StyleDefaults defaults;
  if (tool == Tool::highlighter) defaults.color = "#ffcc00";
  if (tool == Tool::measure) defaults.widthIdx = 0;
  return defaults;
}

ToolStyle styleOf(Tool tool, const ToolStyles& remembered) {
  const StyleDefaults defaults = styleDefaults(tool);
  const auto found = remembered.find(std::string(nameOf(tool)));
  ToolStyle style;
  if (found != remembered.end()) {
    style = found->second;
  } else {
    style.color = defaults.color;
    style.widthIdx = defaults.widthIdx;
    style.opacity = defaults.opacity;
  }
  if (const auto type = shapeTypeOf(tool)) {
    visitFields(*type, [&](auto inStyle, auto, auto inDefaults) {
      if (!(style.*inStyle)) style.*inStyle = defaults.*inDefaults;
    });
  }
  if (tool == Tool::emoji && !style.emoji) style.emoji = defaults.emoji;
  if (tool == Tool::eyedropper && !style.colorFormat) style.colorFormat = defaults.colorFormat;
  return style;
}

ToolStyle onlyWhatMatters(Tool tool, ToolStyle style) {
  ToolStyle kept;
  kept.color = std::move(style.color);
  kept.widthIdx = style.widthIdx;
  kept.extra = std::move(style.extra);
  if (const auto type = shapeTypeOf(tool)) {
    visitFields(*type, [&](auto inStyle, auto, auto) { kept.*inStyle = style.*inStyle; });
  }
  if (tool == Tool::emoji) kept.emoji = std::move(style.emoji);
  if (tool == Tool::eyedropper) kept.colorFormat = style.colorFormat;
  return kept;
}

void dress(Shape& shape, const ToolStyle& style, double scale) {
  shape.color = style.color;
  setWidth(shape, style.widthIdx, scale);
  if (shape.type == ShapeType::emoji) shape.text = style.emoji.value_or(StyleDefaults{}.emoji);
  visitFields(shape.type,
              [&](auto inStyle, auto inShape, auto) { shape.*inShape = style.*inStyle; });
}

void restyle(Shape& shape, const ToolStyle& before, const ToolStyle& after, double scale) {
  if (after.color != before.color) shape.color = after.color;
  if (after.widthIdx != before.widthIdx) setWidth(shape, after.widthIdx, scale);
  if (shape.type == ShapeType::emoji && after.emoji && after.emoji != before.emoji) {
    shape.text = *after.emoji;
  }
  visitFields(shape.type, [&](auto inStyle, auto inShape, auto) {
    if (after.*inStyle != before.*inStyle) shape.*inShape = after.*inStyle;
  });
}

ToolStyle styleShownBy(const Shape& shape, double scale) {
  ToolStyle style;
  style.color = shape.color;
  style.widthIdx = nearestWidth(shape.width / scale);
  if (shape.type == ShapeType::emoji) style.emoji = shape.text;
  visitFields(shape.type,
              [&](auto inStyle, auto inShape, auto) { style.*inStyle = shape.*inShape; });
  return style;
}

std::string colorText(const std::string& color, ColorFormat format) {
  if (format == ColorFormat::hex || color.size() != 7 || color[0] != '#') return color;
  unsigned rgb = 0;
  const auto end = color.data() + color.size();
  if (std::from_chars(color.data() + 1, end, rgb, 16).ptr != end) return color;
  return fmt::format("rgb({}, {}, {})", rgb >> 16U, rgb >> 8U & 0xffU, rgb & 0xffU);
}

}  // namespace vantorel
