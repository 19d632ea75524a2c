#include "library/deletion_undo.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/testing/deletion_fixture.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(HistoryDeletionTest, UndoWithinTheWindowPutsEverythingWhereItWas) {
  HistoryCollection collection;
  collection.id = "box";
  collection.name = "Box";
  ASSERT_TRUE(store.addCollection(collection).has_value());
  ASSERT_TRUE(store.setMembership("b", "box", true).has_value());
  ASSERT_TRUE(store
                  .update("c",
                          [this](ScreenshotEntry& entry) {
                            entry.originalPath = "/captures/c original.png";
                            files.put("/captures/c original.png", "original");
                          })
                  .has_value());

  const TrashSweep sweep = trashed({"b", "c", "b", "nobody"});
  EXPECT_EQ(sweep.removed.size(), 2U);
  EXPECT_EQ(ids(), "ad");
  EXPECT_THAT(files.names("/captures"), ElementsAre("a.png", "d.png"));
  EXPECT_THAT(files.names("/Trash").size(), 3U);
  EXPECT_THAT(files.text(index), Not(HasSubstr("b.png"))) << "told only when it is on disk";
  EXPECT_TRUE(deletion.pendingUndo().has_value());

  runners.advance(7s);
  const UndoOutcome outcome = undone();
  EXPECT_THAT(outcome.restored, ElementsAre("b", "c"));
  EXPECT_EQ(ids(), "abcd");
  EXPECT_EQ(files.text("/captures/b.png"), "pixels of b");
  EXPECT_EQ(files.text("/captures/c original.png"), "original");
  EXPECT_EQ(store.membersOf("box").entries.size(), 1U);
  EXPECT_THAT(files.text(index), HasSubstr("b.png"));
  EXPECT_THAT(files.names("/Trash"), IsEmpty());
  EXPECT_FALSE(deletion.pendingUndo().has_value());
  EXPECT_THAT(undone().restored, IsEmpty());

  // A newer deletion replaces the one before, and time runs out.
  trashed({"a"});
  trashed({"d"});
  EXPECT_EQ(deletion.pendingUndo()->items.front().entry->id, "d");
  runners.advance(9s);
  EXPECT_FALSE(deletion.pendingUndo().has_value());
  EXPECT_EQ(ids(), "bc");
}

TEST_F(HistoryDeletionTest, NamesThatAreNoTextOutliveTheRunAndTheUndo) {
  const std::string path = "/captures/B\xE4r.png";
  const std::string original = "/captures/B\xE4r original \xFF.png";
  add("e", [&](ScreenshotEntry& entry) {
    entry.path = path;
    entry.originalPath = original;
    files.put(original, "original of e");
  });
  trashed({"e"});
  store.release([] {});
  runners.run();
  HistoryStore later({files, runners, runners.main(), runners.runner("later"), 0},
                     LibraryPaths{"/data", "/caches"});
  later.load([] {});
  runners.run();
  HistoryDeletion next({later, files, trash, runners, runners.main(), runners.runner("work")});
  next.recover([] {});
  runners.run();
  next.undo([](const UndoOutcome& outcome) { EXPECT_THAT(outcome.failures, IsEmpty()); });
  runners.run();
  EXPECT_EQ(files.text(path), "pixels of e");
  EXPECT_EQ(files.text(original), "original of e");

  const auto onDisk = decodeIndex(files.text(index));
  ASSERT_TRUE(onDisk.has_value());
  EXPECT_EQ(onDisk->file.entries.back()->path, path);
  EXPECT_EQ(onDisk->file.entries.back()->originalPath, original);
}

TEST_F(HistoryDeletionTest, TheNextRunMayUndoForTheRestOfTheEightSeconds) {
  for (const bool inTime : {true, false}) {
    ASSERT_TRUE(store.update("b", [](ScreenshotEntry& entry) { entry.title = "B"; }).has_value());
    trashed({"b"});
    if (inTime) runners.advance(5s);
    if (!inTime) runners.setNow(runners.now() + 9);
    HistoryDeletion next({store, files, trash, runners, runners.main(), runners.runner("work")});
    next.recover([] {});
    runners.run();
    EXPECT_EQ(next.pendingUndo().has_value(), inTime);
    if (!inTime) break;
    next.undo([](const UndoOutcome&) {});
    runners.run();
    EXPECT_EQ(ids(), "abcd");
    EXPECT_EQ(store.find("b")->title, "B");
    EXPECT_EQ(files.text("/captures/b.png"), "pixels of b");

    trashed({"c"});
    HistoryDeletion late({store, files, trash, runners, runners.main(), runners.runner("work")});
    runners.advance(5s);
    late.recover([] {});
    runners.run();
    runners.advance(4s);
    EXPECT_FALSE(late.pendingUndo().has_value()) << "eight seconds began anew";
    EXPECT_EQ(files.text("/data/undo.json"), "(missing)");
  }
  EXPECT_EQ(files.text("/data/undo.json"), "(missing)");
}

