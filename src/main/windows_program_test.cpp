#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "library/entry_title.hpp"
#include "main/program_under_test.hpp"
#include "platform/testing/desktop/drop_target.hpp"
#include "platform/testing/desktop/keyboard_watch.hpp"
#include "platform/testing/desktop/screen_reader.hpp"

namespace vantorel {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint32_t controlKey = 0xFFE3;
constexpr std::uint32_t altKey = 0xFFE9;
constexpr std::uint32_t tabKey = 0xFF09;
constexpr std::uint32_t returnKey = 0xFF0D;
constexpr std::uint32_t rightKey = 0xFF53;
constexpr std::uint32_t downKey = 0xFF54;
constexpr std::uint32_t menuKey = 0xFF67;
constexpr std::uint32_t deleteKey = 0xFFFF;
constexpr std::uint32_t renameKey = 0xFFBF;

/// As programs name files to each other; of the names in these tests only blanks are written
/// differently.
std::string fileAddress(const std::string& path) {
  std::string address = "file://";
  for (const char letter : path)
    address += letter == ' ' ? std::string("%20") : std::string(1, letter);
  return address;
}

/// A person at the windows of the program in the tray: sees what a screen reader is told, uses
/// pointer and keys.
class WindowsProgramTest : public testing::Test {
 protected:
  WindowsProgramTest() { client_.paintRoot(1); }

  void TearDown() override {
    if (!HasFailure()) return;
    for (const char* title : {"History", "Settings"}) {
      std::cerr << ScreenReader::describe(reader_.controls(title));
    }
  }

  void startTray() {
    tray_.emplace(vantorel_.startTray(client_));
    reader_.follow(tray_->pid());
  }

  /// Shows a window by the command and waits until it has the keyboard.
  void show(const std::string& what, const std::string& title) {
    ASSERT_EQ(vantorel_.run({"show", what}).status, 0);
    waitUntilActive(title);
  }

  void waitUntilActive(const std::string& title) {
    (void)reader_.waitUntil(title, "the keyboard", [](const std::vector<SpokenControl>& all) {
      return !all.empty() && all.front().isActive();
    });
  }

  void hover(const SpokenControl& control) {
    client_.moveTo(control.area.x + control.area.width / 2,
                   control.area.y + control.area.height / 2);
  }

  void click(const SpokenControl& control) {
    hover(control);
    client_.button(1, true);
    client_.button(1, false);
  }

  /// With the pointer, and waits for it: the window manager may hold a press back while keys go on.
  void select(const SpokenControl& capture) {
    click(capture);
    (void)reader_.find("History", capture.name + " selected", [&](const SpokenControl& one) {
      return one.path == capture.path && one.isSelected();
    });
  }

  /// Waits until the index on the disk is as `condition` wants it.
  void waitForIndex(const std::function<bool(const EntryList&)>& condition) {
    ASSERT_TRUE(index_.waitUntil([&] { return condition(vantorel_.entries()); }))
        << readAll(vantorel_.root() / "history.json");
  }

  /// By the menu of what is selected.
  void convertToJPEG() {
    client_.chord({menuKey});
    client_.chord({downKey});
    hover(reader_.findInMenu("Convert"));
    client_.chord({rightKey});
    click(reader_.findInMenu("JPEG"));
  }

  SpokenControl findSentence(const std::string& end) {
    return reader_.find("History", end, [&](const SpokenControl& one) {
      return (one.role == "label" || one.role == "alert message") && one.name.ends_with(end);
    });
  }

  [[nodiscard]] std::vector<HistoryCollection> collections() const {
    const auto index = decodeIndex(readAll(vantorel_.root() / "history.json"));
    return index ? index->file.collections : std::vector<HistoryCollection>{};
  }

  static std::vector<SpokenControl> captures(const std::vector<SpokenControl>& all) {
    // The rows of the sidebar are a list of their own, before it.
    const auto list = std::ranges::find_if(
        all, [](const SpokenControl& one) { return one.role == "list" && one.name == "Captures"; });
    std::vector<SpokenControl> items;
    std::copy_if(list, all.end(), std::back_inserter(items),
                 [](const SpokenControl& one) { return one.role == "list item"; });
    return items;
  }

