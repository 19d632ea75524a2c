#include "app/capture_editors.hpp"

#include <gmock/gmock.h>

#include "app/annotate_session.hpp"
#include "editor/entry_document.hpp"

namespace vantorel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Stage = AnnotateModel::Stage;
using Answer = EditorWindowsInMemory::Answer;

class CaptureEditorsTest : public ::testing::Test {
 protected:
  CaptureEditorsTest() { start(); }

  /// The program starts, for the first time or after it was killed.
  void start() {
    run.reset();
    run.emplace(world);
  }

  CoordinatorWorld world;
  std::optional<AnnotateSession> run;
};

TEST_F(CaptureEditorsTest, EachCaptureHasOneWindowAndIsItsOwnWhileItIsOpen) {
  EXPECT_EQ(run->openEntry("a"), "");
  EXPECT_EQ(run->openEntry("latest"), "");
  EXPECT_EQ(run->openEntry("a"), "");
  ASSERT_THAT(run->windows.open(), SizeIs(2));
  EXPECT_EQ(run->windows.open()[0]->timesForward, 2);
  EXPECT_EQ(run->windows.open()[0]->model->stage(), Stage::ready);
  EXPECT_EQ(run->windows.open()[0]->model->title(), "a");
  for (const auto* const window : run->windows.open()) {
    EXPECT_EQ(window->knownSize, (PixelSize{48, 30})) << "it opens as large as its picture";
  }
  EXPECT_EQ(run->model().pictureSize(), (PixelSize{48, 30}));
  EXPECT_EQ(run->model().scale(), 2);

  // Whoever would change its file is told; who only reads is not held up.
  const auto busy = run->library.claim("a", EntryWork::rewriting);
  EXPECT_EQ(sentence(busy.error()), "The capture can't be changed: close Annotate first.");
  EXPECT_TRUE(run->library.claim("a", EntryWork::exporting));
  run->closeWindow();
  EXPECT_TRUE(run->library.claim("c", EntryWork::deleting));
  EXPECT_THAT(run->windows.open(), SizeIs(1));

  const auto taken = run->library.claim("b", EntryWork::moving);
  EXPECT_EQ(run->openEntry("b"), "This capture is being moved to another folder. Try again.");
  EXPECT_EQ(run->openEntry("nobody"),
            "Couldn't find the capture: no capture has the id \"nobody\".");
  run->add("film", CaptureMedium::recording);
  EXPECT_EQ(run->openEntry("film"), "Only pictures can be annotated.");
  ASSERT_TRUE(run->store.update(
      "c", [](ScreenshotEntry& entry) { entry.unreadShapes.add(0, JSONValue("of tomorrow")); }));
  EXPECT_THAT(run->openEntry("c"), HasSubstr("To keep them, it isn't opened"));
  EXPECT_THAT(run->windows.open(), SizeIs(1));
}

TEST_F(CaptureEditorsTest, WhatCannotBeReadSaysSoInItsWindow) {
  run->files->disk.erase("/pictures/a.png");
  EXPECT_EQ(run->openEntry("a"), "The capture's file is gone: /pictures/a.png.");
  EXPECT_EQ(run->model().stage(), Stage::failed);
  EXPECT_TRUE(run->model().offersRemove());
  EXPECT_FALSE(run->save());
  run->model().removeFromHistory();
  run->runners.run();
  EXPECT_THAT(run->forgotten, ElementsAre("a"));
  EXPECT_THAT(run->windows.open(), IsEmpty()) << "there is nothing left to show";

  run->files->put("/pictures/b.png", "scribble");
  EXPECT_THAT(run->openEntry("b"), HasSubstr("the capture couldn't be read as an image"));
  EXPECT_FALSE(run->model().offersRemove());
  run->files->silent.insert("/pictures");
  EXPECT_THAT(run->openEntry("c"), HasSubstr("/pictures/c.png"));
  EXPECT_FALSE(run->model().offersRemove()) << "what is out of reach is not gone";
}

