#include "render/laid_out_text.hpp"

#include <algorithm>
#include <climits>
#include <utility>
#include <vector>

#include "render/text_layout.hpp"

namespace vantorel {
namespace {

using LayoutIterator =
    std::unique_ptr<PangoLayoutIter,
                    decltype([](PangoLayoutIter* iterator) { pango_layout_iter_free(iterator); })>;
using XRanges = std::unique_ptr<int, decltype([](int* ranges) { g_free(ranges); })>;

double pixels(int units) { return double(units) / PANGO_SCALE; }

int units(double pixels) {
  constexpr double most = 1e6;
  return static_cast<int>(std::clamp(pixels, -most, most) * PANGO_SCALE);
}

class LaidOutText final : public TextGeometry {
 public:
  explicit LaidOutText(const Shape& text)
      : layout_(layoutOf(text)), box_(measureText(text)), bytes_(text.text.size()) {
    const char* const start = pango_layout_get_text(layout_.get());
    int count = 0;
    const PangoLogAttr* const letters = pango_layout_get_log_attrs_readonly(layout_.get(), &count);
    const char* at = start;
    for (int i = 0; i < count; ++i) {
      const auto offset = static_cast<std::size_t>(at - start);
      if (letters[i].is_cursor_position != 0) places_.push_back(offset);
      if (letters[i].is_word_start != 0) wordStarts_.push_back(offset);
      if (letters[i].is_word_end != 0) wordEnds_.push_back(offset);
      if (i + 1 < count) at = g_utf8_next_char(at);
    }
    if (places_.empty()) places_.push_back(0);
  }

  [[nodiscard]] Box box() const override { return box_; }

  [[nodiscard]] Box caret(std::size_t offset) const override {
    PangoRectangle strong;
    pango_layout_get_cursor_pos(layout_.get(), index(placeOf(offset)), &strong, nullptr);
    return {box_.x + pixels(strong.x), box_.y + pixels(strong.y), 0, pixels(strong.height)};
  }

  [[nodiscard]] std::vector<Box> boxes(TypedRange range) const override {
    std::vector<Box> boxes;
    const std::size_t from = placeOf(range.from);
    const std::size_t to = placeOf(range.to);
    if (from >= to) return boxes;
    const LayoutIterator iterator(pango_layout_get_iter(layout_.get()));
    do {
      PangoLayoutLine* const line = pango_layout_iter_get_line_readonly(iterator.get());
      const auto first = static_cast<std::size_t>(line->start_index);
      const std::size_t last = first + static_cast<std::size_t>(line->length);
      if (from > last || to <= first) continue;
      PangoRectangle extents;
      pango_layout_iter_get_line_extents(iterator.get(), nullptr, &extents);
      const Box row{box_.x + pixels(extents.x), box_.y + pixels(extents.y), 0,
                    pixels(extents.height)};
      if (first == last) {  // an empty line shows that its end is selected
        boxes.push_back({row.x, row.y, row.h / 4, row.h});
        continue;
      }
      int* ranges = nullptr;
      int count = 0;
      pango_layout_line_get_x_ranges(line, index(std::max(from, first)), index(std::min(to, last)),
                                     &ranges, &count);
      const XRanges held(ranges);
      for (int i = 0; i < count; ++i) {
        const double left = pixels(ranges[2 * i]);
        const double right = pixels(ranges[2 * i + 1]);
        if (right > left) boxes.push_back({box_.x + left, row.y, right - left, row.h});
      }
    } while (pango_layout_iter_next_line(iterator.get()) != FALSE);
    return boxes;
  }

  [[nodiscard]] std::size_t offsetAt(Pt at) const override { return own(nearest(at)); }

  [[nodiscard]] std::size_t next(std::size_t offset, CaretStep step) const override {
    return own(reached(placeOf(offset), step));
  }

  [[nodiscard]] TypedRange wordAt(std::size_t offset) const override {
    const TypedRange word = wordAround(placeOf(offset));
    return {own(word.from), own(word.to)};
  }

 private:
  /// The text may be shorter than what is shown of it, where it was damaged.
  [[nodiscard]] std::size_t own(std::size_t offset) const { return std::min(offset, bytes_); }

  [[nodiscard]] std::size_t nearest(Pt at) const {
    int letter = 0;
    int trailing = 0;
    pango_layout_xy_to_index(layout_.get(), units(at.x - box_.x), units(at.y - box_.y), &letter,
                             &trailing);
    const std::size_t offset = placeOf(forward(letter, trailing));
    // Behind the last letter of a line that is wrapped there is the next line's start.
    const bool isWrapped = offset > 0 && textAt(offset - 1) != '\n' &&
                           lineOf(offset) > lineOf(static_cast<std::size_t>(letter));
    return isWrapped ? before(offset) : offset;
  }

