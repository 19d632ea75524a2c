#include "library/records/redaction_change.hpp"

#include "base/path_text.hpp"

namespace vantorel {

template <class V, class S>
void RedactionChange::describe(V& v, S& change) {
  v.required("covers", change.covers);
  v.field("earlierOriginal", change.earlierOriginal, json::asPath);
  v.rest(change.extra);
}
VT_JSON_RECORD(RedactionChange)

}  // namespace vantorel
