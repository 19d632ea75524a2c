#include "app/app_coordinator.hpp"

#include "app/command_keys.hpp"
#include "app/coordinator_session.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AppCoordinatorTest : public CoordinatorTest {};

TEST_F(AppCoordinatorTest, SecondCommandIsRefusedAndQuittingTurnsAllAway) {
  run->screen.isSilent = true;
  run->begin({.kind = Kind::display});
  run->begin({.kind = Kind::area, .rect = PointRect{0, 0, 10, 10}});
  EXPECT_EQ(run->words(0), "(no answer)");
  run->screen.answerAll();
  run->runners.run();
  run->begin({.kind = Kind::display});
  EXPECT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_EQ(run->words(1), "Another capture is running. Finish or cancel it first.");
  EXPECT_NE(run->saved(2), nullptr) << run->words(2);

  const auto ticket = run->app->pendingArchiveWork().begin(QuitFilingNote::Item::rewrite);
  run->app->quit();
  run->begin({.kind = Kind::display});
  EXPECT_EQ(run->words(3), "Vantorel is quitting.");
  run->app->pendingArchiveWork().end(ticket);
  run->runners.advance(5s);
  EXPECT_TRUE(run->terminated);
}

TEST_F(AppCoordinatorTest, AQuitSavesWhatWasAskedForAndCallsOffWhatWaitsForTheUser) {
  // Nothing but the wish is there when the quit comes.
  const auto beginAndHold = [this] {
    run->replies.emplace_back();
    run->app->capture(
        {.kind = Kind::display}, [this](CaptureReply reply) { run->replies[0] = std::move(reply); },
        [this] { return run->screen.isSilent = true; });
    run->runners.run();
  };
  beginAndHold();
  run->app->quit();
  EXPECT_FALSE(run->terminated);
  for (int i = 0; i < 5 && !run->terminated; ++i) {
    run->screen.answerAll();
    run->runners.run();
  }
  EXPECT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_TRUE(run->terminated);
  restart();
  EXPECT_EQ(run->store.entries().size(), 1U);

  for (const auto& waiting : {StillCaptureCommand{.kind = Kind::area},
                              StillCaptureCommand{.kind = Kind::display, .delay = 3s}}) {
    restart();
    run->begin(waiting);
    run->app->quit();
    run->runners.run();
    EXPECT_EQ(run->words(0), "cancelled");
    EXPECT_TRUE(run->terminated);
    EXPECT_FALSE(run->overlay.request);
  }

  // A service that never answers holds it up no longer than it holds a capture up.
  restart();
  beginAndHold();
  run->app->quit();
  run->runners.advance(20s);
  EXPECT_TRUE(run->terminated);
}

TEST_F(AppCoordinatorTest, AQuitWaitsForAMoveToStopButNotForEver) {
  for (const bool stops : {true, false}) {
    restart();
    std::optional<RelocationOutcome> moved;
    run->library.relocation().relocate(
        {.folder = "/elsewhere", .sources = {"/pictures"}}, {},
        [&](RelocationOutcome outcome) { moved = std::move(outcome); });
    run->runners.hang("moves");
    run->app->quit();
    run->runners.advance(60s);
    EXPECT_FALSE(run->terminated);
    if (stops) run->runners.resume("moves");
    run->runners.advance(stops ? 1s : 61s);
    EXPECT_TRUE(run->terminated);
    EXPECT_EQ(moved.has_value(), stops);
  }
}

TEST_F(AppCoordinatorTest, AQuitThatCannotSaveHistoryAsks) {
  run->begin({.kind = Kind::display});
  const std::string id = run->store.entries().front()->id;
  run->runners.advance(60s);
  ASSERT_TRUE(run->store.update(id, [](ScreenshotEntry& entry) { entry.title = "New"; }));
  const auto fill = [this] { world.files.changesFail = FailureKind::noSpace; };
  const auto quit = [this] {
    run->app->quit();
    run->runners.advance(10s);
  };
  fill();
  quit();
  EXPECT_FALSE(run->terminated);
  ASSERT_TRUE(run->alerts.press("Try Again"));
  run->runners.advance(10s);
  ASSERT_TRUE(run->alerts.press("Don't Quit"));
  EXPECT_FALSE(run->app->isQuitting());
  EXPECT_FALSE(run->terminated);
  quit();
  world.files.changesFail.reset();
  ASSERT_TRUE(run->alerts.press("Try Again"));
  run->runners.advance(10s);
  EXPECT_TRUE(run->terminated);
  restart();
  EXPECT_EQ(run->store.find(id)->title, "New");

  // Some would rather lose them.
  ASSERT_TRUE(run->store.update(id, [](ScreenshotEntry& entry) { entry.title = "Newer"; }));
  fill();
  quit();
  ASSERT_TRUE(run->alerts.press("Quit Anyway"));
  run->runners.run();
  EXPECT_TRUE(run->terminated);
}