  /// Waits until History lists that many captures.
  std::vector<SpokenControl> waitForCaptures(std::size_t count) {
    return captures(reader_.waitUntil(
        "History", std::to_string(count) + " captures",
        [&](const std::vector<SpokenControl>& all) { return captures(all).size() == count; }));
  }

  /// Tab goes to all that takes the focus and is named; arrows do the rest of captures and choices.
  void expectReachable(const std::string& title) {
    const auto all = reader_.controls(title);
    const auto listed = captures(all);
    const auto isCapture = [&](const SpokenControl& one) {
      return std::ranges::find(listed, one.path, &SpokenControl::path) != listed.end();
    };
    std::map<std::string, std::string> missing;
    std::string focus;
    for (const SpokenControl& one : all) {
      if (one.isFocused()) focus = one.path;
      if (!one.canTakeFocus() || !one.isEnabled() || isCapture(one)) continue;
      EXPECT_NE(one.name, "") << ScreenReader::describe({one});
      if (one.role == "radio button" && !one.isChecked()) continue;
      missing[one.path] = one.name;
    }
    EXPECT_THAT(missing, testing::Not(IsEmpty()));
    const std::size_t most = missing.size() + 3;
    for (std::size_t step = 0; step < most && !missing.empty(); ++step) {
      missing.erase(focus);
      client_.chord({tabKey});
      focus = reader_.focusAfter(focus);
    }
    missing.erase(focus);
    EXPECT_THAT(missing, IsEmpty()) << ScreenReader::describe(all);
  }

  void quit() {
    EXPECT_EQ(vantorel_.run({"quit"}).status, 0);
    EXPECT_EQ(tray_->wait().status, 0) << tray_->errorText();
  }

