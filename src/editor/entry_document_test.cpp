#include "editor/entry_document.hpp"

#include <gtest/gtest.h>

#include "editor/testing/mixed_shapes.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_image_codec.hpp"

namespace vantorel {
namespace {

class EntryDocumentTest : public ::testing::Test {
 protected:
  EntryDocumentTest() {
    const Image picture = MutableImage({4, 3}, PixelFormat::bgrx).finish();
    EXPECT_TRUE(files
                    .create("/logo.png", *codec.encode(picture, {}), Privacy::ownerOnly,
                            Durability::visible)
                    .has_value());
  }

  std::string answer(const std::string& text) {
    document = {};
    auto checked = checkedDocument(text, {800, 600}, "/pictures", files, codec);
    if (!checked) return checked.error().reason;
    document = *std::move(checked);
    return "accepted";
  }

  FakeFiles files;
  FakeImageCodec codec;
  EditorDocument document;
};

TEST_F(EntryDocumentTest, WhatWouldBeLostOrCouldNotBeDrawnIsRefusedInASentence) {
  EXPECT_EQ(answer("{}"), "accepted");
  EXPECT_EQ(document.canvas.width, 800);
  EXPECT_EQ(answer("[]"), "The document must be a JSON object.");
  EXPECT_EQ(answer("{").substr(0, 24), "The document isn't JSON:");
  EXPECT_EQ(answer(R"({"shapes":[{"id":"a","type":"circle","color":"#000000","width":1}]})"),
            "The document can't be used: shapes[0].type: unknown shape type circle.");
  EXPECT_EQ(answer(R"({"shapes":{}})"), "The document can't be used: shapes: must be a list.");
  const auto refused = [&](const std::string& member) {
    return answer(R"({"shapes":[{"id":"a","type":"pen","color":"#ff0000","width":1,)" + member +
                  "}]}");
  };
  EXPECT_EQ(refused(R"("fill":"plaid")"),
            "The document can't be used: shapes[0].fill: must be one of none, solid, tint.");
  EXPECT_EQ(refused(R"("x1":"12")"), "The document can't be used: shapes[0].x1: must be a number.");
  EXPECT_EQ(refused(R"("points":[{"x":1,"y":2},[3,4]])"),
            "The document can't be used: shapes[0].points[1]: must be an object.");
  EXPECT_EQ(refused(R"("points":null,"fill":null,"later":[])"), "accepted");
  EXPECT_EQ(answer(R"({"background":{"fill":{"solid":{"_0":"blue"}}}})"),
            "The document can't be used: background.fill.solid: must be \"#\" and six hexadecimal "
            "digits.");
  EXPECT_EQ(answer(R"({"layers":[{"id":"l"}]})"),
            "The document can't be used: layers[0].frame: is missing.");
  EXPECT_EQ(answer(R"({"shapes":[{"id":"a","type":"pen","color":"#000000","width":1},)"
                   R"({"id":"a","type":"pen","color":"#000000","width":1}]})"),
            "The document can't be used: two shapes have the id a.");
  EXPECT_EQ(answer(R"({"canvas":{"width":8001,"height":8000}})"),
            "Too large — the canvas is limited to 64 million pixels.");
  EXPECT_EQ(answer(R"({"canvas":{"width":12.5,"height":8}})"), "Enter whole numbers of pixels.");
  EXPECT_EQ(answer(R"({"canvas":{"width":0,"height":100}})"),
            "The canvas needs at least 1 px each way.");

  const std::string layer = R"({"layers":[{"id":"l","frame":{"x":0,"y":0,"w":8,"h":6},"path":)";
  EXPECT_EQ(answer(layer + R"("/gone.png"}]})"),
            "Export is blocked: gone is missing. Hide or remove it.");
  EXPECT_EQ(answer(layer + R"("/gone.png","visible":false}]})"), "accepted");
  EXPECT_EQ(answer(layer + R"("../logo.png"}],"later":1})"), "accepted");
  EXPECT_EQ(document.layers[0].path, "/logo.png");
  EXPECT_EQ(document.layers[0].name, "logo");
  EXPECT_EQ(document.layers[0].pixelWidth, 4);
  EXPECT_NE(json::toText(document).find(R"("later":1)"), std::string::npos);
}

TEST_F(EntryDocumentTest, ALayerIsCheckedByTheFrameItShows) {
  const Image tall = MutableImage({5, 9}, PixelFormat::bgrx).finish();
  ASSERT_TRUE(files
                  .create("/film.webp", *files.read("/logo.png", 1000) + *codec.encode(tall, {}),
                          Privacy::ownerOnly, Durability::visible)
                  .has_value());
  const auto withFrame = [](std::string_view frame) {
    return R"({"layers":[{"id":"l","path":"/film.webp","frame":{"x":0,"y":0,"w":8,"h":6},)"
           R"("frameIndex":)" +
           std::string(frame) + "}]}";
  };
  EXPECT_EQ(answer(withFrame("0")), "accepted");
  EXPECT_EQ(document.layers[0].pixelHeight, 3);
  EXPECT_EQ(answer(withFrame("1")), "accepted");
  EXPECT_EQ(document.layers[0].frameIndex, 1);
  EXPECT_EQ(document.layers[0].pixelHeight, 9);
  for (const std::string_view missing : {"2", "-1"}) {
    EXPECT_EQ(answer(withFrame(missing)), "Export is blocked: film is missing. Hide or remove it.");
  }
}

TEST_F(EntryDocumentTest, DocumentsComeBackFromTheEntryTheyWerePutInto) {
  ScreenshotEntry entry;
  putDocument(documentOf(entry, {800, 600}), {800, 600}, entry);
  EXPECT_EQ(entry, ScreenshotEntry{}) << "an unedited entry keeps no canvas and no background";

  ASSERT_EQ(answer(R"({"layers":[{"id":"l","path":"/logo.png","frame":{"x":0,"y":0,"w":8,"h":6}}],)"
                   R"("crop":{"x":1,"y":2,"w":3,"h":4},)"
                   R"("canvas":{"width":900,"height":600,"backdropHex":"#000000"},)"
                   R"("background":{"fill":{"solid":{"_0":"#ffffff"}}}})"),
            "accepted");
  document.shapes.push_back(mixedShape(5));
  CombineAttachment second;
  second.id = "b";
  second.path = "/b.png";
  entry.combine = CombineSpec{{second}, CombineLayout::stacked, 4, "#ffffff", {}};
  EXPECT_EQ(documentOf(entry, {800, 600}).layers.size(), 2U);
  putDocument(document, {800, 600}, entry);
  EXPECT_FALSE(entry.combine.has_value());
  EXPECT_EQ(documentOf(entry, {800, 600}), document);
}

}  // namespace
}  // namespace vantorel
