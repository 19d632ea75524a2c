#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/json_record.hpp"
#include "library/file_reach.hpp"
#include "library/library_repair.hpp"
#include "library/rewrite_journal.hpp"
#include "library/testing/repair_fixture.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using Finding = VerifyReport::Finding;

TEST_F(LibraryRepairTest, RepairLeavesAloneWhatADamagedIndexMayHaveNamed) {
  files->put("/data/Originals/a.png", "the only one");
  load(R"({"version":4,"entries":[{"id":"a","originalPath":"/data/Ori)");
  EXPECT_THAT(verify(true).findings,
              Contains(Finding{FindingKind::originalWithoutEntry, "/data/Originals/a.png"}));
  repair.clearOriginals();
  runners.run();
  EXPECT_EQ(files->text("/data/Originals/a.png"), "the only one");
}

TEST_F(LibraryRepairTest, CapturesOfADamagedIndexGetTheirEntriesBack) {
  const auto capture = [&](const std::string& id, const std::string& more) {
    files->put("/captures/" + id + ".png", "png 1 1 0\nrgba");
    return fmt::format(R"({{"id":"{}","capturedAt":1,"path":"/captures/{}.png"{}}})", id, id, more);
  };
  const std::string shaped =
      R"(,"shapes":[{"id":"s","type":"redact","redactStyle":"solidBox","color":"#000000",)"
      R"("width":1,"x1":0,"y1":0,"x2":9,"y2":9}],"collectionIDs":["c"])";
  const std::string damaged =
      R"({"version":4,"entries":[)" + capture("a", R"(,"starred":true,"title":"mine")" + shaped) +
      "," + capture("lost", R"(,"title":"mi"ne")") + "," + capture("taken", R"(,"title":"other")") +
      "," + capture("gone", R"(,"title":"deleted")") +
      R"(],"collections":[{"id":"c","name":"Work","color":"red","note":"",)"
      R"("sort":"newest","order":[],"createdAt":1},)"
      R"({"id":"d","name":"None","color":"red","note":"","sort":"newest",)"
      R"("order":[],"createdAt":1}]})";
  files->disk.erase("/captures/gone.png");
  std::optional<IndexDamage> damage;
  library.store().onDamagedIndex = [&](const IndexDamage& told) { damage = told; };
  load(damaged);
  EXPECT_THAT(library.store().entries(), IsEmpty());
  ASSERT_TRUE(damage.has_value());
  EXPECT_EQ(files->text(Path("/data") / damage->keptAs), damaged);
  EXPECT_EQ(damage->readable, 3U);
  EXPECT_EQ(damage->places, 1U);
  EXPECT_THAT(damage->sentence(), HasSubstr("damaged in 1 place and"));
  EXPECT_THAT(damage->sentence(), HasSubstr("3 entries can be read"));

  ScreenshotEntry other;
  other.id = "taken";
  other.path = "/elsewhere/other.png";
  files->put(other.path, "png 1 1 0\nrgba");
  ASSERT_TRUE(library.store().add(other).has_value());
  const VerifyReport report = verify(true);
  std::map<std::string, EntryPointer> byPath;
  for (const EntryPointer& entry : library.store().entries()) byPath[entry->path] = entry;
  ASSERT_EQ(library.store().entries().size(), 2U) << "one id is one capture";
  const ScreenshotEntry& back = *byPath.at("/captures/a.png");
  EXPECT_EQ(back.id, "a");
  EXPECT_EQ(back.title, "mine");
  EXPECT_TRUE(back.starred);
  EXPECT_EQ(back.shapes.size(), 1U);
  EXPECT_EQ(back.fileIdentity, identifyFile(*files, "/captures/a.png"));
  EXPECT_EQ(byPath.at(other.path)->title, std::nullopt);
  ASSERT_EQ(library.store().collections().size(), 1U);
  EXPECT_EQ(library.store().collections()[0].name, "Work");
  EXPECT_THAT(report.findings,
              Contains(Finding{FindingKind::fileWithoutEntry, "/captures/a.png", true}));
  EXPECT_THAT(verify(true).findings, IsEmpty());
  EXPECT_EQ(library.store().entries().size(), 2U);
}

