#include "app/capture_annotator.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/json_record.hpp"
#include "base/random_id.hpp"
#include "library/testing/test_library.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_image_codec.hpp"

namespace vantorel {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class OpenWindow final : public Surface {
 public:
  void bringForward() override {}
};

class CaptureAnnotatorTest : public testing::Test, protected TestLibrary {
 protected:
  CaptureAnnotatorTest() {
    files->put("/captures/a.png", pictureOf({8, 6}));
    files->put("/one.json", documentOf("one"));
    files->put("/two.json", documentOf("two"));
    annotator = std::make_unique<CaptureAnnotator>(CaptureAnnotator::Services{
        runners.main(),
        runners.runner("work"),
        clock(),
        files,
        codec,
        &library,
        &settings,
        &pending,
        &surfaces,
        [this](const EditorDocument& document, const Image& base, std::optional<double>,
               const ImageEncoding& encoding) -> Result<std::string, SceneFailure> {
          if (cannotDraw) return std::unexpected(SceneFailure{SceneFailure::Case::noMemory});
          return std::string(nameOf(encoding.format)) + " of " + std::to_string(base.width()) +
                 " with " + std::to_string(document.shapes.size());
        },
        {},
        "/data/Layers"});
    library.open();
  }

  std::string pictureOf(PixelSize size) {
    return *codec->encode(MutableImage(size, PixelFormat::bgrx).finish(), {});
  }

  static std::string documentOf(const std::string& shape) {
    return R"({"shapes":[{"id":")" + shape + R"(","type":"rect","color":"#ff3b30","width":4}]})";
  }

  void loaded() {
    runners.run();
    ScreenshotEntry entry;
    entry.id = "a";
    entry.path = "/captures/a.png";
    ASSERT_TRUE(store.add(entry).has_value());
    runners.run();
  }

  /// What comes of it is put into the answer, once.
  void apply(const Path& document, std::string& answer) {
    answer = "waiting";
    annotator->apply("a", document, [&answer](CaptureAnnotator::Answer<EntryPointer> result) {
      ASSERT_EQ(answer, "waiting") << "answered twice";
      answer = result ? "applied " + result.value()->shapes.at(0).id : sentence(result.error());
    });
  }

  std::string draw(const CaptureAnnotator::Drawing& drawing) {
    std::string answer = "waiting";
    annotator->draw(drawing, [&](const CaptureAnnotator::Answer<std::string>& result) {
      answer = result ? *result : sentence(result.error());
    });
    runners.run();
    return answer;
  }

  /// Nobody is kept waiting by what is over.
  void expectQuiet() {
    EXPECT_TRUE(store.claims().fileChanges().empty());
    EXPECT_TRUE(pending.isEmpty());
  }

