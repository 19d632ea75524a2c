#include "library/unanswered_change.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "library/entry_paths.hpp"
#include "library/history_deletion.hpp"
#include "library/history_relocation.hpp"
#include "library/relocation_leftovers.hpp"
#include "library/rewrite_journal.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_trash.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto ofNoEntry = [](const std::string&) { return false; };

/// A library of two captures, the first with an original.
struct Shelf {
  Shelf() {
    store.load([] {});
    runners.run();
    for (const std::string id : {"a", "b"}) {
      files.now += 1;
      ScreenshotEntry entry;
      entry.id = id;
      entry.path = "/captures/" + id + ".png";
      files.put(entry.path, id);
      if (id == "a") entry.originalPath = "/captures/a original.png";
      if (id == "a") files.put(*entry.originalPath, "a original");
      EXPECT_TRUE(store.add(entry).has_value());
    }
    runners.advance(1s);
  }

  TrashSweep trash() {
    TrashSweep sweep;
    deletion.trash({"a", "b"}, HistoryDeletion::Undo::offered,
                   [&](const TrashSweep& came) { sweep = came; });
    runners.run();
    return sweep;
  }

  UndoOutcome undo() {
    UndoOutcome outcome;
    deletion.undo([&](UndoOutcome came) { outcome = std::move(came); });
    runners.run();
    return outcome;
  }

  RelocationOutcome relocate() {
    RelocationOutcome outcome;
    relocation.relocate({"/new", {"/captures"}}, {},
                        [&](RelocationOutcome came) { outcome = std::move(came); });
    runners.run();
    return outcome;
  }

  /// The next of its changes that `folder` sees is not answered, the `number`-th.
  void silence(const Path& folder, int number, bool isMade) {
    files.silencing = folder;
    files.silenceAtMove = number;
    files.isUnansweredMade = isMade;
  }
  void answerAgain() {
    files.silent.clear();
    files.silenceAtMove = 0;
  }

  /// The server died when it fell silent, and its disk is mounted again.
  void mountAnew() {
    answerAgain();
    for (const char* folder : {"/captures", "/Trash"}) files.renumber(folder);
  }

  [[nodiscard]] std::string ids() const {
    std::string text;
    for (const EntryPointer& entry : store.entries()) text += entry->id;
    return text;
  }

  /// Each entry has its files, each file an entry, and no journal is left.
  void expectWhole() {
    std::set<std::string> named;
    for (const EntryPointer& entry : store.entries()) {
      forEachPath(*entry, [&](const std::string& path) { named.insert(path); });
      EXPECT_EQ(files.text(entry->path), entry->id) << entry->path;
      if (entry->originalPath) {
        EXPECT_EQ(files.text(*entry->originalPath), entry->id + " original");
      }
    }
    for (const Path folder : {"/captures", "/new"}) {
      for (const std::string& name : files.names(folder)) {
        EXPECT_TRUE(named.contains((folder / name).string())) << folder / name;
      }
    }
    for (const char* const journal : {"deletions", "undo", "rewrites", "relocation"}) {
      EXPECT_EQ(files.text(Path("/data") / (std::string(journal) + ".json")), "(missing)");
    }
  }

  FakeFiles files;
  FakeRunners runners;
  FakeTrash trashFolder{files};
  LibraryPaths paths{"/data", "/caches"};
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0}, paths};
  HistoryDeletion deletion{
      {store, files, trashFolder, runners, runners.main(), runners.runner("work")}};
  HistoryRelocation relocation{{store, files, runners, runners.main(), runners.runner("moves")}};
};

/// Whether the server makes the change that it did not answer.
class UnansweredChangeTest : public testing::TestWithParam<bool> {
 protected:
  QuietLog quiet;
};

TEST_P(UnansweredChangeTest, ADeletionIsLookedAtAgainAtWhicheverFileTheDiskFellSilent) {
  int number = 1;
  for (;; ++number) {
    SCOPED_TRACE(number);
    Shelf shelf;
    shelf.silence("/captures", number, GetParam());
    const TrashSweep sweep = shelf.trash();
    if (shelf.files.silent.empty()) break;
    EXPECT_THAT(sweep.failures.at(0).reason, HasSubstr("it isn't known yet"));
    EXPECT_THAT(shelf.files.text("/data/deletions.json"), HasSubstr("mayLandUntil"));
    shelf.runners.advance(120s);
    EXPECT_THAT(shelf.files.text("/data/deletions.json"), HasSubstr("mayLandUntil"));
    shelf.answerAgain();
    shelf.runners.advance(31s);
    shelf.runners.advance(91s);
    shelf.expectWhole();
    const bool wentWhole = GetParam() && number == 1;
    EXPECT_EQ(shelf.ids().find('a') == std::string::npos, wentWhole || number > 1);
  }
  EXPECT_EQ(number, 4) << "two files and an original";
}

