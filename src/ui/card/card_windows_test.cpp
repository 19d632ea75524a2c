#include "ui/card/card_windows.hpp"

#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QColor>
#include <algorithm>

#include "app/card_session.hpp"
#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// Cards of a library on fakes, on a real desktop of 1280 x 800.
class CardWindowsTest : public UiTestCase {
 protected:
  void start(TestDesktopOptions options = {.windowManager = true}) {
    startDesktop(options);
    startUi();
    movePointer({20, 20});
    session.settings.set(&SettingsValues::thumbnailAutoDismiss, false);
    ui->showCards(&session.stack);
  }

  ~CardWindowsTest() override {
    if (ui) ui->showCards(nullptr);
  }

  bool waitForCards(const std::function<bool()>& condition) {
    return waitFor([&] {
      session.library.runners.run();
      return condition();
    });
  }
  void settleCards() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(450);
    static_cast<void>(waitForCards([&] { return std::chrono::steady_clock::now() > end; }));
  }

  int windowsTitled(const std::string& title) {
    int count = 0;
    for (const xcb_window_t window : mappedWindows()) count += titleOf(window) == title ? 1 : 0;
    return count;
  }
  int cards() { return windowsTitled("Vantorel card"); }

  std::uint64_t capture(const std::string& id, PixelSize size = {560, 320}) {
    session.stack.add(
        {.entry = session.entry(id), .shown = {0, 0, 1280, 800}, .picture = colored(size)});
    settleCards();
    return session.stack.cards().front().number;
  }

  static Image colored(PixelSize size) {
    MutableImage image(size, PixelFormat::bgrx);
    for (int y = 0; y < size.height; ++y) {
      const auto row = image.row(y);
      for (std::size_t i = 0; i < row.size(); i += 4) {
        row[i] = 200;
        row[i + 1] = static_cast<std::uint8_t>(120 * y / size.height);
        row[i + 2] = static_cast<std::uint8_t>(i * 120 / row.size());
      }
    }
    return std::move(image).finish();
  }

  xcb_window_t focus() {
    const auto cookie = xcb_get_input_focus(client->connection());
    const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> reply(
        xcb_get_input_focus_reply(client->connection(), cookie, nullptr), &std::free);
    return reply ? reply->focus : xcb_window_t{XCB_NONE};
  }

  /// What screen readers take for the focused ones.
  static std::vector<std::string> focused() {
    std::vector<std::string> names;
    for (const QWidget* const top : QApplication::topLevelWidgets()) {
      for (auto* const button : top->findChildren<QAbstractButton*>()) {
        QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(button);
        if (seen->state().focused) names.push_back(seen->text(QAccessible::Name).toStdString());
      }
    }
    return names;
  }

  CardSession session;
};

// Of the lowest card, which is 160 high.
constexpr QPoint cardMiddle(984 + 140, 800 - 16 - 100);
constexpr QPoint copyButton(984 + 31, 800 - 16 - 24);
constexpr QPoint trashButton(984 + 249, 800 - 16 - 24);
constexpr QPoint closeButton(984 + 280 - 22, 800 - 16 - 160 + 22);

TEST_F(CardWindowsTest, StackAboveAllWithoutTakingTheFocus) {
  start({.windowManager = true, .compositor = true});
  const auto terminal = client->open({.area = {50, 500, 300, 200}, .title = "Terminal"});
  click({100, 600});
  ASSERT_TRUE(waitFor([&] { return focus() == terminal; }));
  capture("a");
  EXPECT_EQ(cards(), 1);
  EXPECT_EQ(focus(), terminal);
  const QImage shown = screen("card-one");
  EXPECT_EQ(QColor(shown.pixel(cardMiddle)).blue(), 200) << "the picture";
  EXPECT_NE(QColor(shown.pixel(983 - 4, 700)).blue(), 200);
  for (const char* id : {"b", "c", "d", "e"}) capture(id);
  EXPECT_EQ(cards(), 3);
  EXPECT_EQ(windowsTitled("Vantorel older cards"), 1);
  keepPicture("card-stack");
  for (int i = 0; i < 3; ++i) session.stack.dismiss(session.stack.cards().front().number);
  settleCards();
  EXPECT_EQ(cards(), 2);
  EXPECT_EQ(windowsTitled("Vantorel older cards"), 0);
  session.settings.set(&SettingsValues::overlayPosition, OverlayPosition::left);
  settleCards();
  EXPECT_EQ(QColor(screen("card-left").pixel(16 + 140, 700)).blue(), 200);
  EXPECT_EQ(focus(), terminal);
}