TEST_F(CaptureEditorsTest, SavingIsDoneWhenTheLibraryIsOnTheDisk) {
  run->openEntry("a");
  run->draw(1);
  EXPECT_EQ(run->model().unsavedChanges(), "1 annotation added");
  run->runners.hang("persist");
  bool isSaved = false;
  run->model().save([&](bool now) { isSaved = now; });
  run->runners.run();
  EXPECT_TRUE(run->model().isSaving());
  EXPECT_THAT(run->app->pendingArchiveWork().items(), SizeIs(1)) << "a quit waits for it";
  run->draw(2);
  run->runners.resume("persist");
  run->runners.run();
  EXPECT_TRUE(isSaved);
  EXPECT_TRUE(run->app->pendingArchiveWork().isEmpty());
  EXPECT_TRUE(run->model().hasUnsavedChanges()) << "what was drawn meanwhile";
  EXPECT_TRUE(run->save());
  EXPECT_THAT(run->store.find("a")->shapes, SizeIs(2));
  EXPECT_TRUE(run->store.find("a")->editedAt.has_value());
  start();
  EXPECT_THAT(run->store.find("a")->shapes, SizeIs(2));
}

TEST_F(CaptureEditorsTest, DoneTakesAlongWhatIsDrawnWhileItSaves) {
  run->openEntry("a");
  run->draw(1);
  int closed = 0;
  run->model().done([&] {
    ++closed;
    EXPECT_FALSE(run->model().hasUnsavedChanges());
  });
  run->model().editor().edit("Draw", [](EditorSnapshot& state) { state.append(mixedShape(2)); });
  run->runners.run();
  EXPECT_EQ(closed, 1);
  EXPECT_THAT(run->store.find("a")->shapes, SizeIs(2));
}

TEST_F(CaptureEditorsTest, WhatDidNotLandStaysUnsavedAndIsKept) {
  run->openEntry("a");
  run->draw(1);
  run->files->changesFail = FailureKind::noSpace;
  EXPECT_FALSE(run->save());
  EXPECT_THAT(run->notice(),
              HasSubstr("Your changes couldn't be saved: the disk refuses changes."));
  EXPECT_THAT(run->store.find("a")->shapes, IsEmpty()) << "they may be discarded yet";
  EXPECT_TRUE(run->model().notice()->isWarning);
  EXPECT_TRUE(run->model().hasUnsavedChanges());
  // Room comes back: the draft lands without anybody touching anything.
  run->files->changesFail.reset();
  run->runners.advance(std::chrono::seconds(30));
  EXPECT_THAT(run->drafts(), SizeIs(1));
  EXPECT_TRUE(run->save());
  EXPECT_FALSE(run->model().hasUnsavedChanges());
  EXPECT_THAT(run->drafts(), IsEmpty());
}

TEST_F(CaptureEditorsTest, AKilledProgramGivesTheWorkBack) {
  run->openEntry("a");
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  start();
  run->editors->tellOfDrafts();
  run->runners.run();
  EXPECT_THAT(run->alerts.notices,
              ElementsAre("Unsaved annotations: “a” has changes that were not saved. Open it in "
                          "Annotate to go on."));
  EXPECT_TRUE(run->editors->hasDrafts());
  run->openEntry("a");
  EXPECT_FALSE(run->editors->hasDrafts());
  EXPECT_EQ(run->notice(), "Unsaved changes from last time are back");
  EXPECT_EQ(run->model().unsavedChanges(), "1 annotation added");
  run->model().editor().undo();
  run->runners.run();
  EXPECT_FALSE(run->model().hasUnsavedChanges()) << "undo leads to what is stored";
  run->runners.advance(std::chrono::seconds(1));
  EXPECT_THAT(run->drafts(), IsEmpty());
  run->model().editor().redo();
  run->runners.advance(std::chrono::seconds(1));
  EXPECT_THAT(run->drafts(), SizeIs(1));
  run->windows.answer = Answer::discard;
  run->closeWindow();
  EXPECT_THAT(run->drafts(), IsEmpty());
  start();
  run->openEntry("a");
  EXPECT_FALSE(run->model().notice().has_value());
}

TEST_F(CaptureEditorsTest, ADraftNeverUncoversWhatWasCoveredSince) {
  run->openEntry("a");
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  start();
  Shape cover;
  cover.id = "cover";
  cover.type = ShapeType::redact;
  cover.x2 = cover.y2 = 9;
  Shape arrow = mixedShape(2);
  ASSERT_TRUE(run->store.update("a", [&](ScreenshotEntry& entry) {
    EditorDocument document = documentOf(entry, {48, 30});
    document.shapes = {cover, arrow};
    putDocument(document, {48, 30}, entry);
  }));
  run->openEntry("a");
  EXPECT_THAT(run->notice(), HasSubstr("Undo leads to what is stored"));
  const auto ids = [&] {
    std::vector<std::string> found;
    for (const auto& shape : *run->model().editor().state().shapes) found.push_back(shape->id);
    return found;
  };
  EXPECT_THAT(ids(), ElementsAre(mixedShape(1).id, "cover", arrow.id));
  run->model().editor().undo();
  EXPECT_THAT(ids(), ElementsAre("cover", arrow.id));
}

