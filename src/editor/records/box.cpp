#include "editor/records/box.hpp"

namespace vantorel {

template <class V, class S>
void Pt::describe(V& v, S& point) {
  v.required("x", point.x);
  v.required("y", point.y);
}

/// Strokes have very many points: one whose keys stand in their order is read without a table.
bool read(json::Cursor cursor, Pt& point, json::Problem& problem) {
  auto members = cursor.members();
  std::string_view key;
  json::Cursor x;
  json::Cursor y;
  if (members.next(key, x) && key == "x" && members.next(key, y) && key == "y") {
    const auto foundX = x.asDouble();
    const auto foundY = y.asDouble();
    if (foundX && foundY) {
      point = {*foundX, *foundY};
      return true;
    }
  }
  return json::readRecord(cursor, point, problem);
}

json::Object unknownMembers(json::Cursor point) {
  json::Object unknown;
  auto members = point.members();
  std::string_view key;
  for (json::Cursor value; members.next(key, value);) {
    if (key != "x" && key != "y") unknown.push_back({std::string(key), value.toValue()});
  }
  return unknown;
}

void write(json::Writer& writer, const Pt& point) { json::writeRecord(writer, point); }

template <class V, class S>
void Box::describe(V& v, S& box) {
  v.required("x", box.x);
  v.required("y", box.y);
  v.required("w", box.w);
  v.required("h", box.h);
}
VT_JSON_RECORD(Box)

template <class V, class S>
void StoredBox::describe(V& v, S& box) {
  Box::describe(v, box);
  v.rest(box.extra);
}
VT_JSON_RECORD(StoredBox)

}  // namespace vantorel
