#include "capture/capture_transcoder.hpp"

#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <random>

#include "base/area_downscale.hpp"
#include "base/utf8.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_image_codec.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr double infinite = std::numeric_limits<double>::infinity();

TEST(CompressPlanTest, FollowsThePictureAndNeverLosesTwice) {
  using Facts = CompressFacts;
  using compress::AlreadyCompact;
  using compress::Palettize;
  using compress::Reencode;
  const std::vector<std::pair<Facts, CompressPlan>> cases = {
      {{.paletteDecibels = infinite}, Palettize{}},
      {{.paletteDecibels = 40, .scale = 2}, Palettize{}},
      {{.paletteDecibels = 40, .downscaleTo1x = true}, Palettize{}},
      {{.paletteDecibels = 36}, Reencode{.format = ExportFormat::jpeg}},
      {{.isTranslucent = true, .paletteDecibels = 36}, Reencode{.format = ExportFormat::webp}},
      {{.paletteDecibels = 50, .scale = 2, .downscaleTo1x = true},
       Reencode{.format = ExportFormat::png, .downscaleTo1x = true}},
      {{.paletteDecibels = 36, .scale = 1.5, .downscaleTo1x = true},
       Reencode{.format = ExportFormat::jpeg, .downscaleTo1x = true}},
      {{.hasPalette = true}, AlreadyCompact{}},
      {{.format = ExportFormat::heic}, AlreadyCompact{}},
      {{.format = ExportFormat::jpeg, .scale = 1, .downscaleTo1x = true}, AlreadyCompact{}},
      {{.format = ExportFormat::webp, .scale = 2, .downscaleTo1x = true},
       Reencode{.format = ExportFormat::webp, .downscaleTo1x = true}},
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_TRUE(compressPlan(cases[i].first) == cases[i].second) << "case " << i;
  }
}

TEST(AreaDownscaleTest, EachPixelIsTheMeanOfWhatItCovers) {
  MutableImage image({3, 2}, PixelFormat::bgraPremultiplied);
  const std::uint8_t top[12] = {10, 20, 30, 255, 30, 40, 50, 255, 90, 0, 0, 0};
  const std::uint8_t bottom[12] = {20, 20, 30, 255, 40, 40, 50, 255, 90, 0, 0, 0};
  std::memcpy(image.row(0).data(), top, 12);
  std::memcpy(image.row(1).data(), bottom, 12);
  const Image whole = std::move(image).finish();
  // Two columns of one and a half pixels each.
  const Image half = downscaled(whole, {2, 1});
  EXPECT_THAT(half.row(0), ElementsAre(22, 27, 37, 255, 72, 13, 17, 85));
  const Image same = downscaled(whole, whole.size());
  EXPECT_EQ(std::memcmp(same.row(1).data(), bottom, 12), 0);
}

class CaptureTranscoderTest : public testing::Test {
 protected:
  CaptureTranscoderTest() { EXPECT_TRUE(files->makeFolder("/captures", Privacy::ownerOnly)); }

  /// A capture of a few flat colours, or of more than a palette can hold.
  std::string picture(bool photo, ExportFormat format = ExportFormat::png) {
    MutableImage image({48, 30}, PixelFormat::bgrx);
    std::mt19937 random(7);
    for (int y = 0; y < 30; ++y) {
      for (std::size_t i = 0; i < image.row(y).size(); ++i) {
        const std::size_t value = photo ? random() : i / 50;
        image.row(y)[i] = i % 4 == 3 ? 0 : static_cast<std::uint8_t>(value);
      }
    }
    return codec->encode(std::move(image).finish(), {.format = format}).value();
  }

  std::shared_ptr<FakeFiles> files = std::make_shared<FakeFiles>();
  std::shared_ptr<FakeImageCodec> codec = std::make_shared<FakeImageCodec>();
  CaptureTranscoder transcoder{files, codec};
  const CaptureTranscoder::Source shot{
      .path = "/captures/shot.png", .scale = 2, .keepOriginalAs = "/originals/shot.png"};
};

