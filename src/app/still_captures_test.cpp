#include "app/still_captures.hpp"

#include "app/coordinator_session.hpp"
#include "library/capture_file_name.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr HotKeySpec escapeKey{0xFF1B, 0};

class StillCapturesTest : public CoordinatorTest {};

TEST_F(StillCapturesTest, ADisplayIsFiledUnderItsTimeWithScaleAndApplication) {
  run->screen.open = {openWindow(1, "Editor", {100, 100, 400, 300}),
                      openWindow(2, "Browser", {850, 0, 400, 400})};
  ASSERT_TRUE(run->store.addCollection({.id = "c1", .name = "Trip"}).has_value());
  run->settings->set(&SettingsValues::activeCollectionID, "c1");
  run->begin({.kind = Kind::display, .display = "uuid-RIGHT"});
  ASSERT_NE(run->saved(0), nullptr) << run->words(0);
  const ScreenshotEntry& entry = *run->saved(0)->entry;
  EXPECT_EQ(entry.path, "/pictures/" + captureFileName("Screenshot", FakeRunners::start, "png"));
  EXPECT_DOUBLE_EQ(entry.capturedAt, FakeRunners::start);
  EXPECT_EQ(entry.pixelWidth, 1000);
  EXPECT_EQ(entry.captureScale, 2);
  EXPECT_EQ(entry.sourceApp->name, "Browser");
  EXPECT_EQ(entry.collectionIDs, std::vector<std::string>{"c1"});
  EXPECT_EQ(run->store.find(entry.id)->path, entry.path);
  EXPECT_THAT(stagedNames(), IsEmpty());
  EXPECT_THAT(world.files.disk.at(entry.path)->attributes, IsEmpty());
  EXPECT_TRUE(run->settings->values().hasCapturedSuccessfully);
  EXPECT_FALSE(run->app->arbiter().refusal());

  // The same second again: the next free name. And no such collection, so none.
  run->settings->set(&SettingsValues::activeCollectionID, "gone");
  run->begin({.kind = Kind::display});
  EXPECT_THAT(run->saved(1)->entry->path, testing::EndsWith(" 2.png"));
  EXPECT_THAT(run->saved(1)->entry->collectionIDs, IsEmpty());
  EXPECT_THAT(run->saved(1)->remarks, ElementsAre(testing::HasSubstr("is in none")));
}

TEST_F(StillCapturesTest, ACrashBetweenAnyTwoChangesFilesTheCaptureOnce) {
  struct Crash {};
  for (const ExportFormat format : {ExportFormat::png, ExportFormat::webp}) {
    for (const bool attributes : {true, false}) {
      for (int change = 1;; ++change) {
        SCOPED_TRACE(fmt::format("{} {} change {}", nameOf(format), attributes, change));
        world = CoordinatorWorld{};
        world.files.keepsAttributes = attributes;
        world.files.folders.insert({"/pictures"});
        restart();
        run->settings->set(&SettingsValues::exportFormat, format);
        const int before = world.files.changes;
        bool crashed = false;
        bool acknowledged = false;
        world.files.beforeChange = [&](int number) {
          if (number - before == change) throw Crash{};
        };
        try {
          run->begin({.kind = Kind::display, .display = "RIGHT"});
          acknowledged = run->saved(0) != nullptr;
        } catch (const Crash&) {
          crashed = true;
          acknowledged = run->replies[0].has_value();
        }
        world.files.beforeChange = nullptr;
        const bool wasStaged = std::ranges::any_of(
            stagedNames(), [](const std::string& name) { return name.ends_with(".png"); });
        run->runners.advance(1s);
        restart();
        restart();

        const EntryList& entries = run->store.entries();
        ASSERT_LE(entries.size(), 1U);
        ASSERT_GE(entries.size(), acknowledged || wasStaged ? 1U : 0U);
        std::vector<std::string> files = world.files.names("/pictures");
        ASSERT_EQ(files.size(), entries.size()) << testing::PrintToString(files);
        EXPECT_THAT(stagedNames(), IsEmpty());
        if (!entries.empty()) {
          EXPECT_EQ(entries[0]->path, "/pictures/" + files[0]);
          EXPECT_EQ(entries[0]->captureScale, 2);
          EXPECT_NEAR(entries[0]->capturedAt, FakeRunners::start, 0.002) << "not its own time";
        }
        if (!crashed) break;
        ASSERT_LT(change, 60);
      }
    }
  }
}

