#include "library/history_deletion.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/file_reach.hpp"
#include "library/history_retention.hpp"
#include "library/testing/deletion_fixture.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST_F(HistoryDeletionTest, WhatOnlyHasTheOriginalsNameStays) {
  for (const char* const id : {"moved", "replaced", "lost"}) {
    add(id, [&](ScreenshotEntry& entry) {
      entry.originalPath = "/captures/" + entry.id + " original.png";
      files.put(*entry.originalPath, "original of " + entry.id);
      entry.originalIdentity = identifyFile(files, *entry.originalPath);
    });
  }
  files.disk["/captures/report.png"] = files.disk["/captures/moved original.png"];
  files.put("/captures/moved original.png", "somebody's picture");
  files.put("/captures/replaced original.png", "another picture");
  files.disk.erase("/captures/lost original.png");
  const TrashSweep sweep = trashed({"moved", "replaced", "lost"});
  std::vector<std::string> remarks;
  for (const RemovedEntry& one : sweep.removed) remarks.push_back(originalRemark(one));
  EXPECT_THAT(remarks, ElementsAre("", HasSubstr("replaced original.png is another file now"),
                                   HasSubstr("lost original.png was not found")));
  EXPECT_THAT(files.names("/captures"), ElementsAre("a.png", "b.png", "c.png", "d.png",
                                                    "moved original.png", "replaced original.png"));
  EXPECT_EQ(undone().restored.size(), 3U);
  EXPECT_EQ(files.text("/captures/report.png"), "original of moved");
  EXPECT_EQ(files.text("/captures/moved original.png"), "somebody's picture");
}

TEST_F(HistoryDeletionTest, WhatIsOnTheDiskCountsThoughItsFolderCannotBeFlushed) {
  files.flushesFail = true;
  EXPECT_EQ(trashed({"b", "c"}).removed.size(), 2U);
  EXPECT_THAT(undone().restored, ElementsAre("b", "c"));
  EXPECT_EQ(ids(), "abcd");
  EXPECT_THAT(files.text(index), HasSubstr("b.png"));
  EXPECT_EQ(files.text("/captures/b.png"), "pixels of b");
  EXPECT_THAT(files.names("/Trash"), IsEmpty());
}

TEST_F(HistoryDeletionTest, WhatCannotMoveStaysWithItsReason) {
  add("gone folder", [](ScreenshotEntry& entry) { entry.path = "/old/x.png"; });
  add("usb", [](ScreenshotEntry& entry) { entry.path = "/media/u/stick/x.png"; });
  add("project", [](ScreenshotEntry& entry) { entry.medium = CaptureMedium::project; });
  add("lost file");
  add("stuck original", [this](ScreenshotEntry& entry) {
    entry.originalPath = "/captures/stuck.png";
    files.put("/captures/stuck.png", "stuck");
  });
  files.disk.erase("/captures/lost file.png");
  files.disk.erase("/old/x.png");
  files.folders.erase("/old");
  files.disk.erase("/media/u/stick/x.png");
  const auto exporting = store.claims().claim("project", EntryWork::exporting);
  trash.failing["/captures/stuck.png"] = FailureKind::denied;
  trash.failing["/captures/d.png"] = FailureKind::noSpace;
  const TrashSweep sweep =
      trashed({"gone folder", "usb", "project", "lost file", "stuck original", "d"});
  std::map<std::string, std::string> reasons;
  for (const auto& failure : sweep.failures) reasons[failure.id] = failure.reason;
  EXPECT_EQ(reasons["gone folder"],
            "the folder it was in no longer exists. Use Remove from History to take it out of "
            "Vantorel.");
  EXPECT_EQ(reasons["usb"],
            "the folder it's in can't be reached. Reconnect it, or use Remove from History.");
  EXPECT_EQ(reasons["project"],
            "a Studio project can't be deleted while it exports. Stop its export first");
  EXPECT_TRUE(reasons.contains("d"));
  EXPECT_TRUE(reasons.contains("stuck original"));
  EXPECT_FALSE(reasons.contains("lost file"));
  EXPECT_EQ(files.text("/captures/stuck original.png"), "pixels of stuck original");
  EXPECT_EQ(ids(), "abcdgone folderusbprojectstuck original");

  // The way out.
  Result<std::size_t> forgotten = 0U;
  deletion.forget({"usb", "gone folder"}, [&](Result<std::size_t> count) { forgotten = count; });
  runners.run();
  EXPECT_EQ(forgotten, 2U);
  EXPECT_EQ(ids(), "abcdprojectstuck original");
}

