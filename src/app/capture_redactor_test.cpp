#include "app/capture_redactor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "capture/kept_redaction.hpp"
#include "editor/entry_document.hpp"
#include "library/testing/test_library.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/fake_text_recogniser.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr PixelSize wholeSize{400, 80};
constexpr PixelSize bakedSize{50, 40};  // in these tests what is covered is told by its size

/// The capture "a", which shows a mail address and a card's number.
struct RedactorSession : TestLibrary {
  explicit RedactorSession(std::shared_ptr<FakeFiles> disk) : TestLibrary(std::move(disk)) {
    recogniser->onRead = [](const Image& picture, const ReadingRequest& request) {
      if (request.area) return FakeTextRecogniser::Answer(PictureReading{picture.size(), {}, {}});
      return FakeTextRecogniser::Answer(
          readingOf("write to jane.doe@example.org\npay with 4111 1111 1111 1111", picture.size()));
    };
    library.open();
    runners.run();
  }

  RedactorSession() : RedactorSession(std::make_shared<FakeFiles>()) {
    files->folders.insert("/captures");
    files->put("/captures/a.png", whole());
    ScreenshotEntry entry;
    entry.id = "a";
    entry.path = "/captures/a.png";
    entry.pixelWidth = wholeSize.width;
    entry.pixelHeight = wholeSize.height;
    entry.ocrVersion = 1;
    entry.ocrBlocks = std::vector<OCRBlock>{};
    EXPECT_TRUE(store.add(std::move(entry)).has_value());
    runners.run();
  }

  [[nodiscard]] std::string whole() const {
    return codec->encode(MutableImage(wholeSize, PixelFormat::bgrx).finish(), {}).value();
  }
  [[nodiscard]] PixelSize sizeOf(const std::string& path) const {
    return codec->pixelSize(files->disk.at(path)->bytes).value();
  }
  [[nodiscard]] const ScreenshotEntry& entry() const { return *store.find("a"); }

  /// What comes of uncovering the capture, or of covering it again.
  std::string ask(bool covers) {
    covers ? redactor.reapply("a", told<EntryPointer>())
           : redactor.remove("a", told<EntryPointer>());
    runners.run();
    return said;
  }

  template <class Value>
  CaptureRedactor::Done<Value> told() {
    said = "(no answer)";
    return [this](CaptureRedactor::Answer<Value> answer) {
      said = answer ? "done" : sentence(answer.error());
      if constexpr (std::is_same_v<Value, CaptureRedactor::Scan>) {
        if (answer) found = answer->found.proposals;
      } else if constexpr (std::is_same_v<Value, CaptureRedactor::Applied>) {
        if (answer) found = answer->covered;
      }
    };
  }
  [[nodiscard]] std::vector<SensitiveMatchKind> kinds() const {
    std::vector<SensitiveMatchKind> all;
    for (const SmartRedact::Proposal& proposal : found) all.push_back(proposal.kind);
    return all;
  }

  std::shared_ptr<FakeImageCodec> codec = std::make_shared<FakeImageCodec>();
  std::shared_ptr<FakeTextRecogniser> recogniser = std::make_shared<FakeTextRecogniser>();
  FakeDefaultsStore defaults;
  SettingsStore settings{defaults, SettingsValues{}};
  PendingArchiveWork pending;
  SurfaceRegistry surfaces{runners.main()};
  SensitiveScans scans{{.main = runners.main(),
                        .work = runners.runner("scans"),
                        .smartRedact = std::make_shared<SmartRedact>(SmartRedact::Services{
                            .recogniser = recogniser,
                            .visual = nullptr,
                            .detector = std::make_shared<SensitiveTextDetector>(
                                nullptr, std::vector<std::string>{})})}};
  CaptureAutoRedact autoRedact{{.main = runners.main(),
                                .work = runners.runner("scans"),
                                .scans = scans,
                                .settings = settings,
                                .pendingWork = pending,
                                .draw = [this](const EditorDocument& document, const Image& base,
                                               auto) -> Result<Image, SceneFailure> {
                                  drawn = document.shapes.size();
                                  return base.cropped({0, 0, bakedSize.width, bakedSize.height});
                                }}};
  CaptureRedactor redactor{{.main = runners.main(),
                            .work = runners.runner("redactions"),
                            .files = files,
                            .codec = codec,
                            .library = library,
                            .settings = settings,
                            .pendingWork = pending,
                            .surfaces = surfaces,
                            .scans = scans,
                            .autoRedact = autoRedact}};
  std::size_t drawn = 0;
  std::string said;
  std::vector<SmartRedact::Proposal> found;
};

