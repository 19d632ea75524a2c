#include "text/records/ocr_block.hpp"

namespace vantorel {
namespace {

template <class Item>
bool readWhole(json::Cursor cursor, std::vector<Item>& list, json::Problem& problem) {
  if (cursor.kind() != json::Kind::array) {
    problem.description = "must be a list";
    return false;
  }
  list.clear();
  json::Cursor item;
  for (auto items = cursor.items(); items.next(item);) {
    if (!read(item, list.emplace_back(), problem)) return problem.inItem(list.size() - 1);
  }
  list.shrink_to_fit();
  return true;
}

template <class Item>
void writeWhole(json::Writer& writer, const std::vector<Item>& list) {
  writer.beginArray();
  for (const Item& item : list) write(writer, item);
  writer.endArray();
}

}  // namespace

template <class V, class S>
void OCRBox::describe(V& v, S& box) {
  v.required("x", box.x);
  v.required("y", box.y);
  v.required("w", box.w);
  v.required("h", box.h);
  v.rest(box.extra);
}
VT_JSON_RECORD(OCRBox)

template <class V, class S>
void OCRLine::describe(V& v, S& line) {
  v.required("text", line.text);
  v.required("box", line.box);
  v.required("confidence", line.confidence);
  if constexpr (V::reading) {
    std::optional<std::string> letters;
    v.field("letters", letters);
    if (letters) line.letters = *std::move(letters);
  } else if (!line.letters.empty()) {
    v.required("letters", line.letters);
  }
  v.rest(line.extra);
}
VT_JSON_RECORD(OCRLine)

bool read(json::Cursor cursor, std::vector<OCRLine>& lines, json::Problem& problem) {
  return readWhole(cursor, lines, problem);
}
void write(json::Writer& writer, const std::vector<OCRLine>& lines) { writeWhole(writer, lines); }

template <class V, class S>
void OCRBlock::describe(V& v, S& block) {
  v.required("lines", block.lines);
  v.rest(block.extra);
}
VT_JSON_RECORD(OCRBlock)

bool read(json::Cursor cursor, std::vector<OCRBlock>& blocks, json::Problem& problem) {
  return readWhole(cursor, blocks, problem);
}
void write(json::Writer& writer, const std::vector<OCRBlock>& blocks) {
  writeWhole(writer, blocks);
}

}  // namespace vantorel