TEST_P(UnansweredChangeTest, AnUndoGoesOnAtWhicheverFileTheDiskFellSilent) {
  int number = 1;
  for (;; ++number) {
    SCOPED_TRACE(number);
    Shelf shelf;
    EXPECT_EQ(shelf.trash().removed.size(), 2U);
    shelf.silence("/captures", number, GetParam());
    const UndoOutcome outcome = shelf.undo();
    if (shelf.files.silent.empty()) break;
    EXPECT_THAT(outcome.failures.at(0).reason, HasSubstr("it isn't known yet"));
    shelf.runners.advance(120s);
    EXPECT_THAT(shelf.files.text("/data/undo.json"), HasSubstr(R"("isBegun":true)"));
    shelf.answerAgain();
    shelf.runners.advance(31s);
    EXPECT_EQ(shelf.ids(), "ab");
    shelf.runners.advance(9s);
    shelf.expectWhole();
    EXPECT_THAT(shelf.files.names("/Trash"), IsEmpty());
  }
  EXPECT_EQ(number, 4);
}

TEST_P(UnansweredChangeTest, AnUndoBringsBackWhatIsFoundToHaveGoneAndTheRest) {
  for (int number = 1; number <= 3; ++number) {
    SCOPED_TRACE(number);
    Shelf shelf;
    shelf.silence("/captures", number, GetParam());
    (void)shelf.trash();
    shelf.answerAgain();
    (void)shelf.undo();
    EXPECT_EQ(shelf.ids(), "ab");
    shelf.runners.advance(31s);
    shelf.runners.advance(91s);
    shelf.expectWhole();
  }
}