TEST_F(LibraryRepairTest, WhatBelongsToACaptureOfADamagedIndexIsNoCaptureOfItsOwn) {
  const std::string shown = "/captures/Screenshot 2026-03-01 at 14.05.09.jpg";
  ScreenshotEntry redacted = capture(shown, "redacted");
  redacted.originalPath = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
  redacted.layers.emplace().emplace_back().path = "/captures/Screenshot 2026-03-01 at 14.05.10.png";
  ScreenshotEntry small = capture("/captures/small.png", "small");
  small.originalPath = "/data/Originals/small.png";
  ScreenshotEntry deleted = capture("/captures/Screenshot 2026-03-01 at 14.05.11.jpg", "deleted");
  deleted.originalPath = "/captures/Screenshot 2026-03-01 at 14.05.11.png";
  for (const auto& path : {redacted.originalPath, redacted.layers->front().path, small.originalPath,
                           deleted.originalPath}) {
    files->put(*path, picture("uncovered"));
  }
  load(indexOf(""));
  park("1", 1, {redacted, small, deleted});
  files->disk.erase(deleted.path);
  const auto expectNothingUncovered = [&] {
    EXPECT_THAT(titles(), UnorderedElementsAre(Pair(shown, "redacted"), Pair(small.path, "small")));
  };
  EXPECT_THAT(verify(true).findings,
              UnorderedElementsAre(Finding{FindingKind::fileWithoutEntry, shown, true},
                                   Finding{FindingKind::fileWithoutEntry, small.path, true},
                                   Finding{FindingKind::parkedIndex, copy("1"), true}));
  expectNothingUncovered();
  EXPECT_THAT(verify(true).findings, IsEmpty());
  expectNothingUncovered();
}

// Names change before the damage and after it; some disks number their files anew.
TEST_F(LibraryRepairTest, EntriesOfADamagedIndexGoToTheirFilesWhateverTheNamesAre) {
  const auto at = [](int second) {
    return fmt::format("/captures/Screenshot 2026-03-01 at 14.05.{:02}.png", second);
  };
  load(indexOf(""));
  for (const std::int64_t renumbering : {0, 1000}) {
    std::vector<ScreenshotEntry> entries{capture(at(1), "one"),
                                         capture(at(2), "second"),
                                         capture(at(3), "the renamed"),
                                         capture(at(4), "one replaced"),
                                         capture(at(5), "at its very name"),
                                         capture("/unplugged/away.png", "which is away"),
                                         capture(at(6), "overwritten by another"),
                                         capture(at(7), "written to in its place")};
    for (ScreenshotEntry& entry : entries) entry.fileIdentity->file += renumbering;
    entries[4].fileIdentity.reset();
    park("1", 1, entries);
    std::swap(files->disk[at(1)], files->disk[at(2)]);
    const auto move = [&](const std::string& from, const std::string& to) {
      files->disk[to] = files->disk.at(from);
      files->disk.erase(from);
    };
    move(at(3), "/captures/Mine.png");
    move(at(4), "/captures/Report.png");
    files->put(at(4), picture("a stranger"));
    files->disk.erase("/unplugged/away.png");
    files->folders.erase("/unplugged");
    files->disk.erase(at(6));
    files->put(at(6), picture("another stranger here"));
    if (renumbering == 0) {
      FakeFiles::File& edited = *files->disk[at(7)];
      edited.bytes = picture("as somebody else left it");
      edited.status.size = edited.bytes.size();
    }
    (void)verify(true);
    EXPECT_THAT(
        titles(),
        UnorderedElementsAre(
            Pair(at(2), "one"), Pair(at(1), "second"), Pair("/captures/Mine.png", "the renamed"),
            Pair("/captures/Report.png", "one replaced"), Pair(at(4), std::nullopt),
            Pair(at(5), "at its very name"), Pair("/unplugged/away.png", "which is away"),
            Pair(at(6), std::nullopt), Pair(at(7), "written to in its place")));
    std::vector<std::string> ids;
    for (const EntryPointer& entry : store.entries()) ids.push_back(entry->id);
    store.removeEntries(ids);
    std::erase_if(files->disk,
                  [](const auto& one) { return one.first.native().starts_with("/captures"); });
  }
}

TEST_F(LibraryRepairTest, WhereAnEntryIsDamagedItsFileIsNamedAndItsOriginalIsNoCapture) {
  const std::string shown = "/captures/Screenshot 2026-03-01 at 14.05.09.jpg";
  ScreenshotEntry redacted = capture(shown, "redacted");
  redacted.originalPath = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
  files->put(*redacted.originalPath, picture("uncovered"));
  load(indexOf(""));
  park("1", 1, {redacted, capture("/captures/a.png", "whole")});
  std::string& text = files->disk.at(copy("1"))->bytes;
  text[text.find("capturedAt")] = '\0';
  EXPECT_THAT(verify(true).findings,
              UnorderedElementsAre(Finding{FindingKind::fileWithoutEntry, "/captures/a.png", true},
                                   Finding{FindingKind::fileOfDamagedEntry, shown, true},
                                   Finding{FindingKind::parkedIndex, copy("1"), true}));
  EXPECT_THAT(verify(true).findings, IsEmpty());
  EXPECT_THAT(titles(),
              UnorderedElementsAre(Pair("/captures/a.png", "whole"), Pair(shown, std::nullopt)));
}

