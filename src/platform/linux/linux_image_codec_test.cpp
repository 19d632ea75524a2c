#include "platform/linux/linux_image_codec.hpp"

#include <gmock/gmock.h>
#include <zlib.h>

#include <cmath>
#include <cstring>
#include <random>

// The HEVC encoder keeps a few buffers for ever.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming): the sanitizer's name
extern "C" const char* __lsan_default_suppressions() { return "leak:libx265\n"; }

namespace vantorel {
namespace {

using Painter = std::function<std::uint32_t(int x, int y)>;  // 0xAARRGGBB, not multiplied

Image painted(PixelSize size, PixelFormat format, const Painter& colour) {
  MutableImage image(size, format);
  for (int y = 0; y < size.height; ++y) {
    const auto row = image.row(y);
    for (int x = 0; x < size.width; ++x) {
      const std::uint32_t argb = colour(x, y);
      const std::uint32_t alpha = format == PixelFormat::bgrx ? 255 : argb >> 24;
      std::uint8_t* const pixel = row.data() + static_cast<std::ptrdiff_t>(x) * 4;
      for (int channel = 0; channel < 3; ++channel) {
        pixel[channel] =
            static_cast<std::uint8_t>(((argb >> 8 * channel & 0xFF) * alpha + 127) / 255);
      }
      pixel[3] = static_cast<std::uint8_t>(argb >> 24);
    }
  }
  return std::move(image).finish();
}

std::uint32_t noise(int x, int y) {
  std::uint32_t hash =
      static_cast<std::uint32_t>(x) * 0x9E3779B1U ^ static_cast<std::uint32_t>(y) * 0x85EBCA77U;
  hash = (hash ^ hash >> 15) * 0x2C1B3C6DU;
  return hash ^ hash >> 13;
}

/// Dark strokes on light paper, with a coloured word here and there.
std::uint32_t text(int x, int y) {
  const bool ink = y % 16 > 3 && y % 16 < 12 && noise(x / 2, y / 16 * 16 + y % 16 / 3) % 5 < 2;
  if (!ink) return 0xFFFAFAF5;
  return x / 90 % 4 == 0 ? 0xFFB02070 : 0xFF202428;
}

std::uint32_t sky(int x, int y) {
  const auto grain = static_cast<int>(noise(x, y) % 7);
  const auto red = static_cast<std::uint32_t>(60 + x / 9 % 128 + grain);
  const auto green = static_cast<std::uint32_t>(90 + y / 7 % 128 + grain);
  return 0xFF000000 | red << 16 | green << 8 | 200;
}

/// The colours a picture's viewer gets to see: without a meaning for the fourth byte of bgrx.
std::uint32_t pixelAt(const Image& image, int x, int y) {
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, image.row(y).data() + static_cast<std::ptrdiff_t>(x) * 4, 4);
  return image.format() == PixelFormat::bgrx ? pixel | 0xFF000000 : pixel;
}

bool samePixels(const Image& a, const Image& b) {
  if (a.size() != b.size()) return false;
  for (int y = 0; y < a.height(); ++y) {
    for (int x = 0; x < a.width(); ++x) {
      if (pixelAt(a, x, y) != pixelAt(b, x, y)) return false;
    }
  }
  return true;
}

double decibels(const Image& a, const Image& b) {
  EXPECT_EQ(a.size(), b.size());
  double sum = 0;
  for (int y = 0; y < a.height(); ++y) {
    for (std::size_t i = 0; i < a.row(y).size(); ++i) {
      if (i % 4 == 3) continue;
      const double error = a.row(y)[i] - b.row(y)[i];
      sum += error * error;
    }
  }
  const double pixels = static_cast<double>(a.width()) * a.height() * 3;
  return sum == 0 ? 99 : 10 * std::log10(255 * 255 * pixels / sum);
}

std::uint32_t number(std::string_view bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (const char c : bytes.substr(at, 4)) value = value << 8 | static_cast<unsigned char>(c);
  return value;
}

/// The chunks of a PNG file by type, those of one type joined; fails on a wrong checksum.
std::map<std::string, std::string> chunks(std::string_view png) {
  std::map<std::string, std::string> found;
  for (std::size_t at = 8; at + 12 <= png.size();) {
    const std::size_t length = number(png, at);
    const auto* const type = reinterpret_cast<const Bytef*>(png.data()) + at + 4;
    EXPECT_EQ(crc32(0, type, static_cast<uInt>(length + 4)), number(png, at + 8 + length));
    found[std::string(png.substr(at + 4, 4))] += png.substr(at + 8, length);
    at += 12 + length;
  }
  return found;
}

/// What the file holds once unpacked, by the one who is strict about the stream's own checksum.
std::size_t inflatedSize(const std::string& deflated, std::size_t expected) {
  std::string bytes(expected, '\0');
  uLongf size = expected;
  EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(bytes.data()), &size,
                       reinterpret_cast<const Bytef*>(deflated.data()), deflated.size()),
            Z_OK);
  return size;
}

