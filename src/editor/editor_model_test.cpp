#include "editor/editor_model.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cmath>

#include "editor/canvas_input.hpp"
#include "editor/shape_layers.hpp"
#include "editor/testing/mixed_shapes.hpp"

namespace vantorel {
namespace {

class EditorModelTest : public ::testing::Test {
 protected:
  EditorModelTest() { open({}); }

  void open(EditorDocument document, std::optional<CombineSpec> combine = {}) {
    reports.clear();
    EditorEvents events;
    events.report = [this](const std::string& line) { reports.push_back(line); };
    events.stylesChanged = [this](const ToolStyles& styles) { remembered = styles; };
    input.reset();
    model = std::make_unique<EditorModel>(
        EditorOpening{{800, 600}, std::move(document), std::move(combine), 2.0, {}, roughText},
        std::move(events));
    input = std::make_unique<CanvasInput>(*model, CanvasServices{});
  }

  void pointer(PointerPhase phase, Pt at) {
    input->handle(PointerEvent{phase, at, shift, command, clicks, 6});
  }
  void drag(Pt from, Pt to) {
    pointer(PointerPhase::press, from);
    pointer(PointerPhase::move, {(from.x + to.x) / 2, (from.y + to.y) / 2});
    pointer(PointerPhase::move, to);
    pointer(PointerPhase::release, to);
  }
  void click(Pt at) {
    pointer(PointerPhase::press, at);
    pointer(PointerPhase::release, at);
  }
  bool key(EditorKey which) { return input->handle(KeyEvent{which, {}, shift, command}); }
  bool key(const char* text) {
    return input->handle(KeyEvent{EditorKey::character, text, shift, command});
  }
  const Shape& last() { return *model->state().shapes->back(); }
  Box frame(std::size_t layer) { return (*model->state().layers)[layer].frame; }
  std::string layerID(std::size_t layer) { return (*model->state().layers)[layer].id; }

