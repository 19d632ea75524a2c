#include "text/picture_text.hpp"

#include <gtest/gtest.h>

#include <string_view>

#include "text/letter_edges.hpp"

namespace vantorel {
namespace {

/// A line of letters `pitch` pixels apart and 12 high, whose ink leaves a pixel between them. A row
/// of blanks is a gap as wide as they are.
ReadLine lineAt(int x, int y, std::string_view text, int pitch = 8) {
  ReadLine line;
  line.confidence = 0.9F;
  for (const char c : text) {
    if (c == ' ') {
      if (!line.words.empty() && !line.words.back().letters.empty()) line.words.emplace_back();
    } else {
      if (line.words.empty()) line.words.emplace_back();
      line.words.back().letters.push_back({std::string(1, c), {x, y, pitch - 1, 12}, 0.9F});
      line.box = {line.box.isEmpty() ? x : line.box.x, y, 0, 12};
      line.box.width = x + pitch - 1 - line.box.x;
    }
    x += pitch;
  }
  return line;
}

PictureReading readingOf(std::vector<ReadLine> lines) {
  PictureReading reading;
  reading.size = {1000, 800};
  reading.blocks.push_back({std::move(lines)});
  return reading;
}

TEST(PictureTextTest, LinesKeepTheirPlacesAndTheirLetters) {
  PictureReading reading = readingOf({lineAt(100, 40, "Total due"), lineAt(100, 60, "12.50")});
  reading.blocks.push_back({{lineAt(500, 400, "Thanks")}});
  reading.codes.push_back({"https://example.org", "qr", {700, 200, 100, 100}});
  reading.blocks[0].lines[0].words[1].letters[0].text = "\u00df";

  const PictureText found = pictureText(reading);
  EXPECT_EQ(found.text, "Total \u00dfue\n12.50\n\nThanks");
  ASSERT_EQ(found.blocks.size(), 2);
  const OCRLine& line = found.blocks[0].lines[0];
  EXPECT_FLOAT_EQ(line.box.x, 0.1F);
  EXPECT_FLOAT_EQ(line.box.y, 0.05F);
  EXPECT_FLOAT_EQ(line.box.w, 0.071F);
  EXPECT_FLOAT_EQ(line.box.h, 0.015F);
  // The blank begins where the ink before it ends, and "ß" where its own ink does.
  const std::vector<double> edges = letterEdges(line, 71.0 / 12);
  ASSERT_EQ(edges.size(), 10);
  EXPECT_NEAR(edges[1] * 71, 8, 0.3);
  EXPECT_NEAR(edges[5] * 71, 39, 0.3);
  EXPECT_NEAR(edges[6] * 71, 48, 0.3);
  ASSERT_EQ(found.codes.size(), 1);
  EXPECT_EQ(found.codes[0].payload, "https://example.org");
  EXPECT_FLOAT_EQ(found.codes[0].box.y, 0.25F);
  EXPECT_FALSE(found.isTruncated);
  EXPECT_EQ(found.shape, TextShape::plain);
}

TEST(PictureTextTest, TooMuchTextEndsAfterAWholeLine) {
  std::vector<ReadLine> lines;
  for (int i = 0; i < 2100; ++i) lines.push_back(lineAt(0, 0, std::string(99, 'x'), 1));
  const PictureText found = pictureText(readingOf(std::move(lines)));
  EXPECT_TRUE(found.isTruncated);
  EXPECT_EQ(found.text.size(), maximumRecognisedLetters - 1);
  EXPECT_EQ(found.blocks[0].lines.size(), 2000);
  EXPECT_TRUE(pictureText({}).text.empty());
}

TextShape shapeOf(std::vector<ReadLine> lines) {
  return pictureText(readingOf(std::move(lines))).shape;
}

TEST(TextShapeOfTest, TablesHaveColumnsOverSeveralRows) {
  EXPECT_EQ(shapeOf({lineAt(20, 20, "Item           Amount       Price"),
                     lineAt(20, 40, "Apples         12            3.40"),
                     lineAt(20, 60, "Pears          7            12.90"),
                     lineAt(20, 80, "Cherries       1             0.99")}),
            TextShape::table);
  // Read column by column, with the numbers set to the right.
  EXPECT_EQ(shapeOf({lineAt(20, 20, "Name"), lineAt(20, 41, "Ada Byron"), lineAt(20, 60, "Max"),
                     lineAt(20, 80, "Grace H."), lineAt(300, 21, "Age"), lineAt(308, 40, "36"),
                     lineAt(308, 60, "99"), lineAt(308, 81, "85")}),
            TextShape::table);
  // Two columns of prose are none, nor is a menu bar above a text.
  EXPECT_EQ(shapeOf({lineAt(20, 20, "It was a bright cold day in spring and clocks"),
                     lineAt(20, 40, "struck all over the town as she went along it"),
                     lineAt(20, 60, "with nobody to talk to but the cat at the gate"),
                     lineAt(20, 80, "which had been waiting there since long before"),
                     lineAt(500, 20, "They say that a captain never sleeps as long"),
                     lineAt(500, 40, "as there are whales about, and this one never"),
                     lineAt(500, 60, "did, nor did he let anybody else do it for an"),
                     lineAt(500, 80, "hour when the moon was as bright as it was now")}),
            TextShape::plain);
  EXPECT_EQ(shapeOf({lineAt(20, 20, "File     Edit     View     Help"),
                     lineAt(20, 60, "Dear all, the meeting is moved to Tuesday."),
                     lineAt(20, 80, "Please bring your notes and a pen."),
                     lineAt(20, 100, "See you there, and do not be late.")}),
            TextShape::plain);
}

TEST(TextShapeOfTest, CodeHasMarksAndDepths) {
  EXPECT_EQ(shapeOf({lineAt(20, 20, "for (int i = 0; i < count; ++i) {"),
                     lineAt(52, 40, "if (list[i] == wanted) {"), lineAt(84, 60, "return i;"),
                     lineAt(52, 80, "}"), lineAt(20, 100, "}")}),
            TextShape::code);
  EXPECT_EQ(shapeOf({lineAt(20, 20, "import json"), lineAt(20, 40, "def load(path):"),
                     lineAt(52, 60, "with open(path) as file:"),
                     lineAt(84, 80, "return json.load(file)")}),
            TextShape::code);
  EXPECT_EQ(shapeOf({lineAt(20, 20, "Call me (any time) if you like; I am at home."),
                     lineAt(20, 40, "The page is https://example.org/a and the price"),
                     lineAt(20, 60, "= 12 for three; return what you do not want."),
                     lineAt(20, 80, "If it rains, we go on Monday.")}),
            TextShape::plain);
  EXPECT_EQ(shapeOf({}), TextShape::plain);
}

}  // namespace
}  // namespace vantorel