TEST(LinuxImageCodecTest, PNGFilesHoldEveryPixelWhateverThePictureIsLike) {
  const LinuxImageCodec codec;
  const Painter shadow = [](int x, int y) { return noise(x, y) << 24 | 0x102030; };
  const Painter mixed = [](int x, int y) {
    return y < 100 ? text(x, y) : y < 200 ? sky(x, y) : noise(x, y);
  };
  struct Case {
    PixelSize size;
    PixelFormat format;
    Painter paint;
    bool opaque;
  };
  const std::vector<Case> cases = {
      {{1, 1}, PixelFormat::bgrx, text, true},
      {{1, 1}, PixelFormat::bgraPremultiplied, shadow, false},
      {{5, 2000}, PixelFormat::bgrx, noise, true},
      {{9000, 3}, PixelFormat::bgrx, sky, true},
      {{1283, 900}, PixelFormat::bgrx, text, true},
      {{640, 1300}, PixelFormat::bgrx, mixed, true},
      {{700, 700}, PixelFormat::bgraPremultiplied, noise, false},
      {{700, 700}, PixelFormat::bgraPremultiplied, shadow, false},
      {{700, 70}, PixelFormat::bgraPremultiplied, text, true},
  };
  for (const auto& [size, format, paint, opaque] : cases) {
    const Image image = painted(size, format, paint);
    for (const PNGEffort effort : {PNGEffort::fast, PNGEffort::small}) {
      const std::string png =
          codec.encode(image, {.pixelsPerPoint = 2, .pngEffort = effort}).value();
      const auto found = chunks(png);
      EXPECT_EQ(found.at("IHDR")[9], opaque ? 2 : 6);
      EXPECT_EQ(number(found.at("pHYs"), 0), 5669U) << "144 dots per inch";
      EXPECT_TRUE(found.contains("sRGB"));
      const auto expected = (static_cast<std::size_t>(size.width) * (opaque ? 3 : 4) + 1) *
                            static_cast<std::size_t>(size.height);
      EXPECT_EQ(inflatedSize(found.at("IDAT"), expected), expected);
      EXPECT_EQ(codec.pixelSize(png).value(), size);
      EXPECT_TRUE(samePixels(codec.decode(png).value(), image))
          << size.width << "x" << size.height << " effort " << static_cast<int>(effort);
    }
  }

  const Image whole = painted({300, 200}, PixelFormat::bgrx, mixed);
  const Image part = whole.cropped({17, 3, 200, 150});
  EXPECT_TRUE(samePixels(codec.decode(codec.encode(part, {}).value()).value(), part));
}

TEST(LinuxImageCodecTest, ThePNGFilterFollowsThePicture) {
  const LinuxImageCodec codec;
  const auto rowFilter = [&](const Painter& paint) {
    const Image image = painted({1000, 700}, PixelFormat::bgrx, paint);
    const auto found = chunks(codec.encode(image, {}).value());
    std::string first(1, '\0');
    z_stream stream{};
    inflateInit(&stream);
    std::string deflated = found.at("IDAT");
    stream.next_in = reinterpret_cast<Bytef*>(deflated.data());
    stream.avail_in = static_cast<uInt>(deflated.size());
    stream.next_out = reinterpret_cast<Bytef*>(first.data());
    stream.avail_out = 1;
    inflate(&stream, Z_NO_FLUSH);
    inflateEnd(&stream);
    return static_cast<int>(first[0]);
  };
  EXPECT_EQ(rowFilter(text), 0);
  EXPECT_NE(rowFilter(sky), 0);
}

