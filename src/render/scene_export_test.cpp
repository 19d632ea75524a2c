#include "render/scene_export.hpp"

#include <gtest/gtest.h>

#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "render/testing/test_scene.hpp"

namespace vantorel {
namespace {

TEST(SceneExportTest, DrawsLayersFromTheirFilesAndEncodes) {
  FakeFiles files;
  FakeImageCodec codec;
  const Image blue = plainImage({4, 3}, 0xff0000ff);
  ASSERT_TRUE(
      files.create("/blue.png", *codec.encode(blue, {}), Privacy::ownerOnly, Durability::visible)
          .has_value());
  EditorDocument document;
  document.layers.emplace_back().id = "blue";
  document.layers[0].path = "/blue.png";
  document.layers[0].frame = {2, 2, 4, 3};
  const SceneSource source = sceneSource(plainImage({20, 10}, 0xffffffff), {}, files, codec);
  const auto bytes = exportScene(document, source, codec, {});
  ASSERT_TRUE(bytes.has_value()) << sentence(bytes.error());
  const Image back = *codec.decode(*bytes);
  EXPECT_EQ(back.size(), (PixelSize{20, 10}));
  EXPECT_EQ(back.row(4)[4UZ * 5], 0xff);
  EXPECT_EQ(back.row(4)[4UZ * 5 + 2], 0x00);
  EXPECT_EQ(back.row(4)[4UZ * 6 + 2], 0xff);

  codec.broken = {ExportFormat::webp};
  codec.longestHeicSide = 15;
  ImageEncoding encoding;
  encoding.format = ExportFormat::webp;
  const auto broken = exportScene(document, source, codec, encoding);
  ASSERT_FALSE(broken.has_value());
  EXPECT_NE(sentence(broken.error()).find("the image couldn't be encoded or written"),
            std::string::npos);
  encoding.format = ExportFormat::heic;
  EXPECT_EQ(sentence(exportScene(document, source, codec, encoding).error()),
            "An image of 20 × 10 px is too large for HEIC.");
  document.layers[0].path = "/gone.png";
  EXPECT_FALSE(exportScene(document, source, codec, {}).has_value());
}

TEST(SceneExportTest, LayersShowTheirOwnFramesOfOneFile) {
  FakeFiles files;
  const FakeImageCodec codec;
  const std::string film = *codec.encode(plainImage({4, 3}, 0xff0000ff), {}) +
                           *codec.encode(plainImage({6, 5}, 0xff00ff00), {});
  ASSERT_TRUE(files.create("/film.webp", film, Privacy::ownerOnly, Durability::visible));
  EditorDocument document;
  for (const int frame : {0, 1}) {
    LayerSpec& layer = document.layers.emplace_back();
    layer.id = std::to_string(frame);
    layer.path = "/film.webp";
    layer.frameIndex = frame;
    layer.frame = frame == 0 ? Box{2, 2, 4, 3} : Box{10, 2, 6, 5};
  }
  const SceneSource source = sceneSource(plainImage({20, 10}, 0xffffffff), {}, files, codec);
  const auto bytes = exportScene(document, source, codec, {});
  ASSERT_TRUE(bytes.has_value()) << sentence(bytes.error());
  const Image back = *codec.decode(*bytes);
  const auto colour = [&](std::size_t x, int y) {
    const auto pixel = back.row(y).subspan(4 * x, 3);
    return pixel[2] << 16 | pixel[1] << 8 | pixel[0];
  };
  EXPECT_EQ(colour(2, 2), 0x0000ff);
  EXPECT_EQ(colour(5, 4), 0x0000ff);
  EXPECT_EQ(colour(10, 2), 0x00ff00);
  EXPECT_EQ(colour(15, 6), 0x00ff00) << "in the size of its own frame";
  EXPECT_EQ(colour(8, 3), 0xffffff);

  document.layers[1].frameIndex = 2;
  document.layers[1].name = "Film";
  EXPECT_NE(sentence(exportScene(document, source, codec, {}).error()).find("Film is missing"),
            std::string::npos);
}

}  // namespace
}  // namespace vantorel
