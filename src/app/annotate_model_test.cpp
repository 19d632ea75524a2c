#include "app/annotate_model.hpp"

#include <gmock/gmock.h>

#include "app/annotate_session.hpp"
#include "base/random_id.hpp"
#include "editor/canvas_scene.hpp"

namespace vantorel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Capture "a" is open.
class AnnotateModelTest : public ::testing::Test {
 protected:
  AnnotateModelTest() {
    run.openEntry("a");
    run.files->folders.insert("/elsewhere");
  }
  AnnotateModel& model() { return run.model(); }
  /// How many shapes are drawn on it.
  int drawnOn(const std::string& bytes) { return run.codec.decode(bytes).value().row(0)[0]; }

  CoordinatorWorld world;
  AnnotateSession run{world};
};

TEST_F(AnnotateModelTest, WhatGoesOutIsTheDocumentInTheEditor) {
  run.draw(1);
  run.draw(2);
  model().copy();
  run.runners.run();
  EXPECT_EQ(drawnOn(run.pasteboard.content["image/png"]), 2) << "though it is not saved";
  EXPECT_EQ(run.notice(), "Copied");
  run.runners.advance(std::chrono::seconds(5));
  EXPECT_FALSE(model().notice());

  EXPECT_EQ(model().suggestedFileName(ExportFormat::jpeg), "a.jpg");
  model().saveAs("/elsewhere/mine", ExportFormat::webp);
  run.runners.run();
  EXPECT_EQ(run.notice(), "Saved as mine.webp");
  EXPECT_EQ(drawnOn(run.files->text("/elsewhere/mine.webp")), 2);
  // Never over a capture, its own one either.
  const std::string own = run.files->text("/pictures/a.png");
  model().saveAs("/pictures/a.png", ExportFormat::png);
  run.runners.run();
  EXPECT_TRUE(model().notice()->isWarning);
  EXPECT_EQ(run.files->text("/pictures/a.png"), own);

  EXPECT_EQ(model().formats()[0].size, "\u2026");
  model().measureFormats();
  run.runners.run();
  for (const auto& format : model().formats()) EXPECT_THAT(format.size, HasSubstr("B"));

  std::optional<AnnotateModel::Dragged> dragged;
  model().prepareDrag([&](AnnotateModel::Dragged what) { dragged = std::move(what); });
  run.runners.run();
  ASSERT_TRUE(dragged);
  EXPECT_EQ(run.files->text(dragged->file), dragged->png);
  EXPECT_EQ(dragged->file.filename(), "a.png");
  (void)run.store.removeEntries({"a"});
  model().dragLanded();
  EXPECT_THAT(run.notice(), HasSubstr("a drag out landed after its capture left History"));
}

TEST_F(AnnotateModelTest, DoneClosesWhenEverythingLanded) {
  bool isClosed = false;
  run.draw(1);
  run.pasteboard.refuses = Failure{FailureKind::denied, "no"};
  model().done([&] { isClosed = true; });
  run.runners.run();
  EXPECT_FALSE(isClosed);
  EXPECT_EQ(run.notice(), "the clipboard wouldn't take the image");
  EXPECT_THAT(run.store.find("a")->shapes, SizeIs(1));
  run.pasteboard.refuses.reset();
  model().done([&] { isClosed = true; });
  run.runners.run();
  EXPECT_TRUE(isClosed);
  EXPECT_EQ(run.pasteboard.images, 1);
  run.settings->set(&SettingsValues::copyToClipboardAfterDone, false);
  isClosed = false;
  model().done([&] { isClosed = true; });
  run.runners.run();
  EXPECT_TRUE(isClosed);
  EXPECT_EQ(run.pasteboard.images, 1);
}

TEST_F(AnnotateModelTest, NothingFoundLeavesUncoveredWithoutAWord) {
  model().copy();
  run.runners.run();
  EXPECT_FALSE(run.alerts.shown) << "nobody has looked";
  model().smartRedact()->open();
  run.runners.run();
  run.scans.answer(0, {{SensitiveMatchKind::email, {2, 2, 20, 8}, 1, "a@b.org"},
                       {SensitiveMatchKind::apiKey, {2, 14, 20, 8}, 2, "sk-0"},
                       {SensitiveMatchKind::email, {25, 2, 20, 8}, 3, "c@b.org"}});
  model().smartRedact()->close();
  model().copy();
  run.runners.run();
  ASSERT_TRUE(run.alerts.shown);
  EXPECT_EQ(run.alerts.shown->message, "Publish without redacting?");
  EXPECT_EQ(run.alerts.shown->informative, "Found and not covered: 2 e-mail addresses, 1 API key.");
  EXPECT_EQ(run.alerts.shown->buttons[run.alerts.shown->cancelButton()].label, "Cancel");
  EXPECT_TRUE(run.alerts.press("Cancel"));
  run.runners.run();
  EXPECT_EQ(run.notice(), "Publish wasn't confirmed");
  EXPECT_EQ(run.pasteboard.images, 1);

  run.draw(1);
  bool isClosed = false;
  model().done([&] { isClosed = true; });
  run.runners.run();
  EXPECT_TRUE(run.alerts.press("Review"));
  run.runners.run();
  EXPECT_TRUE(model().smartRedact()->isOpen());
  EXPECT_FALSE(isClosed);
  EXPECT_THAT(run.store.find("a")->shapes, IsEmpty());
  EXPECT_EQ(run.notice(), "nothing");

  model().smartRedact()->choose(std::size_t{2}, false);
  model().redactFinds();
  EXPECT_EQ(run.notice(), "Redacted 2 items");
  EXPECT_TRUE(model().hasUnsavedChanges());
  model().saveAs("/elsewhere/mine.png", ExportFormat::png);
  run.runners.run();
  ASSERT_TRUE(run.alerts.shown) << "one was left alone";
  EXPECT_THAT(run.alerts.shown->informative, HasSubstr(": 1 e-mail address."));
  EXPECT_TRUE(run.alerts.press("Publish"));
  run.runners.run();
  EXPECT_EQ(run.notice(), "Saved as mine.png");
  model().done([&] { isClosed = true; });
  run.runners.run();
  EXPECT_FALSE(run.alerts.shown) << "once is enough";
  EXPECT_TRUE(isClosed);
}