TEST_F(StillCapturesTest, SweepsThatOverlapAreAllAnsweredAndFileAllOnce) {
  const auto shared = std::shared_ptr<Files>(&world.files, [](Files*) {});
  StagingFolder staging(shared, "/data/Staged Captures");
  const std::string png = *run->codec.encode(MutableImage({3, 2}, PixelFormat::bgrx).finish(),
                                             {.format = ExportFormat::png});
  for (int i = 1; i <= 3; ++i) {
    ASSERT_TRUE(staging.stage(png, FakeRunners::start - i, {}).has_value());
  }
  // By a clock that was a year ahead, and renamed by somebody.
  ASSERT_TRUE(staging.stage(png, FakeRunners::start + 365 * 86400.0, {}).has_value());
  const auto renamed = staging.stage(png, FakeRunners::start - 9, {});
  world.files.disk["/data/Staged Captures/mine.png"] = world.files.disk[renamed->path];
  world.files.disk.erase(renamed->path);
  int filed = 0;
  int answers = 0;
  const auto sweep = [&] {
    run->captures->recoverStaged([&](int count) {
      filed += count;
      ++answers;
    });
  };
  sweep();
  sweep();
  const Observation middle = run->store.observe([&](const HistoryChange& change) {
    if (!change.added.empty() && run->store.entries().size() == 1) sweep();
  });
  run->runners.run();
  EXPECT_EQ(answers, 3);
  EXPECT_EQ(filed, 5);
  EXPECT_EQ(run->store.entries().size(), 5U);
  EXPECT_THAT(stagedNames(), IsEmpty());
}

TEST_F(StillCapturesTest, ACaptureThatAnotherProcessFilesIsSavedOnceEvenIfThatOneIsKilled) {
  struct Killed {};
  for (int end = 1, isKilled = 1; isKilled != 0; ++end) {
    SCOPED_TRACE(end);
    ASSERT_LT(end, 40);
    isKilled = 0;
    world = CoordinatorWorld{};
    world.files.folders.insert({"/pictures"});
    restart();
    CoordinatorSession waiting(world);
    waiting.library.open();
    waiting.begin({.kind = Kind::display});
    EXPECT_EQ(waiting.words(0), "(no answer)");
    ASSERT_EQ(stagedNames().size(), 1U);

    run->runners.setNow(waiting.runners.now() + 1);
    int filed = 0;
    world.files.beforeChange = [&, from = world.files.changes](int change) {
      if (change - from == end) throw Killed{};
    };
    try {
      run->captures->recoverStaged([&](int count) { filed = count; });
      run->runners.run();
      EXPECT_EQ(filed, 1);
    } catch (const Killed&) {
      isKilled = 1;
    }
    world.files.beforeChange = {};
    run.reset();
    waiting.runners.advance(2s);
    ASSERT_NE(waiting.saved(0), nullptr) << waiting.words(0);
    ASSERT_EQ(waiting.store.entries().size(), 1U);
    EXPECT_EQ(waiting.words(0), "saved " + waiting.store.entries()[0]->path);
    EXPECT_EQ(world.files.names("/pictures").size(), 1U);
    EXPECT_THAT(stagedNames(), IsEmpty());
  }
}

