#include "app/retention_setting.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/testing/fake_alerts.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_trash.hpp"

namespace vantorel {
namespace {

using testing::HasSubstr;

class RetentionSettingTest : public testing::Test {
 protected:
  RetentionSettingTest() {
    store.load([] {});
    runners.run();
    for (const int days : {2, 20, 50}) {
      ScreenshotEntry entry;
      entry.id = std::to_string(days);
      entry.capturedAt = runners.now() - days * 86400.0;
      entry.path = "/captures/" + entry.id + ".png";
      files.put(entry.path, "pixels");
      EXPECT_TRUE(store.add(entry).has_value());
    }
  }

  void choose(RetentionPolicy policy) {
    settings.set(&SettingsValues::retentionDays, policy);
    runners.run();
  }

  FakeFiles files;
  FakeRunners runners;
  FakeTrash trash{files};
  FakeDefaultsStore defaults;
  FakeAlerts alerts;
  SettingsStore settings{defaults, SettingsValues{}};
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0},
                     LibraryPaths{"/data", "/caches"}};
  HistoryDeletion deletion{{store, files, trash, runners, runners.main(), runners.runner("work")}};
  std::optional<HistoryRetention> retention;
  std::optional<RetentionSetting> setting;

  /// The program in the tray, begun anew. A question that was open is gone with the old one.
  void start() {
    setting.reset();
    alerts.shown.reset();
    retention.emplace(HistoryRetention::Services{store, deletion, files, runners, runners.main(),
                                                 runners.runner("library")});
    setting.emplace(RetentionSetting::Services{*retention, settings, alerts});
    setting->follow();
    runners.run();
  }
};

TEST_F(RetentionSettingTest, WhatWouldGoAtOnceGoesOnlyWhenTheUserAgrees) {
  start();
  choose(RetentionPolicy::quarter);
  EXPECT_FALSE(alerts.shown.has_value()) << "nothing is that old";
  EXPECT_EQ(setting->remark(), "");

  choose(RetentionPolicy::month);
  ASSERT_TRUE(alerts.shown.has_value());
  EXPECT_TRUE(alerts.shown->takesFocus) << "it answers what the user did";
  EXPECT_EQ(alerts.shown->message, "Move 1 capture older than 30 days to the Trash?");
  EXPECT_THAT(alerts.shown->informative, HasSubstr("leave History for good"));
  EXPECT_TRUE(alerts.shown->buttons.back().isDefault) << "Return and a missing display keep them";
  runners.advance(std::chrono::hours(2));
  EXPECT_EQ(store.entries().size(), 3U);
  EXPECT_THAT(setting->remark(), HasSubstr("answered with “Move to Trash”; “Cancel” takes"));
  ASSERT_TRUE(alerts.press("Cancel"));
  runners.run();
  EXPECT_EQ(setting->remark(), "");
  EXPECT_EQ(settings.values().retentionDays, RetentionPolicy::off) << "nothing else was agreed to";
  EXPECT_EQ(store.entries().size(), 3U);

  choose(RetentionPolicy::month);
  choose(RetentionPolicy::quarter);  // while the question is up
  EXPECT_FALSE(alerts.shown.has_value()) << "nothing is left to ask";
  choose(RetentionPolicy::month);
  choose(RetentionPolicy::week);
  ASSERT_TRUE(alerts.press("Move to Trash"));
  runners.run();
  EXPECT_EQ(setting->remark(), "");
  EXPECT_EQ(store.entries().size(), 1U);
  EXPECT_EQ(store.entries()[0]->id, "2");
  runners.advance(std::chrono::hours(24 * 6));
  EXPECT_TRUE(store.entries().empty()) << "later ones go without a question";
}

TEST_F(RetentionSettingTest, AnAgeIsInForceOnceItWasAnsweredInThisLibraryAndNotBefore) {
  const auto entries = [this] { return store.entries().size(); };
  // Chosen while no program ran, then left without an answer.
  settings.set(&SettingsValues::retentionDays, RetentionPolicy::month);
  for (int run = 0; run < 2; ++run) {
    start();
    ASSERT_TRUE(alerts.shown.has_value()) << run;
    runners.advance(std::chrono::hours(5));
    EXPECT_EQ(entries(), 3U);
  }
  ASSERT_TRUE(alerts.press("Move to Trash"));
  runners.run();
  EXPECT_EQ(entries(), 2U);
  EXPECT_EQ(files.disk["/data/retention.json"]->status.mode, 0600U);

  // It holds after a start as well, and for no other age.
  runners.advance(std::chrono::hours(24 * 5));
  start();
  runners.advance(std::chrono::hours(24 * 6));
  EXPECT_FALSE(alerts.shown.has_value());
  EXPECT_EQ(entries(), 1U) << "the second one reached it";
  choose(RetentionPolicy::week);
  ASSERT_TRUE(alerts.shown.has_value());
  start();
  ASSERT_TRUE(alerts.press("Cancel"));
  runners.run();
  EXPECT_EQ(settings.values().retentionDays, RetentionPolicy::month);
  EXPECT_EQ(entries(), 1U);

  // An answer that cannot be kept moves nothing.
  choose(RetentionPolicy::week);
  files.changesFail = FailureKind::noSpace;
  ASSERT_TRUE(alerts.press("Move to Trash"));
  runners.run();
  files.changesFail.reset();
  EXPECT_EQ(entries(), 1U);
}

TEST_F(RetentionSettingTest, ALongerAgeOrNoneTakesTheYesBack) {
  for (const RetentionPolicy longer : {RetentionPolicy::off, RetentionPolicy::year}) {
    start();
    choose(RetentionPolicy::quarter);
    choose(RetentionPolicy::month);
    ASSERT_TRUE(alerts.press("Move to Trash"));
    runners.run();
    EXPECT_EQ(store.entries().size(), 2U);
    choose(longer);
    start();
    ScreenshotEntry old;
    old.id = "again";
    old.path = "/captures/again.png";
    old.capturedAt = runners.now() - 50 * 86400.0;
    files.put(old.path, "pixels");
    ASSERT_TRUE(store.add(old).has_value());
    choose(RetentionPolicy::month);
    ASSERT_TRUE(alerts.shown.has_value());
    runners.advance(std::chrono::hours(2));
    EXPECT_EQ(store.entries().size(), 3U);
    ASSERT_TRUE(alerts.press("Cancel"));
    runners.run();
    EXPECT_EQ(settings.values().retentionDays, RetentionPolicy::off);
  }
}

TEST_F(RetentionSettingTest, AClockThatIsFarAheadMovesNothingUnasked) {
  settings.set(&SettingsValues::retentionDays, RetentionPolicy::month);
  start();
  ASSERT_TRUE(alerts.press("Move to Trash"));
  runners.run();
  ASSERT_EQ(store.entries().size(), 2U);
  setting.reset();
  retention.reset();
  runners.advance(std::chrono::hours(24 * 365 * 3));
  start();
  ASSERT_TRUE(alerts.shown.has_value());
  EXPECT_EQ(alerts.shown->message, "Move 2 captures older than 30 days to the Trash?");
  ASSERT_TRUE(alerts.press("Cancel"));
  runners.advance(std::chrono::hours(24));
  EXPECT_FALSE(alerts.shown.has_value()) << "asked again in the same run";
  EXPECT_EQ(store.entries().size(), 2U);
  EXPECT_EQ(settings.values().retentionDays, RetentionPolicy::month);
  start();
  ASSERT_TRUE(alerts.press("Move to Trash"));
  runners.run();
  EXPECT_TRUE(store.entries().empty());
}

}  // namespace
}  // namespace vantorel
