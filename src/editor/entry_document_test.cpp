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
    if (!checked) return sentence(checked.error());
    document = *std::move(checked);
    return "accepted";
  }

  FakeFiles files;
  FakeImageCodec codec;
  EditorDocument document;
};

TEST_F(EntryDocumentTest, RedactionsStayUnlessThereIsNothingBelowThem) {
  const auto redaction = [](const char* id, double x1, double x2) {
    Shape shape;
    shape.id = id;
    shape.type = ShapeType::redact;
    shape.x1 = x1;
    shape.x2 = x2;
    shape.y2 = 50;
    return shape;
  };
  EditorDocument edited;
  edited.canvas.width = 300;  // smaller than the capture, which is there all the same
  edited.canvas.height = 300;
  edited.shapes = {redaction("beyond the canvas", 400, 500), redaction("beside it all", 810, 990),
                   redaction("endless", -1e308, 1e308), redaction("thin", 100, 100)};
  ScreenshotEntry entry;
  putDocument(edited, {800, 600}, entry);
  std::vector<std::string> kept;
  for (const Shape& shape : entry.shapes) kept.push_back(shape.id);
  EXPECT_EQ(kept, (std::vector<std::string>{"beyond the canvas", "endless"}));
}

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
  EXPECT_EQ(refused(R"("points":[],"later":[null])"), "accepted");
  EXPECT_EQ(refused(R"("points":null)"),
            "The document can't be used: shapes[0].points: must not be null; leave the key out.");
  EXPECT_EQ(refused(R"("fill":null)"),
            "The document can't be used: shapes[0].fill: must not be null; leave the key out.");
  EXPECT_EQ(answer(R"({"shapes":null})"),
            "The document can't be used: shapes: must not be null; leave the key out.");
  EXPECT_EQ(answer(R"({"crop":null})"),
            "The document can't be used: crop: must not be null; leave the key out.");
  EXPECT_EQ(refused(R"("points":[{"x":1,"y":2},{"x":1,"y":2,"x":3}])"),
            "The document can't be used: shapes[0].points[1].x: stands there more than once.");
  EXPECT_EQ(answer(R"({"crop":{"x":1,"y":1,"w":5,"h":5},"shapes":[],"crop":{}})"),
            "The document can't be used: crop: stands there more than once.");
  EXPECT_EQ(answer(R"({"background":{"fill":{"solid":{"_0":"blue"}}}})"),
            "The document can't be used: background.fill.solid: must be \"#\" and six hexadecimal "
            "digits.");
  EXPECT_EQ(answer(R"({"layers":[{"id":"l"}]})"),
            "The document can't be used: layers[0].frame: is missing.");
  EXPECT_EQ(answer(R"({"shapes":[{"id":"a","type":"pen","color":"#000000","width":1},)"
                   R"({"id":"a","type":"pen","color":"#000000","width":1}]})"),
            "The document can't be used: shapes[1].id: another shape has the id a.");
  EXPECT_EQ(answer(R"({"canvas":{"width":8001,"height":8000}})"),
            "Too large — the canvas is limited to 64 million pixels.");
  EXPECT_EQ(answer(R"({"canvas":{"width":12.5,"height":8}})"), "Enter whole numbers of pixels.");
  EXPECT_EQ(answer(R"({"canvas":{"width":0,"height":100}})"),
            "The canvas needs at least 1 px each way.");

  const std::string layer = R"({"layers":[{"id":"l","frame":{"x":0,"y":0,"w":8,"h":6},"path":)";
  EXPECT_EQ(answer(layer + R"("/gone.png"}]})"),
            "Export is blocked: gone is missing. Hide or remove it.");
  EXPECT_EQ(answer(layer + R"("/gone.png","visible":false}]})"), "accepted");
  EXPECT_EQ(answer(layer + R"("../logo.png","later":1}]})"), "accepted");
  EXPECT_EQ(document.layers[0].path, "/logo.png");
  EXPECT_EQ(document.layers[0].name, "logo");
  EXPECT_EQ(document.layers[0].pixelWidth, 4);
  EXPECT_NE(json::toText(document).find(R"("later":1)"), std::string::npos);
}