TEST_F(CardWindowsTest, ThePointerBringsActionsAndADrawer) {
  start();
  const auto a = capture("a");
  movePointer(cardMiddle);
  ASSERT_TRUE(waitForCards([&] { return windowsTitled("Vantorel card actions") == 1; }));
  settleCards();
  movePointer(copyButton);
  settleCards();
  keepPicture("card-hover");
  // Across the gap into the drawer: it stays.
  movePointer({800, 740});
  settleCards();
  EXPECT_EQ(windowsTitled("Vantorel card actions"), 1);
  click({818, 664});  // JPEG
  settleCards();
  EXPECT_NE(session.stack.find(a)->entry->path, "/captures/a.png");
  keepPicture("card-converted");
  click({818, 758});  // Redact
  EXPECT_TRUE(waitForCards([&] { return session.stack.find(a)->badge == "Redacted 3 items"; }));
  settleCards();
  keepPicture("card-redacted");
  click({818, 758});  // Undo Redact
  EXPECT_TRUE(waitForCards([&] { return session.entry("a")->shapes.empty(); }));
  movePointer({20, 20});
  EXPECT_TRUE(waitForCards([&] { return windowsTitled("Vantorel card actions") == 0; }));

  click(copyButton);
  EXPECT_TRUE(waitForCards([&] { return session.clipboard.images == 1; }));
  settleCards();
  EXPECT_EQ(session.stack.find(a)->badge, "Copied");
  keepPicture("card-copied");
  click(cardMiddle);
  EXPECT_TRUE(waitForCards([&] { return session.opened.size() == 1; }));
  EXPECT_TRUE(waitForCards([&] { return cards() == 0; }));
}

TEST_F(CardWindowsTest, TrashBecomesABarThatUndoes) {
  start();
  const auto a = capture("a");
  click(trashButton);
  ASSERT_TRUE(waitForCards([&] { return session.stack.find(a)->state == Card::State::trashed; }));
  settleCards();
  keepPicture("card-undo");
  EXPECT_EQ(cards(), 1);
  click({1264 - 12 - 20 - 8 - 25, 800 - 16 - 22});
  EXPECT_TRUE(waitForCards([&] { return session.stack.find(a)->state == Card::State::rest; }));
  EXPECT_TRUE(session.library.files->disk.contains("/captures/a.png"));
}

TEST_F(CardWindowsTest, GoAwayByCloseByMiddleClickAndByAFlick) {
  start();
  capture("a");
  click(closeButton);
  EXPECT_TRUE(waitForCards([&] { return cards() == 0; }));
  capture("b");
  click(cardMiddle, 2);
  EXPECT_TRUE(waitForCards([&] { return cards() == 0; }));
  capture("c");
  movePointer(cardMiddle);
  press();
  for (int i = 1; i <= 4; ++i) movePointer(cardMiddle + QPoint(i * 30, i));
  release();
  EXPECT_TRUE(waitForCards([&] { return cards() == 0; }));
  EXPECT_THAT(session.opened, IsEmpty());
  EXPECT_NE(session.entry("c"), nullptr) << "the captures stay";
}

