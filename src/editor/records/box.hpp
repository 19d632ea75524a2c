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

/// What this build does not know of a point.
[[nodiscard]] json::Object unknownMembers(json::Cursor point);

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

/// A box as it lies in a record, with what this build does not know of it. Given another place, it
/// keeps that.
struct StoredBox : Box {
  json::Extra extra;

  StoredBox() = default;
  StoredBox(const Box& box) : Box(box) {}  // NOLINT(google-explicit-constructor)
  StoredBox& operator=(const Box& box) {
    Box::operator=(box);
    return *this;
  }

  friend bool operator==(const StoredBox& a, const StoredBox& b) {
    return a.sameAs(b) && a.extra == b.extra;
  }
  friend bool operator==(const StoredBox& a, const Box& b) { return a.sameAs(b); }
  template <class V, class S>
  static void describe(V& v, S& box);

 private:
  [[nodiscard]] bool sameAs(const Box& other) const {
    return static_cast<const Box&>(*this) == other;
  }
};
VT_JSON_RECORD_DECLARATION(StoredBox);

}  // namespace vantorel
