#include "app/annotation_draft.hpp"

#include <algorithm>
#include <utility>

#include "base/path_text.hpp"
#include "base/random_id.hpp"
#include "editor/entry_document.hpp"

namespace vantorel {
namespace {

/// A picture that was scaled since takes its annotations along, as in the library.
EditorDocument scaledTo(PixelSize capture, const EditorDocument& document, PixelSize from) {
  ScreenshotEntry entry;
  putDocument(document, from, entry);
  return documentOf(entry, capture);
}

Shape* findShape(EditorDocument& in, const std::string& id) {
  const auto found = std::ranges::find(in.shapes, id, &Shape::id);
  return found == in.shapes.end() ? nullptr : &*found;
}

const Shape* findShape(const EditorDocument& in, const std::string& id) {
  const auto found = std::ranges::find(in.shapes, id, &Shape::id);
  return found == in.shapes.end() ? nullptr : &*found;
}

}  // namespace

template <class V, class S>
void AnnotationDraft::describe(V& v, S& draft) {
  v.requiredIfPresent("version", draft.version);
  if constexpr (V::reading) {
    if (draft.version > currentVersion) v.fail("version", "was written by a newer build");
  }
  v.field("entry", draft.entryID);
  v.field("file", draft.file, json::asPath);
  v.field("picture", draft.picture);
  v.field("from", draft.from);
  v.field("title", draft.title);
  v.field("keptAt", draft.keptAt);
  v.required("width", draft.width, json::Clamp{1, 1 << 24});
  v.required("height", draft.height, json::Clamp{1, 1 << 24});
  v.required("document", draft.document);
  v.field("stored", draft.stored);
  v.rest(draft.extra);
}
VT_JSON_RECORD(AnnotationDraft)

EditorDocument reopenedDraft(const AnnotationDraft& draft, const EditorDocument& stored,
                             PixelSize capture) {
  EditorDocument document = scaledTo(capture, draft.document, draft.capture());
  const EditorDocument before = scaledTo(capture, draft.stored, draft.capture());
  if (document.crop == before.crop) document.crop = stored.crop;
  if (document.background == before.background) document.background = stored.background;
  if (document.layers == before.layers && document.canvas == before.canvas) {
    document.layers = stored.layers;
    document.canvas = stored.canvas;
  }
  // What went from the stored one is gone, unless it covers something or the draft changed it.
  std::erase_if(document.shapes, [&](const Shape& shape) {
    const Shape* const was = findShape(before, shape.id);
    return was != nullptr && *was == shape && shape.type != ShapeType::redact &&
           findShape(stored, shape.id) == nullptr;
  });
  for (const Shape& shape : stored.shapes) {
    const Shape* const was = findShape(before, shape.id);
    if (was != nullptr && *was == shape) continue;
    Shape* const now = findShape(document, shape.id);
    if (now != nullptr && (was == nullptr || *now == *was)) {
      *now = shape;
    } else if (now == nullptr && (was == nullptr || shape.type == ShapeType::redact)) {
      document.shapes.push_back(shape);
    } else if (now != nullptr && shape.type == ShapeType::redact && *now != shape) {
      document.shapes.push_back(shape);
      document.shapes.back().id = randomID();
    }
  }
  return document;
}

}  // namespace vantorel
