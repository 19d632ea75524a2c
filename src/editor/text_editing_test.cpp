#include "editor/text_editing.hpp"

#include <gtest/gtest.h>

#include "editor/testing/editor_fixture.hpp"

namespace vantorel {
namespace {

class TextEditingTest : public EditorModelTest {
 protected:
  TextEditingTest() {
    model->beginText({100, 100});
    model->changeStyle([](ToolStyle& style) { style.widthIdx = 1; });
  }
  const std::string& text() { return model->draft()->text; }
  std::size_t caret() { return model->textCaret()->offset; }
};

TEST_F(TextEditingTest, KeysEditWhereTheCaretStands) {
  for (const char* letter : {"o", "n", "e", " ", "t", "w", "o"}) key(letter);
  key(EditorKey::enter);
  for (const char* letter : {"t", "h", "r", "e", "e"}) key(letter);
  EXPECT_EQ(text(), "one two\nthree");
  key(EditorKey::up);
  EXPECT_EQ(caret(), 5U) << "below it, in the line above";
  key(EditorKey::end);
  EXPECT_EQ(caret(), 7U);
  key(EditorKey::down);
  key(EditorKey::up);
  EXPECT_EQ(caret(), 7U) << "a shorter line on the way does not forget the place";
  shift = command = true;
  key(EditorKey::left);
  EXPECT_EQ(model->selectedText(), "two");
  EXPECT_EQ(model->textCaret()->selection.size(), 1U);
  shift = command = false;
  model->insertText("2");
  EXPECT_EQ(text(), "one 2\nthree");
  command = true;
  key(EditorKey::backspace);
  EXPECT_EQ(text(), "one \nthree");
  key(EditorKey::home);
  EXPECT_EQ(caret(), 0U);
  command = false;
  key(EditorKey::del);
  EXPECT_EQ(text(), "ne \nthree");
  EXPECT_EQ(model->undoName(), "Typing");
  while (model->undo()) {
  }
  EXPECT_EQ(text(), "");
}

TEST_F(TextEditingTest, ThePointerPutsTheCaretAndMarks) {
  model->insertText("some words here");
  const Box letter = model->textCaret()->caret;
  const double width = 0.6 * model->draft()->fontSize;
  const double y = letter.y + letter.h / 2;
  click({100 + 5.1 * width, y});
  EXPECT_EQ(caret(), 5U);
  drag({100 + 5 * width, y}, {100 + 10.2 * width, y});
  EXPECT_EQ(model->selectedText(), "words");
  clicks = 2;
  click({100 + 12 * width, y});
  EXPECT_EQ(model->selectedText(), "here");
  clicks = 3;
  click({100 + 12 * width, y});
  EXPECT_EQ(model->selectedText(), text());
  clicks = 1;
  drag({100 + 5 * width, letter.y - 4}, {100 + 5 * width, letter.y + 46});  // by its frame
  EXPECT_EQ(model->draft()->y, 150);
  EXPECT_EQ(text(), "some words here");
}

TEST_F(TextEditingTest, WhatIsComposedIsSeenAndNeverPartOfTheDocument) {
  model->insertText("ab");
  model->moveCaret(CaretStep::letterLeft, false);
  model->setComposedText("XYZ", 2);
  EXPECT_EQ(model->scene().shapes.back().text, "aXYZb");
  EXPECT_EQ(text(), "ab");
  ASSERT_EQ(model->textCaret()->composed.size(), 1U);
  const double width = 0.6 * model->draft()->fontSize;
  EXPECT_EQ(model->textCaret()->composed[0].x, 100 + width);
  EXPECT_EQ(model->textCaret()->caret.x, 100 + 3 * width);
  EXPECT_EQ(caret(), 1U);
  model->insertText("é");  // what it came to
  EXPECT_EQ(text(), "aéb");
  model->setComposedText("left over", 0);
  model->endText();
  EXPECT_EQ(last().text, "aéb");
  EXPECT_EQ(model->scene().shapes.back().text, "aéb");

  EXPECT_FALSE(model->textCaret());
  model->insertText("nobody listens");
  EXPECT_EQ(last().text, "aéb");
}

TEST_F(TextEditingTest, WhatCannotStandInATextStaysOut) {
  model->insertText(std::string_view("a\0b\r\nc\x1b\xff", 8));
  EXPECT_EQ(text(), "ab\nc\uFFFD");
  model->insertText(std::string(30'000, 'x'));
  EXPECT_EQ(text().size(), TextEditing::mostBytes);
  EXPECT_EQ(caret(), text().size());
}

TEST_F(TextEditingTest, ATextWhoseLayerWentKeepsWhatWasTyped) {
  model->cancelText();
  model->addLayers({{"/a.png", {100, 100}}});
  const std::string layer = layerID(1);
  model->beginText({10, 10});
  model->insertText("kept");
  model->endText();
  ASSERT_EQ(last().layerId, layer);
  model->editText(std::string(last().id));
  model->insertText(" too");
  model->deleteLayer(layer);
  EXPECT_TRUE(model->state().shapes->empty());
  model->endText();
  EXPECT_EQ(last().text, "kept too");
}

}  // namespace
}  // namespace vantorel