TEST_F(AppCoordinatorTest, ResidentRunBindsKeysFollowsSettingsAndTellsWhatTheLastQuitLost) {
  run->settings->set(&SettingsValues::filingUnfinishedAtQuit, {"recording", "hologram"});
  run->settings->set(&SettingsValues::copyRecentHotKey, HotKeySpec{'1', HotKeySpec::control});
  run->keys.taken = {*run->settings->values().windowHotKey};
  run->app->startResident();
  run->runners.run();
  EXPECT_TRUE(run->icon.isVisible);
  EXPECT_THAT(run->alerts.notices,
              ElementsAre("Vantorel: Vantorel quit before it finished saving a Recording."));
  EXPECT_THAT(run->settings->values().filingUnfinishedAtQuit, testing::SizeIs(2))
      << "until it is on the screen";
  run->alerts.told();
  const auto shortcutOf = [this](const std::string& label) {
    const std::vector<StatusMenuItem> menu = run->app->statusMenu();
    return std::ranges::find(menu, label, &StatusMenuItem::label)->shortcut;
  };
  run->runners.advance(20s);
  EXPECT_THAT(
      run->alerts.notices,
      ElementsAre(testing::_,
                  "Keys that don't work: Another program holds Alt+Print. It "
                  "works once that program lets go. Settings, Shortcuts gives other keys."));
  EXPECT_EQ(shortcutOf("Capture Window"), "");
  EXPECT_EQ(shortcutOf("Capture Main Display"), "Shift+Print");
  std::string said = "nothing";
  run->app->keys()->whenKnown("windowHotKey",
                              [&](const std::string& sentence) { said = sentence; });
  EXPECT_THAT(said, HasSubstr("Another program holds Alt+Print."));
  run->keys.taken.clear();
  run->runners.advance(20s);
  EXPECT_EQ(shortcutOf("Capture Window"), "Alt+Print");
  run->runners.advance(1s);
  EXPECT_THAT(run->alerts.withdrawn, testing::Contains("Keys that don't work"));
  EXPECT_THAT(run->settings->values().filingUnfinishedAtQuit, IsEmpty());

  const HotKeySpec display = *run->settings->values().fullscreenHotKey;
  EXPECT_TRUE(run->keys.press(display));
  run->runners.run();
  EXPECT_EQ(run->store.entries().size(), 1U);
  run->settings->set(&SettingsValues::fullscreenHotKey, HotKeySpec{'f', HotKeySpec::control});
  run->runners.run();
  EXPECT_FALSE(run->keys.press(display));
  EXPECT_TRUE(run->keys.isRegistered({'f', HotKeySpec::control}));
  EXPECT_TRUE(run->keys.isRegistered({'0', HotKeySpec::control})) << "the tenth recent capture";
  run->icon.menuChanges = 0;
  run->settings->set(&SettingsValues::fullscreenHotKey, std::nullopt);
  run->runners.run();
  EXPECT_EQ(shortcutOf("Capture Main Display"), "");
  EXPECT_GT(run->icon.menuChanges, 0) << "nothing else says that a key is gone";

  int actions = 0;
  bool previousEnabled = true;
  for (const StatusMenuItem& item : run->app->statusMenu()) {
    actions += item.kind == StatusMenuItem::Kind::action && item.isEnabled ? 1 : 0;
    if (item.label == "Capture Previous Area") previousEnabled = item.isEnabled;
  }
  EXPECT_GE(actions, 4);
  EXPECT_FALSE(previousEnabled) << "there is no previous area yet";
}