using Kind = SensitiveMatchKind;

TEST(CaptureRedactor, CoversTheKindsAskedForOnceAndSaysWhatIsLeft) {
  RedactorSession run;
  run.redactor.scanCapture("a", run.told<CaptureRedactor::Scan>());
  run.runners.run();
  EXPECT_EQ(run.said, "done");
  EXPECT_THAT(run.kinds(), ElementsAre(Kind::email, Kind::cardNumber));
  EXPECT_THAT(run.entry().shapes, IsEmpty());

  run.redactor.apply("a", {.kinds = {Kind::email}, .style = RedactStyle::pixelate},
                     run.told<CaptureRedactor::Applied>());
  run.runners.run();
  EXPECT_THAT(run.kinds(), ElementsAre(Kind::email));
  ASSERT_THAT(run.entry().shapes, SizeIs(1));
  EXPECT_EQ(run.entry().shapes[0].redactStyle, RedactStyle::pixelate);
  EXPECT_TRUE(isRedacted(run.entry()));
  EXPECT_EQ(run.sizeOf("/captures/a.png"), wholeSize) << "annotations leave the file as it is";

  run.redactor.scanCapture("a", run.told<CaptureRedactor::Scan>());
  run.runners.run();
  EXPECT_THAT(run.kinds(), ElementsAre(Kind::cardNumber));
  run.redactor.apply("a", {}, run.told<CaptureRedactor::Applied>());
  run.redactor.apply("a", {}, run.told<CaptureRedactor::Applied>());
  EXPECT_THAT(run.said, HasSubstr("being changed")) << "two at once";
  run.runners.run();
  EXPECT_THAT(run.entry().shapes, SizeIs(2));
  EXPECT_TRUE(run.pending.isEmpty());
}

TEST(CaptureRedactor, WhatCannotBeReadOrChangedIsSaidAndNothingChanges) {
  RedactorSession run;
  run.redactor.scanCapture("b", run.told<CaptureRedactor::Scan>());
  run.runners.run();
  EXPECT_THAT(run.said, HasSubstr("Couldn't find the capture"));
  run.recogniser->onRead = [](const Image&, const ReadingRequest&) -> FakeTextRecogniser::Answer {
    return std::unexpected(
        RecognitionFailure{RecognitionFailure::Case::unavailable, "it is not installed"});
  };
  run.redactor.apply("a", {}, run.told<CaptureRedactor::Applied>());
  run.runners.run();
  EXPECT_EQ(run.said, "Text can't be read here: it is not installed.");
  EXPECT_THAT(run.entry().shapes, IsEmpty());
  run.redactor.remove("a", run.told<EntryPointer>());
  run.runners.run();
  EXPECT_THAT(run.said, HasSubstr("covered nothing in this capture"));
  run.files->disk.erase("/captures/a.png");
  run.redactor.scanCapture("a", run.told<CaptureRedactor::Scan>());
  run.runners.run();
  EXPECT_NE(run.said, "done");
  EXPECT_TRUE(run.pending.isEmpty());
}

/// As a capture is that was redacted before it was filed.
void redactBeforeFiling(RedactorSession& run) {
  run.files->put("/data/Redacted Originals/a.png", run.whole());
  run.files->put(
      "/captures/a.png",
      run.codec->encode(MutableImage(bakedSize, PixelFormat::bgrx).finish(), {}).value());
  ASSERT_TRUE(run.store
                  .update("a",
                          [](ScreenshotEntry& entry) {
                            entry.originalPath = "/data/Redacted Originals/a.png";
                            Shape shape;
                            shape.id = "r";
                            shape.type = ShapeType::redact;
                            shape.color = "#000000";
                            entry.autoRedactions = std::vector<Shape>{shape};
                            entry.pixelWidth = bakedSize.width;
                            entry.pixelHeight = bakedSize.height;
                          })
                  .has_value());
  run.runners.run();
}

