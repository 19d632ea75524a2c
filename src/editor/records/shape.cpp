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

/// The points of a stroke, of which there are very many, with what is not known of them.
struct Samples {
  std::vector<Pt> points;
  json::Unread unread;
  json::Unread members;
};

bool read(json::Cursor cursor, Samples& samples, json::Problem& problem) {
  if (cursor.kind() != json::Kind::array) return json::detail::wrongKind(problem, "a list");
  auto items = cursor.items();
  samples.points.reserve(std::min(items.count(), items.weight() / sizeof(Pt) + 1));
  for (json::Cursor item; items.next(item);) {
    Pt point;
    if (!read(item, point, problem)) {
      if (problem.isStrict) return problem.inItem(samples.points.size());
      samples.unread.add(samples.points.size(), item.toValue());
      problem.clear();
      continue;
    }
    if (json::Object unknown = unknownMembers(item); !unknown.empty()) {
      samples.members.add(samples.points.size(), {std::move(unknown)});
    }
    samples.points.push_back(point);
  }
  return true;
}

struct SamplesView {
  const Shape& shape;
};

void write(json::Writer& writer, const SamplesView& samples) {
  const Shape& shape = samples.shape;
  if (shape.unreadPoints.isEmpty() && shape.pointMembers.isEmpty()) {
    write(writer, shape.points);
    return;
  }
  writer.beginArray();
  auto unread = shape.unreadPoints.parts().begin();
  const auto lastUnread = shape.unreadPoints.parts().end();
  auto members = shape.pointMembers.parts().begin();
  const auto lastMembers = shape.pointMembers.parts().end();
  for (std::size_t i = 0; i < shape.points.size(); ++i) {
    for (; unread != lastUnread && unread->index <= i; ++unread) writer.value(unread->value);
    writer.beginObject();
    writer.member("x", shape.points[i].x);
    writer.member("y", shape.points[i].y);
    if (members != lastMembers && members->index == i) {
      for (const auto& [key, value] : std::get<json::Object>((members++)->value.value)) {
        writer.member(key, value);
      }
    }
    writer.endObject();
  }
  for (; unread != lastUnread; ++unread) writer.value(unread->value);
  writer.endArray();
}

template <class V, class S>
void describePoints(V& v, S& shape) {
  if constexpr (V::reading) {
    Samples samples;
    v.field("points", samples);
    shape.points = std::move(samples.points);
    shape.unreadPoints = std::move(samples.unread);
    shape.pointMembers = std::move(samples.members);
  } else {
    v.field("points", SamplesView{shape});
  }
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
  describePoints(v, shape);
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
  v.field("sides", shape.sides, json::Clamp{minimumSides, maximumSides});
  v.field("starInset", shape.starInset, json::Clamp{0.0, deepestStarInset});
  v.field("layerId", shape.layerId);
  v.rest(shape.extra);
}
VT_JSON_RECORD(Shape)

}  // namespace vantorel