TEST(AnnotationDraftTest, WhatWasCoveredSinceStaysCoveredWhateverTheDraftDid) {
  const auto redaction = [](const char* id, double right) {
    Shape shape;
    shape.id = id;
    shape.type = ShapeType::redact;
    shape.x2 = right;
    shape.y2 = 9;
    return shape;
  };
  const auto covered = [](const EditorDocument& document) {
    std::vector<double> rights;
    for (const Shape& shape : document.shapes) {
      if (shape.type == ShapeType::redact) rights.push_back(shape.x2);
    }
    return rights;
  };
  constexpr PixelSize size{48, 30};
  AnnotationDraft draft;
  draft.width = size.width;
  draft.height = size.height;
  draft.stored.shapes = {redaction("r", 10), mixedShape(1)};
  EditorDocument stored;
  stored.shapes = {redaction("r", 40)};
  stored.crop = StoredBox{{0, 0, 20, 20}};

  draft.document.shapes = {redaction("r", 10), mixedShape(1), mixedShape(2)};
  EditorDocument again = reopenedDraft(draft, stored, size);
  EXPECT_THAT(covered(again), ElementsAre(40)) << "enlarged meanwhile";
  EXPECT_EQ(again.shapes.back().id, mixedShape(2).id);
  EXPECT_EQ(again.shapes.size(), 2U) << "what was deleted meanwhile is gone";
  EXPECT_EQ(again.crop, stored.crop);

  draft.document.shapes = {redaction("r", 5)};
  EXPECT_THAT(covered(reopenedDraft(draft, stored, size)), ElementsAre(5, 40));
  draft.document.shapes = {};
  EXPECT_THAT(covered(reopenedDraft(draft, stored, size)), ElementsAre(40));

  // What nobody changed meanwhile is the draft's to uncover.
  stored.shapes = {redaction("r", 10)};
  EXPECT_THAT(covered(reopenedDraft(draft, stored, size)), ElementsAre());
  // The other way round, nothing that covered goes by itself.
  draft.document = draft.stored;
  stored.shapes = {};
  EXPECT_THAT(covered(reopenedDraft(draft, stored, size)), ElementsAre(10));

  // A picture of twice the size: the draft's annotations grow with it.
  stored.shapes = {redaction("r", 20)};
  EXPECT_THAT(covered(reopenedDraft(draft, stored, {96, 60})), ElementsAre(20));
}

TEST_F(CaptureEditorsTest, ANewerVersionsDraftIsKept) {
  const std::string own = AnnotationDrafts::keyOfEntry("a") + ".json";
  run->files->folders.insert("/data/Drafts");
  run->files->put("/data/Drafts/" + own, R"({"version":2,"width":48,"height":30,"document":{}})");
  const std::string theirs = run->files->text("/data/Drafts/" + own);
  run->openEntry("a");
  EXPECT_THAT(run->notice(), HasSubstr("A newer version of Vantorel has unsaved changes"));
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  EXPECT_EQ(run->files->text("/data/Drafts/" + own), theirs);
  EXPECT_THAT(run->drafts(), SizeIs(2));
  start();
  run->openEntry("a");
  EXPECT_EQ(run->model().unsavedChanges(), "1 annotation added");
  EXPECT_TRUE(run->save());
  EXPECT_THAT(run->drafts(), ElementsAre(own));
}

TEST_F(CaptureEditorsTest, ADraftThatMakesNoSenseIsNoNewerVersions) {
  run->files->folders.insert("/data/Drafts");
  run->files->put("/data/Drafts/" + AnnotationDrafts::keyOfEntry("a") + ".json", "{ rubbish");
  EXPECT_EQ(run->openEntry("a"), "");
  EXPECT_FALSE(run->model().notice());
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  // What was undone right before the window closes does not come back.
  run->model().editor().undo();
  run->closeWindow();
  run->openEntry("a");
  EXPECT_FALSE(run->model().notice());
}

