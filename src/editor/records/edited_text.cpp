#include "editor/records/edited_text.hpp"

namespace vantorel {

template <class V, class S>
void BlockEdit::describe(V& v, S& edit) {
  v.required("block", edit.block);
  v.required("original", edit.original);
  v.required("text", edit.text);
  v.rest(edit.extra);
}
VT_JSON_RECORD(BlockEdit)

template <class V, class S>
void EditedText::describe(V& v, S& edited) {
  v.required("basis", edited.basis);
  v.field("blocks", edited.blocks);
  v.field("document", edited.document);
  v.field("fileDigest", edited.fileDigest);
  v.field("parked", edited.parked);
  v.rest(edited.extra);
}
VT_JSON_RECORD(EditedText)

}  // namespace vantorel
