#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/canvas_input.hpp"
#include "editor/editor_model.hpp"
#include "editor/shape_layers.hpp"
#include "editor/testing/editor_fixture.hpp"

namespace vantorel {
namespace {

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

}  // namespace
}  // namespace vantorel
