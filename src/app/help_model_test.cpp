#include "app/help_model.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/settings_session.hpp"
#include "app/welcome_model.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HelpModelTest : public testing::Test, protected SettingsSession {
 protected:
  HelpModelTest() { start(); }

  [[nodiscard]] static std::vector<std::string> titles(const HelpModel::Section& section) {
    std::vector<std::string> all;
    for (const HelpModel::Row& row : section.rows) all.push_back(row.title);
    return all;
  }

  std::string refused = "UndoRecentDelete";
  HelpModel model{
      {.keys = &*keys,
       .obstacle =
           [this](const DesktopCommand& command) {
             return command.name == refused ? std::optional<std::string>("Nothing to undo.")
                                            : std::nullopt;
           },
       .perform = [this](const DesktopCommand& command) { performed.push_back(command.name); }}};
};

TEST_F(HelpModelTest, ListsEveryCommandOnceWithTheKeyThatWorks) {
  std::set<const DesktopCommand*> listed;
  std::vector<std::string> order;
  for (const HelpModel::Section& section : model.sections()) {
    for (const HelpModel::Row& row : section.rows) {
      if (row.command == nullptr) continue;
      EXPECT_TRUE(listed.insert(row.command).second) << row.title;
      order.push_back(row.command->name);
    }
  }
  EXPECT_EQ(listed.size(), desktopCommands().size());
  // What may carry a key comes in its own order, not in the menu's.
  EXPECT_LT(std::ranges::find(order, "CapturePreviousArea"),
            std::ranges::find(order, "CaptureDisplay"));

  const HelpModel::Section captures = model.sections().front();
  EXPECT_EQ(captures.rows[0].title, "Capture");
  EXPECT_THAT(captures.rows[0].keys, ElementsAre(ElementsAre("Print")));
  EXPECT_THAT(captures.rows[1].keys, ElementsAre(ElementsAre("Ctrl", "Print")));

  int changes = 0;
  const Observation watching = model.observe([&] { ++changes; });
  settings->set(&SettingsValues::captureHotKey, std::nullopt);
  runners.run();
  EXPECT_GT(changes, 0);
  EXPECT_THAT(model.sections().front().rows[0].keys, IsEmpty());
}

TEST_F(HelpModelTest, SearchesTitlesAndKeysAndRunsWhatMayRun) {
  const auto found = model.sections("print ctrl");
  ASSERT_EQ(found.size(), 1U);
  EXPECT_THAT(titles(found[0]), ElementsAre("Capture previous area"));
  model.run(found[0].rows[0]);
  EXPECT_THAT(performed, ElementsAre("CapturePreviousArea"));

  const auto undo = model.sections("undo");
  EXPECT_EQ(undo[0].rows[0].obstacle, "Nothing to undo.");
  model.run(undo[0].rows[0]);
  EXPECT_EQ(performed.size(), 1U);
  EXPECT_EQ(undo.back().rows[0].command, nullptr) << "a window's own key";
  EXPECT_THAT(undo.back().rows[0].keys, ElementsAre(ElementsAre("Ctrl", "Z")));
  EXPECT_THAT(model.sections("shift+f10").front().rows[0].keys,
              ElementsAre(ElementsAre("Menu"), ElementsAre("Shift", "F10")));
  EXPECT_THAT(model.sections("bicycle"), IsEmpty());
}

/// A tray that shows the icon, or does not.
class FakeTray final : public StatusItem {
 public:
  bool isShown = true;
  void setVisible(bool) override {}
  void setMenu(std::function<std::vector<StatusMenuItem>()>, std::function<void()>) override {}
  void setMark(StatusMark) override {}
  void menuChanged() override {}
  [[nodiscard]] bool isHosted() const override { return isShown; }
  Observation observeHost(std::function<void()> changed) override {
    return hosts.add(std::move(changed));
  }
  Observers<> hosts;
};

TEST(WelcomeModelTest, SaysHowToCaptureWhereToAndHowTheProgramIsReached) {
  SettingsSession session;
  session.start();
  FakeTray tray;
  ShortcutRecorder recorder({.settings = *session.settings, .keys = &*session.keys});
  WelcomeModel model({.settings = *session.settings,
                      .autostart = session.autostartSwitch,
                      .library = *session.pane,
                      .recorder = &recorder,
                      .statusItem = &tray,
                      .home = "/home/u",
                      .openShortcuts = [] {},
                      .openHelp = [] {},
                      .captureArea = [] {}});
  session.runners.run();
  EXPECT_THAT(model.captureKey(), ElementsAre("Print"));
  EXPECT_EQ(model.folder(), "~/old");
  int looks = 0;
  const Observation looking = model.observe([&] { ++looks; });
  tray.hosts.notify();
  EXPECT_EQ(looks, 1) << "a tray takes the icon a moment after the start";
  EXPECT_EQ(model.sessionWords(), "It waits in the tray. Right-click the icon for every command.");
  tray.isShown = false;
  EXPECT_EQ(model.sessionWords(),
            "This desktop has no tray. Start Vantorel again to open History.");

  EXPECT_EQ(model.captureWords(), "Space picks a window, Escape cancels.");
  int changes = 0;
  const Observation watching = model.observe([&] { ++changes; });
  const HotKeySpec held{'q', HotKeySpec::control};
  session.hotKeys.taken = {held};
  session.settings->set(&SettingsValues::captureHotKey, held);
  session.runners.run();
  EXPECT_EQ(model.captureWords(),
            "Another program holds this key. It works once that program lets go.");
  changes = 0;
  session.settings->set(&SettingsValues::captureHotKey, std::nullopt);
  EXPECT_GT(changes, 0);
  EXPECT_EQ(model.captureWords(),
            "No capture shortcut is set. Capture from the tray, or record one in Settings → "
            "Shortcuts.");

  model.setStartsWithSession(true);
  model.chooseFolder("/home/u/new");
  session.runners.run();
  EXPECT_TRUE(session.autostart.on);
  EXPECT_EQ(model.folder(), "~/new");
  EXPECT_EQ(model.folderRemark(), "3 captures moved.");

  EXPECT_FALSE(session.settings->values().hasCompletedOnboarding);
  model.finish();
  EXPECT_TRUE(session.settings->values().hasCompletedOnboarding);
}

}  // namespace
}  // namespace vantorel
