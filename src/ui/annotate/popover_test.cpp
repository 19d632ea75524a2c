#include "ui/annotate/popover.hpp"

#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>

#include "ui/annotate/canvas_size_sheet.hpp"
#include "ui/annotate/crop_capsule.hpp"
#include "ui/annotate/emoji_picker.hpp"
#include "ui/annotate/polygon_picker.hpp"
#include "ui/testing/inspector_test_case.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;

class PopoverTest : public InspectorTestCase {};

TEST_F(PopoverTest, TheCanvasTakesASizeThatIsPossibleAndOther) {
  start();
  auto* const sheet = new CanvasSizeSheet(inspection, window.get());
  sheet->QDialog::open();
  ASSERT_TRUE(waitFor([&] { return isInPlace(*sheet); }));
  auto* const width = named<QLineEdit>("Width", sheet);
  auto* const height = named<QLineEdit>("Height", sheet);
  auto* const change = [&]() -> QPushButton* {
    for (QPushButton* const button : sheet->findChildren<QPushButton*>()) {
      if (button->text() == "Change") return button;
    }
    return nullptr;
  }();
  ASSERT_NE(change, nullptr);
  const auto says = [&](const char* first, const char* second) {
    width->setText(QString::fromUtf8(first));
    height->setText(QString::fromUtf8(second));
    return change->isEnabled() ? QStringLiteral("ready") : change->toolTip();
  };
  EXPECT_EQ(says("800", "600"), "Same size as now.");
  EXPECT_EQ(says("12.5", "600"), "Enter whole numbers of pixels.");
  EXPECT_EQ(says("wide", ""), "Enter whole numbers of pixels.");
  EXPECT_EQ(says("0", "100"), "The canvas needs at least 1 px each way.");
  EXPECT_EQ(says("8001", "8000"), "Too large — the canvas is limited to 64 million pixels.");
  keepPicture("canvas-sheet");
  EXPECT_EQ(says("8000", "8000"), "ready");
  EXPECT_EQ(says("1000", "700"), "ready");
  clickOn(named("Bottom right", sheet));
  click(middleOf(*change));
  settle();
  EXPECT_EQ(editor->canvasSize(), (CanvasSize{1000, 700}));
  EXPECT_EQ(editor->toCanvas()(Pt{0, 0}), (Pt{200, 100}));
  EXPECT_FALSE(sheet->isVisible());
}

TEST_F(PopoverTest, EmojiAreFoundByNameAndPolygonsPicked) {
  start();
  std::vector<QString> thumbs;
  for (const Emoji& emoji : emojiNamed(QStringLiteral(" THUMBS  u "))) thumbs.push_back(emoji.text);
  EXPECT_THAT(thumbs, ElementsAre(QString::fromUtf8("👍")));
  EXPECT_TRUE(emojiNamed(QStringLiteral("humb")).empty()) << "no word begins so";
  EXPECT_TRUE(emojiNamed(QStringLiteral("cat")).front().name.startsWith("cat "));
  std::size_t count = 0;
  for (const EmojiGroup& group : emojiGroups()) count += group.all.size();
  EXPECT_GT(count, 1500u);

  editor->pickTool(Tool::emoji);
  settle();
  EmojiPicker::open(*editor, canvas);
  settle();
  keepPicture("emoji");
  ASSERT_NE(QApplication::activePopupWidget(), nullptr);
  for (const auto key : {XK_p, XK_o, XK_p, XK_p, XK_e}) strike(key);
  keepPicture("emoji-search");
  strike(XK_Down);
  strike(XK_Return);
  EXPECT_EQ(emojiName(QString::fromStdString(*editor->style().emoji)), "party popper");
  EXPECT_TRUE(waitFor([&] { return QApplication::activePopupWidget() == nullptr; }));
  EmojiPicker::open(*editor, canvas);
  settle();
  strike(XK_Down);
  strike(XK_Return);
  EXPECT_EQ(emojiName(QString::fromStdString(*editor->style().emoji)), "party popper")
      << "what was used lately comes first";
  editor->changeStyle([](ToolStyle& style) { style.emoji = "👍"; });
  EmojiPicker::open(*editor, canvas);
  settle();
  strike(XK_Return);
  EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
  EXPECT_EQ(editor->style().emoji, "👍") << "no other one was asked for";

  editor->pickTool(Tool::polygon);
  PolygonPicker::open(*editor, canvas);
  settle();
  keepPicture("polygons");
  clickOn(named("Star", QApplication::activePopupWidget()));
  EXPECT_EQ(editor->style().sides, 5);
  EXPECT_GT(*editor->style().starInset, 0);
  settle();
  inspector->refresh();
  EXPECT_NE(named("Star"), nullptr) << "the section has its name";
}

