#include "render/laid_out_text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "base/utf8.hpp"
#include "render/testing/test_scene.hpp"
#include "render/text_layout.hpp"

namespace vantorel {
namespace {

using ::testing::ElementsAre;

std::unique_ptr<TextGeometry> geometryOf(const std::string& text,
                                         std::optional<double> boxWidth = {}) {
  Shape shape = textShape({100, 50}, text, 20, TextStyle::plain);
  shape.boxWidth = boxWidth;
  return layOut(shape);
}

/// Where the caret stops on the way from the start.
std::vector<std::size_t> stops(const TextGeometry& text, CaretStep step) {
  std::vector<std::size_t> places;
  for (std::size_t at = 0;;) {
    const std::size_t next = text.next(at, step);
    if (next == at) return places;
    places.push_back(at = next);
  }
}

TEST(LaidOutTextTest, WhatAReaderTakesForOneLetterIsOneStep) {
  // A letter with its accent, a family of three, a flag, an accent of its own.
  const std::string text = "e\u0301\U0001F469\u200D\U0001F469\u200D\U0001F467\U0001F1E9\U0001F1EAé";
  const auto geometry = geometryOf(text);
  EXPECT_THAT(stops(*geometry, CaretStep::letterAfter), ElementsAre(3U, 21U, 29U, text.size()));
  EXPECT_EQ(geometry->next(21, CaretStep::letterBefore), 3U);
  EXPECT_EQ(geometry->caret(10), geometry->caret(3)) << "never inside one";
}

TEST(LaidOutTextTest, TheCaretGoesAsItIsSeenAndReadsBackwardsInRightToLeftText) {
  const std::string text = "שלום";
  const auto geometry = geometryOf(text);
  EXPECT_GT(geometry->caret(0).x, geometry->caret(text.size()).x);
  EXPECT_EQ(geometry->next(0, CaretStep::letterLeft), 2U);
  EXPECT_EQ(geometry->next(2, CaretStep::letterRight), 0U);
  EXPECT_EQ(geometry->next(0, CaretStep::wordLeft), text.size());
  EXPECT_EQ(geometry->next(4, CaretStep::letterBefore), 2U);
  const auto mixed = geometryOf("ab שלום cd");
  EXPECT_GE(mixed->boxes({1, 7}).size(), 2U) << "what is marked falls apart";
}

TEST(LaidOutTextTest, APlaceThatIsClickedIsWhereTheCaretStands) {
  for (const std::string& text :
       {std::string("Hello wide world"), std::string("one\n\nthree"), std::string("שלום"),
        std::string("\U0001F600 ok"), std::string()}) {
    for (const std::optional<double> width : {std::optional<double>(), std::optional(70.0)}) {
      const auto geometry = geometryOf(text, width);
      const Shape shape = textShape({100, 50}, text, 20, TextStyle::plain);
      for (std::size_t offset = 0;;) {
        const Box caret = geometry->caret(offset);
        const std::size_t found = geometry->offsetAt({caret.x, caret.y + caret.h / 2});
        // Between two directions, or where a line is wrapped, two offsets share a place.
        EXPECT_NEAR(geometry->caret(found).x, caret.x, 0.1) << text << " at " << offset;
        EXPECT_EQ(geometry->caret(found).y, caret.y) << text << " at " << offset;
        const std::size_t next = geometry->next(offset, CaretStep::letterAfter);
        if (next == offset) break;
        offset = next;
      }
      EXPECT_EQ(geometry->box().h, measureText(width ? [&] {
                  Shape wrapped = shape;
                  wrapped.boxWidth = width;
                  return wrapped;
                }() : shape).h);
    }
  }
}

TEST(LaidOutTextTest, LinesThatAreWrappedHaveEndsOfTheirOwn) {
  const std::string text = "first second third";
  const auto geometry = geometryOf(text, 100);
  const double firstLine = geometry->caret(0).y;
  const std::size_t end = geometry->next(0, CaretStep::lineEnd);
  EXPECT_EQ(geometry->caret(end).y, firstLine);
  EXPECT_EQ(end, 5U);
  const std::size_t below = geometry->next(2, CaretStep::lineDown);
  EXPECT_GT(geometry->caret(below).y, firstLine);
  EXPECT_EQ(geometry->next(below, CaretStep::lineUp), 2U);
  EXPECT_EQ(geometry->next(below, CaretStep::lineStart), 6U);
  EXPECT_EQ(geometry->offsetAt({900, firstLine + 5}), 5U) << "right of the line, and in it";
  EXPECT_EQ(geometry->boxes({0, text.size()}).size(), 3U);
  EXPECT_EQ(geometry->wordAt(8), (TypedRange{6, 12}));
  EXPECT_EQ(geometry->wordAt(12), (TypedRange{6, 12}));
  const auto gaps = geometryOf("a  b\n c");
  EXPECT_EQ(gaps->wordAt(2), (TypedRange{1, 3}));
}

TEST(LaidOutTextTest, AnyTextAndAnyPlaceHasAnAnswer) {
  std::mt19937 random(3);
  const auto below = [&](std::size_t count) { return random() % count; };
  for (int i = 0; i < 300; ++i) {
    std::string text;
    for (std::size_t k = below(12); k > 0; --k) {
      static const std::vector<std::string> pieces{
          "a",          " ",      "\n",  "é", "ש", "\u0301", "\xff", "\t", "\U0001F469\u200D",
          "\U0001F1E9", "\u2029", "word"};
      text += pieces[below(pieces.size())];
    }
    std::optional<double> width;
    if (below(2) == 0) width = double(below(90));
    if (i == 0) {
      text.assign(2'500, 'x');
      width.reset();
    }
    const auto geometry = geometryOf(text, width);
    for (int k = 0; k < 20; ++k) {
      const std::size_t offset = below(text.size() + 5);
      const auto step = static_cast<CaretStep>(below(14));
      ASSERT_LE(geometry->next(offset, step), text.size());
      const Pt at{double(below(400)), double(below(300))};
      ASSERT_LE(geometry->offsetAt(at), text.size());
      const TypedRange word = geometry->wordAt(offset);
      ASSERT_LE(word.from, word.to);
      for (const Box& box : geometry->boxes({std::min(offset, word.to), word.to})) {
        ASSERT_GT(box.h, 0);
      }
    }
  }
}

}  // namespace
}  // namespace vantorel