TEST_F(AppCoordinatorTest, AtTheDesktopEveryEndIsShownAndACommandIsAnsweredInWords) {
  run->app->startResident();
  run->screen.open = {openWindow(1, "Editor", {100, 100, 400, 300})};
  run->app->captureForUser({.kind = Kind::window, .window = 1});
  run->runners.run();
  ASSERT_EQ(run->cues.size(), 1U);
  EXPECT_EQ(run->cues[0].area, (PixelRect{100, 100, 400, 300}));
  EXPECT_TRUE(run->cues[0].withSound);
  EXPECT_EQ(run->clipboard->images, 1);
  EXPECT_THAT(run->alerts.notices, IsEmpty()) << "success needs no words";
  run->icon.menuChanges = 0;
  run->runners.advance(250ms);
  EXPECT_EQ(run->icon.menuChanges, 1) << "the capture can be copied from the menu";

  run->settings->set(&SettingsValues::playSounds, false);
  run->settings->set(&SettingsValues::storageDirectory, "/media/stick");
  run->clipboard->refuses = Failure{FailureKind::denied, "no"};
  EXPECT_EQ(findDesktopCommand("Bogus"), nullptr);
  run->app->perform(*findDesktopCommand("CaptureDisplay"));
  run->runners.run();
  EXPECT_EQ(run->cues.back().area, (PixelRect{0, 0, 800, 600}));
  EXPECT_FALSE(run->cues.back().withSound);
  EXPECT_THAT(run->alerts.notices,
              ElementsAre(testing::AllOf(
                  HasSubstr("default folder instead"),
                  testing::EndsWith("\nNot copied: the clipboard wouldn't take the image."))));
  run->screen.grabFails = Failure{FailureKind::unreachable, "the display server went away"};
  run->app->captureForUser({.kind = Kind::display});
  run->runners.run();
  EXPECT_EQ(run->cues.size(), 2U);
  EXPECT_THAT(run->alerts.notices.back(), HasSubstr("Screenshot failed: "));
  run->screen.grabFails.reset();

  // A command hears the same in its answer, and waits no longer than a moment for the clipboard.
  const std::size_t reported = run->alerts.notices.size();
  run->begin({.kind = Kind::display});
  EXPECT_THAT(run->words(0), HasSubstr("default folder instead"));
  EXPECT_THAT(run->words(0), HasSubstr("Not copied: the clipboard wouldn't take the image."));
  run->clipboard->refuses.reset();
  run->clipboard->isSilent = true;
  run->begin({.kind = Kind::display});
  EXPECT_EQ(run->words(1), "(no answer)");
  run->runners.advance(6s);
  EXPECT_THAT(run->words(1), HasSubstr("Not copied: the clipboard doesn't answer."));
  run->clipboard->isSilent = false;
  run->settings->set(&SettingsValues::copyToClipboardAfterCapture, false);
  run->begin({.kind = Kind::display, .copies = true});
  EXPECT_EQ(run->clipboard->images, 2);
  EXPECT_EQ(run->alerts.notices.size(), reported);
  EXPECT_EQ(run->cues.size(), 2U);

  // While one is under way, a key that is pressed again is no news, but a command is.
  run->app->captureForUser({.kind = Kind::area});
  run->runners.run();
  run->app->captureForUser({.kind = Kind::area});
  EXPECT_EQ(run->alerts.notices.size(), reported);
  run->app->capture({.kind = Kind::area, .isAnsweredAtDesktop = true}, [](const CaptureReply&) {});
  EXPECT_EQ(run->alerts.notices.size(), reported + 1);
}

TEST_F(AppCoordinatorTest, WithoutATrayItSaysOnceThatItRuns) {
  for (const bool hasTray : {true, false}) {
    restart();
    run->icon.hasHost = hasTray;
    run->app->startResident();
    run->runners.advance(60s);
    EXPECT_EQ(run->alerts.notices.size(), hasTray ? 0U : 1U);
  }
  EXPECT_EQ(run->alerts.notices[0],
            "Vantorel is running: Print captures an area. This desktop shows no tray; \"vantorel "
            "quit\" ends it.");
}

TEST_F(AppCoordinatorTest, TheMenuCopiesRecentCapturesByName) {
  const auto recent = [this] {
    const std::vector<StatusMenuItem> menu = run->app->statusMenu();
    return *std::ranges::find(menu, "Copy Recent Capture", &StatusMenuItem::label);
  };
  EXPECT_FALSE(recent().isEnabled);
  run->settings->set(&SettingsValues::copyRecentHotKey, HotKeySpec{'1', HotKeySpec::control});
  run->app->startResident();
  for (int i = 0; i < 12; ++i) run->begin({.kind = Kind::display});
  const StatusMenuItem menu = recent();
  ASSERT_THAT(menu.items, testing::SizeIs(10));
  EXPECT_THAT(menu.items[0].label, testing::StartsWith("Screenshot 2"));
  EXPECT_EQ(menu.items[0].shortcut, "Ctrl+1");
  EXPECT_EQ(menu.items[9].shortcut, "Ctrl+0");

  // One more came since the menu was read.
  const std::string last = run->store.newestFirst().at(9)->path;
  run->begin({.kind = Kind::display});
  menu.items[9].perform();
  run->runners.run();
  EXPECT_EQ(run->clipboard->last, world.files.text(last));
}

