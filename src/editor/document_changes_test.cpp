#include "editor/document_changes.hpp"

#include <gtest/gtest.h>

#include "editor/layer_layout.hpp"

namespace vantorel {
namespace {

EditorDocument withShapes(std::initializer_list<const char*> ids) {
  EditorDocument document;
  for (const char* id : ids) {
    document.shapes.emplace_back();
    document.shapes.back().id = id;
  }
  return document;
}

TEST(DocumentChangesTest, SaysWhatClosingWouldLose) {
  const EditorDocument opened = withShapes({"a", "b", "c"});
  EditorDocument now = opened;
  EXPECT_EQ(describeChanges(opened, now, TextLabel::none), "");
  now.shapes.push_back(withShapes({"d"}).shapes[0]);
  EXPECT_EQ(describeChanges(opened, now, TextLabel::none), "1 annotation added");
  now = withShapes({});
  now.canvas.width = 9;
  EXPECT_EQ(describeChanges(opened, now, TextLabel::none),
            "3 annotations removed and the canvas size changed");
  now = withShapes({"a", "x", "y", "c"});
  now.shapes[0].width = 9;
  now.crop = Box{};
  now.background.shadow = false;
  now.layers.emplace_back();
  EXPECT_EQ(describeChanges(opened, now, TextLabel::unfinished),
            "2 annotations added, 1 annotation changed, 1 annotation removed, an unfinished text "
            "label, the crop changed, the background changed and the layers changed");

  // Room at the left and the top moves the layers; one that moves by itself is told.
  EditorDocument layered = opened;
  layered.layers = {newCaptureLayer({80, 60}), LayerSpec{}};
  now = layered;
  now.canvas.width = 100;
  for (LayerSpec& layer : now.layers) layer.frame.x += 20;
  EXPECT_EQ(describeChanges(layered, now, TextLabel::none), "the canvas size changed");
  now.layers[1].frame.x += 1;
  EXPECT_EQ(describeChanges(layered, now, TextLabel::none),
            "the layers changed and the canvas size changed");
  now = opened;
  now.canvas.backdropHex = "#000000";
  EXPECT_NE(describeChanges(opened, now, TextLabel::none), "");
}

}  // namespace
}  // namespace vantorel