TEST_F(HistoryDeletionTest, FilesThatOthersShowStayAndSequesteredOriginalsDoNot) {
  add("copy", [](ScreenshotEntry& entry) { entry.path = "/captures/a.png"; });
  trashed({"a"});
  EXPECT_EQ(files.text("/captures/a.png"), "pixels of a");
  EXPECT_THAT(undone().restored, ElementsAre("a"));
  trashed({"a", "copy"});
  EXPECT_EQ(files.text("/captures/a.png"), "(missing)");

  ASSERT_TRUE(store
                  .update("b",
                          [this](ScreenshotEntry& entry) {
                            entry.originalPath = "/data/Redacted Originals/b.png";
                            files.put(*entry.originalPath, "secret");
                          })
                  .has_value());
  ASSERT_TRUE(store
                  .update("c",
                          [this](ScreenshotEntry& entry) {
                            entry.originalPath = "/captures/c original.png";
                            files.put(*entry.originalPath, "plain");
                          })
                  .has_value());
  deletion.forget({"b", "c"}, [](const Result<std::size_t>&) {});
  runners.run();
  EXPECT_EQ(files.text("/captures/b.png"), "pixels of b");
  EXPECT_EQ(files.text("/captures/c original.png"), "plain");
  EXPECT_EQ(files.text("/data/Redacted Originals/b.png"), "(missing)");
}

TEST_F(HistoryDeletionTest, FilesThatOthersNameInAnotherSpellingStay) {
  files.put("/data/Redacted Originals/a.png", "secret");
  files.folders.insert({"/link", "/disk/Redacted Originals"});
  files.folderNumbers = {{"/captures", 7},
                         {"/link", 7},
                         {"/data/Redacted Originals", 8},
                         {"/disk/Redacted Originals", 8}};
  files.disk["/link/a.png"] = files.disk["/captures/a.png"];
  add("double", [](ScreenshotEntry& entry) {
    entry.path = "/link/a.png";
    entry.originalPath = "/data/Redacted Originals/a.png";
  });
  ASSERT_TRUE(store
                  .update("a",
                          [](ScreenshotEntry& entry) {
                            entry.originalPath = "/disk/Redacted Originals/a.png";
                          })
                  .has_value());
  trashed({"double"});
  EXPECT_EQ(ids(), "abcd");
  EXPECT_THAT(files.names("/Trash"), IsEmpty());
  EXPECT_THAT(undone().restored, ElementsAre("double"));
  deletion.forget({"double"}, [](const Result<std::size_t>&) {});
  runners.run();
  EXPECT_EQ(files.text("/data/Redacted Originals/a.png"), "secret");
}

TEST_F(HistoryDeletionTest, NothingMovesWhenTheIndexCannotFollow) {
  files.put(index, R"({"version":5})");
  HistoryStore newer({files, runners, runners.main(), runners.runner("other"), 0},
                     LibraryPaths{"/data2", "/caches"});
  files.put("/data2/history.json", R"({"version":5})");
  newer.load([] {});
  runners.run();
  ScreenshotEntry entry = *store.find("a");
  ASSERT_TRUE(newer.add(entry).has_value());
  HistoryDeletion refused({newer, files, trash, runners, runners.main(), runners.runner("work")});
  TrashSweep answer;
  refused.trash({"a"}, HistoryDeletion::Undo::offered,
                [&](TrashSweep sweep) { answer = std::move(sweep); });
  runners.run();
  ASSERT_EQ(answer.failures.size(), 1U);
  EXPECT_THAT(answer.failures[0].reason, StartsWith("the index can't be written this run: "));
  EXPECT_EQ(files.text("/captures/a.png"), "pixels of a");
}

struct Ended {};

/// A capture with an original and a title, on a disk that outlives the runs of the program.
struct Shelf {
  Shelf() {
    disk.put("/captures/x.png", "pixels");
    disk.put("/data/Redacted Originals/x.png", "secret");
    disk.put("/data/history.json",
             R"({"version":4,"entries":[{"id":"x","capturedAt":1,"path":"/captures/x.png",)"
             R"("originalPath":"/data/Redacted Originals/x.png","title":"X"}],)"
             R"("collections":[]})");
  }

  struct Run {
    explicit Run(Shelf& on, double later = 0)
        : store({on.disk, runners, runners.main(), runners.runner("persist"), 0},
                LibraryPaths{"/data", "/caches"}),
          deletion({store, on.disk, on.bin, runners, runners.main(), runners.runner("work")}) {
      runners.setNow(runners.now() + later);
      store.load([] {});
      runners.run();
      deletion.recover([this] { isRecovered = true; });
      runners.run();
    }
    FakeRunners runners;
    HistoryStore store;
    HistoryDeletion deletion;
    bool isRecovered = false;
  };

