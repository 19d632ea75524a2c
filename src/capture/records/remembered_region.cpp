#include "capture/records/remembered_region.hpp"

namespace vantorel {

template <class V, class S>
void RememberedRegion::describe(V& v, S& region) {
  v.required("displayUUID", region.displayUUID);
  v.required("rect", region.rect);
  v.required("displayPointSize", region.displayPointSize);
  v.required("displayPixelSize", region.displayPixelSize);
  v.rest(region.extra);
}
VT_JSON_RECORD(RememberedRegion)

}  // namespace vantorel
