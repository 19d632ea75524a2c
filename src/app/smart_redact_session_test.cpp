#include "app/smart_redact_session.hpp"

#include <gmock/gmock.h>

#include "app/fake_scans.hpp"
#include "editor/layer_layout.hpp"
#include "editor/redaction_cover.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

using enum SensitiveMatchKind;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Stage = SmartRedactSession::Stage;

/// An editor with a capture of 800 x 600 at scale 2.
class SmartRedactSessionTest : public ::testing::Test {
 protected:
  SmartRedactSession::Services services() {
    return {.main = runners.main(),
            .editor = editor,
            .settings = settings,
            .draw =
                [this](EditorDocument drawn, const std::function<void(Image)>& done) {
                  ground = std::move(drawn);
                  const CanvasSize size = canvasSizeOf(ground.canvas, editor.captureSize());
                  const PixelSize whole{int(size.width), int(size.height)};
                  done(canDraw ? MutableImage(whole, PixelFormat::bgrx).finish() : Image());
                },
            .scan = scans.scan(),
            .changed = [this] { ++changes; }};
  }

  /// An address over two lines, another one, a card number and a face.
  static std::vector<SmartRedact::Proposal> usual() {
    return {{email, {100, 100, 80, 20}, 1, "jane@example.org"},
            {address, {100, 200, 200, 20}, 2, "12 Mill Lane, York"},
            {address, {100, 230, 90, 20}, 2, "12 Mill Lane, York"},
            {email, {400, 100, 80, 20}, 3, "joe@example.org"},
            {face, {600, 300, 90, 90}, 4, ""}};
  }

  std::vector<std::string> offered() {
    std::vector<std::string> words;
    for (const auto& group : session.groups()) {
      words.push_back(std::string(nameOf(group.kind)) + " " + std::to_string(group.chosen) + "/" +
                      std::to_string(group.finds.size()));
    }
    return words;
  }

  Shape redaction(const Box& box) {
    Shape shape = editor.newShape(ShapeType::redact);
    shape.x1 = box.x;
    shape.y1 = box.y;
    shape.x2 = box.right();
    shape.y2 = box.bottom();
    return shape;
  }
  void cover(const Box& box) {
    editor.edit("Redact", [&](EditorSnapshot& state) { state.append(redaction(box)); });
    session.documentChanged();
  }

  FakeRunners runners;
  FakeDefaultsStore defaults;
  SettingsStore settings{defaults, SettingsValues()};
  FakeScans scans;
  EditorDocument ground;
  bool canDraw = true;
  int changes = 0;
  EditorModel editor{{.capture = {800, 600},
                      .document = {},
                      .combine = {},
                      .captureScale = 2,
                      .styles = {},
                      .measureText = roughText,
                      .layOut = {}},
                     {}};
  SmartRedactSession session{services()};
};

TEST_F(SmartRedactSessionTest, WhatIsChosenIsCoveredInOneStepThatCanBeUndone) {
  settings.set(&SettingsValues::smartRedactFaces, true);
  cover({0, 0, 5, 5});
  session.open();
  EXPECT_EQ(session.status(), "Scanning for sensitive content");
  ASSERT_THAT(scans.asked, SizeIs(1));
  EXPECT_EQ(scans.asked[0].picture, (PixelSize{800, 600}));
  EXPECT_EQ(scans.asked[0].pixelsPerPoint, 2);
  EXPECT_EQ(scans.asked[0].enabled, VisualDetectors::faces);
  EXPECT_THAT(ground.shapes, IsEmpty()) << "what is drawn hides nothing from the scan";
  scans.answer(0, usual());
  EXPECT_EQ(session.stage(), Stage::found);
  EXPECT_THAT(offered(), ElementsAre("email 2/2", "address 1/1", "face 1/1"));
  EXPECT_EQ(session.openFinds(), 4);

  session.choose(email, false);
  session.choose(std::size_t{2}, true);  // joe
  session.setStyle(RedactStyle::pixelate);
  EXPECT_THAT(offered(), ElementsAre("email 1/2", "address 1/1", "face 1/1"));
  EXPECT_EQ(session.chosenFinds(), 3);
  EXPECT_EQ(session.redact(), 3);
  ASSERT_THAT(editor.document().shapes, SizeIs(5)) << "a box for each line";
  EXPECT_EQ(editor.document().shapes.back().redactStyle, RedactStyle::pixelate);
  EXPECT_THAT(offered(), ElementsAre("email 0/1"));
  EXPECT_EQ(session.redact(), 0);

  EXPECT_EQ(editor.undoName(), "Smart Redact");
  editor.undo();
  session.documentChanged();
  EXPECT_THAT(offered(), ElementsAre("email 1/2", "address 1/1", "face 1/1"));
  session.choose(email, true);
  EXPECT_EQ(session.redact(), 4);
  EXPECT_EQ(session.status(), "All that was found is covered.");
}

