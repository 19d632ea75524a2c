#include <gtest/gtest.h>

#include <random>

#include "editor/canvas_input.hpp"
#include "editor/testing/mixed_shapes.hpp"

namespace vantorel {
namespace {

/// Plays random events on an editor: tools, drags that may be cancelled, keys, text, layers,
/// canvas.
class RandomUser {
 public:
  RandomUser(EditorModel& model, unsigned seed)
      : model_(model), random_(seed), input_(model, CanvasServices{}) {
    OCRBlock block;
    for (int i = 0; i < 5; ++i) {
      const float top = static_cast<float>(i) / 5;
      block.lines.push_back({"some words in a line", {0.1F, top, 0.8F, 0.15F, {}}, 1, {}});
    }
    input_.setRecognised(std::vector{block});
  }

  void act() {
    switch (number(0, 13)) {
      case 0: model_.pickTool(enumNames<Tool>[number(0, 15)].value); return;
      case 1: pressKey(); return;
      case 2: model_.setText(number(0, 2) == 0 ? "" : "some\ntext"); return;
      case 3:
        model_.changeStyle([&](ToolStyle& style) {
          style.widthIdx = number(-1, 6);
          style.fill = FillStyle::tint;
          style.textStyle = TextStyle::label;
        });
        return;
      case 4: changeLayers(); return;
      case 5: changeCanvas(); return;
      case 6:
        if (number(0, 1) == 0) model_.undo();
        if (number(0, 1) == 0) model_.redo();
        return;
      default: drag(); return;
    }
  }

  void leave() { input_.cancel(); }

 private:
  int number(int least, int most) { return std::uniform_int_distribution(least, most)(random_); }
  Pt place() { return {number(-600, 8600) / 10.0, number(-500, 6500) / 10.0}; }
  bool maybe() { return number(0, 3) == 0; }

  void pressKey() {
    static constexpr const char* letters[] = {"z", "Z", "a", "c", "v", "x", "q", "r", "h"};
    const auto key = static_cast<EditorKey>(number(0, 7));
    const bool command = key == EditorKey::character && number(0, 1) == 0;
    input_.handle(KeyEvent{key, letters[number(0, 8)], maybe(), command});
  }

  void drag() {
    PointerEvent event;
    event.at = place();
    if (number(0, 2) == 0 && !input_.handles().empty()) event.at = input_.handles().front().at;
    event.shift = maybe();
    event.command = maybe();
    event.clicks = number(1, 3);
    input_.handle(event);
    event.phase = PointerPhase::move;
    for (int i = number(0, 5); i > 0; --i) {
      event.at = place();
      input_.handle(event);
      if (number(0, 20) == 0) pressKey();
      if (number(0, 20) == 0) interrupt();
    }
    if (number(0, 15) == 0) return;  // the release never comes
    event.phase = PointerPhase::release;
    input_.handle(event);
  }

  /// Commands of menus and panels come in the middle of a gesture too.
  void interrupt() {
    switch (number(0, 9)) {
      case 0: model_.pickTool(enumNames<Tool>[number(0, 15)].value); return;
      case 1: model_.redo(); return;
      case 2: model_.deleteSelection(); return;
      case 3: model_.selectLayer(someLayer()); return;
      case 4: model_.select({}); return;
      case 5: changeLayers(); return;
      case 6: changeCanvas(); return;
      case 7: model_.beginText(place()); return;
      case 8: model_.selectAll(); return;
      default: model_.undo(); return;
    }
  }

  std::string someLayer() {
    const auto& layers = *model_.state().layers;
    return layers.empty() ? ""
                          : layers[static_cast<std::size_t>(number(0, 999)) % layers.size()].id;
  }

  void changeLayers() {
    switch (number(0, 9)) {
      case 0: model_.addLayers({{"/a.png", {300, 200}}, {"/b.png", {5000, 10}}}); return;
      case 1: model_.setLayerFrame(someLayer(), {place().x, place().y, 33.3, 44.4}); return;
      case 2: model_.moveLayerTo(someLayer(), static_cast<std::size_t>(number(0, 5))); return;
      case 3: model_.deleteLayer(someLayer()); return;
      case 4: model_.renameLayer(someLayer(), "Renamed"); return;
      case 5: model_.setLayerVisible(someLayer(), maybe()); return;
      case 6: model_.setLayerLocked(someLayer(), maybe()); return;
      case 7: model_.setLayerOpacity(someLayer(), number(0, 10) / 10.0); return;
      case 8:
        model_.setLayerBorder(someLayer(), LayerBorder{double(number(-1, 9)), "", {}});
        return;
      default: model_.arrangeLayers(enumNames<CombineLayout>[number(0, 2)].value); return;
    }
  }

  void changeCanvas() {
    switch (number(0, 4)) {
      case 0:
        model_.resizeCanvas(CanvasSize{double(number(0, 2000)), double(number(1, 2000))},
                            enumNames<CanvasAnchor>[number(0, 8)].value);
        return;
      case 1: model_.setCanvasColor(maybe() ? "#000000" : "#fafafa"); return;
      case 2:
        model_.setBackground({{BackgroundFill::Gradient{"dusk"}}, 5, 5, maybe(), 0.5, {}});
        return;
      case 3: model_.setCropAspect(enumNames<CropAspect>[number(0, 3)].value); return;
      default: model_.removeCrop(); return;
    }
  }

  EditorModel& model_;
  std::mt19937 random_;
  CanvasInput input_;
};

TEST(UndoPropertyTest, UndoingEverythingGivesBackTheOpeningDocumentAndRedoTheLast) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    EditorDocument opened;
    for (int i = 0; i < 24; ++i) opened.shapes.push_back(mixedShape(i));
    opened.extra.set({{"later", {std::string("kept")}}});
    EditorModel model({{800, 600}, opened, {}, 2.0, {}, roughText}, {});
    opened = model.baseline();
    RandomUser user(model, seed);
    for (int i = 0; i < 150; ++i) user.act();
    user.leave();
    model.endText();
    model.endStep();
    const EditorDocument last = model.document();
    int steps = 0;
    while (model.undo()) ++steps;
    EXPECT_GT(steps, 10) << seed;
    ASSERT_EQ(json::toText(model.document()), json::toText(opened)) << seed;
    ASSERT_EQ(model.document(), opened) << seed;
    while (steps-- > 0) ASSERT_TRUE(model.redo());
    EXPECT_EQ(model.document(), last) << seed;
  }
}

}  // namespace
}  // namespace vantorel
