#include "render/scene_canvas.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

#include "render/highlight_ground.hpp"
#include "render/ink.hpp"
#include "render/tiled_surface.hpp"

namespace vantorel {
namespace {

PixelRect united(const PixelRect& a, const PixelRect& b) {
  if (a.isEmpty()) return b;
  if (b.isEmpty()) return a;
  const int left = std::min(a.x, b.x);
  const int top = std::min(a.y, b.y);
  return {left, top, std::max(a.right(), b.right()) - left, std::max(a.bottom(), b.bottom()) - top};
}

bool meet(const PixelRect& a, const PixelRect& b) { return !intersection(a, b).isEmpty(); }

double areaOf(const PixelRect& rect) { return double(rect.width) * rect.height; }

std::uint32_t opaquePixel(const Ink& ink) {
  const auto byte = [](double part) { return static_cast<std::uint32_t>(std::lround(part * 255)); };
  return 0xff000000U | byte(ink.r) << 16U | byte(ink.g) << 8U | byte(ink.b);
}

bool isSame(const std::shared_ptr<const Shape>& a, const std::shared_ptr<const Shape>& b) {
  return a == b || *a == *b;
}

PixelRect withRim(const PixelRect& area) {
  return {area.x - redactionRim, area.y - redactionRim, area.width + 2 * redactionRim,
          area.height + 2 * redactionRim};
}

/// Makes one of two areas where drawing both would not be much less.
void joinNeighbours(std::vector<PixelRect>& areas) {
  for (std::size_t i = 0; i < areas.size(); ++i) {
    for (std::size_t j = i + 1; j < areas.size();) {
      const PixelRect both = united(areas[i], areas[j]);
      if (areaOf(both) <= 1.1 * (areaOf(areas[i]) + areaOf(areas[j]))) {
        areas[i] = both;
        areas.erase(areas.begin() + static_cast<std::ptrdiff_t>(j));
        j = i + 1;
      } else {
        ++j;
      }
    }
  }
}

}  // namespace

SceneCanvas::SceneCanvas(SceneGround ground)
    : ground_(std::move(ground)), scratch_(nullptr, std::free) {
  const auto height = static_cast<std::size_t>(size().height);
  void* const bytes = std::malloc(height * stride());
  if (bytes == nullptr) throw std::bad_alloc();
  pixels_.reset(static_cast<std::uint8_t*>(bytes), std::free);
}

std::size_t SceneCanvas::stride() const { return static_cast<std::size_t>(size().width) * 4; }

std::vector<Redaction> SceneCanvas::redactionsOf(const std::vector<PlacedShape>& shapes) const {
  std::vector<Redaction> redactions;
  for (const PlacedShape& placed : shapes) {
    if (placed.shape.type != ShapeType::redact) continue;
    Redaction redaction;
    redaction.area = placed.bounds;
    redaction.style = placed.shape.redactStyle.value_or(RedactStyle::solidBox);
    redaction.color = opaquePixel(inkOf(placed.shape.color));
    redactions.push_back(redaction);
  }
  return redactions;
}

/// Fills `now`, taking over from before what did not change, and finds where marks went or came.
std::vector<PixelRect> SceneCanvas::changedAreas(const ShapeList& shapes,
                                                 std::vector<PlacedShape>& now) const {
  std::vector<PixelRect> areas;
  const PixelRect all{0, 0, size().width, size().height};
  const auto note = [&](const PixelRect& bounds) {
    const PixelRect seen = intersection(bounds, all);
    if (!seen.isEmpty()) areas.push_back(seen);
  };
  // Shapes at the same distance from the front or, behind the first change of their number, from
  // the back are compared with each other.
  const std::size_t common = std::min(shapes.size(), shapes_.size());
  std::size_t front = 0;
  if (shapes.size() == shapes_.size()) {
    front = common;
  } else {
    while (front < common && isSame(shapes[front], shapes_[front])) ++front;
  }
  std::size_t back = 0;
  while (back < common - front &&
         isSame(shapes[shapes.size() - 1 - back], shapes_[shapes_.size() - 1 - back])) {
    ++back;
  }
  now.reserve(shapes.size());
  for (std::size_t i = 0; i < shapes.size(); ++i) {
    const bool atFront = i < front;
    const bool atBack = i >= shapes.size() - back;
    const std::size_t before = atFront ? i : i + shapes_.size() - shapes.size();
    if ((atFront || atBack) && isSame(shapes[i], shapes_[before])) {
      now.push_back(placed_[before]);
      continue;
    }
    PlacedShape shape = placed(*shapes[i], ground_.toPicture, ground_.captureScale, size());
    if (shape.shape.type == ShapeType::redact) {
      // From the untamed numbers: a box of any size covers all it should.
      const Shape box = mapped(*shapes[i], ground_.toPicture);
      shape.bounds =
          coveredPixels(std::min(box.x1, box.x2), std::min(box.y1, box.y2),
                        std::max(box.x1, box.x2), std::max(box.y1, box.y2), ground_.bleed, size());
    }
    note(shape.bounds);
    if (atFront) note(placed_[before].bounds);
    now.push_back(std::move(shape));
  }
  if (shapes.size() != shapes_.size()) {
    for (std::size_t i = front; i < shapes_.size() - back; ++i) note(placed_[i].bounds);
  }
  return areas;
}

/// A highlight follows the ground below it, of which redactions leave more or less to be seen.
void SceneCanvas::adaptHighlights(std::vector<PixelRect>& areas) {
  const PixelRect all{0, 0, size().width, size().height};
  for (PlacedShape& shape : placed_) {
    if (!isHighlight(shape.shape)) continue;
    const bool isOnDark = isOnDarkGround(shape, ground_.picture, redactions_);
    if (isOnDark == shape.isOnDark) continue;
    shape.isOnDark = isOnDark;
    const PixelRect seen = intersection(shape.bounds, all);
    if (!seen.isEmpty()) areas.push_back(seen);
  }
}

/// A redaction whose rim changed looks different all over. That changes no other redaction: none
/// looks at what another one covers.
void SceneCanvas::addRedactions(std::vector<PixelRect>& areas) const {
  const std::size_t changed = areas.size();
  for (const Redaction& redaction : redactions_) {
    if (redaction.area.isEmpty() || redaction.style == RedactStyle::solidBox) continue;
    const PixelRect seen = withRim(redaction.area);
    const auto first = areas.begin();
    const auto last = first + static_cast<std::ptrdiff_t>(changed);
    const bool isTouched =
        std::any_of(first, last, [&](const PixelRect& area) { return meet(area, seen); });
    const bool isWithin = std::any_of(first, last, [&](const PixelRect& area) {
      return intersection(area, redaction.area) == redaction.area;
    });
    if (isTouched && !isWithin) areas.push_back(redaction.area);
  }
}

std::vector<PixelRect> SceneCanvas::show(const ShapeList& shapes) {
  std::vector<PlacedShape> now;
  std::vector<PixelRect> areas = changedAreas(shapes, now);
  shapes_ = shapes;
  placed_ = std::move(now);
  redactions_ = redactionsOf(placed_);
  adaptHighlights(areas);
  const PixelRect all{0, 0, size().width, size().height};
  if (!isDrawn_) {
    isDrawn_ = true;
    drawOn(pixels_.get(), all);
    return {all};
  }
  joinNeighbours(areas);
  addRedactions(areas);
  for (const PixelRect& area : areas) drawAgain(area);
  return areas;
}

void SceneCanvas::copyGround(std::uint8_t* pixels, const PixelRect& area) const {
  const bool opaque = ground_.picture.format() == PixelFormat::bgrx;
  const auto skip = static_cast<std::size_t>(area.x) * 4;
  for (int y = area.y; y < area.bottom(); ++y) {
    const std::uint8_t* const from = ground_.picture.row(y).data() + skip;
    std::uint8_t* const to = pixels + static_cast<std::size_t>(y) * stride() + skip;
    std::memcpy(to, from, static_cast<std::size_t>(area.width) * 4);
    if (!opaque) continue;
    for (int x = 0; x < area.width; ++x) to[4 * x + 3] = 255;
  }
}

/// Draws what is seen of the scene in `area`, and spoils some of `pixels` around it. A shape is cut
/// between rows alone and a row away from the area: the drawing library reckons the coverage of the
/// first and the last row of what it cuts differently, and cuts outlines at the sides inexactly.
void SceneCanvas::drawOn(std::uint8_t* pixels, const PixelRect& area) {
  // Redactions in the area need the picture in all of their rims.
  PixelRect below = area;
  for (const Redaction& redaction : redactions_) {
    if (redaction.style == RedactStyle::solidBox || !meet(redaction.area, area)) continue;
    below = united(below, withRim(redaction.area));
  }
  below = intersection(below, {0, 0, size().width, size().height});
  copyGround(pixels, below);
  TiledSurface surface(pixels, stride(), size());
  const PixelRect rows{0, below.y - 1, size().width, below.height + 2};
  auto redaction = redactions_.begin();
  for (const PlacedShape& shape : placed_) {
    if (shape.shape.type == ShapeType::redact) {
      cover(pixels, stride(), size(), *redaction++, redactions_, area);
      continue;
    }
    if (!meet(shape.bounds, below)) continue;
    surface.draw(rows, shape.bounds, [&](cairo_t* cr) { paint(cr, shape); });
  }
}

void SceneCanvas::drawAgain(const PixelRect& area) {
  if (!scratch_) {
    // Takes memory only for what is drawn on.
    void* const bytes = std::calloc(static_cast<std::size_t>(size().height), stride());
    if (bytes == nullptr) throw std::bad_alloc();
    scratch_.reset(static_cast<std::uint8_t*>(bytes));
  }
  drawOn(scratch_.get(), area);
  const std::size_t first = static_cast<std::size_t>(area.x) * 4;
  for (int y = area.y; y < area.bottom(); ++y) {
    const std::size_t start = static_cast<std::size_t>(y) * stride() + first;
    std::memcpy(pixels_.get() + start, scratch_.get() + start,
                static_cast<std::size_t>(area.width) * 4);
  }
}

Image SceneCanvas::finish() && {
  bool opaque = ground_.picture.format() == PixelFormat::bgrx;
  if (!opaque) {
    opaque = true;
    const std::size_t count = static_cast<std::size_t>(size().height) * stride();
    for (std::size_t i = 3; i < count && opaque; i += 4) opaque = pixels_.get()[i] == 255;
  }
  const std::size_t rowBytes = stride();
  return {size(), rowBytes, opaque ? PixelFormat::bgrx : PixelFormat::bgraPremultiplied,
          std::move(pixels_)};
}

}  // namespace vantorel
