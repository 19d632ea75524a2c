#include "library/library_repair.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/file_reach.hpp"
#include "library/relocation_leftovers.hpp"
#include "library/rewrite_journal.hpp"
#include "library/testing/repair_fixture.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Finding = VerifyReport::Finding;

TEST_F(LibraryRepairTest, RepairLeavesAloneWhatAnotherBuildsItemsName) {
  const std::string clip = "/captures/Clip 2026-03-01 at 14.05.09.mp4";
  files->put(clip, "moving pixels");
  files->put("/data/Originals/b.mp4", "the only one");
  load(indexOf(R"({"id":5,"path":")" + clip + R"(","before":["/data/Originals/b.mp4"]})"));
  EXPECT_THAT(verify(true).findings, IsEmpty());
  EXPECT_EQ(files->text("/data/Originals/b.mp4"), "the only one");
}

TEST_F(LibraryRepairTest, RepairTakesNoOriginalThatACaptureGotMeanwhile) {
  std::string entries;
  for (const std::string id : {"a", "b", "c"}) {
    files->put("/captures/" + id + ".png", id);
    files->put("/data/Originals/" + id + ".png", "original of " + id);
    entries += fmt::format(R"({}{{"id":"{}","capturedAt":1,"path":"/captures/{}.png"}})",
                           id == "a" ? "" : ",", id, id);
  }
  load(indexOf(entries));
  const auto compressing = library.claim("b", EntryWork::rewriting);
  const VerifyReport report = verify(true, [this] {
    EXPECT_TRUE(store.update(
        "a", [](ScreenshotEntry& entry) { entry.originalPath = "/data/Originals/a.png"; }));
  });
  EXPECT_THAT(report.findings, ElementsAre(Finding{FindingKind::originalWithoutEntry,
                                                   "/data/Originals/c.png", true}));
  EXPECT_THAT(files->names("/data/Originals"), ElementsAre("a.png", "b.png"));
  EXPECT_THAT(store.claims().fileChanges(), ElementsAre("b"));
}

// As the program in the tray does at its start.
TEST_F(LibraryRepairTest, OriginalsThatNobodyNeedsGoToTheTrashAndNoOthers) {
  for (const char* const id : {"away", "changing", "given", "gone"}) {
    files->put(std::string("/data/Originals/") + id + ".png", id);
  }
  // A staged capture has the first, and its words.
  for (const char* const name : {"staged.png", "staged.json", "filed.json"}) {
    files->put(std::string("/data/Redacted Originals/") + name, "secret");
  }
  filing = {"/data/Redacted Originals/staged.png", "/data/Redacted Originals/staged.json"};
  load(indexOf(R"({"id":"away","capturedAt":1,"path":"/unplugged/away.png",)"
               R"("originalPath":"/data/Originals/away.png"},)"
               R"({"id":"changing","capturedAt":1,"path":"/captures/changing.png"},)"
               R"({"id":"given","capturedAt":1,"path":"/captures/given.png"})"));
  const auto changing = library.claim("changing", EntryWork::rewriting);
  runners.advance(1s);
  repair.clearOriginals();
  EXPECT_TRUE(store.update(
      "given", [](ScreenshotEntry& entry) { entry.originalPath = "/data/Originals/given.png"; }));
  runners.run();
  EXPECT_THAT(files->names("/data/Originals"),
              ElementsAre("away.png", "changing.png", "given.png"));
  EXPECT_THAT(files->names("/data/Redacted Originals"), ElementsAre("staged.json", "staged.png"));
  EXPECT_THAT(store.claims().fileChanges(), ElementsAre("changing"));
}

TEST_F(LibraryRepairTest, RepairKeepsWhoseFileIsBackWhenTheLookEnds) {
  load(indexOf(R"({"id":"a","capturedAt":1,"path":"/captures/a.png"},)"
               R"({"id":"b","capturedAt":1,"path":"/captures/b.png"})"));
  files->put("/captures/holiday.txt", "an empty folder might be a mount point");
  progress = [this](std::size_t at, std::size_t total) {
    if (at + 1 == total) files->put("/captures/a.png", "out of the Trash again");
    return true;
  };
  (void)verify(true);
  ASSERT_EQ(store.entries().size(), 1U);
  EXPECT_EQ(store.entries()[0]->id, "a");
}