TEST_F(AnnotateModelTest, ALayerThatIsAwayKeepsPicturesInAndChangesSafe) {
  run.files->put("/elsewhere/logo.png", run.picture(3));
  run.files->put("/elsewhere/notes.txt", "words");
  model().addLayers({"/elsewhere/logo.png", "/elsewhere/notes.txt"});
  run.runners.run();
  EXPECT_THAT(run.notice(), HasSubstr("notes.txt couldn't be read as an image"));
  ASSERT_THAT(*model().editor().state().layers, SizeIs(2));
  const std::string id = model().editor().state().layers->back().id;
  const auto missing = [&] {
    model().lookAtLayers();
    run.runners.run();
    return model().scene().report().missingLayerIDs;
  };
  EXPECT_THAT(missing(), IsEmpty());
  run.files->disk.erase("/elsewhere/logo.png");
  EXPECT_THAT(missing(), ElementsAre(id)) << "known while it is open";
  model().editor().setLayerVisible(id, false);
  EXPECT_THAT(missing(), ElementsAre(id)) << "hidden, it is missing as before";
  model().editor().setLayerVisible(id, true);
  run.files->put("/elsewhere/logo.png", run.picture(3));
  EXPECT_THAT(missing(), IsEmpty()) << "it is back";
  run.files->disk.erase("/elsewhere/logo.png");
  run.windows.answer = EditorWindowsInMemory::Answer::save;
  run.closeWindow();
  run.openEntry("a");
  model().copy();
  run.runners.run();
  ASSERT_TRUE(model().refusal());
  EXPECT_TRUE(model().refusal()->layerID);
  EXPECT_EQ(model().refusal()->sentence, "Export is blocked: logo is missing. Hide or remove it.");
  EXPECT_EQ(run.pasteboard.images, 0);
  EXPECT_TRUE(run.save());
  model().hideBlockingLayer();
  EXPECT_FALSE(model().refusal());
  model().copy();
  run.runners.run();
  EXPECT_EQ(run.pasteboard.images, 1);
}

TEST_F(AnnotateModelTest, PastesShapesElseAPictureElseText) {
  model().pasteFromClipboard();
  run.runners.run();
  EXPECT_EQ(run.notice(), "There is nothing to paste.");
  run.pasteboard.content = {{"text/plain", "two\r\nlines"}, {"image/png", run.picture(4)}};
  model().pasteFromClipboard();
  run.runners.run();
  ASSERT_THAT(*model().editor().state().layers, SizeIs(2));
  const auto layer = model().editor().state().layers->back().path;
  EXPECT_EQ(run.files->text(*layer), run.picture(4)) << "kept where nobody else deletes it";
  EXPECT_EQ(model().editor().state().layers->back().name, "Pasted Image");
  // So is what was dragged out of another editor, whose file does not stay.
  const Path dragged = "/elsewhere/Drags/" + randomID();
  run.files->folders.insert(dragged);
  run.files->put(dragged / "b.png", run.picture(5));
  model().addLayers({dragged / "b.png"});
  run.runners.run();
  const LayerSpec dropped = model().editor().state().layers->back();
  EXPECT_EQ(dropped.name, "b");
  EXPECT_TRUE(dropped.path->starts_with("/data/Layers/")) << *dropped.path;
  model().editor().undo();

  run.pasteboard.content.erase("image/png");
  model().pasteFromClipboard(Pt{10, 10});
  run.runners.run();
  EXPECT_TRUE(model().editor().isTyping());
  model().editor().endText();
  EXPECT_EQ(model().editor().state().shapes->back()->text, "two\nlines");

  model().editor().selectAll();
  model().cutSelection();
  EXPECT_THAT(*model().editor().state().shapes, IsEmpty());
  model().pasteFromClipboard();
  EXPECT_THAT(*model().editor().state().shapes, SizeIs(1));
}

TEST_F(AnnotateModelTest, StylesAreRemembered) {
  model().editor().pickTool(Tool::rect);
  model().editor().changeStyle([](ToolStyle& style) { style.color = "#007aff"; });
  EXPECT_EQ(run.settings->values().editorToolStyles.at("rect").color, "#007aff");
  run.openEntry("b");
  model().editor().pickTool(Tool::rect);
  EXPECT_EQ(model().editor().style().color, "#007aff");
}

}  // namespace
}  // namespace vantorel