TEST_F(SmartRedactSessionTest, CoveredAndCroppedFindsAreNotOffered) {
  session.open();
  EXPECT_EQ(session.status(), "Scanning for sensitive text");
  scans.answer(0, usual());
  cover({100, 100, 40, 20});
  EXPECT_EQ(session.openFinds(), 4) << "half of it can be seen";
  cover({130, 95, 60, 30});
  EXPECT_THAT(offered(), ElementsAre("email 1/1", "address 1/1", "face 1/1"));
  cover({90, 190, 300, 35});
  EXPECT_EQ(session.openFinds(), 3) << "the second line can be seen";
  EXPECT_EQ(session.redact(), 3);
  EXPECT_THAT(editor.document().shapes, SizeIs(6)) << "its first line is covered already";
  editor.undo();
  editor.setPendingCrop(Box{0, 0, 500, 150});
  editor.applyCrop();
  session.documentChanged();
  EXPECT_THAT(offered(), ElementsAre("email 1/1"));
  EXPECT_THAT(scans.asked, SizeIs(1)) << "the crop hides, and changes nothing";
}

TEST_F(SmartRedactSessionTest, OnlyTheLatestScanOfTheLatestPictureCounts) {
  session.open();
  ASSERT_TRUE(editor.addLayers({{"/logo.png", {200, 100}}}));
  session.documentChanged();
  const std::string layer = editor.state().layers->back().id;
  runners.advance(std::chrono::milliseconds(400));
  editor.setLayerFrame(layer, {500, 400, 200, 100});
  session.documentChanged();
  runners.advance(std::chrono::milliseconds(600));
  EXPECT_THAT(scans.asked, SizeIs(1)) << "it may be moved further";
  runners.advance(std::chrono::milliseconds(200));
  ASSERT_THAT(scans.asked, SizeIs(2));
  EXPECT_FALSE(scans.isUnderWay(0));
  scans.answer(0, usual());
  EXPECT_EQ(session.stage(), Stage::scanning);
  scans.answer(1, usual());
  session.choose(std::size_t{2}, false);

  editor.renameLayer(layer, "Logo");
  session.documentChanged();
  runners.advance(std::chrono::seconds(2));
  EXPECT_THAT(scans.asked, SizeIs(2)) << "it looks as before";
  editor.setLayerVisible(layer, false);
  session.documentChanged();
  runners.advance(std::chrono::seconds(2));
  ASSERT_THAT(scans.asked, SizeIs(3));
  EXPECT_EQ(session.openFinds(), 4) << "as long as nothing better is known";
  scans.answer(2, usual());
  EXPECT_THAT(offered(), ElementsAre("email 1/2", "address 1/1", "face 1/1"))
      << "what was left alone stays so";

  session.close();
  editor.setLayerVisible(layer, true);
  session.documentChanged();
  runners.advance(std::chrono::seconds(2));
  EXPECT_THAT(scans.asked, SizeIs(3)) << "nobody looks";
  session.open();
  ASSERT_THAT(scans.asked, SizeIs(4));
  session.cancel();
  EXPECT_FALSE(scans.isUnderWay(3));
  EXPECT_EQ(session.stage(), Stage::found);
  EXPECT_EQ(session.openFinds(), 4);
}

