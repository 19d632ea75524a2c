#include "app/text_indexing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/testing/test_library.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/fake_text_recogniser.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// Pictures are told by their width: that of "/captures/<n>.png" is n pixels wide.
struct IndexingSession : TestLibrary {
  IndexingSession() {
    files->folders.insert("/captures");
    recogniser->onRead = [this](const Image& picture, const ReadingRequest&) {
      widths.push_back(picture.width());
      if (during) during();
      return answer(picture);
    };
    library.open();
    runners.run();
  }

  std::string put(int width, double capturedAt, CaptureMedium medium = CaptureMedium::image) {
    ScreenshotEntry entry;
    entry.id = std::to_string(width);
    entry.capturedAt = capturedAt;
    entry.path = "/captures/" + entry.id + ".png";
    entry.medium = medium;
    overwrite(entry.path, width);
    entry.fileIdentity = identifyFile(*files, entry.path);
    EXPECT_TRUE(store.add(std::move(entry)).has_value());
    return std::to_string(width);
  }
  void overwrite(const std::string& path, int width) {
    files->put(path,
               codec->encode(MutableImage({width, 40}, PixelFormat::bgrx).finish(), {}).value());
  }
  [[nodiscard]] std::string textOf(const std::string& id) const {
    return store.find(id)->ocrText.value_or("(none)");
  }

  std::shared_ptr<FakeImageCodec> codec = std::make_shared<FakeImageCodec>();
  std::shared_ptr<FakeTextRecogniser> recogniser = std::make_shared<FakeTextRecogniser>();
  FakeDefaultsStore defaults;
  SettingsStore settings{defaults, SettingsValues{}};
  std::vector<int> widths;       // of the pictures read, in order
  std::function<void()> during;  // a reading
  std::function<FakeTextRecogniser::Answer(const Image&)> answer = [](const Image& picture) {
    return readingOf("Width " + std::to_string(picture.width()), picture.size());
  };
  std::optional<TextIndexing> indexing{TextIndexing::Services{.main = runners.main(),
                                                              .work = runners.runner("reading"),
                                                              .files = files,
                                                              .codec = codec,
                                                              .library = library,
                                                              .settings = settings,
                                                              .recogniser = recogniser}};
};

TEST(TextIndexing, ReadsWhatHasNoTextNewestFirstAndWhatIsTakenBeforeTheRest) {
  IndexingSession run;
  run.put(100, 10);
  run.put(300, 30);
  run.put(200, 20);
  run.put(400, 40, CaptureMedium::recording);
  bool hasTaken = false;
  run.during = [&] {
    if (std::exchange(hasTaken, true)) return;
    run.runners.main()->post([&] { run.put(500, run.runners.now()); });
  };
  run.indexing->start();
  run.runners.run();
  EXPECT_THAT(run.widths, ElementsAre(300, 500, 200, 100));
  EXPECT_EQ(run.textOf("500"), "Width 500");
  EXPECT_EQ(run.textOf("100"), "Width 100");
  const EntryPointer entry = run.store.find("200");
  ASSERT_TRUE(entry->ocrBlocks);
  EXPECT_EQ(entry->ocrBlocks->at(0).lines.at(0).text, "Width 200");
  EXPECT_EQ(entry->ocrVersion, currentOcrVersion);
  EXPECT_EQ(run.indexing->remaining(), 0U);

  // By the next version of the recogniser, and by nobody while it is switched off.
  ASSERT_TRUE(
      run.store.update("200", [](ScreenshotEntry& one) { one.ocrVersion = 0; }).has_value());
  run.settings.set(&SettingsValues::indexScreenshotText, false);
  run.put(600, 60);
  run.runners.run();
  EXPECT_EQ(run.widths.size(), 4U);
  run.settings.set(&SettingsValues::indexScreenshotText, true);
  run.runners.run();
  EXPECT_THAT(run.widths, ElementsAre(300, 500, 200, 100, 600, 200));
}