  TestDesktop desktop_{
      {.screen = PixelSize{1600, 1000}, .windowManager = true, .bus = true, .accessibility = true}};
  TestClient client_{desktop_.display()};
  Vantorel vantorel_{desktop_};
  ScreenReader reader_{desktop_};
  FileWatch index_{{vantorel_.root()}};
  std::optional<ChildProcess> tray_;
};

TEST_F(WindowsProgramTest, APersonTakesFindsNamesCollectsConvertsDragsTrashesAndRestores) {
  startTray();
  const auto ledger = client_.open(
      {.area = {200, 150, 900, 600}, .seed = 2, .title = "Accounts", .className = "Ledger"});
  const auto earlier = vantorel_.entries();
  {
    KeyboardWatch keyboard(desktop_.display());
    ChildProcess area = vantorel_.start({"capture", "area"});
    ASSERT_TRUE(keyboard.waitUntilTaken());
    client_.moveTo(300, 200);
    client_.button(1, true);
    client_.moveTo(500, 300);
    client_.moveTo(620, 440);
    client_.button(1, false);
    const PixelRect shown = client_.contentArea(ledger);
    const Image taken = vantorel_.picture(area.wait());
    EXPECT_EQ(taken.size(), (PixelSize{320, 240}));
    EXPECT_EQ(differenceFromTestPicture(taken, 2, 300 - shown.x, 200 - shown.y), "");
  }
  const auto entry = [this] { return vantorel_.entries().back(); };
  waitForIndex([&](const EntryList& all) { return all.size() == earlier.size() + 1; });
  const std::string id = entry()->id;

  // Found by the program it was taken in: a letter typed at the captures goes to the search.
  show("history", "History");
  (void)waitForCaptures(earlier.size() + 1);
  client_.type("ledg");
  (void)waitForCaptures(1);
  client_.chord({downKey});
  client_.chord({renameKey});
  client_.type("budget");
  client_.chord({returnKey});
  waitForIndex([&](const EntryList& all) { return titleOf(*all.back()) == "budget"; });

  client_.chord({controlKey, 'l'});
  client_.chord({downKey});
  click(reader_.findInMenu("New Collection"));
  (void)reader_.find("History", "the field for a name", [](const SpokenControl& one) {
    return one.name == "Name of the collection" && one.isFocused();
  });
  client_.type("taxes");
  client_.chord({returnKey});
  waitForIndex([&](const EntryList&) {
    const auto all = collections();
    return all.size() == 1 && all.front().name == "taxes" &&
           entry()->collectionIDs == std::vector{all.front().id};
  });
  (void)reader_.find("History", "list item", "taxes, 1 capture");

  select(waitForCaptures(1).front());
  convertToJPEG();
  waitForIndex([&](const EntryList& all) { return all.back()->path.ends_with(".jpg"); });
  EXPECT_EQ(entry()->id, id);
  // What is being changed cannot be deleted.
  (void)reader_.find("History", "the end of it", [](const SpokenControl& one) {
    return one.name == "Convert" && one.isEnabled();
  });

  DropTarget other(desktop_.display(), {0, 0, 120, 120}, "text/uri-list");
  hover(waitForCaptures(1).front());
  client_.button(1, true);
  for (int step = 0; !other.isAccepted(); ++step) client_.moveTo(40 + step % 40, 60);
  client_.button(1, false);
  const auto dropped = other.waitForDrop();
  EXPECT_EQ(dropped.value_or(""), fileAddress(entry()->path) + "\r\n");

  const std::string path = entry()->path;
  client_.chord({deleteKey});
  waitForIndex([&](const EntryList& all) { return all.size() == earlier.size(); });
  EXPECT_FALSE(std::filesystem::exists(path));
  (void)reader_.find("History", "the way back", [](const SpokenControl& one) {
    return one.role == "push button" && one.name.starts_with("Undo");
  });
  client_.chord({controlKey, 'z'});
  waitForIndex([&](const EntryList& all) { return all.size() == earlier.size() + 1; });
  EXPECT_EQ(entry()->id, id);
  EXPECT_EQ(titleOf(*entry()), "budget");
  EXPECT_EQ(entry()->path, path);

  client_.chord({controlKey, ','});
  waitUntilActive("Settings");
  click(reader_.find("Settings", "radio button", "Shortcuts"));
  const auto recorder = [this](const std::string& shown) {
    return reader_.find("Settings", "a row with " + shown, [&](const SpokenControl& one) {
      return one.name == "Capture main display" && one.canTakeFocus() && one.description == shown;
    });
  };
  click(recorder("Shift+Print"));
  (void)recorder("Press the keys…");
  const std::vector<std::uint32_t> keys{controlKey, altKey, 'k'};
  client_.chord(keys);
  (void)recorder("Ctrl+Alt+K");
  client_.chord(keys);
  waitForIndex([&](const EntryList& all) { return all.size() == earlier.size() + 2; });
  EXPECT_EQ(vantorel_.entries().back()->pixelWidth, 1600);
  EXPECT_THAT(vantorel_.run({"settings", "list"}).out, HasSubstr("Ctrl+Alt+K"));

  quit();
  for (const EntryPointer& one : vantorel_.entries()) {
    (void)vantorel_.picture({.status = 0, .out = one->path + "\n", .err = {}});
  }
}

TEST_F(WindowsProgramTest, EveryControlHasANameAndIsReachedByTheKeyboard) {
  startTray();
  struct Shown {
    const char* command;
    const char* title;
    std::vector<std::string> panes;
    std::vector<std::string> toolTips;
  };
  const std::vector<Shown> windows{
      {"history",
       "History",
       {""},
       {"Search (Ctrl+F)", "Sidebar (F9)", "Grid (Ctrl+1)", "List (Ctrl+2)"}},
      {"settings",
       "Settings",
       {"General", "Capture", "After capture", "Text", "Shortcuts", "Library"},
       {"Search settings (Ctrl+F)"}},
      {"help", "Help", {""}, {"Search commands and keys (Ctrl+F)"}},
      {"welcome", "Vantorel", {""}, {}}};
  for (const Shown& window : windows) {
    show(window.command, window.title);
    for (const std::string& pane : window.panes) {
      SCOPED_TRACE(window.title + std::string(" ") + pane);
      if (!pane.empty()) {
        click(reader_.find(window.title, "radio button", pane));
        (void)reader_.find(window.title, "the pane " + pane, [&](const SpokenControl& one) {
          return one.role == "label" && one.name == pane;
        });
      }
      expectReachable(window.title);
    }
    const std::string all = ScreenReader::describe(reader_.controls(window.title));
    for (const std::string& toolTip : window.toolTips) {
      EXPECT_THAT(all, HasSubstr("[" + toolTip));
    }
    client_.chord({controlKey, 'w'});
    reader_.waitUntilGone(window.title);
  }

  // Return presses the button that has the keyboard.
  show("welcome", "Vantorel");
  std::string focus;
  const SpokenControl done = reader_.find("Vantorel", "push button", "Done");
  while (focus != done.path) {
    client_.chord({tabKey});
    focus = reader_.focusAfter(focus);
  }
  client_.chord({returnKey});
  reader_.waitUntilGone("Vantorel");
  quit();
}

TEST_F(WindowsProgramTest, AFullDiskAFolderThatGoesAndAReplacedIndexAreToldAndLoseNothing) {
  const MountedFolder disk(desktop_.folder() / "disk", "size=16m");
  const auto folder = desktop_.folder() / "captures";
  std::filesystem::create_directories(folder);
  const auto attach = [&] {
    ASSERT_EQ(::mount(disk.path().c_str(), folder.c_str(), nullptr, MS_BIND, nullptr), 0);
  };
  attach();
  std::ofstream(vantorel_.root() / "settings.json")
      << R"({"hasCompletedOnboarding":true,"storageDirectory":")" << folder.string() << "\"}";
  startTray();
  ASSERT_EQ(vantorel_.run({"capture", "display"}).status, 0);
  show("history", "History");
  const std::size_t count = vantorel_.entries().size();
  const SpokenControl newest = waitForCaptures(count).front();
  const auto kept = vantorel_.entries().back();
  const auto isWhole = [&] { return LinuxImageCodec().decode(readAll(kept->path)).has_value(); };
  {
    std::ofstream filling(disk.path() / "filling");
    while (filling << std::string(1000, 'x') << std::flush) {
    }
  }
  select(newest);
  convertToJPEG();
  (void)findSentence("the disk is full.");
  EXPECT_EQ(vantorel_.entries().back()->path, kept->path);
  EXPECT_TRUE(isWhole());
  std::filesystem::remove(disk.path() / "filling");