  std::vector<std::string> reports;
  ToolStyles remembered;
  bool shift = false;
  bool command = false;
  int clicks = 1;
  std::unique_ptr<EditorModel> model;
  std::unique_ptr<CanvasInput> input;
};

TEST_F(EditorModelTest, DrawingTakesTheToolsStyleAndEveryGestureIsOneStep) {
  key("r");
  model->changeStyle([](ToolStyle& style) {
    style.color = "#007aff";
    style.fill = FillStyle::tint;
    style.headStyle = ArrowHeadStyle::both;  // means nothing for a rectangle
  });
  EXPECT_EQ(remembered.at("rect").color, "#007aff");
  EXPECT_EQ(remembered.at("rect").headStyle, std::nullopt);
  drag({100, 100}, {200, 150});
  EXPECT_EQ(last().type, ShapeType::rect);
  EXPECT_EQ(last().fill, FillStyle::tint);
  EXPECT_EQ(frameOf(last()), (Box{100, 100, 100, 50}));

  drag({200, 150}, {250, 250});  // a corner of what was just drawn: resizes, draws nothing
  EXPECT_EQ(model->state().shapes->size(), 1U);
  EXPECT_EQ(frameOf(last()), (Box{100, 100, 150, 150}));
  EXPECT_EQ(model->undoName(), "Resize");
  drag({250, 250}, {50, 90});  // past the opposite corner, which stays put
  EXPECT_EQ(frameOf(last()), (Box{50, 90, 50, 10}));
  model->undo();

  key("v");
  drag({175, 175}, {185, 195});  // inside the tint
  EXPECT_EQ(frameOf(last()), (Box{110, 120, 150, 150}));
  pointer(PointerPhase::press, {175, 175});
  shift = true;
  pointer(PointerPhase::move, {225, 178});
  pointer(PointerPhase::release, {225, 178});
  shift = false;
  EXPECT_EQ(frameOf(last()), (Box{160, 120, 150, 150}));
  click({400, 400});  // nothing there
  EXPECT_TRUE(model->selection().empty());
  EXPECT_EQ(model->unsavedChanges(), "1 annotation added");
  for (const char* name : {"Move", "Move", "Resize", "Draw Rectangle"}) {
    EXPECT_EQ(model->undoName(), name);
    EXPECT_TRUE(model->undo());
  }
  EXPECT_FALSE(model->undo());
  EXPECT_FALSE(model->hasUnsavedChanges());
}

TEST_F(EditorModelTest, ClicksLeaveNothingAndEscapeTakesADragBack) {
  key("a");
  click({50, 50});
  EXPECT_TRUE(model->state().shapes->empty());
  pointer(PointerPhase::press, {50, 50});
  pointer(PointerPhase::move, {90, 90});
  EXPECT_EQ(model->scene().shapes.size(), 1U);
  EXPECT_TRUE(key(EditorKey::escape));
  EXPECT_TRUE(model->scene().shapes.empty());
  pointer(PointerPhase::release, {90, 90});
  EXPECT_EQ(model->undoName(), "");

  shift = true;
  drag({100, 100}, {200, 110});
  shift = false;
  EXPECT_EQ(last().y2, 100);
  pointer(PointerPhase::press, {last().x2, 100});
  EXPECT_EQ(input->mode(), GestureMode::endpoint);
  pointer(PointerPhase::move, {300, 300});
  EXPECT_EQ(last().y2, 300);
  key(EditorKey::escape);
  EXPECT_EQ(last().y2, 100);
  EXPECT_EQ(model->undoName(), "Draw Arrow");

  drag(bowHandle(last()), {150, 140});
  EXPECT_NEAR(*last().bow, 40, 0.5);
  drag(bowHandle(last()), {150, 101});  // next to straight is straight
  EXPECT_EQ(last().bow, std::nullopt);
}

TEST_F(EditorModelTest, GroupsAreMarkedMovedNudgedCopiedAndDeleted) {
  key("n");
  for (const double x : {100.0, 200.0, 300.0}) click({x, 100});
  EXPECT_EQ(last().number, 3);
  key("v");
  drag({50, 50}, {250, 150});
  EXPECT_EQ(model->selection().size(), 2U);
  shift = true;
  click({300, 100});
  EXPECT_EQ(model->selection().size(), 3U);
  click({100, 100});
  shift = false;
  EXPECT_EQ(model->selection().size(), 2U);
  drag({200, 100}, {210, 130});
  key(EditorKey::right);
  key(EditorKey::right);
  key(EditorKey::down);
  EXPECT_EQ(last().x, 312);
  EXPECT_EQ(last().y, 131);
  EXPECT_EQ(model->state().shapes->front()->x, 100);
  model->undo();  // the nudges together
  EXPECT_EQ(last().x, 310);
  EXPECT_EQ(model->redoName(), "Move");
  model->undo();
  key(EditorKey::down);  // its step is still open
  EXPECT_EQ(model->redoName(), "");
  EXPECT_EQ(model->undoName(), "Move");
  drag({200, 101}, {210, 130});

  const std::string copied = model->copiedShapes();
  EXPECT_TRUE(model->pasteShapes(copied));
  EXPECT_FALSE(model->pasteShapes("not shapes"));
  EXPECT_EQ(model->state().shapes->size(), 5U);
  EXPECT_EQ(model->selection().size(), 2U);
  EXPECT_EQ(last().x, 322);
  key(EditorKey::backspace);
  EXPECT_EQ(model->state().shapes->size(), 3U);
  key("n");
  click({400, 400});
  EXPECT_EQ(last().number, 4);
}

TEST_F(EditorModelTest, TypingIsADraftUntilItEnds) {
  key("t");
  click({100, 100});
  ASSERT_TRUE(model->isTyping());
  model->setText("Hello");
  EXPECT_EQ(model->unsavedChanges(), "an unfinished text label");
  EXPECT_TRUE(model->state().shapes->empty());
  const Box box = model->frameOfShape(*model->draft());
  drag({box.right(), box.y + box.h / 2}, {box.right() + 50, box.y});
  EXPECT_EQ(model->draft()->boxWidth, box.w + 50);
  drag({box.x, box.y + box.h / 2}, {box.x - 20, box.y});
  EXPECT_EQ(model->draft()->x, 80);
  EXPECT_EQ(model->draft()->boxWidth, box.w + 70);
  EXPECT_FALSE(key("r"));  // goes into the text
  click({500, 500});
  EXPECT_EQ(last().text, "Hello");
  key("t");
  click({90, 110});
  EXPECT_EQ(model->draft()->text, "") << "a new text";
  clicks = 2;
  click({90, 110});
  EXPECT_EQ(model->draft()->text, "Hello");
  clicks = 1;
  key(EditorKey::escape);
  key("v");
  const Shape before = last();
  const Box typed = model->frameOfShape(before);
  model->select({before.id});  // not being edited, it is pulled as a whole
  drag({typed.right(), typed.bottom()}, {typed.right() + typed.w, typed.bottom()});
  EXPECT_EQ(last().fontSize, 2 * before.fontSize);
  EXPECT_EQ(last().boxWidth, 2 * *before.boxWidth);
  model->undo();
  clicks = 2;
  click({90, 110});
  clicks = 1;
  ASSERT_TRUE(model->isTyping());
  model->setText("  ");
  key(EditorKey::escape);
  EXPECT_TRUE(model->state().shapes->empty());
  model->undo();
  EXPECT_EQ(last().text, "Hello");
  model->beginText({1, 1});
  model->endText();
  EXPECT_EQ(model->state().shapes->size(), 1U);
}

TEST_F(EditorModelTest, AStyleSliderIsOneStep) {
  key("r");
  drag({100, 100}, {200, 150});
  model->beginStep("Change Style");
  for (int radius = 1; radius <= 30; ++radius) {
    model->changeStyle([&](ToolStyle& style) { style.cornerRadius = radius; });
  }
  model->endStep();
  EXPECT_EQ(last().cornerRadius, 30.0);
  model->undo();
  EXPECT_EQ(last().cornerRadius, 0.0);
  EXPECT_EQ(model->undoName(), "Draw Rectangle");
}

TEST_F(EditorModelTest, LayersCarryTheirShapesAndLeaveTheOthersInPlace) {
  EXPECT_FALSE(model->arrangeLayers(CombineLayout::grid));
  EXPECT_EQ(reports.back(), "Arrange needs two or more layers");
  EXPECT_TRUE(model->state().layers->empty());
  ASSERT_TRUE(model->addLayers({{"/shots/logo.png", {200, 100}}}));
  ASSERT_EQ(model->state().layers->size(), 2U);
  EXPECT_EQ(frame(1), (Box{0, 0, 200, 100}));

  key("r");  // with the new layer selected: on it
  drag({20, 20}, {60, 60});
  EXPECT_EQ(last().layerId, layerID(1));
  model->selectLayer(std::nullopt);
  drag({400, 400}, {500, 500});
  EXPECT_EQ(last().layerId, std::nullopt);

  // What is drawn beside the layer is not on it, nor is a redaction that covers more than it.
  const auto drawn = [this](Tool tool, Pt from, Pt to) {
    model->pickTool(tool);
    model->selectLayer(layerID(1));
    drag(from, to);
    const auto layer = last().layerId;
    model->undo();
    return layer;
  };
  EXPECT_EQ(drawn(Tool::rect, {300, 50}, {350, 90}), std::nullopt);
  EXPECT_EQ(drawn(Tool::redact, {150, 50}, {190, 90}), layerID(1));
  EXPECT_EQ(drawn(Tool::redact, {150, 50}, {250, 90}), std::nullopt);
  model->setLayerVisible(layerID(1), false);
  EXPECT_EQ(drawn(Tool::rect, {20, 20}, {60, 60}), std::nullopt);
  model->undo();
  EXPECT_TRUE(key(EditorKey::escape));
  EXPECT_EQ(model->tool(), Tool::select) << "one press leaves the tool";

  drag({150, 50}, {250, 150});
  EXPECT_EQ(frame(1), (Box{100, 100, 200, 100}));
  EXPECT_EQ(frameOf(*model->state().shapes->front()), (Box{120, 120, 40, 40}));
  EXPECT_EQ(frameOf(last()), (Box{400, 400, 100, 100}));

  shift = true;
  drag({300, 200}, {500, 210});  // its corner
  shift = false;
  EXPECT_EQ(frame(1), (Box{100, 100, 400, 200}));
  EXPECT_EQ(frameOf(*model->state().shapes->front()), (Box{140, 140, 80, 80}));

  // The capture moves: its shapes follow by their coordinates, the layer's are carried back.
  model->setLayerFrame(layerID(0), {50, 0, 800, 600});
  EXPECT_EQ(frameOf(last()), (Box{400, 400, 100, 100}));
  EXPECT_EQ(model->toCanvas()(frameOf(*model->state().shapes->front())), (Box{140, 140, 80, 80}));

  model->setLayerLocked(layerID(1), true);
  drag({450, 150}, {460, 180});
  EXPECT_EQ(frame(1), (Box{100, 100, 400, 200}));
  EXPECT_EQ(model->hint(TextReading::present, false),
            "logo is locked · unlock it to move or resize");
  model->renameLayer(layerID(1), "Mark");
  EXPECT_EQ(reports.back(), "Layer renamed to Mark");
  EXPECT_FALSE(model->deleteLayer(layerID(0)));
  EXPECT_TRUE(model->deleteLayer(layerID(1)));
  EXPECT_EQ(model->state().shapes->size(), 1U);
  while (model->undo()) {
  }
  EXPECT_EQ(model->document(), model->baseline());
}

TEST_F(EditorModelTest, ACommandInTheMiddleOfAGestureEndsIt) {
  key("r");
  drag({100, 100}, {200, 200});
  drag({300, 300}, {400, 400});
  ASSERT_EQ(model->state().shapes->size(), 2U);

  const auto moved = [this](const std::function<void()>& interrupt) {
    model->pickTool(Tool::select);
    model->select({});
    pointer(PointerPhase::press, {100, 150});
    pointer(PointerPhase::move, {120, 150});
    interrupt();
    for (int x = 130; x < 180; x += 10) pointer(PointerPhase::move, {double(x), 150});
    pointer(PointerPhase::release, {180, 150});
    return model->state().shapes->front()->x1;
  };
  EXPECT_EQ(moved([] {}), 180);
  EXPECT_TRUE(model->undo());
  EXPECT_EQ(moved([&] { model->undo(); }), 100) << "the drag is taken back";
  EXPECT_EQ(model->undoName(), "Draw Rectangle");
  EXPECT_EQ(moved([&] { model->pickTool(Tool::pen); }), 120);
  EXPECT_EQ(model->undoName(), "Move");
  EXPECT_TRUE(model->undo());
  EXPECT_EQ(model->undoName(), "Draw Rectangle") << "one step a drag";

  key("r");
  pointer(PointerPhase::press, {500, 100});
  pointer(PointerPhase::move, {600, 200});
  EXPECT_TRUE(model->undo());
  pointer(PointerPhase::move, {610, 210});
  pointer(PointerPhase::release, {620, 220});
  EXPECT_EQ(model->state().shapes->size(), 2U);
  EXPECT_FALSE(model->draft());
}

TEST_F(EditorModelTest, UndoWhileTypingUndoesTypingAlone) {
  key("r");
  drag({100, 100}, {200, 200});
  model->beginText({300, 300});
  for (const std::string typed : {"s", "so", "som", "some", "some ", "some t", "some te"}) {
    model->setText(typed);
  }
  EXPECT_EQ(model->undoName(), "Typing");
  EXPECT_TRUE(model->undo());
  EXPECT_EQ(model->draft()->text, "some ");
  EXPECT_TRUE(model->undo());
  EXPECT_TRUE(model->undo());
  EXPECT_EQ(model->draft()->text, "");
  EXPECT_FALSE(model->undo());
  EXPECT_TRUE(model->isTyping());
  EXPECT_EQ(model->state().shapes->size(), 1U);
  while (model->redo()) {
  }
  EXPECT_EQ(model->draft()->text, "some te");
  model->endText();
  EXPECT_EQ(last().text, "some te");
}

TEST_F(EditorModelTest, AClickThatTremblesKeepsTheCrop) {
  model->pickTool(Tool::crop);
  drag({100, 100}, {300, 200});
  EXPECT_EQ(model->pendingCrop(), (Box{100, 100, 200, 100}));
  pointer(PointerPhase::press, {500, 500});
  pointer(PointerPhase::move, {502, 502});
  pointer(PointerPhase::release, {502, 502});
  EXPECT_EQ(model->pendingCrop(), (Box{100, 100, 200, 100}));
  drag({500, 500}, {600, 500});  // no frame either
  EXPECT_EQ(model->pendingCrop(), (Box{100, 100, 200, 100}));
}

TEST_F(EditorModelTest, RedactionsGoWithTheImagesTheyLieOn) {
  ASSERT_TRUE(model->addLayers({{"/shots/logo.png", {200, 100}}}));
  model->selectLayer(std::nullopt);
  const auto redacted = [this](Box onCanvas) {
    const EditorDocument document = model->document();
    return std::ranges::any_of(document.shapes, [&](const Shape& shape) {
      const Box box = model->toCanvas()(frameOf(shape));
      return shape.type == ShapeType::redact &&
             contains(grown(box, 1e-6), {onCanvas.x, onCanvas.y}) &&
             contains(grown(box, 1e-6), {onCanvas.right(), onCanvas.bottom()});
    });
  };
  model->pickTool(Tool::redact);
  drag({20, 20}, {60, 60});      // on the image alone, though it is not selected
  drag({150, 50}, {250, 90});    // half on it, half on the capture
  drag({600, 400}, {700, 500});  // on the capture
  EXPECT_EQ(model->state().shapes->size(), 4U);
  ASSERT_TRUE(model->setLayerFrame(layerID(1), {300, 300, 400, 200}));
  EXPECT_TRUE(redacted({340, 340, 80, 80}));
  EXPECT_TRUE(redacted({600, 400, 100, 80})) << "the half on the image";
  EXPECT_TRUE(redacted({150, 50, 100, 40})) << "the half on the capture";
  EXPECT_FALSE(redacted({20, 20, 40, 40})) << "the image hid what was below it";
  EXPECT_EQ(model->state().shapes->size(), 4U);
  ASSERT_TRUE(model->arrangeLayers(CombineLayout::stacked));
  const Box image = frame(1);
  EXPECT_TRUE(redacted({image.x + 40, image.y + 40, 80, 80}));
  EXPECT_TRUE(redacted({frame(0).x + 600, frame(0).y + 400, 100, 100}));

  // It covers the capture too once the image shines through.
  model->setLayerFrame(layerID(1), {0, 0, 400, 200});
  model->setLayerOpacity(layerID(1), 0.5);
  drag({300, 20}, {340, 60});
  model->deleteLayer(layerID(1));
  EXPECT_TRUE(redacted({300, 20, 40, 40}));
  EXPECT_FALSE(redacted({340, 340, 1, 1}));

  // Documents of another making, and hidden layers.
  EditorDocument document;
  document.layers = {LayerSpec{}, LayerSpec{}};
  document.layers[0].id = "capture";
  document.layers[0].frame = {0, 0, 800, 600};
  document.layers[1] = newImageLayer("/a.png", {100, 100}, {500, 0});
  document.shapes.push_back(model->newShape(ShapeType::redact));
  document.shapes[0].x1 = 450;
  document.shapes[0].x2 = 550;
  document.shapes[0].y2 = 50;
  open(document);
  model->setLayerVisible(layerID(0), false);
  EXPECT_TRUE(model->isShown(*model->state().shapes->front()));
  EXPECT_TRUE(isShown(document.shapes[0], *model->state().layers, {800, 600}))
      << "something visible lies below it";
  model->setLayerVisible(layerID(1), false);
  EXPECT_FALSE(isShown(document.shapes[0], *model->state().layers, {800, 600}));
  model->setLayerFrame(layerID(1), {0, 300, 100, 100});
  EXPECT_TRUE(redacted({0, 300, 50, 50}));
}

TEST_F(EditorModelTest, MovedLayersSnapToGuidesUnlessCommandIsHeld) {
  model->addLayers({{"/logo.png", {200, 100}}});
  pointer(PointerPhase::press, {100, 50});
  pointer(PointerPhase::move, {403, 297});
  EXPECT_EQ(frame(1), (Box{300, 250, 200, 100}));
  EXPECT_EQ(input->guides().size(), 2U);
  command = true;
  pointer(PointerPhase::move, {403, 297});
  EXPECT_EQ(frame(1), (Box{303, 247, 200, 100}));
  EXPECT_TRUE(input->guides().empty());
  pointer(PointerPhase::release, {403, 297});
  EXPECT_EQ(model->undoName(), "Move Layer");

  command = false;
  shift = true;  // in proportion: to the nearer guide, the other side follows
  drag({503, 347}, {795, 495});
  EXPECT_EQ(frame(1), (Box{303, 247, 497, 248.5}));
  EXPECT_TRUE(model->undo());
  shift = false;
  drag({503, 347}, {795, 595});
  EXPECT_EQ(frame(1), (Box{303, 247, 497, 353}));
}

TEST_F(EditorModelTest, ArrangingTakesEveryLayerThatIsNotLocked) {
  EditorDocument document;
  document.layers.emplace_back().id = "a";
  document.layers[0].path = "/a.png";
  document.layers[0].frame = {0, 0, 100, 100};
  document.layers[0].visible = false;
  open(document);  // the capture has no layer yet, but is there
  EXPECT_TRUE(model->arrangeLayers(CombineLayout::sideBySide));
  ASSERT_EQ(model->state().layers->size(), 2U);
  EXPECT_GT(frame(1).x, 800);
  EXPECT_EQ(model->canvasSize().width, frame(1).right());
  EXPECT_EQ(model->undoName(), "Arrange Layers");

  document.layers.push_back(document.layers[0]);
  document.layers[1].id = "b";
  document.layers[1].locked = true;
  document.layers[1].frame = {50, 2000, 10, 10};
  open(document);
  EXPECT_TRUE(model->arrangeLayers(CombineLayout::sideBySide));
  EXPECT_EQ(frame(2), (Box{50, 2000, 10, 10}));
  EXPECT_EQ(model->canvasSize().height, 2010) << "what stays has its room";
}

TEST_F(EditorModelTest, LinesHaveAFrameToPullToo) {
  key("a");
  drag({100, 100}, {200, 150});
  drag({200, 100}, {300, 50});
  EXPECT_EQ(Pt(last().x1, last().y1), Pt(100, 50));
  EXPECT_EQ(Pt(last().x2, last().y2), Pt(300, 150));
  EXPECT_EQ(model->undoName(), "Resize");
}

TEST_F(EditorModelTest, CroppingPastTheEdgeGrowsTheCanvas) {
  key("r");
  drag({100, 100}, {200, 200});
  key("c");
  drag({-50, 100}, {700, 650});
  EXPECT_EQ(model->state().crop, std::nullopt);
  EXPECT_TRUE(key(EditorKey::enter));
  EXPECT_EQ(model->canvasSize(), (CanvasSize{850, 650}));
  EXPECT_EQ(frame(0), (Box{50, 0, 800, 600}));
  EXPECT_EQ(model->cropOnCanvas(), (Box{0, 100, 750, 550}));
  EXPECT_EQ(frameOf(last()), (Box{100, 100, 100, 100})) << "stays on the capture";
  EXPECT_EQ(model->undoName(), "Crop");

  key("c");  // starts from the crop there is, and leaves it when nothing is pulled
  key("v");
  EXPECT_EQ(model->undoName(), "Crop");
  model->undo();
  EXPECT_TRUE(model->state().layers->empty());
  EXPECT_EQ(model->canvasSize(), (CanvasSize{800, 600}));

  key("c");
  model->setPendingCrop(Box{0, 0, 9e6, 9e6});
  EXPECT_FALSE(model->applyCrop());
  EXPECT_EQ(reports.back(), "Too large — the canvas is limited to 64 million pixels.");
  model->setCropAspect(CropAspect::sixteenByNine);
  drag({0, 0}, {320, 20});
  EXPECT_EQ(model->pendingCrop(), (Box{0, 0, 320, 180}));
  drag({100, 100}, {120, 110});
  EXPECT_EQ(model->pendingCrop(), (Box{20, 10, 320, 180}));
  key(EditorKey::escape);
  EXPECT_EQ(model->pendingCrop(), std::nullopt);
}

TEST_F(EditorModelTest, TheCanvasChangesItsSizeAroundAnAnchor) {
  EXPECT_FALSE(model->resizeCanvas("12.5", "100", CanvasAnchor::center));
  EXPECT_EQ(reports.back(), "Enter whole numbers of pixels.");
  EXPECT_TRUE(model->resizeCanvas("1000", "500", CanvasAnchor::bottomRight));
  EXPECT_EQ(frame(0), (Box{200, -100, 800, 600}));
  EXPECT_EQ(model->unsavedChanges(), "the canvas size changed");
  EXPECT_EQ(model->undoName(), "Custom Canvas Size");
}

TEST_F(EditorModelTest, OldCombinationsOpenAsLayersWithoutCountingAsChanges) {
  CombineAttachment second;
  second.id = "b";
  second.path = "/b.png";
  second.pixelWidth = 100;
  second.pixelHeight = 100;
  open({}, CombineSpec{{second}, CombineLayout::sideBySide, 10, "#eeeeee", {}});
  EXPECT_THAT(reports, ::testing::ElementsAre("Combine arrangement is now layers"));
  EXPECT_EQ(model->canvasSize(), (CanvasSize{910, 600}));
  EXPECT_FALSE(model->hasUnsavedChanges());
}

// Two hundred steps, each of them on many of five hundred shapes, as a person with a large document
// makes them: everything comes back exactly, and little is kept.
TEST_F(EditorModelTest, UndoOfALargeDocumentIsExactAndStaysSmall) {
  const auto moveOne = [this](int i) {
    model->select({model->state().shapes->at(static_cast<std::size_t>(i) * 2)->id});
    model->nudge(1, 1);
  };
  const auto moveAll = [this](int i) {
    model->selectAll();
    model->nudge(0.1 + i / 7.0, -std::sqrt(i));
    model->endStep();
  };
  const auto restyleAll = [this](int i) {
    model->selectAll();
    model->changeStyle([i](ToolStyle& style) {
      style.widthIdx = i % 3;
      style.color = fmt::format("#{:06x}", i);
    });
  };
  const auto moveLayer = [this](int i) {
    model->setLayerFrame(layerID(0), {i * 0.3 + 1, 3.0 * i, 800 + i * 1.7, 600 + i / 3.0});
  };
  const auto deleteAndDraw = [this](int i) {
    model->select({model->state().shapes->at(static_cast<std::size_t>(i))->id});
    model->deleteSelection();
    model->edit("Draw", [i](EditorSnapshot& state) { state.append(mixedShape(500 + i)); });
  };
  using Step = std::function<void(int)>;
  for (const auto& [kind, step] : std::vector<std::pair<const char*, Step>>{
           {"move one", moveOne},
           {"move all", moveAll},
           {"restyle all", restyleAll},
           {"move the layer", moveLayer},
           {"delete and draw", deleteAndDraw},
       }) {
    EditorDocument document;
    for (int i = 0; i < 500; ++i) {
      document.shapes.push_back(mixedShape(i));
      if (i % 2 == 0) document.shapes.back().layerId = "logo";
    }
    document.layers.emplace_back().id = "capture";
    document.layers.back().frame = {0, 0, 800, 600};
    document.layers.emplace_back().id = "logo";
    document.layers.back().path = "/logo.png";
    document.layers.back().frame = {0, 0, 80, 60};
    open(std::move(document));
    const EditorDocument opened = model->state().document();
    const auto before = static_cast<double>(mallinfo2().uordblks);
    for (int i = 0; i < 200; ++i) step(i);
    model->endStep();
    const double grown = (static_cast<double>(mallinfo2().uordblks) - before) / 1e6;
    EXPECT_LT(grown, 20) << "megabytes after 200 times " << kind;
    RecordProperty(std::string("megabytes, ") + kind, std::to_string(grown));

    const EditorDocument done = model->state().document();
    EXPECT_NE(done, opened) << kind;
    int steps = 0;
    for (; model->undo(); ++steps) {
    }
    EXPECT_GE(steps, 200) << kind;
    EXPECT_EQ(model->state().document(), opened) << kind;
    while (model->redo()) {
    }
    EXPECT_EQ(model->state().document(), done) << kind;
  }
}

}  // namespace
}  // namespace vantorel