TEST_F(AppCoordinatorTest, TheNewestCardGetsTheKeyboardOrASentenceSaysWhyNot) {
  const auto line = [this] {
    const std::vector<StatusMenuItem> menu = run->app->statusMenu();
    const auto open = std::ranges::find(menu, "Open", &StatusMenuItem::label);
    return *std::ranges::find(open->items, "Focus Capture Card", &StatusMenuItem::label);
  };
  int asked = 0;
  bool hasCard = false;
  run->app->onFocusCard = [&] {
    ++asked;
    return hasCard;
  };
  EXPECT_FALSE(line().isEnabled);
  run->app->perform(*findDesktopCommand("FocusCard"));
  EXPECT_THAT(run->alerts.notices,
              ElementsAre("No card to focus: There is no capture to show on a card yet."));
  run->begin({.kind = Kind::display});
  hasCard = true;
  ASSERT_TRUE(line().isEnabled);
  line().perform();
  EXPECT_EQ(asked, 2);
  EXPECT_EQ(run->alerts.notices.size(), 1U);
}

TEST_F(AppCoordinatorTest, WhatIsCopiedIsWhatIsShown) {
  run->begin({.kind = Kind::display});
  const EntryPointer entry = run->store.entries().at(0);
  const auto copied = [this] {
    run->clipboard->last = "(nothing)";
    run->app->copyRecent(1);
    run->runners.run();
    return run->clipboard->last;
  };
  EXPECT_EQ(copied(), world.files.text(entry->path));
  ASSERT_TRUE(run->store.update(entry->id, [](ScreenshotEntry& changed) {
    changed.shapes = {Shape{.type = ShapeType::redact}};
  }));
  EXPECT_EQ(copied(), "1 drawn");
  auto unread = json::fromText<ScreenshotEntry>(R"({"id":"x","capturedAt":1,"path":")" +
                                                entry->path + R"(","shapes":[{"type":"veil"}]})");
  ASSERT_TRUE(run->store.update(
      entry->id, [&](ScreenshotEntry& changed) { changed.unreadShapes = unread->unreadShapes; }));
  EXPECT_EQ(copied(), "(nothing)");
  EXPECT_THAT(run->alerts.notices.back(), HasSubstr("annotations that this version can't read"));
  ASSERT_TRUE(run->store.update(entry->id, [](ScreenshotEntry& changed) {
    changed.shapes.clear();
    changed.unreadShapes = {};
  }));
  world.files.put(entry->path, "junk");
  EXPECT_EQ(copied(), "(nothing)");
  EXPECT_THAT(run->alerts.notices.back(),
              HasSubstr("Copy failed: the screenshot couldn't be read"));
  world.files.disk.erase(entry->path);
  EXPECT_EQ(copied(), "(nothing)");
  EXPECT_THAT(run->alerts.notices.back(),
              HasSubstr("Copy failed: The capture's file is gone: " + entry->path));
}

TEST_F(AppCoordinatorTest, AQuitLeavesNoIndexThatWasLostUnderIt) {
  run->begin({.kind = Kind::display});
  run->runners.advance(5s);
  for (const char* const damage : {"", "rubbish"}) {
    const std::string whole = world.files.text("/data/history.json");
    if (*damage == '\0') {
      world.files.disk.erase("/data/history.json");
    } else {
      world.files.put("/data/history.json", damage);
    }
    run->app->quit();
    run->runners.advance(5s);
    ASSERT_TRUE(run->terminated);
    EXPECT_EQ(world.files.text("/data/history.json"), whole) << damage;
    restart();
  }
}

TEST_F(AppCoordinatorTest, AQuitWithNothingToSaveDoesNotWaitForADiskThatHangs) {
  run->begin({.kind = Kind::display});
  run->runners.advance(5s);
  run->runners.hang("persist");
  run->app->quit();
  run->runners.advance(10s);
  EXPECT_TRUE(run->terminated);

  restart();
  run->runners.advance(5s);
  run->runners.hang("persist");
  const std::string id = run->store.entries().at(0)->id;
  ASSERT_TRUE(run->store.update(id, [](ScreenshotEntry& entry) { entry.starred = true; }));
  run->app->quit();
  run->runners.advance(121s);
  EXPECT_FALSE(run->terminated) << "a star would be lost";
  run->runners.resume("persist");
  run->runners.run();
  EXPECT_TRUE(run->terminated);
}