TEST_F(CaptureEditorsTest, APictureFileBecomesACaptureWhenItIsSavedFirst) {
  const std::string bytes = run->picture(7);
  run->files->put("/outside/Plan.png", bytes);
  EXPECT_EQ(run->openFile("/outside/Plan.png"), "");
  EXPECT_EQ(run->openFile("/outside/Plan.png"), "");
  ASSERT_THAT(run->windows.open(), SizeIs(1)) << "asked for twice";
  EXPECT_EQ(run->windows.open()[0]->knownSize, (PixelSize{48, 30}));
  EXPECT_EQ(run->model().title(), "Plan");
  EXPECT_FALSE(run->model().hasUnsavedChanges());
  run->draw(1);
  EXPECT_TRUE(run->save());
  ASSERT_THAT(run->store.entries(), SizeIs(4));
  const EntryPointer filed = run->store.entries().back();
  EXPECT_EQ(filed->title, "Plan");
  EXPECT_THAT(filed->shapes, SizeIs(1));
  EXPECT_THAT(filed->path, HasSubstr("/pictures/Screenshot 20"));
  EXPECT_EQ(run->files->text("/outside/Plan.png"), bytes);
  EXPECT_THAT(run->files->names("/data/Staged Captures"), IsEmpty());

  // From then on it is that capture.
  EXPECT_FALSE(run->library.claim(filed->id, EntryWork::deleting));
  run->openEntry(filed->id);
  EXPECT_THAT(run->windows.open(), SizeIs(1));
  run->draw(2);
  EXPECT_TRUE(run->save());
  EXPECT_THAT(run->store.entries(), SizeIs(4));
  EXPECT_THAT(run->store.find(filed->id)->shapes, SizeIs(2));
  EXPECT_THAT(run->drafts(), IsEmpty());

  // A file of the library is a capture, by whatever name it is asked for.
  run->files->links["/outside/again.png"] = "/pictures/b.png";
  EXPECT_EQ(run->openFile("/outside/again.png"), "");
  EXPECT_EQ(run->model().title(), "b");
  EXPECT_EQ(run->openFile("/outside/none.png"), "/outside/none.png: there is no such file.");
  run->files->put("/outside/notes.txt", "words");
  EXPECT_THAT(run->openFile("/outside/notes.txt"), HasSubstr("couldn't be read as an image"));
}

TEST_F(CaptureEditorsTest, TheClipboardsPictureIsKeptWithItsDraft) {
  EXPECT_EQ(run->openClipboard(), "There is no picture on the clipboard.");
  run->pasteboard.content["image/png"] = run->picture(9);
  EXPECT_EQ(run->openClipboard(), "");
  EXPECT_EQ(run->model().title(), "Clipboard Image");
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  EXPECT_THAT(run->drafts(), SizeIs(2)) << "annotations and picture";
  start();
  run->editors->tellOfDrafts();
  run->runners.run();
  run->editors->openDrafts([](const auto&) {});
  run->runners.run();
  ASSERT_THAT(run->windows.open(), SizeIs(1));
  EXPECT_EQ(run->model().unsavedChanges(), "1 annotation added");
  EXPECT_TRUE(run->save());
  EXPECT_THAT(run->drafts(), IsEmpty());
  EXPECT_EQ(run->files->text(run->store.entries().back()->path), run->picture(9));

  run->pasteboard.content = {{"text/uri-list", "file:///outside/a%20b.png\r\n"}};
  run->files->put("/outside/a b.png", run->picture(3));
  EXPECT_EQ(run->openClipboard(), "") << "copied in a file manager";
  EXPECT_EQ(run->model().title(), "a b");
}

