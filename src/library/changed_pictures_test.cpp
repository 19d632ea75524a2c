#include "library/changed_pictures.hpp"

#include <gtest/gtest.h>

#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

TEST(ChangedPicturesTest, ThePictureSizeFollowsWhoeverWroteTheFile) {
  FakeFiles files;
  FakeRunners runners;
  const auto codec = std::make_shared<FakeImageCodec>();
  HistoryStore store{{files, runners, runners.main(), runners.runner("persist"), 0},
                     LibraryPaths{"/data", "/caches"}};
  store.load([] {});
  runners.run();
  ChangedPictures changed{{store, files, codec, runners.main(), runners.runner("work"),
                           [](ScreenshotEntry& entry, PixelSize size) {
                             entry.pixelWidth = size.width;
                             entry.pixelHeight = size.height;
                           }}};
  const auto write = [&](PixelSize size) {
    files.put("/captures/a.png",
              *codec->encode(MutableImage(size, PixelFormat::bgrx).finish(), {}));
    changed.fileChanged("/captures/a.png");
    runners.run();
    const EntryPointer entry = store.find("a");
    return PixelSize{entry->pixelWidth.value_or(0), entry->pixelHeight.value_or(0)};
  };
  ScreenshotEntry entry;
  entry.id = "a";
  entry.path = "/captures/a.png";
  ASSERT_TRUE(store.add(entry).has_value());

  EXPECT_EQ(write({8, 6}), (PixelSize{8, 6}));
  EXPECT_EQ(write({4, 6}), (PixelSize{4, 6}));
  auto ours =
      store.claims().claim("a", EntryWork::rewriting);  // its entry is told by who changes it
  EXPECT_EQ(write({2, 2}), (PixelSize{4, 6}));
  ours->end();
  files.put("/captures/a.png", "no picture any more");
  changed.fileChanged("/captures/a.png");
  changed.fileChanged("/captures/unknown.png");
  runners.run();
  EXPECT_EQ(store.find("a")->pixelWidth, 4);
}

}  // namespace
}  // namespace vantorel
