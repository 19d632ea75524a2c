#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/capture_exclusivity_arbiter.hpp"
#include "app/records/hot_key_text.hpp"
#include "app/screen_permission_flow.hpp"
#include "app/shortcut_registry.hpp"
#include "app/surface_registry.hpp"
#include "app/termination_handshake.hpp"
#include "platform/testing/fake_alerts.hpp"
#include "platform/testing/fake_hot_keys.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_screen.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using Item = QuitFilingNote::Item;

TEST(QuitFilingNoteTest, WordsNameEachKnownItemOnce) {
  const auto items =
      QuitFilingNote::fromStored({"recording", "hologram", "rewrite", "recording", "editorSave"});
  EXPECT_EQ(QuitFilingNote::unfinishedAtLastQuit(items),
            "Vantorel quit before it finished saving a Recording, a Convert, Compress or Redact "
            "change and your changes in Annotate.");
  EXPECT_EQ(QuitFilingNote::toStored(items),
            (std::vector<std::string>{"recording", "rewrite", "editorSave"}));
  EXPECT_EQ(QuitFilingNote::consequence({Item::recording}), "If you quit now, it will be lost.");
  EXPECT_EQ(QuitFilingNote::consequence({Item::editorSave}), "If you quit now, they will be lost.");
  EXPECT_EQ(QuitFilingNote::consequence({Item::rewrite, Item::recording}),
            "If you quit now, they will be lost.");
}

class TerminationTest : public testing::Test {
 protected:
  FakeRunners runners;
  FakeAlerts alerts;
  PendingArchiveWork work;
  int terminated = 0;
  std::vector<std::string> recorded;
  TerminationHandshake handshake{
      {.main = runners.main(),
       .work = &work,
       .alerts = &alerts,
       .recordUnfinished = [this](auto names) { recorded = std::move(names); },
       .terminate = [this] { ++terminated; }}};
};

TEST_F(TerminationTest, WaitsForFilingAndAsksOnlyAfterTheDeadline) {
  const auto recording = work.begin(Item::recording);
  const auto rewrite = work.begin(Item::rewrite);
  handshake.request();
  handshake.request();
  runners.advance(119s);
  EXPECT_FALSE(alerts.isModalDialogUp());
  EXPECT_TRUE(handshake.isInProgress());
  runners.advance(1s);
  ASSERT_TRUE(alerts.shown);
  EXPECT_EQ(alerts.shown->message,
            "Vantorel is still saving a Recording and a Convert, Compress or Redact change.");

  work.end(rewrite);
  ASSERT_TRUE(alerts.press("Keep Waiting"));
  runners.advance(119s);
  EXPECT_FALSE(alerts.isModalDialogUp());
  runners.advance(1s);
  ASSERT_TRUE(alerts.shown);
  EXPECT_EQ(alerts.shown->informative, "If you quit now, it will be lost.");
  EXPECT_EQ(terminated, 0);
  ASSERT_TRUE(alerts.press("Quit Anyway"));
  EXPECT_EQ(terminated, 1);
  EXPECT_EQ(recorded, std::vector<std::string>{"recording"});
  work.end(recording);
  runners.advance(300s);
  EXPECT_EQ(terminated, 1);
}

TEST_F(TerminationTest, LandingEndsTheWaitEvenWhileTheQuestionStands) {
  const auto first = work.begin(Item::recording);
  handshake.request();
  work.end(first);
  EXPECT_EQ(terminated, 1);
  EXPECT_TRUE(recorded.empty());

  TerminationHandshake second(
      {.main = runners.main(),
       .work = &work,
       .alerts = &alerts,
       .recordUnfinished = [this](auto names) { recorded = std::move(names); },
       .terminate = [this] { ++terminated; }});
  const auto slow = work.begin(Item::scrollingCapture);
  second.request();
  runners.advance(120s);
  ASSERT_TRUE(alerts.shown);
  work.end(slow);
  EXPECT_FALSE(alerts.shown);
  EXPECT_EQ(terminated, 2);
  EXPECT_TRUE(recorded.empty());
}

