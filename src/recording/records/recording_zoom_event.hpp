#pragma once

#include "base/json_record.hpp"

namespace vantorel {

/// A zoom made while recording.
struct RecordingZoomEvent {
  double time = 0;    ///< seconds from the movie's start
  double level = 1;   ///< zoom factor; 1 is not zoomed
  double focalX = 0;  ///< focal point
  double focalY = 0;
  json::Object extra;

  bool operator==(const RecordingZoomEvent&) const = default;
  template <class V, class S>
  static void describe(V& v, S& event);
};
VT_JSON_RECORD_DECLARATION(RecordingZoomEvent);

}  // namespace vantorel