/// The letters that a widget gets.
class Letters : public QWidget {
 public:
  using QWidget::QWidget;
  QString got;

 protected:
  void keyPressEvent(QKeyEvent* event) override { got += event->text(); }
};

TEST_F(PopoverTest, WhatOpenedItClosesItAndTheKeyboardGoesBack) {
  start();
  auto* const letters = new Letters(canvas);
  letters->setFocusPolicy(Qt::StrongFocus);
  auto* const opener = new QPushButton(window.get());
  opener->setFocusPolicy(Qt::NoFocus);
  opener->setGeometry(10, 300, 36, 36);
  QObject::connect(opener, &QPushButton::clicked, opener,
                   [&] { PolygonPicker::open(*editor, opener); });
  letters->show();
  opener->show();
  letters->setFocus();
  editor->pickTool(Tool::polygon);
  const auto isOpen = [] { return QApplication::activePopupWidget() != nullptr; };
  clickOn(opener);
  EXPECT_TRUE(isOpen());
  clickOn(opener);
  EXPECT_FALSE(isOpen()) << "the press that closed it is not another click";
  auto* const other = new QPushButton(window.get());
  other->setFocusPolicy(Qt::NoFocus);
  other->setGeometry(10, 400, 36, 36);
  other->show();
  int presses = 0;
  QObject::connect(other, &QPushButton::clicked, other, [&] { ++presses; });
  clickOn(opener);
  clickOn(other);
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(presses, 1) << "the press that closed it is done";
  clickOn(opener);
  ASSERT_TRUE(isOpen());
  strike(XK_v);
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(letters->got, "v") << "it picks a tool, as it would have";
  clickOn(opener);
  strike(XK_Return);
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(letters->got, "v\r") << "the form that is set is placed";
  EXPECT_TRUE(letters->hasFocus());
}

TEST_F(PopoverTest, TheCropCapsuleGivesTheFrameProportionsAndASize) {
  start();
  auto* const capsule = new CropCapsule(inspection, canvas);
  EXPECT_FALSE(capsule->isVisible());
  editor->pickTool(Tool::crop);
  capsule->setFrame({20, 40, 300, 200}, {10, 30, 400, 500});
  settle();
  ASSERT_TRUE(capsule->isVisible());
  QAbstractButton* apply = nullptr;
  for (auto* const button : capsule->findChildren<QPushButton*>()) {
    if (button->text() == "Apply") apply = button;
  }
  ASSERT_NE(apply, nullptr);
  EXPECT_FALSE(apply->isEnabled()) << "there is no frame";
  EXPECT_EQ(named<QLineEdit>("Width")->placeholderText(), "800");
  const QRect picture(10, 30, 400, 570);
  capsule->setFrame({}, picture);
  for (const int edge : {picture.top(), picture.bottom()}) {
    EXPECT_FALSE(capsule->geometry().intersects({10, edge - 12, 400, 24})) << "frames begin there";
  }
  for (const QRect& frame : {picture, QRect(10, 300, 400, 300), QRect(10, 400, 60, 200)}) {
    capsule->setFrame(frame, picture);
    EXPECT_TRUE(canvas->rect().contains(capsule->geometry()));
    for (const int x : {frame.left(), frame.center().x(), frame.right()}) {
      EXPECT_FALSE(capsule->geometry().contains({x, frame.bottom()})) << "a handle is there";
      EXPECT_FALSE(capsule->geometry().contains({x, frame.top()}));
    }
  }
  capsule->setFrame({20, 40, 300, 200}, picture);
  editor->setPendingCrop(Box{100, 100, 400, 300});
  settle();
  keepPicture("crop-capsule");
  EXPECT_GT(capsule->geometry().center().y(), 240) << "below the frame";
  EXPECT_EQ(named<QLineEdit>("Width")->text(), "400");
  clickOn(named("Square", capsule));
  EXPECT_EQ(editor->pendingCrop(), (Box{150, 100, 300, 300}));
  auto* const width = named<QLineEdit>("Width", capsule);
  clickOn(width);
  width->selectAll();
  for (const auto key : {XK_2, XK_0, XK_0, XK_Return}) strike(key);
  EXPECT_EQ(editor->pendingCrop(), (Box{200, 150, 200, 200}));
  EXPECT_FALSE(editor->state().crop) << "the size first, then the cut";
  strike(XK_Return);
  ASSERT_TRUE(editor->state().crop);
  EXPECT_EQ(editor->tool(), Tool::select);
  EXPECT_FALSE(capsule->isVisible());
  EXPECT_TRUE(canvas->hasFocus());
}

}  // namespace
}  // namespace vantorel