bool isCovering(RedactorSession& run) {
  const auto kept = keptRedaction(run.entry(), run.store.paths());
  return kept && kept->isCovering;
}

TEST(CaptureRedactor, WhatWasCoveredBeforeFilingIsUncoveredAndCoveredAgain) {
  RedactorSession run;
  redactBeforeFiling(run);
  EXPECT_TRUE(isCovering(run));
  run.redactor.remove("a", run.told<EntryPointer>());
  run.runners.run();
  EXPECT_EQ(run.said, "done");
  EXPECT_EQ(run.sizeOf("/captures/a.png"), wholeSize);
  EXPECT_EQ(run.entry().pixelWidth, wholeSize.width);
  EXPECT_FALSE(run.entry().originalPath);
  EXPECT_EQ(run.entry().ocrVersion, 0) << "what was covered is to be read";
  EXPECT_FALSE(run.files->disk.contains("/data/Redacted Originals/a.png"));

  run.redactor.remove("a", run.told<EntryPointer>());
  run.runners.run();
  EXPECT_THAT(run.said, HasSubstr("uncovered already"));
  run.redactor.reapply("a", run.told<EntryPointer>());
  run.runners.run();
  EXPECT_EQ(run.said, "done");
  EXPECT_EQ(run.drawn, 1U);
  EXPECT_EQ(run.sizeOf("/captures/a.png"), bakedSize);
  EXPECT_EQ(run.sizeOf("/data/Redacted Originals/a.png"), wholeSize);
  EXPECT_TRUE(isCovering(run));
  run.redactor.reapply("a", run.told<EntryPointer>());
  run.runners.run();
  EXPECT_NE(run.said, "done");
}

TEST(CaptureRedactor, WhatIsCoveredAgainIsWhereItWasInAPictureScaledMeanwhile) {
  RedactorSession run;
  redactBeforeFiling(run);
  ASSERT_TRUE(run.store
                  .update("a",
                          [](ScreenshotEntry& entry) {
                            Shape& shape = entry.autoRedactions->front();
                            shape.x1 = 10;
                            shape.y1 = 20;
                            shape.x2 = 30;
                            shape.y2 = 40;
                            followPictureSize(entry, {bakedSize.width / 2, bakedSize.height / 2});
                          })
                  .has_value());
  const Shape& scaled = run.entry().autoRedactions->front();
  EXPECT_EQ((std::array{scaled.x1, scaled.y1, scaled.x2, scaled.y2}),
            (std::array{5.0, 10.0, 15.0, 20.0}));
}

TEST(CaptureRedactor, OfAFileInAnotherFormatTheUntouchedPictureStaysAndNothingElseShowsIt) {
  RedactorSession run;
  redactBeforeFiling(run);
  run.files->put("/captures/a.jpg",
                 run.codec
                     ->encode(MutableImage(bakedSize, PixelFormat::bgrx).finish(),
                              {.format = ExportFormat::jpeg})
                     .value());
  EXPECT_TRUE(
      run.store.update("a", [](ScreenshotEntry& entry) { entry.path = "/captures/a.jpg"; }));
  const std::string untouched = run.files->disk.at("/data/Redacted Originals/a.png")->bytes;
  EXPECT_EQ(run.ask(false), "done");
  EXPECT_EQ(run.sizeOf("/captures/a.jpg"), wholeSize);
  EXPECT_EQ(run.entry().originalPath, "/data/Originals/a.png");
  EXPECT_EQ(run.files->text("/data/Originals/a.png"), untouched);

  // The index on disk may not say yet that it is done.
  EXPECT_TRUE(run.store.update(
      "a", [](ScreenshotEntry& entry) { entry.redactionChange = RedactionChange{}; }));
  run.redactor.finishCutShort();
  run.runners.run();
  EXPECT_FALSE(run.entry().redactionChange);
  EXPECT_EQ(run.entry().originalPath, "/data/Originals/a.png");

  // An original of its own, from a conversion in between.
  run.files->put("/captures/a.png", untouched);
  run.files->remove("/data/Originals/a.png").value();
  EXPECT_TRUE(run.store.update(
      "a", [](ScreenshotEntry& entry) { entry.originalPath = "/captures/a.png"; }));
  EXPECT_EQ(run.ask(true), "done");
  EXPECT_EQ(run.sizeOf("/captures/a.jpg"), bakedSize);
  EXPECT_THAT(run.files->names("/captures"), ElementsAre("a.jpg")) << "the other one shows it all";
  EXPECT_EQ(run.files->text("/data/Redacted Originals/a.png"), untouched);
  EXPECT_FALSE(run.entry().redactionChange);
}

