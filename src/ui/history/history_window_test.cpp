#include "ui/history/history_window.hpp"

#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QMimeData>
#include <QUrl>

#include "app/history_session.hpp"
#include "ui/history/capture_mime_data.hpp"
#include "ui/history/history_view.hpp"
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
    view = dynamic_cast<HistoryView*>(find("captures"));
    rest();
  }

  QWidget* find(const char* name) { return window->findChild<QWidget*>(QString::fromLatin1(name)); }

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
  /// Of its picture, away from its middle.
  QColor colorIn(const std::string& id) {
    const QPoint at = view->areaOf(run.model.listing().placeOf(id).value()).topLeft();
    return screen("").pixelColor(view->viewport()->mapToGlobal(at + QPoint(30, 30)));
  }
  std::vector<std::string> selected() {
    std::vector<std::string> ids;
    for (const EntryPointer& entry : run.model.selection().entries()) ids.push_back(entry->id);
    return ids;
  }

  QAction* action(const char* label) {
    for (QAction* const one : window->actions()) {
      if (one->text() == QLatin1String(label)) return one;
    }
    return nullptr;
  }
  QAbstractButton* rowOf(const char* collection) {
    for (auto* const row : window->findChildren<QAbstractButton*>()) {
      if (row->isCheckable() && row->text() == QLatin1String(collection)) return row;
    }
    return nullptr;
  }
  std::vector<std::string> collections() {
    std::vector<std::string> names;
    for (const HistoryCollection& one : run.store.collections()) names.push_back(one.name);
    return names;
  }

  HistorySession run;
  bool isClosed = false;
  std::unique_ptr<HistoryWindow> window;
  HistoryView* view = nullptr;
};

