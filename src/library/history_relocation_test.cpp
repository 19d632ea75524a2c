#include "library/history_relocation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/log.hpp"
#include "library/relocation_leftovers.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_trash.hpp"
#include "platform/testing/lazy_unmount.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr auto ofNoEntry = [](const std::string&) { return false; };

struct PowerCut {};

constexpr const char* journalPath = "/data/relocation.json";
const LibraryPaths paths{"/data", "/caches"};

/// The program on a disk that outlives it.
struct World {
  explicit World(FakeFiles& disk, std::size_t batchSize = HistoryRelocation::relocationBatchSize)
      : files(disk), relocation(services(batchSize)) {
    store.load([this] { relocation.recover([this] { isReady = true; }); });
    runners.run();
  }

  std::optional<RelocationOutcome> outcome;
  void begin(const Path& folder) {
    outcome.reset();
    relocation.relocate(
        {folder, {"/old", "/usual"}}, [this](std::size_t done, std::size_t) { tried = done; },
        [this](RelocationOutcome came) { outcome = std::move(came); });
  }
  RelocationOutcome move(const Path& folder) {
    begin(folder);
    runners.run();
    EXPECT_TRUE(outcome.has_value());
    for (const EntryPointer& entry : store.entries()) {
      EXPECT_EQ(store.claims().isFileChanging(entry->id), entry->id == busy) << entry->id;
    }
    return outcome.value_or(RelocationOutcome{});
  }

  HistoryRelocation::Services services(std::size_t batchSize) {
    return {store, files, runners, runners.main(), runners.runner("work"), batchSize};
  }

  FakeFiles& files;
  FakeRunners runners;
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0}, paths};
  HistoryRelocation relocation;
  std::string busy;  // claimed by somebody else
  bool isReady = false;
  std::size_t tried = 0;
};

class HistoryRelocationTest : public testing::Test {
 protected:
  HistoryRelocationTest() {
    formerSink = setLogSink([](LogLevel, std::string_view, std::string_view) {});
  }
  ~HistoryRelocationTest() override { setLogSink(std::move(formerSink)); }

  /// A library of `count` pictures, one with an original, one that shows another's picture as a
  /// layer, a package, and files that stay where they are.
  void fill(FakeFiles& files, int count) {
    files.folders.insert("/new");
    World world(files);
    for (int i = 0; i < count; ++i) {
      ScreenshotEntry entry;
      entry.id = std::to_string(i);
      entry.path = "/old/" + entry.id + ".png";
      put(files, entry.path);
      if (i == 1) {
        entry.originalPath = "/data/Redacted Originals/1 original.png";
        put(files, *entry.originalPath);
      }
      if (i == 2) {
        LayerSpec layer;
        layer.path = "/old/0.png";
        entry.layers = {layer};
        entry.originalPath = "/old/inner/2.jpeg";
        put(files, *entry.originalPath);
      }
      EXPECT_TRUE(world.store.add(entry).has_value());
    }
    ScreenshotEntry project;
    project.id = "project";
    project.medium = CaptureMedium::project;
    project.path = "/usual/Take.vantorelstudio";
    put(files, project.path + "/project.json");
    put(files, project.path + "/takes/1/input.jsonl");
    put(files, project.path + "/media/screen.mp4");
    EXPECT_TRUE(world.store.add(project).has_value());
    ScreenshotEntry elsewhere;
    elsewhere.id = "elsewhere";
    elsewhere.path = "/else/where.png";
    put(files, elsewhere.path);
    EXPECT_TRUE(world.store.add(elsewhere).has_value());
    world.runners.advance(1s);
  }

  void put(FakeFiles& files, const std::string& path) {
    files.now += 10;
    files.put(path, "content of " + path);
    files.disk[path]->attributes["mark"] = path;
    contents[Path(path).filename()] = files.text(path);
  }

  /// Each entry's files are where it says, as they were.
  void expectReachable(const World& world, std::size_t entries) {
    EXPECT_EQ(world.store.entries().size(), entries);
    for (const EntryPointer& entry : world.store.entries()) {
      forEachPath(*entry, [&](const std::string& path) {
        if (Path(path).extension() != ".vantorelstudio") {
          EXPECT_EQ(world.files.text(path), contents[Path(path).filename()]) << path;
          return;
        }
        for (const char* part : {"project.json", "takes/1/input.jsonl", "media/screen.mp4"}) {
          EXPECT_EQ(world.files.text(Path(path) / part), contents[Path(part).filename()]) << path;
        }
      });
    }
  }

  std::map<std::string, std::string> contents;
  LogSink formerSink;
};

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

