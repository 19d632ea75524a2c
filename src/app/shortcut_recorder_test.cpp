#include "app/shortcut_recorder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/records/hot_key_text.hpp"
#include "app/settings_session.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;

HotKeySpec key(std::string_view text) { return *hotKeyFromText(text); }

class FakeKeyHolders final : public KeyHolders {
 public:
  std::map<std::string, std::string> holders;
  int asked = 0;
  void whoHolds(const HotKeySpec& spec, std::function<void(std::string)> known) override {
    ++asked;
    known_.emplace_back(holders[displayText(spec)], std::move(known));
  }
  void answer() {
    for (auto& [holder, known] : std::exchange(known_, {})) known(holder);
  }

 private:
  std::vector<std::pair<std::string, std::function<void(std::string)>>> known_;
};

class ShortcutRecorderTest : public testing::Test, protected SettingsSession {
 protected:
  ShortcutRecorderTest() { start(); }

  [[nodiscard]] ShortcutRecorder::Field field(std::string_view setting) const {
    return recorder.field(setting);
  }

  FakeKeyHolders holders;
  ShortcutRecorder recorder{{.settings = *settings, .keys = &*keys, .holders = &holders}};
};

TEST_F(ShortcutRecorderTest, RecordsAKeyThatWorksAtOnce) {
  EXPECT_THAT(field("captureHotKey").caps, ElementsAre("Print"));
  EXPECT_EQ(field("timedCaptureHotKey").prompt, "Record shortcut");

  recorder.listen("captureHotKey");
  EXPECT_EQ(field("captureHotKey").prompt, "Press the keys…");
  recorder.hold(HotKeySpec::control | HotKeySpec::shift);
  EXPECT_THAT(field("captureHotKey").caps, ElementsAre("Ctrl", "Shift"));
  recorder.press(key("Ctrl+Shift+7"));
  EXPECT_FALSE(field("captureHotKey").isListening);
  EXPECT_THAT(field("captureHotKey").caps, ElementsAre("Ctrl", "Shift", "7"));
  runners.run();
  EXPECT_TRUE(hotKeys.press(key("Ctrl+Shift+7")));
  EXPECT_FALSE(hotKeys.press(key("Print")));
  EXPECT_THAT(performed, ElementsAre("CaptureArea"));

  recorder.listen("captureHotKey");
  recorder.press(key("Esc"));
  EXPECT_THAT(field("captureHotKey").caps, ElementsAre("Ctrl", "Shift", "7"));
  recorder.listen("captureHotKey");
  recorder.press(key("Backspace"));
  EXPECT_EQ(settings->values().captureHotKey, std::nullopt);
  EXPECT_EQ(field("captureHotKey").prompt, "Record shortcut");

  // One listens at a time, and only it hears.
  recorder.listen("captureHotKey");
  recorder.listen("windowHotKey");
  EXPECT_FALSE(field("captureHotKey").isListening);
  recorder.stop();
  recorder.press(key("F9"));
  EXPECT_EQ(settings->values().captureHotKey, std::nullopt);
  EXPECT_EQ(settings->values().windowHotKey, key("Alt+Print"));
}

TEST_F(ShortcutRecorderTest, AKeyThatWritesIsRefusedAndOneThatIsTakenIsAskedAbout) {
  recorder.listen("timedCaptureHotKey");
  for (const char* const writes : {"k", "Shift+K", "Space", "Return"}) {
    recorder.press(key(writes));
    EXPECT_EQ(field("timedCaptureHotKey").remark, "Add Ctrl, Alt or Super.") << writes;
    EXPECT_FALSE(field("timedCaptureHotKey").isTaken);
  }
  EXPECT_EQ(settings->values().timedCaptureHotKey, std::nullopt);

  recorder.press(key("Alt+Print"));
  EXPECT_EQ(field("timedCaptureHotKey").remark, "Alt+Print is “Capture window”.");
  EXPECT_TRUE(field("timedCaptureHotKey").isTaken);
  recorder.stop();
  EXPECT_EQ(settings->values().windowHotKey, key("Alt+Print"));

  recorder.listen("timedCaptureHotKey");
  recorder.press(key("Alt+Print"));
  recorder.useItHere();
  runners.run();
  EXPECT_EQ(settings->values().windowHotKey, std::nullopt);
  EXPECT_TRUE(hotKeys.press(key("Alt+Print")));
  EXPECT_THAT(performed, ElementsAre("CaptureAfterDelay"));

  // A command that is not built has no say, though a key is set aside for it.
  recorder.listen("windowHotKey");
  recorder.press(key("Super+Print"));
  EXPECT_EQ(settings->values().windowHotKey, key("Super+Print"));
}

TEST_F(ShortcutRecorderTest, TheDigitsThatFollowFromOneAreTakenToo) {
  recorder.listen("captureHotKey");
  recorder.press(key("Ctrl+Alt+3"));
  recorder.listen("copyRecentHotKey");
  recorder.press(key("Ctrl+Alt+1"));
  EXPECT_EQ(field("copyRecentHotKey").remark, "Ctrl+Alt+3 is “Capture”.");
  recorder.useItHere();
  EXPECT_EQ(settings->values().captureHotKey, std::nullopt);
  EXPECT_EQ(settings->values().copyRecentHotKey, key("Ctrl+Alt+1"));

  recorder.listen("captureHotKey");
  recorder.press(key("Ctrl+Alt+9"));
  EXPECT_EQ(field("captureHotKey").remark, "Ctrl+Alt+9 is “Copy recent capture 9”.");
  recorder.useItHere();
  EXPECT_EQ(settings->values().copyRecentHotKey, std::nullopt);
}

TEST_F(ShortcutRecorderTest, AKeyOfAnotherProgramIsKeptAndItsHolderNamed) {
  hotKeys.taken = {key("Ctrl+F9")};
  holders.holders["Ctrl+F9"] = "Spectacle";
  recorder.listen("captureHotKey");
  recorder.press(key("Ctrl+F9"));
  runners.run();
  EXPECT_EQ(settings->values().captureHotKey, key("Ctrl+F9"));
  EXPECT_EQ(field("captureHotKey").remark,
            "Another program holds this key. It works once that program lets go.");
  holders.answer();
  EXPECT_EQ(field("captureHotKey").remark,
            "“Spectacle” holds this key. It works once that program lets go.");
  runners.advance(std::chrono::minutes(1));
  EXPECT_EQ(holders.asked, 1) << "each try to get the key asked anew";

  hotKeys.taken.clear();
  recorder.lookAgain();
  runners.run();
  EXPECT_EQ(field("captureHotKey").remark, "");
}

}  // namespace
}  // namespace vantorel