TEST_F(HistoryWindowTest, ShowsWhatIsThereAndWhatToDoWhenNothingIs) {
  openWindow();
  keepPicture("history-empty");
  EXPECT_TRUE(find("blank")->isVisible());
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
  const QPoint corner = view->areaOf(3).topLeft() + QPoint(1, 1);
  EXPECT_GT(screen("").pixelColor(view->viewport()->mapToGlobal(corner)).lightness(), 170)
      << "outside the rounded corner there is the window";
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

TEST_F(HistoryWindowTest, AHandAndAKeyboardDoWhatTheySay) {
  openWindow();
  for (int i = 0; i < 12; ++i) run.add(fmt::format("shot{}", i), i * 60.0);
  rest();
  // Search, and back to the captures.
  type("shot1");
  EXPECT_EQ(run.model.listing().query().text, "shot1");
  EXPECT_EQ(run.model.listing().size(), 3U);
  key(XK_Return);
  EXPECT_EQ(run.model.selection().focus(), 0U);
  key(XK_Right);
  EXPECT_THAT(selected(), ElementsAre("shot10"));
  key(XK_f, XK_Control_L);
  key(XK_Escape);
  EXPECT_EQ(run.model.listing().size(), 12U);
  key(XK_Escape);

  // Rename in place; letters there are no search.
  click(middleOf("shot2"));
  rest();
  key(XK_F2);
  type("weir");
  keepPicture("history-rename");
  key(XK_Return);
  EXPECT_EQ(run.store.find("shot2")->title, "weir");
  EXPECT_EQ(run.model.listing().size(), 12U);
  key(XK_d, XK_Control_L);
  EXPECT_TRUE(run.store.find("shot2")->starred);

  // The preview follows the arrow keys and gives the place back.
  key(XK_space);
  EXPECT_TRUE(find("preview")->isVisible());
  ASSERT_TRUE(eventually([] { return true; }));
  rest();
  keepPicture("history-preview");
  key(XK_Right);
  EXPECT_THAT(selected(), ElementsAre("shot3"));
  key(XK_space);
  EXPECT_FALSE(find("preview")->isVisible());
  EXPECT_TRUE(view->hasFocus());

  // To the Trash and back.
  key(XK_Right, XK_Shift_L);
  EXPECT_THAT(selected(), ElementsAre("shot3", "shot4"));
  key(XK_Delete);
  EXPECT_EQ(run.model.listing().size(), 10U);
  EXPECT_TRUE(find("undo")->isVisible());
  run.runners.advance(std::chrono::seconds(3));
  keepPicture("history-undo");
  key(XK_z, XK_Control_L);
  EXPECT_EQ(run.model.listing().size(), 12U);
  EXPECT_TRUE(eventually([&] { return !find("undo")->isVisible(); }));

  // What can't be done now says why, by its key as well.
  run.reach["shot3"] = FileReach::folderUnreachable;
  run.choose("shot3");
  key(XK_Delete);
  EXPECT_EQ(run.model.listing().size(), 12U);
  EXPECT_THAT(run.notice(), HasSubstr("can't be reached"));
  run.model.dismissNotice();
  run.reach.clear();
  key(XK_Home);

  // A band drawn from below the last row.
  const QPoint corner = view->viewport()->mapToGlobal(view->viewport()->rect().bottomLeft());
  movePointer(corner + QPoint(6, -6));
  press();
  movePointer(middleOf("shot8") + QPoint(0, 40));
  movePointer(middleOf("shot8"));
  keepPicture("history-band");
  release();
  rest();
  EXPECT_THAT(selected(), ElementsAre("shot8"));

  click(middleOf("shot5"), 3);
  rest();
  keepPicture("history-menu");
  EXPECT_THAT(selected(), ElementsAre("shot5"));
  key(XK_Escape);
  key(XK_w, XK_Control_L);
  EXPECT_TRUE(isClosed);
}

TEST_F(HistoryWindowTest, APreviewIsAboutTheOneCaptureThatItShows) {
  openWindow();
  for (int i = 0; i < 6; ++i) run.add(fmt::format("shot{}", i), i * 60.0);
  rest();
  click(middleOf("shot1"));
  key(XK_Right, XK_Shift_L);
  key(XK_Right, XK_Shift_L);
  EXPECT_THAT(selected(), ElementsAre("shot1", "shot2", "shot3"));
  EXPECT_FALSE(action("Copy")->isEnabled()) << "it takes one";
  key(XK_space);
  EXPECT_TRUE(action("Copy")->isEnabled());
  key(XK_d, XK_Control_L);
  EXPECT_TRUE(run.store.find("shot3")->starred);
  EXPECT_FALSE(run.store.find("shot1")->starred || run.store.find("shot2")->starred);
  key(XK_Delete);
  EXPECT_THAT(run.listed(), ElementsAre("shot0", "shot1", "shot2", "shot4", "shot5"));
  key(XK_F10, XK_Shift_L);
  ASSERT_NE(QApplication::activePopupWidget(), nullptr);
  key(XK_Escape);
  key(XK_space);
  EXPECT_THAT(selected(), ElementsAre("shot1", "shot2")) << "as it was behind it";
  key(XK_d, XK_Control_L);
  EXPECT_TRUE(run.store.find("shot1")->starred && run.store.find("shot2")->starred);
}

TEST_F(HistoryWindowTest, TheKeysOfACollectionAreItsOwnAndThoseOfCapturesComeBack) {
  openWindow();
  for (int i = 0; i < 6; ++i) run.add(fmt::format("shot{}", i), i * 60.0);
  rest();
  click(middleOf("shot1"));
  key(XK_l, XK_Control_L);
  key(XK_Down);
  key(XK_Return);
  type("bugs");
  key(XK_Return);
  EXPECT_TRUE(view->hasFocus()) << "whoever collects goes on with captures";
  ASSERT_TRUE(run.model.createCollection("maps"));
  rest();
  EXPECT_THAT(collections(), ElementsAre("bugs", "maps"));

  QAbstractButton* const row = rowOf("maps");
  click(row->mapToGlobal(row->rect().center()));
  run.model.show(HistoryScope::all);
  rest();
  key(XK_F2);
  type("plans");
  key(XK_Return);
  EXPECT_THAT(collections(), ElementsAre("bugs", "plans"));
  key(XK_Up, XK_Alt_L);
  keepPicture("history-sidebar-focus");
  EXPECT_THAT(collections(), ElementsAre("plans", "bugs"));
  key(XK_Up, XK_Alt_L);
  key(XK_F10, XK_Shift_L);
  ASSERT_NE(QApplication::activePopupWidget(), nullptr);
  keepPicture("history-sidebar-menu");
  key(XK_Escape);
  QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(rowOf("bugs"));
  EXPECT_EQ(seen->role(), QAccessible::ListItem);
  EXPECT_EQ(seen->text(QAccessible::Name), "bugs, 1 capture");
  key(XK_Delete);
  EXPECT_THAT(collections(), ElementsAre("bugs"));
  EXPECT_EQ(run.model.listing().size(), 6U) << "the captures are not meant";
}

TEST_F(HistoryWindowTest, WhatIsNotDoneIsSaidWithoutMovingAnything) {
  openWindow();
  for (int i = 0; i < 6; ++i) run.add(fmt::format("shot{}", i), i * 60.0);
  rest();
  EXPECT_EQ(QAccessible::queryAccessibleInterface(window.get())->role(), QAccessible::Window);
  click(middleOf("shot1"));
  const QPoint before = middleOf("shot2");
  key(XK_Delete, XK_Shift_L);
  EXPECT_TRUE(find("notice")->isVisible());
  EXPECT_THAT(find("notice")->accessibleName().toStdString(), HasSubstr("can be reached"));
  EXPECT_EQ(middleOf("shot2"), before);
  keepPicture("history-refusal");
  key(XK_Escape);
  ASSERT_TRUE(eventually([&] { return !find("notice")->isVisible(); }));
  EXPECT_THAT(selected(), ElementsAre("shot1"));
  EXPECT_THAT(action("Annotate")->toolTip().toStdString(), HasSubstr("(Return)"));

  run.model.actions().convert(run.model.subjects(), ExportFormat::webp);
  EXPECT_FALSE(action("Convert")->isEnabled());
  ASSERT_TRUE(eventually([&] { return !run.model.progress(); }));
  EXPECT_TRUE(action("Convert")->isEnabled());
}

TEST_F(HistoryWindowTest, FiltersAreChipsThatAreTakenAwayByHandAndByKey) {
  openWindow();
  for (int i = 0; i < 12; ++i) {
    run.add(fmt::format("shot{}", i), i * 60.0, [&](ScreenshotEntry& entry) {
      entry.sourceApp = SourceApp{.bundleID = {}, .name = i % 2 == 0 ? "Terminal" : "Web Browser"};
      entry.starred = i % 3 == 0;
    });
  }
  rest();
  run.model.setQuery(
      {.kind = CaptureMedium::image, .application = "Web Browser", .isStarred = true, .days = 7});
  rest();
  EXPECT_EQ(run.model.listing().size(), 2U);
  const auto chips = [&] {
    std::vector<std::string> labels;
    for (const auto* const chip : window->findChildren<QAbstractButton*>()) {
      if (chip->isVisible() && chip->accessibleName().startsWith("Remove the filter ")) {
        labels.push_back(chip->text().toStdString());
      }
    }
    return labels;
  };
  EXPECT_THAT(chips(), ElementsAre("Images", "Web Browser", "Starred", "Last 7 days"));
  keepPicture("history-chips");
  // With the keyboard from behind, and words stay.
  key(XK_f, XK_Control_L);
  type("s");
  key(XK_Home);
  key(XK_BackSpace);
  EXPECT_THAT(chips(), ElementsAre("Images", "Web Browser", "Starred"));
  EXPECT_EQ(run.model.listing().query().text, "s");
  for (auto* const chip : window->findChildren<QAbstractButton*>()) {
    if (chip->text() == "Web Browser" && chip->isVisible()) {
      click(chip->mapToGlobal(chip->rect().center()));
      break;
    }
  }
  rest();
  EXPECT_THAT(chips(), ElementsAre("Images", "Starred"));
  EXPECT_EQ(run.model.listing().size(), 4U);

  // Where nothing is found there is a way back to everything, and one to nothing sought.
  run.model.setQuery({.text = "nowhere", .scope = HistoryScope::starred, .isStarred = true});
  rest();
  keepPicture("history-nothing-found");
  const auto push = [&](const char* label) {
    for (auto* const button : window->findChildren<QAbstractButton*>()) {
      if (button->isVisible() && button->text() == QLatin1String(label)) {
        click(button->mapToGlobal(button->rect().center()));
        return rest();
      }
    }
    ADD_FAILURE() << label;
  };
  push("Search everything");
  EXPECT_EQ(run.model.listing().query(), (HistoryQuery{.text = "nowhere"}));
  for (auto* const button : window->findChildren<QAbstractButton*>()) {
    EXPECT_FALSE(button->isVisible() && button->text() == QLatin1String("Search everything"));
  }
  push("Clear");
  EXPECT_EQ(run.model.listing().query(), HistoryQuery{});
  EXPECT_EQ(run.model.listing().size(), 12U);
}

TEST_F(HistoryWindowTest, AClickOnAColumnSortsTheList) {
  openWindow();
  const std::vector<std::string> names{"mill", "bridge", "weir"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    run.add(names[i], static_cast<double>(i) * 90000, [&](ScreenshotEntry& entry) {
      entry.pixelWidth = 100 * static_cast<int>(i + 1);
      entry.pixelHeight = 100;
    });
  }
  rest();
  key(XK_2, XK_Control_L);
  const QPoint title = view->viewport()->mapToGlobal(QPoint(110, 18));
  click(title);
  rest();
  EXPECT_THAT(run.listed(), ElementsAre("bridge", "mill", "weir"));
  keepPicture("history-sorted");
  EXPECT_THAT(selected(), IsEmpty()) << "the row below was not meant";
  click(title);
  rest();
  EXPECT_THAT(run.listed(), ElementsAre("weir", "mill", "bridge"));
  key(XK_Down);
  key(XK_Down);
  EXPECT_THAT(selected(), ElementsAre("mill"));
}

TEST_F(HistoryWindowTest, AMirroredWindowShowsTheSameFromTheRight) {
  qApp->setLayoutDirection(Qt::RightToLeft);
  openWindow();
  for (int i = 0; i < 12; ++i) {
    run.add(fmt::format("shot{}", i), i * 60.0, [&](ScreenshotEntry& entry) {
      entry.sourceApp = SourceApp{.bundleID = {}, .name = "Terminal"};
      entry.starred = i == 1;
      entry.pixelWidth = 1280;
      entry.pixelHeight = 800;
      if (i == 3) entry.durationSeconds = 42;
    });
  }
  rest();
  run.model.setQuery({.application = "Terminal", .days = 30});
  rest();
  EXPECT_GT(middleOf("shot0").x(), middleOf("shot1").x());
  click(middleOf("shot1"));
  rest();
  EXPECT_THAT(selected(), ElementsAre("shot1"));
  keepPicture("history-mirrored");
  key(XK_Left);
  EXPECT_THAT(selected(), ElementsAre("shot2")) << "the one at its left";
  key(XK_2, XK_Control_L);
  keepPicture("history-mirrored-list");
  key(XK_space);
  keepPicture("history-mirrored-preview");
  qApp->setLayoutDirection(Qt::LeftToRight);
}

TEST_F(HistoryWindowTest, AFontTwiceAsLargeFitsTheLeastWindow) {
  const QFont usual = qApp->font();
  QFont large = usual;
  large.setPointSizeF(usual.pointSizeF() * 2);
  qApp->setFont(large);
  openWindow();
  for (int i = 0; i < 12; ++i) {
    run.add(fmt::format("a capture with a long title {}", i), i * 60.0,
            [&](ScreenshotEntry& entry) {
              entry.sourceApp = SourceApp{.bundleID = {}, .name = "Web Browser"};
            });
  }
  run.setReach({{"a capture with a long title 1", FileReach::folderUnreachable}});
  rest();
  keepPicture("history-large-font");
  for (const QSize size : {QSize(1120, 760), QSize(560, 400)}) {
    window->resize(size);
    run.model.setQuery({.application = "Web Browser", .days = 30});
    run.model.select([](HistorySelection& selection) { selection.selectAll(); });
    rest();
    keepPicture(fmt::format("history-large-font-{}", size.width()));
    EXPECT_EQ(window->width(), size.width()) << "nothing asks for more";
    const QRect inside(window->mapToGlobal(QPoint()), window->size());
    for (const auto* const button : window->findChildren<QAbstractButton*>()) {
      if (!button->isVisible() || button->visibleRegion().isEmpty()) continue;
      const QRect area(button->mapToGlobal(QPoint()), button->size());
      EXPECT_TRUE(inside.contains(area))
          << button->accessibleName().toStdString() << "/" << button->text().toStdString();
    }
    run.model.select([](HistorySelection& selection) { selection.clear(); });
    rest();
    keepPicture(fmt::format("history-large-font-footer-{}", size.width()));
  }
  key(XK_2, XK_Control_L);
  keepPicture("history-large-font-list");
  key(XK_space);
  keepPicture("history-large-font-preview");
  qApp->setFont(usual);
}

TEST_F(HistoryWindowTest, ALibraryThatComesLateShowsThatItComes) {
  // The library is not opened yet.
  window = std::make_unique<HistoryWindow>(run.shared, [this] { isClosed = true; });
  window->bringForward();
  ASSERT_TRUE(eventually([&] { return window->isActiveWindow(); }));
  ASSERT_TRUE(waitFor([&] {
    const QWidget* const blank = find("blank");
    const QImage now = screen("history-loading");
    const QPoint inTile = blank->mapToGlobal(QPoint(60, 60));
    return now.pixelColor(inTile) != now.pixelColor(blank->mapToGlobal(QPoint(2, 2)));
  })) << "grey tiles";
  run.open();
  run.add("late");
  view = dynamic_cast<HistoryView*>(find("captures"));
  rest();
  EXPECT_TRUE(view->isVisible());
}

TEST_F(HistoryWindowTest, WhatGoesOutOfReachComesBackWithItsPicture) {
  openWindow();
  const auto onStick = [](ScreenshotEntry& entry) {
    entry.fileIdentity = FileIdentity{.volume = "stick", .folder = "/", .extra = {}};
  };
  run.add("away", 0, onStick);
  run.add("gone", 5);
  run.setReach({{"away", FileReach::folderUnreachable}, {"gone", FileReach::fileGone}});
  rest();
  const QColor atTop = colorIn("away");
  keepPicture("history-out-of-reach");
  QAccessibleInterface* const list = QAccessible::queryAccessibleInterface(view);
  EXPECT_THAT(list->child(0)->text(QAccessible::Name).toStdString(), HasSubstr(", out of reach"));
  EXPECT_THAT(list->child(1)->text(QAccessible::Name).toStdString(), HasSubstr(", file gone"));
  click(middleOf("away"));
  rest();
  EXPECT_FALSE(action("Move to Trash")->isEnabled());
  EXPECT_TRUE(action("Remove from History")->isVisible());
  key(XK_space);
  keepPicture("history-out-of-reach-preview");
  run.setReach({});
  rest();
  EXPECT_TRUE(action("Move to Trash")->isEnabled());
  EXPECT_FALSE(action("Remove from History")->isVisible());
  keepPicture("history-back-preview");
  key(XK_space);
  rest();
  EXPECT_NE(colorIn("away"), atTop) << "the picture is there";
  keepPicture("history-back");
}

TEST_F(HistoryWindowTest, ScreenReadersSeeAListOfWhatIsThere) {
  openWindow();
  for (int i = 0; i < 300; ++i) run.add(fmt::format("shot{:03}", i), i * 60.0);
  rest();
  QAccessibleInterface* const list = QAccessible::queryAccessibleInterface(view);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->role(), QAccessible::List);
  ASSERT_EQ(list->childCount(), 300);
  QAccessibleInterface* const first = list->child(0);
  EXPECT_EQ(first->role(), QAccessible::ListItem);
  EXPECT_THAT(first->text(QAccessible::Name).toStdString(), HasSubstr("shot000, "));
  EXPECT_EQ(list->child(0), first) << "the same object for as long as the list stays";
  EXPECT_EQ(list->indexOfChild(first), 0);
  EXPECT_TRUE(first->rect().contains(middleOf("shot000")));
  EXPECT_FALSE(first->state().offscreen);
  EXPECT_TRUE(list->child(299)->state().offscreen);
  key(XK_Right);
  EXPECT_TRUE(list->child(0)->state().selected);
  EXPECT_TRUE(list->child(0)->state().focused);
  first->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_THAT(selected(), ElementsAre("shot000"));
  run.model.search("shot299");
  EXPECT_EQ(list->childCount(), 1);
  EXPECT_THAT(list->child(0)->text(QAccessible::Name).toStdString(), HasSubstr("shot299"));
}

TEST_F(HistoryWindowTest, WhatIsDraggedOutIsTheFileAndThePicture) {
  run.open();
  run.add("a");
  const auto data = makeCaptureMimeData({run.store.find("a")}, {run.store.find("a")}, "png bytes");
  EXPECT_EQ(data->urls().front().toLocalFile().toStdString(), "/pictures/a.png");
  EXPECT_EQ(data->data(QStringLiteral("image/png")), "png bytes");
  EXPECT_THAT(draggedCaptures(*data), ElementsAre("a"));
  EXPECT_THAT(draggedCaptures(QMimeData()), IsEmpty());
  // A collection takes what may not leave the window.
  const auto inside = makeCaptureMimeData({run.store.find("a")}, {}, "");
  EXPECT_FALSE(inside->hasFormat("image/png") || inside->hasUrls());
  EXPECT_THAT(draggedCaptures(*inside), ElementsAre("a"));
}

}  // namespace
}  // namespace vantorel
