#include "editor/editor_session.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/testing/mixed_shapes.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

class EditorSessionTest : public ::testing::Test {
 protected:
  EditorSessionServices services() {
    EditorSessionServices result;
    result.main = runners.main();
    result.background = runners.runner("background");
    result.layers = [this] { return layers; };
    result.flatten = [this](const EditorDocument&) -> Result<Image, SceneFailure> {
      if (isBroken) return std::unexpected(SceneFailure{SceneFailure::Case::noMemory});
      if (!blocks.layerName.empty()) {
        return std::unexpected(SceneFailure{.what = SceneFailure::Case::blocked, .block = blocks});
      }
      return picture;
    };
    result.ask = [this](const std::string& question, std::function<void(bool)> answered) {
      said.push_back(question);
      answer = std::move(answered);
    };
    result.report = [this](const std::string& line) { said.push_back(line); };
    result.save = [this](EditorSaving saving, EditorSessionServices::Stored done) {
      saved.push_back(std::move(saving));
      onDisk = std::move(done);
    };
    result.archive = result.save;
    return result;
  }

  std::string copied() {
    std::string words = "waiting";
    session.exportTo(EditorExport::copy,
                     [&](const Result<EditorSaving, EditorExportFailure>& saving) {
                       words = saving ? "copied" : sentence(saving.error());
                     });
    if (answer) std::exchange(answer, nullptr)(willConfirm);
    runners.run();
    return words;
  }

  FakeRunners runners;
  Image picture = MutableImage({8, 6}, PixelFormat::bgrx).finish();
  LayersReport layers{LayerBuildState::ready, {}, {}};
  bool isBroken = false;
  ExportBlock blocks{ExportBlock::Kind::layerMissing};
  bool willConfirm = false;
  std::vector<std::string> said;
  std::function<void(bool)> answer;
  std::vector<EditorSaving> saved;
  EditorSessionServices::Stored onDisk;
  EditorModel model{{{8, 6}, {}, {}, 2.0, {}, roughText}, {}};
  EditorSession session{"entry", "/shot.png", model, services()};
};

TEST_F(EditorSessionTest, OnlyTheLatestBuildIsInstalledAndBlocksWhatItLacks) {
  int built = 0;
  LayerBuilds builds(runners.main(), runners.runner("background"), [] {});
  const auto build = [&] {
    ++built;
    return LayerComposite{picture, 8, 6, {model.state().layers->back().id}, {}, 0};
  };
  session.setBase(BaseImageState::ready);
  model.addLayers({{"/logo.png", {4, 4}}});
  builds.start(build);
  builds.start(build);
  layers = builds.report();
  EXPECT_EQ(sentence(*session.block()), "Export is blocked: the screenshot is still loading.");
  runners.run();
  EXPECT_EQ(built, 1);
  layers = builds.report();
  EXPECT_EQ(sentence(*session.block()), "Export is blocked: logo is missing. Hide or remove it.");
}

TEST_F(EditorSessionTest, SavingHandsTheDocumentBackWithItsPicture) {
  session.save();
  EXPECT_THAT(said, ::testing::ElementsAre("Export is blocked: the screenshot is still loading."));
  session.setBase(BaseImageState::ready);
  runners.run();
  model.edit("Draw", [](EditorSnapshot& state) { state.append(mixedShape(3)); });
  session.save();
  runners.run();
  ASSERT_EQ(saved.size(), 1U);
  EXPECT_EQ(saved[0].entryID, "entry");
  EXPECT_EQ(saved[0].document, model.document());
  onDisk(std::unexpected("The capture has left History."));
  EXPECT_EQ(said.back(), "The capture has left History.");
  EXPECT_TRUE(model.hasUnsavedChanges());
  session.save();
  runners.run();
  model.edit("Draw", [](EditorSnapshot& state) { state.append(mixedShape(4)); });
  onDisk({});
  EXPECT_EQ(model.unsavedChanges(), "1 annotation added") << "since it was handed over";
  model.undo();
  EXPECT_FALSE(model.hasUnsavedChanges());
  EXPECT_FALSE(saved[1].image.isEmpty());
  layers.missingLayerIDs = {"away"};
  model.edit("Add", [](EditorSnapshot& state) {
    LayerSpec layer;
    layer.id = layer.name = "away";
    layer.path = "/unplugged/logo.png";
    layer.frame = {0, 0, 4, 4};
    state.setLayers({layer});
  });
  bool isSaved = false;
  session.save([&](bool now) { isSaved = now; });
  runners.run();
  EXPECT_EQ(saved[2].document, model.document()) << "what can't be drawn now can be saved";
  EXPECT_TRUE(saved[2].image.isEmpty());
  onDisk({});
  EXPECT_TRUE(isSaved);
  saved.resize(1);
  model.undo();
  isBroken = true;
  session.archive();
  runners.run();
  EXPECT_EQ(said.back(), "the image couldn't be prepared");
  EXPECT_EQ(saved.size(), 1U);
  session.discard();
  EXPECT_EQ(said.back(), "Annotation discarded");
}

TEST_F(EditorSessionTest, UnredactedContentLeavesOnlyWhenConfirmedAndOnceConfirmedStaysSo) {
  session.setBase(BaseImageState::ready);
  runners.run();
  EXPECT_EQ(copied(), "copied");
  blocks.layerName = "logo";
  EXPECT_EQ(copied(), "Export is blocked: logo is missing. Hide or remove it.");
  blocks.layerName.clear();
  session.setUnredactedFindings(2);
  EXPECT_EQ(copied(), "Publish wasn't confirmed");
  willConfirm = true;
  EXPECT_EQ(copied(), "copied");
  EXPECT_EQ(copied(), "copied");
  EXPECT_THAT(said,
              ::testing::ElementsAre("Publish without redacting?", "Publish without redacting?"));
  session.save();
  runners.run();
  EXPECT_EQ(saved.size(), 1U);
}

}  // namespace
}  // namespace vantorel
