#include "render/scene_canvas.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <unordered_map>
#include <utility>

#include "base/pixel_memory.hpp"
#include "render/change_areas.hpp"
#include "render/highlight_ground.hpp"
#include "render/ink.hpp"
#include "render/tiled_surface.hpp"

namespace vantorel {
namespace {

constexpr double mostScratch = 16e6;  // bytes
constexpr double mostBelow = 24e6;

double areaOf(const PixelRect& rect) { return double(rect.width) * rect.height; }

std::uint32_t opaquePixel(const Ink& ink) {
  const auto byte = [](double part) { return static_cast<std::uint32_t>(std::lround(part * 255)); };
  return 0xff000000U | byte(ink.r) << 16U | byte(ink.g) << 8U | byte(ink.b);
}

/// Whether the byte without meaning says so as well.
bool isOpaqueRow(const std::uint8_t* pixels, int width) {
  unsigned all = 255;
  for (std::ptrdiff_t x = 0; x < width; ++x) all &= pixels[4 * x + 3];
  return all == 255;
}

PixelRect withRim(const PixelRect& area) {
  return {area.x - redactionRim, area.y - redactionRim, area.width + 2 * redactionRim,
          area.height + 2 * redactionRim};
}

}  // namespace

SceneCanvas::SceneCanvas(SceneGround ground)
    : ground_(std::move(ground)), scratch_(nullptr, std::free) {
  const std::size_t bytes = static_cast<std::size_t>(size().height) * stride();
  if (ground_.picture.stride() == stride()) {
    pixels_ = shareUntilWritten(ground_.picture.row(0).data(), bytes);
  }
  sharesGround_ = pixels_ != nullptr;
  if (!sharesGround_) pixels_ = makePixelMemory(bytes);
}

std::size_t SceneCanvas::stride() const { return static_cast<std::size_t>(size().width) * 4; }

Redaction SceneCanvas::redactionOf(const Shape& shape) const {
  // From the untamed numbers: a box of any size covers all it should.
  const Shape box = mapped(shape, ground_.toPicture);
  Redaction redaction;
  redaction.area =
      coveredPixels(std::min(box.x1, box.x2), std::min(box.y1, box.y2), std::max(box.x1, box.x2),
                    std::max(box.y1, box.y2), ground_.bleed, size());
  redaction.style = shape.redactStyle.value_or(RedactStyle::solidBox);
  redaction.color = opaquePixel(inkOf(shape.color));
  return redaction;
}

std::shared_ptr<SceneCanvas::Mark> SceneCanvas::markOf(
    const std::shared_ptr<const Shape>& shape) const {
  auto mark = std::make_shared<Mark>();
  mark->shape = shape;
  mark->placed = placed(*shape, ground_.toPicture, ground_.captureScale, size());
  if (shape->type == ShapeType::redact) {
    mark->cover = std::make_unique<Cover>(redactionOf(*shape));
    mark->cover->look = RedactionLook(mark->cover->redaction, mark->cover->rim);
    mark->placed.bounds = mark->cover->redaction.area;
  }
  return mark;
}

/// Brings `marks_` up to `shapes`, keeping what did not change, and gives the areas where marks
/// came, went or passed one another.
SceneCanvas::Changes SceneCanvas::takeOver(const ShapeList& shapes) {
  Changes changes;
  const PixelRect all{0, 0, size().width, size().height};
  const auto note = [&](const Mark& mark) {
    const PixelRect seen = intersection(mark.placed.bounds, all);
    if (!seen.isEmpty()) changes.areas.push_back(seen);
  };
  const auto noteSet = [&](const Mark& mark) {
    if (mark.cover && !mark.cover->redaction.area.isEmpty()) {
      changes.redacted.push_back(mark.cover->redaction.area);
    }
  };
  const auto isKept = [&](std::size_t before, std::size_t now) {
    Mark& mark = *marks_[before];
    if (mark.shape == shapes[now]) return true;
    if (*mark.shape != *shapes[now]) return false;
    mark.shape = shapes[now];
    return true;
  };
  const std::size_t common = std::min(shapes.size(), marks_.size());
  std::size_t front = 0;
  while (front < common && isKept(front, front)) ++front;
  if (front == shapes.size() && front == marks_.size()) return changes;
  std::size_t back = 0;
  while (back < common - front && isKept(marks_.size() - 1 - back, shapes.size() - 1 - back)) {
    ++back;
  }
  const std::size_t oldEnd = marks_.size() - back;
  const std::size_t newEnd = shapes.size() - back;
  std::unordered_map<const Shape*, std::size_t> places;
  for (std::size_t i = front; i < oldEnd; ++i) places.emplace(marks_[i]->shape.get(), i);
  Marks middle;
  std::vector<std::size_t> old;          // where those that were there before were
  std::vector<std::size_t> oldInMiddle;  // and are now
  for (std::size_t i = front; i < newEnd; ++i) {
    const auto found = places.find(shapes[i].get());
    if (found == places.end()) {
      middle.push_back(markOf(shapes[i]));
      note(*middle.back());
      noteSet(*middle.back());
      continue;
    }
    old.push_back(found->second);
    oldInMiddle.push_back(middle.size());
    middle.push_back(marks_[found->second]);
    places.erase(found);
  }
  for (const auto& [shape, place] : places) {
    note(*marks_[place]);
    noteSet(*marks_[place]);
  }
  changes.lowest = front;
  changes.isOne = oldEnd == front + 1 && newEnd == front + 1 && old.empty() &&
                  !marks_[front]->cover && !middle.front()->cover;
  const std::vector<bool> stays = longestAscent(old);
  for (std::size_t i = 0; i < old.size(); ++i) {
    if (stays[i]) continue;
    middle[oldInMiddle[i]]->isFresh = true;
    note(*middle[oldInMiddle[i]]);
  }
  const auto at = [this](std::size_t i) { return marks_.begin() + static_cast<std::ptrdiff_t>(i); };
  if (middle.size() == oldEnd - front) {
    std::ranges::move(middle, at(front));
  } else {
    marks_.erase(at(front), at(oldEnd));
    marks_.insert(at(front), std::make_move_iterator(middle.begin()),
                  std::make_move_iterator(middle.end()));
  }
  bounds_.resize(marks_.size());
  redactions_.clear();
  for (std::size_t i = 0; i < marks_.size(); ++i) {
    bounds_[i] = marks_[i]->placed.bounds;
    if (marks_[i]->cover) redactions_.push_back(marks_[i]->cover->redaction);
  }
  return changes;
}

/// A highlight follows the ground below it, of which redactions leave more or less to be seen.
void SceneCanvas::adaptHighlights(Changes& changes) {
  const PixelRect all{0, 0, size().width, size().height};
  for (const auto& mark : marks_) {
    PlacedShape& shape = mark->placed;
    if (!isHighlight(shape.shape)) continue;
    const auto isBelow = [&](const PixelRect& area) { return meet(area, shape.bounds); };
    if (!mark->isFresh && std::ranges::none_of(changes.redacted, isBelow) &&
        std::ranges::none_of(changes.ground, isBelow)) {
      continue;
    }
    const bool isOnDark = isOnDarkGround(shape, ground_.picture, redactions_);
    if (std::exchange(shape.isOnDark, isOnDark) == isOnDark) continue;
    const PixelRect seen = intersection(shape.bounds, all);
    if (!seen.isEmpty()) changes.areas.push_back(seen);
  }
}

/// What has to be drawn for areas that changed. A redaction looks different where something at its
/// rim changed; that changes no other redaction, as none looks at what another one covers.
std::vector<SceneCanvas::Patch> SceneCanvas::patchesFor(const std::vector<PixelRect>& areas,
                                                        std::size_t lowest) const {
  std::vector<Patch> patches;
  patches.reserve(areas.size());
  for (const PixelRect& area : areas) patches.push_back({area, area, {}});
  const PixelRect all{0, 0, size().width, size().height};
  for (std::size_t i = lowest; i < marks_.size(); ++i) {
    const Cover* const cover = marks_[i]->cover.get();
    if (cover == nullptr || cover->redaction.area.isEmpty() ||
        cover->redaction.style == RedactStyle::solidBox) {
      continue;
    }
    const PixelRect seen = withRim(cover->redaction.area);
    if (std::ranges::none_of(areas, [&](const PixelRect& area) { return meet(area, seen); })) {
      continue;
    }
    const auto own = std::ranges::find_if(
        patches, [&](const Patch& patch) { return holds(patch.area, cover->redaction.area); });
    for (int piece = 0; piece < RedactionRim::pieces; ++piece) {
      const PixelRect rect = intersection(cover->rim.piece(piece), all);
      if (rect.isEmpty()) continue;
      auto patch = own;
      if (!marks_[i]->isFresh) {
        patch =
            std::ranges::find_if(patches, [&](const Patch& one) { return meet(one.area, rect); });
      }
      if (patch == patches.end()) continue;
      patch->drawn = united(patch->drawn, rect);
      patch->samples.push_back({i, piece});
    }
  }
  return patches;
}

std::vector<PixelRect> SceneCanvas::show(const ShapeList& shapes) { return draw(takeOver(shapes)); }

std::vector<PixelRect> SceneCanvas::patchGround(const Image& patch, int x, int y,
                                                const ShapeList& shapes) {
  if (!ownGround_) {
    ownGround_ = makePixelMemory(static_cast<std::size_t>(size().height) * stride());
    for (int row = 0; row < size().height; ++row) {
      std::ranges::copy(ground_.picture.row(row),
                        ownGround_.get() + static_cast<std::size_t>(row) * stride());
    }
    ground_.picture = Image(size(), stride(), ground_.picture.format(), ownGround_);
  }
  const PixelRect all{0, 0, size().width, size().height};
  const PixelRect area = intersection({x, y, patch.width(), patch.height()}, all);
  for (int row = area.y; row < area.bottom(); ++row) {
    std::memcpy(ownGround_.get() + static_cast<std::size_t>(row) * stride() +
                    static_cast<std::size_t>(area.x) * 4,
                patch.row(row - y).data() + std::ptrdiff_t{4} * (area.x - x),
                static_cast<std::size_t>(std::max(area.width, 0)) * 4);
  }
  Changes changes = takeOver(shapes);
  if (!area.isEmpty()) {
    changes.areas.push_back(area);
    changes.ground.push_back(area);
    changes.lowest = 0;
    changes.isOne = false;
  }
  return draw(std::move(changes));
}

std::vector<PixelRect> SceneCanvas::draw(Changes changes) {
  if (changes.areas.empty() && changes.redacted.empty() && isDrawn_) return {};
  adaptHighlights(changes);
  followLifted(changes);
  // Where redactions came or went, all others may see more or less.
  const std::size_t lowest = changes.redacted.empty() ? changes.lowest : 0;
  const PixelRect all{0, 0, size().width, size().height};
  std::vector<std::size_t> stale;
  std::vector<PixelRect> areas;
  if (!isDrawn_) {
    isDrawn_ = true;
    areas = {all};
    drawOn(pixels_.get(), patchesFor(areas, lowest).front(), stale);
  } else {
    areas = joined(std::move(changes.areas), size());
    for (const Patch& patch : patchesFor(areas, lowest)) {
      if (below_) {
        copyBelow(patch.drawn);
        drawMarks(scratch(), patch, below_->mark, marks_.size(), stale);
      } else {
        drawOn(scratch(), patch, stale);
      }
      copyBack(patch.area);
    }
  }
  std::vector<PixelRect> again;
  for (const std::size_t mark : stale) again.push_back(bounds_[mark]);
  // Each for itself shows nothing of what it covers; together, what lies above is drawn once.
  std::vector<PixelRect> together = joined(again, size());
  if (marksIn(together) < marksIn(again)) again = std::move(together);
  for (const PixelRect& area : again) {
    drawOn(scratch(), {area, area, {}}, stale);
    copyBack(area);
    areas.push_back(area);
  }
  for (const auto& mark : marks_) mark->isFresh = false;
  // What was drawn on holds memory.
  if (scratchUsed_ > mostScratch) {
    scratch_.reset();
    scratchUsed_ = 0;
  }
  return areas;
}

void SceneCanvas::copyGround(std::uint8_t* pixels, const PixelRect& area) const {
  const bool isThere = sharesGround_ && pixels == pixels_.get();  // drawn on for the first time
  const bool opaque = ground_.picture.format() == PixelFormat::bgrx;
  const auto skip = static_cast<std::size_t>(area.x) * 4;
  for (int y = area.y; y < area.bottom(); ++y) {
    const std::uint8_t* const from = ground_.picture.row(y).data() + skip;
    std::uint8_t* const to = pixels + static_cast<std::size_t>(y) * stride() + skip;
    if (isThere) {
      if (!opaque || isOpaqueRow(from, area.width)) continue;
    } else {
      std::memcpy(to, from, static_cast<std::size_t>(area.width) * 4);
      if (!opaque) continue;
    }
    for (int x = 0; x < area.width; ++x) to[4 * x + 3] = 255;
  }
}

/// Whether the mark that changes is the one that did before, so that keeping what lies below it
/// pays.
void SceneCanvas::followLifted(const Changes& changes) {
  double pixels = 0;
  for (const PixelRect& area : changes.areas) pixels += areaOf(area);
  if (!changes.isOne || changes.areas.empty() || pixels * 4 > mostBelow / 2) {
    lifted_.reset();
    below_.reset();
  } else if (below_ && double(std::ranges::count(below_->isThere, true)) * tileBytes > mostBelow) {
    below_.reset();
  } else if (lifted_ != changes.lowest) {
    lifted_ = changes.lowest;
    below_.reset();
  } else if (!below_ && *lifted_ > 0) {
    std::unique_ptr<std::uint8_t, void (*)(void*)> kept(
        static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(size().height), stride())),
        std::free);
    if (kept) below_.emplace(*lifted_, std::move(kept), std::vector<bool>(tileCount(size())));
  }
}

