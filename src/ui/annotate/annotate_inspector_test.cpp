#include "ui/annotate/annotate_inspector.hpp"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QScrollBar>
#include <QSlider>
#include <QVBoxLayout>

#include "ui/kit/application_font.hpp"
#include "ui/testing/inspector_test_case.hpp"

namespace vantorel {
namespace {

class AnnotateInspectorTest : public InspectorTestCase {};

TEST_F(AnnotateInspectorTest, ControlsChangeTheLookAndFollowIt) {
  start(arrows(2));
  editor->pickTool(Tool::arrow);
  settle();
  keepPicture("inspector-arrow");
  clickOn(named("Blue"));
  clickOn(named("Dashed"));
  clickOn(named("Ring"));
  clickOn(named("At both ends"));
  EXPECT_FALSE(named("Dot")->isEnabled()) << "no tail is drawn between two heads";
  EXPECT_EQ(named<QWidget>("Tail")->toolTip(), "An arrow with two heads has no tail");
  clickOn(named("10 pt"));
  const ToolStyle style = editor->style();
  EXPECT_EQ(style.color, "#007aff");
  EXPECT_EQ(style.lineStyle, LineStyle::dashed);
  EXPECT_EQ(style.headStyle, ArrowHeadStyle::both);
  EXPECT_EQ(style.tailMarker, ArrowTailMarker::ring);
  EXPECT_EQ(style.widthIdx, 3);
  EXPECT_TRUE(editor->undoName().empty()) << "a tool's look is no step";

  editor->pickTool(Tool::select);
  editor->select({"arrow0"});
  settle();
  clickOn(named("Green"));
  EXPECT_EQ(editor->selectedShapes()[0].color, "#34c759");
  EXPECT_FALSE(editor->undoName().empty());
  editor->undo();
  settle();
  EXPECT_FALSE(named("Green")->isChecked()) << "what undo changes is shown";
  EXPECT_TRUE(named("Red")->isChecked());

  editor->changeStyle([](ToolStyle& changed) { changed.color = "#1b1e28"; });
  settle();
  EXPECT_FALSE(named("Red")->isChecked());
  EXPECT_EQ(named("Another color…")->accessibleDescription(), "#1b1e28");

  editor->select({"arrow0", "arrow1"});
  settle();
  EXPECT_EQ(named("Another color…")->accessibleDescription(), "Mixed");
  EXPECT_TRUE(named("Solid")->isChecked()) << "in this they are alike";
  keepPicture("inspector-mixed");
  clickOn(named("Purple"));
  for (const Shape& arrow : editor->selectedShapes()) EXPECT_EQ(arrow.color, "#af52de");

  editor->addSampledColor("#224466");
  settle();
  clickOn(named("#224466"));
  for (const Shape& arrow : editor->selectedShapes()) EXPECT_EQ(arrow.color, "#224466");
  editor->pickTool(Tool::eyedropper);
  settle();
  clickOn(named("RGB"));
  clickOn(named("#224466"));
  EXPECT_EQ(copied, "rgb(34, 68, 102)");
}

TEST_F(AnnotateInspectorTest, ADragOfASliderIsSeenAtOnceAndIsOneStep) {
  start(arrows(1));
  editor->select({"arrow0"});
  settle();
  auto* const slider = named<QSlider>("Opacity");
  ASSERT_NE(slider, nullptr);
  const QPoint right = slider->mapToGlobal(QPoint(slider->width() - 8, slider->height() / 2));
  const auto opacity = [&] { return editor->selectedShapes()[0].opacity.value_or(1); };
  movePointer(right);
  press();
  movePointer(right - QPoint(20, 0));
  const double onTheWay = opacity();
  EXPECT_LT(onTheWay, 1);
  movePointer(right - QPoint(50, 0));
  EXPECT_LT(opacity(), onTheWay);
  release();
  ASSERT_TRUE(editor->undo());
  EXPECT_EQ(opacity(), 1);
  EXPECT_FALSE(editor->undo()) << "all of the drag was one step";
  EXPECT_TRUE(editor->redo());

  // An undo in the middle of a drag gives back what was; what is dragged then is another step.
  const double before = opacity();
  movePointer(
      slider->mapToGlobal(QPoint(8 + int((slider->width() - 16) * before), slider->height() / 2)));
  press();
  movePointer(right - QPoint(80, 0));
  ASSERT_TRUE(editor->undo());
  EXPECT_EQ(opacity(), before);
  movePointer(right - QPoint(90, 0));
  movePointer(right - QPoint(95, 0));
  release();
  EXPECT_LT(opacity(), before);
  ASSERT_TRUE(editor->undo());
  EXPECT_EQ(opacity(), before);

  // So is what a held key does, and the selection may go in the middle of a drag.
  slider->setFocus();
  settle();
  strike(XK_Home);
  EXPECT_EQ(opacity(), 0);
  ASSERT_TRUE(editor->undo());
  EXPECT_EQ(opacity(), before);
  settle();
  press();
  movePointer(right - QPoint(40, 0));
  editor->deleteSelection();
  settle();
  movePointer(right - QPoint(10, 0));
  release();
  EXPECT_TRUE(editor->state().shapes->empty());
  EXPECT_FALSE(editor->isInStep());
}

TEST_F(AnnotateInspectorTest, ASingleLineWithoutAWidthIsNotAligned) {
  EditorDocument document;
  Shape text;
  text.type = ShapeType::text;
  text.color = "#ff3b30";
  text.fontSize = 24;
  for (const char* const words : {"one line", "two\nlines", "wide"}) {
    text.id = text.text = words;
    if (text.id == "wide") text.boxWidth = 200;
    document.shapes.push_back(text);
  }
  start(document);
  editor->pickTool(Tool::text);
  settle();
  EXPECT_TRUE(named("Center")->isEnabled()) << "the next text may have several";
  editor->pickTool(Tool::select);
  for (const char* const words : {"one line", "two\nlines", "wide"}) {
    editor->select({words});
    settle();
    EXPECT_EQ(named("Center")->isEnabled(), std::string_view(words) != "one line") << words;
  }
}

TEST_F(AnnotateInspectorTest, BackgroundLayerAndCanvasAreChangedInTheirSections) {
  start(layered());
  openSection("Background");
  clickOn(named("Dusk"));
  EXPECT_EQ(editor->state().background->fill, (BackgroundFill{BackgroundFill::Gradient{"dusk"}}));
  openSection("Background");
  auto* const padding = named<QSlider>("Padding");
  ASSERT_NE(padding, nullptr);
  EXPECT_EQ(padding->value(), 8);
  padding->setValue(12);
  EXPECT_EQ(editor->state().background->paddingPercent, 12);
  clickOn(named("Shadow"));
  EXPECT_FALSE(editor->state().background->shadow);
  EXPECT_FALSE(named<QSlider>("Shadow strength")->isEnabled());
  clickOn(named("One color"));
  EXPECT_TRUE(
      std::holds_alternative<BackgroundFill::Solid>(editor->state().background->fill.value));

  editor->selectLayer("Photo");
  settle();
  auto* const border = named<QSlider>("Border");
  border->setValue(6);
  EXPECT_EQ(editor->state().findLayer("Photo")->border->width, 6);
  border->setValue(0);
  EXPECT_FALSE(editor->state().findLayer("Photo")->border);
  EXPECT_EQ(editor->undoName(), "Remove Layer Border");
  named<QSlider>("Opacity")->setValue(100);
  EXPECT_FALSE(editor->state().findLayer("Photo")->opacity);
  openSection("Canvas");
  keepPicture("inspector-open");
  EXPECT_GT(inspector->verticalScrollBar()->maximum(), 0);
  EXPECT_EQ(inspector->viewport()->width(), inspector->width()) << "the bar takes no room";
  auto* const color = named("Canvas color");
  const QPoint low = color->mapTo(inspector->viewport(), color->rect().bottomRight());
  EXPECT_TRUE(inspector->viewport()->rect().contains(low)) << "what is unfolded is seen";
  clickOn(named("Canvas color"));
  auto* const popover = QApplication::activePopupWidget();
  ASSERT_NE(popover, nullptr);
  auto* const hex = named<QLineEdit>("Hex", popover);
  EXPECT_TRUE(hex->hasFocus());
  for (const auto key : {XK_1, XK_b, XK_1, XK_e, XK_2, XK_8}) strike(key);
  EXPECT_EQ(editor->state().canvas->backdropHex, "#1b1e28");
  keepPicture("inspector-color");
  strike(XK_Escape);
  EXPECT_TRUE(waitFor([&] { return QApplication::activePopupWidget() == nullptr; }));
  EXPECT_EQ(editor->undoName(), "Canvas Color");
  editor->undo();
  EXPECT_EQ(editor->state().canvas->backdropHex, "#ffffff") << "all that was tried is one step";
}

TEST_F(AnnotateInspectorTest, MirroredWithLargeWordsAndNothingLacksAName) {
  start(layered());
  editor->selectLayer("Photo");
  for (const char* const title : {"Background", "Canvas"}) openSection(title);
  editor->setBackground({.fill = {BackgroundFill::Solid{"#abcdef"}}});
  QFont large = QApplication::font();
  large.setPointSizeF(large.pointSizeF() * 2);
  for (const bool isMirrored : {false, true}) {
    window->setLayoutDirection(isMirrored ? Qt::RightToLeft : Qt::LeftToRight);
    for (const Tool tool : {Tool::arrow, Tool::polygon, Tool::text, Tool::redact, Tool::crop}) {
      setApplicationFont(large);
      editor->pickTool(tool);
      settle();
      const QString where = QString::fromUtf8(nameOf(tool).data());
      keepPicture(std::string("inspector-large-") + std::string(nameOf(tool)) +
                  (isMirrored ? "-mirrored" : ""));
      EXPECT_EQ(inspector->horizontalScrollBar()->maximum(), 0);
      const QRect room = inspector->viewport()->rect();
      for (QWidget* const child : inspector->widget()->findChildren<QWidget*>()) {
        if (!child->isVisible() || child->width() <= 0) continue;
        const QRect area(child->mapTo(inspector->viewport(), QPoint()), child->size());
        EXPECT_TRUE(area.left() >= 0 && area.right() <= room.right())
            << where.toStdString() << ": " << child->accessibleName().toStdString() << " "
            << child->metaObject()->className() << " from " << area.left() << " to "
            << area.right();
        auto* const seen = QAccessible::queryAccessibleInterface(child);
        if (child->focusPolicy() == Qt::NoFocus || child->focusProxy() != nullptr) continue;
        EXPECT_FALSE(seen->text(QAccessible::Name).isEmpty())
            << where.toStdString() << ": " << child->metaObject()->className();
        EXPECT_NE(seen->role(), QAccessible::Client) << child->accessibleName().toStdString();
      }
    }
  }
}

}  // namespace
}  // namespace vantorel