TEST_F(TerminationTest, AnnotationsThatAreNeverSavedKeepTheProgramOpenUnlessTheUserSaysOtherwise) {
  (void)work.begin(Item::editorSave);
  handshake.request();
  runners.advance(120s);
  ASSERT_TRUE(alerts.shown);
  EXPECT_EQ(alerts.shown->message, "Vantorel is still saving your changes in Annotate.");
  EXPECT_EQ(alerts.shown->informative, "If you quit now, they will be lost.");
  ASSERT_TRUE(alerts.press("Keep Waiting"));
  runners.advance(120s);
  EXPECT_FALSE(alerts.shown) << "asked again about what hangs";
  EXPECT_FALSE(handshake.isInProgress());
  EXPECT_EQ(terminated, 0);
  EXPECT_THAT(alerts.notices, testing::ElementsAre(testing::HasSubstr(
                                  "Your changes in Annotate did not finish saving within 120 "
                                  "seconds, so Vantorel did not quit.")));
  handshake.request(true);
  handshake.scrollingCaptureNotSaved();
  EXPECT_THAT(alerts.notices.back(),
              testing::HasSubstr("Vantorel stayed open and didn't relaunch: your Scrolling Capture "
                                 "couldn't be saved, and quitting would lose it."));
  runners.advance(300s);
  EXPECT_FALSE(alerts.isModalDialogUp()) << "a wait that was called off came back";
  handshake.request();
  runners.advance(120s);
  ASSERT_TRUE(alerts.press("Quit Anyway"));
  EXPECT_EQ(terminated, 1);
  EXPECT_EQ(recorded, std::vector<std::string>{"editorSave"});
}

TEST(ArbiterTest, OneCaptureAtATimeNoneUnderADialogOrWhileQuitting) {
  bool dialog = false;
  bool quitting = false;
  CaptureExclusivityArbiter arbiter([&] { return dialog; }, [&] { return quitting; });
  EXPECT_FALSE(arbiter.refusal());
  arbiter.set(CaptureActivity::recording, true);
  EXPECT_EQ(arbiter.refusal(), CaptureRefusedBecause::activity);
  arbiter.set(CaptureActivity::recording, false);
  dialog = true;
  EXPECT_EQ(arbiter.refusal(), CaptureRefusedBecause::modalDialog);
  quitting = true;
  EXPECT_EQ(arbiter.refusal(), CaptureRefusedBecause::quitting);
}

TEST(ShortcutRegistryTest, ATakenKeyLeavesTheOthersAndIsOursOnceItIsFree) {
  FakeRunners runners;
  FakeHotKeys keys(runners.main());
  constexpr HotKeySpec print{0xff61, 0};
  constexpr HotKeySpec five{'5', HotKeySpec::control};
  keys.taken = {print};
  ShortcutRegistry registry(keys, runners.main());
  int changes = 0;
  registry.onChange = [&] { ++changes; };
  int fired = 0;
  registry.registerShortcut(ShortcutID::capture, print, [&] { ++fired; });
  registry.registerShortcut(ShortcutID::window, five, [&] {
    ++fired;
    // An action may bind its own key anew.
    registry.registerShortcut(ShortcutID::window, {'6', 0}, [&] { fired += 10; });
  });
  registry.registerShortcut(ShortcutID::fullscreen, five, [] {});
  EXPECT_FALSE(registry.works(ShortcutID::window)) << "nobody has answered yet";
  runners.run();
  EXPECT_FALSE(registry.works(ShortcutID::capture));
  EXPECT_EQ(sentences(registry.refused()),
            "Ctrl+5 is “Capture window”. Another program holds Print. It works once that program "
            "lets go.");
  EXPECT_TRUE(keys.press(five));
  runners.run();
  EXPECT_TRUE(keys.press({'6', 0}));
  EXPECT_EQ(fired, 11);
  EXPECT_TRUE(registry.works(ShortcutID::fullscreen)) << "the key was given up";

  const int before = changes;
  runners.advance(16s);
  EXPECT_EQ(changes, before) << "told again of what has not changed";
  keys.taken.clear();
  runners.advance(20s);
  EXPECT_TRUE(registry.works(ShortcutID::capture));
  EXPECT_TRUE(keys.press(print));
  EXPECT_EQ(fired, 12);
  EXPECT_TRUE(runners.isIdle()) << "it is tried again although all is well";

  EXPECT_EQ(copyRecentBinding({'8', 1}, 3), (HotKeySpec{'0', 1}));
  EXPECT_EQ(copyRecentBinding({'1', 1}, 10), (HotKeySpec{'0', 1}));
  EXPECT_EQ(copyRecentBinding({'c', 1}, 2), std::nullopt);
}

