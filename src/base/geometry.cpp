#include "base/geometry.hpp"

#include <algorithm>

namespace vantorel {

template <class V, class S>
void PointSize::describe(V& v, S& size) {
  v.required("width", size.width);
  v.required("height", size.height);
}
VT_JSON_RECORD(PointSize)

template <class V, class S>
void PointRect::describe(V& v, S& rect) {
  v.required("x", rect.x);
  v.required("y", rect.y);
  v.required("width", rect.width);
  v.required("height", rect.height);
}
VT_JSON_RECORD(PointRect)

template <class V, class S>
void PixelSize::describe(V& v, S& size) {
  v.required("width", size.width);
  v.required("height", size.height);
}
VT_JSON_RECORD(PixelSize)

PixelRect intersection(const PixelRect& a, const PixelRect& b) {
  const int left = std::max(a.x, b.x);
  const int top = std::max(a.y, b.y);
  return {left, top, std::max(0, std::min(a.right(), b.right()) - left),
          std::max(0, std::min(a.bottom(), b.bottom()) - top)};
}

PixelRect toPixels(const PointRect& rect, double scale) {
  const auto edge = [scale](double points) {
    return static_cast<int>(std::lround(std::clamp(points * scale, -1e6, 1e6)));
  };
  const int left = edge(rect.x);
  const int top = edge(rect.y);
  const auto length = [](int from, int to, double points) {
    return points > 0 ? std::max(1, to - from) : 0;
  };
  return {left, top, length(left, edge(rect.right()), rect.width),
          length(top, edge(rect.bottom()), rect.height)};
}

}  // namespace vantorel
