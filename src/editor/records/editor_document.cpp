#include "editor/records/editor_document.hpp"

namespace vantorel {

template <class V, class S>
void EditorDocument::describe(V& v, S& document) {
  v.field("shapes", document.shapes);
  v.field("crop", document.crop);
  v.field("background", document.background);
  v.field("layers", document.layers);
  v.field("canvas", document.canvas);
  v.rest(document.extra);
}
VT_JSON_RECORD(EditorDocument)

}  // namespace vantorel