  [[nodiscard]] std::size_t reached(std::size_t offset, CaretStep step) const {
    switch (step) {
      case CaretStep::letterBefore: return before(offset);
      case CaretStep::letterAfter: return after(offset);
      case CaretStep::wordBefore: return wordBefore(offset);
      case CaretStep::wordAfter: return wordAfter(offset);
      case CaretStep::letterLeft: return beside(offset, -1);
      case CaretStep::letterRight: return beside(offset, 1);
      case CaretStep::wordLeft:
        return isRightToLeft(offset) ? wordAfter(offset) : wordBefore(offset);
      case CaretStep::wordRight:
        return isRightToLeft(offset) ? wordBefore(offset) : wordAfter(offset);
      case CaretStep::lineStart: return startOf(lineOf(offset));
      case CaretStep::lineEnd: return endOf(lineOf(offset));
      case CaretStep::lineUp: return inLine(lineOf(offset) - 1, offset);
      case CaretStep::lineDown: return inLine(lineOf(offset) + 1, offset);
      case CaretStep::textStart: return 0;
      case CaretStep::textEnd: return places_.back();
    }
    std::unreachable();
  }

  [[nodiscard]] TypedRange wordAround(std::size_t offset) const {
    const auto start = std::ranges::upper_bound(wordStarts_, offset);
    if (start != wordStarts_.begin()) {
      const std::size_t from = *std::prev(start);
      const auto end = std::ranges::upper_bound(wordEnds_, from);
      const std::size_t to = end == wordEnds_.end() ? places_.back() : *end;
      if (offset <= to) return {from, to};
    }
    // Between two words, within the line.
    const auto end = std::ranges::upper_bound(wordEnds_, offset);
    std::size_t from = end == wordEnds_.begin() ? 0 : *std::prev(end);
    std::size_t to = start == wordStarts_.end() ? places_.back() : *start;
    for (std::size_t i = from; i < offset; ++i) {
      if (textAt(i) == '\n') from = i + 1;
    }
    for (std::size_t i = to; i > offset; --i) {
      if (textAt(i - 1) == '\n') to = i - 1;
    }
    return {from, to};
  }

  [[nodiscard]] static int index(std::size_t offset) { return static_cast<int>(offset); }
  [[nodiscard]] char textAt(std::size_t offset) const {
    return pango_layout_get_text(layout_.get())[offset];
  }

  /// The place between letters at `offset`, or the nearest one before it.
  [[nodiscard]] std::size_t placeOf(std::size_t offset) const {
    return *std::prev(std::ranges::upper_bound(places_, std::min(offset, bytes_)));
  }
  [[nodiscard]] std::size_t before(std::size_t offset) const {
    const auto at = std::ranges::lower_bound(places_, offset);
    return at == places_.begin() ? offset : *std::prev(at);
  }
  [[nodiscard]] std::size_t after(std::size_t offset) const {
    const auto at = std::ranges::upper_bound(places_, offset);
    return at == places_.end() ? offset : *at;
  }
  [[nodiscard]] std::size_t wordBefore(std::size_t offset) const {
    const auto at = std::ranges::lower_bound(wordStarts_, offset);
    return at == wordStarts_.begin() ? 0 : *std::prev(at);
  }
  [[nodiscard]] std::size_t wordAfter(std::size_t offset) const {
    const auto at = std::ranges::upper_bound(wordEnds_, offset);
    return at == wordEnds_.end() ? places_.back() : *at;
  }

  [[nodiscard]] std::size_t forward(int offset, int letters) const {
    const char* const start = pango_layout_get_text(layout_.get());
    const char* at = start + offset;
    for (; letters > 0 && *at != '\0'; --letters) at = g_utf8_next_char(at);
    return static_cast<std::size_t>(at - start);
  }

  [[nodiscard]] std::size_t beside(std::size_t offset, int direction) const {
    int reached = 0;
    int trailing = 0;
    pango_layout_move_cursor_visually(layout_.get(), TRUE, index(offset), 0, direction, &reached,
                                      &trailing);
    if (reached < 0 || reached == INT_MAX) return offset;
    return placeOf(forward(reached, trailing));
  }

  [[nodiscard]] bool isRightToLeft(std::size_t offset) const {
    return pango_layout_get_direction(layout_.get(), index(offset)) == PANGO_DIRECTION_RTL;
  }

  [[nodiscard]] int lineOf(std::size_t offset) const {
    int line = 0;
    pango_layout_index_to_line_x(layout_.get(), index(offset), 0, &line, nullptr);
    return line;
  }

  [[nodiscard]] std::size_t startOf(int line) const {
    const PangoLayoutLine* const found = pango_layout_get_line_readonly(layout_.get(), line);
    return placeOf(static_cast<std::size_t>(found->start_index));
  }

  [[nodiscard]] std::size_t endOf(int line) const {
    const PangoLayoutLine* const found = pango_layout_get_line_readonly(layout_.get(), line);
    const std::size_t end = placeOf(static_cast<std::size_t>(found->start_index + found->length));
    return lineOf(end) > line ? before(end) : end;
  }

  [[nodiscard]] std::size_t inLine(int line, std::size_t offset) const {
    if (line < 0) return 0;
    if (line >= pango_layout_get_line_count(layout_.get())) return places_.back();
    const Box start = caret(startOf(line));
    return offsetAt({caret(offset).x, start.y + start.h / 2});
  }

  TextLayout layout_;
  Box box_;
  std::size_t bytes_;
  std::vector<std::size_t> places_;  // between letters, in order
  std::vector<std::size_t> wordStarts_;
  std::vector<std::size_t> wordEnds_;
};

}  // namespace

std::unique_ptr<TextGeometry> layOut(const Shape& text) {
  return std::make_unique<LaidOutText>(text);
}

}  // namespace vantorel
