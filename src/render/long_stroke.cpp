#include "render/long_stroke.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "base/geometry.hpp"
#include "editor/shape_geometry.hpp"
#include "render/tiled_surface.hpp"

namespace vantorel {
namespace {

/// A straight end: what lies behind `at`, seen along `into`, takes no ink.
struct Cut {
  Pt at;
  Pt into;

  [[nodiscard]] double share(Pt point) const {
    return (point.x - at.x) * into.x + (point.y - at.y) * into.y + 0.5;
  }
};

struct Line {
  Pt from;
  Pt to;
  Pt along;  // of length one
  double length = 0;

  Line(Pt a, Pt b) : from(a), to(b), along{1, 0}, length(distance(a, b)) {
    if (length > 0) along = {(b.x - a.x) / length, (b.y - a.y) / length};
  }
  [[nodiscard]] Pt at(double place) const {
    return {from.x + place * along.x, from.y + place * along.y};
  }
};

/// How much ink each pixel has got.
class InkMask {
 public:
  InkMask(const PixelRect& area, double width)
      : area_(area),
        reach_(width / 2 + 0.5),
        surface_(cairo_image_surface_create(CAIRO_FORMAT_A8, area.width, area.height)),
        bytes_(cairo_image_surface_get_data(surface_.get())),
        stride_(cairo_image_surface_get_stride(surface_.get())) {}

  /// From the middle of a line, the farthest pixels that it inks.
  [[nodiscard]] double reach() const { return reach_; }
  [[nodiscard]] const PixelRect& area() const { return area_; }

  /// Inks a line with round ends, less what the cuts take off.
  void add(const Line& line, const std::optional<Cut>& first, const std::optional<Cut>& last) {
    const double top = std::min(line.from.y, line.to.y) - reach_;
    const double bottom = std::max(line.from.y, line.to.y) + reach_;
    const int end = whole(std::ceil(bottom), area_.y, area_.bottom());
    for (int y = whole(std::floor(top), area_.y, area_.bottom()); y < end; ++y) {
      addRow(line, y, first, last);
    }
  }

  void paint(cairo_t* cr) {
    cairo_surface_mark_dirty(surface_.get());
    cairo_mask_surface(cr, surface_.get(), area_.x, area_.y);
  }

 private:
  static int whole(double value, int least, int most) {
    return static_cast<int>(std::clamp(value, double(least), double(most)));
  }

  void addRow(const Line& line, int y, const std::optional<Cut>& first,
              const std::optional<Cut>& last) {
    const double middle = y + 0.5;
    double left = 1e30;
    double right = -1e30;
    const auto hold = [&](double x) {
      left = std::min(left, x);
      right = std::max(right, x);
    };
    for (const Pt end : {line.from, line.to}) {
      const double dy = middle - end.y;
      const double square = reach_ * reach_ - dy * dy;
      if (square <= 0) continue;
      const double dx = std::sqrt(square);
      hold(end.x - dx);
      hold(end.x + dx);
    }
    if (line.along.y != 0) {
      for (const double side : {-reach_, reach_}) {
        const Pt start{line.from.x - side * line.along.y, line.from.y + side * line.along.x};
        const double place = (middle - start.y) / line.along.y;
        if (place >= 0 && place <= line.length) hold(start.x + place * line.along.x);
      }
    }
    if (left > right) return;
    const int end = whole(std::ceil(right), area_.x, area_.right());
    std::uint8_t* const row = bytes_ + static_cast<std::ptrdiff_t>(y - area_.y) * stride_ - area_.x;
    const double dy = middle - line.from.y;
    for (int x = whole(std::floor(left), area_.x, area_.right()); x < end; ++x) {
      if (row[x] == 255) continue;
      const double dx = x + 0.5 - line.from.x;
      const double place = dx * line.along.x + dy * line.along.y;
      const double beside = dx * line.along.y - dy * line.along.x;
      const double beyond = place < 0 ? place : std::max(place - line.length, 0.0);
      const double away = beyond == 0 ? std::abs(beside) : std::hypot(beside, beyond);
      double share = reach_ - away;
      if (first) share = std::min(share, first->share({x + 0.5, middle}));
      if (last) share = std::min(share, last->share({x + 0.5, middle}));
      const auto value = static_cast<std::uint8_t>(std::clamp(share, 0.0, 1.0) * 255 + 0.5);
      row[x] = std::max(row[x], value);
    }
  }