// As a power cut does it, at any moment of the move.
TEST_F(LibraryRepairTest, WhatWasMovingWhenTheIndexWasDamagedGetsItsEntryWhereItIs) {
  struct PowerCut {};
  for (const bool acrossDisks : {false, true}) {
    bool isComplete = false;
    for (int moment = 1; !isComplete && !HasFailure(); ++moment) {
      SCOPED_TRACE(fmt::format("moment {}{}", moment, acrossDisks ? " across disks" : ""));
      files->disk.clear();
      files->folders = {"/", "/data", "/captures", "/new"};
      if (acrossDisks) files->mounts = {"/new"};
      ScreenshotEntry redacted =
          capture("/captures/Screenshot 2026-03-01 at 14.05.09.jpg", "redacted");
      redacted.originalPath = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
      files->put(*redacted.originalPath, picture("uncovered"));
      const ScreenshotEntry plain =
          capture("/captures/Screenshot 2026-03-01 at 14.05.10.png", "plain");
      files->put("/data/history.json", indexOf(json::toText(redacted) + "," + json::toText(plain)));
      try {
        Session cut(files);
        cut.open();
        files->changes = 0;
        files->beforeChange = [&](int change) {
          if (change == moment) throw PowerCut();
        };
        cut.library.relocation().relocate({"/new", {"/captures"}}, {}, [](const auto&) {});
        cut.runners.run();
        isComplete = true;
      } catch (const PowerCut&) {
      }
      files->beforeChange = nullptr;
      const std::string text = files->text("/data/history.json");
      files->put("/data/history.json", text.substr(0, text.size() - 1));
      // The damage is put aside, and there is a new library by the time it is opened again.
      for (const int second : {11, 12}) {
        Session next(files);
        next.open();
        ASSERT_TRUE(
            next.store
                .add(capture(fmt::format("/captures/Screenshot 2026-03-01 at 14.05.{}.png", second),
                             "new " + std::to_string(second)))
                .has_value());
        next.runners.advance(1s);
      }
      // The start after the repair has nothing more to wait for.
      for (int start = 0; start < 2; ++start) {
        Session repairing(files);
        repairing.open();
        (void)repairing.verify(true);
      }
      Session last(files);
      last.open();
      EXPECT_THAT(last.verify(true).findings, IsEmpty());
      std::set<std::string> shown;
      for (const auto& [path, title] : last.titles()) {
        shown.insert(title.value_or("none"));
        EXPECT_EQ(files->text(path), picture(title.value_or("none")));
      }
      EXPECT_THAT(shown, ElementsAre("new 11", "new 12", "plain", "redacted"));
      EXPECT_EQ(last.store.entries().size(), 4U);
      EXPECT_EQ(files->names("/captures").size() + files->names("/new").size(), 5U);
      const EntryPointer covered = last.store.find("redacted");
      EXPECT_TRUE(covered && files->text(*covered->originalPath) == picture("uncovered"));
    }
  }
}

TEST_F(LibraryRepairTest, WhatWasRewrittenWhenTheIndexWasDamagedIsKeptForTheRepair) {
  const std::string old = "/captures/Screenshot 2026-03-01 at 14.05.09.png";
  const std::string made = "/captures/Screenshot 2026-03-01 at 14.05.09.jpg";
  load(indexOf(""));
  for (const std::string& known : {old, made}) {
    const ScreenshotEntry entry = capture(known, "mine");
    files->put(known == old ? made : old, picture("mine"));
    RewriteJournal cut(*files, library.paths(), runners);
    ASSERT_TRUE(cut.begin("mine", old, std::nullopt).has_value());
    ASSERT_TRUE(cut.willMake("mine", made, made).has_value());
    park("1", 1, {entry});
    RewriteJournal(*files, library.paths(), runners).recover(store.entries());
    (void)verify(true);
    EXPECT_THAT(titles(), ElementsAre(Pair(known, "mine")));
    RewriteJournal(*files, library.paths(), runners).recover(store.entries());
    EXPECT_THAT(files->names("/captures"), ElementsAre(Path(known).filename().string()));
    EXPECT_THAT(verify(true).findings, IsEmpty());
    store.removeEntries({"mine"});
  }
  // In place: the picture before comes back to the entry that tells of it.
  const Path original = "/data/Originals/mine.png";
  files->folders.insert("/data/Originals");
  files->disk.erase(made);
  for (const bool isReplaced : {false, true}) {
    const ScreenshotEntry entry = capture(old, "mine");
    RewriteJournal cut(*files, library.paths(), runners);
    ASSERT_TRUE(cut.begin("mine", old, original).has_value());
    ASSERT_TRUE(files->linkNew(old, original).has_value());
    ASSERT_TRUE(cut.willReplace("mine", picture("me").size()).has_value());
    if (isReplaced) files->disk.erase(old);
    if (isReplaced) files->put(old, picture("me"));
    park("2", 2, {entry});
    RewriteJournal(*files, library.paths(), runners).recover(store.entries());
    (void)verify(true);
    EXPECT_THAT(titles(), ElementsAre(Pair(old, "mine")));
    RewriteJournal(*files, library.paths(), runners).recover(store.entries());
    EXPECT_EQ(files->text(old), picture("mine"));
    EXPECT_THAT(verify(true).findings, IsEmpty());
    store.removeEntries({"mine"});
  }
}