TEST_F(StillCapturesTest, AStuckServiceIsGivenUpAndItsLateAnswerDiscarded) {
  run->begin({.kind = Kind::display});
  run->screen.isSilent = true;
  run->begin({.kind = Kind::display});
  run->runners.advance(20s);
  EXPECT_EQ(run->words(1),
            "Couldn't capture the screen: the screen capture service didn't respond in time.");
  run->screen.answerAll();
  run->runners.advance(5s);
  EXPECT_EQ(run->store.entries().size(), 1U);
  EXPECT_THAT(stagedNames(), IsEmpty());

  run->screen.grabFails = Failure{FailureKind::unreachable, "the display server went away"};
  run->begin({.kind = Kind::display});
  EXPECT_EQ(run->words(2), "Couldn't capture the screen: the display server went away.");
  run->screen.grabFails = Failure{FailureKind::denied, ""};
  run->begin({.kind = Kind::display});
  EXPECT_THAT(run->words(3), HasSubstr("isn't allowed to capture the screen"));
  EXPECT_FALSE(run->app->arbiter().refusal());
}

TEST_F(StillCapturesTest, AnAreaIsCutFromTheFrozenScreenAndRemembered) {
  run->begin({.kind = Kind::window});
  EXPECT_EQ(run->words(0), "There is no window to capture.");
  run->replies.clear();
  run->settings->set(&SettingsValues::hideDesktopIconsWhileCapturing, true);
  run->begin({.kind = Kind::area});
  ASSERT_TRUE(run->overlay.request);
  EXPECT_EQ(run->overlay.request->displays.size(), 2U);
  EXPECT_TRUE(run->cover->visible);
  for (const GrabRequest& request : run->screen.requests) {
    EXPECT_THAT(request.keptOwnWindowIDs, ElementsAre(77)) << "the icons show through";
  }
  const int frozen = run->screen.grabs;
  run->overlay.choose({{RegionTarget{"RIGHT", {0, 0, 30, 20}}}});
  run->runners.run();
  ASSERT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_EQ(run->screen.grabs, frozen) << "the screen was grabbed again after the choice";
  EXPECT_EQ(run->saved(0)->entry->pixelWidth, 60);
  EXPECT_FALSE(run->cover->visible);

  run->begin({.kind = Kind::previous});
  ASSERT_NE(run->saved(1), nullptr) << run->words(1);
  EXPECT_EQ(run->saved(1)->entry->pixelHeight, 40);

  run->screen.connected[1].pixelSize = {1200, 800};
  run->begin({.kind = Kind::previous});
  EXPECT_THAT(run->words(2), HasSubstr("a different size now"));
  run->screen.connected.pop_back();
  run->begin({.kind = Kind::previous});
  EXPECT_THAT(run->words(3), HasSubstr("isn't connected"));
  EXPECT_EQ(run->store.entries().size(), 2U);

  run->begin({.kind = Kind::area});
  run->overlay.choose(std::unexpected(SelectionOverlay::End::cancelled));
  run->runners.run();
  EXPECT_EQ(run->words(4), "cancelled");
  run->begin({.kind = Kind::area, .rect = PointRect{5000, 0, 10, 10}});
  EXPECT_THAT(run->words(5), testing::StartsWith("Couldn't read that area"));
  run->begin({.kind = Kind::display, .display = "NOWHERE"});
  EXPECT_THAT(run->words(6), HasSubstr("No display has that id"));
  run->begin({.kind = Kind::window, .window = 99});
  EXPECT_THAT(run->words(7), HasSubstr("No window on screen has that id"));
  run->screen.connect("RIGHT", {1000, 800}, 2);
  run->begin({.kind = Kind::area, .display = "RIGHT", .rect = PointRect{490, -10, 100, 50.5}});
  ASSERT_NE(run->saved(8), nullptr) << run->words(8);
  EXPECT_EQ(run->saved(8)->entry->pixelWidth, 20);
  EXPECT_EQ(run->saved(8)->entry->pixelHeight, 81);
  EXPECT_THAT(
      run->saved(8)->remarks,
      ElementsAre("The area reaches beyond the display: 10 x 40.5 points of 100 x 50.5 were "
                  "captured."));

  run->begin({.kind = Kind::area});
  run->overlay.choose(std::unexpected(SelectionOverlay::End::displaysChanged));
  run->runners.run();
  EXPECT_THAT(run->words(9), HasSubstr("The displays changed while you were choosing"));
  run->begin({.kind = Kind::area});
  run->overlay.choose(std::unexpected(SelectionOverlay::End::keyboardHeld));
  run->runners.run();
  EXPECT_EQ(run->words(10),
            "Couldn't capture the screen: another program or an open menu holds the keyboard.");
  EXPECT_FALSE(run->app->arbiter().refusal());
}