  std::shared_ptr<FakeImageCodec> codec = std::make_shared<FakeImageCodec>();
  FakeDefaultsStore defaults;
  SettingsStore settings{defaults, SettingsValues{}};
  PendingArchiveWork pending;
  SurfaceRegistry surfaces{runners.main()};
  bool cannotDraw = false;
  std::unique_ptr<CaptureAnnotator> annotator;
};

TEST_F(CaptureAnnotatorTest, AppliesOnceTheLibraryIsThereAndAnswersWhenItIsOnDisk) {
  files->put("/data/history.json", R"({"version":1,"entries":[{"id":"a","capturedAt":1,)"
                                   R"("path":"/captures/a.png","shapes":[]}],"collections":[]})");
  std::string answer;
  apply("/one.json", answer);
  EXPECT_EQ(answer, "waiting");
  runners.run();
  EXPECT_EQ(answer, "applied one");
  EXPECT_THAT(files->text("/data/history.json"), HasSubstr(R"("id":"one")"));
  EXPECT_EQ(store.find("a")->editedAt, runners.now());
  expectQuiet();
}

TEST_F(CaptureAnnotatorTest, OneChangeOfACaptureAtATimeAndAQuitWaitsForIt) {
  loaded();
  std::string first;
  std::string second;
  apply("/one.json", first);
  apply("/two.json", second);
  EXPECT_EQ(second, "This capture is being changed already.");
  EXPECT_FALSE(pending.isEmpty());
  runners.run();
  EXPECT_EQ(first, "applied one");
  expectQuiet();

  apply("/two.json", second);
  runners.run();
  EXPECT_EQ(second, "applied two");

  auto converting = library.claim("a", EntryWork::rewriting);
  apply("/one.json", first);
  EXPECT_EQ(first, "This capture is being changed already.");
  converting->end();
  expectQuiet();
}

TEST_F(CaptureAnnotatorTest, WhatChangedWhileTheFileWasReadIsSeen) {
  loaded();
  std::string answer;
  apply("/one.json", answer);
  surfaces.editors.show("a", [] { return std::make_shared<OpenWindow>(); });
  runners.run();
  EXPECT_EQ(answer, "The capture can't be changed: close Annotate first.");
  EXPECT_TRUE(store.find("a")->shapes.empty());
  apply("/one.json", answer);
  EXPECT_EQ(answer, "The capture can't be changed: close Annotate first.");
  surfaces.editors.closed("a");

  apply("/one.json", answer);
  store.removeEntries({"a"});
  runners.run();
  EXPECT_EQ(answer, "The capture has left History.");
  expectQuiet();
  apply("/one.json", answer);
  EXPECT_THAT(answer, StartsWith("Couldn't find the capture: "));
}

TEST_F(CaptureAnnotatorTest, FailuresAreSaidAndLeaveTheCaptureAsItWas) {
  loaded();
  std::string answer;
  apply("/none.json", answer);
  runners.run();
  EXPECT_THAT(answer, StartsWith("Couldn't read /none.json: "));
  files->put("/bad.json", documentOf("one") + "]");
  apply("/bad.json", answer);
  runners.run();
  EXPECT_THAT(answer, StartsWith("The document isn't JSON: "));
  files->put("/captures/a.png", "");
  apply("/one.json", answer);
  runners.run();
  EXPECT_THAT(answer, StartsWith("/captures/a.png: the capture couldn't be read as an image ("));
  EXPECT_TRUE(store.find("a")->shapes.empty());
  files->put("/captures/a.png", pictureOf({8, 6}));

  files->changesFail = FailureKind::noSpace;
  apply("/one.json", answer);
  runners.run();
  EXPECT_THAT(answer, StartsWith("The change is made, but History couldn't be saved: "));
  files->changesFail.reset();
  runners.advance(std::chrono::seconds(30));
  EXPECT_THAT(files->text("/data/history.json"), HasSubstr(R"("id":"one")"));
  expectQuiet();
}

TEST_F(CaptureAnnotatorTest, DrawsIntoFilesButNeverOverTheLibrarysOrItsOwn) {
  loaded();
  using Drawing = CaptureAnnotator::Drawing;
  const Drawing capture{Drawing::Capture{"latest"}, "/one.json", "/out.png", ExportFormat::jpeg};
  EXPECT_EQ(draw(capture), "/out.png");
  EXPECT_EQ(files->text("/out.png"), "jpeg of 8 with 1");
  files->put("/plain.png", pictureOf({5, 5}));
  Drawing plain{Drawing::Picture{"/plain.png"}, "/one.json", "/captures/a.png"};
  EXPECT_EQ(draw(plain), "A capture of the library can't be drawn over.");
  ASSERT_TRUE(files->linkNew("/plain.png", "/same.png").has_value());
  plain.output = "/same.png";
  EXPECT_EQ(draw(plain), "The picture can't be drawn over a file it is made from.");
  plain.output = "/nowhere/out.png";
  EXPECT_THAT(draw(plain), StartsWith("Couldn't write /nowhere/out.png: "));
  plain.output.clear();
  const auto before = files->changes;
  EXPECT_EQ(draw(plain), "png of 5 with 1");
  EXPECT_EQ(files->changes, before);
  cannotDraw = true;
  EXPECT_EQ(draw(capture), "There is not enough memory to draw the image.");
  EXPECT_EQ(files->text("/out.png"), "jpeg of 8 with 1");
  EXPECT_EQ(draw({Drawing::Picture{"/none.png"}, {}, "/out.png"}).substr(0, 25),
            "Couldn't read /none.png: ");
}

TEST_F(CaptureAnnotatorTest, PicturesThatAnotherLibraryKeepsForItsLayersAreCopied) {
  loaded();
  const std::string name = randomID() + ".png";
  const std::string foreign = "/other/Layers/" + name;
  const std::string plain = "/other/Layers/logo.png";
  const std::string own = "/data/Layers/" + name;
  for (const char* folder : {"/other/Layers", "/data/Layers"}) files->folders.insert(folder);
  for (const std::string& file : {foreign, plain, own}) files->put(file, pictureOf({4, 3}));
  std::string layers;
  for (const std::string& file : {foreign, plain, own, foreign}) {
    layers += layers.empty() ? "" : ",";
    layers += R"({"id":")" + std::to_string(layers.size()) + R"(","path":")" + file +
              R"(","frame":{"x":0,"y":0,"w":4,"h":3}})";
  }
  files->put("/layers.json", R"({"shapes":[{"id":"s","type":"rect","color":"#ff3b30","width":4}],)"
                             R"("layers":[)" +
                                 layers + "]}");
  std::string answer;
  files->changesFail = FailureKind::noSpace;
  apply("/layers.json", answer);
  runners.run();
  EXPECT_THAT(answer, StartsWith("A layer couldn't be copied: "));
  EXPECT_FALSE(store.find("a")->layers);
  files->changesFail.reset();
  apply("/layers.json", answer);
  runners.run();
  ASSERT_EQ(answer, "applied s");
  const std::vector<LayerSpec> applied = store.find("a")->layers.value();
  ASSERT_EQ(applied.size(), 4);
  const std::string copy = applied[0].path.value();
  EXPECT_THAT(copy, StartsWith("/data/Layers/"));
  EXPECT_NE(copy, own);
  EXPECT_EQ(files->text(copy), files->text(foreign));
  EXPECT_EQ(applied[1].path, plain) << "the user's";
  EXPECT_EQ(applied[2].path, own);
  EXPECT_EQ(applied[3].path, copy) << "one copy for both";
}

