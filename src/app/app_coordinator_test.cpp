#include "app/app_coordinator.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/command_keys.hpp"
#include "base/json_record.hpp"
#include "library/capture_file_name.hpp"
#include "platform/testing/fake_alerts.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_hot_keys.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_screen.hpp"
#include "platform/testing/fake_trash.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Kind = StillCaptureCommand::Kind;

constexpr HotKeySpec escapeKey{0xFF1B, 0};

class FakeCountdown final : public CountdownPanel {
 public:
  std::vector<int> shown;
  bool visible = false;
  void show(int secondsLeft) override {
    shown.push_back(secondsLeft);
    visible = true;
  }
  void hide(std::function<void()> hidden) override {
    visible = false;
    hidden();
  }
};

class FakeOverlay final : public SelectionOverlay {
 public:
  std::optional<Request> request;
  void select(Request asked, std::function<void(std::optional<Choice>)> chosen) override {
    request = std::move(asked);
    chosen_ = std::move(chosen);
  }
  void dismiss() override { request.reset(); }
  void choose(std::optional<Choice> choice) {
    request.reset();
    std::exchange(chosen_, nullptr)(std::move(choice));
  }

 private:
  std::function<void(std::optional<Choice>)> chosen_;
};

class FakeCover final : public DesktopCoverWindows {
 public:
  bool visible = false;
  void show(std::function<void()> painted) override {
    visible = true;
    painted();
  }
  void hide() override { visible = false; }
  [[nodiscard]] std::vector<WindowID> windowIDs() const override {
    return visible ? std::vector<WindowID>{77} : std::vector<WindowID>{};
  }
};

class FakeClipboard final : public Clipboard {
 public:
  int images = 0;
  std::string last;
  bool isSilent = false;
  std::optional<Failure> refuses;
  void setImage(std::string png, std::move_only_function<void(Result<void>)> done) override {
    if (isSilent) return;
    if (refuses) return done(std::unexpected(*refuses));
    ++images;
    last = std::move(png);
    done({});
  }
  void setText(std::string, std::move_only_function<void(Result<void>)>) override {}
  void setShapes(std::string, std::move_only_function<void(Result<void>)>) override {}
  [[nodiscard]] std::string shapes() const override { return {}; }
  void handOver() override {}
};

class FakeStatusItem final : public StatusItem {
 public:
  bool isVisible = false;
  bool hasHost = true;
  int menuChanges = 0;
  void setVisible(bool visible) override { isVisible = visible; }
  void setMenu(std::function<std::vector<StatusMenuItem>()>, std::function<void()>) override {}
  void menuChanged() override { ++menuChanges; }
  [[nodiscard]] bool isHosted() const override { return hasHost; }
};

/// What outlives the program: the disk and the stored settings.
struct World {
  FakeFiles files;
  FakeDefaultsStore defaults;
  int launches = 0;
};

/// One run of the program in that world.
class Session {
 public:
  explicit Session(World& around) : world(around) {
    runners.setNow(FakeRunners::start + 100 * world.launches++);
    screen.connect("LEFT", {800, 600});
    screen.connect("RIGHT", {1000, 800}, 2);
    SettingsValues values;
    values.storageDirectory = "/pictures";
    settings = std::make_unique<SettingsStore>(world.defaults, values);
    library = std::make_unique<Library>(Library::Services{.files = world.files,
                                                          .trash = trash,
                                                          .clock = runners,
                                                          .main = runners.main(),
                                                          .persist = runners.runner("persist"),
                                                          .deletions = runners.runner("trash"),
                                                          .moves = runners.runner("moves")},
                                        LibraryPaths{"/data", "/cache"});
    store = &library->store();
    deletion = &library->deletion();
    const auto clock = std::shared_ptr<const Clock>(&runners, [](const Clock*) {});
    const auto files = std::shared_ptr<Files>(&world.files, [](Files*) {});
    const auto pictures = std::shared_ptr<const ImageCodec>(&codec, [](const ImageCodec*) {});
    captures.emplace(StillCaptures::Services{.main = runners.main(),
                                             .staging = runners.runner("staging"),
                                             .filing = runners.runner("filing"),
                                             .clock = clock,
                                             .files = files,
                                             .codec = pictures,
                                             .screen = screen,
                                             .windows = screen,
                                             .library = *library,
                                             .settings = *settings,
                                             .defaultCaptures = "/home/captures",
                                             .hotKeys = &keys,
                                             .countdown = countdown,
                                             .desktopCover = cover,
                                             .overlay = [this] { return &overlay; }});
    copying.emplace(CaptureCopying::Services{
        .main = runners.main(),
        .work = runners.runner("pictures"),
        .files = files,
        .codec = pictures,
        .library = *library,
        .alerts = alerts,
        .clipboard = [this]() -> Clipboard* { return clipboard.get(); },
        .draw = [](const EditorDocument& document, const Image&, auto, const auto&)
            -> Result<std::string> { return fmt::format("{} drawn", document.shapes.size()); },
        .isWholePicture = [](const PictureBytes& bytes) { return bytes.read(0, 4) == "png "; }});
    app = std::make_unique<AppCoordinator>(
        AppCoordinator::Services{.main = runners.main(),
                                 .captures = *captures,
                                 .copying = *copying,
                                 .screen = screen,
                                 .alerts = alerts,
                                 .library = *library,
                                 .settings = *settings,
                                 .hotKeys = &keys,
                                 .statusItem = &icon,
                                 .cue = [this](const CaptureCue& cue) { cues.push_back(cue); },
                                 .relaunch = [] { return false; },
                                 .terminate = [this] { terminated = true; }});
  }