TEST_F(StillCapturesTest, OnlyAnAreaThatWasTakenIsThePreviousArea) {
  const auto choose = [this](std::chrono::seconds delay) {
    run->begin({.kind = Kind::area, .delay = delay});
    run->overlay.choose({{RegionTarget{"LEFT", {1, 2, 30, 40}}}});
  };
  choose(3s);
  run->screen.grabFails = Failure{FailureKind::unreachable, "the display server went away"};
  run->runners.advance(3s);
  run->screen.grabFails.reset();
  run->begin({.kind = Kind::area, .delay = 3s});
  run->overlay.choose({{RegionTarget{"LEFT", {0, 0, 30, 20}}}});
  run->runners.advance(1s);
  run->app->cancelCapture();
  run->runners.run();
  EXPECT_EQ(run->words(1), "cancelled");
  // Nor is one that a script names what the person at the desktop chose.
  run->begin({.kind = Kind::area, .rect = PointRect{5, 6, 7, 8}});
  ASSERT_NE(run->saved(2), nullptr) << run->words(2);
  EXPECT_FALSE(run->settings->values().rememberedRegion);
  choose(0s);
  run->runners.run();
  ASSERT_TRUE(run->settings->values().rememberedRegion);
  EXPECT_EQ(run->settings->values().rememberedRegion->rect, (PointRect{1, 2, 30, 40}));
}

TEST_F(StillCapturesTest, AllDisplaysAreOnePictureOfTheApplicationOnTheMainOne) {
  run->screen.open = {openWindow(2, "Browser", {850, 0, 400, 400}),
                      openWindow(1, "Editor", {100, 100, 600, 400})};
  run->begin({.kind = Kind::display, .allDisplays = true});
  ASSERT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_EQ(run->saved(0)->entry->pixelWidth, 1800);
  EXPECT_EQ(run->saved(0)->entry->sourceApp->name, "Editor");
  EXPECT_FALSE(run->settings->values().rememberedRegion);
}

TEST_F(StillCapturesTest, ACaptureIsCalledOffOnItsWayToTheOverlayToo) {
  StillCaptureCommand area{.kind = Kind::area};
  const auto begin = [&](const std::function<bool()>& begins) {
    run->replies.emplace_back();
    run->app->capture(
        area, [this, i = run->replies.size() - 1](const auto& reply) { run->replies[i] = reply; },
        begins);
  };
  // As soon as it has begun, nothing waits for the user yet.
  begin([this] {
    run->runners.main()->post([this] { run->app->cancelCapture(); });
    return true;
  });
  run->runners.run();
  EXPECT_EQ(run->words(0), "cancelled");
  EXPECT_FALSE(run->overlay.request);
  begin([] { return false; });
  run->runners.run();
  EXPECT_EQ(run->words(1), "cancelled");
  EXPECT_FALSE(run->overlay.request);
  EXPECT_FALSE(run->app->arbiter().refusal());
  run->begin(area);
  EXPECT_TRUE(run->overlay.request);
  run->app->cancelCapture();
  EXPECT_EQ(run->words(2), "cancelled");
}