TEST(LinuxImageCodecTest, IndexedPNGFilesKeepColoursAndTransparency) {
  const LinuxImageCodec codec;
  for (const int colours : {1, 2, 3, 16, 17, 256}) {
    IndexedImage image{.size = {61, 40}, .palette = {}, .indices = {}};
    for (int i = 0; i < colours; ++i) {
      const auto alpha = static_cast<std::uint8_t>(i % 3 == 1 ? 40 * i : 255);
      image.palette.push_back({static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(7 * i),
                               static_cast<std::uint8_t>(255 - i), alpha});
    }
    for (int i = 0; i < 61 * 40; ++i) {
      image.indices.push_back(
          static_cast<std::uint8_t>(noise(i, 1) % static_cast<unsigned>(colours)));
    }
    const std::string png = codec.encodeIndexedPNG(image, {}).value();
    EXPECT_EQ(chunks(png).at("IHDR")[9], 3);
    EXPECT_EQ(number(chunks(png).at("pHYs"), 0), 2835U) << "72 dots per inch";
    const Image expected = painted(image.size, PixelFormat::bgraPremultiplied, [&](int x, int y) {
      const auto [red, green, blue, alpha] =
          image.palette[image.indices[static_cast<std::size_t>(y) * 61 +
                                      static_cast<std::size_t>(x)]];
      return static_cast<std::uint32_t>(alpha) << 24 | static_cast<std::uint32_t>(red) << 16 |
             static_cast<std::uint32_t>(green) << 8 | blue;
    });
    EXPECT_TRUE(samePixels(codec.decode(png).value(), expected)) << colours;
  }
}

TEST(LinuxImageCodecTest, LossyFormatsComeBackAlikeInTheirSizeAndWithTheirTransparency) {
  const LinuxImageCodec codec;
  for (const PixelSize size : {PixelSize{1, 1}, PixelSize{333, 201}}) {
    const Image photo = painted(size, PixelFormat::bgrx, sky);
    const Image page = painted(size, PixelFormat::bgrx, text);
    const Image glass = painted(size, PixelFormat::bgraPremultiplied, [](int x, int y) {
      return (x / 20 % 2 == 0 ? 0x60000000U : 0xFF000000U) | (sky(x, y) & 0xFFFFFF);
    });
    for (const ExportFormat format : {ExportFormat::jpeg, ExportFormat::webp, ExportFormat::heic}) {
      SCOPED_TRACE(displayName(format));
      const auto back = [&](const Image& image, double quality) {
        const auto bytes =
            codec.encode(image, {.format = format, .quality = quality, .pixelsPerPoint = 2});
        EXPECT_TRUE(bytes.has_value()) << bytes.error().reason;
        EXPECT_EQ(codec.pixelSize(*bytes).value(), size);
        return codec.decode(*bytes).value();
      };
      EXPECT_GT(decibels(back(photo, 0.9), photo), 33);
      EXPECT_GT(decibels(back(page, 0.9), page), 20);
      const std::string whole = codec.encode(page, {.format = format}).value();
      for (int again = 0; again < 4; ++again) {
        EXPECT_TRUE(codec.encode(page, {.format = format}).value() == whole)
            << "a size that was told holds";
      }
      const Image through = back(glass, 0.9);
      if (format == ExportFormat::jpeg) {
        EXPECT_EQ(through.format(), PixelFormat::bgrx);
        // Blue 200 at alpha 96 of 255, over white.
        EXPECT_NEAR(through.row(0)[0], 200.0 * 96 / 255 + 159, 12);
      } else {
        EXPECT_EQ(through.format(), PixelFormat::bgraPremultiplied);
        EXPECT_NEAR(through.row(0)[3], 0x60, 6);
        EXPECT_GT(decibels(through, glass), 28);
      }
    }
    const std::string jpeg =
        codec.encode(photo, {.format = ExportFormat::jpeg, .pixelsPerPoint = 2}).value();
    EXPECT_EQ(jpeg.substr(13, 5), std::string("\x01\0\x90\0\x90", 5)) << "144 dots per inch";
  }
  const Image page = painted({400, 300}, PixelFormat::bgrx, text);
  const auto size = [&](double quality) {
    return codec.encode(page, {.format = ExportFormat::jpeg, .quality = quality})->size();
  };
  EXPECT_LT(size(0.5), size(0.8));
  EXPECT_LT(size(0.84) * 1.1, size(0.85)) << "from here colour keeps its full resolution";
}

