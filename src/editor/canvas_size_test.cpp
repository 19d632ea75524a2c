#include "editor/canvas_size.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "editor/export_gate.hpp"
#include "editor/layer_layout.hpp"

namespace vantorel {
namespace {

std::string answer(std::string_view width, std::string_view height) {
  const auto size = checkedCanvasSize(width, height, {640, 480});
  return size ? "accepted" : sentence(size.error());
}

TEST(CanvasSizeTest, JudgesWhatIsTypedInOrder) {
  EXPECT_EQ(answer("8000", " 8000 "), "accepted");
  EXPECT_EQ(answer("8001", "8000"), "Too large — the canvas is limited to 64 million pixels.");
  EXPECT_EQ(answer("0", "100"), "The canvas needs at least 1 px each way.");
  EXPECT_EQ(answer("-9999999", "9999999"), "The canvas needs at least 1 px each way.");
  for (const char* odd : {"12.5", "", "wide", "1e3", "inf", "nan", "12 px", "--1"}) {
    EXPECT_EQ(answer(odd, "0"), "Enter whole numbers of pixels.") << odd;
  }
  EXPECT_EQ(answer("640", "480"), "Same size as now.");
  EXPECT_EQ(answer(std::string(400, '9'), "1"), sentence(CanvasSizeFault::tooLarge));
  EXPECT_TRUE(isPossibleCanvas({1920, 65'000}, {1920, 65'000})) << "a tall capture keeps its own";
  EXPECT_FALSE(isPossibleCanvas({1920, 65'001}, {1920, 65'000}));
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(checkedCanvasSize(infinity, 1, {}).error(), CanvasSizeFault::tooLarge);
}

TEST(CanvasSizeTest, ContentStaysAtItsAnchor) {
  EXPECT_EQ(anchorShift(CanvasAnchor::topLeft, {100, 100}, {201, 50}), (Pt{0, 0}));
  EXPECT_EQ(anchorShift(CanvasAnchor::center, {100, 100}, {201, 50}), (Pt{50, -25}));
  EXPECT_EQ(anchorShift(CanvasAnchor::bottomRight, {100, 100}, {201, 50}), (Pt{101, -50}));
  EXPECT_EQ(anchorShift(CanvasAnchor::left, {100, 100}, {201, 50}), (Pt{0, -25}));
}

TEST(LayerLayoutTest, PiecesKeepTheirSizesAndNeverOverlap) {
  const std::vector<Box> frames{
      {5, 5, 100, 50}, {0, 0, 40, 80}, {9, 9, 60, 60}, {0, 0, 10, 10}, {0, 0, 200, 20}};
  const auto row = arranged(frames, CombineLayout::sideBySide, 10);
  EXPECT_EQ(row.canvas, (CanvasSize{450, 80}));
  EXPECT_EQ(row.frames[1], (Box{110, 0, 40, 80}));
  EXPECT_EQ(arranged(frames, CombineLayout::stacked, 0).canvas, (CanvasSize{200, 220}));
  for (const auto& [layout, name] : enumNames<CombineLayout>) {
    const auto result = arranged(frames, layout, 10);
    for (std::size_t i = 0; i < frames.size(); ++i) {
      const Box& frame = result.frames[i];
      EXPECT_EQ(frame.w, frames[i].w);
      EXPECT_TRUE(frame.x >= 0 && frame.y >= 0 && frame.right() <= result.canvas.width &&
                  frame.bottom() <= result.canvas.height)
          << name;
      for (std::size_t j = 0; j < i; ++j) {
        EXPECT_FALSE(intersects(grown(frame, 4), result.frames[j])) << name;
      }
    }
  }
}

TEST(LayerLayoutTest, AnOldCombinationBecomesLayers) {
  CombineAttachment second;
  second.id = "b";
  second.path = "/shots/second.png";
  second.pixelWidth = 300;
  second.pixelHeight = 100;
  const CombineSpec combine{{second}, CombineLayout::stacked, 20, "#eeeeee", {}};
  EditorDocument document;
  addAsLayers(combine, {200, 100}, document);
  ASSERT_EQ(document.layers.size(), 2U);
  EXPECT_EQ(captureLayer(document.layers), &document.layers[0]);
  EXPECT_EQ(document.layers[1].name, "second");
  EXPECT_EQ(document.layers[1].frame, (Box{0, 120, 300, 100}));
  EXPECT_EQ(document.canvas, (CanvasSpec{300, 220, "#eeeeee", {}}));
  EXPECT_EQ(captureToCanvas(document.layers, {200, 100})(Pt{10, 10}), (Pt{60, 10}));
}

TEST(ExportGateTest, NamesTheFirstThingInTheWay) {
  EditorDocument document;
  document.layers.push_back(newImageLayer("/a/logo.png", {10, 10}, {}));
  document.layers.push_back(newImageLayer("/a/map.png", {10, 10}, {}));
  ExportSituation now;
  now.capture = {4000, 4000};
  const auto words = [&] {
    const auto block = exportBlock(document, now);
    return block ? sentence(*block) : "";
  };
  EXPECT_EQ(words(), "Export is blocked: the screenshot is still loading.");
  now.base = BaseImageState::failed;
  EXPECT_EQ(words(), "Export is blocked: the screenshot couldn't be loaded.");
  now.base = BaseImageState::ready;
  now.build = LayerBuildState::failed;
  EXPECT_EQ(words(), "Export is blocked: the layered image couldn't be built.");
  now.build = LayerBuildState::ready;
  now.missingLayerIDs = {document.layers[1].id};
  now.oversizedLayerIDs = {document.layers[0].id};
  EXPECT_EQ(words(), "Export is blocked: logo is too large to build. Hide or remove it.");
  document.layers[0].visible = false;
  EXPECT_EQ(words(), "Export is blocked: map is missing. Hide or remove it.");
  document.layers.pop_back();
  EXPECT_EQ(words(), "");
  document.background.fill.value = BackgroundFill::Solid{"#000000"};
  document.background.paddingPercent = 60;
  EXPECT_EQ(words(),
            "Export is blocked: the background padding would make the image too large. Reduce the "
            "padding.");
  document.crop = Box{-5, -5, 1005, 1005};
  EXPECT_EQ(words(), "");
  EXPECT_EQ(shownPart(document, now.capture).width, 1000);
  document.crop = Box{5000, 0, 10, 10};
  EXPECT_EQ(shownPart(document, now.capture).width, 4000);
}

}  // namespace
}  // namespace vantorel
