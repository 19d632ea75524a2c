#include "editor/text_hits.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/capture_text.hpp"
#include "text/letter_edges.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

/// A capture of 1000 by 500 pixels. Its letters are 10 pixels wide and 20 high.
class CaptureTextTest : public testing::Test {
 protected:
  CaptureTextTest() {
    entry.pixelWidth = 1000;
    entry.pixelHeight = 500;
    entry.ocrBlocks.emplace();
  }
  void addLine(int x, int y, const std::string& text) {
    OCRLine line{.text = text};
    std::vector<double> edges{0};
    for (const char byte : text) {
      if ((static_cast<unsigned char>(byte) & 0xC0U) != 0x80U) edges.push_back(edges.back() + 0.5);
    }
    line.letters = encodedLetters(edges);
    line.box = {.x = static_cast<float>(x) / 1000,
                .y = static_cast<float>(y) / 500,
                .w = static_cast<float>(edges.back() * 20) / 1000,
                .h = 20.0F / 500};
    entry.ocrBlocks->back().lines.push_back(std::move(line));
  }
  void addBlock(int x, int y, const std::vector<std::string>& lines) {
    entry.ocrBlocks->emplace_back();
    for (const std::string& line : lines) {
      addLine(x, y, line);
      y += 26;
    }
    std::string text;
    for (const OCRBlock& block : *entry.ocrBlocks) {
      if (!text.empty()) text += "\n\n";
      for (const OCRLine& line : block.lines) {
        text += line.text + (&line == &block.lines.back() ? "" : "\n");
      }
    }
    entry.ocrText = text;
  }
  void redact(double x1, double y1, double x2, double y2) {
    Shape shape;
    shape.id = fmt::format("s{}", entry.shapes.size());
    shape.type = ShapeType::redact;
    shape.x1 = x1;
    shape.y1 = y1;
    shape.x2 = x2;
    shape.y2 = y2;
    entry.shapes.push_back(shape);
  }
  static std::vector<SearchWord> words(const std::string& typed) {
    std::vector<SearchWord> all;
    for (const std::string& word : typedWords(typed).words) all.emplace_back(word);
    return all;
  }
  /// The snippet with its hits in brackets.
  [[nodiscard]] std::string snippet(const std::string& typed, std::size_t length = 100) const {
    const TextSnippet found = textSnippet(entry, words(typed), length);
    std::string text;
    std::size_t at = 0;
    for (const TextRange& hit : found.hits) {
      text += found.text.substr(at, hit.begin - at) + "[" +
              found.text.substr(hit.begin, hit.length()) + "]";
      at = hit.end;
    }
    return text + found.text.substr(std::min(at, found.text.size()));
  }
  /// The boxes in pixels.
  [[nodiscard]] std::vector<std::string> boxes(const std::string& typed) const {
    std::vector<std::string> all;
    for (const Box& box : hitBoxes(entry, words(typed))) {
      all.push_back(fmt::format("{:.0f},{:.0f} {:.0f}x{:.0f}", box.x * 1000, box.y * 500,
                                box.w * 1000, box.h * 500));
    }
    return all;
  }

  ScreenshotEntry entry;
};

TEST_F(CaptureTextTest, ASearchShowsTheLineAndMarksTheLetters) {
  addBlock(100, 100, {"Grüße an alle", "die Brücke über die", "Große Straße"});
  addBlock(100, 300, {"a bridge"});
  EXPECT_EQ(snippet("bru"), "die [Brü]cke über die");
  EXPECT_EQ(snippet("die"), "[die] Brücke über [die]");
  EXPECT_EQ(snippet("bridge alle die"), "Grüße an [alle]") << "the first of as many";
  EXPECT_EQ(snippet("STRASSE grosse"), "[Große] [Straße]");
  EXPECT_EQ(snippet("\"die grosse\""), "die Brücke über [die Große] Straße");
  EXPECT_EQ(snippet("ru ru\xCC\x88"), "G[rü]ße an alle");
  EXPECT_EQ(snippet("nowhere"), "");
  EXPECT_EQ(snippet(""), "");

  EXPECT_THAT(boxes("bru"), ElementsAre("140,126 30x20"));
  EXPECT_THAT(boxes("\"die grosse\""), ElementsAre("260,126 30x20", "100,152 50x20"));
  EXPECT_THAT(boxes("\"strasse a\""), IsEmpty()) << "blocks have nothing to do with each other";

  // The user's own words are found where they are no more on the picture.
  entry.editedText = EditedText{.basis = *entry.ocrText,
                                .blocks = {},
                                .document = "All is new\nhere",
                                .fileDigest = {},
                                .parked = false,
                                .extra = {}};
  EXPECT_EQ(snippet("new"), "All is [new]");
  EXPECT_THAT(boxes("new"), IsEmpty());
  EXPECT_EQ(snippet("bru"), "");
}

