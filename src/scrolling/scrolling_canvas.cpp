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
#include "scrolling/row_correlation.hpp"
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

/// Whether something that floats above the page is in these columns: it was there before, while the
/// page has moved.
bool isPinned(const FrameSignature& now, const FrameSignature& before, int row,
              const ColumnSpan& columns) {
  const auto part = [&](const FrameSignature& frame) {
    return frame.row(row).subspan(static_cast<std::size_t>(columns.first),
                                  static_cast<std::size_t>(columns.length()));
  };
  return !before.isEmpty() && std::ranges::equal(part(now), part(before)) && !isFlat(part(now), 1);
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
  Step step(ScrollingSight sight, FrameMatch match) const;
  FrameMatch match(const FrameSignature& signature, int& position, bool& isExact) const;
  std::optional<FrameMatch> matchPicture(const FrameSignature& signature, int& position) const;
  void stoodStill(const ScrollFrame& frame, FrameSignature signature);
  [[nodiscard]] bool hasRoom(int position) const;
  void place(const ScrollFrame& frame, FrameSignature signature, const StaticBands& bands,
             bool isExact);
  void growDown(const Placed& frame, const StaticBands& bands);
  void growUp(const Placed& frame, const StaticBands& bands);
  void paint(const Placed& frame, int first, int last);
  void repaint(const Placed& frame, const FrameSignature& signature, const FrameSignature& before,
               const StaticBands& bands);
  [[nodiscard]] ColumnSpan changedColumns(std::span<const std::uint8_t> a,
                                          std::span<const std::uint8_t> b) const;
  void paintEnds();
  [[nodiscard]] ColumnSpan movingColumns() const;
  void lookForScrollBar(const FrameSignature& signature, const StaticBands& stuck);

  std::int64_t maximumPixels;
  bool isOver = false;
  ScrollFrameScale scale;

  Known latest;                 ///< the frame that was joined last
  std::optional<Known> anchor;  ///< the last one whose place is certain, where `latest` is not
  int position = 0;             ///< of the frame being placed
  int lastOffset = 0;
  StaticColumnMask mask;
  StaticBands bands;
  std::optional<int> scrollBar = 0;  ///< columns at the right; nothing when the page is there

  Placed highest;          ///< whose header the picture has
  Placed lowest;           ///< whose footer it has
  bool isBlurred = false;  ///< the picture has rows of frames that merely resembled
  TallPicture picture;     ///< what is between them, as far as it is known to be the page
};

void ScrollingCanvas::State::begin(const ScrollFrame& frame, FrameSignature signature) {
  highest = lowest = {frame.image, signature.rows, 0};
  picture = TallPicture(frame.image.width(), frame.image.format());
  picture.paint(frame.image, signature.rows, 0, frame.image.height(), 0);
  latest = {std::move(signature), 0};
}

