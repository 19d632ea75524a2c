#pragma once

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "editor/testing/mixed_shapes.hpp"
#include "platform/text_geometry.hpp"

namespace vantorel {

/// Where letters lie in the imagined font of `roughText`: a byte is as wide as a letter, lines end
/// where the text says so, and words are parted by spaces. From left to right.
class RoughTextGeometry final : public TextGeometry {
 public:
  explicit RoughTextGeometry(Shape text) : text_(std::move(text)) {}

  [[nodiscard]] Box box() const override { return roughText(text_); }

  [[nodiscard]] Box caret(std::size_t offset) const override {
    const std::size_t start = lineStart(offset);
    const auto line = std::count(text_.text.begin(), text_.text.begin() + at(start), '\n');
    return {text_.x + 0.6 * text_.fontSize * double(offset - start),
            text_.y + 1.2 * text_.fontSize * double(line), 0, 1.2 * text_.fontSize};
  }

  [[nodiscard]] std::size_t offsetAt(Pt place) const override {
    std::size_t start = 0;
    for (double y = text_.y + 1.2 * text_.fontSize; y <= place.y; y += 1.2 * text_.fontSize) {
      const std::size_t end = lineEnd(start);
      if (end == text_.text.size()) break;
      start = end + 1;
    }
    const double letters = std::round((place.x - text_.x) / (0.6 * text_.fontSize));
    return letterStart(
        start + static_cast<std::size_t>(std::clamp(letters, 0.0, double(lineEnd(start) - start))));
  }

  [[nodiscard]] std::vector<Box> boxes(TypedRange range) const override {
    std::vector<Box> boxes;
    for (std::size_t from = range.from; from < range.to;) {
      const std::size_t to = std::min(lineEnd(from), range.to);
      Box box = caret(from);
      box.w = caret(to).x - box.x;
      boxes.push_back(box);
      from = to + 1;
    }
    return boxes;
  }

  [[nodiscard]] std::size_t next(std::size_t offset, CaretStep step) const override {
    const std::string& text = text_.text;
    const Box here = caret(offset);
    switch (step) {
      case CaretStep::letterLeft:
      case CaretStep::letterBefore: return offset == 0 ? 0 : letterStart(offset - 1);
      case CaretStep::letterRight:
      case CaretStep::letterAfter:
        do ++offset;
        while (letterStart(offset) != offset);
        return std::min(offset, text.size());
      case CaretStep::wordLeft:
      case CaretStep::wordBefore:
        while (offset > 0 && text[offset - 1] == ' ') --offset;
        while (offset > 0 && text[offset - 1] != ' ') --offset;
        return offset;
      case CaretStep::wordRight:
      case CaretStep::wordAfter:
        while (offset < text.size() && text[offset] == ' ') ++offset;
        while (offset < text.size() && text[offset] != ' ') ++offset;
        return offset;
      case CaretStep::lineStart: return lineStart(offset);
      case CaretStep::lineEnd: return lineEnd(offset);
      case CaretStep::lineUp:
        return lineStart(offset) == 0 ? 0 : offsetAt({here.x, here.y - here.h / 2});
      case CaretStep::lineDown:
        return lineEnd(offset) == text.size() ? text.size()
                                              : offsetAt({here.x, here.y + 1.5 * here.h});
      case CaretStep::textStart: return 0;
      case CaretStep::textEnd: return text.size();
    }
    std::unreachable();
  }

  [[nodiscard]] TypedRange wordAt(std::size_t offset) const override {
    TypedRange range{offset, offset};
    while (range.from > 0 && text_.text[range.from - 1] != ' ') --range.from;
    while (range.to < text_.text.size() && text_.text[range.to] != ' ') ++range.to;
    return range;
  }

 private:
  [[nodiscard]] std::size_t letterStart(std::size_t offset) const {
    while (offset < text_.text.size() && (text_.text[offset] & '\xC0') == '\x80') --offset;
    return offset;
  }
  static std::ptrdiff_t at(std::size_t offset) { return static_cast<std::ptrdiff_t>(offset); }
  [[nodiscard]] std::size_t lineStart(std::size_t offset) const {
    if (offset == 0) return 0;
    const std::size_t end = text_.text.rfind('\n', offset - 1);
    return end == std::string::npos ? 0 : end + 1;
  }
  [[nodiscard]] std::size_t lineEnd(std::size_t offset) const {
    return std::min(text_.text.find('\n', offset), text_.text.size());
  }

  Shape text_;
};

inline std::unique_ptr<TextGeometry> roughLayout(const Shape& text) {
  return std::make_unique<RoughTextGeometry>(text);
}

}  // namespace vantorel
