#include "library/preview_cache.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

Image picture(PixelSize size) {
  MutableImage image(size, PixelFormat::bgrx);
  for (int y = 0; y < size.height; ++y) {
    for (auto& byte : image.row(y)) byte = static_cast<std::uint8_t>(std::min(y, 255));
  }
  return std::move(image).finish();
}

class PreviewCacheTest : public testing::Test {
 protected:
  PreviewCacheTest() { restart(); }

  void restart(std::uint64_t maximumBytes = 1'000'000) {
    cache = std::make_unique<PreviewCache>(PreviewCache::Services{
        .main = runners.main(),
        .work = runners.runner("previews"),
        .files = files,
        .codec = codec,
        .clock = {std::shared_ptr<const Clock>(), &runners},
        .finish = [this](const ScreenshotEntry& one, Image whole) -> Result<Image> {
          if (isUndrawable) return failed(FailureKind::other, "not drawn");
          if (!one.crop) return whole;
          return whole.cropped(
              {0, 0, static_cast<int>(one.crop->w), static_cast<int>(one.crop->h)});
        },
        .isCurrent = [this](const EntryPointer& one) { return one != outdated; },
        .folder = "/caches/previews",
        .maximumBytes = maximumBytes});
    cache->onPreview = [this](const EntryPointer& entry, const Image& preview) {
      told.push_back(fmt::format("{} {}x{}", entry->id, preview.width(), preview.height()));
      if (onTold) onTold();
    };
  }

  EntryPointer entry(const std::string& id, std::optional<PixelSize> size = {}) {
    ScreenshotEntry one;
    one.id = id;
    one.path = "/pictures/" + id;
    if (size) files->put(one.path, codec->encode(picture(*size), {}).value());
    return std::make_shared<const ScreenshotEntry>(one);
  }

  std::vector<std::string> ask(const EntryList& entries) {
    told.clear();
    files->now = runners.now();
    cache->want(entries);
    runners.run();
    return told;
  }

  [[nodiscard]] std::vector<std::string> kept() const { return files->names("/caches/previews"); }

  FakeRunners runners;
  std::shared_ptr<FakeFiles> files = std::make_shared<FakeFiles>();
  std::shared_ptr<FakeImageCodec> codec = std::make_shared<FakeImageCodec>();
  bool isUndrawable = false;
  EntryPointer outdated;
  std::vector<std::string> told;
  std::function<void()> onTold;
  std::unique_ptr<PreviewCache> cache;
};

TEST_F(PreviewCacheTest, PicturesAreCutFromTheTopAndNeverEnlarged) {
  const auto sizeOf = [](PixelSize size) {
    const Image preview = previewOf(picture(size));
    return fmt::format("{}x{}", preview.width(), preview.height());
  };
  EXPECT_EQ(sizeOf({3840, 2160}), "400x250");
  EXPECT_EQ(sizeOf({1000, 20000}), "400x250");
  EXPECT_EQ(sizeOf({4000, 500}), "400x50");  // a strip is shown whole
  EXPECT_EQ(sizeOf({80, 40}), "64x40");
  EXPECT_EQ(sizeOf({1, 30000}), "1x1");
  EXPECT_EQ(sizeOf({30000, 1}), "400x1");
  const Image tall = previewOf(picture({800, 1000}));
  EXPECT_LT(tall.row(0)[0], 2);           // the top
  EXPECT_NEAR(tall.row(249)[0], 255, 1);  // 500 rows of it
}

TEST_F(PreviewCacheTest, PreviewsAreKeptUntilThePictureChanges) {
  const EntryPointer one = entry("one", PixelSize{800, 500});
  const EntryPointer two = entry("two", PixelSize{400, 250});
  EXPECT_THAT(ask({one, two, entry("gone")}),
              ElementsAre("one 400x250", "two 400x250", "gone 0x0"));
  ASSERT_THAT(kept(), SizeIs(2));

  // The next run takes what it finds.
  restart();
  codec->broken = {ExportFormat::jpeg, ExportFormat::png};
  const auto before = kept();
  EXPECT_THAT(ask({one}), ElementsAre("one 400x250"));
  EXPECT_EQ(kept(), before);
  codec->broken.clear();

  runners.advance(std::chrono::seconds(5));
  static_cast<void>(entry("one", PixelSize{100, 50}));
  EXPECT_THAT(ask({one}), ElementsAre("one 80x50"));

  // Half a file, after a crash, is made again.
  for (const std::string& name : kept()) files->put("/caches/previews/" + name, "half");
  EXPECT_THAT(ask({one}), ElementsAre("one 80x50"));
}

TEST_F(PreviewCacheTest, WhatIsDrawnAndCoveredIsInThePreview) {
  const EntryPointer plain = entry("one", PixelSize{200, 100});
  EXPECT_THAT(ask({plain}), ElementsAre("one 160x100"));
  ScreenshotEntry changed = *plain;
  changed.crop = Box{.x = 0, .y = 0, .w = 80, .h = 50};
  const auto cropped = std::make_shared<const ScreenshotEntry>(changed);
  isUndrawable = true;
  EXPECT_THAT(ask({cropped}), ElementsAre("one 0x0")) << "what is left out shows";
  isUndrawable = false;
  EXPECT_THAT(ask({cropped, plain}), ElementsAre("one 80x50", "one 160x100"));
  changed.title = "Another name";
  const auto before = kept();
  EXPECT_THAT(ask({std::make_shared<const ScreenshotEntry>(changed)}), ElementsAre("one 80x50"));
  EXPECT_EQ(kept(), before) << "a name changes no picture";
}

TEST_F(PreviewCacheTest, WhatScrolledAwayIsNotMade) {
  const EntryList all{entry("a", PixelSize{400, 250}), entry("b", PixelSize{400, 250}),
                      entry("c", PixelSize{400, 250})};
  onTold = [&] {
    if (told.size() == 1) cache->want({all[2]});
  };
  EXPECT_THAT(ask(all), ElementsAre("a 400x250", "c 400x250"));
  EXPECT_EQ(cache->waiting(), 0U);
  // Of what has changed meanwhile no preview is left behind.
  onTold = {};
  outdated = all[1];
  EXPECT_THAT(ask({all[1], all[0]}), ElementsAre("a 400x250"));
  outdated = nullptr;
  // Neither is it told of by a cache that is gone.
  told.clear();
  cache->want(all);
  cache.reset();
  runners.run();
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(PreviewCacheTest, WhatWasUsedLongestAgoMakesRoom) {
  const EntryPointer a = entry("a", PixelSize{400, 250});
  const EntryPointer b = entry("b", PixelSize{400, 250});
  const EntryPointer c = entry("c", PixelSize{400, 250});
  restart(900'000);  // two of them
  ask({a});
  runners.advance(std::chrono::hours(30));
  ask({b});
  runners.advance(std::chrono::hours(30));
  ask({a});
  const auto before = kept();
  // Which one that is the next run still knows. What is no preview is nobody's to remove.
  files->put("/caches/previews/holiday.jpg", std::string(2'000'000, 'x'));
  restart(900'000);
  ask({c});
  EXPECT_THAT(kept(), SizeIs(3));
  EXPECT_THAT(kept(), Contains("holiday.jpg"));
  codec->broken = {ExportFormat::jpeg, ExportFormat::png};
  restart(900'000);
  const int changes = files->changes;
  EXPECT_THAT(ask({a}), ElementsAre("a 400x250"));
  EXPECT_EQ(files->changes, changes) << "it was there still";
}

}  // namespace
}  // namespace vantorel
