#include "platform/linux/png_stripes_reader.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <random>
#include <string>

#include "platform/linux/linux_image_codec.hpp"

namespace vantorel {
namespace {

std::string bigEndianNumber(std::uint32_t number) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift & 0xFF);
  return bytes;
}

std::uint32_t bigEndianNumberAt(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (const char c : bytes.substr(at, 4)) number = number << 8 | static_cast<std::uint8_t>(c);
  return number;
}

std::string sumOf(std::string_view typeAndContent) {
  return bigEndianNumber(
      static_cast<std::uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(typeAndContent.data()),
                                       static_cast<uInt>(typeAndContent.size()))));
}

/// The same picture with a remark, which makes it a file for the other reader.
std::string withRemark(const std::string& png) {
  const std::string chunk("tEXtTitle\0x", 11);
  return png.substr(0, 33) + bigEndianNumber(static_cast<std::uint32_t>(chunk.size() - 4)) + chunk +
         sumOf(chunk) + png.substr(33);
}

/// Stripes of flat areas, of a gradient and of noise, so that every filter is used, and some
/// stripes build on the one before them.
Image stripedPicture(PixelFormat format) {
  MutableImage image({900, 1500}, format);
  std::minstd_rand random(7);
  for (int y = 0; y < 1500; ++y) {
    const auto row = image.row(y);
    for (std::size_t x = 0; x < 900; ++x) {
      const unsigned kind = static_cast<unsigned>(y) / 250 % 3;
      const unsigned alpha = format == PixelFormat::bgrx ? 255 : 100 + x % 100;
      for (std::size_t channel = 0; channel < 3; ++channel) {
        const unsigned value = kind == 0   ? (x / 30 % 2 != 0 ? 200U : 40U)
                               : kind == 1 ? static_cast<unsigned>(x / 5 + channel) + random() % 3
                                           : static_cast<unsigned>(y) % 256;
        row[4 * x + channel] = static_cast<std::uint8_t>(value % 256 * alpha / 255);
      }
      row[4 * x + 3] = static_cast<std::uint8_t>(alpha);
    }
  }
  return std::move(image).finish();
}

bool isSame(const Image& a, const Image& b) {
  if (a.size() != b.size() || a.format() != b.format()) return false;
  for (int y = 0; y < a.height(); ++y) {
    if (std::memcmp(a.row(y).data(), b.row(y).data(), a.row(y).size()) != 0) return false;
  }
  return true;
}

TEST(PNGStripesReaderTest, TheProgramsOwnFilesGiveTheSamePixelsAsAnyReader) {
  const LinuxImageCodec codec;
  for (const PixelFormat format : {PixelFormat::bgrx, PixelFormat::bgraPremultiplied}) {
    for (const PNGEffort effort : {PNGEffort::fast, PNGEffort::small}) {
      const std::string png =
          codec.encode(stripedPicture(format), {.pngEffort = effort, .createdAt = 1e9}).value();
      const auto striped = readStripedPNG(png);
      ASSERT_TRUE(striped);
      EXPECT_FALSE(readStripedPNG(withRemark(png))) << "another maker's";
      EXPECT_TRUE(isSame(*striped, codec.decode(withRemark(png)).value()));
    }
  }
}

TEST(PNGStripesReaderTest, DamagedFilesAreLeftToTheOtherReader) {
  const LinuxImageCodec codec;
  const Image picture = stripedPicture(PixelFormat::bgrx);
  const std::string png = codec.encode(picture, {}).value();
  std::minstd_rand random(11);
  for (int round = 0; round < 60; ++round) {
    std::string damaged = png;
    damaged[8 + random() % (png.size() - 8)] ^= static_cast<char>(1 + random() % 255);
    EXPECT_FALSE(readStripedPNG(damaged)) << round;
    EXPECT_FALSE(readStripedPNG(png.substr(0, random() % png.size()))) << round;
  }
  // Where whoever did it made the checksums right.
  for (int round = 0; round < 60; ++round) {
    std::string damaged;
    std::string_view rest = png;
    damaged += rest.substr(0, 8);
    rest.remove_prefix(8);
    while (!rest.empty()) {
      const std::size_t size = bigEndianNumberAt(rest, 0);
      std::string content(rest.substr(4, size + 4));
      if (content.starts_with("IDAT") && random() % 3 == 0) {
        for (int i = 0; i < 3; ++i) {
          content[4 + random() % size] ^= static_cast<char>(random() % 256);
        }
      }
      damaged += rest.substr(0, 4);
      damaged += content + sumOf(content);
      rest.remove_prefix(size + 12);
    }
    const auto read = readStripedPNG(damaged);
    EXPECT_TRUE(!read || isSame(*read, picture)) << round;
  }
}

}  // namespace
}  // namespace vantorel