TEST_F(CaptureTranscoderTest, AScreenGetsAPaletteInPlaceAndKeepsItsOriginal) {
  const std::string before = picture(false);
  files->put(shot.path, before);
  const auto outcome = transcoder.compress(shot, false);
  const auto& result = std::get<CaptureTranscoder::Compacted>(outcome).result;
  EXPECT_EQ(result.path, shot.path);
  EXPECT_EQ(result.oldPath, std::nullopt);
  EXPECT_EQ(result.bytesBefore, before.size());
  EXPECT_EQ(result.bytesAfter, files->text(shot.path).size());
  EXPECT_LT(result.bytesAfter, before.size() / 3);
  EXPECT_FALSE(result.downscaled);
  EXPECT_EQ(result.scale, 2);
  EXPECT_TRUE(codec->header(files->text(shot.path))->hasPalette);
  EXPECT_TRUE(files->text("/originals/shot.png") == before);
  EXPECT_THAT(files->names("/captures"), ElementsAre("shot.png"));

  const std::string after = files->text(shot.path);
  EXPECT_TRUE(
      std::holds_alternative<CaptureTranscoder::AlreadyCompact>(transcoder.compress(shot, false)));
  const auto smaller = transcoder.compress(shot, true);
  const auto& half = std::get<CaptureTranscoder::Compacted>(smaller).result;
  EXPECT_TRUE(half.downscaled);
  EXPECT_EQ(half.pixelSize, (PixelSize{24, 15}));
  EXPECT_EQ(half.scale, 1);
  EXPECT_EQ(half.preview.size(), half.pixelSize);
  EXPECT_TRUE(files->text("/originals/shot.png") == before) << "the first original is the original";
  EXPECT_LT(files->text(shot.path).size(), after.size());
}

TEST_F(CaptureTranscoderTest, APhotographChangesItsFormatBesideTheOldFile) {
  const std::string before = picture(true);
  files->put(shot.path, before);
  files->put("/captures/shot.jpg", "somebody else's");
  files->hasHardLinks = false;
  const auto outcome = transcoder.compress(shot, false);
  const auto& result = std::get<CaptureTranscoder::Compacted>(outcome).result;
  EXPECT_EQ(result.path, "/captures/shot 2.jpg");
  EXPECT_EQ(result.oldPath, shot.path);
  EXPECT_EQ(result.format, ExportFormat::jpeg);
  EXPECT_EQ(files->text("/captures/shot.jpg"), "somebody else's");
  EXPECT_TRUE(files->text(shot.path) == before) << "until the entry names the new one";
  EXPECT_TRUE(files->text("/originals/shot.png") == before);
  EXPECT_THAT(files->names("/captures"),
              UnorderedElementsAre("shot.png", "shot.jpg", "shot 2.jpg"));
  EXPECT_THAT(files->names("/originals"), ElementsAre("shot.png"));

  const auto converted = transcoder.convert(shot, ExportFormat::webp, 0.9);
  ASSERT_TRUE(converted.has_value());
  EXPECT_EQ(converted->path, "/captures/shot.webp");
  EXPECT_EQ(codec->header(files->text("/captures/shot.webp"))->format, ExportFormat::webp);
  const auto same = transcoder.convert(shot, ExportFormat::png, 0.9);
  ASSERT_TRUE(same.has_value());
  EXPECT_EQ(same->path, shot.path);
  EXPECT_EQ(same->oldPath, std::nullopt);
  EXPECT_TRUE(files->text(shot.path) == before);
}

TEST_F(CaptureTranscoderTest, TheLongestNamesFindRoomForTemporariesAndExtensions) {
  std::string umlauts;
  while (umlauts.size() < 250) umlauts += "ä";
  for (const std::string& stem : {std::string(251, 'a'), umlauts + "b", std::string(251, '\xE4')}) {
    CaptureTranscoder::Source source = shot;
    source.path = "/captures/" + stem + ".png";
    source.keepOriginalAs = "/originals/" + stem + ".png";
    const std::string bytes = picture(false);
    files->put(source.path, bytes);
    ASSERT_TRUE(
        std::holds_alternative<CaptureTranscoder::Compacted>(transcoder.compress(source, false)));
    EXPECT_TRUE(files->text(*source.keepOriginalAs) == bytes);
    source.keepOriginalAs.reset();
    for (const char* const end : {".webp", " 2.webp"}) {
      const auto made = transcoder.convert(source, ExportFormat::webp, 0.9);
      ASSERT_TRUE(made.has_value());
      const std::string name = made->path.filename();
      EXPECT_THAT(name, testing::EndsWith(end));
      EXPECT_THAT(stem, StartsWith(name.substr(0, name.size() - std::strlen(end))));
      EXPECT_GE(name.size(), 254U) << "no more is cut than needs to be";
      EXPECT_TRUE(stem.starts_with('\xE4') || isUtf8(name));
    }
    files->disk.clear();
  }
}

TEST_F(CaptureTranscoderTest, WhatDoesNotGetSmallerIsLeftAlone) {
  const std::string tiny =
      codec->encodeIndexedPNG({.size = {1, 1}, .palette = {{1, 2, 3, 255}}, .indices = {0}}, {})
          .value();
  const std::string dot = codec->encode(codec->decode(tiny).value(), {}).value();
  ASSERT_LT(dot.size(), tiny.size());
  files->put(shot.path, dot);
  const int changes = files->changes;
  EXPECT_TRUE(
      std::holds_alternative<CaptureTranscoder::AlreadyCompact>(transcoder.compress(shot, false)));
  EXPECT_EQ(files->changes, changes);
  EXPECT_TRUE(files->text(shot.path) == dot);
}

