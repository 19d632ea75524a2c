#include "editor/shown_picture.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantorel {
namespace {

using testing::HasSubstr;

TEST(ShownPictureTest, NothingIsShownWithoutWhatCoversIt) {
  bool canDraw = true;
  int drawn = 0;
  const PictureFinish finish =
      withAnnotations([&](const EditorDocument& document, const Image& base,
                          std::optional<double> scale) -> Result<Image, SceneFailure> {
        ++drawn;
        EXPECT_EQ(document.shapes.size(), 1U);
        EXPECT_EQ(scale, 2);
        if (!canDraw) return std::unexpected(SceneFailure{SceneFailure::Case::noMemory});
        return base.cropped({0, 0, 3, 2});
      });
  const Image file = std::move(MutableImage({8, 8}, PixelFormat::bgrx)).finish();
  ScreenshotEntry entry;
  entry.captureScale = 2;
  const auto plain = finish(entry, file);
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->size(), (PixelSize{8, 8}));
  EXPECT_EQ(drawn, 0);

  entry.shapes.emplace_back().type = ShapeType::redact;
  const auto covered = finish(entry, file);
  ASSERT_TRUE(covered);
  EXPECT_EQ(covered->size(), (PixelSize{3, 2}));

  canDraw = false;
  const auto undrawn = finish(entry, file);
  ASSERT_FALSE(undrawn);
  EXPECT_EQ(undrawn.error().reason,
            "The capture can't be shown: its annotations couldn't be drawn.");

  canDraw = true;
  const auto tomorrow = json::fromText<ScreenshotEntry>(
      R"({"id":"x","capturedAt":1,"path":"/x.png","shapes":[{"type":"veil"}]})");
  entry.unreadShapes = tomorrow->unreadShapes;
  const auto unknown = finish(entry, file);
  ASSERT_FALSE(unknown);
  EXPECT_THAT(unknown.error().reason, HasSubstr("annotations that this version can't read"));
}

TEST(ShownPictureTest, ALayerWhosePictureIsGoneIsLeftOut) {
  const PictureFinish finish =
      withAnnotations([&](const EditorDocument& document, const Image& base,
                          std::optional<double>) -> Result<Image, SceneFailure> {
        for (const LayerSpec& layer : document.layers) {
          if (!layer.visible || layer.id != "gone") continue;
          return std::unexpected(
              SceneFailure{.block = {ExportBlock::Kind::layerMissing, layer.name, layer.id}});
        }
        return base;
      });
  ScreenshotEntry entry;
  entry.layers.emplace();
  for (const char* id : {"", "there", "gone"}) {
    LayerSpec& layer = entry.layers->emplace_back();
    layer.id = id;
    layer.name = "Pasted Image";
    layer.visible = true;
    if (*id != 0) layer.path = std::string("/") + id + ".png";
  }
  EXPECT_TRUE(finish(entry, std::move(MutableImage({8, 8}, PixelFormat::bgrx)).finish()));
}

}  // namespace
}  // namespace vantorel
