#include "library/history_relocation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/relocation_leftovers.hpp"
#include "library/testing/relocation_fixture.hpp"
#include "platform/testing/fake_files.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr auto ofNoEntry = [](const std::string&) { return false; };

TEST_F(HistoryRelocationTest, EverythingMovesWithItsEntryAndWhatBelongsElsewhereStays) {
  for (const bool acrossDisks : {false, true}) {
    FakeFiles files;
    if (acrossDisks) files.mounts = {"/new"};
    fill(files, 120);
    files.put("/new/0.png", "somebody else's");
    World world(files);
    const RelocationOutcome outcome = world.move("/new/");
    EXPECT_EQ(outcome, (RelocationOutcome{.moved = 121})) << outcome.reason;
    EXPECT_FALSE(RelocationReport::alert(outcome).has_value());
    EXPECT_EQ(world.tried, 122U);
    EXPECT_EQ(files.text("/new/0.png"), "somebody else's");
    EXPECT_EQ(world.store.find("0")->path, "/new/0 2.png");
    EXPECT_EQ(world.store.find("2")->layers->front().path, "/new/0 2.png");
    EXPECT_EQ(world.store.find("2")->originalPath, "/new/inner/2.jpeg");
    EXPECT_EQ(world.store.find("1")->originalPath, "/data/Redacted Originals/1 original.png");
    EXPECT_EQ(world.store.find("elsewhere")->path, "/else/where.png");
    EXPECT_EQ(files.disk["/new/7.png"]->attributes["mark"], "/old/7.png");
    EXPECT_THAT(files.text("/data/history.json"), Not(HasSubstr("/old/")));
    EXPECT_THAT(files.names("/old"), IsEmpty());
    EXPECT_EQ(files.names("/new").size(), 121U) << "a temporary was left";
    EXPECT_EQ(files.text(journalPath), "(missing)");
    contents["0 2.png"] = contents["0.png"];
    expectReachable(world, 122);
    EXPECT_EQ(world.move("/new").moved, 0) << "what is there moves again";

    // Out of the folder into the one above it, and into one below.
    const auto back = [&](const Path& from, const Path& to) {
      std::optional<RelocationOutcome> came;
      world.relocation.relocate({to, {from}}, {},
                                [&](const RelocationOutcome& end) { came = end; });
      world.runners.run();
      return came.value_or(RelocationOutcome{}).moved;
    };
    EXPECT_EQ(back("/new", "/new/deep"), 121);
    EXPECT_EQ(back("/new", "/new/deep"), 0);
    EXPECT_EQ(back("/new/deep", "/new"), 121);
    EXPECT_EQ(world.store.find("7")->path, "/new/7.png");
  }
}

TEST_F(HistoryRelocationTest, AFlagEndsItsMoveAloneWhetherItRunsOrWaits) {
  FakeFiles files;
  fill(files, 150);
  World world(files);
  const auto running = std::make_shared<RelocationStopFlag>();
  const auto waiting = std::make_shared<RelocationStopFlag>();
  std::vector<RelocationOutcome> outcomes;
  const auto ask = [&](const Path& folder, const std::shared_ptr<RelocationStopFlag>& flag) {
    world.relocation.relocate(
        {folder, {"/old"}}, [&](std::size_t done, std::size_t) { running->stopped = done > 9; },
        [&](RelocationOutcome came) { outcomes.push_back(std::move(came)); }, flag);
  };
  ask("/second", running);
  ask("/third", waiting);
  ask("/fourth", nullptr);
  waiting->stopped = true;
  world.runners.run();
  ASSERT_EQ(outcomes.size(), 3U);
  EXPECT_TRUE(outcomes[0].stoppedForQuit);
  EXPECT_GT(outcomes[0].moved, 0);
  EXPECT_LE(outcomes[0].moved, 50);
  EXPECT_TRUE(outcomes[1].stoppedForQuit);
  EXPECT_EQ(outcomes[1].moved, 0);
  EXPECT_FALSE(outcomes[2].stoppedForQuit);
  EXPECT_GT(outcomes[2].moved, 90);
  EXPECT_THAT(files.names("/old"), IsEmpty());
  EXPECT_THAT(files.names("/third"), IsEmpty());
  expectReachable(world, 152);
}