  for (const EntryPointer& entry : vantorel_.entries()) {
    if (entry->id != kept->id) std::filesystem::remove(entry->path);
  }
  (void)waitForCaptures(1);

  ASSERT_EQ(::umount2(folder.c_str(), MNT_DETACH), 0);
  client_.chord({deleteKey});
  (void)findSentence("can't be reached. Reconnect it, or use Remove from History.");
  const auto isAway = [](const SpokenControl& one) { return one.name.ends_with("out of reach"); };
  (void)reader_.find("History", "a capture out of reach", isAway);
  EXPECT_EQ(vantorel_.entries().back()->id, kept->id);

  attach();
  ASSERT_EQ(vantorel_.run({"capture", "display"}).status, 0);
  // What has come back is looked for with the next change.
  ASSERT_EQ(vantorel_.run({"capture", "display"}).status, 0);
  const SpokenControl back = captures(reader_.waitUntil("History", "all within reach",
                                                        [&](const std::vector<SpokenControl>& all) {
                                                          return captures(all).size() == 3 &&
                                                                 std::ranges::none_of(all, isAway);
                                                        }))
                                 .back();
  EXPECT_TRUE(isWhole());

  std::ofstream(vantorel_.root() / "other.json")
      << R"({"version":4,"entries":[],"collections":[]})";
  std::filesystem::rename(vantorel_.root() / "other.json", vantorel_.root() / "history.json");
  select(back);
  client_.chord({controlKey, 'd'});
  waitForIndex([&](const EntryList& all) { return all.size() == 3 && all.front()->starred; });
  (void)reader_.find("History", "list item", "Starred, 1 capture");
  quit();
  ::umount2(folder.c_str(), MNT_DETACH);
}

TEST_F(WindowsProgramTest, AProgramThatIsKilledShowsAllOfItAgain) {
  startTray();
  for (int i = 0; i < 2; ++i) ASSERT_EQ(vantorel_.run({"capture", "display"}).status, 0);
  show("history", "History");
  const auto before = vantorel_.entries();
  select(waitForCaptures(before.size()).front());
  convertToJPEG();
  tray_->signal(SIGKILL);
  tray_->wait();
  startTray();
  show("history", "History");
  const auto after = vantorel_.entries();
  EXPECT_GT(after.size(), before.size());
  (void)waitForCaptures(after.size());
  for (const EntryPointer& one : after) {
    EXPECT_TRUE(LinuxImageCodec().decode(readAll(one->path)).has_value()) << one->path;
  }
  quit();
}