TEST_F(CardWindowsTest, TheKeyboardComesAndGoesBack) {
  start();
  const auto terminal = client->open({.area = {50, 500, 300, 200}, .title = "Terminal"});
  click({100, 600});
  ASSERT_TRUE(waitFor([&] { return focus() == terminal; }));
  capture("a");
  const auto b = capture("b");
  ASSERT_TRUE(ui->focusCard());
  settleCards();
  keepPicture("card-keyboard");
  EXPECT_EQ(windowsTitled("Vantorel card actions"), 1) << "the rows come as with the pointer";
  EXPECT_THAT(focused(), ElementsAre("Annotate"));
  strike(XK_c);
  EXPECT_TRUE(waitForCards([&] { return session.clipboard.images == 1; }));
  strike(XK_f);
  ASSERT_TRUE(waitForCards([&] { return windowsTitled("Vantorel card actions") == 1; }));
  settleCards();
  strike(XK_Right);
  settleCards();
  keepPicture("card-keyboard-drawer");
  EXPECT_THAT(focused(), ElementsAre(StartsWith("JPEG"))) << "the one that Return presses";
  strike(XK_Return);
  EXPECT_TRUE(
      waitForCards([&] { return session.stack.find(b)->entry->path == "/captures/b.jpg"; }));
  strike(XK_Escape);
  EXPECT_TRUE(waitForCards([&] { return windowsTitled("Vantorel card actions") == 0; }));
  strike(XK_Up);
  strike(XK_Delete);
  EXPECT_TRUE(
      waitForCards([&] { return session.stack.cards().back().state == Card::State::trashed; }));
  strike(XK_Return);
  EXPECT_TRUE(
      waitForCards([&] { return session.stack.cards().back().state == Card::State::rest; }));
  EXPECT_EQ(focus(), terminal);
  strike(XK_Escape);
  settleCards();
  strike(XK_c);
  settleCards();
  EXPECT_EQ(session.clipboard.images, 1) << "it has its keys again";
  EXPECT_EQ(cards(), 2);
}

TEST_F(CardWindowsTest, AClickElsewhereIsForWhatItHitsAndOneOnTheCardForTheCard) {
  start();
  const auto terminal = client->open({.area = {50, 500, 300, 200}, .title = "Terminal"});
  const auto editor = client->open({.area = {500, 500, 300, 200}, .title = "Editor"});
  click({100, 600});
  ASSERT_TRUE(waitFor([&] { return focus() == terminal; }));
  capture("a");
  ASSERT_TRUE(ui->focusCard());
  settleCards();
  click(copyButton);
  EXPECT_TRUE(waitForCards([&] { return session.clipboard.images == 1; }));
  settleCards();
  strike(XK_c);
  EXPECT_TRUE(waitForCards([&] { return session.clipboard.images == 2; })) << "still its keys";
  click({600, 600});
  EXPECT_TRUE(waitForCards([&] { return focus() == editor; }));
  settleCards();
  strike(XK_c);
  settleCards();
  EXPECT_EQ(session.clipboard.images, 2) << "its keys are the editor's";

  ASSERT_TRUE(ui->focusCard());
  settleCards();
  click(cardMiddle);
  EXPECT_TRUE(waitForCards([&] { return session.opened.size() == 1; }));
  EXPECT_EQ(focus(), editor);
}

TEST_F(CardWindowsTest, MoveToADisplayThatIsStillThere) {
  startDesktop({.screen = PixelSize{2080, 800}, .windowManager = true});
  desktop->setMonitors({{"LEFT", {0, 0, 1280, 800}}, {"RIGHT", {1280, 0, 800, 800}}});
  startUi();
  movePointer({20, 20});
  session.settings.set(&SettingsValues::thumbnailAutoDismiss, false);
  ui->showCards(&session.stack);
  session.stack.add(
      {.entry = session.entry("a"), .shown = {1280, 0, 800, 800}, .picture = colored({560, 320})});
  settleCards();
  const auto hasCardAt = [this](QPoint at) {
    return QColor(screen("card-at").pixel(at)).blue() > 100;
  };
  EXPECT_TRUE(hasCardAt({2080 - 156, 700}));
  // With a drawer and the keyboard on it.
  ASSERT_TRUE(ui->focusCard());
  settleCards();
  strike(XK_f);
  ASSERT_TRUE(waitForCards([&] { return windowsTitled("Vantorel card actions") == 1; }));
  desktop->setMonitors({{"LEFT", {0, 0, 1280, 800}}});
  EXPECT_TRUE(waitForCards([&] { return hasCardAt({1280 - 156, 700}); }));
  settleCards();
  keepPicture("card-unplugged");
  EXPECT_FALSE(hasCardAt({2080 - 156, 700}));
  EXPECT_EQ(cards(), 1);
  strike(XK_Escape);
  strike(XK_Escape);
  settleCards();
  // Of a virtual one that keeps its name the toolkit hears only while it is away.
  desktop->setMonitors({{"LOW", {0, 0, 1280, 480}}});
  EXPECT_TRUE(waitForCards([&] { return hasCardAt({1280 - 156, 400}); })) << "a lower display";
  session.stack.add(
      {.entry = session.entry("b"), .shown = {0, 0, 80, 80}, .picture = colored({560, 320})});
  settleCards();
  keepPicture("card-low");
  EXPECT_EQ(cards(), 1);
  EXPECT_EQ(windowsTitled("Vantorel older cards"), 1);
}

