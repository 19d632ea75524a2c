#include "editor/text_selection.hpp"

#include <algorithm>
#include <cmath>

#include "editor/shape_geometry.hpp"
#include "text/letter_edges.hpp"
#include "text/letter_widths.hpp"

namespace vantorel {
namespace {

/// The places where letters of UTF-8 begin, and the end.
std::vector<std::size_t> letterStarts(std::string_view text) {
  std::vector<std::size_t> starts;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U) starts.push_back(i);
  }
  starts.push_back(text.size());
  return starts;
}

double away(const Box& box, Pt at) {
  const double dx = std::max({box.x - at.x, 0.0, at.x - box.right()});
  const double dy = std::max({box.y - at.y, 0.0, at.y - box.bottom()});
  // What stands on the pointer's line of text is nearer than what stands above or below it.
  return std::hypot(dx, 4 * dy);
}

}  // namespace

TextSelection::TextSelection(const std::vector<OCRBlock>& blocks, PixelSize capture) {
  for (std::size_t block = 0; block < blocks.size(); ++block) {
    for (const OCRLine& line : blocks[block].lines) {
      const Box box{line.box.x * capture.width, line.box.y * capture.height,
                    line.box.w * capture.width, line.box.h * capture.height};
      if (line.text.empty() || !(box.w > 0) || !(box.h > 0)) continue;
      Line known{line.text, letterStarts(line.text), box, block, letterEdges(line, box.w / box.h)};
      const std::size_t count = known.length();
      known.isMeasured = known.edges.size() == count + 1;
      known.edges.resize(count + 1);
      for (std::size_t i = 0; i <= count; ++i) {
        const double even = static_cast<double>(i) / static_cast<double>(count);
        known.edges[i] = box.x + box.w * (known.isMeasured ? known.edges[i] : even);
      }
      lines_.push_back(std::move(known));
    }
  }
}

std::size_t TextSelection::Line::letterAt(double x) const {
  const auto next = std::ranges::upper_bound(edges, x);
  const auto index = static_cast<std::size_t>(next - edges.begin());
  return std::clamp<std::size_t>(index, 1, length()) - 1;
}

std::size_t TextSelection::Line::edgeAt(double x) const {
  const std::size_t letter = letterAt(x);
  return letter + (x - edges[letter] < edges[letter + 1] - x ? 0 : 1);
}

std::size_t TextSelection::nearestLine(Pt at) const {
  const auto nearest =
      std::ranges::min_element(lines_, {}, [at](const Line& line) { return away(line.box, at); });
  return static_cast<std::size_t>(nearest - lines_.begin());
}

TextSelection::Span TextSelection::spanAt(Pt at, Unit unit) const {
  const std::size_t index = nearestLine(at);
  const Line& line = lines_[index];
  if (unit == Unit::line) return {{index, 0}, {index, line.length()}};
  if (unit == Unit::letter) {
    const std::size_t letter = line.edgeAt(at.x);
    return {{index, letter}, {index, letter}};
  }
  std::size_t from = line.letterAt(at.x);
  std::size_t to = from;
  while (to < line.length() && !line.isSpace(to)) ++to;
  while (from > 0 && !line.isSpace(from) && !line.isSpace(from - 1)) --from;
  return {{index, from}, {index, to}};
}

bool TextSelection::hasWordAt(Pt at) const {
  if (!hasText() || !contains(lines_[nearestLine(at)].box, at)) return false;
  const Span word = spanAt(at, Unit::word);
  return word.from < word.to;
}

void TextSelection::begin(Pt at, Unit unit) {
  clear();
  if (!hasText()) return;
  unit_ = unit;
  start_ = spanAt(at, unit);
  from_ = start_.from;
  to_ = start_.to;
}

void TextSelection::extendTo(Pt at) {
  if (!hasText()) return;
  const Span end = spanAt(at, unit_);
  from_ = std::min(start_.from, end.from);
  to_ = std::max(start_.to, end.to);
}

void TextSelection::clear() { from_ = to_ = {}; }

TextSelection::Span TextSelection::selectedOf(std::size_t line) const {
  const Place start{line, 0};
  const Place end{line, lines_[line].length()};
  return {std::clamp(from_, start, end), std::clamp(to_, start, end)};
}

std::string TextSelection::text(bool joinLines, const std::vector<PixelRect>& covered) const {
  std::string text;
  std::optional<std::size_t> block;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    const auto [from, to] = selectedOf(i);
    if (!(from < to)) continue;
    const Line& line = lines_[i];
    std::string words;
    for (std::size_t first = from.letter; first < to.letter;) {
      std::size_t last = first;
      while (last < to.letter && line.isSpace(last) == line.isSpace(first)) ++last;
      if (line.isSpace(first) || !isCovered(line, first, last, covered)) {
        words.append(line.text, line.letters[first], line.letters[last] - line.letters[first]);
      }
      first = last;
    }
    if (words.empty()) continue;
    if (block) text += *block != line.block ? "\n\n" : joinLines ? " " : "\n";
    block = line.block;
    text += words;
  }
  return text;
}

Box TextSelection::coveringBox(const Line& line, std::size_t first, std::size_t last) {
  Box box{line.edges[first], line.box.y, line.edges[last] - line.edges[first], line.box.h};
  if (!line.isMeasured) {
    const LineStretch stretch =
        widestStretch(line.text, line.letters, first, last, line.box.w / line.box.h);
    box.x = line.box.x + stretch.from * line.box.w;
    box.w = (stretch.to - stretch.from) * line.box.w;
  }
  // Recognition draws its boxes close to the ink, or across its edge, and slanted letters reach
  // over their neighbours.
  const double above = std::max(0.15 * line.box.h, 2.0);
  const double beside = std::max(0.25 * line.box.h, 2.0);
  return {box.x - beside, box.y - above, box.w + 2 * beside, box.h + 2 * above};
}

bool TextSelection::isCovered(const Line& line, std::size_t first, std::size_t last,
                              const std::vector<PixelRect>& covered) {
  const Box box = coveringBox(line, first, last);
  return std::ranges::any_of(covered, [&](const PixelRect& area) {
    return box.x < area.right() && area.x < box.right() && box.y < area.bottom() &&
           area.y < box.bottom();
  });
}

std::vector<Box> TextSelection::boxes() const {
  std::vector<Box> boxes;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    const auto [from, to] = selectedOf(i);
    if (!(from < to)) continue;
    const Line& line = lines_[i];
    boxes.push_back({line.edges[from.letter], line.box.y,
                     line.edges[to.letter] - line.edges[from.letter], line.box.h});
  }
  return boxes;
}

std::vector<Box> TextSelection::coveringBoxes() const {
  std::vector<Box> boxes;
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    const auto [from, to] = selectedOf(i);
    if (!(from < to)) continue;
    boxes.push_back(coveringBox(lines_[i], from.letter, to.letter));
  }
  return boxes;
}

}  // namespace vantorel
