#include "recording/records/gif_export.hpp"

namespace vantorel {

bool read(json::Cursor cursor, GifExportOptions::Size& size, json::Problem& problem) {
  std::string_view name;
  std::string_view none;
  json::Cursor payload;
  json::Cursor second;
  auto members = cursor.members();
  problem.description = "must be one of width, full, half";
  if (!members.next(name, payload) || members.next(none, second)) return false;
  if (name == "full") {
    size = GifExportOptions::Full{};
    return true;
  }
  if (name == "half") {
    size = GifExportOptions::Half{};
    return true;
  }
  if (name != "width") return false;
  std::string_view key;
  json::Cursor number;
  for (auto inner = payload.members(); inner.next(key, number);) {
    GifExportOptions::Width width;
    if (key != "_0" || !read(number, width.pixels, problem)) continue;
    size = width;
    return true;
  }
  return false;
}

void write(json::Writer& writer, const GifExportOptions::Size& size) {
  struct Visitor {
    json::Writer& writer;
    void operator()(const GifExportOptions::Width& width) const {
      writer.key("width");
      writer.beginObject();
      writer.member("_0", width.pixels);
      writer.endObject();
    }
    void operator()(const GifExportOptions::Full&) const { empty("full"); }
    void operator()(const GifExportOptions::Half&) const { empty("half"); }
    void empty(std::string_view name) const {
      writer.key(name);
      writer.beginObject();
      writer.endObject();
    }
  };
  writer.beginObject();
  std::visit(Visitor{writer}, size);
  writer.endObject();
}

template <class V, class S>
void GifExportOptions::describe(V& v, S& options) {
  v.required("size", options.size);
  v.required("framesPerSecond", options.framesPerSecond, json::Clamp{1, 60});
  v.required("speed", options.speed, json::Clamp{0.1, 10.0});
  v.required("dithering", options.dithering);
  v.required("loopsForever", options.loopsForever);
  v.rest(options.extra);
}
VT_JSON_RECORD(GifExportOptions)

template <class V, class S>
void GifExportRecord::describe(V& v, S& record) {
  v.required("options", record.options);
  v.field("crop", record.crop);
  v.field("rangeStart", record.rangeStart);
  v.field("rangeEnd", record.rangeEnd);
  v.rest(record.extra);
}
VT_JSON_RECORD(GifExportRecord)

}  // namespace vantorel
