#include "app/scrolling_capture.hpp"

#include <algorithm>

#include "app/coordinator_session.hpp"
#include "platform/testing/fake_frame_streams.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class FakeScrollingPanel final : public ScrollingPanel {
 public:
  std::optional<Shown> shown;
  ScrollingProgress last;
  bool hasKeyboard = false;
  void open(Shown what) override { shown = std::move(what); }
  void show(const ScrollingProgress& progress) override { last = progress; }
  void moveTo(const PixelRect& area) override { shown->area = area; }
  bool takeKeyboard() override { return hasKeyboard = true; }
  void close() override { shown.reset(); }
};

/// Rows of cells in many greys, no two stretches alike.
Image pageFrom(int top, PixelSize size) {
  MutableImage page(size, PixelFormat::bgrx);
  for (int y = 0; y < size.height; ++y) {
    auto row = page.row(y);
    for (int x = 0; x < size.width; ++x) {
      std::uint32_t cell = static_cast<std::uint32_t>((top + y) / 3 * 7919 + x / 5 * 104'729);
      cell = (cell ^ cell >> 13U) * 0x5BD1E995U;
      cell = (cell ^ cell >> 15U) * 0x2C1B3C6DU;
      const auto grey = static_cast<std::uint8_t>(cell >> 24U);
      const auto at = static_cast<std::size_t>(x) * 4;
      row[at] = row[at + 1] = row[at + 2] = grey;
    }
  }
  return std::move(page).finish();
}

class ScrollingCaptureTest : public CoordinatorTest {
 protected:
  ScrollingCaptureTest() { makeScrolling(); }
  void makeScrolling() {
    streams = std::make_unique<FakeFrameStreams>(run->runners.main(), run->runners);
    scrolling.emplace(ScrollingCapture::Services{
        .main = run->runners.main(),
        .frames = run->runners.runner("frames"),
        .disk = run->runners.runner("spool"),
        .clock = run->clock(),
        .codec = std::shared_ptr<const ImageCodec>(&run->codec, [](const ImageCodec*) {}),
        .streams = *streams,
        .screen = run->screen,
        .windows = run->screen,
        .captures = *run->captures,
        .coordinator = *run->app,
        .settings = *run->settings,
        .alerts = run->alerts,
        .panel = [this] { return &panel; }});
    run->app->scrolling = &*scrolling;
    run->app->onSaved = [this](const CaptureOutcome::Saved& saved) {
      onCards.push_back(saved.entry);
    };
  }
  ~ScrollingCaptureTest() override {
    run->app->scrolling = nullptr;
    scrolling.reset();
  }

  /// The program ends as it is, and is started again.
  void crash() {
    world.files.beforeChange = nullptr;
    run->app->scrolling = nullptr;
    scrolling.reset();
    streams.reset();
    panel.shown.reset();
    restart();
    makeScrolling();
  }
  void scrollSlowly(int first, int last, int step = 60) {
    for (int top = first; top <= last; top += step) {
      scrollTo(top);
      run->runners.advance(1s);
    }
  }
  [[nodiscard]] bool isPage(const ScreenshotEntry& entry) const {
    const Image picture = pictureOf(entry);
    const Image page = pageFrom(0, picture.size());
    for (int y = 0; y < picture.height(); ++y) {
      if (!std::ranges::equal(picture.row(y), page.row(y))) return false;
    }
    return true;
  }
  static StillCaptureCommand area(PointRect rect = {10, 20, 400, 300}) {
    return {.kind = Kind::scroll, .display = "uuid-LEFT", .rect = rect};
  }
  void begin(StillCaptureCommand command) {
    run->replies.emplace_back();
    scrolling->take(std::move(command),
                    [this, i = run->replies.size() - 1](CaptureReply reply) {
                      run->replies[i] = std::move(reply);
                    },
                    {.onWord = [this](const std::string& word) { words.push_back(word); }});
    run->runners.run();
  }
  void scrollTo(int top) {
    streams->push(pageFrom(top, streams->size));
    run->runners.run();
  }
  void scrollThrough(int last, int step = 60) {
    for (int top = 0; top <= last; top += step) scrollTo(top);
  }
  void press(const std::function<void()>& button) {
    const std::function<void()> pressed = button;
    pressed();
    run->runners.run();
  }
  [[nodiscard]] std::string lastWords() const { return run->words(run->replies.size() - 1); }
  [[nodiscard]] Image pictureOf(const ScreenshotEntry& entry) const {
    return run->codec.decode(world.files.text(entry.path)).value_or(Image());
  }
  [[nodiscard]] std::vector<std::string> menuLabels() {
    std::vector<std::string> labels;
    for (const StatusMenuItem& item : run->app->statusMenu()) labels.push_back(item.label);
    return labels;
  }
  [[nodiscard]] bool isIdle() {
    return !run->app->arbiter().refusal() && run->app->pendingArchiveWork().isEmpty() &&
           !panel.shown && streams->running() == 0 &&
           scrolling->phase() == ScrollingCapture::Phase::idle;
  }

  std::unique_ptr<FakeFrameStreams> streams;
  FakeScrollingPanel panel;
  std::optional<ScrollingCapture> scrolling;
  std::vector<EntryPointer> onCards;
  std::vector<std::string> words;
};

TEST_F(ScrollingCaptureTest, WhatIsScrolledBecomesOneTallCaptureThatIsFiledLikeEveryOther) {
  run->screen.open = {openWindow(5, "Reader", {0, 0, 700, 500})};
  StillCaptureCommand command = area();
  command.copies = true;
  begin(command);
  ASSERT_TRUE(panel.shown);
  EXPECT_EQ(panel.shown->area, (PixelRect{10, 20, 400, 300}));
  EXPECT_THAT(words, ElementsAre(HasSubstr("Ctrl-C cancels")));
  scrollThrough(600);
  EXPECT_EQ(panel.last.sight, ScrollingSight::joined);
  EXPECT_EQ(panel.last.height, 900);
  EXPECT_FALSE(panel.last.preview.isEmpty());
  EXPECT_EQ(run->app->arbiter().refusal(), CaptureRefusedBecause::activity);
  EXPECT_EQ(run->icon.mark, StatusMark::filing);

  press(panel.shown->done);
  const auto* const saved = run->saved(0);
  ASSERT_NE(saved, nullptr) << lastWords();
  EXPECT_TRUE(saved->entry->isTallCapture);
  EXPECT_EQ(saved->entry->captureScale, 1);
  EXPECT_EQ(saved->entry->sourceApp->name, "Reader");
  EXPECT_EQ(saved->shown, (PixelRect{10, 20, 400, 300}));
  EXPECT_EQ(run->clipboard->images, 1);
  EXPECT_THAT(onCards, ElementsAre(saved->entry));
  EXPECT_THAT(stagedNames(), IsEmpty());
  EXPECT_TRUE(isIdle());
  const Image picture = pictureOf(*saved->entry);
  ASSERT_EQ(picture.size(), (PixelSize{400, 900}));
  const Image page = pageFrom(0, {400, 900});
  for (int y = 0; y < 900; ++y) {
    ASSERT_TRUE(std::ranges::equal(picture.row(y), page.row(y))) << y;
  }
}

TEST_F(ScrollingCaptureTest, TheKeyBeginsOneAndPressedAgainFinishesIt) {
  run->app->perform(*findDesktopCommand("ScrollingCapture"));
  run->runners.run();
  ASSERT_TRUE(run->overlay.request);
  EXPECT_EQ(run->overlay.request->leastScrolledHeight, 240);
  // While the area is chosen the key says nothing, and neither does another capture begin.
  run->app->perform(*findDesktopCommand("ScrollingCapture"));
  run->begin({.kind = Kind::display});
  EXPECT_THAT(lastWords(), HasSubstr("Another capture is running"));
  EXPECT_THAT(run->alerts.notices, IsEmpty());
  run->overlay.choose(SelectionOverlay::Choice{RegionTarget{"LEFT", {0, 0, 400, 300}}});
  run->runners.run();
  EXPECT_FALSE(run->settings->values().rememberedRegion);
  scrollThrough(120);
  EXPECT_THAT(menuLabels(),
              testing::IsSupersetOf({"Finish Scrolling Capture", "Focus Scrolling Panel",
                                     "Cancel Scrolling Capture"}));
  run->app->perform(*findDesktopCommand("FocusScrollingPanel"));
  EXPECT_TRUE(panel.hasKeyboard);
  run->begin({.kind = Kind::display});
  EXPECT_THAT(lastWords(), HasSubstr("Another capture is running"));
  run->app->perform(*findDesktopCommand("ScrollingCapture"));
  run->runners.run();
  ASSERT_EQ(run->store.entries().size(), 1U);
  EXPECT_EQ(run->store.entries()[0]->pixelHeight, 420);
  EXPECT_EQ(run->cues.size(), 1U);
  EXPECT_TRUE(isIdle());
  EXPECT_THAT(menuLabels(), testing::Not(Contains("Finish Scrolling Capture")));
}

TEST_F(ScrollingCaptureTest, WhatWasNotScrolledIsFiledAsItIsAndWhatIsTooLowIsRefused) {
  begin(area());
  scrollTo(0);
  scrollTo(0);
  scrolling->finish();
  run->runners.run();
  ASSERT_NE(run->saved(0), nullptr);
  EXPECT_FALSE(run->saved(0)->entry->isTallCapture);
  EXPECT_EQ(run->saved(0)->entry->pixelHeight, 300);

  begin(area({0, 0, 400, 239}));
  EXPECT_THAT(lastWords(), HasSubstr("240 pixels high"));
  run->screen.open = {openWindow(5, "Reader", {0, 0, 700, 500})};
  begin({.kind = Kind::scroll, .window = 99});
  EXPECT_THAT(lastWords(), HasSubstr("No window on screen"));
  EXPECT_EQ(streams->requests.size(), 1U);
  EXPECT_TRUE(isIdle());
}

TEST_F(ScrollingCaptureTest, WhatEndsByItselfKeepsWhatWasJoined) {
  run->screen.open = {openWindow(5, "Reader", {0, 0, 400, 300})};
  begin({.kind = Kind::scroll, .window = 5});
  scrollThrough(180);
  // A window that is moved takes panel and frame along.
  run->screen.open[0].frame = {50, 60, 400, 300};
  run->runners.advance(1s);
  EXPECT_EQ(panel.shown->area, (PixelRect{50, 60, 400, 300}));
  streams->end({FailureKind::notFound, "the window was closed"});
  run->runners.run();
  ASSERT_NE(run->saved(0), nullptr) << lastWords();
  EXPECT_EQ(run->saved(0)->entry->pixelHeight, 480);
  EXPECT_THAT(lastWords(), HasSubstr("ended early: the window was closed."));

  begin({.kind = Kind::scroll, .window = 5});
  scrollThrough(60);
  streams->size = {400, 320};
  scrollTo(120);
  EXPECT_EQ(run->saved(1)->entry->pixelHeight, 360);
  EXPECT_THAT(lastWords(), HasSubstr("changed its size"));

  begin({.kind = Kind::scroll, .window = 5});
  scrollTo(0);
  streams->end({FailureKind::notFound, "the window was closed"});
  run->runners.run();
  EXPECT_EQ(run->saved(2), nullptr);
  EXPECT_THAT(lastWords(), HasSubstr("the window was closed, before anything was scrolled"));
  EXPECT_TRUE(isIdle());
}

TEST_F(ScrollingCaptureTest, WhatCannotBeSavedStaysAndKeepsTheProgramOpen) {
  begin(area());
  scrollThrough(180);
  world.files.changesFail = FailureKind::noSpace;
  press(panel.shown->done);
  EXPECT_EQ(panel.last.phase, ScrollingProgress::Phase::unsaved);
  EXPECT_THAT(panel.last.trouble, HasSubstr("Couldn't be saved: "));
  EXPECT_THAT(words, Contains(HasSubstr("Its panel can try again")));
  EXPECT_FALSE(run->replies[0]);
  run->begin({.kind = Kind::display});
  EXPECT_THAT(lastWords(), HasSubstr("Another capture is running"));

  run->app->quitUnasked();
  run->runners.run();
  EXPECT_FALSE(run->terminated);
  EXPECT_FALSE(run->app->isQuitting());
  EXPECT_THAT(run->alerts.notices,
              Contains(HasSubstr("Vantorel stayed open: your Scrolling Capture couldn't be saved, "
                                 "and quitting would lose it.")));
  // To throw it away takes a word more.
  press(panel.shown->cancel);
  ASSERT_TRUE(run->alerts.press("Keep"));

  world.files.changesFail.reset();
  press(panel.shown->done);
  ASSERT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_EQ(run->saved(0)->entry->pixelHeight, 480);
  EXPECT_EQ(scrolling->phase(), ScrollingCapture::Phase::idle);
  // The quit was not forgotten.
  EXPECT_TRUE(run->terminated);
}

TEST_F(ScrollingCaptureTest, AQuitFilesWhatWasJoinedAndNothingElse) {
  begin(area());
  scrollThrough(240);
  run->runners.hang("frames");
  run->app->quit();
  run->runners.run();
  EXPECT_FALSE(run->terminated);
  EXPECT_THAT(run->app->pendingArchiveWork().items(),
              ElementsAre(QuitFilingNote::Item::scrollingCapture));
  run->runners.resume("frames");
  run->runners.run();
  EXPECT_TRUE(run->terminated);
  ASSERT_NE(run->saved(0), nullptr);
  EXPECT_TRUE(run->saved(0)->entry->isTallCapture);
}

TEST_F(ScrollingCaptureTest, ATallOneIsNotThrownAwayUnaskedAndATimeoutFilesIt) {
  begin(area());
  scrollThrough(120);
  press(panel.shown->cancel);
  EXPECT_EQ(lastWords(), "cancelled");
  EXPECT_TRUE(isIdle());

  begin(area());
  scrollThrough(720);
  press(panel.shown->cancel);
  ASSERT_TRUE(run->alerts.shown);
  EXPECT_THAT(run->alerts.shown->informative, HasSubstr("1,020 pixels"));
  scrollTo(780);
  EXPECT_EQ(panel.last.height, 1080);
  ASSERT_TRUE(run->alerts.press("Discard"));
  run->runners.run();
  EXPECT_EQ(lastWords(), "cancelled");
  EXPECT_TRUE(run->store.entries().empty());
  EXPECT_TRUE(isIdle());

  StillCaptureCommand timed = area();
  timed.timeout = 5s;
  begin(timed);
  scrollThrough(120);
  run->runners.advance(5s);
  ASSERT_NE(run->saved(2), nullptr) << lastWords();
  // Before an area was chosen there is nothing to file.
  begin({.kind = Kind::scroll, .timeout = 5s});
  ASSERT_TRUE(run->overlay.request);
  run->runners.advance(5s);
  EXPECT_EQ(lastWords(), "cancelled");
  EXPECT_FALSE(run->overlay.request);
  EXPECT_TRUE(isIdle());
}

const Path sessions = "/data/Scrolling Sessions";

bool isIn(const Path& folder, const Path& path) {
  return path.native().starts_with(folder.native() + "/");
}

TEST_F(ScrollingCaptureTest, ACrashAtAnyMomentLosesWhatTheLastSecondJoinedAtMost) {
  struct Crash {};
  for (const bool isCancelled : {false, true}) {
    for (int change = 1, isCrashed = 1; isCrashed != 0; ++change) {
      SCOPED_TRACE(fmt::format("{} change {}", isCancelled ? "cancel" : "done", change));
      ASSERT_LT(change, 150);
      isCrashed = 0;
      world = CoordinatorWorld{};
      world.files.folders.insert({"/pictures"});
      crash();
      world.files.beforeChange = [&, from = world.files.changes](int number) {
        if (number - from == change) throw Crash{};
      };
      int kept = 0;  // rows that must not be lost
      bool isEnding = false;
      try {
        begin(area());
        for (int top = 0; top <= 240; top += 60) {
          scrollTo(top);
          run->runners.advance(1s);
          kept = top == 0 ? 0 : top + 300;
        }
        isEnding = true;
        press(isCancelled ? [this] { scrolling->callOff(); } : panel.shown->done);
      } catch (const Crash&) {
        isCrashed = 1;
      }
      crash();
      crash();
      EXPECT_EQ(world.files.names(sessions), std::vector<std::string>());
      EXPECT_THAT(stagedNames(), IsEmpty());
      const EntryList& entries = run->store.entries();
      ASSERT_LE(entries.size(), 1U);
      if (entries.empty()) {
        EXPECT_TRUE(kept == 0 || (isCancelled && isEnding));
        continue;
      }
      EXPECT_TRUE(entries[0]->isTallCapture);
      EXPECT_GE(entries[0]->pixelHeight, kept);
      EXPECT_TRUE(isPage(*entries[0]));
      EXPECT_TRUE(!isCancelled || isCrashed != 0) << "what was cancelled is there";
    }
  }
}

TEST_F(ScrollingCaptureTest, WhatACrashLeftIsWhatDoneWouldHaveFiled) {
  run->screen.open = {openWindow(5, "Reader", {0, 0, 700, 500})};
  run->settings->set(&SettingsValues::smartRedactAfterCapture, true);
  begin(area());
  scrollSlowly(0, 600);
  for (const auto& [path, file] : world.files.disk) {
    if (isIn(sessions, path)) {
      EXPECT_EQ(file->status.mode, 0600U) << path;
    }
  }
  // The session lives: whoever sweeps meanwhile leaves it alone.
  run->captures->recoverStaged([](int) {});
  run->runners.run();
  EXPECT_TRUE(run->store.entries().empty());
  crash();
  ASSERT_EQ(run->store.entries().size(), 1U);
  const ScreenshotEntry& entry = *run->store.entries()[0];
  EXPECT_TRUE(entry.isTallCapture);
  EXPECT_EQ(entry.pixelHeight, 900);
  EXPECT_EQ(entry.captureScale, 1);
  EXPECT_EQ(entry.sourceApp->name, "Reader");
  EXPECT_THAT(run->looked, ElementsAre(PixelSize{400, 900}));
  EXPECT_EQ(world.files.names(sessions), std::vector<std::string>());
}

TEST_F(ScrollingCaptureTest, ADiskThatIsFullOrSlowHoldsNothingUpAndIsCaughtUpWith) {
  begin(area());
  scrollSlowly(0, 120);
  world.files.changesFail = FailureKind::noSpace;
  scrollSlowly(180, 300);
  EXPECT_THAT(words, Contains(HasSubstr("can't be kept on disk meanwhile")));
  world.files.changesFail.reset();
  run->runners.advance(5s);
  run->runners.hang("spool");
  scrollSlowly(360, 2400);
  EXPECT_EQ(panel.last.height, 2700);
  run->runners.resume("spool");
  run->runners.advance(2s);
  crash();
  ASSERT_EQ(run->store.entries().size(), 1U);
  EXPECT_EQ(run->store.entries()[0]->pixelHeight, 2700);
  EXPECT_TRUE(isPage(*run->store.entries()[0]));
}

TEST_F(ScrollingCaptureTest, OfADamagedSessionWhatCanBeReadIsFiled) {
  const auto damage = [&](const std::function<void(const Path&, FakeFiles::File&)>& change) {
    world = CoordinatorWorld{};
    world.files.folders.insert({"/pictures"});
    crash();
    begin(area());
    scrollSlowly(0, 900);
    for (const auto& [path, file] : world.files.disk) {
      if (isIn(sessions, path)) change(path, *file);
    }
    crash();
  };
  const auto isIndex = [](const Path& path) { return path.extension() == ".json"; };
  // Without its index.
  damage([&](const Path& path, FakeFiles::File& file) {
    if (isIndex(path)) file.bytes.resize(file.bytes.size() / 2);
  });
  ASSERT_EQ(run->store.entries().size(), 1U);
  EXPECT_EQ(run->store.entries()[0]->pixelHeight, 1200);
  EXPECT_TRUE(isPage(*run->store.entries()[0]));
  // Without the strip at its top, and with one that is cut off in the middle.
  damage([&](const Path& path, FakeFiles::File& file) {
    const std::string name = path.filename();
    if (name.starts_with("rows_0_")) file.bytes.clear();
    if (name.starts_with("rows_512_")) file.bytes.resize(file.bytes.size() / 2);
  });
  ASSERT_EQ(run->store.entries().size(), 1U);
  EXPECT_EQ(run->store.entries()[0]->pixelHeight, 1200 - 256);
  // An index that says what can't be: the strips count.
  damage([&](const Path& path, FakeFiles::File& file) {
    if (!isIndex(path)) return;
    const std::size_t at = file.bytes.find("\"bottom\"");
    file.bytes.insert(file.bytes.find("1200", at), "99");
  });
  ASSERT_EQ(run->store.entries().size(), 1U);
  EXPECT_EQ(run->store.entries()[0]->pixelHeight, 1200);
  // Nothing of it: it is put aside, and nothing is filed.
  damage([&](const Path&, FakeFiles::File& file) { file.bytes = "?"; });
  EXPECT_TRUE(run->store.entries().empty());
  EXPECT_THAT(world.files.folders,
              Contains(testing::ResultOf([](const Path& path) { return path.extension(); },
                                         Path(".unreadable"))));
  // One of a newer program waits for that.
  damage([&](const Path& path, FakeFiles::File& file) {
    if (isIndex(path)) file.bytes.replace(file.bytes.find("\"v\""), 5, "\"v\":9");
  });
  EXPECT_TRUE(run->store.entries().empty());
  EXPECT_TRUE(std::ranges::any_of(world.files.disk,
                                  [&](const auto& one) { return isIn(sessions, one.first); }));
}

}  // namespace
}  // namespace vantorel