TEST_F(HistoryDeletionTest, UndoCopesWithWhatHappenedMeanwhile) {
  add("covered", [this](ScreenshotEntry& entry) {
    entry.originalPath = "/captures/uncovered.png";
    files.put(*entry.originalPath, "uncovered");
  });
  trashed({"a", "b", "c", "covered"});
  files.disk.erase("/Trash/1-a.png");  // emptied by somebody
  files.disk.erase("/Trash/4-covered.png");
  files.put("/captures/b.png", "another picture");
  const UndoOutcome outcome = undone();
  ASSERT_EQ(outcome.failures.size(), 2U);
  EXPECT_EQ(outcome.failures[0].reason, "the files are no longer in the Trash");
  EXPECT_EQ(outcome.failures[1].reason, outcome.failures[0].reason);
  EXPECT_EQ(files.text("/captures/uncovered.png"), "(missing)") << "not without its capture";
  EXPECT_EQ(ids(), "bcd");
  EXPECT_EQ(files.text("/captures/b.png"), "another picture");
  EXPECT_EQ(store.find("b")->path, "/captures/b 2.png");
  EXPECT_EQ(files.text("/captures/b 2.png"), "pixels of b");
}

TEST_F(HistoryDeletionTest, WhatCouldNotBePutBackCanBeUndoneAgain) {
  (void)trashed({"a", "b"});
  trash.failing["/captures/a.png"] = FailureKind::noSpace;
  const UndoOutcome first = undone();
  EXPECT_THAT(first.restored, ElementsAre("b"));
  ASSERT_EQ(first.failures.size(), 1U);
  EXPECT_THAT(first.failures[0].reason, HasSubstr("restore from Trash failed: "));
  EXPECT_EQ(store.find("a"), nullptr);
  EXPECT_TRUE(deletion.pendingUndo().has_value());
  trash.failing.clear();
  EXPECT_THAT(undone().restored, ElementsAre("a"));
  EXPECT_EQ(files.text("/captures/a.png"), "pixels of a");
  EXPECT_FALSE(deletion.pendingUndo().has_value());
}

TEST_F(HistoryDeletionTest, AnUndoNeverTakesTheFileOfACaptureThatGotTheName) {
  (void)trashed({"a"});
  add("new", [](ScreenshotEntry& entry) { entry.path = "/captures/a.png"; });
  runners.advance(1s);
  int paths = 0;
  auto observation = store.observe([&](const HistoryChange& change) {
    for (const EntryPointer& entry : change.added) paths += entry->path == "/captures/a 2.png";
    // Journals are written on another queue than the index.
    EXPECT_THAT(files.text("/data/undo.json"), HasSubstr(R"("isBegun":true)"));
  });
  EXPECT_THAT(undone().restored, ElementsAre("a"));
  EXPECT_EQ(paths, 1) << "for a moment the index had it twice";
  EXPECT_EQ(files.text("/captures/a 2.png"), "pixels of a");
  EXPECT_EQ(files.text("/captures/a.png"), "pixels of new");

  observation.end();

  // An earlier build was killed while it undid: both entries have the name, one has the file.
  ASSERT_TRUE(store.update("a", [](ScreenshotEntry& entry) { entry.path = "/captures/a.png"; }));
  files.put("/data/deletions.json", R"(["a"])");
  bool isRecovered = false;
  deletion.recover([&] { isRecovered = true; });
  runners.run();
  EXPECT_TRUE(isRecovered);
  EXPECT_EQ(ids(), "bcdnew");
  EXPECT_FALSE(files.disk.contains("/data/deletions.json"));
}

}  // namespace
}  // namespace vantorel