TEST_F(EntryDocumentTest, WhatWouldHideOrDoNothingIsRefusedWithItsPlace) {
  const auto why = [&](const std::string& text) {
    const std::string said = answer(text);
    const std::string start = "The document can't be used: ";
    return said.starts_with(start) ? said.substr(start.size()) : said;
  };
  EXPECT_EQ(why(R"({"shape":[]})"),
            "shape: there is no such key; there are shapes, crop, background, layers and canvas.");
  const auto redact = [&](const std::string& members, const std::string& rest = "") {
    return why(R"({"shapes":[{"id":"r","type":"redact","color":"#000000","width":4)" + members +
               "}]" + rest + "}");
  };
  const std::string place = R"(,"x1":10,"y1":10,"x2":90,"y2":90)";
  EXPECT_EQ(redact(place), "accepted");
  EXPECT_EQ(redact(R"(,"x1":-1e308,"y1":-1e308,"x2":1e308,"y2":1e308)"), "accepted");
  const std::string noArea =
      "shapes[0]: hides nothing: x1, y1, x2 and y2 must be opposite corners of an area.";
  EXPECT_EQ(redact(R"(,"x":10,"y":10,"w":80,"h":80)"), "shapes[0].x1: is missing.");
  EXPECT_EQ(redact(R"(,"x1":10,"y1":10,"X2":90,"y2":90)"), "shapes[0].x2: is missing.");
  EXPECT_EQ(redact(R"(,"x1":10,"y1":10,"x2":10,"y2":90)"), noArea);
  EXPECT_EQ(redact(R"(,"x1":810,"y1":10,"x2":990,"y2":90)"),
            "shapes[0]: hides nothing: it lies outside the picture.");
  EXPECT_EQ(
      redact(R"(,"x1":810,"y1":10,"x2":990,"y2":90)", R"(,"canvas":{"width":900,"height":9})"),
      "shapes[0]: hides nothing: it lies outside the picture.");
  EXPECT_EQ(redact(R"(,"x1":810,"y1":1,"x2":990,"y2":9)", R"(,"canvas":{"width":900,"height":9})"),
            "accepted");
  EXPECT_EQ(
      redact(place, R"(,"layers":[{"id":"c","visible":false,"frame":{"x":0,"y":0,"w":9,"h":9}}])"),
      "accepted")
      << "it hides again when its layer is shown";
  EXPECT_EQ(redact(place, R"(,"canvas":{"width":5,"height":5})"), "accepted")
      << "the canvas may grow again";

  EXPECT_EQ(why(R"({"crop":{"x":1,"y":1,"w":0,"h":9}})"), "crop: w and h must be above 0.");
  EXPECT_EQ(why(R"({"crop":{"x":1,"y":1,"w":9}})"), "crop.h: is missing.");
  EXPECT_EQ(why(R"({"crop":{"x":800,"y":1,"w":9,"h":9}})"), "crop: holds no pixel of the picture.");
  EXPECT_EQ(why(R"({"crop":{"x":790,"y":-5,"w":90,"h":9}})"), "accepted");
  EXPECT_EQ(why(R"({"layers":[{"id":"c","frame":{"x":0,"y":0,"w":9,"h":0}}]})"),
            "layers[0].frame: has no area.");
  EXPECT_EQ(why(R"({"layers":[{"id":"c","frame":{"x":0,"y":0,"w":9,"h":9}},)"
                R"({"id":"d","frame":{"x":0,"y":0,"w":9,"h":9}}]})"),
            "layers[1]: has no path; layers[0] stands for the capture already.");
  EXPECT_EQ(why(R"({"background":{"fill":{"gradient":{"_0":"plaid"}}}})"),
            "background.fill.gradient: must be one of dawn, dusk, ocean, meadow, aurora, candy, "
            "sand, graphite.");

  const auto nested = [](int deep) {
    return R"({"canvas":{"later":)" + std::string(static_cast<std::size_t>(deep), '[') +
           std::string(static_cast<std::size_t>(deep), ']') + "}}";
  };
  EXPECT_EQ(why(nested(494)), "accepted");
  EXPECT_EQ(why(nested(495)), "The document is nested more than 496 deep.");
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
  followPictureSize(entry, {800, 600});
  const ScreenshotEntry unedited = entry;
  putDocument(documentOf(entry, {800, 600}), {800, 600}, entry);
  EXPECT_EQ(entry, unedited) << "an unedited entry keeps no canvas and no background";

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

TEST_F(EntryDocumentTest, AnnotationsFollowAPictureThatWasScaledAndNoOtherChange) {
  ASSERT_EQ(answer(R"({"shapes":[{"id":"r","type":"redact","color":"#000000","width":4,)"
                   R"("x1":301,"y1":200.5,"x2":401,"y2":300},)"
                   R"({"id":"t","type":"text","color":"#000000","width":4,"x":10,"y":20,)"
                   R"("text":"a","fontSize":24,"boxWidth":100}],)"
                   R"("layers":[{"id":"c","frame":{"x":31,"y":0,"w":800,"h":600}},)"
                   R"({"id":"l","path":"/logo.png","frame":{"x":8,"y":6,"w":40,"h":20},)"
                   R"("border":{"width":4}}],)"
                   R"("crop":{"x":-29,"y":20,"w":601,"h":301},"canvas":{"width":831,"height":600},)"
                   R"("background":{"fill":{"solid":{"_0":"#ffffff"}},"cornerRadius":20}})"),
            "accepted");
  ScreenshotEntry entry;
  entry.captureScale = 2;
  putDocument(document, {800, 600}, entry);
  const ScreenshotEntry before = entry;
  followPictureSize(entry, {600, 800});  // turned
  EXPECT_EQ(entry.shapes, before.shapes);
  EXPECT_EQ(entry.captureScale, 2);

  entry = before;
  followPictureSize(entry, {400, 300});
  EXPECT_EQ(entry.captureScale, 1);
  EXPECT_EQ(entry.pixelWidth, 400);
  const EditorDocument small = documentOf(entry, {400, 300});
  EXPECT_EQ(small, documentOf(before, {400, 300})) << "the file was written, the entry was not";
  const Shape& box = small.shapes[0];
  EXPECT_LE(box.x1, 150);
  EXPECT_GE(box.x1, 148);
  EXPECT_LE(box.y1, 100);
  EXPECT_GE(box.x2, 201);
  EXPECT_LE(box.x2, 203);
  EXPECT_EQ(small.shapes[1].fontSize, 12);
  EXPECT_EQ(small.shapes[1].boxWidth, 50);
  EXPECT_EQ(small.shapes[1].y, 10);
  EXPECT_EQ(small.canvas.width, 416);
  EXPECT_EQ(small.layers[0].frame, (Box{16, 0, 400, 300})) << "on whole pixels";
  EXPECT_EQ(small.layers[1].frame, (Box{4, 3, 20, 10}));
  EXPECT_EQ(small.layers[1].border->width, 2);
  EXPECT_EQ(small.background.cornerRadius, 10);
  // From 2 to 603 and 20 to 321 on the canvas.
  EXPECT_EQ(*small.crop, (Box{-15, 10, 300, 150}));
}

}  // namespace
}  // namespace vantorel