/// Brings what lies below the lifted mark to the scratch, and draws first what is not there yet.
void SceneCanvas::copyBelow(const PixelRect& area) {
  std::vector<std::size_t> none;
  for (const PixelRect& part : missingTiles(below_->isThere, area, size())) {
    copyGround(scratch(), part);
    drawMarks(scratch(), {part, part, {}}, 0, below_->mark, none);
    copyRows(scratch(), below_->pixels.get(), part);
  }
  copyRows(below_->pixels.get(), scratch(), area);
}

void SceneCanvas::copyRows(const std::uint8_t* from, std::uint8_t* to,
                           const PixelRect& area) const {
  const std::size_t first = static_cast<std::size_t>(area.x) * 4;
  for (int y = area.y; y < area.bottom(); ++y) {
    const std::size_t start = static_cast<std::size_t>(y) * stride() + first;
    std::memcpy(to + start, from + start, static_cast<std::size_t>(area.width) * 4);
  }
}

/// The redaction below which nothing is seen of an area, or the lowest mark.
std::size_t SceneCanvas::lowestIn(const PixelRect& area) const {
  for (std::size_t i = marks_.size(); i-- > 0;) {
    if (marks_[i]->cover && holds(bounds_[i], area)) return i;
  }
  return 0;
}

/// How many marks have to be drawn for these areas.
std::size_t SceneCanvas::marksIn(const std::vector<PixelRect>& areas) const {
  std::size_t count = 0;
  for (const PixelRect& area : areas) {
    for (std::size_t i = lowestIn(area); i < marks_.size(); ++i) {
      if (meet(bounds_[i], area)) ++count;
    }
  }
  return count;
}

