#include "capture/indexed_png_encoder.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace vantorel {
namespace {

using Painter = std::function<std::uint32_t(int x, int y)>;  // the bytes as they lie, b g r a

Image painted(PixelSize size, PixelFormat format, const Painter& pixel) {
  MutableImage image(size, format);
  for (int y = 0; y < size.height; ++y) {
    const auto row = image.row(y);
    for (int x = 0; x < size.width; ++x) {
      const std::uint32_t value = pixel(x, y);
      std::memcpy(row.data() + static_cast<std::ptrdiff_t>(x) * 4, &value, 4);
    }
  }
  return std::move(image).finish();
}

IndexedImage::Colour colourAt(const IndexedPNGEncoder& encoder, int x, int y) {
  const IndexedImage& image = encoder.image();
  return image.palette[image.indices[static_cast<std::size_t>(y) *
                                         static_cast<std::size_t>(image.size.width) +
                                     static_cast<std::size_t>(x)]];
}

std::uint32_t noise(int x, int y) {
  const std::uint32_t hash = static_cast<std::uint32_t>(x * 7919 + y * 104'729) * 0x9E3779B1U;
  return hash ^ hash >> 15;
}

TEST(IndexedPNGEncoderTest, FewColoursStayExactlyAsTheyAre) {
  const Image image = painted({64, 16}, PixelFormat::bgrx, [](int x, int y) {
    return static_cast<std::uint32_t>(x / 4 + y * 16) * 0x010101U ^ 0x55000000U;
  });
  const IndexedPNGEncoder encoder(image);
  EXPECT_EQ(encoder.image().palette.size(), 256U) << "the fourth byte has no meaning";
  EXPECT_TRUE(std::isinf(encoder.decibels()));
  EXPECT_FALSE(encoder.isTranslucent());
  EXPECT_EQ(colourAt(encoder, 9, 3), (IndexedImage::Colour{50, 50, 50, 255}));

  // Half-transparent red, a shadow and nothing at all.
  const Image glass = painted({30, 3}, PixelFormat::bgraPremultiplied, [](int, int y) {
    return y == 0 ? 0x80800000U : y == 1 ? 0x40000000U : 0U;
  });
  const IndexedPNGEncoder clear(glass);
  EXPECT_TRUE(clear.isTranslucent());
  EXPECT_TRUE(std::isinf(clear.decibels()));
  EXPECT_EQ(colourAt(clear, 0, 0), (IndexedImage::Colour{255, 0, 0, 128}));
  EXPECT_EQ(colourAt(clear, 0, 1), (IndexedImage::Colour{0, 0, 0, 64}));
  EXPECT_EQ(colourAt(clear, 0, 2), (IndexedImage::Colour{0, 0, 0, 0}));
}

TEST(IndexedPNGEncoderTest, FlatAreasKeepTheirColourAmongThousandsOfOthers) {
  // So much white that 32 bits could not hold the sum, beside all kinds of nearly white.
  const Image image = painted({4096, 2200}, PixelFormat::bgrx, [](int x, int y) -> std::uint32_t {
    if (y >= 40) return x < 3000 ? 0xFFFFFF : 0x1E2328;
    return (noise(x, y) & 0x0F0F0F) | 0xF0F0F0;
  });
  const IndexedPNGEncoder encoder(image);
  EXPECT_EQ(encoder.image().palette.size(), 256U);
  EXPECT_EQ(colourAt(encoder, 100, 2000), (IndexedImage::Colour{255, 255, 255, 255}));
  EXPECT_EQ(colourAt(encoder, 4000, 2000), (IndexedImage::Colour{0x1E, 0x23, 0x28, 255}));
  EXPECT_GT(encoder.decibels(), 50);
}

TEST(IndexedPNGEncoderTest, PhotographsComeAsCloseAsAPaletteCan) {
  const Image gradient = painted({64, 64}, PixelFormat::bgrx, [](int x, int y) {
    const auto red = static_cast<std::uint32_t>(x * 255 / 63);
    const auto green = static_cast<std::uint32_t>(y * 255 / 63);
    return red << 16 | green << 8 | 80;
  });
  // 16 by 16 even squares of 16 colours each would make 36.8 dB.
  EXPECT_GT(IndexedPNGEncoder(gradient).decibels(), 35);

  // More colours than are ever told apart: gathered, not refused.
  const Image grains =
      painted({200, 180}, PixelFormat::bgrx, [](int x, int y) { return noise(x, y) & 0x7F7F7F; });
  EXPECT_GT(IndexedPNGEncoder(grains).decibels(), 19);

  // A fading shadow over clear glass never tints what is opaque.
  const Image faded = painted({256, 60}, PixelFormat::bgraPremultiplied, [](int x, int y) {
    if (y < 20) return 0xFF000000 | (noise(x, y) & 0x1F1F1F);
    return static_cast<std::uint32_t>(x) << 24 | static_cast<std::uint32_t>(x * y / 200);
  });
  const IndexedPNGEncoder shadow(faded);
  EXPECT_TRUE(shadow.isTranslucent());
  for (int x = 0; x < 256; ++x) ASSERT_EQ(colourAt(shadow, x, 10)[3], 255);
  EXPECT_GT(shadow.decibels(), 25);
}

}  // namespace
}  // namespace vantorel