TEST(TextIndexing, APictureThatChangesIsReadAgainAndWhatWasReadOfTheOldOneIsDropped) {
  IndexingSession run;
  run.put(100, 10);
  run.indexing->start();
  run.runners.run();
  const auto becomes = [&](int width) {
    run.overwrite("/captures/100.png", width);
    ASSERT_TRUE(run.store
                    .update("100",
                            [&](ScreenshotEntry& entry) {
                              entry.fileIdentity = identifyFile(*run.files, entry.path);
                              entry.fileIdentity->modified += width;
                            })
                    .has_value());
  };
  becomes(150);
  run.runners.run();
  EXPECT_EQ(run.textOf("100"), "Width 150");

  // Whoever changes the picture says so in the same change.
  run.overwrite("/captures/100.png", 155);
  ASSERT_TRUE(run.store.update("100", [&](ScreenshotEntry& entry) {
    entry.fileIdentity = identifyFile(*run.files, entry.path);
    entry.ocrVersion = 0;
  }));
  run.runners.run();
  EXPECT_EQ(run.textOf("100"), "Width 155");

  // While it is being read.
  run.during = [&] {
    run.during = nullptr;
    run.runners.main()->post([&] { becomes(170); });
  };
  becomes(160);
  run.runners.run();
  run.runners.advance(60s);
  EXPECT_EQ(run.textOf("100"), "Width 170");
}

TEST(TextIndexing, ItGivesWayToWhoWaitsAndToTheEnd) {
  IndexingSession run;
  run.put(100, 10);
  run.put(200, 20);
  run.answer = [](const Image&) -> FakeTextRecogniser::Answer {
    return std::unexpected(RecognitionFailure{RecognitionFailure::Case::cancelled});
  };
  std::optional<TextIndexing::Pause> pause;
  run.during = [&] { pause.emplace(*run.indexing); };
  run.indexing->start();
  run.runners.run();
  EXPECT_THAT(run.widths, ElementsAre(200)) << "nothing is begun while somebody waits";
  run.during = nullptr;
  run.answer = [](const Image& picture) { return readingOf("Now", picture.size()); };
  pause.reset();
  run.runners.run();
  EXPECT_THAT(run.widths, ElementsAre(200, 200, 100));

  run.put(300, 30);
  run.indexing->stop();
  run.runners.run();
  EXPECT_EQ(run.widths.size(), 3U);
  run.indexing.reset();
}

TEST(TextIndexing, WhoeverAsksIsAnsweredAndWhatCannotBeReadIsTriedOnceARun) {
  IndexingSession run;
  run.settings.set(&SettingsValues::indexScreenshotText, false);
  run.put(100, 10);
  run.put(200, 20);
  run.indexing->start();
  run.runners.run();
  EXPECT_THAT(run.widths, IsEmpty());
  std::vector<std::string> texts;
  const auto told = [&](const Result<EntryPointer, RecognitionFailure>& read) {
    texts.push_back(read ? (*read)->ocrText.value_or("") : sentence(read.error()));
  };
  run.indexing->read("100", told);
  run.indexing->read("nobody", told);
  run.runners.run();
  run.indexing->read("100", told);
  EXPECT_THAT(texts,
              ElementsAre(testing::HasSubstr("no picture with that id"), "Width 100", "Width 100"));

  texts.clear();
  run.files->disk.erase("/captures/200.png");
  run.indexing->read("200", told);
  run.runners.run();
  EXPECT_THAT(texts, ElementsAre(testing::StartsWith("The text couldn't be read")));

  // Nothing is installed: one attempt tells.
  texts.clear();
  run.answer = [](const Image&) -> FakeTextRecogniser::Answer {
    return std::unexpected(
        RecognitionFailure{RecognitionFailure::Case::unavailable, "Tesseract is not installed"});
  };
  run.widths.clear();
  for (int width = 301; width < 310; ++width) run.put(width, width);
  run.settings.set(&SettingsValues::indexScreenshotText, true);
  run.runners.run();
  EXPECT_EQ(run.widths.size(), 1U);
  ASSERT_TRUE(run.indexing->hindrance());
  EXPECT_EQ(run.indexing->hindrance()->reason, "Tesseract is not installed");
}

TEST(TextIndexing, ABacklogIsStoredInBatches) {
  IndexingSession run;
  for (int width = 1; width <= 60; ++width) run.put(width, width);
  run.runners.run();
  int changes = 0;
  const Observation counting = run.store.observe([&](const HistoryChange&) { ++changes; });
  run.indexing->start();
  run.runners.run();
  EXPECT_EQ(run.widths.size(), 60U);
  EXPECT_LE(changes, 4);
  EXPECT_EQ(run.textOf("1"), "Width 1");
}

}  // namespace
}  // namespace vantorel