  PixelRect area_;
  double reach_;
  CairoSurface surface_;
  std::uint8_t* bytes_;
  std::ptrdiff_t stride_;
};

/// The part of a line, in pixels from its start, that lies near `area`; nothing when none does.
std::optional<std::pair<double, double>> partNear(const Line& line, const PixelRect& area,
                                                  double margin) {
  double first = 0;
  double last = line.length;
  const auto limit = [&](double from, double along, double least, double most) {
    if (along == 0) {
      if (from < least || from > most) last = -1;
      return;
    }
    const double a = (least - from) / along;
    const double b = (most - from) / along;
    first = std::max(first, std::min(a, b));
    last = std::min(last, std::max(a, b));
  };
  limit(line.from.x, line.along.x, area.x - margin, area.right() + margin);
  limit(line.from.y, line.along.y, area.y - margin, area.bottom() + margin);
  if (first > last) return std::nullopt;
  return std::pair(first, last);
}

/// Lines one behind the other, and places on them by their distance from the start.
class Dashes {
 public:
  explicit Dashes(const LongStroke& stroke)
      : dash_(stroke.dash), period_(stroke.dash + stroke.gap) {
    double length = 0;
    for (std::size_t i = 0; i + 1 < stroke.points.size(); ++i) {
      lines_.emplace_back(stroke.points[i], stroke.points[i + 1]);
      starts_.push_back(length);
      length += lines_.back().length;
    }
    starts_.push_back(length);
  }

  void add(InkMask& mask) const {
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      // Room for the ends of dashes whose middles are outside.
      const auto near = partNear(lines_[i], mask.area(), mask.reach() + 1);
      if (near) addLine(i, starts_[i] + near->first, starts_[i] + near->second, mask);
    }
  }

 private:
  void addLine(std::size_t i, double from, double to, InkMask& mask) const {
    const double last = std::floor(to / period_);
    for (double number = std::floor(from / period_); number <= last; ++number) {
      const double begin = number * period_;
      const double end = begin + dash_;
      const double first = std::max(begin, starts_[i]);
      const double behind = std::min(end, starts_[i + 1]);
      if (first > behind) continue;
      // Round joints would look out of the ends that are near.
      std::optional<Cut> cuts[2];
      if (first - begin <= mask.reach()) cuts[0] = cutAt(begin, i, 1);
      if (end - behind <= mask.reach()) cuts[1] = cutAt(end, i, -1);
      mask.add({lines_[i].at(first - starts_[i]), lines_[i].at(behind - starts_[i])}, cuts[0],
               cuts[1]);
    }
  }

  [[nodiscard]] Cut cutAt(double place, std::size_t i, double way) const {
    while (i > 0 && starts_[i] > place) --i;
    while (i + 1 < lines_.size() && starts_[i + 1] < place) ++i;
    const Line& line = lines_[i];
    return {line.at(std::min(place - starts_[i], line.length)),
            {way * line.along.x, way * line.along.y}};
  }

  double dash_;
  double period_;
  std::vector<Line> lines_;
  std::vector<double> starts_;  // one more than there are lines
};

}  // namespace

void ink(cairo_t* cr, const LongStroke& stroke) {
  double left = 0;
  double top = 0;
  double right = 0;
  double bottom = 0;
  cairo_clip_extents(cr, &left, &top, &right, &bottom);
  const Box around = grown(boundsOf(stroke.points), stroke.width / 2 + 1);
  const PixelRect area =
      intersection(pixelsAround({left, top, right - left, bottom - top}), pixelsAround(around));
  if (area.isEmpty() || stroke.points.empty()) return;
  InkMask mask(area, stroke.width);
  if (stroke.dash > 0) {
    Dashes(stroke).add(mask);
  } else if (stroke.points.size() == 1) {
    mask.add({stroke.points[0], stroke.points[0]}, {}, {});
  } else {
    for (std::size_t i = 0; i + 1 < stroke.points.size(); ++i) {
      const Line line(stroke.points[i], stroke.points[i + 1]);
      if (partNear(line, mask.area(), mask.reach() + 1)) mask.add(line, {}, {});
    }
  }
  mask.paint(cr);
}

}  // namespace vantorel