TEST_F(CaptureEditorsTest, ThePictureIsKeptWhenItsFileIsGoneAndTheProgramIsKilled) {
  ASSERT_TRUE(run->store.update("b", [](ScreenshotEntry& entry) {
    entry.title = "Plan";
    entry.shapes = {mixedShape(3)};
  }));
  run->openEntry("b");
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  run->files->disk.erase("/pictures/b.png");
  run->library.deletion().forget({"b"}, [](const auto&) {}, HistoryDeletion::Originals::kept);
  run->runners.run();
  EXPECT_THAT(run->drafts(), SizeIs(2)) << "annotations and picture";
  run->draw(2);
  run->runners.advance(std::chrono::seconds(1));

  start();
  run->editors->tellOfDrafts();
  run->runners.run();
  EXPECT_THAT(run->alerts.notices, ElementsAre(HasSubstr("“Plan” has changes")));
  run->editors->openDrafts([](const auto&) {});
  run->runners.run();
  ASSERT_THAT(run->windows.open(), SizeIs(1));
  EXPECT_EQ(run->model().title(), "Plan");
  EXPECT_EQ(run->model().unsavedChanges(), "3 annotations added");
  EXPECT_TRUE(run->save());
  EXPECT_THAT(run->drafts(), IsEmpty());
  EXPECT_EQ(run->store.entries().back()->title, "Plan");
  EXPECT_THAT(run->store.entries().back()->shapes, SizeIs(3));

  // Where the file comes back, the capture has its draft again.
  run->openEntry("c");
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  const std::vector<std::string> before = run->drafts();
  ScreenshotEntry back = *run->store.find("c");
  (void)run->store.removeEntries({"c"});
  run->runners.run();
  EXPECT_NE(run->drafts(), before);
  ASSERT_TRUE(run->store.add(std::move(back)));
  run->runners.run();
  EXPECT_EQ(run->drafts(), before);
}

TEST_F(CaptureEditorsTest, FilingThatFailsIsTriedAgainAndFilesOneCapture) {
  run->files->put("/outside/Plan.png", run->picture(7));
  run->openFile("/outside/Plan.png");
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  for (int space = 1; space <= 12; ++space) {
    run->files->spaceEndsAtChange = space;
    const bool isSaved = run->save();
    run->files->spaceEndsAtChange = 0;
    run->files->changesFail.reset();
    EXPECT_EQ(isSaved, !run->model().hasUnsavedChanges()) << space;
  }
  run->save();
  EXPECT_FALSE(run->model().hasUnsavedChanges());
  start();
  ASSERT_THAT(run->store.entries(), SizeIs(4));
  EXPECT_THAT(run->store.entries().back()->shapes, SizeIs(1));
  EXPECT_THAT(run->files->names("/pictures"), SizeIs(4)) << "no second copy of the picture";
}

TEST_F(CaptureEditorsTest, AKillAtAnyChangeWhileFilingLosesNothing) {
  for (int at = 1; at < 40; ++at) {
    world = {};
    start();
    run->files->put("/outside/Plan.png", run->picture(7));
    run->openFile("/outside/Plan.png");
    run->draw(1);
    run->runners.advance(std::chrono::seconds(1));
    struct Killed {};
    bool isKilled = false;
    const int first = run->files->changes;
    run->files->beforeChange = [&](int change) {
      if (change == first + at) throw Killed();
    };
    try {
      run->save();
    } catch (const Killed&) {
      isKilled = true;
    }
    run->files->beforeChange = nullptr;
    start();
    run->editors->tellOfDrafts();
    run->runners.run();
    if (!isKilled) {
      EXPECT_GT(at, 5) << "else there was nothing to interrupt";
      break;
    }
    // Either the file opens with the draft, or its capture has it, stored or unsaved.
    const bool isFiled = run->store.entries().size() == 4;
    ASSERT_LE(run->store.entries().size(), 4U) << at;
    if (isFiled) {
      EXPECT_EQ(run->openEntry(run->store.entries().back()->id), "") << at;
    } else {
      EXPECT_EQ(run->openFile("/outside/Plan.png"), "") << at;
    }
    EXPECT_THAT(*run->model().editor().state().shapes, SizeIs(1)) << at;
  }
}

