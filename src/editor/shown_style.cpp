#include "editor/shown_style.hpp"

#include <array>
#include <utility>

#include "editor/shape_geometry.hpp"
#include "editor/tool_spec.hpp"

namespace vantorel {
namespace {

/// A style that lacks nothing, to see what is kept of it.
ToolStyle fullStyle() {
  const StyleDefaults defaults;
  ToolStyle style;
  style.tailMarker = defaults.tailMarker;
  style.tailScale = defaults.tailScale;
  style.textStyle = defaults.textStyle;
  style.redactStyle = defaults.redactStyle;
  style.measureUnit = defaults.measureUnit;
  style.colorFormat = defaults.colorFormat;
  style.opacity = 1;
  style.fill = defaults.fill;
  style.cornerRadius = defaults.cornerRadius;
  style.lineStyle = defaults.lineStyle;
  style.headStyle = defaults.headStyle;
  style.textAlign = defaults.textAlign;
  style.sides = Shape::minimumSides;  // what a polygon without any is drawn with
  style.starInset = defaults.starInset;
  style.emoji = defaults.emoji;
  return style;
}

bool hasColor(Tool tool) {
  switch (tool) {
    case Tool::select:
    case Tool::crop:
    case Tool::emoji:
    case Tool::eyedropper:
    case Tool::selectText: return false;
    default: return true;
  }
}

bool hasWidth(Tool tool) {
  return shapeTypeOf(tool) && tool != Tool::redact && tool != Tool::highlightArea;
}

/// What is drawn where a shape leaves the style of its redaction open.
constexpr RedactStyle openRedaction = RedactStyle::solidBox;

/// Takes over one look after the other.
class LookCollector {
 public:
  explicit LookCollector(ShownStyle& shown) : shown_(shown) {}

  void add(Tool tool, const ToolStyle& style) {
    const auto number = static_cast<std::size_t>(tool);
    if (!kept_[number]) kept_[number] = onlyWhatMatters(tool, full_);
    const ToolStyle& has = *kept_[number];
    const auto optional = [&](auto& shown, auto field) {
      take(shown, (has.*field).has_value(), (style.*field) ? *(style.*field) : *(full_.*field));
    };
    take(shown_.color, hasColor(tool) && (tool != Tool::redact || isSolid(style)), style.color);
    take(shown_.width, hasWidth(tool), style.widthIdx);
    const WidthMeaning meaning = tool == Tool::text ? WidthMeaning::fontSize
                                 : tool == Tool::counter || tool == Tool::emoji
                                     ? WidthMeaning::size
                                     : WidthMeaning::line;
    shown_.widthMeaning = isFirst_ || shown_.widthMeaning == meaning ? meaning : WidthMeaning::line;
    optional(shown_.lineStyle, &ToolStyle::lineStyle);
    optional(shown_.headStyle, &ToolStyle::headStyle);
    optional(shown_.tailMarker, &ToolStyle::tailMarker);
    optional(shown_.tailScale, &ToolStyle::tailScale);
    optional(shown_.fill, &ToolStyle::fill);
    optional(shown_.cornerRadius, &ToolStyle::cornerRadius);
    optional(shown_.opacity, &ToolStyle::opacity);
    optional(shown_.textStyle, &ToolStyle::textStyle);
    optional(shown_.textAlign, &ToolStyle::textAlign);
    optional(shown_.sides, &ToolStyle::sides);
    optional(shown_.starInset, &ToolStyle::starInset);
    take(shown_.redactStyle, has.redactStyle.has_value(),
         style.redactStyle.value_or(openRedaction));
    optional(shown_.measureUnit, &ToolStyle::measureUnit);
    optional(shown_.emoji, &ToolStyle::emoji);
    optional(shown_.colorFormat, &ToolStyle::colorFormat);
    isFirst_ = false;
  }

 private:
  static bool isSolid(const ToolStyle& style) {
    return style.redactStyle.value_or(openRedaction) == RedactStyle::solidBox;
  }

  template <class T>
  void take(ShownValue<T>& shown, bool isThere, const T& value) const {
    if (isFirst_) {
      shown.isThere = isThere;
      shown.value = value;
    } else {
      shown.isThere = shown.isThere && isThere;
      shown.isMixed = shown.isMixed || !(shown.value == value);
    }
  }

  ShownStyle& shown_;
  ToolStyle full_ = fullStyle();
  std::array<std::optional<ToolStyle>, std::size(enumNames<Tool>)> kept_;
  bool isFirst_ = true;
};

std::string shapeTitle(const Shape& shape) {
  if (shape.type != ShapeType::polygon) return std::string(specOf(toolOf(shape.type)).label);
  return polygonName({shape.sides.value_or(Shape::minimumSides), shape.starInset.value_or(0)});
}

void addTool(const EditorModel& editor, ShownStyle& shown) {
  const Tool tool = editor.tool();
  if (tool == Tool::select || tool == Tool::selectText) return;
  shown.title = specOf(tool).label;
  if (tool == Tool::crop) {
    shown.cropAspect = {true, false, editor.cropAspect()};
    return;
  }
  const ToolStyle style = editor.style();
  LookCollector(shown).add(tool, style);
  if (tool == Tool::polygon) {
    shown.title = polygonName({shown.sides.value, shown.starInset.value});
  }
}

}  // namespace

ShownStyle shownStyle(const EditorModel& editor) {
  ShownStyle shown;
  if (editor.isTyping()) {
    LookCollector(shown).add(Tool::text, styleShownBy(*editor.draft(), editor.styleScale()));
    shown.title = specOf(Tool::text).label;
    return shown;
  }
  if (editor.selection().empty()) {
    addTool(editor, shown);
    return shown;
  }
  LookCollector look(shown);
  const double scale = editor.styleScale();
  std::size_t left = editor.selection().size();
  const std::size_t count = left;
  for (const auto& shape : *editor.state().shapes) {
    if (left == 0) break;
    if (!editor.selection().contains(shape->id)) continue;
    --left;
    look.add(toolOf(shape->type), styleShownBy(*shape, scale));
    if (count == 1) shown.title = shapeTitle(*shape);
  }
  if (count > 1) shown.title = std::to_string(count) + " annotations";
  return shown;
}

}  // namespace vantorel