TEST_F(LibraryRepairTest, WhatTheLibraryHasIsNotFiledAgainFromADamagedIndex) {
  const ScreenshotEntry had = capture("/captures/Report.png", "had");
  const ScreenshotEntry again = capture("/captures/Second.png", "again");
  load(indexOf(""));
  park("1", 1, {had, again});
  const auto keepUnder = [&](ScreenshotEntry entry, const std::string& id, const Path& path) {
    files->disk[path] = files->disk.at(entry.path);
    files->disk.erase(entry.path);
    files->put(entry.path, picture("a stranger at the name"));
    entry.id = id;
    entry.title = "newer";
    entry.path = path.string();
    EXPECT_TRUE(store.add(std::move(entry)).has_value());
  };
  keepUnder(had, "had", "/captures/Mine.png");
  keepUnder(again, "another id", "/captures/Yours.png");
  EXPECT_THAT(verify(true).findings,
              ElementsAre(Finding{FindingKind::parkedIndex, copy("1"), true}));
  EXPECT_THAT(titles(), UnorderedElementsAre(Pair("/captures/Mine.png", "newer"),
                                             Pair("/captures/Yours.png", "newer")));
}

TEST_F(LibraryRepairTest, ADamagedIndexCountsUntilARepairHasUsedItAndNoLonger) {
  const std::string path = "/captures/Holiday.png";
  load(indexOf(""));
  park("1", 1, {capture(path, "forgotten")});
  park("rubbish", 2, {});
  const std::string text = files->text(copy("1"));
  const Finding rubbish{FindingKind::parkedIndex, copy("rubbish")};
  looked = [this] {
    runners.main()->post([this] {
      library.deletion().trash({"none"}, HistoryDeletion::Undo::offered, [](const TrashSweep&) {});
    });
  };
  EXPECT_THAT(verify(true).notJudged, ElementsAre(path));
  looked = [] {};
  EXPECT_EQ(files->text(copy("1")), text) << "while files are on their way it is not used";
  files->changesFail = FailureKind::noSpace;
  EXPECT_TRUE(verify(true).indexNotSaved.has_value());
  files->changesFail.reset();
  runners.run();
  EXPECT_EQ(files->text(copy("1")), text);
  // The second time as when the first was killed before the copy had its name.
  for (int time = 0; time < 2; ++time) {
    (void)verify(true);
    EXPECT_THAT(titles(), ElementsAre(Pair(path, "forgotten")));
    EXPECT_FALSE(files->disk.contains(copy("1")));
    EXPECT_EQ(files->text("/data/history-1.salvaged.unreadable.json"), text);
    if (time == 0) files->put(copy("1"), text);
  }
  library.deletion().forget({"forgotten"}, [](const Result<std::size_t>&) {});
  runners.run();
  EXPECT_THAT(verify(true).findings, ElementsAre(rubbish));
  EXPECT_THAT(titles(), IsEmpty());
}

TEST_F(LibraryRepairTest, TheNewestDamagedIndexCountsMostAndAForeignOneNothing) {
  const std::string path = "/captures/a.png";
  const std::string older = "/captures/b.png";
  ScreenshotEntry entry = capture(path, "newest");
  load(indexOf(""));
  park("1", 2, {entry});
  entry.title = "before";
  park("2", 1, {entry, capture(older, "once")});
  entry.title = "foreign";
  park("3", 3, {entry, capture("/captures/c.png", "foreign, too")});
  const Path foreign = "/data/history-3.replaced.json";
  files->disk[foreign] = files->disk.at(copy("3"));
  files->disk.erase(copy("3"));
  EXPECT_THAT(verify(true).findings,
              UnorderedElementsAre(Finding{FindingKind::fileWithoutEntry, path, true},
                                   Finding{FindingKind::fileOfOlderIndex, older, true},
                                   Finding{FindingKind::parkedIndex, copy("1"), true},
                                   Finding{FindingKind::parkedIndex, copy("2"), true},
                                   Finding{FindingKind::parkedIndex, foreign}));
  EXPECT_THAT(titles(), UnorderedElementsAre(Pair(path, "newest"), Pair(older, "once")));
}

}  // namespace
}  // namespace vantorel