TEST_F(WindowsProgramTest, AWindowOnADisplayThatIsUnpluggedComesToTheOneThatIsLeft) {
  const PixelRect left{0, 0, 800, 1000};
  desktop_.setMonitors({{"LEFT", left}, {"RIGHT", {800, 0, 800, 1000}}});
  startTray();
  show("history", "History");
  const auto comesTo = [this](const PixelRect& area) {
    (void)reader_.waitUntil("History", "its place", [&](const std::vector<SpokenControl>& all) {
      return !all.empty() && all.front().area.x >= area.x &&
             all.front().area.x + all.front().area.width <= area.x + area.width;
    });
  };
  (void)desktop_.run({"sh", "-c", "xdotool windowmove $(xdotool getactivewindow) 850 50"});
  comesTo({800, 0, 800, 1000});
  desktop_.setMonitors({{"LEFT", left}});
  comesTo(left);
  client_.type("scr");
  (void)reader_.find("History", "the search", [this](const SpokenControl& one) {
    return one.name == "Search" && reader_.textOf(one) == "scr";
  });
  quit();
}

TEST_F(WindowsProgramTest, PicturesAreOpenedAndPinnedByCommand) {
  startTray();
  const ChildOutcome taken = vantorel_.run({"capture", "display"});
  ASSERT_EQ(taken.status, 0);
  const auto plan = vantorel_.root() / "Plan.png";
  std::filesystem::copy_file(taken.out.substr(0, taken.out.find('\n')), plan);

  ASSERT_EQ(vantorel_.run({"edit", "latest"}).status, 0);
  ASSERT_EQ(vantorel_.run({plan.string()}).status, 0) << "as file managers ask";
  waitUntilActive("Plan — Annotate");
  const ChildOutcome missing = vantorel_.run({"edit", "nobody", "/nowhere/x.png", "latest"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.err, HasSubstr("nobody"));
  EXPECT_THAT(missing.err, HasSubstr("/nowhere/x.png: there is no such file."));

  EXPECT_EQ(vantorel_.run({"pin", "latest", plan.string()}).status, 0);
  EXPECT_EQ(vantorel_.run({"pin", "latest"}).status, 0);
  EXPECT_EQ(vantorel_.run({"pin", "/nowhere/x.png"}).status, 1);
  const ChildOutcome behind = vantorel_.run({"capture", "display"});
  const Image before = vantorel_.picture(taken);
  const Image after = vantorel_.picture(behind);
  for (int y = 0; y < before.height(); ++y) {
    ASSERT_TRUE(std::ranges::equal(before.row(y), after.row(y)))
        << "a pin is in the picture: " << y;
  }
  // Nothing was changed, so nobody is asked before the end.
  EXPECT_EQ(vantorel_.run({"quit"}).status, 0);
  EXPECT_EQ(tray_->wait().status, 0);
}

TEST_F(WindowsProgramTest, APersonScrollsAPageBackAndForthAndGetsItAsOnePicture) {
  startTray();
  // It is scrolled by being moved below the area that is captured.
  constexpr PixelRect area{250, 150, 500, 400};
  const auto page = client_.open(
      {.area = {200, 100, 700, 3000}, .seed = 5, .title = "Page", .overrideRedirect = true});
  const auto scrollTo = [&](int row) { client_.moveTo(page, 200, 100 - row); };
  const std::string panel = "Vantorel scrolling capture";
  const auto waitFor = [&](const std::string& words) {
    (void)reader_.find(panel, words, [&](const SpokenControl& one) { return one.name == words; });
  };
  ChildProcess scrolling = vantorel_.start({"capture", "scroll", "--rect", "250,150,500,400"});
  waitFor("400 px, Scroll on");
  EXPECT_EQ(vantorel_.run({"capture", "display"}).status, 4) << "one at a time";
  for (int row = 90; row <= 450; row += 90) {
    scrollTo(row);
    waitFor(std::to_string(400 + row) + " px, Scroll on");
  }
  scrollTo(2000);
  waitFor("850 px, Too fast, scroll back");
  scrollTo(450);
  waitFor("850 px, Scroll on");
  scrollTo(580);
  waitFor("980 px, Scroll on");
  // Up again, beyond where it began.
  for (const int row : {450, 300, 150, 0, -40}) scrollTo(row);
  waitFor("1,020 px, Scroll on");
  click(reader_.find(panel, "push button", "Done"));
  const Image taken = vantorel_.picture(scrolling.wait());
  EXPECT_EQ(taken.size(), (PixelSize{area.width, 1020}));
  EXPECT_EQ(differenceFromTestPicture(taken, 5, area.x - 200, area.y - 100 - 40), "");
  EXPECT_TRUE(vantorel_.entries().back()->isTallCapture);
  reader_.waitUntilGone(panel);
  quit();
}

TEST_F(WindowsProgramTest, WhatWasScrolledOutlivesTheDisplayServer) {
  startTray();
  const auto page = client_.open(
      {.area = {200, 100, 700, 3000}, .seed = 5, .title = "Page", .overrideRedirect = true});
  ChildProcess scrolling = vantorel_.start({"capture", "scroll", "--rect", "250,150,500,400"});
  const auto waitFor = [&](const std::string& words) {
    (void)reader_.find("Vantorel scrolling capture", words,
                       [&](const SpokenControl& one) { return one.name == words; });
  };
  waitFor("400 px, Scroll on");
  client_.moveTo(page, 200, 0);
  waitFor("500 px, Scroll on");
  desktop_.server().signal(SIGKILL);
  EXPECT_NE(tray_->wait().status, 0);
  EXPECT_EQ(vantorel_.run({"library", "verify"}).status, 0);
  ASSERT_EQ(vantorel_.run({"library", "list"}).status, 0);
  const EntryPointer entry = vantorel_.entries().back();
  EXPECT_TRUE(entry->isTallCapture);
  const auto picture = LinuxImageCodec().decode(readAll(entry->path));
  ASSERT_TRUE(picture) << entry->path;
  EXPECT_EQ(picture->size(), (PixelSize{500, 500}));
  EXPECT_EQ(differenceFromTestPicture(*picture, 5, 50, 50), "");
}

TEST_F(WindowsProgramTest, WhatWasScrolledIsFiledWhenItsCommandDiesButNotWhenItIsInterrupted) {
  startTray();
  const auto page = client_.open(
      {.area = {200, 100, 700, 3000}, .seed = 5, .title = "Page", .overrideRedirect = true});
  const std::string panel = "Vantorel scrolling capture";
  const auto scrollUntil = [&](const std::string& words, int row) {
    client_.moveTo(page, 200, 100 - row);
    (void)reader_.find(panel, words, [&](const SpokenControl& one) { return one.name == words; });
  };
  const std::size_t before = vantorel_.entries().size();
  std::size_t filed = 0;
  for (const int signal : {SIGKILL, SIGHUP, SIGINT}) {
    ChildProcess scrolling = vantorel_.start({"capture", "scroll", "--rect", "250,150,500,400"});
    scrollUntil("400 px, Scroll on", 0);
    scrollUntil("500 px, Scroll on", 100);
    FileWatch index({vantorel_.root()});
    scrolling.signal(signal);
    EXPECT_NE(scrolling.wait().status, 0);
    reader_.waitUntilGone(panel);
    filed += signal == SIGINT ? 0 : 1;
    EXPECT_TRUE(index.waitUntil([&] { return vantorel_.entries().size() == before + filed; }))
        << signal;
  }
  // Waits for what is being filed.
  quit();
  EXPECT_EQ(vantorel_.entries().size(), before + filed);
  // Without a tray the command does it all by itself.
  ChildProcess alone = vantorel_.start({"capture", "scroll", "--rect", "250,150,500,400"});
  reader_.follow(alone.pid());
  scrollUntil("400 px, Scroll on", 0);
  scrollUntil("500 px, Scroll on", 100);
  alone.signal(SIGTERM);
  EXPECT_EQ(vantorel_.picture(alone.wait()).size(), (PixelSize{500, 500}));
  EXPECT_EQ(vantorel_.entries().size(), before + filed + 1);
  vantorel_.expectWhole();
}

}  // namespace
}  // namespace vantorel