TEST_F(HistoryRelocationTest, AQuitStopsAfterTheBatchAndTheNextMoveTakesTheRest) {
  FakeFiles files;
  fill(files, 150);
  {
    World world(files);
    world.begin("/new");
    bool isSettled = false;
    files.beforeChange = [&](int) {
      if (world.tried < 10) return;
      world.relocation.stop();
      if (!isSettled) world.relocation.settle([&] { isSettled = true; });
    };
    std::optional<RelocationOutcome> later;
    world.relocation.relocate({"/third", {"/old"}}, {},
                              [&](RelocationOutcome came) { later = std::move(came); });
    world.runners.run();
    files.beforeChange = nullptr;
    EXPECT_TRUE(isSettled);
    EXPECT_EQ(*world.outcome,
              (RelocationOutcome{.moved = 49, .notMoved = 102, .stoppedForQuit = true}));
    EXPECT_EQ(RelocationReport::alert(*world.outcome)->title, "Moving captures stopped");
    EXPECT_EQ(RelocationReport::alert(*world.outcome)->text,
              "Moving your captures stopped when Vantorel began to quit. 102 captures are still in "
              "the previous folder.");
    EXPECT_TRUE(later->stoppedForQuit);
    EXPECT_EQ(later->moved, 0);
    EXPECT_EQ(files.text(journalPath), "(missing)") << "nothing is under way any more";
    EXPECT_EQ(files.disk["/data/unmoved-folders.json"]->status.mode, 0600U);
  }
  World world(files);
  expectReachable(world, 152);
  // The folder they are in is no source any more, but what stayed there was noted.
  std::optional<RelocationOutcome> rest;
  world.relocation.relocate({"/new", {}}, {}, [&](const RelocationOutcome& came) { rest = came; });
  world.runners.run();
  EXPECT_GE(rest->moved, 101);
  EXPECT_THAT(files.names("/old"), IsEmpty());
  EXPECT_EQ(files.text(journalPath), "(missing)");
  EXPECT_EQ(files.text("/data/unmoved-folders.json"), "(missing)");
  expectReachable(world, 152);
}

TEST_F(HistoryRelocationTest, WhatCannotMoveStaysAndIsTold) {
  FakeFiles files;
  fill(files, 5);
  files.disk["/old/4.png"]->status.type = FileType::link;
  World world(files);
  world.busy = "3";
  auto three = world.store.claims().claim("3", EntryWork::rewriting);
  auto project = world.store.claims().claim("project", EntryWork::exporting);
  files.disk.erase("/old/1.png");
  const RelocationOutcome outcome = world.move("/new");
  EXPECT_EQ(outcome.moved, 2);
  EXPECT_EQ(outcome.failed, 3);
  EXPECT_EQ(RelocationReport::alert(outcome)->title, "Some captures didn't move");
  EXPECT_THAT(RelocationReport::alert(outcome)->text,
              HasSubstr("3 captures are still in the previous folder."));
  EXPECT_EQ(world.store.find("3")->path, "/old/3.png");
  EXPECT_EQ(files.text("/old/3.png"), contents["3.png"]);
  EXPECT_EQ(files.text(journalPath), "(missing)") << "what stayed is not on its way";
  three->end();
  world.busy.clear();
  project->end();
  EXPECT_EQ(world.move("/new").moved, 2);

  // A full disk: first there is no room for anything, then none for the index.
  FakeFiles full;
  fill(full, 60);
  World tight(full);
  full.changesFail = FailureKind::noSpace;
  const RelocationOutcome none = tight.move("/new");
  EXPECT_EQ(none.failed, 61);
  EXPECT_EQ(RelocationReport::alert(none)->title, "Captures weren't moved");
  full.changesFail.reset();
  full.beforeChange = [&](int) {
    if (tight.tried == 50) full.changesFail = FailureKind::noSpace;
  };
  const RelocationOutcome unsaved = tight.move("/new");
  EXPECT_EQ(unsaved.moved, 49);
  EXPECT_EQ(unsaved.notMoved, 12);
  EXPECT_EQ(
      RelocationReport::alert(unsaved)->text,
      "History couldn't save its index (the disk refuses changes), so Vantorel stopped moving "
      "captures. Every capture is still in History: the ones that moved are in the new "
      "folder, and the rest are where they were.");
  expectReachable(tight, 62);
  full.beforeChange = nullptr;
  full.changesFail.reset();
  EXPECT_EQ(tight.move("/gone/deeper").failed, 12);
  EXPECT_EQ(tight.move("/new").moved, 12);
  expectReachable(tight, 62);
}

