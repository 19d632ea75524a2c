#include "editor/shapes_delta.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>
#include <unordered_map>

namespace vantorel {
namespace {

constexpr std::array fixedCoordinates{&Shape::x1, &Shape::y1, &Shape::x2,
                                      &Shape::y2, &Shape::x,  &Shape::y};

/// Neighbouring doubles have neighbouring numbers, so that a rounding error is a small difference.
std::uint64_t rank(double value) {
  constexpr std::uint64_t sign = std::uint64_t{1} << 63;
  const auto bits = std::bit_cast<std::uint64_t>(value);
  return (bits & sign) != 0 ? ~bits : bits | sign;
}

double ofRank(std::uint64_t rank) {
  constexpr std::uint64_t sign = std::uint64_t{1} << 63;
  return std::bit_cast<double>((rank & sign) != 0 ? rank & ~sign : ~rank);
}

void appendNumber(std::string& bytes, std::uint64_t number) {
  for (; number >= 0x80; number >>= 7) bytes += static_cast<char>(number | 0x80);
  bytes += static_cast<char>(number);
}

std::uint64_t readNumber(std::string_view bytes, std::size_t& at) {
  std::uint64_t number = 0;
  for (int shift = 0;; shift += 7) {
    const auto byte = static_cast<unsigned char>(bytes[at++]);
    number |= std::uint64_t{byte & 0x7Fu} << shift;
    if (byte < 0x80) return number;
  }
}

/// The distance between the value and what was guessed, small for good guesses either way.
void appendCorrection(std::string& bytes, double guess, double value) {
  const auto difference = static_cast<std::int64_t>(rank(value) - rank(guess));
  appendNumber(bytes, (static_cast<std::uint64_t>(difference) << 1) ^
                          static_cast<std::uint64_t>(difference >> 63));
}

double corrected(double guess, std::string_view bytes, std::size_t& at) {
  const std::uint64_t folded = readNumber(bytes, at);
  return ofRank(rank(guess) + ((folded >> 1) ^ (~(folded & 1) + 1)));
}

/// What shapes of one style have in common.
Shape lookFrom(const Shape& shape) {
  Shape look = shape;
  for (const auto coordinate : fixedCoordinates) look.*coordinate = 0;
  look.id.clear();
  look.points.clear();
  look.text.clear();
  look.number.reset();
  look.layerId.reset();
  return look;
}

/// `look` on everything else of `shape`.
Shape dressed(const Shape& shape, const Shape& look) {
  Shape result = look;
  for (const auto coordinate : fixedCoordinates) result.*coordinate = shape.*coordinate;
  result.id = shape.id;
  result.points = shape.points;
  result.text = shape.text;
  result.number = shape.number;
  result.layerId = shape.layerId;
  return result;
}

/// A point that moves when the shape does.
Pt anchorOf(const Shape& shape) {
  if (!shape.points.empty()) return shape.points.front();
  if (shape.x1 != 0 || shape.y1 != 0) return {shape.x1, shape.y1};
  return {shape.x, shape.y};
}

bool isSame(const std::shared_ptr<const Shape>& a, const std::shared_ptr<const Shape>& b) {
  return a == b || *a == *b;
}

}  // namespace

ShapesDelta::ShapesDelta(const ShapeList& from, const ShapeList& to) {
  std::unordered_map<std::string_view, std::size_t> places;
  places.reserve(from.size());
  for (std::size_t i = 0; i < from.size(); ++i) places.emplace(from[i]->id, i);
  bool shiftIsKnown = false;
  for (std::size_t i = 0; i < to.size(); ++i) {
    // Mostly nothing has changed its place.
    std::size_t place = i;
    if (place >= from.size() || from[place]->id != to[i]->id) {
      const auto found = places.find(to[i]->id);
      place = found == places.end() ? from.size() : found->second;
    }
    if (place == from.size()) {
      add(Kind::own, 0);
      own_.push_back(to[i]);
      continue;
    }
    const Shape& before = *from[place];
    const Shape& after = *to[i];
    if (isSame(from[place], to[i])) {
      add(Kind::same, place);
      continue;
    }
    if (!shiftIsKnown) {
      const Pt start = anchorOf(before);
      const Pt end = anchorOf(after);
      shift_ = {end.x - start.x, end.y - start.y};
      shiftIsKnown = true;
    }
    if (tryChange(before, after)) {
      add(Kind::changed, place);
    } else {
      add(Kind::own, 0);
      own_.push_back(to[i]);
    }
  }
  changes_.shrink_to_fit();
  runs_.shrink_to_fit();
  own_.shrink_to_fit();
}

ShapeList ShapesDelta::applied(const ShapeList& from) const {
  ShapeList shapes;
  auto own = own_.begin();
  std::size_t at = 0;
  for (const Run& run : runs_) {
    for (std::size_t i = run.from; i < std::size_t{run.from} + run.count; ++i) {
      switch (run.kind) {
        case Kind::same: shapes.push_back(from[i]); break;
        case Kind::changed:
          shapes.push_back(std::make_shared<const Shape>(readChange(*from[i], at)));
          break;
        case Kind::own: shapes.push_back(*own++); break;
      }
    }
  }
  return shapes;
}

void ShapesDelta::add(Kind kind, std::size_t from) {
  if (!runs_.empty()) {
    Run& last = runs_.back();
    if (last.kind == kind && (kind == Kind::own || last.from + last.count == from)) {
      ++last.count;
      return;
    }
  }
  runs_.push_back({static_cast<std::uint32_t>(from), 1, kind});
}

/// Notes the change when it can be said in `changes_`. Tried out rather than reasoned about: it can
/// when the shape comes back equal.
bool ShapesDelta::tryChange(const Shape& from, const Shape& to) {
  if (from.points.size() != to.points.size()) return false;
  const std::size_t begin = changes_.size();
  const std::size_t looks = looks_.size();
  appendChange(from, to);
  std::size_t at = begin;
  if (readChange(from, at) == to) return true;
  changes_.resize(begin);
  looks_.resize(looks);
  return false;
}

/// 0 for the look that the shape has already, else the place in `looks_`, from 1 on.
std::size_t ShapesDelta::lookOf(const Shape& from, const Shape& to) {
  Shape look = lookFrom(to);
  if (look == lookFrom(from)) return 0;
  const auto found =
      std::ranges::find_if(looks_, [&look](const auto& other) { return *other == look; });
  const auto place = static_cast<std::size_t>(found - looks_.begin());
  if (found == looks_.end()) looks_.push_back(std::make_shared<const Shape>(std::move(look)));
  return place + 1;
}

/// The look, a bit for each fixed coordinate and one for the points that tell what is where it was,
/// and the corrections of all others.
void ShapesDelta::appendChange(const Shape& from, const Shape& to) {
  appendNumber(changes_, lookOf(from, to));
  unsigned still = from.points == to.points ? 1 : 0;
  for (const auto coordinate : fixedCoordinates) {
    still = still << 1 | (from.*coordinate == to.*coordinate ? 1 : 0);
  }
  appendNumber(changes_, still);
  unsigned bit = 1u << fixedCoordinates.size();
  const bool pointsMoved = (still & bit) == 0;
  double shift = shift_.x;
  double nextShift = shift_.y;
  for (const auto coordinate : fixedCoordinates) {
    bit >>= 1;
    if ((still & bit) == 0) {
      appendCorrection(changes_, from.*coordinate + shift, to.*coordinate);
    }
    std::swap(shift, nextShift);
  }
  if (!pointsMoved) return;
  for (std::size_t i = 0; i < from.points.size(); ++i) {
    appendCorrection(changes_, from.points[i].x + shift_.x, to.points[i].x);
    appendCorrection(changes_, from.points[i].y + shift_.y, to.points[i].y);
  }
}

Shape ShapesDelta::readChange(const Shape& from, std::size_t& at) const {
  const std::uint64_t look = readNumber(changes_, at);
  Shape shape = look == 0 ? from : dressed(from, *looks_[look - 1]);
  const std::uint64_t still = readNumber(changes_, at);
  std::uint64_t bit = std::uint64_t{1} << fixedCoordinates.size();
  const bool pointsMoved = (still & bit) == 0;
  double shift = shift_.x;
  double nextShift = shift_.y;
  for (const auto coordinate : fixedCoordinates) {
    bit >>= 1;
    if ((still & bit) == 0) shape.*coordinate = corrected(from.*coordinate + shift, changes_, at);
    std::swap(shift, nextShift);
  }
  if (!pointsMoved) return shape;
  for (std::size_t i = 0; i < from.points.size(); ++i) {
    shape.points[i].x = corrected(from.points[i].x + shift_.x, changes_, at);
    shape.points[i].y = corrected(from.points[i].y + shift_.y, changes_, at);
  }
  return shape;
}

}  // namespace vantorel