TEST_F(CaptureTranscoderTest, FailuresSayWhyAndLeaveTheFileAsItWas) {
  const auto reason = [&](const CaptureTranscoder::Source& source, ExportFormat format) {
    const auto answer = transcoder.convert(source, format, 0.9);
    return answer ? "converted" : sentence(answer.error());
  };
  EXPECT_EQ(reason(shot, ExportFormat::jpeg), "the capture couldn't be read as an image");
  files->put(shot.path, "no picture");
  EXPECT_EQ(reason(shot, ExportFormat::jpeg), "the capture couldn't be read as an image");

  const std::string before = picture(true);
  files->put(shot.path, before);
  files->put("/captures/film.webp", picture(true, ExportFormat::webp));
  codec->animated = {ExportFormat::webp};
  const CaptureTranscoder::Source film{.path = "/captures/film.webp", .scale = 2};
  const std::string firstOnly =
      "the capture is an animation, of which only the first picture would be left";
  EXPECT_EQ(reason(film, ExportFormat::png), firstOnly);
  const auto uncompressed = transcoder.compress(film, true);
  EXPECT_EQ(sentence(std::get<CaptureTranscoder::Failed>(uncompressed).failure), firstOnly);
  codec->animated.clear();
  ASSERT_TRUE(files->remove("/captures/film.webp"));
  codec->isHeicWasteful = true;
  EXPECT_THAT(reason(shot, ExportFormat::heic),
              StartsWith("the capture would be larger as HEIC ("));
  codec->isHeicWasteful = false;

  codec->longestHeicSide = 40;
  EXPECT_EQ(reason(shot, ExportFormat::heic), "HEIC can't hold a screenshot this large");
  codec->broken = {ExportFormat::jpeg};
  EXPECT_THAT(reason(shot, ExportFormat::jpeg),
              StartsWith("The capture couldn't be converted to JPEG: it couldn't be encoded ("));
  EXPECT_TRUE(std::holds_alternative<CaptureTranscoder::Failed>(transcoder.compress(shot, false)));
  codec->broken.clear();

  codec->longestHeicSide = std::nullopt;
  files->put("/captures/deep.heic", picture(true, ExportFormat::heic));
  codec->longestHeicSide = 20;
  const auto refused = transcoder.compress({.path = "/captures/deep.heic", .scale = 2}, true);
  EXPECT_EQ(std::get<CaptureTranscoder::TooLarge>(refused).format, ExportFormat::heic);
  ASSERT_TRUE(files->remove("/captures/deep.heic"));

  // The disk fills up at each of the changes in turn.
  for (int change = 1;; ++change) {
    files->put(shot.path, before);
    files->changesFail = std::nullopt;
    files->spaceEndsAtChange = change;
    const auto answer = transcoder.convert(shot, ExportFormat::jpeg, 0.9);
    files->spaceEndsAtChange = 0;
    if (answer) break;
    EXPECT_EQ(sentence(answer.error()),
              "The capture couldn't be converted to JPEG: no space left on device");
    EXPECT_TRUE(files->text(shot.path) == before) << change;
    EXPECT_EQ(files->text("/captures/shot.jpg"), "(missing)") << change;
    ASSERT_LT(change, 20);
  }
  EXPECT_TRUE(files->text(shot.path) == before);
}

TEST_F(CaptureTranscoderTest, ACrashAtAnyMomentLeavesAWholeFileUnderTheName) {
  struct Crash {};
  for (const bool photo : {false, true}) {
    const std::string before = picture(photo);
    bool finished = false;
    for (int moment = 1; !finished; ++moment) {
      files->disk.clear();
      files->put(shot.path, before);
      files->changes = 0;
      files->beforeChange = [&](int change) {
        if (change == moment) throw Crash();
      };
      try {
        finished =
            std::holds_alternative<CaptureTranscoder::Compacted>(transcoder.compress(shot, false));
      } catch (const Crash&) {
        const auto whole = codec->decode(files->text(shot.path));
        EXPECT_TRUE(whole.has_value()) << moment;
        const bool keptNow = files->text(shot.path) == before;
        EXPECT_TRUE(keptNow || files->text("/originals/shot.png") == before) << moment;
      }
      ASSERT_LT(moment, 20);
      // The next try finds what the crash left and is not bothered by it.
      files->beforeChange = nullptr;
      EXPECT_FALSE(
          std::holds_alternative<CaptureTranscoder::Failed>(transcoder.compress(shot, false)));
    }
  }
}

}  // namespace
}  // namespace vantorel
