#include "scrolling/scrolling_canvas.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>
#include <utility>

#include "scrolling/frame_joiner.hpp"
#include "scrolling/frame_signature.hpp"
#include "scrolling/offset_range.hpp"
#include "scrolling/shift_votes.hpp"
#include "scrolling/static_detection.hpp"
#include "scrolling/tall_picture.hpp"

namespace vantorel {
namespace {

/// A frame, and where on the page its top is.
struct Placed {
  Image image;
  std::vector<RowDigest> digests;
  int position = 0;

  [[nodiscard]] int bottom() const { return position + image.height(); }
};

bool isBlank(const RowDigest& row) { return row.energy < 1; }

bool isNearlyBlank(const FrameSignature& frame) {
  const auto drawn =
      std::ranges::count_if(frame.rows, [](const auto& row) { return !isBlank(row); });
  return 20 * drawn < frame.height;
}

ScrollingSight sightOf(const FrameJoin& join) {
  struct Sight {
    ScrollingSight operator()(const FrameJoin::Indeterminate&) const {
      return ScrollingSight::nothing;
    }
    ScrollingSight operator()(const FrameJoin::Joined&) const { return ScrollingSight::joined; }
    ScrollingSight operator()(const FrameJoin::NoMovement&) const {
      return ScrollingSight::waiting;
    }
    ScrollingSight operator()(const FrameJoin::ScrolledTooFast&) const {
      return ScrollingSight::tooFast;
    }
    ScrollingSight operator()(const FrameJoin::MultiplePanes&) const {
      return ScrollingSight::panes;
    }
  };
  return std::visit(Sight{}, join.value);
}

}  // namespace

struct ScrollingCanvas::State {
  struct Known {
    FrameSignature signature;
    int position = 0;
  };

  explicit State(std::int64_t pixels) : maximumPixels(pixels) {}

  [[nodiscard]] int frameHeight() const { return lowest.image.height(); }
  [[nodiscard]] int width() const { return picture.width(); }
  [[nodiscard]] int height() const { return lowest.bottom() - highest.position; }

  void begin(const ScrollFrame& frame, FrameSignature signature);
  [[nodiscard]] Step step(ScrollingSight sight, const FrameMatch& match) const;
  [[nodiscard]] FrameMatch match(const FrameSignature& signature, int& position,
                                 bool& isExact) const;
  [[nodiscard]] std::optional<FrameMatch> matchPicture(const FrameSignature& signature,
                                                       int& position) const;
  void stoodStill(const ScrollFrame& frame, FrameSignature signature);
  [[nodiscard]] bool hasRoom(int position) const;
  /// How sure the place of a frame is.
  enum class Certainty {
    alike,      ///< pixels merely resemble
    inPicture,  ///< found in the picture, not beside the frame before
    exact,
  };
  void place(const ScrollFrame& frame, FrameSignature signature, const StaticBands& stuck,
             Certainty certainty);
  void growDown(const Placed& frame, bool isExact);
  void growUp(const Placed& frame, bool isExact);
  void paint(const Placed& frame, int first, int last);
  void repaint(const Placed& frame, const FrameSignature& signature, const Known& beside);
  void sharpen(const Placed& frame);
  void showAtEnds(const Placed& frame);
  [[nodiscard]] std::vector<RowRange> undrawnRows() const;
  [[nodiscard]] ColumnSpan changedColumns(std::span<const std::uint8_t> a,
                                          std::span<const std::uint8_t> b) const;
  void paintEnds();
  void note(const RowRange& added, bool isExact);
  [[nodiscard]] ColumnSpan movingColumns() const;
  void lookAtSides(const FrameSignature& signature, const Known& beside);

  std::int64_t maximumPixels;
  bool isOver = false;
  ScrollFrameScale scale;