TEST_F(HistoryRelocationTest, WhatMovedAndCannotBeRemovedIsToldAndRemembered) {
  FakeFiles files;
  files.mounts = {"/new", "/newer"};
  fill(files, 3);
  files.folders.insert("/newer");
  files.readOnly = {"/old"};
  {
    World world(files);
    const RelocationOutcome outcome = world.move("/new");
    EXPECT_EQ(outcome.failed, 0);
    EXPECT_EQ(outcome.copiesLeft, 3);
    const auto alert = RelocationReport::alert(outcome);
    ASSERT_TRUE(alert.has_value());
    EXPECT_THAT(alert->text,
                testing::StartsWith("3 files were copied to the new folder and could "
                                    "not be removed from the previous one (read-only"));
    expectReachable(world, 5);
  }
  EXPECT_EQ(files.text(journalPath), "(missing)");
  files.disk.erase("/old/0.png");  // by hand, when the disk could be written again
  World world(files);
  EXPECT_EQ(world.move("/newer").copiesLeft, 0);
  const auto remaining = RelocationLeftovers::read(files, paths).remaining(files, ofNoEntry);
  ASSERT_EQ(remaining.size(), 2U);
  EXPECT_EQ(remaining[0].oldPath, "/old/1.png");

  // The disk is away during another move.
  std::map<Path, std::shared_ptr<FakeFiles::File>> away;
  std::erase_if(files.disk, [&](const auto& one) {
    return one.first.parent_path() == "/old" && away.insert(one).second;
  });
  ASSERT_EQ(files.folders.erase("/old"), 1U);
  EXPECT_EQ(world.move("/new").copiesLeft, 0);
  files.folders.insert("/old");
  files.disk.merge(away);
  EXPECT_EQ(RelocationLeftovers::read(files, paths).remaining(files, ofNoEntry), remaining);

  // They get other names and other numbers, and the captures move back beside them.
  files.disk["/old/Mine.png"] = files.disk["/old/1.png"];
  files.disk.erase("/old/1.png");
  files.renumber("/old");
  world.relocation.relocate({"/old", {"/new"}}, {}, [](const RelocationOutcome&) {});
  world.runners.run();
  EXPECT_EQ(world.store.find("1")->path, "/old/1.png");
  const auto isNamed = [&](const std::string& path) {
    return world.store.findByPath(path) != nullptr;
  };
  std::set<std::string> still;
  for (const auto& pair : RelocationLeftovers::read(files, paths).remaining(files, isNamed)) {
    still.insert(pair.oldPath);
  }
  EXPECT_THAT(still, testing::ElementsAre("/old/2.png", "/old/Mine.png"));
}

