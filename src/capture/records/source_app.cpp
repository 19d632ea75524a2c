#include "capture/records/source_app.hpp"

namespace vantorel {

template <class V, class S>
void SourceApp::describe(V& v, S& app) {
  v.field("bundleID", app.bundleID);
  v.required("name", app.name);
  v.rest(app.extra);
}
VT_JSON_RECORD(SourceApp)

}  // namespace vantorel