  /// The file gets another name while nothing runs.
  void rename() {
    {
      Run earlier(*this);
      EXPECT_TRUE(earlier.store
                      .update("x",
                              [this](ScreenshotEntry& entry) {
                                entry.fileIdentity = *identifyFile(disk, entry.path);
                              })
                      .has_value());
      earlier.store.flush([](const Result<void>&) {});
      earlier.runners.run();
    }
    ASSERT_TRUE(disk.moveNew("/captures/x.png", "/captures/renamed.png").has_value());
  }

  [[nodiscard]] bool isWhole(const HistoryStore& store) const {
    const EntryPointer entry = store.find("x");
    if (!entry) return false;
    // A look finds it under the name that it was given while nothing ran.
    const bool isRenamed = disk.text(entry->path) == "(missing)" && entry->fileIdentity;
    return entry->title == "X" &&
           disk.text(isRenamed ? "/captures/renamed.png" : entry->path) == "pixels" &&
           disk.text(entry->originalPath.value_or("")) == "secret" && disk.names("/Trash").empty();
  }

  FakeFiles disk;
  FakeTrash bin{disk};
};

class DeletionCutShortTest : public HistoryDeletionTest,
                             public testing::WithParamInterface<bool> {};

TEST_P(DeletionCutShortTest, EndAtAnyChangeLosesNothingAndLeavesNothing) {
  for (int end = 1, isEnded = 1; isEnded != 0; ++end) {
    ASSERT_LT(end, 60);
    isEnded = 0;
    Shelf shelf;
    if (GetParam()) shelf.rename();
    auto first = std::make_unique<Shelf::Run>(shelf);
    shelf.disk.beforeChange = [&, from = shelf.disk.changes](int change) {
      if (change - from == end) throw Ended{};
    };
    bool isDeleted = false;
    bool isUndone = false;
    try {
      first->deletion.trash({"x"}, HistoryDeletion::Undo::offered, [&](const TrashSweep&) {
        isDeleted = true;
        first->deletion.undo(
            [&](const UndoOutcome& outcome) { isUndone = !outcome.restored.empty(); });
      });
      first->runners.run();
    } catch (const Ended&) {
      isEnded = 1;
    }
    shelf.disk.beforeChange = {};
    first.reset();
    // What nobody was told of has its eight seconds from the run that carries it on, whatever that
    // one was started for.
    ASSERT_TRUE(Shelf::Run(shelf, isDeleted ? 0 : 9).isRecovered);
    Shelf::Run next(shelf, isDeleted ? 7 : 16);
    EXPECT_TRUE(next.isRecovered);
    const bool isThere = next.store.find("x") != nullptr;
    EXPECT_EQ(shelf.disk.names("/Trash").empty(), isThere)
        << end << ": a redacted original must not outlive its capture";
    EXPECT_EQ(next.deletion.pendingUndo().has_value(), !isThere) << end;
    EXPECT_TRUE(isThere || !isUndone) << end;
    next.deletion.undo([](const UndoOutcome&) {});
    next.runners.run();
    EXPECT_TRUE(shelf.isWhole(next.store)) << end << (isDeleted ? ", undoing" : ", deleting");
    EXPECT_EQ(shelf.disk.text("/data/deletions.json"), "(missing)") << end;
    EXPECT_EQ(shelf.disk.text("/data/undo.json"), "(missing)") << end;
  }
}
INSTANTIATE_TEST_SUITE_P(InItsPlaceOrRenamed, DeletionCutShortTest, testing::Bool());

TEST_F(HistoryDeletionTest, WhatTakesTheNameDuringTheUndoIsNotTheCapturesFile) {
  Shelf shelf;
  Shelf::Run run(shelf);
  run.deletion.trash({"x"}, HistoryDeletion::Undo::offered, [](const TrashSweep&) {});
  run.runners.run();
  bool isTaken = false;
  shelf.disk.beforeChange = [&](int) {
    const bool isListed = shelf.disk.text(index).find("/captures/x.png") != std::string::npos;
    if (!isListed || std::exchange(isTaken, isListed)) return;
    shelf.disk.put("/captures/x.png", "newer");
  };
  run.deletion.undo([](const UndoOutcome&) {});
  run.runners.run();
  ASSERT_EQ(shelf.disk.text("/captures/x.png"), "newer");
  EXPECT_FALSE(run.store.find("x"));
  run.deletion.undo([](const UndoOutcome&) {});
  run.runners.run();
  EXPECT_TRUE(shelf.isWhole(run.store));
  EXPECT_EQ(shelf.disk.text("/captures/x.png"), "newer");
}

