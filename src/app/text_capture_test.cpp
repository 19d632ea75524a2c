#include "app/text_capture.hpp"

#include "app/coordinator_session.hpp"
#include "app/text_indexing.hpp"
#include "platform/testing/fake_text_recogniser.hpp"
#include "text/copied_text.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TextCaptureTest : public CoordinatorTest {
 protected:
  TextCaptureTest() {
    recogniser->onRead = [this](const Image& picture, const ReadingRequest&) {
      sizes.push_back(picture.size());
      return readingOf(onScreen, picture.size());
    };
    indexing.emplace(TextIndexing::Services{
        .main = run->runners.main(),
        .work = run->runners.runner("indexing"),
        .files = run->files,
        .codec = std::shared_ptr<const ImageCodec>(&run->codec, [](const ImageCodec*) {}),
        .library = run->library,
        .settings = *run->settings,
        .recogniser = recogniser});
    taking.emplace(TextCapture::Services{.main = run->runners.main(),
                                         .reading = run->runners.runner("reading"),
                                         .work = run->runners.runner("filing"),
                                         .files = run->files,
                                         .coordinator = *run->app,
                                         .library = run->library,
                                         .settings = *run->settings,
                                         .alerts = run->alerts,
                                         .recogniser = recogniser,
                                         .indexing = *indexing,
                                         .clipboard = [this] { return run->clipboard.get(); },
                                         .defaultFolder = "/home/captures"});
  }
  ~TextCaptureTest() override {
    taking.reset();
    indexing.reset();
  }

  void take(StillCaptureCommand command) {
    answer.reset();
    taking->take(std::move(command),
                 [this](TextCapture::Answer taken) { answer = std::move(taken); });
    run->runners.run();
  }
  static StillCaptureCommand area(bool isAnsweredAtDesktop = false) {
    return {.kind = Kind::text,
            .display = "uuid-LEFT",
            .rect = PointRect{10, 10, 300, 120},
            .isAnsweredAtDesktop = isAnsweredAtDesktop};
  }

  std::string onScreen = "Connection refused by\nthe server\n\nTry again";
  std::vector<PixelSize> sizes;  // of what was read
  std::shared_ptr<FakeTextRecogniser> recogniser = std::make_shared<FakeTextRecogniser>();
  std::optional<TextIndexing> indexing;
  std::optional<TextCapture> taking;
  std::optional<TextCapture::Answer> answer;
};

TEST_F(TextCaptureTest, AnAreasTextIsCopiedShownAndKeptAndNoPictureIsSaved) {
  take(area(true));
  ASSERT_TRUE(answer && *answer) << sentence(answer->error());
  const std::string joined = "Connection refused by the server\n\nTry again";
  EXPECT_EQ((*answer)->text, joined);
  EXPECT_EQ(run->clipboard->lastText, joined);
  EXPECT_THAT(sizes, ElementsAre(PixelSize{300, 120}));
  EXPECT_THAT(run->alerts.notices, ElementsAre(HasSubstr("Connection refused")));
  EXPECT_THAT(stagedNames(), IsEmpty());
  ASSERT_EQ(run->store.entries().size(), 1U);
  const ScreenshotEntry& entry = *run->store.entries()[0];
  EXPECT_EQ(entry.medium, CaptureMedium::text);
  EXPECT_EQ(world.files.disk.at(entry.path)->bytes, joined);
  EXPECT_THAT(entry.path, testing::EndsWith(".txt"));
  EXPECT_EQ(entry.ocrBlocks->size(), 2U);
  EXPECT_EQ(entry.pixelWidth, 300);
  EXPECT_FALSE(run->app->arbiter().refusal());
  EXPECT_TRUE(run->app->pendingArchiveWork().isEmpty());

  run->settings->set(&SettingsValues::keepTextClips, false);
  run->settings->set(&SettingsValues::joinCopiedTextLines, false);
  take(area());
  EXPECT_EQ(run->clipboard->lastText, onScreen);
  EXPECT_EQ(run->store.entries().size(), 1U);
}

TEST_F(TextCaptureTest, WhatGoesWrongIsSaidAndTheTextIsKeptAllTheSame) {
  run->clipboard->isSilent = true;
  run->settings->set(&SettingsValues::storageDirectory, "/gone");
  take(area());
  EXPECT_FALSE(answer);
  run->runners.advance(6s);
  ASSERT_TRUE(answer && *answer);
  EXPECT_THAT((*answer)->remarks, ElementsAre(HasSubstr("the clipboard wouldn't take the text")));
  EXPECT_THAT((*answer)->entry->path, testing::StartsWith("/home/captures/"));

  run->clipboard->isSilent = false;
  onScreen.clear();
  take(area(true));
  ASSERT_TRUE(answer && !*answer);
  EXPECT_EQ(sentence(answer->error()), "No text was found there.");
  EXPECT_THAT(run->alerts.notices, testing::Contains(HasSubstr("No text was found")));

  recogniser->onRead = [](const Image&, const ReadingRequest&) -> FakeTextRecogniser::Answer {
    return std::unexpected(
        RecognitionFailure{RecognitionFailure::Case::unavailable, "it is not installed"});
  };
  take(area());
  EXPECT_EQ(sentence(answer->error()), "Text can't be read here: it is not installed.");

  // Another capture is under way, and one that the user calls off.
  run->begin({.kind = Kind::area});
  take(area());
  EXPECT_EQ(sentence(answer->error()), sentence(CaptureRefusal::captureRunning));
  run->app->cancelCapture();
  run->runners.run();
  EXPECT_EQ(run->store.entries().size(), 1U);
  EXPECT_TRUE(run->app->pendingArchiveWork().isEmpty());
}

TEST(CopiedText, JoinsTheLinesOfAPlainTextAlone) {
  const auto block = [](std::vector<std::string> lines) {
    OCRBlock made;
    for (std::string& line : lines) made.lines.push_back({std::move(line), {}, 1, {}});
    return made;
  };
  const std::vector<OCRBlock> blocks{block({"a well-", "known path", "ends"}), block({}),
                                     block({"next"})};
  EXPECT_EQ(copiedText(blocks, TextShape::plain, true), "a well-known path ends\n\nnext");
  EXPECT_EQ(copiedText(blocks, TextShape::code, true), "a well-\nknown path\nends\n\nnext");
  EXPECT_EQ(copiedText(blocks, TextShape::plain, false), "a well-\nknown path\nends\n\nnext");

  // Lines of a width that says whether the next word had room.
  const auto line = [](std::string text, float width) {
    return OCRLine{std::move(text), {.x = 0.1F, .y = 0, .w = width, .h = 0.1F}, 1, {}};
  };
  const OCRBlock page{
      {line("Notes", 0.05F), line("What runs over the end of its line", 0.34F),
       line("is one.", 0.07F), line("* apples", 0.08F), line("2. and pears of it", 0.33F)},
      {}};
  EXPECT_EQ(copiedText({page}, TextShape::plain, true),
            "Notes\nWhat runs over the end of its line is one.\n* apples\n2. and pears of it");
}

}  // namespace
}  // namespace vantorel