TEST_F(HistoryRelocationTest, AFolderUnderAnotherNameIsTheSameFolder) {
  FakeFiles files;
  fill(files, 3);
  files.folders.insert({"/link", "/link/inner"});
  files.folderNumbers = {{"/old", 7}, {"/link", 7}, {"/old/inner", 8}, {"/link/inner", 8}};
  const auto disk = files.disk;
  for (const auto& [path, file] : disk) {
    const Path inside = path.lexically_relative("/old");
    if (*inside.begin() != "..") files.disk["/link" / inside] = file;
  }
  World world(files);
  const auto pathOf = [&](const char* id) { return world.store.find(id)->path; };
  const FileIdentity seen = identifyFile(files, "/old/2.png").value();
  const FileIdentity original = identifyFile(files, "/old/inner/2.jpeg").value();
  ASSERT_TRUE(world.store
                  .update("2",
                          [&](ScreenshotEntry& entry) {
                            entry.fileIdentity = seen;
                            entry.originalIdentity = original;
                          })
                  .has_value());
  world.runners.advance(1s);
  const auto before = files.disk;
  world.relocation.relocate({"/link", {"/old"}}, {}, [](const RelocationOutcome& outcome) {
    EXPECT_EQ(outcome.moved, 3);
    EXPECT_FALSE(RelocationReport::alert(outcome).has_value());
  });
  world.runners.run();
  EXPECT_EQ(pathOf("0"), "/link/0.png");
  EXPECT_EQ(world.store.find("2")->layers->front().path, "/link/0.png");
  EXPECT_EQ(world.store.find("2")->fileIdentity, seen) << "what is remembered holds";
  EXPECT_EQ(world.store.find("2")->originalIdentity, original);
  for (const auto& [path, file] : before) {
    if (path == "/data/history.json") continue;
    EXPECT_EQ(files.disk[path], file) << path;
  }
  EXPECT_EQ(files.text(journalPath), "(missing)");

  // Whichever name the setting has, its captures move.
  EXPECT_EQ(world.move("/new").moved, 4);
  EXPECT_EQ(pathOf("0"), "/new/0.png");
  EXPECT_EQ(files.text("/new/0.png"), contents["0.png"]);
  EXPECT_EQ(files.text("/link/0.png"), "(missing)");
}

TEST_F(HistoryRelocationTest, WhatCannotBeReadIsNeverMovedNorOverwritten) {
  for (const char* const text : {"{\"version\":2,\"moves\":[]}", "rubbish", "{\"version\":1}"}) {
    FakeFiles files;
    fill(files, 2);
    files.put(journalPath, text);
    World world(files);
    const RelocationOutcome outcome = world.move("/new");
    EXPECT_EQ(outcome.refusal, RelocationRefusal::journalUnreadable);
    EXPECT_EQ(RelocationReport::alert(outcome)->title, "Captures weren't moved");
    EXPECT_THAT(RelocationReport::alert(outcome)->text, HasSubstr("a record of an earlier move"));
    EXPECT_EQ(files.text(journalPath), text);
    EXPECT_EQ(files.names("/old").size(), 2U);
  }
  FakeFiles files;
  fill(files, 2);
  files.put("/data/history.json", "{\"version\":9}");
  World blocked(files);
  EXPECT_EQ(blocked.move("/new").refusal, RelocationRefusal::indexUnreadable);
  EXPECT_EQ(files.names("/old").size(), 2U);

  // Of a readable journal, what this build does not know survives, a moved file is recognised by
  // its size and time, and another one of that name is not.
  FakeFiles known;
  fill(known, 3);
  known.put("/new/0.png", known.text("/old/0.png"));
  known.disk["/new/0.png"]->status.modified = known.disk["/old/0.png"]->status.modified + 1;
  known.disk.erase("/old/0.png");
  known.put("/new/1.png", "another picture");
  const auto pair = [&](const char* number, const char* more) {
    const std::string old = std::string("/old/") + number + ".png";
    const std::string name = std::string("/new/") + number + ".png";
    return R"({"old":")" + old + R"(","new":")" + name + R"(","size":21,"modified":)" +
           std::to_string(number[0] == '0' ? 10 : 20) + more + "}";
  };
  known.put(journalPath, R"({"version":1,"id":"X","hint":true,"pairs":[)" + pair("0", "") + "," +
                             pair("1", R"(,"colour":"red")") + R"(,{"odd":1}]})");
  World world(known);
  EXPECT_EQ(world.store.find("0")->path, "/new/0.png");
  EXPECT_EQ(world.store.find("1")->path, "/old/1.png");
  EXPECT_EQ(known.text("/old/1.png"), contents["1.png"]);
  const std::string kept = known.text(journalPath);
  EXPECT_THAT(kept, HasSubstr("\"hint\":true"));
  EXPECT_THAT(kept, HasSubstr("{\"odd\":1}"));
  EXPECT_THAT(kept, Not(HasSubstr("1.png"))) << "it is known to have stayed";
  EXPECT_THAT(kept, Not(HasSubstr("0.png")));
}

}  // namespace
}  // namespace vantorel
