#include "recording/records/recording_zoom_event.hpp"

namespace vantorel {

template <class V, class S>
void RecordingZoomEvent::describe(V& v, S& event) {
  v.required("time", event.time);
  v.required("level", event.level);
  v.required("focalX", event.focalX);
  v.required("focalY", event.focalY);
  v.rest(event.extra);
}
VT_JSON_RECORD(RecordingZoomEvent)

}  // namespace vantorel
