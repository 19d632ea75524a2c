#pragma once

#include <gtest/gtest.h>
#include <png.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "base/image.hpp"

// Comparing pictures with those kept under testing/golden. With VT_UPDATE_GOLDEN set the kept ones
// are written anew: look at each before it is committed.

namespace vantorel {

/// Tightly packed RGBA rows, not premultiplied.
inline std::vector<std::uint8_t> plainPixels(const Image& image) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(std::size_t(image.width()) * std::size_t(image.height()) * 4);
  for (int y = 0; y < image.height(); ++y) {
    const auto row = image.row(y);
    for (std::size_t i = 0; i < row.size(); i += 4) {
      const unsigned alpha = image.format() == PixelFormat::bgrx ? 255 : row[i + 3];
      for (const std::size_t part : {i + 2, i + 1, i}) {
        bytes.push_back(alpha == 0
                            ? std::uint8_t{0}
                            : static_cast<std::uint8_t>((row[part] * 255U + alpha / 2) / alpha));
      }
      bytes.push_back(static_cast<std::uint8_t>(alpha));
    }
  }
  return bytes;
}

inline void writePNG(const std::string& path, const Image& image) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(image.width());
  png.height = static_cast<png_uint_32>(image.height());
  png.format = PNG_FORMAT_RGBA;
  const std::vector<std::uint8_t> bytes = plainPixels(image);
  ASSERT_TRUE(png_image_write_to_file(&png, path.c_str(), 0, bytes.data(), 0, nullptr)) << path;
}

/// Fails when a pixel differs visibly from the kept picture: text engines of another version move
/// edges by fractions of a pixel, which a mean allows and a shifted or missing part does not.
inline void expectLooksLike(const std::string& name, const Image& image) {
  const std::string path = std::string(VT_GOLDEN_FOLDER) + "/" + name + ".png";
  if (std::getenv("VT_UPDATE_GOLDEN") != nullptr) writePNG(path, image);
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_file(&png, path.c_str())) << path;
  png.format = PNG_FORMAT_RGBA;
  std::vector<std::uint8_t> kept(PNG_IMAGE_SIZE(png));
  ASSERT_TRUE(png_image_finish_read(&png, nullptr, kept.data(), 0, nullptr)) << path;
  ASSERT_EQ(int(png.width), image.width()) << name;
  ASSERT_EQ(int(png.height), image.height()) << name;
  const std::vector<std::uint8_t> bytes = plainPixels(image);
  double sum = 0;
  std::size_t far = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int difference = std::abs(int(bytes[i]) - int(kept[i]));
    sum += difference;
    far += difference > 48 ? 1 : 0;
  }
  const bool alike = sum / double(bytes.size()) < 0.6 && double(far) / double(bytes.size()) < 0.004;
  if (!alike) writePNG("/tmp/vantorel-golden-" + name + ".png", image);
  EXPECT_TRUE(alike) << name << ": mean difference " << sum / double(bytes.size()) << ", " << far
                     << " bytes far off; see /tmp/vantorel-golden-" << name << ".png";
}

}  // namespace vantorel
