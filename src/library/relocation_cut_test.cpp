#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/history_relocation.hpp"
#include "library/relocation_leftovers.hpp"
#include "library/testing/relocation_fixture.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_trash.hpp"
#include "platform/testing/lazy_unmount.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr auto ofNoEntry = [](const std::string&) { return false; };

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

}  // namespace
}  // namespace vantorel
