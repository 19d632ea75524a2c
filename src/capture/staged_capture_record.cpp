#include "capture/staged_capture_record.hpp"

#include "base/path_text.hpp"

namespace vantorel {

template <class V, class S>
void StagedCaptureRecord::describe(V& v, S& record) {
  v.field("v", record.version);
  v.field("scale", record.scale, json::Clamp{0.1, 100.0});
  v.field("tall", record.isTallCapture);
  v.field("id", record.entryID);
  v.field("app", record.sourceApp);
  v.field("awaitsRedaction", record.awaitsRedaction);
  v.field("redacted", record.isRedacted);
  v.field("path", record.filedPath, json::asPath);
  v.field("inode", record.filedInode);
  v.rest(record.extra);
}
VT_JSON_RECORD(StagedCaptureRecord)

}  // namespace vantorel
