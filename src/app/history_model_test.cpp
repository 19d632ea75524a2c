#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/history_session.hpp"

namespace vantorel {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(HistoryModelTest, AnEmptyWindowSaysWhy) {
  HistorySession run;
  const auto title = [&] { return run.model.blank() ? run.model.blank()->title : "(listed)"; };
  run.library.open();
  EXPECT_EQ(title(), "Opening the library");
  run.runners.run();
  EXPECT_EQ(title(), "Nothing captured yet");
  EXPECT_EQ(run.model.blank()->text, "Press Print and drag an area. What you take appears here.");
  run.add("a");
  run.runners.run();
  EXPECT_EQ(title(), "(listed)");
  run.model.show(HistoryScope::recordings);
  EXPECT_EQ(title(), "No recordings");
  run.model.search("lower brigde");
  EXPECT_EQ(title(), "Nothing matches “lower brigde”");
  EXPECT_EQ(run.model.blank()->text, "Searched in Recordings.");
  run.model.searchEverything();
  EXPECT_THAT(run.model.blank()->text, HasSubstr("The text of one capture has not been read"));
  run.model.search("a");
  run.model.searchEverything();
  EXPECT_THAT(run.listed(), ElementsAre("a"));
  const auto id = run.model.createCollection("Poster");
  run.model.clearSearch();
  run.model.show(HistoryScope::collection, *id);
  EXPECT_EQ(run.model.blank()->text, "Drop captures here, or file new ones into it.");
}

TEST(HistoryModelTest, SearchesTheTextOnPicturesAndCopiesIt) {
  HistorySession run;
  run.open();
  const HistoryModel& model = run.model;
  run.add("a", 1, [](ScreenshotEntry& entry) {
    entry.pixelWidth = 160;
    entry.pixelHeight = 100;
    entry.ocrText = "the total is 48";
    entry.ocrBlocks = {OCRBlock{
        .lines = {{.text = *entry.ocrText, .box = {0.1F, 0.1F, 0.8F, 0.1F, {}}}}, .extra = {}}};
  });
  run.add("b", 2);
  run.runners.run();
  run.model.search("TOTAL");
  EXPECT_THAT(run.listed(), ElementsAre("a"));
  EXPECT_EQ(model.snippetOf(0).text, "the total is 48");
  EXPECT_EQ(model.snippetOf(0).hits, (std::vector<TextRange>{{4, 9}}));
  ASSERT_EQ(model.hitsOf(0).size(), 1U);
  EXPECT_NEAR(model.hitsOf(0)[0].y, 0.1, 1e-6);

  // The lower half alone is shown, and what is found there lies elsewhere.
  ASSERT_TRUE(run.store.update("a", [](ScreenshotEntry& entry) {
    entry.ocrBlocks->at(0).lines[0].box.y = 0.6F;
    entry.crop = Box{0, 50, 160, 50};
  }));
  run.runners.run();
  ASSERT_EQ(model.hitsOf(0).size(), 1U);
  EXPECT_NEAR(model.hitsOf(0)[0].y, 0.2, 1e-6);
  EXPECT_NEAR(model.hitsOf(0)[0].h, 0.2, 1e-6);
  run.model.search("the 48");
  EXPECT_EQ(model.snippetOf(0).hits.size(), 2U) << "it is of what is searched now";

  run.model.clearSearch();
  EXPECT_TRUE(model.snippetOf(0).isEmpty());
  run.choose("a");
  run.alsoChoose("b");
  run.model.actions().copyText(model.subjects());
  EXPECT_EQ(run.clipboard.text, "the total is 48");
  run.choose("b");
  EXPECT_EQ(run.obstacle(HistoryAction::copyText), "No text has been read on it.");
}

TEST(HistoryModelTest, SidebarFollowsTheUsersCollections) {
  HistorySession run;
  run.open();
  run.add("a", 0, [](ScreenshotEntry& entry) { entry.starred = true; });
  run.add("b", 5, [](ScreenshotEntry& entry) { entry.medium = CaptureMedium::gif; });
  const std::string poster = run.model.createCollection("Poster").value();
  const std::string bugs = run.model.createCollection("Bug reports").value();
  EXPECT_EQ(run.store.findCollection(run.model.createCollection("Poster").value())->name,
            "Poster 2");
  run.model.renameCollection(bugs, "Poster\n");
  EXPECT_EQ(run.store.findCollection(bugs)->name, "Poster 3") << "each by a name of its own";
  run.model.renameCollection(bugs, " Bug\n\u202Ereports ");
  run.model.moveCollection(bugs, 0);
  run.model.fileInto(poster);
  run.model.actions().collect({run.store.find("a"), run.store.find("b")}, poster, true);
  run.runners.run();
  run.model.show(HistoryScope::collection, poster);
  EXPECT_THAT(run.sidebar(),
              ElementsAre("All captures 2", "Starred 1", "Images 1", "Recordings 1", "Texts 0",
                          "Bug reports 0", "Poster 2 filing shown", "Poster 2 0"));
  run.model.moveCollection(bugs, 2);
  EXPECT_EQ(run.store.collections().back().id, bugs);
  run.model.moveCollection(bugs, 0);

  // Deleting it keeps its captures, and can be undone for eight seconds.
  run.model.removeCollection(poster);
  run.runners.run();
  EXPECT_THAT(run.listed(), ElementsAre("a", "b"));
  EXPECT_EQ(run.settings.values().activeCollectionID, std::nullopt);
  EXPECT_EQ(run.model.pendingUndo()->text, "Collection “Poster” deleted");
  run.runners.advance(std::chrono::seconds(7));
  run.model.undo();
  run.runners.run();
  EXPECT_THAT(run.sidebar()[6], "Poster 2 filing");
  EXPECT_FALSE(run.model.pendingUndo());
  run.model.removeCollection(poster);
  run.runners.advance(std::chrono::seconds(8));
  EXPECT_FALSE(run.model.pendingUndo());
}

TEST(HistoryModelTest, WhatIsTrashedCanBeUndoneByTheStoresClock) {
  HistorySession run;
  run.open();
  for (const char* const id : {"a", "b", "c"}) run.add(id, id[0] - 'a');
  run.runners.run();
  run.choose("a");
  run.alsoChoose("b");
  EXPECT_EQ(run.model.selectionText(), "2 selected");
  run.model.trash();
  run.runners.run();
  EXPECT_THAT(run.listed(), ElementsAre("c"));
  EXPECT_EQ(run.model.selection().size(), 0U);
  EXPECT_EQ(run.model.summary().substr(0, 9), "1 capture");
  ASSERT_TRUE(run.model.pendingUndo());
  EXPECT_EQ(run.model.pendingUndo()->text, "2 captures deleted");
  run.runners.advance(std::chrono::seconds(6));
  EXPECT_EQ(run.model.pendingUndo()->left, std::chrono::seconds(2));
  run.model.undo();
  run.runners.run();
  EXPECT_THAT(run.listed(), ElementsAre("a", "b", "c"));

  run.choose("a");
  run.model.trash();
  run.runners.run();
  run.runners.advance(undoWindow);
  EXPECT_FALSE(run.model.pendingUndo());
  EXPECT_TRUE(run.seen.undo);
  run.model.undo();
  run.runners.run();
  EXPECT_THAT(run.listed(), ElementsAre("b", "c"));
}

TEST(HistoryModelTest, ChangesOfABatchAreToldOnce) {
  HistorySession run;
  run.open();
  for (int i = 0; i < 300; ++i) run.add(fmt::format("id{}", i), i);
  run.runners.run();
  run.model.select([](HistorySelection& selection) { selection.selectAll(); });
  run.changes = 0;
  EXPECT_FALSE(run.model.areStarred());
  run.model.toggleStar();
  EXPECT_EQ(run.changes, 0);
  run.runners.run();
  EXPECT_EQ(run.changes, 1);
  EXPECT_TRUE(run.model.areStarred());
  run.model.toggleStar();
  run.runners.run();
  EXPECT_FALSE(run.model.areStarred());
  EXPECT_EQ(run.sidebar()[1], "Starred 0");
}

TEST(HistoryModelTest, WhatIsOutOfReachCanOnlyLeaveHistory) {
  HistorySession run;
  run.open();
  run.add("here");
  run.add("away", 5);
  run.add("text", 6, [](ScreenshotEntry& entry) { entry.medium = CaptureMedium::text; });
  run.runners.run();
  using enum HistoryAction;
  EXPECT_EQ(run.obstacle(trash), "No capture is selected.");
  run.choose("here");
  EXPECT_EQ(run.obstacle(convert), "none");
  EXPECT_THAT(run.obstacle(HistoryAction::remove), HasSubstr("move the capture to the Trash"));
  run.alsoChoose("text");
  EXPECT_EQ(run.obstacle(rename), "This takes one capture at a time.");

  run.choose("away");
  EXPECT_EQ(run.obstacle(trash), "none");
  run.setReach({{"away", FileReach::folderUnreachable}});
  EXPECT_TRUE(run.seen.reach && run.seen.listing);
  EXPECT_EQ(run.obstacle(trash),
            "The folder it's in can't be reached. Reconnect it, or use Remove from History.");
  EXPECT_EQ(run.obstacle(copyPath), "none");
  run.model.trash();
  run.runners.run();
  EXPECT_THAT(run.notice(), HasSubstr("can't be reached"));
  run.setReach({});
  EXPECT_EQ(run.obstacle(trash), "none") << "the disk is back";
  EXPECT_EQ(run.notice(), "nothing") << "it would be done now";
  EXPECT_TRUE(run.model.refuses(HistoryAction::remove));
  EXPECT_THAT(run.notice(), HasSubstr("can be reached"));
  run.runners.advance(std::chrono::seconds(8));
  EXPECT_EQ(run.notice(), "nothing") << "a refusal passes";

  run.setReach({{"away", FileReach::fileGone}});
  run.choose("away");
  EXPECT_EQ(run.obstacle(HistoryAction::open),
            "Its file is gone. Use Remove from History to take it out of Vantorel.");
  run.model.remove();
  run.runners.run();
  EXPECT_THAT(run.listed(), ElementsAre("here", "text"));
  EXPECT_TRUE(run.files->disk.contains("/pictures/away.png"));
}

TEST(HistoryModelTest, WhatIsAskedForSeveralIsDoneWithThoseItCanBeAndTheOthersAreTold) {
  HistorySession run;
  run.open();
  for (const char* const id : {"a", "b", "c", "d"}) run.add(id, id[0] - 'a');
  run.add("text", 9, [](ScreenshotEntry& entry) { entry.medium = CaptureMedium::text; });
  run.runners.run();
  const auto selectAll = [&] {
    run.model.select([](HistorySelection& selection) { selection.selectAll(); });
  };
  const auto said = [&] { return run.notice() + " " + run.model.notice()->detail; };
  using enum HistoryAction;
  run.setReach({{"b", FileReach::folderUnreachable}, {"c", FileReach::folderUnreachable}});
  selectAll();
  EXPECT_EQ(run.obstacle(convert), "none");
  EXPECT_EQ(run.model.leftOut(convert),
            "3 of 5 are left out: 2 are out of reach, 1 is no picture.");
  EXPECT_EQ(run.model.leftOut(star), "");
  run.model.toggleStar();
  run.model.actions().convert(run.model.subjects(), ExportFormat::webp);
  run.runners.run();
  EXPECT_TRUE(run.model.areStarred());
  EXPECT_EQ(run.store.find("d")->path, "/pictures/d.webp");
  EXPECT_EQ(run.store.find("b")->path, "/pictures/b.png");
  EXPECT_EQ(said(),
            "2 of 2 captures converted. 3 of 5 are left out: 2 are out of reach, 1 is no "
            "picture.");
  EXPECT_TRUE(run.model.notice()->isProblem()) << "it stays until it is read";

  // One that fails is told of first, and the others all the same.
  run.files->put("/pictures/d.webp", "no picture");
  run.model.actions().compress(run.model.subjects());
  run.runners.run();
  EXPECT_THAT(said(), AllOf(HasSubstr("“d”: "), HasSubstr("3 of 5 are left out")));

  run.setReach({{"b", FileReach::fileGone}});
  run.model.trash();
  run.runners.run();
  EXPECT_THAT(run.listed(), ElementsAre("b"));
  EXPECT_EQ(run.notice(), "“b” is left out: it has lost its file.");
  run.model.undo();
  run.runners.run();
  selectAll();
  run.model.remove();
  run.runners.run();
  EXPECT_THAT(run.listed(), ElementsAre("a", "c", "d", "text"));
  EXPECT_EQ(run.notice(), "4 of 5 are left out: they are within reach.");

  selectAll();
  run.setReach({{"a", FileReach::fileGone},
                {"c", FileReach::folderGone},
                {"d", FileReach::folderGone},
                {"text", FileReach::folderGone}});
  EXPECT_EQ(run.obstacle(trash),
            "This works with none of them: 1 has lost its file, 3 are out of reach.");
}

TEST(HistoryModelTest, WhatWasCoveredBeforeFilingIsUncoveredAndCoveredAgain) {
  HistorySession run;
  run.open();
  for (const char* const id : {"a", "b", "busy", "plain"}) run.add(id, id[0] - 'a');
  for (const char* const id : {"a", "b", "busy"}) run.cover(id, true);
  run.runners.run();
  using enum HistoryAction;
  run.choose("plain");
  EXPECT_EQ(run.obstacle(removeRedaction),
            "Smart Redact covered nothing in it before it was filed.");
  EXPECT_NE(run.obstacle(reapplyRedaction), "none");

  run.choose("a");
  run.model.actions().removeRedaction(run.model.subjects());
  run.runners.run();
  EXPECT_FALSE(run.store.find("a")->originalPath);
  EXPECT_EQ(run.notice(), "Redactions removed");
  EXPECT_NE(run.obstacle(removeRedaction), "none");
  EXPECT_EQ(run.obstacle(reapplyRedaction), "none");

  run.model.select([](HistorySelection& selection) { selection.selectAll(); });
  EXPECT_EQ(run.model.leftOut(removeRedaction),
            "2 of 4 are left out: they have nothing covered by Smart Redact.");
  run.model.actions().removeRedaction(run.model.subjects());
  EXPECT_EQ(run.model.progress()->text, "Removing redactions");
  run.runners.run();
  EXPECT_FALSE(run.store.find("b")->originalPath);
  EXPECT_EQ(run.notice(), "“busy”: It is busy.");
  run.model.actions().reapplyRedaction(run.model.subjects());
  run.runners.run();
  EXPECT_TRUE(run.store.find("a")->originalPath && run.store.find("b")->originalPath);
  EXPECT_EQ(run.notice(), "2 of 2 captures redacted again.");
}

TEST(HistoryModelTest, PicturesAreConvertedOneAfterTheOtherUntilItIsStopped) {
  HistorySession run;
  run.open();
  for (const char* const id : {"a", "b", "c"}) run.add(id, id[0] - 'a');
  run.runners.run();
  run.model.select([](HistorySelection& selection) { selection.selectAll(); });
  run.model.actions().convert(run.model.subjects(), ExportFormat::webp);
  EXPECT_EQ(run.model.progress()->total, 3U);
  EXPECT_EQ(run.obstacle(HistoryAction::compress), "Pictures are being changed already.");
  run.model.actions().stop();
  run.runners.run();
  EXPECT_EQ(run.store.find("a")->path, "/pictures/a.webp");
  EXPECT_EQ(run.store.find("b")->path, "/pictures/b.png");
  EXPECT_FALSE(run.model.progress());
  EXPECT_EQ(run.notice(), "1 of 3 captures converted.");

  // What fails is told by its name, and the others are done all the same.
  run.files->put("/pictures/b.png", "no picture");
  run.model.actions().convert({run.store.find("b"), run.store.find("c")}, ExportFormat::webp);
  run.runners.run();
  EXPECT_THAT(run.notice(), HasSubstr("“b”: "));
  EXPECT_EQ(run.store.find("c")->path, "/pictures/c.webp");

  run.model.actions().copyPaths({run.store.find("a"), run.store.find("c")});
  run.model.actions().open(run.store.find("c"));
  run.model.actions().annotate({run.store.find("a"), run.store.find("c")});
  EXPECT_THAT(run.annotated, ElementsAre("a", "c"));
  run.runners.run();
  EXPECT_EQ(run.clipboard.text, "/pictures/a.webp\n/pictures/c.webp");
  EXPECT_THAT(run.opened, ElementsAre("/pictures/c.webp"));
  run.runners.advance(std::chrono::seconds(4));
  EXPECT_EQ(run.notice(), "nothing") << "what is well passes";
}

TEST(HistoryModelTest, SavesElsewhereInTheFormatOfTheNameAndNeverOverACapture) {
  HistorySession run;
  run.open();
  run.add("a");
  run.add("covered", 5, [](ScreenshotEntry& entry) {
    entry.shapes.emplace_back();
    entry.shapes.back().type = ShapeType::redact;
  });
  run.runners.run();
  run.files->makeFolder("/elsewhere", Privacy::byUmask).value();
  const auto save = [&](const char* id, const Path& file) {
    run.model.actions().saveAs(run.store.find(id), file);
    run.runners.run();
    return run.notice();
  };
  // Another program would see the file as it is.
  EXPECT_EQ(run.model.actions().obstacle(HistoryAction::annotate, {run.store.find("covered")}),
            std::nullopt);
  run.annotateFails = "This capture is being changed already.";
  run.model.actions().annotate({run.store.find("a")});
  EXPECT_EQ(run.notice(), "“a”: This capture is being changed already.");
  for (const auto action : {HistoryAction::open, HistoryAction::dragOut}) {
    EXPECT_THAT(run.model.actions().obstacle(action, {run.store.find("covered")}).value_or(""),
                HasSubstr("shows what is covered"));
    EXPECT_EQ(run.model.actions().obstacle(action, {run.store.find("a")}), std::nullopt);
  }
  EXPECT_EQ(save("a", "/elsewhere/mine.jpg"), "Saved as mine.jpg");
  EXPECT_THAT(run.files->text("/elsewhere/mine.jpg"), HasSubstr("jpeg"));
  EXPECT_FALSE(run.model.notice()->isProblem());
  EXPECT_EQ(save("a", "/elsewhere/v1.2"), "Saved as v1.2.png");
  EXPECT_EQ(run.drawings, 0);
  EXPECT_EQ(save("covered", "/elsewhere/covered.png"), "Saved as covered.png");
  EXPECT_EQ(run.drawings, 1) << "what is covered stays covered";
  const std::string kept = run.files->text("/pictures/a.png");
  EXPECT_THAT(save("covered", "/pictures/a.png"), HasSubstr("library"));
  EXPECT_TRUE(run.model.notice()->isProblem());
  EXPECT_EQ(run.files->text("/pictures/a.png"), kept);
  EXPECT_THAT(save("a", "/nowhere/a.png"), HasSubstr("/nowhere/a.png"));
}

TEST(HistoryModelTest, AFullDiskIsSaidWithAWayToTryAgain) {
  HistorySession run;
  run.open();
  run.add("a");
  run.runners.advance(std::chrono::seconds(1));
  run.files->changesFail = FailureKind::noSpace;
  run.choose("a");
  run.model.toggleStar();
  run.runners.run();
  ASSERT_TRUE(run.model.notice());
  EXPECT_THAT(run.notice(), HasSubstr("History couldn’t be saved: "));
  EXPECT_EQ(run.model.notice()->detail, "Your captures are safe on disk.");
  ASSERT_TRUE(run.model.notice()->canRetrySaving);
  run.runners.advance(std::chrono::minutes(1));
  EXPECT_TRUE(run.model.notice()) << "what is wrong stays until somebody has seen it";
  EXPECT_TRUE(run.model.refuses(HistoryAction::remove));
  EXPECT_THAT(run.notice(), HasSubstr("can be reached"));
  run.model.dismissNotice();
  EXPECT_THAT(run.notice(), HasSubstr("History couldn’t be saved: ")) << "it is so still";

  run.files->changesFail.reset();
  run.model.actions().retrySaving();
  run.runners.run();
  EXPECT_EQ(run.notice(), "nothing") << "what it told of is over";
  EXPECT_THAT(run.files->text("/data/history.json"), HasSubstr("\"starred\":true"));

  // It is saved without that, too.
  run.files->changesFail = FailureKind::noSpace;
  run.model.toggleStar();
  run.runners.run();
  EXPECT_TRUE(run.model.state());
  run.files->changesFail.reset();
  run.runners.advance(std::chrono::minutes(1));
  EXPECT_FALSE(run.model.state());
}

TEST(HistoryModelTest, ALibraryThatMayNotBeWrittenSaysSoBeforeAnybodyTries) {
  const auto write = [](HistorySession& run, int version) {
    run.files->put("/data/history.json",
                   fmt::format(R"({{"version":{},"entries":[{{"id":"a","capturedAt":5,)"
                               R"("path":"/pictures/a.png"}}]}})",
                               version));
  };
  HistorySession newer;
  write(newer, 99);
  newer.open();
  ASSERT_TRUE(newer.model.blank());
  EXPECT_THAT(newer.model.blank()->title, HasSubstr("The library can't be used now: "));

  // Replaced while it is open: what is known goes on being shown.
  HistorySession replaced;
  replaced.open();
  replaced.add("mine");
  replaced.runners.advance(std::chrono::seconds(5));
  EXPECT_EQ(replaced.notice(), "nothing");
  write(replaced, 99);
  replaced.choose("mine");
  replaced.model.toggleStar();
  replaced.runners.advance(std::chrono::seconds(5));
  EXPECT_THAT(replaced.notice(), HasSubstr("Another program replaced history.json by one that a "
                                           "newer version of Vantorel wrote."));
  EXPECT_THAT(replaced.listed(), ElementsAre("mine"));
  EXPECT_THAT(replaced.obstacle(HistoryAction::star), HasSubstr("can't be used now"));
  replaced.model.dismissNotice();
  replaced.runners.advance(std::chrono::hours(3));
  EXPECT_EQ(replaced.notice(), "nothing") << "once is enough";

  // A window that is opened later says it too.
  const HistoryModel later(replaced.services);
  ASSERT_TRUE(later.notice());
  EXPECT_THAT(later.notice()->text, HasSubstr("The library can't be used now: "));
}

TEST(HistoryModelTest, TheFooterSaysWhatGoesByItsAge) {
  HistorySession run;
  run.open();
  constexpr double day = 86400;
  run.add("a", 5 * day);  // Monday a week after
  run.add("b", 5 * day + 60);
  run.add("kept", 6 * day, [](ScreenshotEntry& entry) { entry.starred = true; });
  run.add("later", 0);
  run.runners.run();
  EXPECT_THAT(run.model.summary(), HasSubstr("4 captures · "));
  EXPECT_THAT(run.model.summary(), testing::Not(HasSubstr("Trash")));
  const auto outlook =
      outlookOf(run.store, RetentionPolicy::week, run.runners.now(), HistorySession::utcDay);
  ASSERT_TRUE(outlook);
  const LocalDay today = HistorySession::utcDay(run.runners.now());
  EXPECT_EQ(sentence(*outlook, today), "2 go to the Trash on Monday");
  EXPECT_EQ(sentence(*outlookOf(run.store, RetentionPolicy::week, run.runners.now() + 3 * day,
                                HistorySession::utcDay),
                     HistorySession::utcDay(run.runners.now() + 3 * day)),
            "2 go to the Trash today");
}

}  // namespace
}  // namespace vantorel
