#pragma once

#include <cmath>

#include "base/json_record.hpp"

namespace vantorel {

/// A size in display points. A point is one pixel at scale 1.
struct PointSize {
  double width = 0;
  double height = 0;

  bool operator==(const PointSize&) const = default;
  template <class V, class S>
  static void describe(V& v, S& size);
};
VT_JSON_RECORD_DECLARATION(PointSize);

/// A rectangle in display points, origin at the top left, y downwards. Global or local to one
/// display: the name of the variable says which.
struct PointRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  [[nodiscard]] double right() const { return x + width; }
  [[nodiscard]] double bottom() const { return y + height; }
  [[nodiscard]] bool contains(double px, double py) const {
    return px >= x && py >= y && px < right() && py < bottom();
  }

  bool operator==(const PointRect&) const = default;
  template <class V, class S>
  static void describe(V& v, S& rect);
};
VT_JSON_RECORD_DECLARATION(PointRect);

/// A size in device pixels.
struct PixelSize {
  int width = 0;
  int height = 0;

  bool operator==(const PixelSize&) const = default;
  template <class V, class S>
  static void describe(V& v, S& size);
};
VT_JSON_RECORD_DECLARATION(PixelSize);

/// A rectangle in device pixels, origin at the top left, y downwards.
struct PixelRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  [[nodiscard]] int right() const { return x + width; }
  [[nodiscard]] int bottom() const { return y + height; }
  [[nodiscard]] bool isEmpty() const { return width <= 0 || height <= 0; }

  bool operator==(const PixelRect&) const = default;
};

/// The common part of two rectangles; empty (of no width or height) when there is none.
[[nodiscard]] PixelRect intersection(const PixelRect& a, const PixelRect& b);

/// `rect` in pixels at `scale` pixels per point, each edge rounded to the nearest pixel, so that
/// neighbouring rectangles stay neighbours. At least one pixel each way when `rect` is not empty.
[[nodiscard]] PixelRect toPixels(const PointRect& rect, double scale);

}  // namespace vantorel
