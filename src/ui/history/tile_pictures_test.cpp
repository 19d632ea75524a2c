#include "ui/history/tile_pictures.hpp"

#include <gtest/gtest.h>

#include <QImage>

#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

constexpr PixelSize pictureSize{800, 500};

/// Nothing, red at half strength, and blue, from left to right.
Image threeParts(PixelFormat format, std::uint8_t lastByte) {
  MutableImage picture(pictureSize, format);
  for (int y = 0; y < pictureSize.height; ++y) {
    const auto row = picture.row(y);
    for (std::size_t x = 0; x < row.size(); x += 4) {
      const std::size_t part = x * 3 / row.size();
      const bool isOpaque = format == PixelFormat::bgrx;
      row[x] = part == 2 ? 255 : 0;
      row[x + 2] = part == 1 ? 128 : 0;
      row[x + 3] = isOpaque ? lastByte : static_cast<std::uint8_t>(std::min(part * 128, 255UL));
    }
  }
  return std::move(picture).finish();
}

class TilePicturesTest : public UiTestCase {
 protected:
  void SetUp() override {
    startDesktop();
    startUi();
  }

  QImage tileOf(const char* id) {
    PreviewCache cache({.main = runners.main(),
                        .work = runners.runner("previews"),
                        .files = files,
                        .codec = codec,
                        .clock = {std::shared_ptr<const Clock>(), &runners},
                        .finish = [](const ScreenshotEntry&, Image picture) { return picture; },
                        .isCurrent = [](const EntryPointer&) { return true; },
                        .folder = "/caches/previews"});
    TilePictures pictures(cache);
    pictures.setShape({240, 150}, 8, 1);
    ScreenshotEntry entry;
    entry.id = id;
    entry.path = std::string("/pictures/") + id + ".png";
    const auto shown = std::make_shared<const ScreenshotEntry>(entry);
    pictures.want({shown});
    runners.run();
    const TilePictures::Tile* const tile = pictures.find(*shown);
    return tile == nullptr ? QImage() : tile->pixmap.toImage();
  }

  FakeRunners runners;
  std::shared_ptr<FakeFiles> files = std::make_shared<FakeFiles>();
  std::shared_ptr<const ImageCodec> codec = pictureCodec();
};

TEST_F(TilePicturesTest, ShowWhatIsThereOfAPictureWithTransparentParts) {
  files->put("/pictures/a.png",
             codec->encode(threeParts(PixelFormat::bgraPremultiplied, 0), {}).value());
  for (const char* const from : {"the picture", "its kept preview"}) {
    SCOPED_TRACE(from);
    const QImage tile = tileOf("a");
    ASSERT_EQ(tile.size(), QSize(240, 150));
    EXPECT_EQ(tile.pixelColor(40, 75).alpha(), 0);
    EXPECT_NEAR(tile.pixelColor(120, 75).alpha(), 128, 2);
    EXPECT_GT(tile.pixelColor(120, 75).red(), 250);
    EXPECT_EQ(tile.pixelColor(200, 75), QColor(0, 0, 255));
    EXPECT_EQ(tile.pixelColor(239, 0).alpha(), 0) << "a rounded corner";
    EXPECT_EQ(files->names("/caches/previews").size(), 1U);
  }
}

TEST_F(TilePicturesTest, AreOpaqueWhateverTheByteWithoutMeaningIs) {
  // As a display server hands pictures out; nothing of it is in the file.
  files->put("/pictures/b.png", codec->encode(threeParts(PixelFormat::bgrx, 7), {}).value());
  const QImage tile = tileOf("b");
  ASSERT_FALSE(tile.isNull());
  EXPECT_EQ(tile.pixelColor(40, 75), QColor(0, 0, 0));
  EXPECT_EQ(tile.pixelColor(120, 75).alpha(), 255);
  EXPECT_EQ(tile.pixelColor(0, 0).alpha(), 0);
  EXPECT_EQ(tile.pixelColor(239, 149).alpha(), 0);
}

}  // namespace
}  // namespace vantorel
