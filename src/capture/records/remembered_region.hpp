#pragma once

#include <string>

#include "base/geometry.hpp"

namespace vantorel {

/// The area captured last, and what its display looked like then: when the display has changed
/// since, the area is not taken again.
struct RememberedRegion {
  std::string displayUUID;
  PointRect rect;  ///< from the display's top left corner
  PointSize displayPointSize;
  PixelSize displayPixelSize;
  json::Object extra;

  bool operator==(const RememberedRegion&) const = default;
  template <class V, class S>
  static void describe(V& v, S& region);
};
VT_JSON_RECORD_DECLARATION(RememberedRegion);

}  // namespace vantorel