TEST_F(HistoryRelocationTest, EndedBeforeAnyChangeOfTheDiskEveryEntryIsReachable) {
  constexpr int count = 6;
  constexpr std::size_t batchSize = 3;
  for (const bool acrossDisks : {false, true}) {
    bool isComplete = false;
    for (int moment = 1; !isComplete; ++moment) {
      FakeFiles files;
      if (acrossDisks) files.mounts = {"/new"};
      fill(files, count);
      const auto runUntil = [&](int change, const auto& work) {
        files.beforeChange = [change, from = files.changes](int number) {
          if (number - from == change) throw PowerCut();
        };
        bool isWhole = true;
        try {
          World world(files, batchSize);
          work(world);
        } catch (const PowerCut&) {
          isWhole = false;
        }
        files.beforeChange = nullptr;
        return isWhole;
      };
      isComplete =
          runUntil(moment, [&](World& world) { EXPECT_EQ(world.move("/new").moved, count + 1); });
      // The next launch may be cut short as well, wherever it is.
      for (int again = 1; !runUntil(again, [](const World&) {}); ++again) {
      }

      World world(files, batchSize);
      EXPECT_TRUE(world.isReady);
      expectReachable(world, count + 2);
      const RelocationOutcome rest = world.move("/new");
      EXPECT_EQ(rest.failed + rest.notMoved, 0);
      expectReachable(world, count + 2);
      for (const EntryPointer& entry : world.store.entries()) {
        EXPECT_THAT(entry->path, Not(HasSubstr("/old/")));
      }
      EXPECT_THAT(files.names("/old"), IsEmpty());
      EXPECT_THAT(files.names("/old/inner"), IsEmpty());
      EXPECT_FALSE(files.folders.contains("/usual/Take.vantorelstudio"));
      EXPECT_EQ(files.names("/new").size(), static_cast<std::size_t>(count)) << "left over";
      EXPECT_EQ(files.text(journalPath), "(missing)");
      if (HasFailure()) FAIL() << "moment " << moment << (acrossDisks ? " across disks" : "");
    }
  }
}

TEST_F(HistoryRelocationTest, EndedAtAnyChangeAndMountedAnewWithOtherNumbersNoFileIsForgotten) {
  for (const bool acrossDisks : {false, true}) {
    for (const Path numbersAnew : {"/old", "/new", "/"}) {
      bool isComplete = false;
      for (int moment = 1; !isComplete; ++moment) {
        FakeFiles files;
        if (acrossDisks) files.mounts = {"/new"};
        fill(files, 3);
        files.beforeChange = [&, from = files.changes](int number) {
          if (number - from == moment) throw PowerCut();
        };
        try {
          World(files, 2).move("/new");
          isComplete = true;
        } catch (const PowerCut&) {
        }
        files.beforeChange = nullptr;
        files.renumber(numbersAnew);
        World world(files);
        expectReachable(world, 5);
        std::set<std::string> known;
        for (const EntryPointer& entry : world.store.entries()) {
          forEachPath(*entry, [&](const std::string& path) { known.insert(path); });
        }
        for (const auto& pair :
             RelocationLeftovers::read(files, paths).remaining(files, ofNoEntry)) {
          known.insert(pair.oldPath);
        }
        for (const Path folder : {"/old", "/old/inner", "/new", "/new/inner"}) {
          for (const std::string& name : files.names(folder)) {
            EXPECT_TRUE(known.contains((folder / name).string())) << folder / name;
          }
        }
        EXPECT_EQ(files.text(journalPath), "(missing)");
        if (HasFailure()) {
          FAIL() << "moment " << moment << (acrossDisks ? " across disks, " : ", ") << numbersAnew;
        }
      }
    }
  }
}

TEST_F(HistoryRelocationTest, ADiskThatGoesDuringTheMoveGetsNothingMore) {
  for (const bool isBatchUnderWay : {false, true}) {
    FakeFiles files;
    files.mounts = {"/new"};
    fill(files, 20);
    World world(files, 5);
    // Another file system has the name from then on: between two batches, or within one.
    files.beforeChange = [&](int) {
      if (world.tried == (isBatchUnderWay ? 7U : 5U)) {
        files.mounted = {{"/new", {"what is below the disk", "/"}}};
      }
    };
    const RelocationOutcome outcome = world.move("/new");
    files.beforeChange = nullptr;
    EXPECT_EQ(outcome.reason, "the new folder can't be reached any more");
    EXPECT_LE(outcome.moved, 5);
    EXPECT_EQ(outcome.moved + outcome.failed, 21);
    expectReachable(world, 22);
    // The disk again: the rest follows.
    files.mounted = {};
    EXPECT_EQ(world.move("/new").failed, 0);
    expectReachable(world, 22);
    EXPECT_THAT(files.names("/old"), IsEmpty());
    EXPECT_EQ(files.text(journalPath), "(missing)");
  }
}