ScrollingCanvas::Step ScrollingCanvas::State::step(ScrollingSight sight, FrameMatch match) const {
  return {.sight = sight, .height = height(), .position = position, .match = std::move(match)};
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

void ScrollingCanvas::State::growDown(const Placed& frame, const StaticBands& stuck) {
  if (frame.position <= lowest.position) return;
  // Beyond its header the new frame must go on where the page ends above the footer.
  const int moved = frame.position - lowest.position;
  const int footer = std::clamp(frameHeight() - stuck.header - moved, 0, stuck.footer);
  const int end = lowest.bottom() - footer;
  paint(lowest, picture.bottom(), end);
  picture.keep(picture.top(), end);
  paint(frame, picture.bottom(), frame.bottom() - footer);
  lowest = frame;
}

void ScrollingCanvas::State::growUp(const Placed& frame, const StaticBands& stuck) {
  if (frame.position >= highest.position) return;
  const int moved = highest.position - frame.position;
  const int header = std::clamp(frameHeight() - stuck.footer - moved, 0, stuck.header);
  const int end = highest.position + header;
  paint(highest, end, picture.top());
  picture.keep(end, picture.bottom());
  paint(frame, frame.position + header, picture.top());
  highest = frame;
}

/// What the frame shows otherwise than the picture is put right: parts that a program had not drawn
/// yet, blurred rows, what was below a button. `before` is the frame before.
void ScrollingCanvas::State::repaint(const Placed& frame, const FrameSignature& signature,
                                     const FrameSignature& before, const StaticBands& stuck) {
  const int first = std::max(picture.top(), frame.position + stuck.header);
  const int last = std::min(picture.bottom(), frame.bottom() - stuck.footer);
  for (int y = first; y < last; ++y) {
    const int row = y - frame.position;
    const RowDigest& digest = signature.rows[static_cast<std::size_t>(row)];
    if (digest == picture.digest(y)) continue;
    const ColumnSpan changed = changedColumns(frame.image.row(row), picture.row(y));
    if (changed.length() <= 0) continue;
    if (!isBlurred) {
      if (isPinned(signature, before, row, changed)) continue;
      // Rows that are not drawn yet are blank; a button that is gone was narrow.
      if (isBlank(digest) && 3 * changed.length() > width()) continue;
    }
    picture.paintColumns(frame.image, digest, row, y, changed);
  }
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

void ScrollingCanvas::State::lookForScrollBar(const FrameSignature& signature,
                                              const StaticBands& stuck) {
  const int moved = position - latest.position;
  if (!scrollBar || std::abs(moved) >= frameHeight()) return;
  const FramePair pair{.previous = latest.signature,
                       .current = signature,
                       .span = comparedColumnSpan(width(), mask, scale.display),
                       .bands = stuck};
  const int found = scrollBarColumns(pair, moved);
  if (found < 0) {
    scrollBar.reset();
  } else {
    scrollBar = std::max(*scrollBar, found);
  }
}

void ScrollingCanvas::State::place(const ScrollFrame& frame, FrameSignature signature,
                                   const StaticBands& stuck, bool isExact) {
  const Placed placed{frame.image, signature.rows, position};
  bands = stuck;
  if (isExact) lookForScrollBar(signature, stuck);
  growDown(placed, stuck);
  growUp(placed, stuck);
  if (isExact) repaint(placed, signature, latest.signature, stuck);
  isBlurred = !isExact;
  const int furthest = frameHeight() - minimumOverlap(frameHeight());
  lastOffset = position - latest.position;
  if (std::abs(lastOffset) > furthest) lastOffset = 0;
  if (isExact) {
    anchor.reset();
  } else if (!anchor) {
    anchor = std::move(latest);
  } else if (std::abs(position - anchor->position) > furthest) {
    anchor.reset();  // out of sight
  }
  latest = {std::move(signature), position};
}

/// What changed in its place, such as a picture that came later, is shown as it is now.
void ScrollingCanvas::State::stoodStill(const ScrollFrame& frame, FrameSignature signature) {
  const Placed placed{frame.image, signature.rows, position};
  if (highest.position == lowest.position) {
    picture.paint(placed.image, placed.digests, 0, frameHeight(), position);
  } else {
    repaint(placed, signature, {}, bands);
  }
  isBlurred = false;
  if (position == highest.position) highest = placed;
  if (position == lowest.position) lowest = placed;
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
  FrameMatch match = state.match(signature, position, isExact);
  ScrollingSight sight = sightOf(match.join);
  if (sight == ScrollingSight::tooFast) {
    if (auto found = state.matchPicture(signature, position)) {
      match = *std::move(found);
      isExact = true;
      sight = ScrollingSight::joined;
    }
  }
  const bool isRefused = sight == ScrollingSight::tooFast || sight == ScrollingSight::nothing;
  if (isRefused && !hasGrown() && isNearlyBlank(state.latest.signature)) {
    // The page is there only now.
    state.begin(frame, std::move(signature));
    return state.step(ScrollingSight::waiting, std::move(match));
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
      state.place(frame, std::move(signature), joined->bands, isExact);
    } else {
      sight = ScrollingSight::full;
    }
  }
  return state.step(sight, std::move(match));
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