// As by a deletion whose undo ends after the look: the entries are the very same ones again.
TEST_F(LibraryRepairTest, RepairJudgesByWhatIsThereAfterTheLook) {
  const std::string capture = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
  const std::string original = "/captures/Screenshot 2026-03-01 at 14.05.09 (original).png";
  const std::string passing = "/captures/Screenshot 2026-03-01 at 14.05.10.png";
  const std::string filed = "/captures/Screenshot 2026-03-01 at 14.05.11.png";
  const std::string stranger = "/captures/Clip 2026-03-01 at 14.05.12.mp4";
  files->put(capture, "picture");
  const std::string away = "/unplugged/c.png";
  const std::string journal = "/data/deletions.json";
  load(indexOf(R"({"id":"a","capturedAt":1,"path":")" + capture + R"(","originalPath":")" +
               original + R"("},{"id":"c","capturedAt":1,"path":")" + away + R"("})"));
  files->now = runners.now() - 1;
  for (const std::string& path : {passing, filed, stranger, journal}) files->put(path, path);
  looked = [&] {
    EXPECT_TRUE(files->remove(journal).has_value());
    EXPECT_TRUE(store.update("c", [](ScreenshotEntry& entry) { entry.path = "/captures/c.png"; }));
    files->put(original, "out of the Trash again");
    EXPECT_TRUE(files->remove(passing).has_value());
    // The folder has another name as well.
    ScreenshotEntry entry = *store.find("a");
    entry.id = "b";
    entry.path = "/elsewhere/renamed.png";
    entry.originalPath = std::nullopt;
    entry.fileIdentity = identifyFile(*files, filed);
    EXPECT_TRUE(store.add(std::move(entry)).has_value());
  };
  for (const bool repairs : {false, true}) {
    EXPECT_THAT(verify(repairs).findings,
                ElementsAre(Finding{FindingKind::fileWithoutEntry, stranger, repairs}));
    EXPECT_TRUE(files->remove(original).has_value());
    files->put(passing, "there for a moment");
    files->put(journal, "{}");
    if (!repairs) store.removeEntries({"b"});
    EXPECT_TRUE(store.update("c", [&](ScreenshotEntry& entry) { entry.path = away; }));
  }
  EXPECT_EQ(store.find("a")->originalPath, original);
  EXPECT_NE(store.findByPath(stranger), nullptr);
  EXPECT_EQ(store.findByPath(filed), nullptr);
  EXPECT_TRUE(store.claims().fileChanges().empty());
}

TEST_F(LibraryRepairTest, NothingIsJudgedWhileFilesAreOnTheirWay) {
  const std::string original = "/captures/a (original).png";
  const std::string stranger = "/captures/Clip 2026-03-01 at 14.05.12.mp4";
  files->put("/captures/a.png", "picture");
  files->put("/captures/b.png", "another picture");
  files->put(stranger, "a third");
  const std::string nobodys = "/data/Originals/x.png";
  files->put(nobodys, "nobody's");
  load(indexOf(R"({"id":"a","capturedAt":1,"path":"/captures/a.png","originalPath":")" + original +
               R"("},{"id":"b","capturedAt":1,"path":"/captures/b.png"})"));
  looked = [this] {
    // Begins when the deletions before the look are over.
    runners.main()->post([this] {
      library.deletion().trash({"b"}, HistoryDeletion::Undo::offered, [](const TrashSweep&) {});
    });
  };
  const VerifyReport busy = verify(true);
  EXPECT_THAT(busy.findings, IsEmpty());
  EXPECT_THAT(busy.notJudged, ElementsAre(original, stranger, nobodys));
  EXPECT_EQ(store.find("a")->originalPath, original);
  looked = [] {};
  EXPECT_THAT(verify(true).findings,
              ElementsAre(Finding{FindingKind::originalGone, original, true},
                          Finding{FindingKind::fileWithoutEntry, stranger, true},
                          Finding{FindingKind::originalWithoutEntry, nobodys, true}));
  EXPECT_FALSE(store.find("a")->originalPath);
  EXPECT_NE(store.findByPath(stranger), nullptr);
}

