#include "library/history_folder_monitor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_folder_watcher.hpp"
#include "platform/testing/fake_mount_watcher.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_trash.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using Kind = FolderEvent::Kind;
using testing::ElementsAre;

class HistoryFolderMonitorTest : public testing::Test {
 protected:
  HistoryFolderMonitorTest() {
    store.load([] {});
    runners.run();
  }

  void add(const std::string& id, const std::string& folder = "/captures") {
    ScreenshotEntry entry;
    entry.id = id;
    entry.path = folder + "/" + id + ".png";
    files.put(entry.path, "pixels of " + id);
    ASSERT_TRUE(store.add(entry).has_value());
  }

  void start() {
    monitor.emplace(HistoryFolderMonitor::Services{store, deletion, reachability, files, watcher,
                                                   mounts, runners, runners.main(),
                                                   runners.runner("folders")});
    monitor->onFileChange = [this](const std::string& path) { changed.push_back(path); };
    runners.advance(2s);
  }

  std::string ids() {
    std::string text;
    for (const EntryPointer& entry : store.entries()) text += entry->id;
    return text;
  }

  std::string outOfReach() {
    std::string text;
    for (const EntryPointer& entry : store.entries()) {
      const FileReach reach = reachability.reachOf(*entry);
      if (reach != FileReach::there) text += entry->id;
      if (reach == FileReach::fileGone) text += "(gone)";
    }
    return text;
  }

  void takeFile(const std::string& name, const std::string& folder = "/captures") {
    files.disk.erase(folder + "/" + name);
    watcher.happen(folder, Kind::disappeared, name);
  }

  FakeFiles files;
  FakeRunners runners;
  FakeTrash trash{files};
  FakeFolderWatcher watcher;
  FakeMountWatcher mounts;
  QuietLog quiet;
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0},
                     LibraryPaths{"/data", "/caches"}};
  HistoryDeletion deletion{{store, files, trash, runners, runners.main(), runners.runner("work")}};
  HistoryReachability reachability{store, files, runners.main(), runners.runner("folders")};
  std::vector<std::string> changed;
  std::optional<HistoryFolderMonitor> monitor;
};

TEST_F(HistoryFolderMonitorTest, OnlyWhatGoesWhileItWatchesLeavesHistory) {
  for (const char* const id : {"a", "b", "c", "d"}) add(id);
  files.disk.erase("/captures/b.png");
  start();
  EXPECT_EQ(ids(), "abcd") << "nobody saw it go";
  EXPECT_EQ(outOfReach(), "b(gone)");

  takeFile("a.png");
  runners.advance(1s);
  EXPECT_EQ(ids(), "abcd");
  runners.advance(1s);
  EXPECT_EQ(ids(), "bcd");
  EXPECT_THAT(files.text("/data/history.json"), Not(testing::HasSubstr(R"("id":"a")")));

  // An editor that saves by moving the old file away.
  takeFile("c.png");
  runners.advance(500ms);
  files.put("/captures/c.png", "new pixels");
  watcher.happen("/captures", Kind::changed, "c.png");
  watcher.happen("/captures", Kind::changed, "somebody else's.png");
  runners.advance(5s);
  EXPECT_EQ(ids(), "bcd");
  EXPECT_THAT(changed, ElementsAre("/captures/c.png"));

  // What was missing comes back, and is seen to go then.
  files.put("/captures/b.png", "pixels of b");
  watcher.happen("/captures", Kind::appeared, "b.png");
  runners.advance(2s);
  EXPECT_EQ(outOfReach(), "");
  takeFile("b.png");
  runners.advance(2s);
  EXPECT_EQ(ids(), "cd");

  // Nobody names what went when there is too much to tell; and the rest never pauses.
  files.disk.erase("/captures/c.png");
  watcher.happen("/captures", Kind::overflowed);
  for (int i = 0; i < 12; ++i) {
    watcher.happen("/captures", Kind::changed, "d.png");
    runners.advance(1s);
  }
  EXPECT_EQ(ids(), "d");

  add("e");
  runners.run();
  takeFile("e.png");
  runners.advance(2s);
  EXPECT_EQ(ids(), "d") << "taken and gone without a look in between";
}

