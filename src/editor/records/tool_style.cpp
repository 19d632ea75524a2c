#include "editor/records/tool_style.hpp"

#include "editor/records/shape.hpp"

namespace vantorel {

template <class V, class S>
void ToolStyle::describe(V& v, S& style) {
  v.required("color", style.color);
  v.required("widthIdx", style.widthIdx);
  v.field("tailMarker", style.tailMarker);
  v.field("tailScale", style.tailScale);
  v.field("textStyle", style.textStyle);
  v.field("redactStyle", style.redactStyle);
  v.field("measureUnit", style.measureUnit);
  v.field("colorFormat", style.colorFormat);
  v.field("opacity", style.opacity);
  v.field("fill", style.fill);
  v.field("cornerRadius", style.cornerRadius, json::Clamp{0.0, std::numeric_limits<double>::max()});
  v.field("lineStyle", style.lineStyle);
  v.field("headStyle", style.headStyle);
  v.field("textAlign", style.textAlign);
  v.field("sides", style.sides, json::Clamp{Shape::minimumSides, Shape::maximumSides});
  v.field("starInset", style.starInset, json::Clamp{0.0, Shape::deepestStarInset});
  v.field("emoji", style.emoji);
  v.rest(style.extra);
}
VT_JSON_RECORD(ToolStyle)

}  // namespace vantorel