TEST_P(UnansweredChangeTest, AMoveIsLookedAtAgainAtWhicheverFileTheDiskFellSilent) {
  for (const bool isOtherDisk : {false, true}) {
    for (const Path folder : {"/new", "/captures"}) {
      for (int number = 1;; ++number) {
        SCOPED_TRACE(folder.string() + std::to_string(number) + (isOtherDisk ? " copied" : ""));
        Shelf shelf;
        shelf.files.folders.insert("/new");
        if (isOtherDisk) shelf.files.mounts.insert("/new");
        shelf.silence(folder, number, GetParam());
        (void)shelf.relocate();
        if (shelf.files.silent.empty()) break;
        shelf.answerAgain();
        shelf.runners.advance(31s);
        // What stayed, and copies that could not be removed, go with the next move.
        (void)shelf.relocate();
        EXPECT_EQ(shelf.ids(), "ab");
        if (!isOtherDisk || folder == "/new") shelf.expectWhole();
        for (const EntryPointer& entry : shelf.store.entries()) {
          EXPECT_EQ(shelf.files.text(entry->path), entry->id);
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(MadeOrNot, UnansweredChangeTest, testing::Bool());

TEST_P(UnansweredChangeTest, AChangeThatLandsAfterTheFirstLookIsSeenByTheNext) {
  Shelf shelf;
  shelf.silence("/captures", 1, false);
  (void)shelf.trash();
  shelf.answerAgain();
  shelf.runners.advance(31s);
  EXPECT_EQ(shelf.ids(), "ab");
  ASSERT_TRUE(shelf.files.moveNew("/captures/a.png", "/Trash/1-a.png").has_value());
  shelf.runners.advance(31s);
  EXPECT_EQ(shelf.ids(), "b");
  EXPECT_FALSE(shelf.files.disk.contains("/captures/a original.png"));

  double until = 0;
  EXPECT_TRUE(mayStillLand(until, 100));
  EXPECT_TRUE(mayStillLand(until, 159));
  EXPECT_FALSE(mayStillLand(until, 160));
  EXPECT_TRUE(mayStillLand(until, 10)) << "the clock was set back";
  EXPECT_FALSE(mayStillLand(until, 70));
}

// Each file has another number then, and may have that of the next.
TEST_P(UnansweredChangeTest, FilesAreKnownWhenTheirDiskIsMountedWithOtherNumbers) {
  for (const bool isUndo : {false, true}) {
    for (const bool isHalfMade : {false, true}) {
      for (int number = 1; number <= 3; ++number) {
        SCOPED_TRACE((isUndo ? "undo " : "deletion ") + std::to_string(number) +
                     (isHalfMade ? " half made" : ""));
        Shelf shelf;
        if (isUndo) (void)shelf.trash();
        shelf.silence("/captures", number, GetParam());
        shelf.files.isUnansweredHalfMade = isHalfMade && !GetParam();
        if (isUndo) {
          (void)shelf.undo();
        } else {
          (void)shelf.trash();
        }
        ASSERT_FALSE(shelf.files.silent.empty());
        shelf.mountAnew();
        (void)shelf.undo();
        shelf.runners.advance(31s);
        shelf.runners.advance(91s);
        EXPECT_EQ(shelf.ids(), "ab");
        shelf.expectWhole();
        EXPECT_THAT(shelf.files.names("/Trash"), IsEmpty());
      }
    }
  }
}

// The server is at the removal of the old name when it falls silent, and makes it late.
TEST_P(UnansweredChangeTest, NothingIsPutAtANameWhoseRemovalMayStillBeMade) {
  const bool isStartedAnew = GetParam();
  for (const int number : {1, 2}) {
    SCOPED_TRACE(number);
    Shelf shelf;
    const Path path = number == 1 ? "/captures/a.png" : "/captures/a original.png";
    shelf.silence("/captures", number, false);
    shelf.files.isUnansweredHalfMade = true;
    (void)shelf.trash();
    ASSERT_TRUE(shelf.files.disk.contains(path));
    shelf.answerAgain();
    shelf.deletion.recover([] {});
    shelf.runners.run();
    EXPECT_EQ(shelf.ids(), "b");
    HistoryDeletion later{{shelf.store, shelf.files, shelf.trashFolder, shelf.runners,
                           shelf.runners.main(), shelf.runners.runner("work")}};
    HistoryDeletion& deletion = isStartedAnew ? later : shelf.deletion;
    if (isStartedAnew) later.recover([] {});
    deletion.undo([](const UndoOutcome&) {});
    shelf.runners.run();
    EXPECT_EQ(shelf.ids(), "ab");
    shelf.files.disk.erase(path);
    shelf.runners.advance(9s);
    shelf.expectWhole();
  }

  // What a failed deletion gives back waits.
  Shelf shelf;
  shelf.silence("/captures", 1, false);
  shelf.files.isUnansweredHalfMade = true;
  shelf.trashFolder.failing["/captures/a original.png"] = FailureKind::noSpace;
  (void)shelf.trash();
  shelf.answerAgain();
  shelf.runners.advance(31s);
  shelf.files.disk.erase("/captures/a.png");
  shelf.runners.advance(91s);
  EXPECT_EQ(shelf.ids(), "ab");
  EXPECT_EQ(shelf.files.text("/captures/a.png"), "a");
  shelf.expectWhole();
}

TEST_P(UnansweredChangeTest, AFileAndItsOriginalComeBackTogether) {
  for (const bool isHalfMade : {false, true}) {
    SCOPED_TRACE(isHalfMade);
    Shelf shelf;
    (void)shelf.trash();
    // The original is back, its capture's file can't be, and it is silent on its way to the Trash.
    shelf.trashFolder.failing["/captures/a.png"] = FailureKind::noSpace;
    shelf.silence("/captures", 2, GetParam());
    shelf.files.isUnansweredHalfMade = isHalfMade && !GetParam();
    const UndoOutcome outcome = shelf.undo();
    EXPECT_THAT(outcome.failures.at(0).reason, HasSubstr("it isn't known yet"));
    EXPECT_THAT(shelf.files.text("/data/undo.json"), HasSubstr("originalMayLandUntil"));
    EXPECT_TRUE(shelf.store.claims().isFileChanging("a")) << "it is no entry without a file";
    shelf.answerAgain();
    shelf.trashFolder.failing.clear();
    shelf.runners.advance(31s);
    // What was asked for is done late.
    const Path original = "/captures/a original.png";
    if (isHalfMade) {
      shelf.files.disk.erase(original);
    } else if (!GetParam()) {
      ASSERT_TRUE(shelf.files.moveNew(original, "/Trash/4-a original.png").has_value());
    }
    shelf.runners.advance(91s);
    EXPECT_EQ(shelf.ids(), "ab");
    EXPECT_FALSE(shelf.store.claims().isFileChanging("a"));
    shelf.expectWhole();
    EXPECT_THAT(shelf.files.names("/Trash"), IsEmpty());
  }
}

TEST_P(UnansweredChangeTest, WhatIsInDoubtIsNotDeletedAgainAndHoldsNothingElseUp) {
  Shelf shelf;
  shelf.silence("/captures", 2, GetParam());
  (void)shelf.trash();
  const std::string journal = shelf.files.text("/data/deletions.json");
  TrashSweep sweep = shelf.trash();
  EXPECT_EQ(sweep.failures.size(), sweep.attempted.size());
  EXPECT_EQ(shelf.files.text("/data/deletions.json"), journal);
  shelf.answerAgain();
  shelf.runners.advance(121s);
  shelf.expectWhole();
}

// A look ends moves towards the Trash, which this one was not.
TEST_P(UnansweredChangeTest, WhatIsOnItsWayBackIsNotRemovedWhereItGoes) {
  Shelf shelf;
  shelf.trashFolder.failing["/captures/a original.png"] = FailureKind::noSpace;
  shelf.silence("/captures", 2, false);
  shelf.files.isUnansweredHalfMade = true;
  (void)shelf.trash();
  shelf.answerAgain();
  shelf.runners.advance(31s);
  if (GetParam()) shelf.files.disk.erase("/Trash/1-a.png");
  for (int looks = 0; looks < 6; ++looks) shelf.runners.advance(31s);
  EXPECT_NE(shelf.ids().find('a'), std::string::npos);
  EXPECT_FALSE(shelf.store.claims().isFileChanging("a"));
  EXPECT_EQ(shelf.files.text("/captures/a.png"), "a");
  EXPECT_FALSE(shelf.files.disk.contains("/Trash/1-a.png"));
}

// Link, unlink, and the server dies between them: hard links are files of their own after it.
TEST_P(UnansweredChangeTest, AHalfMoveOfADiskThatNumbersItsFilesAnewIsNotMadeTwoCaptures) {
  const bool isNumberedAnew = GetParam();
  Shelf shelf;
  shelf.files.folders.insert("/new");
  shelf.silence("/captures", 1, false);
  shelf.files.isUnansweredHalfMade = true;
  (void)shelf.relocate();
  ASSERT_TRUE(shelf.files.disk.contains("/new/a.png") || shelf.files.disk.contains("/new/b.png"));
  if (isNumberedAnew) shelf.files.renumber("/");
  shelf.answerAgain();
  shelf.runners.advance(31s);
  const RelocationLeftovers left = RelocationLeftovers::read(shelf.files, shelf.paths);
  const auto remaining = left.remaining(shelf.files, ofNoEntry);
  EXPECT_EQ(remaining.size(), isNumberedAnew ? 1U : 0U);
  EXPECT_EQ(removeCopiesLeft(shelf.files, shelf.trashFolder, shelf.paths, remaining).size(),
            remaining.size());
  EXPECT_EQ(shelf.files.names("/Trash").size(), remaining.size()) << "it may be somebody's copy";
  shelf.expectWhole();
}

TEST_P(UnansweredChangeTest, NothingMovesToANameWhoseRemovalMayStillBeMade) {
  const bool isStartedAnew = GetParam();
  Shelf shelf;
  shelf.files.mounts.insert("/new");
  shelf.files.folders.insert("/new");
  shelf.silence("/captures", 4, false);  // three files are found to lie on another disk
  (void)shelf.relocate();
  shelf.answerAgain();
  const auto remaining =
      RelocationLeftovers::read(shelf.files, shelf.paths).remaining(shelf.files, ofNoEntry);
  ASSERT_FALSE(remaining.empty());
  (void)removeCopiesLeft(shelf.files, shelf.trashFolder, shelf.paths, remaining);
  const std::string name = remaining.front().oldPath;
  ASSERT_FALSE(shelf.files.disk.contains(name));
  HistoryRelocation later{{shelf.store, shelf.files, shelf.runners, shelf.runners.main(),
                           shelf.runners.runner("moves")}};
  HistoryRelocation& relocation = isStartedAnew ? later : shelf.relocation;
  if (isStartedAnew) later.recover([] {});
  const auto moveTo = [&](const Path& to, const Path& from) {
    relocation.relocate({to, {from}}, {}, [](const RelocationOutcome&) {});
    shelf.runners.run();
  };
  moveTo("/captures", "/new");
  EXPECT_FALSE(shelf.files.disk.contains(name));
  shelf.files.disk.erase(name);
  EXPECT_EQ(shelf.ids(), "ab");
  shelf.expectWhole();
  moveTo("/new", "/captures");
  shelf.runners.advance(91s);
  EXPECT_EQ(shelf.files.text("/data/unmoved-folders.json"), "(missing)");
  EXPECT_FALSE(shelf.files.disk.contains(name));
  for (const EntryPointer& entry : shelf.store.entries()) {
    EXPECT_TRUE(entry->path.starts_with("/new/"));
  }
}

// The new picture is in place, its entry does not know it, and the disk falls silent when it is to
// go for the old one.
TEST_P(UnansweredChangeTest, APictureIsPutBackWhenTheRemovalOfTheOtherHasBeenMadeOrGivenUp) {
  const bool isMadeLate = GetParam();
  Shelf shelf;
  const EntryList entries = shelf.store.entries();
  const Path path = "/captures/b.png";
  const Path original = "/data/Originals/b.png";
  RewriteJournal journal(shelf.files, shelf.paths, shelf.runners);
  ASSERT_TRUE(journal.begin("b", path, original).has_value());
  shelf.files.put(original, "b");
  ASSERT_TRUE(journal.willReplace("b", 7).has_value());
  shelf.files.put(path, "smaller");
  shelf.silence("/captures", 3, false);  // after two half files
  EXPECT_TRUE(journal.end("b", entries).isUnsettled);
  shelf.answerAgain();
  RewriteJournal later(shelf.files, shelf.paths, shelf.runners);
  later.settle(entries);
  EXPECT_EQ(shelf.files.text(path), "smaller");
  EXPECT_FALSE(later.begin("b", path, original).has_value());
  if (isMadeLate) {
    shelf.files.disk.erase(path);
  } else {
    shelf.runners.advance(61s);
  }
  later.settle(entries);
  EXPECT_EQ(shelf.files.text(path), "b");
  EXPECT_FALSE(shelf.files.disk.contains(original));
  shelf.runners.advance(61s);
  later.settle(entries);
  shelf.expectWhole();

  // What somebody else put there meanwhile is nowhere else.
  ASSERT_TRUE(later.begin("b", path, original).has_value());
  shelf.files.put(original, "b");
  shelf.files.put(path, "painted over");
  later.end("b", entries);
  EXPECT_EQ(shelf.files.text(path), "painted over");
  EXPECT_EQ(shelf.files.text(original), "b");
}

TEST_P(UnansweredChangeTest, ARewriteIsClearedUpOnceItsDiskAnswers) {
  Shelf shelf;
  const EntryList entries = shelf.store.entries();
  RewriteJournal journal(shelf.files, shelf.paths, shelf.runners);
  const Path temporary = rewriteTemporary("/captures/b.png");
  ASSERT_TRUE(journal.begin("b", "/captures/b.png", std::nullopt).has_value());
  shelf.files.put(temporary, "new");
  ASSERT_TRUE(journal.willMake("b", "/captures/b.webp", temporary).has_value());
  shelf.silence("/captures", 1, GetParam());
  EXPECT_EQ(shelf.files.moveNew(temporary, "/captures/b.webp").error().kind,
            FailureKind::unreachable);
  EXPECT_TRUE(journal.end("b", entries).isUnsettled);
  EXPECT_FALSE(journal.begin("b", "/captures/b.png", std::nullopt).has_value());
  EXPECT_THAT(filesOfRewrites(shelf.files, shelf.paths), testing::Contains("/captures/b.webp"));

  // An opening meanwhile learns no more, and keeps what a newer build wrote beside.
  std::string text = shelf.files.text("/data/rewrites.json");
  text.insert(text.find(R"("id":"b")"), R"("colour":"red",)");
  shelf.files.put("/data/rewrites.json", text.insert(1, R"("hint":true,)"));
  RewriteJournal(shelf.files, shelf.paths, shelf.runners).recover(entries);
  for (const char* const kept : {"b.webp", R"("colour":"red")", R"("hint":true)"}) {
    EXPECT_THAT(shelf.files.text("/data/rewrites.json"), HasSubstr(kept));
  }
  shelf.answerAgain();
  RewriteJournal later(shelf.files, shelf.paths, shelf.runners);
  later.settle(entries);
  shelf.expectWhole();
  EXPECT_TRUE(later.begin("b", "/captures/b.png", std::nullopt).has_value());
}

}  // namespace
}  // namespace vantorel