TEST(CaptureRedactor, WhatAnotherProgramWroteIntoACoveredFileStaysBesideIt) {
  RedactorSession run;
  redactBeforeFiling(run);
  EXPECT_EQ(run.ask(false), "done");
  EXPECT_EQ(run.ask(true), "done");
  const std::string theirs =
      run.codec->encode(MutableImage({70, 60}, PixelFormat::bgrx).finish(), {}).value();
  run.files->put("/captures/a.png", theirs);
  EXPECT_EQ(run.ask(false), "done");
  EXPECT_EQ(run.sizeOf("/captures/a.png"), wholeSize);
  EXPECT_EQ(run.files->text("/captures/a 2.png"), theirs);
}

TEST(CaptureRedactor, AFullDiskOfTheIndexChangesNothing) {
  RedactorSession run;
  redactBeforeFiling(run);
  run.files->changesFail = FailureKind::noSpace;
  EXPECT_THAT(run.ask(false), HasSubstr("couldn't be changed"));
  EXPECT_EQ(run.sizeOf("/captures/a.png"), bakedSize);
  EXPECT_FALSE(run.entry().redactionChange);
  run.files->changesFail.reset();
  EXPECT_EQ(run.ask(false), "done");
  EXPECT_EQ(run.sizeOf("/captures/a.png"), wholeSize);
}

TEST(CaptureRedactor, WhatACrashBetweenAnyTwoChangesCutShortIsDoneAtTheNextStart) {
  struct Crash {};
  for (const bool covers : {false, true}) {
    for (int change = 1;; ++change) {
      SCOPED_TRACE(fmt::format("{} change {}", covers ? "cover" : "uncover", change));
      auto run = std::make_unique<RedactorSession>();
      redactBeforeFiling(*run);
      if (covers) run->ask(false);
      run->runners.advance(10s);
      const int before = run->files->changes;
      bool crashed = false;
      run->files->beforeChange = [&](int number) {
        if (number - before == change) throw Crash{};
      };
      try {
        run->ask(covers);
      } catch (const Crash&) {
        crashed = true;
      }
      run->files->beforeChange = nullptr;
      const std::shared_ptr<FakeFiles> disk = run->files;
      run.reset();
      run = std::make_unique<RedactorSession>(disk);
      run->redactor.finishCutShort();
      run->runners.run();
      run->runners.advance(10s);
      const ScreenshotEntry& entry = run->entry();
      EXPECT_FALSE(entry.redactionChange);
      const bool isCovered = isCovering(*run);
      EXPECT_EQ(run->sizeOf("/captures/a.png"), isCovered ? bakedSize : wholeSize);
      EXPECT_EQ(entry.pixelWidth, isCovered ? bakedSize.width : wholeSize.width);
      EXPECT_THAT(run->files->names("/captures"), ElementsAre("a.png"));
      if (isCovered) {
        EXPECT_EQ(run->sizeOf("/data/Redacted Originals/a.png"), wholeSize);
        EXPECT_EQ(run->ask(false), "done");
      }
      EXPECT_EQ(run->sizeOf("/captures/a.png"), wholeSize);
      if (!crashed) break;
      ASSERT_LT(change, 60);
    }
  }
}

}  // namespace
}  // namespace vantorel