TEST_F(SmartRedactSessionTest, FindsOnAScaledCaptureAreCoveredWhereTheyAreSeen) {
  editor.addLayers({{"/logo.png", {200, 100}}});
  const std::string capture = editor.state().layers->front().id;
  editor.setLayerFrame(capture, {50, 30, 400, 300});
  session.open();
  EXPECT_EQ(scans.asked[0].pixelsPerPoint, 1);
  const std::vector<SmartRedact::Proposal> finds{{phone, {60.5, 40.25, 33.3, 9.5}, 1, "555 0100"},
                                                 {phone, {455, 50, 20, 10}, 2, "555 0101"}};
  scans.answer(0, finds);
  session.redact();
  EXPECT_EQ(session.openFinds(), 0);
  const auto covers =
      redactedBoxes(*editor.state().shapes, *editor.state().layers, editor.captureSize());
  for (const auto& find : finds) {
    const Box& box = find.rect;
    EXPECT_TRUE(isCovered({box.x - 0.2, box.y - 0.2, box.w + 0.4, box.h + 0.4}, covers));
  }
}

TEST_F(SmartRedactSessionTest, SaysWhatCouldNotBeLookedFor) {
  session.open();
  scans.asked[0].done(std::unexpected(
      RecognitionFailure{RecognitionFailure::Case::unavailable, "no language is installed"}));
  EXPECT_EQ(session.stage(), Stage::failed);
  EXPECT_EQ(session.status(), "Text can't be read here: no language is installed.");
  settings.set(&SettingsValues::smartRedactPeople, true);
  ASSERT_THAT(scans.asked, SizeIs(2)) << "whoever reads the list has just asked for more";
  EXPECT_TRUE(scans.asked[1].enabled.contains(VisualDetectors::people));
  scans.answer(1, {}, VisualDetectors::people);
  EXPECT_EQ(session.status(), "Nothing sensitive found.");
  EXPECT_EQ(session.remark(),
            "People couldn't be looked for: the package opencv-data or OpenCV itself is missing.");
  canDraw = false;
  session.scanAgain();
  EXPECT_THAT(session.status(), HasSubstr("the layers couldn't be drawn"));
  session.cancel();
  EXPECT_EQ(session.stage(), Stage::failed);
  session.close();
  settings.set(&SettingsValues::smartRedactPeople, false);
  EXPECT_THAT(scans.asked, SizeIs(2)) << "nobody looks";
}

TEST(RedactionCoverTest, SeveralCoverWhatNoneCoversAlone) {
  const Box box{10, 10, 40, 20};
  EXPECT_TRUE(isCovered(box, {{0, 0, 100, 100}}));
  EXPECT_TRUE(isCovered(box, {{10.4, 10.4, 39.2, 19.2}})) << "parts of pixels";
  EXPECT_TRUE(isCovered(box, {{5, 5, 25, 40}, {30, 5, 25, 40}}));
  EXPECT_TRUE(isCovered(box, {{5, 5, 60, 15}, {5, 20, 30, 15}, {20, 20, 40, 15}}));
  EXPECT_FALSE(isCovered(box, {{5, 5, 25, 40}, {32, 5, 25, 40}})) << "a gap of two pixels";
  EXPECT_FALSE(isCovered(box, {{5, 5, 60, 15}, {5, 20, 30, 15}})) << "a corner";
  EXPECT_FALSE(isCovered(box, {{5, 12, 60, 30}}));
  EXPECT_FALSE(isCovered(box, {}));
}

}  // namespace
}  // namespace vantorel
