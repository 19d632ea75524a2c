#include "text/reading_lines.hpp"

#include <algorithm>

namespace vantorel {
namespace {

constexpr int stripeRows = 64;

PixelRect around(const PixelRect& a, const PixelRect& b) {
  const int x = std::min(a.x, b.x);
  const int y = std::min(a.y, b.y);
  return {x, y, std::max(a.right(), b.right()) - x, std::max(a.bottom(), b.bottom()) - y};
}

std::size_t stripeOf(int row) { return static_cast<std::size_t>(std::max(row, 0) / stripeRows); }

}  // namespace

ReadingLines::ReadingLines(const std::vector<PlacedLetter>& letters) : letters_(letters) {
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const auto line = static_cast<std::size_t>(letters[i].line);
    if (line >= lines_.size()) lines_.resize(line + 1, {.first = i, .last = i, .box = {}});
    Line& target = lines_[line];
    target.box = target.first == i ? letters[i].box : around(target.box, letters[i].box);
    target.last = i + 1;
  }
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    const PixelRect& box = lines_[i].box;
    if (box.isEmpty()) continue;
    const std::size_t last = stripeOf(box.bottom() - 1);
    if (last >= stripes_.size()) stripes_.resize(last + 1);
    for (std::size_t stripe = stripeOf(box.y); stripe <= last; ++stripe) {
      stripes_[stripe].push_back(static_cast<int>(i));
    }
  }
}

RowLimits ReadingLines::limits(int line, const PixelRect& box, int pictureHeight) const {
  RowLimits limits{0, pictureHeight};
  if (stripes_.empty()) return limits;
  // What is farther no cover reaches.
  const std::size_t first = stripeOf(box.y - stripeRows);
  const std::size_t last = std::min(stripeOf(box.bottom() + stripeRows), stripes_.size() - 1);
  for (std::size_t stripe = first; stripe <= last; ++stripe) {
    for (const int number : stripes_[stripe]) {
      if (number == line) continue;
      const Line& other = lines_[static_cast<std::size_t>(number)];
      for (std::size_t i = other.first; i < other.last; ++i) {
        const PixelRect& letter = letters_[i].box;
        if (letter.right() <= box.x || letter.x >= box.right()) continue;
        if (letter.bottom() <= box.y) limits.top = std::max(limits.top, letter.bottom());
        if (letter.y >= box.bottom()) limits.bottom = std::min(limits.bottom, letter.y);
      }
    }
  }
  return limits;
}

}  // namespace vantorel
