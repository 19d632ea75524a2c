#include "editor/editor_model.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cmath>

#include "editor/canvas_input.hpp"
#include "editor/testing/editor_fixture.hpp"

namespace vantorel {
namespace {

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
  EXPECT_EQ(model->undoName(), "Resize Rectangle");
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
  for (const char* name :
       {"Move Rectangle", "Move Rectangle", "Resize Rectangle", "Draw Rectangle"}) {
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
  EXPECT_EQ(model->redoName(), "Move Annotations");
  model->undo();
  key(EditorKey::down);  // its step is still open
  EXPECT_EQ(model->redoName(), "");
  EXPECT_EQ(model->undoName(), "Move Annotations");
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
  EXPECT_TRUE(key("r"));  // goes into the text
  EXPECT_TRUE(key(EditorKey::backspace));
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
  EXPECT_EQ(model->undoName(), "Move Rectangle");
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

TEST_F(EditorModelTest, LinesArePulledByTheirEndsAndTheirBowAlone) {
  key("a");
  drag({100, 100}, {200, 150});
  EXPECT_EQ(input->handles().size(), 3U);
  drag({200, 150}, {300, 150});
  EXPECT_EQ(Pt(last().x2, last().y2), Pt(300, 150));
  EXPECT_EQ(model->undoName(), "Resize Arrow");
  drag({300, 100}, {320, 90});  // a corner of its frame is none of its own
  EXPECT_EQ(model->state().shapes->size(), 2U);
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
