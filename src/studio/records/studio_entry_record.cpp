#include "studio/records/studio_entry_record.hpp"

namespace vantorel {

template <class V, class S>
void StudioEntryRecord::describe(V& v, S& record) {
  v.required("version", record.version);
  v.field("duration", record.duration);
  v.field("posterTime", record.posterTime);
  v.rest(record.extra);
}
VT_JSON_RECORD(StudioEntryRecord)

}  // namespace vantorel
