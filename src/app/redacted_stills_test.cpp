#include "app/coordinator_session.hpp"
#include "app/still_captures.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* originals = "/data/Redacted Originals";

Shape redactionAt(double x) {
  Shape shape;
  shape.id = "r1";
  shape.type = ShapeType::redact;
  shape.color = "#000000";
  shape.x1 = x;
  shape.x2 = shape.y2 = x + 10;
  return shape;
}

/// In these tests a covered picture is told by its size: the raw one of the display is larger.
CaptureRedaction covered(const Image& capture) {
  return {CaptureRedaction::Baked{capture.cropped({0, 0, 50, 40}), {redactionAt(5)}}};
}

class RedactedStillsTest : public CoordinatorTest {
 protected:
  void start(const std::function<CaptureRedaction(const Image&)>& redaction) {
    run->settings->set(&SettingsValues::smartRedactAfterCapture, true);
    run->redaction = redaction;
  }
  [[nodiscard]] PixelSize sizeOf(const std::string& path) {
    return run->codec.pixelSize(world.files.disk.at(path)->bytes).value();
  }
};

TEST_F(RedactedStillsTest, WhatIsFiledCopiedAndShownIsCoveredAndTheOriginalIsItsOwnersAlone) {
  start(covered);
  run->settings->set(&SettingsValues::copyToClipboardAfterCapture, true);
  std::vector<PixelSize> shown;
  run->app->onSaved = [&](const CaptureOutcome::Saved& saved) {
    shown.push_back(saved.picture.size());
  };
  run->begin({.kind = Kind::display, .display = "uuid-RIGHT"});
  ASSERT_NE(run->saved(0), nullptr) << run->words(0);
  const ScreenshotEntry& entry = *run->saved(0)->entry;
  EXPECT_EQ(sizeOf(entry.path), (PixelSize{50, 40}));
  EXPECT_EQ(entry.pixelWidth, 50);
  EXPECT_THAT(shown, ElementsAre(PixelSize{50, 40}));
  EXPECT_EQ(run->codec.pixelSize(run->clipboard->last).value(), (PixelSize{50, 40}));
  EXPECT_EQ(entry.originalPath, fmt::format("{}/{}.png", originals, entry.id));
  EXPECT_EQ(sizeOf(*entry.originalPath), (PixelSize{1000, 800}));
  EXPECT_EQ(world.files.disk.at(*entry.originalPath)->status.mode & 077U, 0U);
  ASSERT_TRUE(entry.autoRedactions);
  EXPECT_THAT(*entry.autoRedactions, ElementsAre(redactionAt(5)));
  EXPECT_THAT(world.files.names(originals), ElementsAre(entry.id + ".png"));
  EXPECT_THAT(stagedNames(), IsEmpty());
  EXPECT_EQ(run->saved(0)->covered, 1U);
}

TEST_F(RedactedStillsTest, WhatIsCleanIsFiledAsItIsAndSaysWhoCouldNotLook) {
  start([](const Image&) {
    return CaptureRedaction{CaptureRedaction::Clean{}, VisualDetectors::faces};
  });
  run->begin({.kind = Kind::display, .display = "uuid-RIGHT"});
  ASSERT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_EQ(sizeOf(run->saved(0)->entry->path), (PixelSize{1000, 800}));
  EXPECT_FALSE(run->saved(0)->entry->originalPath);
  EXPECT_THAT(world.files.names(originals), IsEmpty());
  EXPECT_THAT(run->words(0), HasSubstr("Smart Redact couldn't look for faces."));

  // Off: nobody looks.
  run->settings->set(&SettingsValues::smartRedactAfterCapture, false);
  run->begin({.kind = Kind::display});
  EXPECT_EQ(run->looked.size(), 1U);
}

