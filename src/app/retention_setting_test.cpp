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
  HistoryRetention retention{store, deletion, runners, runners.main()};
  RetentionSetting setting{{store, retention, settings, alerts, runners}};
};

TEST_F(RetentionSettingTest, WhatWouldGoAtOnceGoesOnlyWhenTheUserAgrees) {
  setting.follow();
  choose(RetentionPolicy::quarter);
  EXPECT_FALSE(alerts.shown.has_value()) << "nothing is that old";

  choose(RetentionPolicy::month);
  ASSERT_TRUE(alerts.shown.has_value());
  EXPECT_EQ(alerts.shown->message, "Move 1 capture older than 30 days to the Trash?");
  EXPECT_THAT(alerts.shown->informative, HasSubstr("leave History for good"));
  EXPECT_TRUE(alerts.shown->buttons.back().isDefault) << "Return and a missing display keep them";
  runners.advance(std::chrono::hours(2));
  EXPECT_EQ(store.entries().size(), 3U);
  ASSERT_TRUE(alerts.press("Cancel"));
  runners.run();
  EXPECT_EQ(settings.values().retentionDays, RetentionPolicy::quarter);
  EXPECT_EQ(store.entries().size(), 3U);

  choose(RetentionPolicy::month);
  choose(RetentionPolicy::quarter);  // while the question is up
  EXPECT_FALSE(alerts.shown.has_value()) << "nothing is left to ask";
  choose(RetentionPolicy::month);
  choose(RetentionPolicy::week);
  ASSERT_TRUE(alerts.press("Move to Trash"));
  runners.run();
  EXPECT_EQ(store.entries().size(), 1U);
  EXPECT_EQ(store.entries()[0]->id, "2");
  runners.advance(std::chrono::hours(24 * 6));
  EXPECT_TRUE(store.entries().empty()) << "later ones go without a question";
}

TEST_F(RetentionSettingTest, WhatWasAgreedToBeforeTheStartNeedsNoQuestion) {
  settings.set(&SettingsValues::retentionDays, RetentionPolicy::week);
  setting.follow();
  runners.run();
  EXPECT_FALSE(alerts.shown.has_value());
  EXPECT_EQ(store.entries().size(), 1U);
}

}  // namespace
}  // namespace vantorel