TEST_F(HistoryRelocationTest, ADiskThatGoesAtAnyMomentOfTheMoveLeavesNoFileWithoutItsEntry) {
  constexpr int count = 6;
  bool isComplete = false;
  int returned = 0;
  for (int moment = 1; !isComplete; ++moment) {
    FakeFiles files;
    files.mounts = {"/new"};
    fill(files, count);
    std::optional<World> world(std::in_place, files, 3);
    isComplete = true;
    files.beforeChange = [&, from = files.changes](int change) {
      if (change - from < moment) return;
      isComplete = false;
      files.mounted = {{"/new", {"what is below the disk", "/"}}};
    };
    const RelocationOutcome outcome = world->move("/new");
    files.beforeChange = nullptr;
    EXPECT_EQ(outcome.moved + outcome.failed, count + 1);
    const auto expectNoStrays = [&](const World& after) {
      expectReachable(after, count + 2);
      std::set<std::string> named;
      for (const EntryPointer& entry : after.store.entries()) {
        forEachPath(*entry, [&](const std::string& path) { named.insert(path); });
      }
      for (const Path folder : {"/old", "/old/inner", "/new", "/new/inner"}) {
        // What was copied is looked after when the disk is back.
        const bool isAway = !files.mounted.empty() && folder.string().starts_with("/new");
        for (const std::string& name : files.names(folder)) {
          const std::string path = folder / name;
          EXPECT_TRUE(isAway || named.contains(path)) << path;
        }
      }
    };
    expectNoStrays(*world);
    returned += files.text(journalPath) != "(missing)";
    world.reset();
    files.mounted = {};
    world.emplace(files, 3);
    expectNoStrays(*world);
    EXPECT_EQ(files.text(journalPath), "(missing)");
    EXPECT_EQ(world->move("/new").failed, 0);
    expectNoStrays(*world);
    EXPECT_THAT(files.names("/old"), IsEmpty());
    if (HasFailure()) FAIL() << "moment " << moment;
  }
  EXPECT_GT(returned, 0) << "the last moments were missed";
}