TEST_F(HistoryDeletionTest, ACaptureThatGotTheNameDoesNotKeepAnEntryOfNothing) {
  Shelf shelf;
  auto first = std::make_unique<Shelf::Run>(shelf);
  shelf.disk.beforeChange = [&](int) {
    if (shelf.disk.text("/captures/x.png") == "(missing)") throw Ended{};
  };
  first->deletion.trash({"x"}, HistoryDeletion::Undo::offered, [](const TrashSweep&) {});
  EXPECT_THROW(first->runners.run(), Ended);
  shelf.disk.beforeChange = {};
  first.reset();
  shelf.disk.put("/captures/x.png", "newer");
  std::string entries = shelf.disk.text(index);
  entries.insert(entries.find(']'), R"(,{"id":"y","capturedAt":2,"path":"/captures/x.png"})");
  shelf.disk.put(index, entries);

  Shelf::Run next(shelf);
  EXPECT_FALSE(next.store.find("x"));
  EXPECT_EQ(next.store.find("y")->path, "/captures/x.png");
  next.deletion.undo([](const UndoOutcome&) {});
  next.runners.run();
  EXPECT_TRUE(shelf.isWhole(next.store));
  EXPECT_EQ(shelf.disk.text(next.store.find("y")->path), "newer");
}

TEST_F(HistoryDeletionTest, AFullDiskStopsADeletionOrAnUndoAndLosesNothing) {
  for (int room = 1, isFull = 1; isFull != 0; ++room) {
    ASSERT_LT(room, 60);
    Shelf shelf;
    auto run = std::make_unique<Shelf::Run>(shelf);
    shelf.disk.spaceEndsAtChange = room;
    run->deletion.trash({"x"}, HistoryDeletion::Undo::offered, [](const TrashSweep&) {});
    run->runners.run();
    std::optional<UndoOutcome> outcome;
    run->deletion.undo([&](UndoOutcome came) { outcome = std::move(came); });
    run->runners.run();
    isFull = shelf.disk.changesFail ? 1 : 0;
    const bool saysWhy = outcome && (!outcome->failures.empty() || outcome->indexNotSaved);
    EXPECT_TRUE(run->store.find("x") || saysWhy) << room;
    shelf.disk.spaceEndsAtChange = 0;
    shelf.disk.changesFail.reset();
    run->deletion.undo([](const UndoOutcome&) {});
    run->runners.run();
    EXPECT_TRUE(shelf.isWhole(run->store)) << room;
    run->runners.advance(70s);
    run.reset();
    Shelf::Run next(shelf);
    EXPECT_TRUE(shelf.isWhole(next.store)) << room;
  }
}

TEST_F(HistoryDeletionTest, AgeCountsFromTheLastEditAndSparesWhatTheUserChose) {
  const double now = runners.now();
  const auto old = [&](double days) {
    return [=](ScreenshotEntry& entry) { entry.capturedAt = now - days * 86400; };
  };
  add("old", old(31));
  add("almost", old(29.9));
  add("edited", [&](ScreenshotEntry& entry) {
    old(400)(entry);
    entry.editedAt = now - 86400;
  });
  add("starred", [&](ScreenshotEntry& entry) {
    old(400)(entry);
    entry.starred = true;
  });
  add("collected", [&](ScreenshotEntry& entry) {
    old(400)(entry);
    entry.collectionIDs = {"box"};
  });
  add("project", [&](ScreenshotEntry& entry) {
    old(400)(entry);
    entry.medium = CaptureMedium::project;
  });
  EXPECT_THAT(expiredEntries(store, RetentionPolicy::off, now), IsEmpty());
  EXPECT_THAT(expiredEntries(store, RetentionPolicy::month, now), ElementsAre("old"));
  files.put("/data/retention.json", fmt::format(R"({{"days":30,"lookedAt":{}}})", now));
  HistoryRetention retention(
      {store, deletion, files, runners, runners.main(), runners.runner("work")});
  retention.setPolicy(RetentionPolicy::month);
  runners.run();
  EXPECT_EQ(store.find("old"), nullptr);
  EXPECT_EQ(files.text("/Trash/1-old.png"), "pixels of old");
  EXPECT_FALSE(deletion.pendingUndo().has_value());
  runners.advance(3h);
  EXPECT_EQ(store.find("almost"), nullptr) << "the program runs for days";
  EXPECT_NE(store.find("edited"), nullptr);
  EXPECT_EQ(confirmRetention(2, RetentionPolicy::year).title,
            "Move 2 captures older than 1 year to the Trash?");
}

TEST_F(HistoryDeletionTest, AFileThatAnotherCaptureShowsAsALayerStays) {
  ASSERT_TRUE(store.update("a", [](ScreenshotEntry& entry) {
    entry.layers.emplace().emplace_back().path = "/captures/b.png";
  }));
  (void)trashed({"b"});
  EXPECT_EQ(store.find("b"), nullptr);
  EXPECT_EQ(files.text("/captures/b.png"), "pixels of b");
  (void)trashed({"a"});
  EXPECT_EQ(files.text("/captures/b.png"), "pixels of b") << "and is nobody's to throw away";
}

}  // namespace
}  // namespace vantorel
