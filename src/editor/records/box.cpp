#include "editor/records/box.hpp"

namespace vantorel {

template <class V, class S>
void Pt::describe(V& v, S& point) {
  v.required("x", point.x);
  v.required("y", point.y);
}
VT_JSON_RECORD(Pt)

template <class V, class S>
void Box::describe(V& v, S& box) {
  v.required("x", box.x);
  v.required("y", box.y);
  v.required("w", box.w);
  v.required("h", box.h);
}
VT_JSON_RECORD(Box)

}  // namespace vantorel