TEST_F(CardWindowsTest, FitLargeFontsFromRightToLeft) {
  start();
  const QFont usual = QApplication::font();
  QFont large = usual;
  large.setPointSizeF(usual.pointSizeF() * 2);
  QApplication::setFont(large);
  QApplication::setLayoutDirection(Qt::RightToLeft);
  capture("a");
  session.stack.trash(session.stack.cards().front().number);
  settleCards();
  capture("b");
  ASSERT_TRUE(ui->focusCard());
  settleCards();
  strike(XK_c);
  strike(XK_f);
  ASSERT_TRUE(waitForCards([&] { return windowsTitled("Vantorel card actions") == 1; }));
  settleCards();
  keepPicture("card-large-mirrored");
  // Two by two: the second cell is left of the first, the third below it.
  strike(XK_Right);
  settleCards();
  for (QWidget* const window : QApplication::topLevelWidgets()) {
    if (window->windowTitle() != QLatin1String("Vantorel card actions")) continue;
    std::vector<QRect> cells;
    for (const auto* const cell : window->findChildren<QAbstractButton*>()) {
      if (cell->isVisible()) cells.push_back(cell->geometry());
    }
    std::ranges::sort(cells, {},
                      [](const QRect& one) { return std::pair(one.top(), -one.left()); });
    ASSERT_GE(cells.size(), 4U);
    EXPECT_EQ(cells[0].top(), cells[1].top());
    EXPECT_LT(cells[1].right(), cells[0].left());
    EXPECT_GT(cells[2].top(), cells[0].bottom());
  }
  ui->showCards(nullptr);
  QApplication::setLayoutDirection(Qt::LeftToRight);
  QApplication::setFont(usual);
}

TEST_F(CardWindowsTest, TheKeyboardComesWhenTheMenuOrKeyThatAskedLetsGo) {
  start();
  capture("a");
  const xcb_window_t root =
      xcb_setup_roots_iterator(xcb_get_setup(client->connection())).data->root;
  const auto hold = [this, root] {
    xcb_grab_keyboard(client->connection(), 0, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                      XCB_GRAB_MODE_ASYNC);
    client->sync();
  };
  const auto letGo = [this] {
    xcb_ungrab_keyboard(client->connection(), XCB_CURRENT_TIME);
    client->sync();
  };
  // A shortcut of the desktop holds the keyboard as long as its key is down.
  client->key(XK_F9, true);
  hold();
  ASSERT_TRUE(ui->focusCard());
  settleCards();
  client->key(XK_F9, false);
  letGo();
  settleCards();
  strike(XK_c);
  EXPECT_TRUE(waitForCards([&] { return session.clipboard.images == 1; }));
  strike(XK_Escape);
  settleCards();

  // One that does not let go keeps its keys, and the card shows none of its own.
  hold();
  ASSERT_TRUE(ui->focusCard());
  settleCards();
  const QImage asking = screen("card-asking");
  EXPECT_TRUE(waitForCards([&] { return screen("card-refused") != asking; }));
  letGo();
  strike(XK_c);
  settleCards();
  EXPECT_EQ(session.clipboard.images, 1);
}

}  // namespace
}  // namespace vantorel