TEST_F(StillCapturesTest, TheSelfTimerCountsDownAndEscapeCallsItOff) {
  StillCaptureCommand timed{.kind = Kind::display, .delay = 3s, .isTimed = true};
  run->begin(timed);
  EXPECT_TRUE(run->app->arbiter().isRunning(CaptureActivity::timedCapture));
  EXPECT_TRUE(run->keys.isRegistered(escapeKey));
  run->runners.advance(2999ms);
  EXPECT_EQ(run->screen.grabs, 0);
  EXPECT_THAT(run->countdown->shown, ElementsAre(3, 2, 1));
  run->runners.advance(1ms);
  EXPECT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_FALSE(run->keys.isRegistered(escapeKey));
  EXPECT_EQ(run->settings->values().timedCaptureLastDelaySeconds, CaptureDelay::three);

  run->begin(timed);
  run->runners.advance(1s);
  EXPECT_TRUE(run->keys.press(escapeKey));
  EXPECT_EQ(run->words(1), "cancelled");
  EXPECT_FALSE(run->countdown->visible);
  run->runners.advance(10s);
  EXPECT_EQ(run->screen.grabs, 1);

  run->begin({.kind = Kind::area});
  run->begin({.kind = Kind::display, .delay = 10s, .isTimed = true});
  EXPECT_THAT(run->words(3), HasSubstr("Another capture is running"));
  EXPECT_EQ(run->settings->values().timedCaptureLastDelaySeconds, CaptureDelay::three);
}

TEST_F(StillCapturesTest, TroubleWithTheDiskLosesNothing) {
  // The chosen folder is missing: not made, for it may be a disk that is not plugged in.
  run->settings->set(&SettingsValues::storageDirectory, "/media/stick");
  run->begin({.kind = Kind::display});
  EXPECT_THAT(run->words(0), HasSubstr("saved /home/captures/Screenshot"));
  EXPECT_THAT(run->words(0), HasSubstr("default folder instead (the folder is missing)"));
  EXPECT_FALSE(world.files.folders.contains("/media/stick"));

  // A format that cannot hold the picture.
  run->settings->set(&SettingsValues::exportFormat, ExportFormat::heic);
  run->codec.longestHeicSide = 500;
  run->begin({.kind = Kind::display});
  EXPECT_THAT(run->words(1), HasSubstr(".png"));
  EXPECT_THAT(run->words(1), HasSubstr("HEIC couldn't hold this picture"));
  run->codec.longestHeicSide = std::nullopt;
  run->codec.isHeicWasteful = true;
  run->begin({.kind = Kind::display});
  EXPECT_THAT(run->words(2), HasSubstr(".png"));
  EXPECT_THAT(run->words(2), HasSubstr("HEIC would have made this picture larger"));

  // A full disk before anything is safe: said, and nothing half-done stays.
  world.files.changesFail = FailureKind::noSpace;
  run->begin({.kind = Kind::display});
  EXPECT_THAT(run->words(3), HasSubstr("Couldn't save the screenshot: "));
  world.files.changesFail = std::nullopt;
  EXPECT_THAT(stagedNames(), IsEmpty());
  run->codec.broken = {ExportFormat::png};
  run->begin({.kind = Kind::display});
  EXPECT_EQ(run->words(4), "Couldn't save the screenshot: the capture couldn't be encoded.");
  EXPECT_FALSE(run->app->arbiter().refusal());
}

TEST_F(StillCapturesTest, ACaptureThatNoFolderTakesIsFiledWhenOneDoes) {
  for (const bool attributes : {true, false}) {
    for (const bool choosesFolder : {true, false}) {
      SCOPED_TRACE(fmt::format("{} {}", attributes, choosesFolder));
      world = CoordinatorWorld{};
      world.files.keepsAttributes = attributes;
      world.files.folders.insert({"/pictures", "/other"});
      restart();
      world.files.silent = {"/pictures", "/home/captures"};
      run->begin({.kind = Kind::display});
      EXPECT_THAT(run->words(0), HasSubstr("No captures folder could be used, so this capture"));
      ASSERT_EQ(run->store.entries().size(), 1U);
      const ScreenshotEntry kept = *run->store.entries()[0];
      EXPECT_TRUE(world.files.disk.contains(kept.path));
      ASSERT_TRUE(run->store.update(kept.id, [](auto& entry) { entry.title = "Mine"; }));
      run->runners.advance(5s);
      restart();
      run->runners.advance(5s);
      EXPECT_EQ(run->store.entries().at(0)->path, kept.path) << "still none";

      if (choosesFolder) {
        run->settings->set(&SettingsValues::storageDirectory, "/other");
      } else {
        world.files.silent.clear();
        restart();
      }
      run->runners.advance(5s);
      ASSERT_EQ(run->store.entries().size(), 1U);
      const ScreenshotEntry& filed = *run->store.entries()[0];
      EXPECT_EQ(filed.id, kept.id);
      EXPECT_EQ(filed.title, "Mine");
      EXPECT_EQ(Path(filed.path).parent_path(), choosesFolder ? "/other" : "/pictures");
      EXPECT_TRUE(world.files.disk.contains(filed.path));
      EXPECT_THAT(world.files.disk.at(filed.path)->attributes, IsEmpty());
      EXPECT_THAT(stagedNames(), IsEmpty());
    }
  }
}