  Known latest;                 ///< the frame that was joined last
  std::optional<Known> anchor;  ///< the last one whose place is certain, where `latest` is not
  int position = 0;             ///< of the frame being placed
  int lastOffset = 0;
  StaticColumnMask mask;
  StaticBands bands;                 ///< of the last join that is certain
  bool hasBands = false;             ///< there has been one
  std::optional<int> scrollBar = 0;  ///< columns at the right; nothing when the page is there

  Placed highest;                   ///< whose header the picture has
  Placed lowest;                    ///< whose footer it has
  std::uint64_t ends = 0;           ///< counts the frames that those two were
  std::optional<RowRange> fresh;    ///< rows that the frame before was the first to show
  std::optional<RowRange> blurred;  ///< rows that frames have painted that merely resembled
  TallPicture picture;              ///< what is between them, as far as it is known to be the page
};

void ScrollingCanvas::State::begin(const ScrollFrame& frame, FrameSignature signature) {
  highest = lowest = {frame.image, signature.rows, 0};
  picture = TallPicture(frame.image.width(), frame.image.format());
  picture.paint(frame.image, signature.rows, 0, frame.image.height(), 0);
  latest = {std::move(signature), 0};
}

ScrollingCanvas::Step ScrollingCanvas::State::step(ScrollingSight sight,
                                                   const FrameMatch& match) const {
  return {.sight = sight, .height = height(), .position = position, .match = match};
}

/// Looks for the frame beside the one whose place is certain, then beside the latest: many small
/// steps between pixels would add up to whole ones.
FrameMatch ScrollingCanvas::State::match(const FrameSignature& signature, int& at,
                                         bool& isExact) const {
  const auto beside = [&](const Known& known, int predicted) {
    FrameMatch found = joinFrames(known.signature, signature, predicted, mask);
    at = known.position;
    if (const auto* joined = std::get_if<FrameJoin::Joined>(&found.join.value)) {
      at += joined->offset;
    }
    return found;
  };
  const auto isPlaced = [](const FrameMatch& found) {
    return std::holds_alternative<FrameJoin::Joined>(found.join.value) ||
           std::holds_alternative<FrameJoin::NoMovement>(found.join.value);
  };
  if (anchor) {
    FrameMatch found = beside(*anchor, latest.position - anchor->position + lastOffset);
    if (isPlaced(found) && found.isExact) {
      isExact = true;
      return found;
    }
  }
  FrameMatch found = beside(latest, lastOffset);
  isExact = found.isExact && !anchor;
  return found;
}

/// Looks for a frame in all of the picture, when it is not beside the latest. Bands are left out of
/// it, as the picture has none.
std::optional<FrameMatch> ScrollingCanvas::State::matchPicture(const FrameSignature& signature,
                                                               int& at) const {
  constexpr int leastRows = 24;
  if (!(highest.position < lowest.position)) return std::nullopt;
  const FrameSignature page = partOf(signature, bands.header, signature.height - bands.footer);
  if (picture.height() < page.height) return std::nullopt;
  const ColumnSpan span = comparedColumnSpan(width(), mask, scale.display);
  const ShiftVotes votes(picture.digests(), page.rows, width(), span);
  const auto best = votes.best(2);
  if (best.empty() || best.front().rows < leastRows) return std::nullopt;
  if (best.size() > 1 && 4 * best.back().rows > best.front().rows) return std::nullopt;
  const int found = picture.top() + best.front().offset;
  const int first = std::clamp(found, picture.top(), picture.bottom() - page.height);
  FrameMatch match =
      joinFrames(makeFrameSignature(picture.part(first, first + page.height), scale.display), page,
                 found - first, mask);
  if (!match.isExact) return std::nullopt;
  at = first - bands.header;
  if (auto* const joined = std::get_if<FrameJoin::Joined>(&match.join.value)) {
    at += joined->offset;
    joined->offset = at - latest.position;
    joined->bands = bands;
  } else {
    match.join.value =
        FrameJoin::Joined{.offset = at - latest.position, .agreement = 1, .bands = bands};
  }
  match.contentRows = RowRange{bands.header, signature.height - bands.footer};
  return match;
}

bool ScrollingCanvas::State::hasRoom(int at) const {
  const std::int64_t rows =
      std::max(lowest.bottom(), at + frameHeight()) - std::int64_t{std::min(highest.position, at)};
  return rows * width() <= maximumPixels;
}

ColumnSpan ScrollingCanvas::State::movingColumns() const {
  return {mask.leadingPixels.value_or(0),
          width() - std::max(mask.trailingPixels.value_or(0), scrollBar.value_or(0))};
}

/// Rows [first, last) of the page, which the frame shows.
void ScrollingCanvas::State::paint(const Placed& frame, int first, int last) {
  if (first >= last) return;
  picture.paint(frame.image, frame.digests, first - frame.position, last - first, first);
  const ColumnSpan moving = movingColumns();
  picture.fill({0, moving.first}, first, last, frame.image);
  picture.fill({moving.last, width()}, first, last, frame.image);
}

void ScrollingCanvas::State::growDown(const Placed& frame, bool isExact) {
  if (frame.position <= lowest.position) return;
  // Beyond its header the new frame must go on where the page ends above the footer.
  const int moved = frame.position - lowest.position;
  const int footer = std::clamp(frameHeight() - bands.header - moved, 0, bands.footer);
  const int shown = frame.position + bands.header;
  const int known = std::min(picture.bottom(), lowest.bottom() - footer);
  const int end = std::max(known, shown);
  picture.keep(picture.top(), known);
  paint(lowest, known, shown);
  paint(frame, end, frame.bottom() - footer);
  note({end, frame.bottom() - footer}, isExact);
  lowest = frame;
  ++ends;
}

void ScrollingCanvas::State::growUp(const Placed& frame, bool isExact) {
  if (frame.position >= highest.position) return;
  const int moved = highest.position - frame.position;
  const int header = std::clamp(frameHeight() - bands.footer - moved, 0, bands.header);
  const int shown = frame.bottom() - bands.footer;
  const int known = std::max(picture.top(), highest.position + header);
  const int end = std::min(known, shown);
  picture.keep(known, picture.bottom());
  paint(highest, shown, known);
  paint(frame, frame.position + header, end);
  note({frame.position + header, end}, isExact);
  highest = frame;
  ++ends;
}

/// Rows that a frame has added.
void ScrollingCanvas::State::note(const RowRange& added, bool isExact) {
  if (isExact) {
    fresh = added;
  } else {
    blurred = blurred ? RowRange{std::min(blurred->first, added.first),
                                 std::max(blurred->last, added.last)}
                      : added;
  }
}

/// Stretches of blank rows, higher than what is between two lines, of those that one frame has
/// shown.
std::vector<RowRange> ScrollingCanvas::State::undrawnRows() const {
  constexpr int leastRows = 24;
  std::vector<RowRange> stretches;
  if (!fresh) return stretches;
  int from = fresh->first;
  for (int y = fresh->first; y <= fresh->last; ++y) {
    if (y < fresh->last && y < picture.bottom() && isBlank(picture.digest(y))) continue;
    if (y - from >= leastRows) stretches.push_back({from, y});
    from = y + 1;
  }
  return stretches;
}

/// What the frame shows otherwise than the picture is put right: what was below a button, and what
/// a program had not drawn yet. Only rows that came along with the page from the frame before
/// count, as what opens above a page did not, and rows that only that frame has shown, in stretches
/// that it left blank.
void ScrollingCanvas::State::repaint(const Placed& frame, const FrameSignature& signature,
                                     const Known& beside) {
  const int moved = frame.position - beside.position;
  const int first = std::max(picture.top(), frame.position + bands.header);
  const int last = std::min(picture.bottom(), frame.bottom() - bands.footer);
  const ColumnSpan columns = movingColumns();
  const std::vector<RowRange> undrawn = undrawnRows();
  const auto part = [&](const FrameSignature& from, int row) {
    return from.row(row).subspan(static_cast<std::size_t>(columns.first),
                                 static_cast<std::size_t>(columns.length()));
  };
  for (int y = first; y < last; ++y) {
    if (picture.isCertain(y)) continue;
    const int row = y - frame.position;
    const int before = row + moved;
    const bool cameAlong = moved != 0 && before >= 0 && before < frameHeight() &&
                           std::ranges::equal(part(signature, row), part(beside.signature, before));
    const bool isUndrawn = std::ranges::any_of(
        undrawn, [y](const RowRange& rows) { return y >= rows.first && y < rows.last; });
    if (!cameAlong && !isUndrawn) continue;
    const RowDigest& digest = signature.rows[static_cast<std::size_t>(row)];
    const ColumnSpan changed = digest == picture.digest(y)
                                   ? ColumnSpan{}
                                   : changedColumns(frame.image.row(row), picture.row(y));
    if (changed.length() > 0) picture.paintColumns(frame.image, digest, row, y, changed);
    if (cameAlong) picture.setCertain(y);
  }
}

/// The newest of frames in the same place is the one that header and footer are taken from.
void ScrollingCanvas::State::showAtEnds(const Placed& frame) {
  if (frame.position == highest.position) highest = frame;
  if (frame.position == lowest.position) lowest = frame;
  ++ends;
}

/// Rows that frames between two pixels left are taken from a sharp one.
void ScrollingCanvas::State::sharpen(const Placed& frame) {
  if (!blurred) return;
  const int last = std::min(picture.bottom(), frame.bottom() - bands.footer);
  paint(frame, std::max(blurred->first, frame.position + bands.header),
        std::min(blurred->last, last));
  if (last >= std::min(blurred->last, picture.bottom())) blurred.reset();
}

/// The columns from the first to the last pixel that differ, of those that scroll.
ColumnSpan ScrollingCanvas::State::changedColumns(std::span<const std::uint8_t> a,
                                                  std::span<const std::uint8_t> b) const {
  const auto differs = [&](int x) {
    return std::memcmp(a.data() + std::ptrdiff_t{4} * x, b.data() + std::ptrdiff_t{4} * x, 3) != 0;
  };
  ColumnSpan span = movingColumns();
  while (span.first < span.last && !differs(span.first)) ++span.first;
  while (span.first < span.last && !differs(span.last - 1)) --span.last;
  return span;
}

/// The header of the highest frame and the footer of the lowest.
void ScrollingCanvas::State::paintEnds() {
  const int above = picture.top() - highest.position;
  picture.paint(highest.image, highest.digests, 0, above, highest.position);
  const int below = lowest.bottom() - picture.bottom();
  picture.paint(lowest.image, lowest.digests, frameHeight() - below, below, picture.bottom());
}

void ScrollingCanvas::State::lookAtSides(const FrameSignature& signature, const Known& beside) {
  const int moved = position - beside.position;
  const FramePair pair{.previous = beside.signature,
                       .current = signature,
                       .span = comparedColumnSpan(width(), mask, scale.display),
                       .bands = bands};
  mask = confirmedSides(pair, moved, mask);
  if (!scrollBar) return;
  const int found = scrollBarColumns(pair, moved);
  if (found < 0) {
    scrollBar.reset();
  } else {
    scrollBar = std::max(*scrollBar, found);
  }
}

void ScrollingCanvas::State::place(const ScrollFrame& frame, FrameSignature signature,
                                   const StaticBands& stuck, Certainty certainty) {
  const Placed placed{frame.image, signature.rows, position};
  const bool isExact = certainty != Certainty::alike;
  if (isExact || !hasBands) bands = stuck;
  hasBands |= isExact;
  if (certainty == Certainty::exact) {
    const Known& beside = anchor ? *anchor : latest;
    lookAtSides(signature, beside);
    repaint(placed, signature, beside);
  }
  if (isExact) sharpen(placed);
  fresh.reset();
  growDown(placed, isExact);
  growUp(placed, isExact);
  if (isExact) showAtEnds(placed);
  const int furthest = frameHeight() - minimumOverlap(frameHeight());
  lastOffset = position - latest.position;
  if (std::abs(lastOffset) > furthest) lastOffset = 0;
  const bool isOutOfSight = anchor && std::abs(position - anchor->position) > furthest;
  if (isExact || isOutOfSight) {
    anchor.reset();
  } else if (!anchor) {
    anchor = std::move(latest);
  }
  latest = {std::move(signature), position};
}

/// What changed in its place, such as a picture that came later, is shown as it is now.
void ScrollingCanvas::State::stoodStill(const ScrollFrame& frame, FrameSignature signature) {
  const Placed placed{frame.image, signature.rows, position};
  if (highest.position == lowest.position) {
    picture.paint(placed.image, placed.digests, 0, frameHeight(), position);
  } else {
    sharpen(placed);
    repaint(placed, signature, latest);
  }
  showAtEnds(placed);
  latest = {std::move(signature), position};
  anchor.reset();
  lastOffset = 0;
}

ScrollingCanvas::ScrollingCanvas(std::int64_t maximumPixels)
    : state_(std::make_unique<State>(maximumPixels)) {}
ScrollingCanvas::ScrollingCanvas(ScrollingCanvas&&) noexcept = default;
ScrollingCanvas& ScrollingCanvas::operator=(ScrollingCanvas&&) noexcept = default;
ScrollingCanvas::~ScrollingCanvas() = default;

ScrollingCanvas::Step ScrollingCanvas::add(const ScrollFrame& frame,
                                           const ScrollFrameScale& scale) {
  State& state = *state_;
  const bool isFirst = state.latest.signature.isEmpty();
  state.isOver |= frame.image.isEmpty();
  if (!isFirst) {
    state.isOver |= state.scale != scale || frame.image.size() != state.lowest.image.size();
  }
  if (state.isOver) return state.step(ScrollingSight::scaleChanged, {});
  FrameSignature signature = makeFrameSignature(frame.image, scale.display);
  if (isFirst) {
    state.scale = scale;
    state.begin(frame, std::move(signature));
    return state.step(ScrollingSight::waiting, {});
  }
  int position = 0;
  bool isExact = false;
  bool isInPicture = false;
  FrameMatch match = state.match(signature, position, isExact);
  ScrollingSight sight = sightOf(match.join);
  if (sight == ScrollingSight::tooFast) {
    if (auto found = state.matchPicture(signature, position)) {
      match = *found;
      isExact = true;
      isInPicture = true;
      sight = ScrollingSight::joined;
    }
  }
  const bool isRefused = sight == ScrollingSight::tooFast || sight == ScrollingSight::nothing;
  if (isRefused && !hasGrown() && isNearlyBlank(state.latest.signature)) {
    // The page is there only now.
    state.begin(frame, std::move(signature));
    return state.step(ScrollingSight::waiting, match);
  }
  if (sight == ScrollingSight::waiting) {
    state.position = position;
    if (isExact && signature != state.latest.signature) {
      state.stoodStill(frame, std::move(signature));
    }
  } else if (const auto* joined = std::get_if<FrameJoin::Joined>(&match.join.value)) {
    if (state.hasRoom(position)) {
      state.position = position;
      state.mask = match.mask;
      using Certainty = State::Certainty;
      state.place(frame, std::move(signature), joined->bands,
                  isInPicture ? Certainty::inPicture
                  : isExact   ? Certainty::exact
                              : Certainty::alike);
    } else {
      sight = ScrollingSight::full;
    }
  }
  return state.step(sight, match);
}

PixelSize ScrollingCanvas::size() const {
  if (state_->latest.signature.isEmpty()) return {};
  return {state_->width(), state_->height()};
}

bool ScrollingCanvas::hasGrown() const {
  return state_->highest.position != state_->lowest.position;
}

Image ScrollingCanvas::preview(PixelSize within, int leastWidth) const {
  const PixelSize whole = size();
  if (whole.width == 0 || within.width <= 0 || within.height <= 0) return {};
  const State& state = *state_;
  const double fit = std::min({1.0, within.width / static_cast<double>(whole.width),
                               within.height / static_cast<double>(whole.height)});
  const double widest = std::min(within.width, whole.width);
  const double factor = std::max(fit, std::min<double>(leastWidth, widest) / whole.width);
  const PixelSize shown{std::max(1, static_cast<int>(whole.width * factor)),
                        std::clamp(static_cast<int>(whole.height * factor), 1, within.height)};
  const int rows = std::min(whole.height, static_cast<int>(shown.height / factor));
  const bool isAtTop = state.latest.position == state.highest.position && hasGrown();
  const int first = isAtTop ? state.highest.position : state.lowest.bottom() - rows;
  MutableImage small(shown, PixelFormat::bgrx);
  constexpr int samples = 3;
  for (int y = 0; y < shown.height; ++y) {
    const auto out = small.row(y);
    std::vector<std::uint32_t> sums(out.size());
    for (int sample = 0; sample < samples; ++sample) {
      const int from = std::min(first + static_cast<int>((y + (sample + 0.5) / samples) / factor),
                                state.lowest.bottom() - 1);
      const auto row =
          from < state.picture.top()      ? state.highest.image.row(from - state.highest.position)
          : from < state.picture.bottom() ? state.picture.row(from)
                                          : state.lowest.image.row(from - state.lowest.position);
      for (int x = 0; x < shown.width; ++x) {
        for (int across = 0; across < samples; ++across) {
          const auto column = std::min<std::size_t>(
              static_cast<std::size_t>((x + (across + 0.5) / samples) / factor),
              static_cast<std::size_t>(whole.width - 1));
          for (std::size_t channel = 0; channel < 4; ++channel) {
            sums[static_cast<std::size_t>(x) * 4 + channel] += row[column * 4 + channel];
          }
        }
      }
    }
    for (std::size_t i = 0; i < out.size(); ++i) {
      out[i] = static_cast<std::uint8_t>(sums[i] / (samples * samples));
    }
  }
  return std::move(small).finish();
}

TallChanges ScrollingCanvas::changes(const TallState& known, std::size_t most) const {
  TallChanges changes;
  if (size().width == 0 || !hasGrown()) return changes;
  const State& state = *state_;
  const TallPicture& picture = state.picture;
  changes.top = state.highest.position;
  changes.bottom = state.lowest.bottom();
  picture.addChanges(known, most, changes);
  changes.hasEnds = known.ends != state.ends;
  changes.then.ends = state.ends;
  if (!changes.hasEnds) return changes;
  const PixelSize frame = state.lowest.image.size();
  const int above = picture.top() - changes.top;
  const int below = changes.bottom - picture.bottom();
  const auto add = [&](int first, const Image& image, int from, int rows) {
    if (rows <= 0) return;
    // A copy, for the frame's own pixels are wanted back by the stream.
    MutableImage copy({frame.width, rows}, image.format());
    for (int y = 0; y < rows; ++y) std::ranges::copy(image.row(from + y), copy.row(y).begin());
    changes.ends.push_back({0, first, std::move(copy).finish()});
  };
  add(changes.top, state.highest.image, 0, above);
  add(picture.bottom(), state.lowest.image, frame.height - below, below);
  return changes;
}

Image ScrollingCanvas::finish() {
  State& state = *state_;
  if (state.latest.signature.isEmpty()) return {};
  const std::int64_t maximum = state.maximumPixels;
  state.paintEnds();
  TallPicture picture = std::move(state.picture);
  state_ = std::make_unique<State>(maximum);
  return picture.finish();
}

}  // namespace vantorel
