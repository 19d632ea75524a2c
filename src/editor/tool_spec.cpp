#include "editor/tool_spec.hpp"

#include <array>

#include "base/check.hpp"

namespace vantorel {
namespace {

constexpr std::array<ToolSpec, 16> specs{{
    {Tool::select, "edit-select", "Select", "v"},
    {Tool::crop, "transform-crop", "Crop", "c"},
    {Tool::pen, "draw-freehand", "Pen", "p"},
    {Tool::highlighter, "draw-highlight", "Highlighter", "h"},
    {Tool::arrow, "draw-arrow", "Arrow", "a"},
    {Tool::rect, "draw-rectangle", "Rectangle", "r"},
    {Tool::ellipse, "draw-ellipse", "Ellipse", "o"},
    {Tool::polygon, "draw-polygon", "Polygon", "g"},
    {Tool::text, "draw-text", "Text", "t"},
    {Tool::redact, "redact", "Redact", "b"},
    {Tool::highlightArea, "draw-highlight-area", "Highlight Area", "l"},
    {Tool::counter, "draw-counter", "Counter", "n"},
    {Tool::emoji, "smiley", "Emoji", "e"},
    {Tool::measure, "measure", "Measure", "m"},
    {Tool::eyedropper, "color-picker", "Eyedropper", "i"},
    {Tool::selectText, "edit-select-text", "Select Text", "s"},
}};

}  // namespace

std::span<const ToolSpec> toolSpecs() { return specs; }

const ToolSpec& specOf(Tool tool) {
  const auto found = std::ranges::find(specs, tool, &ToolSpec::tool);
  VT_CHECK(found != specs.end());
  return *found;
}

std::optional<Tool> toolForKey(std::string_view key) {
  if (key.size() != 1) return std::nullopt;
  const char lower = key[0] >= 'A' && key[0] <= 'Z' ? static_cast<char>(key[0] + 32) : key[0];
  const auto found = std::ranges::find(specs, std::string_view(&lower, 1), &ToolSpec::key);
  if (found == specs.end()) return std::nullopt;
  return found->tool;
}

std::optional<ShapeType> shapeTypeOf(Tool tool) {
  switch (tool) {
    case Tool::select:
    case Tool::crop:
    case Tool::eyedropper:
    case Tool::selectText: return std::nullopt;
    case Tool::highlightArea: return ShapeType::highlightRect;
    default: return enumFromName<ShapeType>(nameOf(tool));
  }
}

Tool toolOf(ShapeType type) {
  if (type == ShapeType::highlightRect) return Tool::highlightArea;
  return *enumFromName<Tool>(nameOf(type));
}

}  // namespace vantorel