// On a disk of another machine, which answers again once the move is made.
TEST_F(StillCapturesTest, ACaptureWhoseFileGotItsNameWithoutAnAnswerIsThatFile) {
  for (const bool isMade : {false, true}) {
    SCOPED_TRACE(isMade);
    world = CoordinatorWorld{};
    FakeFiles& files = world.files;
    files.folders.insert("/pictures");
    files.mounts = {"/pictures"};
    restart();
    files.silencing = "/pictures";
    files.silenceAtMove = 2;  // the first one makes sure that nothing is in the way
    files.isUnansweredMade = isMade;
    files.beforeChange = [&](int) { files.silent.clear(); };
    run->begin({.kind = Kind::display});
    files.beforeChange = nullptr;
    EXPECT_EQ(files.silenceAtMove, 0);
    ASSERT_NE(run->saved(0), nullptr) << run->words(0);
    const Path path = run->saved(0)->entry->path;
    EXPECT_EQ(path.parent_path(), isMade ? "/pictures" : "/home/captures");
    EXPECT_TRUE(files.disk.contains(path));
    const auto isWhole = [](const std::string& name) { return !name.ends_with(".partial"); };
    EXPECT_EQ(std::ranges::count_if(files.names("/pictures"), isWhole), isMade ? 1 : 0);
  }
}

TEST_F(StillCapturesTest, AnIndexOfANewerBuildIsLeftAloneAndTheCaptureIsFiledLater) {
  run.reset();
  const std::string newer = R"({"version":5,"entries":[],"secret":1})";
  world.files.put("/data/history.json", newer);
  restart();
  EXPECT_EQ(run->recovered, 0);
  run->begin({.kind = Kind::display});
  EXPECT_THAT(run->words(0), HasSubstr("the index can't be written this run"));
  const std::string path = run->saved(0)->entry->path;
  EXPECT_TRUE(world.files.disk.contains(path));
  run->runners.advance(10s);
  EXPECT_EQ(world.files.text("/data/history.json"), newer);

  world.files.disk.erase("/data/history.json");
  restart();
  EXPECT_EQ(run->recovered, 1);
  ASSERT_EQ(run->store.entries().size(), 1U);
  EXPECT_EQ(run->store.entries()[0]->path, path);
  EXPECT_THAT(world.files.names("/pictures"), testing::SizeIs(1));
}

TEST_F(StillCapturesTest, AgentsTakeTheSamePath) {
  std::string filed;
  std::optional<CaptureReply> reply;
  run->app->captureForRemote(
      CaptureMode::fullscreen, [&](const ScreenshotEntry& entry) { filed = entry.id; },
      [this](StillCapturePipeline::Grabbed grabbed) {
        run->screen.grab({.target = DisplayTarget{"LEFT"}}, std::move(grabbed));
      },
      [&](CaptureReply answer) { reply = std::move(answer); });
  run->begin({.kind = Kind::display});
  run->runners.run();
  ASSERT_TRUE(reply);
  EXPECT_NE(run->store.find(filed), nullptr);
  EXPECT_EQ(run->words(0), "Another capture is running. Finish or cancel it first.");
  EXPECT_EQ(run->store.entries().size(), 1U);
}

}  // namespace
}  // namespace vantorel