TEST_F(HistoryFolderMonitorTest, WhatIsHeardToGoBeforeTheFirstLookLeavesHistory) {
  for (const char* const id : {"a", "b", "c"}) add(id);
  files.disk.erase("/captures/c.png");
  monitor.emplace(HistoryFolderMonitor::Services{store, deletion, reachability, files, watcher,
                                                 mounts, runners, runners.main(),
                                                 runners.runner("folders")});
  runners.advance(500ms);
  ASSERT_TRUE(watcher.isWatched("/captures"));
  takeFile("a.png");
  runners.advance(4s);
  EXPECT_EQ(ids(), "bc");
  EXPECT_EQ(outOfReach(), "c(gone)");
}

TEST_F(HistoryFolderMonitorTest, AFolderThatHoldsNothingAnyMoreIsNotWatched) {
  add("a");
  start();
  EXPECT_TRUE(watcher.isWatched("/captures"));
  ASSERT_EQ(store.removeEntries({"a"}).size(), 1U);
  EXPECT_FALSE(watcher.isWatched("/captures"));
}

TEST_F(HistoryFolderMonitorTest, WhatIsRenamedKeepsItsEntryAndWhatComesBackGetsItAgain) {
  for (const char* const id : {"a", "b", "c"}) add(id);
  add("d", "/more");
  files.folders.insert("/elsewhere");
  ASSERT_TRUE(store.addCollection({.id = "box", .name = "Box", .extra = {}}).has_value());
  ASSERT_TRUE(store
                  .update("b",
                          [](ScreenshotEntry& entry) {
                            entry.title = "mine";
                            entry.collectionIDs = {"box"};
                            entry.originalPath = "/data/Originals/b.png";
                          })
                  .has_value());
  files.put("/data/Originals/b.png", "as it was");
  start();
  std::uint32_t moves = 0;
  const auto move = [&](const Path& from, const Path& to) {
    ASSERT_TRUE(files.moveNew(from, to).has_value());
    ++moves;
    watcher.happen(from.parent_path(), Kind::disappeared, from.filename(), moves);
    watcher.happen(to.parent_path(), Kind::appeared, to.filename(), moves);
  };
  const auto pathOf = [&](const char* id) {
    const EntryPointer entry = store.find(id);
    return entry ? entry->path : std::string("(none)");
  };
  move("/captures/a.png", "/captures/x.png");
  move("/captures/x.png", "/more/a new.png");
  runners.advance(2s);
  EXPECT_EQ(pathOf("a"), "/more/a new.png");
  EXPECT_TRUE(watcher.isWatched("/more"));
  EXPECT_EQ(ids(), "abcd");

  // Saved by an editor that keeps the old file under another name.
  move("/captures/c.png", "/captures/c.png~");
  files.put("/captures/c.png", "new pixels");
  watcher.happen("/captures", Kind::appeared, "c.png");
  runners.advance(2s);
  EXPECT_EQ(pathOf("c"), "/captures/c.png");

  // Another file gets the name, and goes on in its turn.
  move("/captures/b.png", "/captures/b mine.png");
  files.put("/captures/b.png", "a stranger's pixels");
  watcher.happen("/captures", Kind::appeared, "b.png");
  move("/captures/b.png", "/captures/b other.png");
  runners.advance(2s);
  EXPECT_EQ(pathOf("b"), "/captures/b mine.png");
  move("/captures/b mine.png", "/captures/b.png");
  runners.advance(2s);

  // Out of all folders, and back under another name; the entry has its old place.
  move("/captures/b.png", "/elsewhere/b.png");
  runners.advance(20s);
  EXPECT_EQ(ids(), "acd");
  move("/elsewhere/b.png", "/captures/b again.png");
  runners.advance(2s);
  EXPECT_EQ(ids(), "abcd");
  EXPECT_EQ(pathOf("b"), "/captures/b again.png");
  EXPECT_EQ(store.find("b")->title, "mine");
  EXPECT_THAT(store.find("b")->collectionIDs, ElementsAre("box"));
  EXPECT_EQ(store.find("b")->originalPath, "/data/Originals/b.png");

  // The last one of its folder; back when somebody has made an entry of it meanwhile.
  move("/more/d.png", "/elsewhere/d.png");
  move("/more/a new.png", "/elsewhere/a.png");
  runners.advance(20s);
  EXPECT_EQ(ids(), "bc");
  move("/elsewhere/a.png", "/more/a.png");
  move("/elsewhere/d.png", "/more/d.png");
  ScreenshotEntry made;
  made.id = "z";
  made.path = "/more/d.png";
  ASSERT_TRUE(store.add(made).has_value());
  runners.advance(2s);
  EXPECT_EQ(ids(), "abcz");
}

