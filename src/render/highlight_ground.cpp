#include "render/highlight_ground.hpp"

#include <algorithm>
#include <cmath>

namespace vantorel {
namespace {

constexpr int samplesAcross = 24;
constexpr int samplesAlong = 128;

std::vector<Pt> samplesOf(const Shape& shape) {
  std::vector<Pt> samples;
  if (shape.type == ShapeType::highlightRect) {
    const Box frame = frameOf(shape);
    for (int row = 0; row < samplesAcross; ++row) {
      for (int column = 0; column < samplesAcross; ++column) {
        samples.push_back({frame.x + frame.w * (column + 0.5) / samplesAcross,
                           frame.y + frame.h * (row + 0.5) / samplesAcross});
      }
    }
    return samples;
  }
  if (shape.points.empty()) return samples;
  const double reach = std::max(shape.width, 1.0) * highlighterWidening / 3;
  const double last = double(shape.points.size() - 1);
  for (int i = 0; i < samplesAlong; ++i) {
    const double place = last * i / (samplesAlong - 1);
    const auto before = static_cast<std::size_t>(place);
    const Pt a = shape.points[before];
    const Pt b = shape.points[std::min(before + 1, shape.points.size() - 1)];
    const double t = place - double(before);
    for (const double aside : {-reach, 0.0, reach}) {
      samples.push_back({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y) + aside});
    }
  }
  return samples;
}

bool isIn(const PixelRect& rect, int x, int y) {
  return x >= rect.x && x < rect.right() && y >= rect.y && y < rect.bottom();
}

}  // namespace

bool isOnDarkGround(const PlacedShape& highlight, const Image& picture,
                    const std::vector<Redaction>& redactions) {
  std::vector<PixelRect> covered;
  for (const Redaction& redaction : redactions) {
    const PixelRect part = intersection(redaction.area, highlight.bounds);
    if (!part.isEmpty()) covered.push_back(part);
  }
  int dark = 0;
  int light = 0;
  for (const Pt sample : samplesOf(highlight.shape)) {
    const int x = static_cast<int>(std::floor(sample.x));
    const int y = static_cast<int>(std::floor(sample.y));
    if (!isIn({0, 0, picture.width(), picture.height()}, x, y)) continue;
    if (std::ranges::any_of(covered, [&](const PixelRect& rect) { return isIn(rect, x, y); })) {
      continue;
    }
    const auto pixel = picture.row(y).subspan(static_cast<std::size_t>(x) * 4, 4);
    const int white = picture.format() == PixelFormat::bgrx ? 0 : 255 - pixel[3];
    const int brightness = (114 * pixel[0] + 587 * pixel[1] + 299 * pixel[2]) / 1000 + white;
    ++(brightness < 128 ? dark : light);
  }
  return dark > light;
}

}  // namespace vantorel