TEST_F(LibraryRepairTest, WhatTheStartClearedUpIsToldAndIsNoFault) {
  files->put("/data/undo.json.staging", "half of it");
  files->put("/data/deletions.json", R"(["gone"])");
  files->put("/data/relocation.json", "not to be read");
  load(indexOf(""));
  EXPECT_THAT(
      verify(false).findings,
      UnorderedElementsAre(Finding{FindingKind::journal, "/data/relocation.json"},
                           Finding{FindingKind::clearedAtStart, "/data/undo.json.staging", true},
                           Finding{FindingKind::clearedAtStart, "/data/deletions.json", true}));
}

// Another process may have staged it just before this one took the library.
TEST_F(LibraryRepairTest, AStagedCaptureIsAFaultOnceItsFilingMustBeOver) {
  const std::string staged = "/data/Staged Captures/vantorel-6.png";
  files->now = runners.now() - 1;
  files->put(staged, "by another process");
  load(indexOf(""));
  EXPECT_THAT(verify(false).notJudged, ElementsAre(staged));
  runners.advance(1min);
  EXPECT_THAT(verify(false).findings, ElementsAre(Finding{FindingKind::stagedCapture, staged}));
}

// What a move left on a disk that was read-only then, in a folder where captures lie, and what
// swapped names there since.
TEST_F(LibraryRepairTest, RepairRemovesWhatMovedAndWasNotRemoved) {
  std::string spare = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
  std::string edited = "/captures/Screenshot 2026-03-01 at 14.05.10.png";
  RelocationLeftovers left;
  for (const std::string& path : {spare, edited}) {
    files->put(path, "picture");
    const std::string copy = "/new/" + Path(path).filename().string();
    files->put(copy, path == spare ? "picture" : "smaller picture");
    left.copied.push_back({.oldPath = path,
                           .newPath = copy,
                           .size = static_cast<std::int64_t>(files->status(path)->size),
                           .modified = files->status(path)->modified,
                           .file = static_cast<std::int64_t>(files->status(path)->inode)});
  }
  ASSERT_TRUE(left.write(*files, library.paths()).has_value());
  std::swap(files->disk[spare], files->disk[edited]);
  std::swap(spare, edited);
  const std::string renamed = "/captures/Screenshot 2026-03-01 at 14.05.11.png";
  files->disk[renamed] = files->disk.at(edited);
  files->disk.erase(std::exchange(edited, renamed));
  load(indexOf(""));
  files->readOnly = {"/captures"};
  trash.failing[edited] = FailureKind::denied;
  constexpr FindingKind kind = FindingKind::movedAndStillThere;
  for (const bool repairs : {false, true}) {
    EXPECT_THAT(verify(repairs).findings,
                UnorderedElementsAre(Finding{kind, spare}, Finding{kind, edited}));
  }
  files->readOnly.clear();
  EXPECT_THAT(verify(true).findings,
              UnorderedElementsAre(Finding{kind, spare, true}, Finding{kind, edited}));
  trash.failing.clear();
  EXPECT_THAT(verify(true).findings, ElementsAre(Finding{kind, edited, true}));
  EXPECT_TRUE(files->names("/captures").empty());
  EXPECT_EQ(files->names("/Trash").size(), 1U);
  EXPECT_THAT(verify(false).findings, IsEmpty());
}

