#include "editor/records/editor_document.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "editor/records/combine_spec.hpp"
#include "editor/records/edited_text.hpp"

namespace vantorel {
namespace {

template <class Record>
std::string roundTrip(const std::string& text) {
  const auto record = json::fromText<Record>(text);
  return record ? json::toText(*record) : record.error().reason;
}

TEST(EditorDocumentTest, UnknownKeysOfEveryRecordSurvive) {
  for (
      const char* text :
      {R"({"shapes":[{"id":"s","type":"rect","color":"#000000","width":1,"points":[],"x1":0,"y1":0,)"
       R"("x2":9,"y2":9,"x":0,"y":0,"text":"","fontSize":0,"n":1}],)"
       R"("crop":{"x":1,"y":2,"w":3,"h":4},)"
       R"("background":{"fill":{"gradient":{"_0":"dusk"}},"paddingPercent":5,"cornerRadius":3,)"
       R"("shadow":false,"shadowStrength":0.25,"n":2},)"
       R"("layers":[{"id":"l","path":"/a.png","frameIndex":1,"pixelWidth":8,"pixelHeight":6,)"
       R"("frame":{"x":0,"y":0,"w":8,"h":6},"opacity":0.5,"visible":false,"locked":true,)"
       R"("name":"Logo","border":{"width":2,"color":"#00ff00","n":3},"n":4}],)"
       R"("canvas":{"width":640,"height":480,"backdropHex":"#123456","n":5},"n":6})"}) {
    EXPECT_EQ(roundTrip<EditorDocument>(text), text);
  }
  const char* combine =
      R"({"attachments":[{"id":"b","path":"/b.png","pixelWidth":4,"pixelHeight":3,"frameIndex":0,)"
      R"("n":1}],"layout":"stacked","gutter":8,"gutterHex":"#eeeeee","n":2})";
  EXPECT_EQ(roundTrip<CombineSpec>(combine), combine);
  const char* edited =
      R"({"basis":"Helo","blocks":[{"block":0,"original":"Helo","text":"Hello","n":1}],)"
      R"("document":"Hello","fileDigest":"00ff","parked":true,"n":2})";
  EXPECT_EQ(roundTrip<EditedText>(edited), edited);
}

TEST(EditorDocumentTest, BadItemsFallAwayAlone) {
  const auto document = json::fromText<EditorDocument>(
      R"({"shapes":[{"id":"s","type":"blob","color":"","width":1}],"crop":"all",)"
      R"("background":{"fill":{"plaid":{"_0":"x"}}},)"
      R"("layers":[{"id":"no frame"},{"id":"l","frame":{"x":0,"y":0,"w":8,"h":6}}]})");
  ASSERT_TRUE(document.has_value());
  EXPECT_TRUE(document->shapes.empty());
  EXPECT_EQ(document->background, BackgroundSpec{});
  ASSERT_EQ(document->layers.size(), 1U);
  EXPECT_TRUE(document->layers[0].visible);
  EXPECT_NE(json::toText(*document).find(R"("crop":"all")"), std::string::npos);
}

TEST(BackgroundFillTest, EachCaseIsAnObjectWithOneKey) {
  for (const char* text :
       {R"({"none":{}})", R"({"solid":{"_0":"#ff0000"}})", R"({"gradient":{"_0":"dusk"}})"}) {
    EXPECT_EQ(roundTrip<BackgroundFill>(text), text);
  }
  for (const char* bad : {"{}", R"("none")", R"({"none":{},"solid":{"_0":"#ff0000"}})",
                          R"({"solid":{}})", R"({"solid":{"_0":1}})", R"({"none":1})"}) {
    EXPECT_FALSE(json::fromText<BackgroundFill>(bad).has_value()) << bad;
  }
}

TEST(LayerBorderTest, UnusableWidthsAreNoBorder) {
  for (const double width : {0.0, -3.0, std::nan(""), HUGE_VAL}) {
    EXPECT_EQ(normalised({width, "#000000", {}}), std::nullopt) << width;
  }
  const auto border = normalised({1000, "", {}});
  ASSERT_TRUE(border.has_value());
  EXPECT_EQ(border->width, 400);
  EXPECT_EQ(border->color, "#ff3b30");

  const std::string layer = R"({"id":"l","frame":{"x":0,"y":0,"w":8,"h":6},"border":)";
  EXPECT_EQ(json::fromText<LayerSpec>(layer + R"({"width":0,"color":"#000000"}})")->border,
            std::nullopt);
  EXPECT_EQ(json::fromText<LayerSpec>(layer + R"({"width":3}})")->border->color, "#ff3b30");
}

}  // namespace
}  // namespace vantorel