/// Draws what is seen of the scene in a patch, and spoils some of `pixels` around it.
void SceneCanvas::drawOn(std::uint8_t* pixels, const Patch& patch,
                         std::vector<std::size_t>& stale) {
  const std::size_t first = patch.samples.empty() ? lowestIn(patch.drawn) : 0;
  if (first == 0) copyGround(pixels, patch.drawn);
  drawMarks(pixels, patch, first, marks_.size(), stale);
}

/// Draws marks in a patch, over what is there. A shape is cut between rows alone and a row away
/// from the patch: the drawing library reckons the coverage of the first and the last row of what
/// it cuts differently, and cuts outlines at the sides inexactly. Adds the redactions to `stale`
/// that look different now, and whose area is not all in the patch.
void SceneCanvas::drawMarks(std::uint8_t* pixels, const Patch& patch, std::size_t from,
                            std::size_t to, std::vector<std::size_t>& stale) {
  const PixelRect& area = patch.drawn;
  TiledSurface surface(pixels, stride(), size());
  const PixelRect rows{0, area.y - 1, size().width, area.height + 2};
  auto sample = patch.samples.begin();
  for (std::size_t i = from; i < to; ++i) {
    const bool isSampled = sample != patch.samples.end() && sample->mark == i;
    if (!isSampled && !meet(bounds_[i], area)) continue;
    Cover* const cover = marks_[i]->cover.get();
    if (cover == nullptr) {
      surface.draw(rows, bounds_[i], [&](cairo_t* cr) { paint(cr, marks_[i]->placed); });
      continue;
    }
    bool isChanged = false;
    for (; sample != patch.samples.end() && sample->mark == i; ++sample) {
      isChanged =
          cover->rim.sample(sample->piece, pixels, stride(), size(), redactions_) || isChanged;
    }
    if (isChanged) {
      cover->look = RedactionLook(cover->redaction, cover->rim);
      if (!holds(patch.area, bounds_[i])) stale.push_back(i);
    }
    cover->look.draw(pixels, stride(), area);
  }
}

std::uint8_t* SceneCanvas::scratch() {
  if (!scratch_) {
    // Takes memory only for what is drawn on.
    void* const bytes = std::calloc(static_cast<std::size_t>(size().height), stride());
    if (bytes == nullptr) throw std::bad_alloc();
    scratch_.reset(static_cast<std::uint8_t*>(bytes));
  }
  return scratch_.get();
}

void SceneCanvas::copyBack(const PixelRect& area) {
  scratchUsed_ += areaOf(area) * 4;
  copyRows(scratch_.get(), pixels_.get(), area);
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