TEST(ShortcutRegistryTest, AKeyThatAnotherProgramKeepsIsAskedForEverMoreRarely) {
  FakeRunners runners;
  FakeHotKeys keys(runners.main());
  constexpr HotKeySpec print{0xff61, 0};
  constexpr HotKeySpec other{0xff61, HotKeySpec::option};
  keys.taken = {print, other};
  ShortcutRegistry registry(keys, runners.main());
  registry.registerShortcut(ShortcutID::capture, print, [] {});
  const auto asked = [&](std::chrono::seconds time) {
    const int before = keys.asked;
    runners.advance(time);
    return keys.asked - before;
  };
  EXPECT_EQ(asked(35s), 3) << "somebody who has just ended the other program waits";
  EXPECT_LE(asked(24h), 24 * 60 / 5 + 10);

  // Whatever makes another answer likely is followed at once, and then closely again.
  registry.registerShortcut(ShortcutID::window, other, [] {});
  EXPECT_EQ(asked(5s), 2);
  runners.advance(24h);
  const int before = keys.asked;
  keys.onKeyboardChange();
  EXPECT_EQ(keys.asked - before, 2);
  EXPECT_EQ(asked(5s), 2);
  runners.advance(24h);
  keys.taken.clear();
  registry.retryNow();
  runners.run();
  EXPECT_TRUE(registry.works(ShortcutID::capture) && registry.works(ShortcutID::window));
}

TEST(HotKeyTextTest, AKeyIsTypedAsItIsShown) {
  const std::vector<std::pair<HotKeySpec, std::string>> keys = {
      {{0xff61, 0}, "Print"},
      {{'a', HotKeySpec::option | HotKeySpec::control}, "Ctrl+Alt+A"},
      {{0xff0d, HotKeySpec::command | HotKeySpec::shift}, "Shift+Super+Return"},
      {{0xffc9, HotKeySpec::control}, "Ctrl+F12"},
      {{'+', HotKeySpec::control}, "Ctrl+Plus"},
      {{0x1008ff13, 0}, "0x1008ff13"},
  };
  for (const auto& [spec, text] : keys) {
    EXPECT_EQ(displayText(spec), text);
    EXPECT_EQ(hotKeyFromText(text), spec) << text;
  }
  EXPECT_EQ(hotKeyFromText("alt+ctrl+a"), keys[1].first);
  EXPECT_EQ(hotKeyFromText("Ctrl++"), keys[4].first);
  EXPECT_EQ(hotKeyFromText("Option+Enter"), (HotKeySpec{0xff0d, HotKeySpec::option}));
  for (const char* const none : {"", "Ctrl+", "Hyper+A", "F99", "Prnt", "Ctrl+Alt", "0x"}) {
    EXPECT_FALSE(hotKeyFromText(none)) << none;
  }
}

TEST(ScreenPermissionFlowTest, AsksOnceAndNoticesALateGrant) {
  FakeRunners runners;
  FakeScreen screen(runners.main());
  FakeAlerts alerts;
  int relaunches = 0;
  ScreenPermissionFlow flow(runners.main(), screen, alerts, [&] { return ++relaunches > 1; });
  std::vector<bool> answers;
  int granted = 0;
  flow.onGranted([&] { ++granted; });
  screen.permissionNow = ScreenPermission::denied;
  for (int i = 0; i < 2; ++i) flow.preflight([&](bool ok) { answers.push_back(ok); });
  runners.run();
  EXPECT_EQ(answers, (std::vector<bool>{false, false}));
  ASSERT_TRUE(alerts.press("OK"));
  EXPECT_FALSE(alerts.shown) << "asked twice";
  EXPECT_TRUE(flow.isWatching());

  screen.permissionNow = ScreenPermission::granted;
  runners.advance(10s);
  EXPECT_EQ(granted, 1);
  EXPECT_TRUE(runners.isIdle()) << "the watch goes on after the grant";
  flow.preflight([&](bool ok) { answers.push_back(ok); });
  screen.permissionNow = ScreenPermission::grantedAfterRelaunch;
  flow.preflight([&](bool ok) { answers.push_back(ok); });
  runners.run();
  EXPECT_EQ(answers, (std::vector<bool>{false, false, true, false}));
  EXPECT_THAT(alerts.notices, testing::ElementsAre(testing::HasSubstr(
                                  "Vantorel couldn't relaunch itself from this location.")));
}

TEST(SurfaceRegistryTest, ASecondRequestBringsTheWindowForward) {
  struct Window final : Surface {
    int raised = 0;
    void bringForward() override { ++raised; }
  };
  FakeRunners runners;
  SurfaceRegistry surfaces{runners.main()};
  auto window = std::make_shared<Window>();
  int opened = 0;
  const auto open = [&] {
    ++opened;
    return window;
  };
  surfaces.editors.show("a", open);
  surfaces.editors.show("a", open);
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(window->raised, 2);
  surfaces.editors.closed("a");
  surfaces.editors.show("a", open);
  EXPECT_EQ(opened, 2);
  surfaces.editors.show("b", [] { return nullptr; });
  EXPECT_FALSE(surfaces.editors.isOpen("b"));

  // A window that tells of its closing is in the middle of an event of its own.
  const std::weak_ptr<Window> watched = window;
  surfaces.editors.closed("a");
  window.reset();
  EXPECT_FALSE(surfaces.editors.isOpen("a"));
  runners.run();
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace vantorel