TEST_F(CaptureAnnotatorTest, GoneBeforeTheAnswerItAnswersNobody) {
  loaded();
  std::string answer;
  apply("/one.json", answer);
  annotator.reset();
  runners.run();
  EXPECT_EQ(answer, "waiting");
  EXPECT_TRUE(store.find("a")->shapes.empty());
}

TEST_F(CaptureAnnotatorTest, WhatANewerVersionCoversIsNotShown) {
  runners.run();
  auto entry = json::fromText<ScreenshotEntry>(
      R"({"id":"a","capturedAt":1,"path":"/captures/a.png","shapes":[{"type":"redactEllipse"}]})");
  ASSERT_TRUE(entry.has_value());
  ASSERT_TRUE(store.add(*entry).has_value());
  CaptureAnnotator::Drawing drawing{.base = CaptureAnnotator::Drawing::Capture{"a"},
                                    .document = std::nullopt,
                                    .output = "/out/a.png"};
  EXPECT_THAT(draw(drawing), HasSubstr("it isn't drawn"));
  EXPECT_FALSE(files->disk.contains("/out/a.png"));
  std::string remark;
  annotator->document("a", [&](auto found) { remark = found->remark; });
  runners.run();
  EXPECT_THAT(remark, HasSubstr("can't be read by this version"));
  expectQuiet();
}

}  // namespace
}  // namespace vantorel