TEST_F(HistoryFolderMonitorTest, ADiskThatGoesTakesNoEntryWithIt) {
  files.mounts.insert("/home/me/nas");
  for (const char* const id : {"a", "b"}) add(id, "/home/me/nas");
  add("c");
  start();
  EXPECT_EQ(outOfReach(), "");
  EXPECT_EQ(diskNameOf(*store.find("a")), "nas");
  EXPECT_EQ(diskNameOf(*store.find("c")), "") << "the system's own";
  int told = 0;
  const Observation reach = reachability.observe([&] { ++told; });
  const auto unmount = [&] {
    files.mounts.erase("/home/me/nas");
    for (const char* const id : {"a", "b"}) {
      files.disk.erase(std::string("/home/me/nas/") + id + ".png");
    }
  };
  // Its files go one by one as far as anybody can tell, from a folder that is still there.
  unmount();
  for (const char* const name : {"a.png", "b.png"}) {
    watcher.happen("/home/me/nas", Kind::disappeared, name);
  }
  runners.advance(5s);
  EXPECT_EQ(ids(), "abc");
  EXPECT_EQ(outOfReach(), "ab");
  EXPECT_EQ(told, 1);
  watcher.happen("/home/me/nas", Kind::folderGone);
  mounts.happen();
  runners.advance(1min);
  EXPECT_EQ(told, 1) << "nothing is other than it was";
  EXPECT_EQ(ids(), "abc");
  EXPECT_TRUE(watcher.isWatched("/home/me/nas")) << "the folder that is left";

  // Another disk under the same name; the kernel has given it the same number.
  files.mounts.insert("/home/me/nas");
  files.put("/home/me/nas/a.png", "another a");
  mounts.happen();
  runners.advance(5s);
  EXPECT_EQ(ids(), "abc");
  EXPECT_EQ(outOfReach(), "b(gone)");
  unmount();
  watcher.happen("/home/me/nas", Kind::folderGone);
  mounts.happen();
  runners.advance(5s);
  files.mounts.insert("/home/me/nas");
  for (const char* const id : {"a", "b"}) {
    files.put(std::string("/home/me/nas/") + id + ".png", "pixels");
  }
  // A disk is mounted over the folder that is watched: that watch tells nothing any more.
  const int before = watcher.attempts["/home/me/nas"];
  const int others = watcher.attempts["/captures"];
  mounts.happen();
  mounts.happen();
  runners.advance(5s);
  EXPECT_EQ(watcher.attempts["/home/me/nas"], before + 1);
  EXPECT_EQ(watcher.attempts["/captures"], others) << "nothing changed there";
  EXPECT_EQ(outOfReach(), "");
  EXPECT_GE(told, 3);
  takeFile("b.png", "/home/me/nas");
  runners.advance(5s);
  EXPECT_EQ(ids(), "ac");
}