TEST_F(CaptureEditorsTest, ACaptureThatWaitsToBeFiledComesInWithWhatWasDrawn) {
  run->files->put("/outside/Plan.png", run->picture(7));
  run->openFile("/outside/Plan.png");
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  const auto read = [&](const std::string& key) {
    std::optional<AnnotationDraft> draft;
    run->kept.find(key, [&](AnnotationDrafts::Found found) { draft = std::move(found.draft); });
    run->runners.run();
    return draft;
  };
  const std::string fileKey = AnnotationDrafts::keyOfFile("/outside/Plan.png");
  const std::string entryKey = AnnotationDrafts::keyOfEntry("filed");
  AnnotationDraft filing = read(fileKey).value();
  filing.entryID = "filed";
  filing.file.clear();
  filing.from = fileKey;
  filing.keptAt -= 9;
  run->kept.keep(entryKey, filing);
  run->draw(2);
  run->runners.advance(std::chrono::seconds(1));

  start();
  run->editors->tellOfDrafts();
  run->runners.run();
  EXPECT_THAT(run->drafts(), SizeIs(2)) << "the picture may still lie staged";
  EXPECT_TRUE(run->editors->hasDrafts());
  run->add("filed");
  EXPECT_FALSE(read(fileKey));
  EXPECT_TRUE(run->editors->hasDrafts());
  EXPECT_EQ(run->openEntry("filed"), "");
  EXPECT_EQ(run->model().unsavedChanges(), "2 annotations added") << "the newer of the two";
  EXPECT_FALSE(run->editors->hasDrafts());
  EXPECT_EQ(run->openFile("/outside/Plan.png"), "");
  EXPECT_FALSE(run->model().hasUnsavedChanges()) << "else it would be filed twice";
}

TEST_F(CaptureEditorsTest, WhatHappensOutsideIsSaid) {
  run->openEntry("a");
  run->draw(1);
  ASSERT_TRUE(run->store.update("a", [](ScreenshotEntry& entry) { entry.title = "Renamed"; }));
  EXPECT_EQ(run->model().title(), "Renamed");
  EXPECT_FALSE(run->model().notice());
  ASSERT_TRUE(
      run->store.update("a", [](ScreenshotEntry& entry) { entry.fileIdentity->modified += 9; }));
  EXPECT_THAT(run->notice(), HasSubstr("changed by another program"));

  // It leaves the library, and what is drawn is not lost with it.
  (void)run->store.removeEntries({"a"});
  EXPECT_EQ(run->notice(), "The capture has left History. Saving files what you see as a new one.");
  EXPECT_EQ(run->model().title(), "Renamed");
  EXPECT_TRUE(run->save());
  const EntryPointer again = run->store.entries().back();
  EXPECT_NE(again->id, "a");
  EXPECT_EQ(again->title, "Renamed");
  EXPECT_EQ(again->captureScale, 2);
  EXPECT_THAT(again->shapes, SizeIs(1));
}

TEST_F(CaptureEditorsTest, APictureWhoseFileIsGoneIsFiledAnewWhenItIsSaved) {
  ASSERT_TRUE(run->store.update("a", [](ScreenshotEntry& entry) {
    entry.title = "Plan";
    entry.starred = true;
    entry.ocrText = "words";
  }));
  run->openEntry("a");
  run->draw(1);
  // On a disk that is away it waits for the disk.
  run->files->silent.insert("/pictures");
  EXPECT_TRUE(run->save());
  run->files->silent.clear();
  EXPECT_NE(run->store.find("a"), nullptr);

  run->files->disk.erase("/pictures/a.png");
  run->draw(2);
  EXPECT_TRUE(run->save());
  EXPECT_THAT(run->notice(), HasSubstr("What you see was filed as a new one."));
  EXPECT_FALSE(run->model().hasUnsavedChanges());
  EXPECT_EQ(run->store.find("a"), nullptr) << "it has neither file nor annotations of its own";
  ASSERT_THAT(run->store.entries(), SizeIs(3));
  const EntryPointer again = run->store.entries().back();
  EXPECT_EQ(again->title, "Plan");
  EXPECT_TRUE(again->starred);
  EXPECT_EQ(again->ocrText, "words");
  EXPECT_THAT(again->shapes, SizeIs(2));
  EXPECT_TRUE(run->files->disk.contains(again->path));
  EXPECT_THAT(run->drafts(), IsEmpty());

  // One that is known to be gone leaves History at once, though its window is open.
  run->openEntry("b");
  run->files->disk.erase("/pictures/b.png");
  run->library.deletion().forget({"b"}, [](const auto&) {}, HistoryDeletion::Originals::kept);
  run->runners.run();
  EXPECT_EQ(run->notice(), "The capture has left History. Saving files what you see as a new one.");
  EXPECT_TRUE(run->save());
  EXPECT_THAT(run->store.entries(), SizeIs(3));
}

