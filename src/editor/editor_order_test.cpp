#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/testing/editor_fixture.hpp"

namespace vantorel {
namespace {

using ::testing::ElementsAre;

class EditorOrderTest : public EditorModelTest {
 protected:
  EditorOrderTest() {
    EditorDocument document;
    for (int i = 0; i < 5; ++i) {
      Shape shape = mixedShape(3);
      shape.id = std::string(1, static_cast<char>('a' + i));
      shape.x1 = 100 * i + 10;
      shape.x2 = shape.x1 + 50;
      shape.y1 = 10;
      shape.y2 = 60;
      document.shapes.push_back(std::move(shape));
    }
    open(std::move(document));
  }
  std::string order() {
    std::string ids;
    for (const auto& shape : *model->state().shapes) ids += shape->id;
    return ids;
  }
};

TEST_F(EditorOrderTest, TheSelectionPassesTheOthersTogether) {
  model->select({"b", "c"});
  EXPECT_TRUE(model->bringForward());
  EXPECT_EQ(order(), "adbce");
  EXPECT_EQ(model->undoName(), "Bring Forward");
  model->bringForward();
  EXPECT_FALSE(model->bringForward()) << "they are in front already";
  EXPECT_EQ(order(), "adebc");
  model->sendToBack();
  EXPECT_EQ(order(), "bcade");
  model->select({"a", "c"});
  model->sendBackward();
  EXPECT_EQ(order(), "cabde");
  model->sendBackward();
  EXPECT_EQ(order(), "cabde") << "one at the end keeps its place, and the other stays behind it";
  model->bringToFront();
  EXPECT_EQ(order(), "bdeca");
  while (model->undo()) {
  }
  EXPECT_EQ(order(), "abcde");
  EXPECT_FALSE(model->hasUnsavedChanges());
}

TEST_F(EditorOrderTest, LayersAreOrderedAndDuplicatedAsWell) {
  model->addLayers({{"/a.png", {100, 100}}, {"/b.png", {100, 100}}});
  const std::string b = model->selectedLayer()->id;
  EXPECT_FALSE(model->bringForward());
  EXPECT_TRUE(model->sendToBack());
  EXPECT_EQ(layerID(0), b);
  EXPECT_TRUE(model->duplicate());
  EXPECT_EQ(model->state().layers->size(), 4U);
  EXPECT_EQ(model->selectedLayer(), &(*model->state().layers)[1]);
  EXPECT_EQ(frame(1).x, frame(0).x + 20) << "ten points of a capture of twice the scale";
  model->pasteLayer({"/c.png", {40, 20}}, {400, 300});
  EXPECT_EQ(frame(4), (Box{380, 290, 40, 20}));
  EXPECT_EQ(model->undoName(), "Paste Layer");
}

TEST_F(EditorOrderTest, TabGoesRoundTheShapesFromTheFront) {
  std::vector<std::string> visited;
  for (int i = 0; i < 6; ++i) {
    key(EditorKey::tab);
    visited.push_back(*model->selection().begin());
  }
  EXPECT_THAT(visited, ElementsAre("e", "d", "c", "b", "a", "e"));
  shift = true;
  key(EditorKey::tab);
  EXPECT_THAT(model->selection(), ElementsAre("a"));
}

TEST_F(EditorOrderTest, KeysChangeSizeWidthInkAndCopies) {
  model->select({"b"});
  const auto alt = [&](EditorKey which) { input->handle(KeyEvent{which, {}, shift, false, true}); };
  alt(EditorKey::right);
  alt(EditorKey::right);
  shift = true;
  alt(EditorKey::down);
  shift = false;
  const Box frame = frameOf(*model->state().find("b"));
  EXPECT_EQ(frame, (Box{110, 10, 52, 60}));
  EXPECT_EQ(model->undoName(), "Resize Rectangle");
  key(EditorKey::right);
  EXPECT_EQ(model->undoName(), "Move Rectangle");
  key("]");
  key("3");
  EXPECT_EQ(model->style().widthIdx, 1);
  EXPECT_EQ(model->style().color, "#007aff");
  model->duplicate();
  EXPECT_EQ(model->state().shapes->size(), 6U);
  EXPECT_EQ(frameOf(last()), (Box{131, 30, 52, 60}));
  EXPECT_THAT(model->selection(), ElementsAre(last().id));
  for (const char* name : {"Duplicate Rectangle", "Change Color", "Change Width", "Move Rectangle",
                           "Resize Rectangle"}) {
    EXPECT_EQ(model->undoName(), name);
    model->undo();
  }
  EXPECT_EQ(frameOf(*model->state().find("b")), (Box{110, 10, 50, 50}));
}

TEST_F(EditorOrderTest, ReturnPutsAShapeInTheMiddleOfWhatIsSeen) {
  const auto enter = [&] {
    KeyEvent event{EditorKey::enter};
    event.seen = Box{400, 300, 2000, 2000};  // as far as there is a canvas
    return input->handle(event);
  };
  EXPECT_FALSE(enter()) << "the select tool makes nothing";
  key("o");
  EXPECT_TRUE(enter());
  EXPECT_EQ(frameOf(last()), (Box{560, 420, 80, 60}));
  EXPECT_THAT(model->selection(), ElementsAre(last().id));
  EXPECT_EQ(model->undoName(), "Add Ellipse");
  key("n");
  enter();
  EXPECT_EQ(Pt(last().x, last().y), Pt(600, 450));
  key("t");
  EXPECT_TRUE(enter());
  EXPECT_TRUE(model->isTyping());
  key(EditorKey::escape);
  key("c");
  EXPECT_EQ(model->tool(), Tool::crop);
  EXPECT_FALSE(key(EditorKey::tab)) << "the crop is worked on";
}

TEST_F(EditorOrderTest, EdgesPullOneWayAndWithShiftAllAround) {
  model->select({"b"});
  const auto cursor = [&](Pt at) { return input->cursorAt(PointerEvent{PointerPhase::move, at}); };
  EXPECT_EQ(cursor({160, 35}), CanvasCursor::resizeHorizontal);
  EXPECT_EQ(cursor({135, 10}), CanvasCursor::resizeVertical);
  EXPECT_EQ(cursor({110, 10}), CanvasCursor::resizeFalling);
  EXPECT_EQ(cursor({160, 10}), CanvasCursor::resizeRising);
  EXPECT_EQ(cursor({310, 30}), CanvasCursor::move);
  EXPECT_EQ(cursor({400, 300}), CanvasCursor::arrow);
  EXPECT_EQ(input->shapeUnder({310, 30}, 6), "d");
  drag({160, 35}, {180, 90});
  EXPECT_EQ(frameOf(*model->state().find("b")), (Box{110, 10, 70, 50}));
  drag({145, 10}, {145, 80});  // past the opposite edge
  EXPECT_EQ(frameOf(*model->state().find("b")), (Box{110, 60, 70, 20}));
  shift = true;
  drag({145, 80}, {145, 90});
  EXPECT_EQ(frameOf(*model->state().find("b")), (Box{92.5, 60, 105, 30}));
}

}  // namespace
}  // namespace vantorel
