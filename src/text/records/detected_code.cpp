#include "text/records/detected_code.hpp"

namespace vantorel {

template <class V, class S>
void DetectedCode::describe(V& v, S& code) {
  v.required("payload", code.payload);
  v.required("symbology", code.symbology);
  v.required("box", code.box);
  v.rest(code.extra);
}
VT_JSON_RECORD(DetectedCode)

}  // namespace vantorel