TEST_F(RedactedStillsTest, TheNextCaptureIsTakenWhileOneIsLookedThroughAndTheyAreFiledInTurn) {
  start(covered);
  run->settings->set(&SettingsValues::copyToClipboardAfterCapture, true);
  run->app->startResident();
  run->isLooking = true;
  StillCaptureCommand display{.kind = Kind::display, .display = "uuid-RIGHT"};
  display.isAnsweredAtDesktop = true;
  run->begin(display);
  EXPECT_EQ(run->cues.size(), 1U) << "it is taken, and seen to be";
  EXPECT_FALSE(run->app->arbiter().refusal());
  display.display = "uuid-LEFT";
  run->begin(display);
  run->begin({.kind = Kind::area});
  ASSERT_TRUE(run->overlay.request) << run->words(2);
  EXPECT_EQ(run->looked.size(), 1U) << "one after the other";
  EXPECT_EQ(run->app->statusMenu().front().label, "Scanning for sensitive text in 2 captures");
  EXPECT_EQ(run->icon.mark, StatusMark::filing);

  const auto nothingPublished = [&](std::size_t filed) {
    EXPECT_EQ(run->store.entries().size(), filed);
    EXPECT_EQ(world.files.names("/pictures").size(), filed);
    EXPECT_EQ(run->clipboard->images, static_cast<int>(filed));
  };
  nothingPublished(0);
  const auto lookNow = [&] {
    std::exchange(run->looking, nullptr)();
    run->runners.run();
  };
  lookNow();
  nothingPublished(1);
  EXPECT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_EQ(run->words(1), "(no answer)");
  EXPECT_TRUE(run->overlay.request) << "whoever chooses an area is not disturbed";

  // Asked to quit, the program waits for it.
  run->app->quit();
  run->runners.run();
  EXPECT_FALSE(run->terminated);
  EXPECT_EQ(run->words(2), "cancelled");
  lookNow();
  EXPECT_NE(run->saved(1), nullptr) << run->words(1);
  nothingPublished(2);
  for (const EntryPointer& entry : run->store.entries()) EXPECT_EQ(entry->pixelWidth, 50);
  EXPECT_LT(run->saved(0)->entry->capturedAt, run->saved(1)->entry->capturedAt + 1);
  EXPECT_EQ(run->cues.size(), 2U) << "once each";
  EXPECT_TRUE(run->terminated);
  EXPECT_THAT(stagedNames(), IsEmpty());
}

TEST_F(RedactedStillsTest, WhatIsSwitchedOnWhileAnAreaIsChosenIsObeyed) {
  start(covered);
  run->settings->set(&SettingsValues::smartRedactAfterCapture, false);
  run->begin({.kind = Kind::area});
  run->settings->set(&SettingsValues::smartRedactAfterCapture, true);
  run->overlay.choose({{RegionTarget{"RIGHT", {0, 0, 300, 200}}}});
  run->runners.run();
  ASSERT_NE(run->saved(0), nullptr) << run->words(0);
  EXPECT_EQ(sizeOf(run->saved(0)->entry->path), (PixelSize{50, 40}));
}

TEST_F(RedactedStillsTest, OneThatFailsHoldsUpNoOther) {
  start([](const Image& capture) {
    return capture.width() == 1000 ? CaptureRedaction{CaptureRedaction::Failed{"no"}}
                                   : covered(capture);
  });
  run->isLooking = true;
  run->begin({.kind = Kind::display, .display = "uuid-RIGHT"});
  run->begin({.kind = Kind::display, .display = "uuid-LEFT"});
  for (int i = 0; i < 2; ++i) {
    std::exchange(run->looking, nullptr)();
    run->runners.run();
  }
  EXPECT_EQ(run->saved(0), nullptr);
  ASSERT_NE(run->saved(1), nullptr) << run->words(1);
  EXPECT_EQ(stagedNames().size(), 1U);
  EXPECT_EQ(run->app->redactions().underWay(), 0U);
}