// Of the same size and time under another number: on a disk that numbers its files anew, what moved
// and stayed, or what an entry has there since.
TEST_F(LibraryRepairTest, RepairPutsIntoTheTrashWhatProbablyMovedAndNothingOfAnEntry) {
  const std::string probable = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
  const std::string back = "/captures/Screenshot 2026-03-01 at 14.05.10.png";
  RelocationLeftovers left;
  for (const std::string& path : {probable, back}) {
    const std::string copy = "/new/" + Path(path).filename().string();
    for (const std::string& one : {path, copy}) files->put(one, "picture");
    left.copied.push_back({.oldPath = path,
                           .newPath = copy,
                           .size = 7,
                           .modified = files->status(path)->modified,
                           .file = 1'000'000});
  }
  ASSERT_TRUE(left.write(*files, library.paths()).has_value());
  load(indexOf(R"({"id":"a","capturedAt":1,"path":")" + back + R"("})"));
  const Finding found{FindingKind::movedAndStillThere, probable, true};
  EXPECT_THAT(verify(true).findings, ElementsAre(found));
  EXPECT_EQ(files->text(back), "picture");
  EXPECT_EQ(files->names("/Trash").size(), 1U);
  EXPECT_THAT(verify(false).findings, IsEmpty());
}

TEST_F(LibraryRepairTest, RepairRemovesWhatWasReplacedAndNotRemoved) {
  const std::string old = "/captures/Screenshot 2026-03-01 at 14.05.09.jpg";
  const std::string made = "/captures/Screenshot 2026-03-01 at 14.05.09.webp";
  files->put(old, "before");
  files->put(made, "after");
  load(indexOf(R"({"id":"a","capturedAt":1,"path":")" + made + R"("})"));
  RewriteJournal rewrites(*files, library.paths(), runners);
  ASSERT_TRUE(rewrites.begin("a", old, std::nullopt).has_value());
  ASSERT_TRUE(rewrites.willMake("a", made, made).has_value());
  files->readOnly = {"/captures"};
  EXPECT_TRUE(rewrites.end("a", store.entries()).left.has_value());
  trash.failing[old] = FailureKind::denied;
  constexpr FindingKind kind = FindingKind::replacedAndStillThere;
  EXPECT_THAT(verify(true).findings, ElementsAre(Finding{kind, old}));
  trash.failing.clear();
  files->readOnly.clear();
  EXPECT_THAT(verify(true).findings, ElementsAre(Finding{kind, old, true}));
  EXPECT_EQ(files->text(old), "(missing)");
  EXPECT_THAT(verify(false).findings, IsEmpty());
}

// The program has lived in the tray for a day.
TEST_F(LibraryRepairTest, WhatWasLeftInThisRunIsFoundAndWhatIsUnderWayIsNot) {
  load("no index");  // parked now
  runners.advance(24h);
  files->now = runners.now() - 3600;
  const std::string forgotten = "/captures/Clip 2026-03-01 at 14.05.09.mp4";
  files->put(forgotten, "forgotten");
  files->put("/data/relocation.json", "{}");
  files->put("/data/history.json.staging", "being written");
  files->now = runners.now();
  filing = {"/captures/Clip 2026-03-01 at 14.05.10.mp4"};
  files->put(filing[0], "being filed");
  staging = {"/data/Staged Captures/vantorel-5.png"};
  files->put(*staging.begin(), "to be filed in a moment");
  const std::string others = "/data/Staged Captures/vantorel-6.png";
  files->put(others, "by another process");
  const VerifyReport report = verify(false, [this] {
    files->now = runners.now() + 1;
    files->put("/data/deletions.json", "begun meanwhile");
  });
  EXPECT_THAT(report.findings, ElementsAre(Finding{FindingKind::fileWithoutEntry, forgotten},
                                           AllOf(Field(&Finding::kind, FindingKind::parkedIndex),
                                                 Field(&Finding::isRepaired, false)),
                                           Finding{FindingKind::journal, "/data/relocation.json"}));
  EXPECT_THAT(report.notJudged, ElementsAre(others, "/data/history.json.staging"));
}

}  // namespace
}  // namespace vantorel