  void launch() {
    library->open();
    runners.run();
    captures->recoverStaged([this](int count) { recovered = count; });
    runners.run();
  }

  void begin(StillCaptureCommand command) {
    replies.emplace_back();
    app->capture(std::move(command), [this, i = replies.size() - 1](CaptureReply reply) {
      replies[i] = std::move(reply);
    });
    runners.run();
  }

  [[nodiscard]] const CaptureOutcome::Saved* saved(std::size_t i) const {
    if (!replies.at(i)) return nullptr;
    const auto* outcome = std::get_if<CaptureOutcome>(&*replies[i]);
    return outcome == nullptr ? nullptr : std::get_if<CaptureOutcome::Saved>(&outcome->value);
  }

  /// How reply `i` would read.
  [[nodiscard]] std::string words(std::size_t i) const {
    if (!replies.at(i)) return "(no answer)";
    if (const auto* refused = std::get_if<CaptureRefusal>(&*replies[i])) return sentence(*refused);
    const auto& value = std::get<CaptureOutcome>(*replies[i]).value;
    if (const auto* failure = std::get_if<CaptureFailure>(&value)) return sentence(*failure);
    if (const auto* done = std::get_if<CaptureOutcome::Saved>(&value)) {
      std::string text = "saved " + done->entry->path;
      for (const std::string& remark : remarksOn(*done)) text += "\n" + remark;
      return text;
    }
    return "cancelled";
  }

  World& world;
  FakeRunners runners;
  FakeScreen screen{runners.main()};
  FakeAlerts alerts;
  FakeImageCodec codec;
  FakeHotKeys keys{runners.main()};
  FakeOverlay overlay;
  std::shared_ptr<FakeCountdown> countdown = std::make_shared<FakeCountdown>();
  std::shared_ptr<FakeCover> cover = std::make_shared<FakeCover>();
  std::unique_ptr<SettingsStore> settings;
  FakeTrash trash{world.files};
  std::unique_ptr<Library> library;
  HistoryStore* store = nullptr;
  HistoryDeletion* deletion = nullptr;
  std::unique_ptr<FakeClipboard> clipboard = std::make_unique<FakeClipboard>();
  FakeStatusItem icon;
  std::optional<StillCaptures> captures;
  std::optional<CaptureCopying> copying;
  std::unique_ptr<AppCoordinator> app;
  std::vector<std::optional<CaptureReply>> replies;
  std::optional<int> recovered;
  bool terminated = false;
  std::vector<CaptureCue> cues;
};

WindowSnapshot window(WindowID id, const std::string& owner, PointRect frame) {
  return {.windowID = id,
          .ownerPID = 5,
          .ownerName = owner,
          .applicationID = owner + ".desktop",
          .title = owner + " title",
          .frame = frame};
}

class AppCoordinatorTest : public testing::Test {
 protected:
  AppCoordinatorTest() {
    world.files.folders.insert({"/pictures"});
    run = std::make_unique<Session>(world);
    run->launch();
  }
  void restart() {
    run.reset();
    run = std::make_unique<Session>(world);
    run->launch();
  }
  [[nodiscard]] std::vector<std::string> stagedNames() const {
    return world.files.names("/data/Staged Captures");
  }

  World world;
  std::unique_ptr<Session> run;
};