TEST_F(HistoryFolderMonitorTest, AFolderThatCannotBeWatchedIsTriedLessAndLessOften) {
  add("a");
  add("b");
  watcher.failing["/captures"] = FailureKind::tooLarge;
  start();
  const auto attempts = [&] { return watcher.attempts["/captures"]; };
  EXPECT_EQ(attempts(), 1);
  runners.advance(3s);  // 5 s from the start
  EXPECT_EQ(attempts(), 2);
  runners.advance(30s);  // 10 and 20 s later
  EXPECT_EQ(attempts(), 4);
  runners.advance(24h);
  EXPECT_LT(attempts(), 4 + 24 * 6 + 10);
  EXPECT_GT(attempts(), 4 + 24 * 6 - 10);
  const int before = attempts();
  monitor->activated();
  runners.run();
  EXPECT_EQ(attempts(), before + 1);
  EXPECT_EQ(ids(), "ab");

  watcher.failing.clear();
  files.disk.erase("/captures/a.png");
  mounts.happen();
  runners.advance(5s);
  EXPECT_TRUE(watcher.isWatched("/captures"));
  EXPECT_EQ(ids(), "b") << "it was seen at the first look";
}

TEST_F(HistoryFolderMonitorTest, WhatTheProgramMovesItselfStays) {
  for (const char* const id : {"a", "b", "c"}) add(id);
  start();
  auto moving = store.claims().claim("a", EntryWork::moving);
  takeFile("a.png");
  runners.advance(10s);
  EXPECT_EQ(ids(), "abc");
  files.put("/captures/a.png", "back");
  moving->end();
  runners.advance(10s);
  EXPECT_EQ(ids(), "abc");

  // Gone at the look, and back before its entry is.
  takeFile("c.png");
  const auto later = [this](auto then) { return [this, then] { runners.main()->post(then); }; };
  runners.main()->postAfter(HistoryFolderMonitor::pruneDebounce,
                            later(later([this] { files.put("/captures/c.png", "back"); })));
  runners.advance(10s);
  EXPECT_EQ(ids(), "abc");

  // A deletion and its undo, with a look at every moment in between.
  std::optional<TrashSweep> swept;
  deletion.trash({"b"}, HistoryDeletion::Undo::offered,
                 [&](TrashSweep sweep) { swept = std::move(sweep); });
  watcher.happen("/captures", Kind::disappeared, "b.png");
  runners.advance(1400ms);
  ASSERT_TRUE(swept.has_value());
  bool isBack = false;
  watcher.happen("/captures", Kind::overflowed);
  runners.run();
  runners.advance(1500ms);
  deletion.undo([&](const UndoOutcome& outcome) { isBack = outcome.restored.size() == 1; });
  watcher.happen("/captures", Kind::overflowed);
  runners.advance(10s);
  EXPECT_TRUE(isBack);
  EXPECT_EQ(ids(), "abc");
}

TEST_F(HistoryFolderMonitorTest, ALibraryThatMayNotBeWrittenIsLeftAlone) {
  files.put("/other/history.json", R"({"version":5})");
  HistoryStore newer({files, runners, runners.main(), runners.runner("persist"), 0},
                     LibraryPaths{"/other", "/caches"});
  newer.load([] {});
  runners.run();
  ScreenshotEntry entry;
  entry.id = "n";
  entry.path = "/captures/n.png";
  files.put(entry.path, "pixels");
  ASSERT_TRUE(newer.add(entry).has_value());
  HistoryReachability reach{newer, files, runners.main(), runners.runner("folders")};
  HistoryDeletion going{{newer, files, trash, runners, runners.main(), runners.runner("work")}};
  const HistoryFolderMonitor watching({newer, going, reach, files, watcher, mounts, runners,
                                       runners.main(), runners.runner("folders")});
  runners.advance(5s);
  takeFile("n.png");
  runners.advance(5s);
  EXPECT_EQ(newer.entries().size(), 1U);
}

}  // namespace
}  // namespace vantorel
