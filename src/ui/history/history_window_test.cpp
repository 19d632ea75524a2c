#include "ui/history/history_window.hpp"

#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>

#include "app/history_session.hpp"
#include "platform/linux/linux_image_codec.hpp"
#include "ui/history/capture_mime_data.hpp"
#include "ui/history/history_blank.hpp"
#include "ui/history/history_preview.hpp"
#include "ui/history/history_view.hpp"
#include "ui/history/sidebar_row.hpp"
#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The window with a library in memory, driven by hand.
class HistoryWindowTest : public UiTestCase {
 protected:
  void SetUp() override {
    startDesktop({.windowManager = true});
    startUi();
  }

  void openWindow() {
    run.open();
    window = std::make_unique<HistoryWindow>(run.shared, [this] { isClosed = true; });
    window->bringForward();
    ASSERT_TRUE(eventually([&] { return window->isActiveWindow(); }));
    view = window->findChild<HistoryView*>();
    rest();
  }

  /// The library's runners have no loop of their own.
  bool eventually(const std::function<bool()>& condition) {
    return waitFor([&] {
      run.runners.run();
      return condition();
    });
  }
  void rest() {
    run.runners.run();
    settle();
    run.runners.run();
    settle();
  }
  void key(std::uint32_t keysym, std::uint32_t modifier = 0) {
    if (modifier != 0) client->key(modifier, true);
    strike(keysym);
    if (modifier != 0) client->key(modifier, false);
    client->sync();
    rest();
  }
  void type(const std::string& text) {
    for (const char letter : text) key(static_cast<std::uint32_t>(letter));
  }
  QPoint middleOf(const std::string& id) {
    const auto place = run.model.listing().placeOf(id);
    return view->viewport()->mapToGlobal(view->areaOf(place.value()).center());
  }
  std::vector<std::string> selected() {
    std::vector<std::string> ids;
    for (const EntryPointer& entry : run.model.selection().entries()) ids.push_back(entry->id);
    return ids;
  }

  HistorySession run{std::make_shared<LinuxImageCodec>()};
  bool isClosed = false;
  std::unique_ptr<HistoryWindow> window;
  HistoryView* view = nullptr;
};

TEST_F(HistoryWindowTest, ShowsWhatIsThereAndWhatToDoWhenNothingIs) {
  openWindow();
  keepPicture("history-empty");
  EXPECT_TRUE(window->findChild<HistoryBlankPage*>()->isVisible());
  for (int i = 0; i < 30; ++i) {
    run.add(fmt::format("shot{}", i), i * 9000.0, [&](ScreenshotEntry& entry) {
      entry.sourceApp = SourceApp{.bundleID = {}, .name = i % 2 == 0 ? "Terminal" : "Maps"};
      entry.starred = i == 1;
      entry.isTallCapture = i == 2;
      if (i == 3) entry.durationSeconds = 42;
    });
  }
  ASSERT_TRUE(run.model.createCollection("River watch"));
  run.model.fileInto(run.store.collections().front().id);
  rest();
  rest();
  EXPECT_TRUE(view->isVisible());
  keepPicture("history-grid");
  click(middleOf("shot1"));
  client->key(XK_Control_L, true);
  click(middleOf("shot2"));
  client->key(XK_Control_L, false);
  rest();
  EXPECT_THAT(selected(), ElementsAre("shot1", "shot2"));
  keepPicture("history-selected");
  key(XK_2, XK_Control_L);
  EXPECT_EQ(view->mode(), HistoryView::Mode::list);
  keepPicture("history-list");
  key(XK_1, XK_Control_L);
  window->resize(600, 460);
  rest();
  keepPicture("history-narrow");
}

}  // namespace
}  // namespace vantorel