TEST(LinuxImageCodecTest, RefusesWhatAFormatCannotHoldAndWhatMemoryCannot) {
  const LinuxImageCodec codec;
  const std::map<ExportFormat, int> longest = {{ExportFormat::png, 1'000'000},
                                               {ExportFormat::jpeg, 65'500},
                                               {ExportFormat::heic, 32'768},
                                               {ExportFormat::webp, 16'383}};
  for (const auto& [format, side] : longest) {
    SCOPED_TRACE(displayName(format));
    EXPECT_TRUE(codec.canHold(format, {side, 1}));
    EXPECT_FALSE(codec.canHold(format, {1, side + 1}));
    const auto refused =
        codec.encode(painted({1, side + 1}, PixelFormat::bgrx, text), {.format = format});
    EXPECT_EQ(refused.error().kind, FailureKind::tooLarge);
    if (format == ExportFormat::heic) continue;  // takes seconds at this size
    const Image tall = painted({1, side}, PixelFormat::bgrx, text);
    const auto bytes = codec.encode(tall, {.format = format});
    ASSERT_TRUE(bytes.has_value());
    EXPECT_EQ(codec.decode(*bytes).value().size(), tall.size());
  }

  // Small files that promise pictures of gigabytes.
  const Image small = painted({8, 8}, PixelFormat::bgrx, text);
  std::string png = codec.encode(small, {}).value();
  png.replace(16, 8, std::string("\0\0\xFF\xFF\0\0\xFF\xFF", 8));
  const auto sum = crc32(0, reinterpret_cast<const Bytef*>(png.data()) + 12, 17);
  for (int i = 0; i < 4; ++i)
    png[29 + static_cast<std::size_t>(i)] = static_cast<char>(sum >> (24 - 8 * i));
  std::string jpeg = codec.encode(small, {.format = ExportFormat::jpeg}).value();
  const std::size_t frame = jpeg.find("\xFF\xC0");
  ASSERT_NE(frame, std::string::npos);
  jpeg.replace(frame + 5, 4, "\xFF\xDC\xFF\xDC");
  std::string webp = codec.encode(small, {.format = ExportFormat::webp}).value();
  webp.replace(26, 4, "\xFF\x3F\xFF\x3F");
  for (const std::string& bytes : {png, jpeg, webp}) {
    EXPECT_EQ(codec.pixelSize(bytes).error().kind, FailureKind::tooLarge);
    EXPECT_EQ(codec.decode(bytes).error().kind, FailureKind::tooLarge);
  }
}

TEST(LinuxImageCodecTest, DamagedFilesAreRefusedAtEveryLength) {
  const LinuxImageCodec codec;
  const Image image = painted({90, 60}, PixelFormat::bgrx, sky);
  for (const ExportFormat format :
       {ExportFormat::png, ExportFormat::jpeg, ExportFormat::webp, ExportFormat::heic}) {
    SCOPED_TRACE(displayName(format));
    const std::string whole = codec.encode(image, {.format = format}).value();
    for (std::size_t length = 0; length + 20 < whole.size(); length += 1 + whole.size() / 60) {
      const auto refused = codec.decode(std::string_view(whole).substr(0, length));
      ASSERT_FALSE(refused.has_value()) << length;
      EXPECT_EQ(refused.error().kind, FailureKind::malformed) << length;
      EXPECT_FALSE(refused.error().reason.empty());
    }
    std::mt19937 random(1);
    for (int round = 0; round < 60; ++round) {
      std::string bent = whole;
      bent[random() % bent.size()] ^= static_cast<char>(1 + random() % 255);
      static_cast<void>(codec.decode(bent));  // any answer; no crash
      static_cast<void>(codec.pixelSize(bent));
    }
  }
  EXPECT_EQ(codec.decode("GIF89a is not taken").error().kind, FailureKind::malformed);
  EXPECT_EQ(codec.pixelSize("").error().kind, FailureKind::malformed);
}

TEST(LinuxImageCodecTest, WithoutItsModuleOnlyHEICIsMissing) {
  const LinuxImageCodec codec("/nowhere");
  const Image image = painted({20, 20}, PixelFormat::bgrx, text);
  const auto refused = codec.encode(image, {.format = ExportFormat::heic});
  EXPECT_EQ(refused.error().kind, FailureKind::unsupported);
  EXPECT_EQ(refused.error().reason, "HEIC support is not installed");
  const std::string heic = LinuxImageCodec().encode(image, {.format = ExportFormat::heic}).value();
  EXPECT_EQ(codec.decode(heic).error().kind, FailureKind::unsupported);
  EXPECT_TRUE(codec.encode(image, {.format = ExportFormat::webp}).has_value());
}

}  // namespace
}  // namespace vantorel