TEST_F(AppCoordinatorTest, AQuitThatWouldLoseSettingsAsksFirst) {
  run->settings->set(&SettingsValues::playSounds, false);
  world.defaults.becomeUnsaved("the disk is full");
  run->app->quit();
  run->runners.advance(5s);
  ASSERT_TRUE(run->alerts.shown);
  EXPECT_EQ(run->alerts.shown->message, "The settings couldn't be saved");
  EXPECT_THAT(run->alerts.shown->informative, HasSubstr("the disk is full. If you quit now"));
  run->alerts.press("Don't Quit");
  run->runners.advance(5s);
  EXPECT_FALSE(run->terminated);

  run->app->quit();
  run->runners.advance(5s);
  run->alerts.press("Try Again");
  run->runners.advance(5s);
  EXPECT_FALSE(run->terminated) << "it is as full as before";
  world.defaults.becomeUnsaved("");
  run->alerts.press("Try Again");
  run->runners.advance(5s);
  EXPECT_TRUE(run->terminated);
}

TEST_F(AppCoordinatorTest, TheIconHasADotAndTheMenuAWayOutWhileCapturesAreFiled) {
  run->app->startResident();
  const auto filing = [this] {
    const std::vector<StatusMenuItem> menu = run->app->statusMenu();
    return *std::ranges::find(menu, "File into Collection", &StatusMenuItem::label);
  };
  ASSERT_THAT(filing().items, testing::SizeIs(2));
  EXPECT_EQ(filing().items[0].label, "New Collection");
  EXPECT_FALSE(filing().items[1].isEnabled);
  run->settings->set(&SettingsValues::activeCollectionID, "c1");
  run->runners.advance(1s);
  EXPECT_EQ(run->icon.mark, StatusMark::none) << "there is no such collection";
  ASSERT_TRUE(run->store.addCollection({.id = "c1", .name = "Poster"}).has_value());
  run->runners.advance(1s);
  EXPECT_EQ(run->icon.mark, StatusMark::filing);
  filing().items.back().perform();
  run->runners.advance(1s);
  EXPECT_EQ(run->icon.mark, StatusMark::none);
}

TEST_F(AppCoordinatorTest, TheMenuUndoesTheLastDeletion) {
  run->begin({.kind = Kind::display});
  const EntryPointer entry = run->store.entries().at(0);
  const auto undo = [this] {
    const std::vector<StatusMenuItem> menu = run->app->statusMenu();
    return *std::ranges::find_if(menu, [](const StatusMenuItem& item) {
      return item.label.starts_with("Undo Recent Delete");
    });
  };
  run->app->startResident();
  EXPECT_FALSE(undo().isEnabled);
  run->library.deletion().trash({entry->id}, HistoryDeletion::Undo::offered, [](const auto&) {});
  run->runners.run();
  ASSERT_TRUE(undo().isEnabled);
  EXPECT_EQ(undo().label, "Undo Recent Delete (8 s)");
  run->icon.menuChanges = 0;
  run->runners.advance(2s);
  EXPECT_EQ(undo().label, "Undo Recent Delete (6 s)");
  EXPECT_GE(run->icon.menuChanges, 2) << "each second";
  run->trash.failing[entry->path] = FailureKind::noSpace;
  undo().perform();
  run->runners.run();
  EXPECT_THAT(run->alerts.notices, ElementsAre(HasSubstr("restore from Trash failed: ")));
  run->trash.failing.clear();
  undo().perform();
  run->runners.run();
  EXPECT_NE(run->store.find(entry->id), nullptr);
  EXPECT_FALSE(undo().isEnabled);
  run->app->perform(*findDesktopCommand("UndoRecentDelete"));
  EXPECT_THAT(run->alerts.notices.back(), HasSubstr("Nothing to undo: "));
}

TEST_F(AppCoordinatorTest, ALibraryThatCouldNotBeReadIsNotCalledEmpty) {
  world.files.put("/data/history.json", R"({"version":5,"entries":[]})");
  restart();
  for (const char* command : {"CopyRecentCapture1", "UndoRecentDelete", "FocusCard"}) {
    run->app->perform(*findDesktopCommand(command));
    run->runners.run();
    EXPECT_EQ(
        run->alerts.notices.back(),
        "History: The library can't be used now: the index can't be written this run: a newer "
        "version of Vantorel wrote it.");
  }
}

}  // namespace
}  // namespace vantorel
