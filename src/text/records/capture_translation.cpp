#include "text/records/capture_translation.hpp"

namespace vantorel {

template <class V, class S>
void BlockTranslation::describe(V& v, S& translation) {
  v.required("block", translation.block);
  v.required("text", translation.text);
  v.rest(translation.extra);
}
VT_JSON_RECORD(BlockTranslation)

template <class V, class S>
void CaptureTranslation::describe(V& v, S& translation) {
  v.required("source", translation.source);
  v.required("blocks", translation.blocks);
  v.required("fingerprint", translation.fingerprint);
  v.rest(translation.extra);
}
VT_JSON_RECORD(CaptureTranslation)

}  // namespace vantorel
