#include "editor/records/shape.hpp"

namespace vantorel {
namespace {

/// Types of earlier builds, each now a style of another type.
enum class Legacy { none, line, rectFill };

Legacy readType(json::RecordReader& reader, ShapeType& type) {
  const auto found = reader.raw("type");
  if (!found) {
    reader.fail("type", "is missing");
    return Legacy::none;
  }
  const auto name = found->asString();
  if (!name) {
    reader.fail("type", "must be a string");
    return Legacy::none;
  }
  if (*name == "line") {
    type = ShapeType::arrow;
    return Legacy::line;
  }
  if (*name == "rectFill") {
    type = ShapeType::rect;
    return Legacy::rectFill;
  }
  const auto known = enumFromName<ShapeType>(*name);
  if (known) {
    type = *known;
  } else {
    reader.fail("type", "unknown shape type " + std::string(*name));
  }
  return Legacy::none;
}

/// Sets what an old type says, whatever the file has under the newer key.
template <class V, class Member, class Value>
void assume(V& v, std::string_view key, Member& member, Value value) {
  if constexpr (V::reading) {
    static_cast<void>(v.raw(key));
    member = value;
  }
}

}  // namespace

template <class V, class S>
void Shape::describe(V& v, S& shape) {
  v.required("id", shape.id);
  auto legacy = Legacy::none;
  if constexpr (V::reading) {
    legacy = readType(v, shape.type);
  } else {
    v.required("type", shape.type);
  }
  v.required("color", shape.color);
  v.required("width", shape.width);
  v.field("points", shape.points);
  v.field("x1", shape.x1);
  v.field("y1", shape.y1);
  v.field("x2", shape.x2);
  v.field("y2", shape.y2);
  v.field("x", shape.x);
  v.field("y", shape.y);
  v.field("text", shape.text);
  v.field("fontSize", shape.fontSize);
  v.field("boxWidth", shape.boxWidth);
  v.field("textStyle", shape.textStyle);
  v.field("redactStyle", shape.redactStyle);
  v.field("number", shape.number);
  v.field("measureUnit", shape.measureUnit);
  v.field("bow", shape.bow);
  v.field("tailMarker", shape.tailMarker);
  v.field("tailScale", shape.tailScale);
  v.field("opacity", shape.opacity);
  if (legacy == Legacy::rectFill) {
    assume(v, "fill", shape.fill, FillStyle::solid);
  } else {
    v.field("fill", shape.fill);
  }
  v.field("cornerRadius", shape.cornerRadius, json::Clamp{0.0, std::numeric_limits<double>::max()});
  v.field("lineStyle", shape.lineStyle);
  if (legacy == Legacy::line) {
    assume(v, "headStyle", shape.headStyle, ArrowHeadStyle::headless);
  } else {
    v.field("headStyle", shape.headStyle);
  }
  v.field("textAlign", shape.textAlign);
  v.field("sides", shape.sides, json::Clamp{leastSides, mostSides});
  v.field("starInset", shape.starInset, json::Clamp{0.0, deepestStarInset});
  v.field("layerId", shape.layerId);
  v.rest(shape.extra);
}
VT_JSON_RECORD(Shape)

}  // namespace vantorel