TEST_F(CaptureEditorsTest, WhatIsDrawnIsNotSavedOnAnotherPicture) {
  const auto written = [](ScreenshotEntry& entry) { entry.fileIdentity->modified += 9; };
  run->openEntry("a");
  run->draw(1);
  run->files->put("/pictures/a.png", run->files->text("/pictures/a.png"));
  ASSERT_TRUE(run->store.update("a", written));
  EXPECT_TRUE(run->save());
  EXPECT_THAT(run->store.find("a")->shapes, SizeIs(1)) << "it was only written again";

  run->files->put("/pictures/a.png", "not a picture");
  ASSERT_TRUE(run->store.update("a", written));
  run->draw(2);
  EXPECT_TRUE(run->save());
  EXPECT_EQ(run->notice(),
            "The picture was changed by another program. What you see was filed as a new one.");
  EXPECT_THAT(run->store.find("a")->shapes, SizeIs(1)) << "it stays as it is";
  const EntryPointer beside = run->store.entries().back();
  EXPECT_NE(beside->id, "a");
  EXPECT_THAT(beside->shapes, SizeIs(2));
  EXPECT_TRUE(run->files->disk.contains(beside->path));
  run->draw(3);
  EXPECT_TRUE(run->save());
  EXPECT_THAT(run->store.find(beside->id)->shapes, SizeIs(3)) << "the window goes on with it";
}

TEST_F(CaptureEditorsTest, PastedPicturesGoWhenNothingCanShowThemAnyMore) {
  const auto paste = [&] {
    run->pasteboard.content = {{"image/png", run->picture(5)}};
    run->model().pasteFromClipboard();
    run->runners.run();
  };
  const auto left = [&] { return run->files->names("/data/Layers"); };
  run->openEntry("a");
  paste();
  run->model().editor().undo();
  run->runners.run();
  EXPECT_THAT(left(), SizeIs(1)) << "redo brings it back";
  run->closeWindow();
  EXPECT_THAT(left(), IsEmpty());

  // What is saved stays, whatever other windows do; what was taken out of it goes.
  run->openEntry("a");
  paste();
  EXPECT_TRUE(run->save());
  run->closeWindow();
  ASSERT_THAT(left(), SizeIs(1));
  run->openEntry("a");
  run->model().editor().edit("Delete", [](EditorSnapshot& state) {
    std::vector<LayerSpec> layers = *state.layers;
    layers.pop_back();
    state.setLayers(std::move(layers));
  });
  EXPECT_TRUE(run->save());
  EXPECT_THAT(left(), SizeIs(1)) << "undo brings it back";
  run->closeWindow();
  EXPECT_THAT(left(), IsEmpty());

  // A draft names what was pasted before the program was killed, also one that can't be read.
  run->openEntry("a");
  paste();
  run->runners.advance(std::chrono::seconds(1));
  start();
  run->runners.run();
  EXPECT_THAT(left(), SizeIs(1));
  run->files->put("/data/Layers/stray.png", "of a run that was killed");
  run->files->put("/data/Drafts/x.json", R"({"version":7,"layer":"/data/Layers/kept.png"})");
  run->files->put("/data/Layers/kept.png", "of a newer version");
  start();
  run->runners.run();
  EXPECT_THAT(left(), SizeIs(2));
  run->openEntry("a");
  run->windows.answer = Answer::discard;
  run->closeWindow();
  EXPECT_THAT(left(), ElementsAre("kept.png"));
}

TEST_F(CaptureEditorsTest, PicturesThatAnotherProgramMayBringBackStay) {
  const auto left = [&] { return run->files->names("/data/Layers"); };
  const auto startAgain = [&] {
    start();
    run->runners.run();
  };
  run->runners.advance(std::chrono::seconds(9));  // the index is written
  world.files.put("/data/Layers/old.png", "of a window that is open for days");
  world.files.put("/data/Layers/program-2.lock", "");
  auto other = world.files.lock("/data/Layers/program-2.lock");
  startAgain();
  run->openEntry("a");
  run->pasteboard.content = {{"image/png", run->picture(5)}};
  run->model().pasteFromClipboard();
  run->runners.run();
  run->windows.answer = Answer::discard;
  run->closeWindow();
  EXPECT_THAT(left(), SizeIs(3)) << "with the lock";

  // What it left stays for a day: not every program could say that it lives.
  other->reset();
  world.files.now = run->runners.now();
  world.files.put("/data/Layers/young.png", "of today");
  startAgain();
  EXPECT_THAT(left(), ElementsAre("program-2.lock", "young.png"));
  world.files.put("/data/Layers/program-1.lock", "");
  world.launches += 1000;  // more than a day
  startAgain();
  EXPECT_THAT(left(), ElementsAre("program-1.lock", "program-2.lock"));
}

