#include "editor/text_selection.hpp"

#include <gtest/gtest.h>

#include "editor/canvas_input.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "text/letter_edges.hpp"

namespace vantorel {
namespace {

/// Two lines of 20 letters, 10 pixels each, at (100, 50) and (100, 80), and a word of four letters
/// in a block of its own at (400, 50).
std::vector<OCRBlock> page() {
  const auto line = [](std::string text, float x, float y, float w) {
    return OCRLine{std::move(text), {x / 800, y / 600, w / 800, 20.0F / 600, {}}, 1, {}};
  };
  return {{{line("Größe: zwölf Zoll da", 100, 50, 200), line("und noch 1 Zeile mit", 100, 80, 200)},
           {}},
          {{line("Ende", 400, 50, 40)}, {}}};
}

TEST(TextSelectionTest, SelectsLettersWordsAndLinesInReadingOrder) {
  TextSelection text(page(), {800, 600});
  using Unit = TextSelection::Unit;
  text.begin({121, 60}, Unit::letter);
  EXPECT_TRUE(text.isEmpty());
  text.extendTo({151, 65});
  EXPECT_EQ(text.text(false), "öße");
  text.extendTo({60, 60});  // backwards, and past the edge
  EXPECT_EQ(text.text(false), "Gr");

  text.begin({185, 60}, Unit::word);
  EXPECT_EQ(text.text(false), "zwölf");
  text.extendTo({145, 90});
  EXPECT_EQ(text.text(false), "zwölf Zoll da\nund noch");
  EXPECT_EQ(text.text(true), "zwölf Zoll da und noch");
  ASSERT_EQ(text.boxes().size(), 2U);
  EXPECT_NEAR(text.boxes()[0].x, 170, 1e-3);
  EXPECT_NEAR(text.boxes()[0].right(), 300, 1e-3);
  EXPECT_NEAR(text.boxes()[1].right(), 180, 1e-3);

  text.begin({150, 95}, Unit::line);
  text.extendTo({420, 60});
  EXPECT_EQ(text.text(false), "und noch 1 Zeile mit\n\nEnde");
  EXPECT_TRUE(text.hasWordAt({105, 55}));
  EXPECT_FALSE(text.hasWordAt({165, 60})) << "between words";
  EXPECT_FALSE(text.hasWordAt({500, 300}));

  TextSelection none({}, {800, 600});
  none.begin({1, 1}, Unit::line);
  none.extendTo({2, 2});
  EXPECT_TRUE(none.isEmpty() && none.text(true).empty() && none.boxes().empty());
}

// Thin letters, a gap and wide letters: sharing the line evenly would be off by several of them.
TEST(TextSelectionTest, LettersLieWhereTheyWereRead) {
  const std::vector<double> places{0, 5, 10, 15, 20, 60, 90, 120, 150, 180};  // pixels
  std::vector<double> edges;
  for (const double place : places) edges.push_back(place / 20);
  OCRLine line{"illi WWWW", {0.125, 0.1F, 180.0F / 800, 20.0F / 600, {}}, 1, {}, {}};
  line.letters = encodedLetters(edges);
  TextSelection text({{{line}, {}}}, {800, 600});
  using Unit = TextSelection::Unit;
  text.begin({165, 65}, Unit::word);
  EXPECT_EQ(text.text(false), "WWWW");
  text.begin({117, 65}, Unit::word);
  EXPECT_EQ(text.text(false), "illi");
  EXPECT_FALSE(text.hasWordAt({140, 65})) << "in the gap";
  text.begin({161, 65}, Unit::letter);
  text.extendTo({218, 65});
  EXPECT_EQ(text.text(false), "WW");
  ASSERT_EQ(text.boxes().size(), 1U);
  EXPECT_NEAR(text.boxes()[0].x, 160, 0.5);
  EXPECT_NEAR(text.boxes()[0].right(), 220, 0.5);
  const Box cover = text.coveringBoxes().at(0);
  EXPECT_LE(cover.x, 156);
  EXPECT_GE(cover.x, 150) << "little more than was selected";
  EXPECT_GE(cover.right(), 224);
  EXPECT_EQ(text.text(false, {{170, 60, 2, 5}}), "") << "a word of which a part is covered";
  text.begin({117, 65}, Unit::line);
  EXPECT_EQ(text.text(false, {{170, 60, 2, 5}}), "illi ");
}

class CanvasTextTest : public testing::Test {
 protected:
  CanvasTextTest() : model({{800, 600}, {}, {}, {}, {}, roughText}, {}), input(model, services()) {
    input.setRecognised(page());
  }

  CanvasServices services() {
    CanvasServices given;
    given.copyText = [this](const std::string& text) { copied = text; };
    return given;
  }

  void press(Pt at, int clicks) {
    PointerEvent event;
    event.at = at;
    event.clicks = clicks;
    input.handle(event);
    event.phase = PointerPhase::release;
    input.handle(event);
  }

  bool key(const char* text, bool command = false) {
    return input.handle(KeyEvent{EditorKey::character, text, false, command});
  }

  std::string copied;
  EditorModel model;
  CanvasInput input;
};

TEST_F(CanvasTextTest, DoubleClickedWordIsSelectedCopiedAndRedacted) {
  press({185, 60}, 2);
  EXPECT_EQ(model.tool(), Tool::selectText);
  EXPECT_TRUE(key("c", true));
  EXPECT_EQ(copied, "zwölf");
  EXPECT_EQ(input.hint(), "⌘C copies · R redacts · H highlights · click empty canvas to clear");
  EXPECT_TRUE(key("r"));
  ASSERT_EQ(model.document().shapes.size(), 1U);
  const Shape box = model.document().shapes[0];
  EXPECT_EQ(box.type, ShapeType::redact);
  EXPECT_LT(box.x1, 160) << "a letter to spare";
  EXPECT_GT(box.x1, 130);
  EXPECT_GT(box.x2, 230);
  EXPECT_LT(box.x2, 260);
  EXPECT_GT(box.y2, 72);
  EXPECT_TRUE(input.text().isEmpty());
  EXPECT_EQ(model.undoName(), "Redact Text");
  press({185, 60}, 3);
  key("c", true);
  EXPECT_EQ(copied.find("zwölf"), std::string::npos) << "what is covered is handed to nobody";

  press({150, 90}, 3);
  EXPECT_TRUE(key("h"));
  EXPECT_EQ(model.document().shapes.back().type, ShapeType::highlightRect);
  EXPECT_TRUE(key("r")) << "without selected text a letter picks a tool";
  EXPECT_NE(model.tool(), Tool::selectText);
}

TEST_F(CanvasTextTest, ClicksBesideTheTextClearItOrStartATextBox) {
  model.pickTool(Tool::selectText);
  press({185, 60}, 2);
  press({700, 500}, 1);
  EXPECT_TRUE(input.text().isEmpty());
  press({185, 60}, 2);
  EXPECT_TRUE(input.handle(KeyEvent{EditorKey::escape, "", false, false}));
  EXPECT_TRUE(input.text().isEmpty());
  EXPECT_EQ(model.tool(), Tool::selectText);
  press({700, 500}, 2);
  EXPECT_EQ(model.tool(), Tool::text);
  EXPECT_TRUE(model.isTyping());

  model.pickTool(Tool::selectText);
  input.setRecognised(std::vector<OCRBlock>{});
  EXPECT_EQ(input.hint(), "No text found in this capture · Esc to exit");
  input.setRecognised(std::nullopt);
  EXPECT_EQ(input.hint(), "No text was read in this capture · Esc to exit");
}

}  // namespace
}  // namespace vantorel
