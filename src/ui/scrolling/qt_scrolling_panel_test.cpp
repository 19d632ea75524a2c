#include "ui/scrolling/qt_scrolling_panel.hpp"

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QColor>

#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

/// The panel on a real desktop of 1280 x 800, beside an area of another program.
class QtScrollingPanelTest : public UiTestCase {
 protected:
  void start(TestDesktopOptions options = {.windowManager = true}) {
    startDesktop(options);
    startUi();
    page = client->open({.area = {100, 60, 700, 400}, .title = "Page"});
    click({300, 200});
    EXPECT_TRUE(waitFor([&] { return focus() == page; }));
  }
  ~QtScrollingPanelTest() override {
    if (ui) ui->scrollingPanel().close();
  }

  void open(const PixelRect& area) {
    ui->scrollingPanel().open(
        {.area = area, .done = [this] { ++done; }, .cancel = [this] { ++cancelled; }});
    ui->scrollingPanel().show(
        {.sight = ScrollingSight::joined, .height = 4812, .preview = testPicture({150, 272}, 4)});
    EXPECT_TRUE(waitFor([&] { return isTitleShown("Vantorel scrolling capture"); }));
    settle();
  }
  xcb_window_t focus() {
    const auto cookie = xcb_get_input_focus(client->connection());
    const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> reply(
        xcb_get_input_focus_reply(client->connection(), cookie, nullptr), &std::free);
    return reply ? reply->focus : xcb_window_t{XCB_NONE};
  }
  static QWidget* panel() {
    for (QWidget* const top : QApplication::topLevelWidgets()) {
      if (top->isVisible() && dynamic_cast<ScrollingPanelWindow*>(top) != nullptr) return top;
    }
    return nullptr;
  }
  static QAbstractButton* button(const QString& words) {
    for (auto* const one : panel()->findChildren<QAbstractButton*>()) {
      if (one->text() == words) return one;
    }
    ADD_FAILURE() << words.toStdString();
    return nullptr;
  }
  /// Names of everything in the panel that screen readers are told of.
  static QStringList names() {
    QStringList all;
    for (auto* const child : panel()->findChildren<QWidget*>()) all << child->accessibleName();
    return all;
  }
  static QPoint middleOf(const QWidget& widget) {
    return widget.mapToGlobal(widget.rect().center());
  }

  xcb_window_t page = 0;
  int done = 0;
  int cancelled = 0;
};

TEST_F(QtScrollingPanelTest, StandsBesideTheAreaAndLeavesTheKeysToThePage) {
  start();
  open({100, 60, 700, 400});
  EXPECT_EQ(focus(), page);
  const QImage shown = screen("scrolling-panel");
  EXPECT_EQ(QColor(shown.pixel(98, 200)), QColor(0x40, 0x9c, 0xff)) << "the frame, outside";
  EXPECT_NE(QColor(shown.pixel(101, 200)), QColor(0x40, 0x9c, 0xff));
  EXPECT_FALSE(panel()->geometry().intersects({100, 60, 700, 400}));
  EXPECT_TRUE(names().contains(QStringLiteral("4,812 px, Scroll on")));

  // Whatever is told, nothing moves.
  const QRect place = panel()->geometry();
  const QPoint at = middleOf(*button(QStringLiteral("Done")));
  ui->scrollingPanel().show({.sight = ScrollingSight::tooFast, .height = 104'812});
  settle();
  keepPicture("scrolling-panel-too-fast");
  EXPECT_TRUE(names().contains(QStringLiteral("104,812 px, Too fast, scroll back")));
  EXPECT_EQ(panel()->geometry(), place);
  EXPECT_EQ(middleOf(*button(QStringLiteral("Done"))), at);

  click(at);
  EXPECT_TRUE(waitFor([&] { return done == 1; }));
  EXPECT_EQ(focus(), page);
  ui->scrollingPanel().show({.phase = ScrollingProgress::Phase::saving, .height = 4812});
  EXPECT_FALSE(button(QStringLiteral("Done"))->isEnabled());
  ui->scrollingPanel().show({.phase = ScrollingProgress::Phase::unsaved,
                             .height = 4812,
                             .trouble = "Couldn't be saved: the disk is full."});
  settle();
  keepPicture("scrolling-panel-unsaved");
  click(middleOf(*button(QStringLiteral("Try Again"))));
  EXPECT_TRUE(waitFor([&] { return done == 2; }));
  ui->scrollingPanel().close();
  EXPECT_TRUE(waitFor([&] {
    return !isTitleShown("Vantorel scrolling capture") && !isTitleShown("Vantorel scrolling frame");
  }));
}

TEST_F(QtScrollingPanelTest, TheKeyboardReachesItWhenAskedAndEscapeGivesItBack) {
  start();
  EXPECT_FALSE(ui->scrollingPanel().takeKeyboard());
  open({100, 60, 700, 400});
  EXPECT_TRUE(ui->scrollingPanel().takeKeyboard());
  QAbstractButton* const wanted = button(QStringLiteral("Done"));
  EXPECT_TRUE(
      waitFor([&] { return QAccessible::queryAccessibleInterface(wanted)->state().focused; }));
  settle();
  keepPicture("scrolling-panel-keys");
  strike(XK_Escape);
  EXPECT_TRUE(
      waitFor([&] { return !QAccessible::queryAccessibleInterface(wanted)->state().focused; }));
  strike(XK_Return);
  settle();
  EXPECT_EQ(done + cancelled, 0);

  EXPECT_TRUE(ui->scrollingPanel().takeKeyboard());
  settle();
  strike(XK_Tab);
  strike(XK_Return);
  EXPECT_TRUE(waitFor([&] { return cancelled == 1; }));
  strike(XK_Return);
  settle();
  EXPECT_EQ(done, 0) << "the page has the keys again";
}

TEST_F(QtScrollingPanelTest, HoldsLargeTextAndMirrors) {
  start({.windowManager = true, .compositor = true});
  const QFont usual = QApplication::font();
  QFont large = usual;
  large.setPointSizeF(usual.pointSizeF() * 2);
  QApplication::setLayoutDirection(Qt::RightToLeft);
  open({100, 60, 700, 400});
  const QSize before = panel()->size();
  QApplication::setFont(large);
  EXPECT_TRUE(waitFor([&] { return panel()->width() > before.width(); }));
  ui->scrollingPanel().show({.sight = ScrollingSight::tooFast, .height = 104'812});
  settle();
  keepPicture("scrolling-panel-large-mirrored");
  EXPECT_LT(button(QStringLiteral("Done"))->x(), button(QStringLiteral("Cancel"))->x());
  EXPECT_GE(button(QStringLiteral("Cancel"))->height(),
            QFontMetrics(button(QStringLiteral("Cancel"))->font()).height());
  EXPECT_GE(panel()->height(), 2 * QFontMetrics(large).height());
  // Over all of the only display it is not where lines begin.
  ui->scrollingPanel().moveTo({0, 0, 1280, 800});
  settle();
  keepPicture("scrolling-panel-covering");
  EXPECT_LT(panel()->geometry().center().x(), 640);
  QApplication::setLayoutDirection(Qt::LeftToRight);
  QApplication::setFont(usual);
}

}  // namespace
}  // namespace vantorel