TEST_F(HistoryRelocationTest, ADiskUnmountedAtAnyMomentOfAMoveAwayFromItIsEmptiedOnceItIsBack) {
  constexpr int count = 4;
  int left = 0;
  for (const bool isCut : {false, true}) {
    bool isComplete = false;
    for (int moment = 1; !isComplete; ++moment) {
      FakeFiles files;
      files.mounts = {"/old"};
      fill(files, count);
      LazyUnmount old(files, "/old", LazyUnmount::Folder::stays);
      files.beforeChange = [&, from = files.changes](int change) {
        if (change - from < moment || old.isAway()) return;
        old.unmount();
        if (isCut) throw PowerCut();
      };
      try {
        World(files, 2).move("/new");
      } catch (const PowerCut&) {
      }
      isComplete = !old.isAway();
      // Nothing that is done meanwhile takes the empty mount point for an empty folder.
      files.beforeChange = nullptr;
      if (moment % 2 == 0) World(files, 2).move("/new");
      EXPECT_THAT(files.names("/old"), IsEmpty()) << "hidden below the disk";
      old.mountAgain();

      World world(files, 2);
      expectReachable(world, count + 2);
      const auto isNamed = [&](const std::string& path) {
        return std::ranges::any_of(world.store.entries(), [&](const EntryPointer& entry) {
          bool has = false;
          forEachPath(*entry, [&](const std::string& one) { has |= one == path; });
          return has;
        });
      };
      FakeTrash trash(files);
      const auto copies = RelocationLeftovers::read(files, paths).remaining(files, isNamed);
      left += static_cast<int>(copies.size());
      EXPECT_EQ(removeCopiesLeft(files, trash, paths, copies).size(), copies.size());
      for (const Path folder : {"/old", "/old/inner", "/new", "/new/inner"}) {
        for (const std::string& name : files.names(folder)) {
          EXPECT_TRUE(isNamed(folder / name)) << folder / name << " is nobody's";
        }
      }
      EXPECT_EQ(world.move("/new").failed, 0);
      expectReachable(world, count + 2);
      EXPECT_THAT(files.names("/old"), IsEmpty());
      EXPECT_THAT(files.names("/old/inner"), IsEmpty());
      if (HasFailure()) FAIL() << "moment " << moment << (isCut ? ", cut" : "");
    }
  }
  EXPECT_GT(left, 0) << "no removal met the empty mount point";
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

TEST_F(HistoryRelocationTest, AFileThatOnlyLooksLikeTheMovedOneIsNotTakenForIt) {
  FakeFiles files;
  fill(files, 3);
  files.disk["/old/1.png"]->status.type = FileType::link;  // stays behind, and in the journal
  World(files).move("/new");
  files.disk["/old/1.png"]->status.type = FileType::regular;
  // The same picture, at the same time, under the name that the move had chosen.
  files.put("/new/1.png", files.text("/old/1.png"));
  files.disk["/new/1.png"]->status.modified = files.disk["/old/1.png"]->status.modified;
  {
    World world(files);
    EXPECT_EQ(world.store.find("1")->path, "/old/1.png");
    ScreenshotEntry other;
    other.id = "other";
    other.path = "/new/1.png";
    ASSERT_TRUE(world.store.add(other).has_value());
    world.runners.advance(1s);
  }
  files.disk.erase("/old/1.png");
  World world(files);
  EXPECT_EQ(world.store.find("1")->path, "/old/1.png");
  EXPECT_EQ(world.store.find("other")->path, "/new/1.png");
  EXPECT_EQ(files.text("/new/1.png"), contents["1.png"]);
}

TEST_F(HistoryRelocationTest, ABackupPutInTheNewFolderAfterACutIsNotTakenForTheMove) {
  for (const bool acrossDisks : {false, true}) {
    bool isComplete = false;
    int surviving = 0;
    for (int moment = 1; !isComplete; ++moment) {
      FakeFiles files;
      if (acrossDisks) files.mounts = {"/new"};
      fill(files, 4);
      files.beforeChange = [&](int change) {
        if (change == moment) throw PowerCut();
      };
      files.changes = 0;
      try {
        World(files, 2).move("/new");
        isComplete = true;
      } catch (const PowerCut&) {
      }
      files.beforeChange = nullptr;
      std::map<Path, std::shared_ptr<FakeFiles::File>> backups;
      for (const std::string& name : files.names("/old")) {
        if (files.status("/new/" + name) || !files.disk.contains("/old/" + name)) continue;
        files.put("/new/" + name, files.text("/old/" + name));
        files.disk["/new/" + name]->status.modified = files.disk["/old/" + name]->status.modified;
        backups["/new/" + name] = files.disk["/new/" + name];
      }
      World world(files);
      expectReachable(world, 6);
      for (const auto& [path, backup] : backups) {
        EXPECT_EQ(files.disk[path], backup);
        EXPECT_TRUE(files.disk.contains("/old" / path.filename())) << path;
        EXPECT_EQ(world.store.findByPath(path.string()), nullptr) << path;
        ++surviving;
      }
      EXPECT_EQ(files.text(journalPath), "(missing)") << "moment " << moment;
      if (HasFailure()) FAIL() << "moment " << moment << (acrossDisks ? " across disks" : "");
    }
    EXPECT_GT(surviving, 0);
  }
}

// Where each name has a number of its own, and one is shown for a while after it has gone.
TEST_F(HistoryRelocationTest, ACopyThatGotItsNameIsKnownThoughItsFormerNameIsStillShown) {
  FakeFiles files;
  files.mounts = {"/new"};
  files.folders.insert("/new");
  put(files, "/old/a.png");
  put(files, "/new/a.png");
  FakeFiles::File& copy = *files.disk["/new/a.png"];
  copy.bytes = files.text("/old/a.png");
  RelocationJournal journal;
  journal.id = "id";
  journal.pairs.push_back({.oldPath = "/old/a.png", .newPath = "/new/a.png"});
  RelocationJournal::Pair& pair = journal.pairs[0];
  pair.file = static_cast<std::int64_t>(files.disk["/old/a.png"]->status.inode);
  const Path temporary = journal.temporaryFor(pair);
  const auto shown = std::make_shared<FakeFiles::File>(copy);
  shown->status.inode += 1000;
  files.shownAlthoughGone[temporary] = shown;
  pair.copy = identifyFile(files, temporary);
  journal.removeTemporaries(files);
  files.shownAlthoughGone.clear();
  const auto found = journal.resolve(files, {"/old/a.png"});
  EXPECT_EQ(found.moved, (std::map<std::string, std::string>{{"/old/a.png", "/new/a.png"}}));
  EXPECT_THAT(found.surplus, testing::ElementsAre("/old/a.png"));
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