TEST_F(RedactedStillsTest, WhatCannotBeLookedThroughStaysPrivateAndIsTriedAgain) {
  start([](const Image&) {
    return CaptureRedaction{CaptureRedaction::Failed{"Smart Redact couldn't look through it"}};
  });
  run->settings->set(&SettingsValues::copyToClipboardAfterCapture, true);
  run->begin({.kind = Kind::display, .display = "uuid-RIGHT"});
  EXPECT_THAT(run->words(0), AllOf(HasSubstr("couldn't look through it"), HasSubstr("private")));
  EXPECT_THAT(run->store.entries(), IsEmpty());
  EXPECT_THAT(world.files.names("/pictures"), IsEmpty());
  EXPECT_EQ(run->clipboard->images, 0);
  EXPECT_EQ(stagedNames().size(), 1U);
  run->captures->recoverStaged([](int) {});
  run->runners.run();
  EXPECT_EQ(run->looked.size(), 1U) << "it is not tried again and again in one run";

  // Switched off meanwhile, it is looked through all the same.
  run->settings->set(&SettingsValues::smartRedactAfterCapture, false);
  run.reset();
  run = std::make_unique<CoordinatorSession>(world);
  run->redaction = covered;
  run->launch();
  ASSERT_EQ(run->store.entries().size(), 1U);
  EXPECT_EQ(sizeOf(run->store.entries()[0]->path), (PixelSize{50, 40}));
  EXPECT_EQ(sizeOf(*run->store.entries()[0]->originalPath), (PixelSize{1000, 800}));
  EXPECT_THAT(stagedNames(), IsEmpty());
}

TEST_F(RedactedStillsTest, ACrashBetweenAnyTwoChangesPublishesNothingRawAndLosesNothing) {
  struct Crash {};
  for (const bool attributes : {true, false}) {
    for (int change = 1;; ++change) {
      SCOPED_TRACE(fmt::format("{} change {}", attributes, change));
      world = CoordinatorWorld{};
      world.files.keepsAttributes = attributes;
      world.files.folders.insert({"/pictures"});
      restart();
      start(covered);
      const int before = world.files.changes;
      bool crashed = false;
      world.files.beforeChange = [&](int number) {
        if (number - before == change) throw Crash{};
      };
      try {
        run->begin({.kind = Kind::display, .display = "RIGHT"});
      } catch (const Crash&) {
        crashed = true;
      }
      world.files.beforeChange = nullptr;
      const auto nothingRaw = [&] {
        for (const std::string& name : world.files.names("/pictures")) {
          EXPECT_NE(sizeOf("/pictures/" + name), (PixelSize{1000, 800})) << name;
        }
        for (const EntryPointer& entry : run->store.entries()) {
          EXPECT_EQ(entry->pixelWidth, 50);
        }
      };
      nothingRaw();
      const bool wasStaged = std::ranges::any_of(
          stagedNames(), [](const std::string& name) { return name.ends_with(".png"); });
      const bool wasFiled = !world.files.names("/pictures").empty();
      run->runners.advance(1s);
      for (int launch = 0; launch < 2; ++launch) {
        run.reset();
        run = std::make_unique<CoordinatorSession>(world);
        run->redaction = covered;
        run->launch();
        nothingRaw();
      }
      const EntryList& entries = run->store.entries();
      ASSERT_EQ(entries.size(), wasStaged || wasFiled ? 1U : 0U);
      EXPECT_THAT(stagedNames(), IsEmpty());
      EXPECT_EQ(world.files.names("/pictures").size(), entries.size());
      if (!entries.empty()) {
        ASSERT_TRUE(entries[0]->originalPath);
        EXPECT_EQ(sizeOf(*entries[0]->originalPath), (PixelSize{1000, 800}));
        EXPECT_TRUE(entries[0]->autoRedactions && entries[0]->autoRedactions->size() == 1);
      }
      if (!crashed) break;
      ASSERT_LT(change, 80);
    }
  }
}

}  // namespace
}  // namespace vantorel
