#include "scrolling/static_detection.hpp"

#include <algorithm>
#include <cstring>
#include <optional>

namespace vantorel {
namespace {

std::span<const std::uint8_t> compared(const FramePair& pair, const FrameSignature& frame, int y) {
  return frame.row(y).subspan(static_cast<std::size_t>(pair.span.first),
                              static_cast<std::size_t>(pair.span.length()));
}

bool isSameRow(const FramePair& pair, int before, int now) {
  const auto a = compared(pair, pair.previous, before);
  return std::memcmp(a.data(), compared(pair, pair.current, now).data(), a.size()) == 0;
}

bool hasTexture(const FramePair& pair, int y) {
  const auto row = compared(pair, pair.current, y);
  for (int segment = 0; segment < evidenceSegments; ++segment) {
    const int first = segmentStart(pair.span.length(), segment, evidenceSegments);
    const int last = segmentStart(pair.span.length(), segment + 1, evidenceSegments);
    const auto part =
        row.subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first));
    if (!part.empty() && !isFlat(part, pair.floor)) return true;
  }
  return false;
}

/// What a row near an edge did while the page moved by `offset`. A row that leaves the overlap has
/// no counterpart to show that it moved.
RowMotion motionOf(const FramePair& pair, int y, int offset) {
  const int height = pair.current.height;
  const bool stayed = isSameRow(pair, y, y);
  // As a row of the previous frame it has gone to y - offset; as one of the new frame it has come
  // from y + offset. Of the two, one lies towards the middle.
  const bool fromPrevious = y - offset >= 0 && y - offset < height;
  const bool fromCurrent = y + offset >= 0 && y + offset < height;
  const bool moved = (fromPrevious && isSameRow(pair, y, y - offset)) ||
                     (fromCurrent && isSameRow(pair, y + offset, y));
  if (stayed && moved) return RowMotion::ambiguous;
  if (stayed) return hasTexture(pair, y) ? RowMotion::stationary : RowMotion::ambiguous;
  if (moved) return RowMotion::moved;
  return fromPrevious || fromCurrent ? RowMotion::changed : RowMotion::unproven;
}

/// How many rows from an edge belong to its band; `rowAt` gives the row that is so far from it. All
/// up to the first that has moved: what is next to a bar and did not (its shadow, a film) is seen
/// better when it has been scrolled further.
template <class RowAt>
int bandRows(const FramePair& pair, int offset, RowAt rowAt) {
  const int furthest = pair.current.height / 3;
  int band = 0;
  while (band < furthest && motionOf(pair, rowAt(band), offset) != RowMotion::moved) ++band;
  return band;
}

/// Which columns stayed, and which went along with the page, on at least so many rows.
struct ColumnMotions {
  static constexpr int leastStayed = 3;
  static constexpr int leastWent = 2;
  std::vector<std::uint16_t> stayed;
  std::vector<std::uint16_t> went;

  ColumnMotions(const FramePair& pair, int offset)
      : stayed(static_cast<std::size_t>(pair.current.width)), went(stayed.size()) {
    const RowRange rows = pair.overlap(offset);
    for (int y = rows.first; y < rows.last; ++y) {
      const std::uint8_t* const now = pair.current.row(y).data();
      const std::uint8_t* const before = pair.previous.row(y).data();
      const std::uint8_t* const shifted = pair.previous.row(y + offset).data();
      for (std::size_t x = 0; x < stayed.size(); ++x) {
        const bool isSame = now[x] == before[x];
        const bool isShifted = now[x] == shifted[x];
        stayed[x] += isSame && !isShifted ? 1 : 0;
        went[x] += isShifted && !isSame ? 1 : 0;
      }
    }
  }

  [[nodiscard]] bool hasStayed(int x) const {
    return stayed[static_cast<std::size_t>(x)] >= leastStayed;
  }
  [[nodiscard]] bool hasGone(int x) const { return went[static_cast<std::size_t>(x)] >= leastWent; }
};

}  // namespace

StaticBands sameRows(const FramePair& pair) {
  const int height = pair.current.height;
  StaticBands same;
  while (same.header < height && isSameRow(pair, same.header, same.header)) ++same.header;
  if (same.header == height) return same;
  while (isSameRow(pair, height - 1 - same.footer, height - 1 - same.footer)) ++same.footer;
  return same;
}

StaticBands texturedBands(const FramePair& pair, const StaticBands& same) {
  StaticBands bands = same;
  while (bands.header > 0 && !hasTexture(pair, bands.header - 1)) --bands.header;
  while (bands.footer > 0 && !hasTexture(pair, pair.current.height - bands.footer)) --bands.footer;
  return bands;
}

StaticBands staticBands(const FramePair& pair, int offset) {
  const int last = pair.current.height - 1;
  return {.header = bandRows(pair, offset, [](int i) { return i; }),
          .footer = bandRows(pair, offset, [last](int i) { return last - i; })};
}

StaticColumnMask stillSides(const FramePair& pair, int offset, const StaticColumnMask& known) {
  const ColumnMotions motions(pair, offset);
  const auto [first, last] = pair.span;
  int leading = 0;
  for (int x = first; x < last && !motions.hasGone(x); ++x) {
    if (motions.hasStayed(x)) leading = x + 1;
  }
  int trailing = 0;
  for (int x = last - 1; x >= first && !motions.hasGone(x); --x) {
    if (motions.hasStayed(x)) trailing = pair.current.width - x;
  }
  StaticColumnMask mask = known;
  if (leading > 0) mask.leadingPixels = leading;
  if (trailing > 0) mask.trailingPixels = trailing;
  return mask;
}

StaticColumnMask confirmedSides(const FramePair& pair, int offset, const StaticColumnMask& known) {
  if (!known.leadingPixels && !known.trailingPixels) return known;
  const ColumnMotions motions(pair, offset);
  const auto upToWhatMoves = [&](std::optional<int>& side, auto columnAt) {
    for (int i = 0; side && i < *side; ++i) {
      if (!motions.hasGone(columnAt(i))) continue;
      side = i > 0 ? std::optional(i) : std::nullopt;
      return;
    }
  };
  StaticColumnMask mask = known;
  upToWhatMoves(mask.leadingPixels, [](int i) { return i; });
  upToWhatMoves(mask.trailingPixels, [&](int i) { return pair.current.width - 1 - i; });
  return mask;
}

int scrollBarColumns(const FramePair& pair, int offset) {
  constexpr int step = 2;
  const RowRange rows = pair.overlap(offset);
  int columns = 0;
  for (int x = pair.current.width - 1; x >= pair.span.last; --x) {
    const auto at = [x](const FrameSignature& frame, int row) {
      return frame.row(row)[static_cast<std::size_t>(x)];
    };
    std::optional<RowRange> went;
    bool isOff = false;
    for (int y = rows.first; y < rows.last; y += step) {
      const auto now = at(pair.current, y);
      if (now != at(pair.previous, y + offset)) {
        isOff = true;
      } else if (now != at(pair.previous, y)) {
        went = {went ? went->first : y, y};
      }
    }
    // The end of a thumb may have moved like the page; all of the column has not.
    const bool isPage = went && 3 * went->length() > rows.length();
    if (isPage) return isOff ? -1 : columns;
    if (isOff) columns = pair.current.width - x;
  }
  return columns;
}

}  // namespace vantorel
