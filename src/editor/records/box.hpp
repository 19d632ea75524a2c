#pragma once

#include "base/json_record.hpp"

namespace vantorel {

/// A point in image pixels, origin at the top left, y downwards.
struct Pt {
  double x = 0;
  double y = 0;

  bool operator==(const Pt&) const = default;
  template <class V, class S>
  static void describe(V& v, S& point);
};
VT_JSON_RECORD_DECLARATION(Pt);

/// An upright rectangle in image pixels. `x` and `y` are its top left corner.
struct Box {
  double x = 0;
  double y = 0;
  double w = 0;
  double h = 0;

  [[nodiscard]] double right() const { return x + w; }
  [[nodiscard]] double bottom() const { return y + h; }

  bool operator==(const Box&) const = default;
  template <class V, class S>
  static void describe(V& v, S& box);
};
VT_JSON_RECORD_DECLARATION(Box);

}  // namespace vantorel
