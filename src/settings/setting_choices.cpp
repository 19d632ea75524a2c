#include "settings/setting_choices.hpp"

namespace vantorel {

template <class V, class S>
void CameraBubbleStyle::describe(V& v, S& style) {
  v.field("size", style.size, json::Clamp{0.05, 0.5});
  v.field("mirrored", style.mirrored);
  v.field("border", style.border);
  v.rest(style.extra);
}
VT_JSON_RECORD(CameraBubbleStyle)

template <class V, class S>
void CameraBubblePlacement::describe(V& v, S& placement) {
  v.required("x", placement.x, json::Clamp{0.0, 1.0});
  v.required("y", placement.y, json::Clamp{0.0, 1.0});
  v.rest(placement.extra);
}
VT_JSON_RECORD(CameraBubblePlacement)

}  // namespace vantorel