TEST_F(AppCoordinatorTest, ADisplayIsFiledUnderItsTimeWithScaleAndApplication) {
  run->screen.open = {window(1, "Editor", {100, 100, 400, 300}),
                      window(2, "Browser", {850, 0, 400, 400})};
  ASSERT_TRUE(run->store->addCollection({.id = "c1", .name = "Trip"}).has_value());
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
  EXPECT_EQ(run->store->find(entry.id)->path, entry.path);
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

TEST_F(AppCoordinatorTest, ACrashBetweenAnyTwoChangesFilesTheCaptureOnce) {
  struct Crash {};
  for (const ExportFormat format : {ExportFormat::png, ExportFormat::webp}) {
    for (const bool attributes : {true, false}) {
      for (int change = 1;; ++change) {
        SCOPED_TRACE(fmt::format("{} {} change {}", nameOf(format), attributes, change));
        world = World{};
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

        const EntryList& entries = run->store->entries();
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

TEST_F(AppCoordinatorTest, SweepsThatOverlapAreAllAnsweredAndFileAllOnce) {
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
  const Observation middle = run->store->observe([&](const HistoryChange& change) {
    if (!change.added.empty() && run->store->entries().size() == 1) sweep();
  });
  run->runners.run();
  EXPECT_EQ(answers, 3);
  EXPECT_EQ(filed, 5);
  EXPECT_EQ(run->store->entries().size(), 5U);
  EXPECT_THAT(stagedNames(), IsEmpty());
}

TEST_F(AppCoordinatorTest, ACaptureThatAnotherProcessFilesIsSavedOnceEvenIfThatOneIsKilled) {
  struct Killed {};
  for (int end = 1, isKilled = 1; isKilled != 0; ++end) {
    SCOPED_TRACE(end);
    ASSERT_LT(end, 40);
    isKilled = 0;
    world = World{};
    world.files.folders.insert({"/pictures"});
    restart();
    Session waiting(world);
    waiting.library->open();
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
    ASSERT_EQ(waiting.store->entries().size(), 1U);
    EXPECT_EQ(waiting.words(0), "saved " + waiting.store->entries()[0]->path);
    EXPECT_EQ(world.files.names("/pictures").size(), 1U);
    EXPECT_THAT(stagedNames(), IsEmpty());
  }
}

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
  EXPECT_EQ(run->store->entries().size(), 1U);

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
    run->library->relocation().relocate(
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

TEST_F(AppCoordinatorTest, AStuckServiceIsGivenUpAndItsLateAnswerDiscarded) {
  run->begin({.kind = Kind::display});
  run->screen.isSilent = true;
  run->begin({.kind = Kind::display});
  run->runners.advance(20s);
  EXPECT_EQ(run->words(1),
            "Couldn't capture the screen: the screen capture service didn't respond in time.");
  run->screen.answerAll();
  run->runners.advance(5s);
  EXPECT_EQ(run->store->entries().size(), 1U);
  EXPECT_THAT(stagedNames(), IsEmpty());

  run->screen.grabFails = Failure{FailureKind::unreachable, "the display server went away"};
  run->begin({.kind = Kind::display});
  EXPECT_EQ(run->words(2), "Couldn't capture the screen: the display server went away.");
  run->screen.grabFails = Failure{FailureKind::denied, ""};
  run->begin({.kind = Kind::display});
  EXPECT_THAT(run->words(3), HasSubstr("isn't allowed to capture the screen"));
  EXPECT_FALSE(run->app->arbiter().refusal());
}

TEST_F(AppCoordinatorTest, AnAreaIsCutFromTheFrozenScreenAndRemembered) {
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
  EXPECT_EQ(run->store->entries().size(), 2U);

  run->begin({.kind = Kind::area});
  run->overlay.choose(std::nullopt);
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
  EXPECT_FALSE(run->app->arbiter().refusal());
}

TEST_F(AppCoordinatorTest, OnlyAnAreaThatWasTakenIsThePreviousArea) {
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

TEST_F(AppCoordinatorTest, AllDisplaysAreOnePictureOfTheApplicationOnTheMainOne) {
  run->screen.open = {window(2, "Browser", {850, 0, 400, 400}),
                      window(1, "Editor", {100, 100, 600, 400})};
  run->begin({.kind = Kind::display, .allDisplays = true});
  ASSERT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_EQ(run->saved(0)->entry->pixelWidth, 1800);
  EXPECT_EQ(run->saved(0)->entry->sourceApp->name, "Editor");
  EXPECT_FALSE(run->settings->values().rememberedRegion);
}

TEST_F(AppCoordinatorTest, ACaptureIsCalledOffOnItsWayToTheOverlayToo) {
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

TEST_F(AppCoordinatorTest, TheSelfTimerCountsDownAndEscapeCallsItOff) {
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
}

TEST_F(AppCoordinatorTest, TroubleWithTheDiskLosesNothing) {
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

TEST_F(AppCoordinatorTest, AnIndexOfANewerBuildIsLeftAloneAndTheCaptureIsFiledLater) {
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
  ASSERT_EQ(run->store->entries().size(), 1U);
  EXPECT_EQ(run->store->entries()[0]->path, path);
  EXPECT_THAT(world.files.names("/pictures"), testing::SizeIs(1));
}

TEST_F(AppCoordinatorTest, AgentsTakeTheSamePath) {
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
  EXPECT_NE(run->store->find(filed), nullptr);
  EXPECT_EQ(run->words(0), "Another capture is running. Finish or cancel it first.");
  EXPECT_EQ(run->store->entries().size(), 1U);
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
  const auto shortcutOf = [this](const std::string& label) {
    const std::vector<StatusMenuItem> menu = run->app->statusMenu();
    return std::ranges::find(menu, label, &StatusMenuItem::label)->shortcut;
  };
  run->runners.advance(20s);
  EXPECT_THAT(run->alerts.notices,
              ElementsAre(testing::_,
                          "Keys that don't work: Another program holds Alt+Print. It "
                          "works once that program lets go. For another key, as here: "
                          "vantorel settings set windowHotKey Ctrl+Shift+1"));
  EXPECT_EQ(shortcutOf("Capture Window"), "");
  EXPECT_EQ(shortcutOf("Capture Main Display"), "Shift+Print");
  std::string said = "nothing";
  run->app->keys()->whenKnown("windowHotKey",
                              [&](const std::string& sentence) { said = sentence; });
  EXPECT_THAT(said, HasSubstr("Another program holds Alt+Print."));
  run->keys.taken.clear();
  run->runners.advance(5s);
  EXPECT_EQ(shortcutOf("Capture Window"), "Alt+Print");
  run->runners.advance(1s);
  EXPECT_THAT(run->alerts.withdrawn, testing::Contains("Keys that don't work"));
  EXPECT_THAT(run->settings->values().filingUnfinishedAtQuit, IsEmpty());

  const HotKeySpec display = *run->settings->values().fullscreenHotKey;
  EXPECT_TRUE(run->keys.press(display));
  run->runners.run();
  EXPECT_EQ(run->store->entries().size(), 1U);
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
  run->screen.open = {window(1, "Editor", {100, 100, 400, 300})};
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
  const std::string last = run->store->newestFirst().at(9)->path;
  run->begin({.kind = Kind::display});
  menu.items[9].perform();
  run->runners.run();
  EXPECT_EQ(run->clipboard->last, world.files.text(last));
}

TEST_F(AppCoordinatorTest, WhatIsCopiedIsWhatIsShown) {
  run->begin({.kind = Kind::display});
  const EntryPointer entry = run->store->entries().at(0);
  const auto copied = [this] {
    run->clipboard->last = "(nothing)";
    run->app->copyRecent(1);
    run->runners.run();
    return run->clipboard->last;
  };
  EXPECT_EQ(copied(), world.files.text(entry->path));
  ASSERT_TRUE(run->store->update(entry->id, [](ScreenshotEntry& changed) {
    changed.shapes = {Shape{.type = ShapeType::redact}};
  }));
  EXPECT_EQ(copied(), "1 drawn");
  auto unread = json::fromText<ScreenshotEntry>(R"({"id":"x","capturedAt":1,"path":")" +
                                                entry->path + R"(","shapes":[{"type":"veil"}]})");
  ASSERT_TRUE(run->store->update(
      entry->id, [&](ScreenshotEntry& changed) { changed.unreadShapes = unread->unreadShapes; }));
  EXPECT_EQ(copied(), "(nothing)");
  EXPECT_THAT(run->alerts.notices.back(), HasSubstr("annotations that this version can't read"));
  ASSERT_TRUE(run->store->update(entry->id, [](ScreenshotEntry& changed) {
    changed.shapes.clear();
    changed.unreadShapes = {};
  }));
  world.files.put(entry->path, "junk");
  EXPECT_EQ(copied(), "(nothing)");
  EXPECT_THAT(run->alerts.notices.back(),
              HasSubstr("Copy failed: the screenshot couldn't be read"));
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

TEST_F(AppCoordinatorTest, TheMenuUndoesTheLastDeletion) {
  run->begin({.kind = Kind::display});
  const EntryPointer entry = run->store->entries().at(0);
  const auto undo = [this] {
    const std::vector<StatusMenuItem> menu = run->app->statusMenu();
    return *std::ranges::find(menu, "Undo Recent Delete", &StatusMenuItem::label);
  };
  EXPECT_FALSE(undo().isEnabled);
  run->deletion->trash({entry->id}, HistoryDeletion::Undo::offered, [](const auto&) {});
  run->runners.run();
  ASSERT_TRUE(undo().isEnabled);
  run->trash.failing[entry->path] = FailureKind::noSpace;
  undo().perform();
  run->runners.run();
  EXPECT_THAT(run->alerts.notices, ElementsAre(HasSubstr("restore from Trash failed: ")));
  run->trash.failing.clear();
  undo().perform();
  run->runners.run();
  EXPECT_NE(run->store->find(entry->id), nullptr);
  EXPECT_FALSE(undo().isEnabled);
  run->app->perform(*findDesktopCommand("UndoRecentDelete"));
  EXPECT_THAT(run->alerts.notices.back(), HasSubstr("Nothing to undo: "));
}

}  // namespace
}  // namespace vantorel
