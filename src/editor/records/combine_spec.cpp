#include "editor/records/combine_spec.hpp"

#include "base/path_text.hpp"

namespace vantorel {

template <class V, class S>
void CombineAttachment::describe(V& v, S& attachment) {
  v.required("id", attachment.id);
  v.required("path", attachment.path, json::asPath);
  v.field("pixelWidth", attachment.pixelWidth);
  v.field("pixelHeight", attachment.pixelHeight);
  v.field("frameIndex", attachment.frameIndex);
  v.rest(attachment.extra);
}
VT_JSON_RECORD(CombineAttachment)

template <class V, class S>
void CombineSpec::describe(V& v, S& combine) {
  v.required("attachments", combine.attachments);
  v.field("layout", combine.layout);
  v.field("gutter", combine.gutter);
  v.field("gutterHex", combine.gutterHex);
  v.rest(combine.extra);
}
VT_JSON_RECORD(CombineSpec)

}  // namespace vantorel
