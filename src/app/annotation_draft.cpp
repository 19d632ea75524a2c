#include "app/annotation_draft.hpp"

#include <algorithm>
#include <utility>

#include "base/path_text.hpp"
#include "editor/entry_document.hpp"

namespace vantorel {

template <class V, class S>
void AnnotationDraft::describe(V& v, S& draft) {
  v.requiredIfPresent("version", draft.version);
  if constexpr (V::reading) {
    if (draft.version > currentVersion) v.fail("version", "was written by a newer build");
  }
  v.field("entry", draft.entryID);
  v.field("file", draft.file, json::asPath);
  v.field("picture", draft.picture);
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
  // A picture that was scaled since takes its annotations along, as in the library.
  ScreenshotEntry entry;
  putDocument(draft.document, draft.capture(), entry);
  EditorDocument document = documentOf(entry, capture);
  const auto has = [](const EditorDocument& in, const Shape& shape) {
    return std::ranges::find(in.shapes, shape.id, &Shape::id) != in.shapes.end();
  };
  for (const Shape& shape : stored.shapes) {
    const bool isNew = shape.type == ShapeType::redact && !has(draft.stored, shape);
    if (isNew && !has(document, shape)) document.shapes.push_back(shape);
  }
  return document;
}

}  // namespace vantorel