TEST_F(CaptureEditorsTest, PicturesStayAsLongAsALostIndexMayNameThem) {
  run->runners.advance(std::chrono::seconds(9));  // the index is written
  const std::string index = world.files.text("/data/history.json");
  world.files.put("/data/Layers/old.png", "of a capture");
  const auto left = [&] {
    start();
    run->runners.run();
    return run->files->names("/data/Layers");
  };
  world.files.put("/data/history.json", "noise");
  EXPECT_THAT(left(), SizeIs(1));
  EXPECT_THAT(left(), SizeIs(1)) << "captures have come since";
  world.files.put("/data/history.json", "");
  EXPECT_THAT(left(), SizeIs(1));
  for (const std::string& name : world.files.names("/data")) {
    if (name.ends_with(".unreadable.json")) world.files.disk.erase("/data/" + name);
  }
  world.files.put("/data/history.json", index);
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(CaptureEditorsTest, ADraftThatCannotBeRemovedIsOverAllTheSame) {
  run->openEntry("a");
  run->draw(1);
  run->runners.advance(std::chrono::seconds(1));
  run->draw(2);
  run->files->readOnly.insert("/data/Drafts");
  EXPECT_TRUE(run->save());
  start();
  run->editors->tellOfDrafts();
  run->runners.run();
  EXPECT_FALSE(run->editors->hasDrafts());
  run->openEntry("a");
  EXPECT_FALSE(run->model().notice()) << "the older draft is not brought back";
  EXPECT_FALSE(run->model().hasUnsavedChanges());
  run->draw(3);
  run->runners.advance(std::chrono::seconds(1));
  start();
  run->openEntry("a");
  EXPECT_EQ(run->model().unsavedChanges(), "1 annotation added") << "the next one is kept";
}

TEST_F(CaptureEditorsTest, AQuitAsksEachWindowAndOneCancelEndsIt) {
  for (const char* id : {"a", "b", "c"}) run->openEntry(id);
  for (const int shown : {0, 1}) {
    run->windows.open()[static_cast<std::size_t>(shown)]->model->editor().edit(
        "Draw", [](EditorSnapshot& state) { state.append(mixedShape(1)); });
  }
  run->runners.run();
  run->app->closeEditors = [this](auto done) { run->editors->closeAll(std::move(done)); };
  run->windows.answer = Answer::cancel;
  std::vector<bool> answers;
  run->app->quit([&](bool quits) { answers.push_back(quits); });
  run->runners.run();
  EXPECT_THAT(answers, ElementsAre(false));
  EXPECT_FALSE(run->app->isQuitting());
  EXPECT_FALSE(run->terminated);
  EXPECT_THAT(run->windows.open(), SizeIs(3));
  // While a question stands, whoever asks again is shown it, and waits for the same answer.
  run->windows.answer = Answer::none;
  answers.clear();
  const int before = run->windows.open()[1]->timesForward;
  for (int i = 0; i < 2; ++i) run->app->quit([&](bool quits) { answers.push_back(quits); });
  run->runners.run();
  EXPECT_THAT(answers, IsEmpty());
  EXPECT_EQ(run->windows.open()[1]->timesForward, before + 2);
  run->windows.open()[1]->answered(false);
  EXPECT_THAT(answers, ElementsAre(false, false));
  run->windows.answer = Answer::save;
  run->app->quit();
  run->runners.run();
  EXPECT_TRUE(run->terminated);
  EXPECT_THAT(run->windows.open(), SizeIs(1)) << "the one without changes was not asked";
  EXPECT_EQ(run->windows.open()[0]->timesAsked, 0);
  EXPECT_THAT(run->store.find("b")->shapes, SizeIs(1));
}

TEST_F(CaptureEditorsTest, APictureTakenAMomentAgoIsNotReadAgain) {
  run->files->silent.insert("/pictures");
  run->editors->openTaken(run->store.find("a"), run->codec.decode(run->picture(1)).value());
  run->runners.run();
  EXPECT_EQ(run->model().stage(), Stage::ready);
}

}  // namespace
}  // namespace vantorel
