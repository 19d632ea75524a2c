#include <gtest/gtest.h>

#include <set>

#include "base/utf8.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "editor/testing/random_user.hpp"
#include "editor/testing/rough_text.hpp"

namespace vantorel {
namespace {

EditorDocument startingDocument() {
  EditorDocument document;
  for (int i = 0; i < 24; ++i) document.shapes.push_back(mixedShape(i));
  document.extra.set({{"later", {std::string("kept")}}});
  return document;
}

/// What holds of an editor at any moment. The first thing that does not, or nothing.
std::string fault(const EditorModel& model) {
  std::set<std::string> ids;
  for (const auto& shape : *model.state().shapes) {
    if (!ids.insert(shape->id).second) return "two shapes are " + shape->id;
    if (!isUtf8(shape->text)) return "no text";
  }
  for (const std::string& id : model.selection()) {
    if (!ids.contains(id)) return "a shape is selected that is not there";
  }
  std::set<std::string> layerIDs;
  int captures = 0;
  for (const LayerSpec& layer : *model.state().layers) {
    if (!layerIDs.insert(layer.id).second) return "two layers are " + layer.id;
    if (!layer.path) ++captures;
  }
  if (captures != (layerIDs.empty() ? 0 : 1)) return "the capture is not one layer";
  const EditorDocument document = model.document();
  if (document.canvas.width < 1 || document.canvas.height < 1) return "no canvas";
  const auto read = json::fromText<EditorDocument>(json::toText(document));
  if (!read || *read != document) return "the document does not come back from its text";
  const bool isChanged = document != model.baseline();
  if (model.hasUnsavedChanges() != (isChanged || model.isTyping())) return "unsaved or not";
  // One list of shapes, however it is asked for.
  const std::vector<Shape> scene = model.scene().shapes;
  const ShapeList shared = model.sceneShapes();
  if (scene.size() != shared.size()) return "two scenes";
  for (std::size_t i = 0; i < scene.size(); ++i) {
    if (scene[i] != *shared[i]) return "two scenes";
  }
  const auto caret = model.textCaret();
  if (caret.has_value() != model.isTyping()) return "a caret without a text";
  if (caret && std::max(caret->offset, caret->anchor) > model.draft()->text.size()) {
    return "a caret outside";
  }
  return {};
}

TEST(EditorPropertyTest, ADocumentIsWholeAtAnyMomentAndUndoneToItsStart) {
  for (unsigned seed = 0; seed < 16; ++seed) {
    EditorModel model({{800, 600}, startingDocument(), {}, 2.0, {}, roughText, roughLayout}, {});
    EditorDocument opened = model.baseline();
    RandomUser user(model, seed);
    for (int i = 0; i < 150; ++i) {
      user.act();
      ASSERT_EQ(fault(model), "") << "seed " << seed << ", step " << i;
    }
    user.leave();
    model.endText();
    model.endStep();
    const EditorDocument last = model.document();
    int steps = 0;
    while (model.undo()) {
      ASSERT_EQ(fault(model), "") << seed;
      ++steps;
    }
    EXPECT_GT(steps, 10) << seed;
    ASSERT_EQ(json::toText(model.document()), json::toText(opened)) << seed;
    ASSERT_EQ(model.document(), opened) << seed;
    while (steps-- > 0) ASSERT_TRUE(model.redo());
    EXPECT_EQ(model.document(), last) << seed;
  }
}

/// Two hands on one editor, as a window and a panel are: neither knows what the other does.
TEST(EditorPropertyTest, TwoHandsAtOnceLeaveADocumentWhole) {
  for (unsigned seed = 0; seed < 10; ++seed) {
    EditorModel model({{800, 600}, startingDocument(), {}, 2.0, {}, roughText, roughLayout}, {});
    RandomUser one(model, seed);
    RandomUser other(model, seed + 1000);
    for (int i = 0; i < 150; ++i) {
      ((i * 7 + static_cast<int>(seed)) % 3 == 0 ? one : other).act();
      ASSERT_EQ(fault(model), "") << "seed " << seed << ", step " << i;
    }
  }
}

}  // namespace
}  // namespace vantorel