TEST_F(CaptureTextTest, LongLinesAreCutBetweenWords) {
  addBlock(0, 100, {"one two three four five six seven eight nine ten eleven twelve"});
  EXPECT_EQ(snippet("one", 20), "[one] two three four…");
  EXPECT_EQ(snippet("six", 20), "…five [six] seven…");
  EXPECT_EQ(snippet("twelve", 20), "…ten eleven [twelve]");
  addBlock(0, 200, {"Zoë" + std::string(300, 'x') + "needleü" + std::string(300, 'y')});
  const TextSnippet cut = textSnippet(entry, words("needleu"), 30);
  ASSERT_THAT(cut.hits, SizeIs(1));
  EXPECT_EQ(cut.text.substr(cut.hits[0].begin, cut.hits[0].length()), "needleü");
  EXPECT_LT(cut.text.size(), 45U);
  // What is longer than all that is shown is cut as well.
  EXPECT_LT(textSnippet(entry, words(std::string(60, 'x')), 30).text.size(), 45U);
}

TEST_F(CaptureTextTest, WhatARedactionTouchesIsNowhere) {
  addBlock(100, 100, {"key sk-12345 of bob", "on the next line"});
  addBlock(100, 300, {"more text"});
  redact(165, 98, 200, 121);  // a part of the key
  EXPECT_EQ(captureText(entry), "key of bob\non the next line\n\nmore text");
  EXPECT_EQ(snippet("12345"), "");
  EXPECT_EQ(snippet("sk"), "");
  EXPECT_THAT(boxes("12345"), IsEmpty());
  EXPECT_EQ(snippet("bob"), "key of [bob]");
  EXPECT_THAT(boxes("bob"), ElementsAre("260,100 30x20"));
  EXPECT_THAT(boxes("next"), SizeIs(1)) << "the margin of a redaction hides nothing";

  // Corrections of what is covered in part are not known to be without it.
  entry.editedText = EditedText{.basis = *entry.ocrText,
                                .blocks = {{.block = 0, .original = {}, .text = {}, .extra = {}}},
                                .document = "key sk-12345 corrected",
                                .fileDigest = {},
                                .parked = false,
                                .extra = {}};
  EXPECT_THAT(captureText(entry), Not(HasSubstr("12345")));
  entry.editedText->document.reset();
  entry.editedText->blocks = {
      {.block = 0,
       .original = "key sk-12345 of bob\non the next line",
       .text = "sk-12345!",
       .extra = {}},
      {.block = 1, .original = "more text", .text = "More text.", .extra = {}}};
  EXPECT_EQ(captureText(entry), "key of bob\non the next line\n\nMore text.");

  // Nor does it go out with the rest of the entry.
  entry.codes = std::vector<DetectedCode>{
      {.payload = "covered", .symbology = "qr", .box = {0.16F, 0.2F, 0.1F, 0.1F, {}}, .extra = {}},
      {.payload = "open", .symbology = "qr", .box = {0.6F, 0.6F, 0.1F, 0.1F, {}}, .extra = {}}};
  const std::string json = json::toText(withShownText(entry));
  EXPECT_THAT(json, Not(HasSubstr("12345")));
  EXPECT_THAT(json, Not(HasSubstr("covered")));
  EXPECT_THAT(json, HasSubstr("open"));
  EXPECT_THAT(json, HasSubstr("on the next line"));

  // Where nobody knows what lies where, nothing is shown.
  entry.pixelWidth.reset();
  EXPECT_EQ(captureText(entry), "");
  entry.pixelWidth = 1000;
  entry.ocrBlocks.reset();
  EXPECT_EQ(captureText(entry), "");
  entry.shapes.clear();
  EXPECT_EQ(captureText(entry), *entry.ocrText);
}

TEST_F(CaptureTextTest, WhatIsCroppedAwayIsNoPartOfIt) {
  addBlock(100, 100, {"left and right"});
  addBlock(100, 300, {"below"});
  entry.crop = Box{90, 90, 85, 100};
  EXPECT_EQ(captureText(entry), "left and");
  EXPECT_EQ(snippet("below"), "");
  entry.crop = Box{0, 0, 1000, 500};
  EXPECT_EQ(captureText(entry), "left and right\n\nbelow");

  ScreenshotEntry read;
  read.ocrText = "one\ntwo \nthree-\nfour\n\nfive";
  EXPECT_EQ(copiedCaptureText(read, true), "one two three-four\n\nfive");
  EXPECT_EQ(copiedCaptureText(read, false), *read.ocrText);
  read.textShape = TextShape::code;
  EXPECT_EQ(copiedCaptureText(read, true), *read.ocrText);
}

}  // namespace
}  // namespace vantorel
