#include "render/dashes.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "editor/shape_geometry.hpp"

namespace vantorel {
namespace {

struct Wanted {
  double dash = 0;
  double gap = 0;

  explicit Wanted(double width) : dash(std::max(3 * width, 6.0)), gap(std::max(2 * width, 4.0)) {}
  [[nodiscard]] double both() const { return dash + gap; }
};

struct Length {
  double pixels = 0;
  bool isClosed = false;
};

Length lengthOfPath(cairo_t* cr) {
  const std::unique_ptr<cairo_path_t, decltype(&cairo_path_destroy)> path(cairo_copy_path_flat(cr),
                                                                          cairo_path_destroy);
  Length length;
  Pt start;
  Pt at;
  for (int i = 0; i < path->num_data; i += path->data[i].header.length) {
    const cairo_path_data_t* const part = path->data + i;
    switch (part->header.type) {
      case CAIRO_PATH_MOVE_TO: start = at = {part[1].point.x, part[1].point.y}; break;
      case CAIRO_PATH_LINE_TO: {
        const Pt next{part[1].point.x, part[1].point.y};
        length.pixels += distance(at, next);
        at = next;
        break;
      }
      case CAIRO_PATH_CLOSE_PATH:
        length.pixels += distance(at, start);
        at = start;
        length.isClosed = true;
        break;
      case CAIRO_PATH_CURVE_TO: break;  // a flat path has none
    }
  }
  return length;
}

void set(cairo_t* cr, const std::vector<double>& dashes) {
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
  cairo_set_dash(cr, dashes.data(), static_cast<int>(dashes.size()), 0);
}

}  // namespace

void setDashesAlongPath(cairo_t* cr, double width) {
  const Wanted wanted(width);
  const Length length = lengthOfPath(cr);
  // An open path has a gap less than it has dashes.
  const double lastGap = length.isClosed ? 0 : wanted.gap;
  const double count = std::round((length.pixels + lastGap) / wanted.both());
  if (count < 2) {
    set(cr, {});
    return;
  }
  const double fit = length.pixels / (count * wanted.both() - lastGap);
  set(cr, {wanted.dash * fit, wanted.gap * fit});
}

void setDashesAlongSides(cairo_t* cr, const std::vector<Pt>& corners, double width) {
  const Wanted wanted(width);
  std::vector<double> dashes;
  double dash = 0;  // the one at hand, begun on the side before
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const double side = distance(corners[i], corners[(i + 1) % corners.size()]);
    const auto count = static_cast<int>(std::round(side / wanted.both()));
    if (count == 0) {
      dash += side;
      continue;
    }
    const double fit = side / (count * wanted.both());
    dash += fit * wanted.dash / 2;
    for (int n = 0; n < count; ++n) {
      dashes.push_back(dash);
      dashes.push_back(fit * wanted.gap);
      dash = fit * wanted.dash;
    }
    dash /= 2;
  }
  if (!dashes.empty()) {
    // The last half dash meets the first one at the corner where the outline closes.
    dashes.push_back(dash);
    dashes.push_back(0);
  }
  set(cr, dashes);
}

}  // namespace vantorel
