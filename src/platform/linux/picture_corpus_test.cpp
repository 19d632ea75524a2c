#include <gmock/gmock.h>
#include <png.h>
#include <turbojpeg.h>
#include <webp/mux.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>

#include "platform/linux/linux_image_codec.hpp"

// Pictures as other programs make them.

namespace vantorel {
namespace {

std::string bigEndian(std::size_t value, int bytes) {
  std::string text;
  for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> 8 * i & 0xFF);
  return text;
}

std::string pngChunk(const std::string& type, const std::string& content) {
  const std::string covered = type + content;
  const auto sum =
      crc32(0, reinterpret_cast<const Bytef*>(covered.data()), static_cast<uInt>(covered.size()));
  return bigEndian(content.size(), 4) + covered + bigEndian(sum, 4);
}

/// Puts a chunk behind the PNG file's header, or in front of its end.
std::string withChunk(std::string png, const std::string& chunk, bool atEnd = false) {
  return png.insert(atEnd ? png.size() - 12 : 33, chunk);
}

/// EXIF data with a few entries, one of them the orientation, in either byte order.
std::string exifData(int orientation, bool isBigEndian) {
  const auto number = [&](std::size_t value, int bytes) {
    std::string text = bigEndian(value, bytes);
    if (!isBigEndian) std::ranges::reverse(text);
    return text;
  };
  std::string exif = (isBigEndian ? "MM" : "II") + number(42, 2) + number(8, 4) + number(2, 2);
  exif += number(0x0100, 2) + number(4, 2) + number(1, 4) + number(7, 4);
  exif += number(0x0112, 2) + number(3, 2) + number(1, 4);
  exif += number(static_cast<std::size_t>(orientation), 2) + number(0, 2) + number(0, 4);
  return exif;
}

std::string jpegWithExif(std::string jpeg, const std::string& exif) {
  const std::string content = std::string("Exif\0\0", 6) + exif;
  return jpeg.insert(20, "\xFF\xE1" + bigEndian(content.size() + 2, 2) + content);
}

std::string webpWithExif(const std::string& webp, const std::string& exif) {
  const auto data = [](const std::string& bytes) {
    return WebPData{reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
  };
  const WebPData picture = data(webp);
  const WebPData remark = data(exif);
  WebPMux* const mux = WebPMuxCreate(&picture, 1);
  WebPMuxSetChunk(mux, "EXIF", &remark, 1);
  WebPData made;
  WebPDataInit(&made);
  EXPECT_EQ(WebPMuxAssemble(mux, &made), WEBP_MUX_OK);
  std::string bytes(reinterpret_cast<const char*>(made.bytes), made.size);
  WebPDataClear(&made);
  WebPMuxDelete(mux);
  return bytes;
}

/// A wide picture whose quarters are red and green above, blue and white below.
Image quarters() {
  MutableImage image({64, 32}, PixelFormat::bgrx);
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 64; ++x) {
      std::uint8_t* const pixel = image.row(y).data() + std::ptrdiff_t{4} * x;
      const bool isLeft = x < 32;
      const bool isTop = y < 16;
      pixel[0] = isTop ? 0 : 255;
      pixel[1] = isLeft ? 0 : 255;
      pixel[2] = isLeft == isTop ? 255 : 0;
    }
  }
  return std::move(image).finish();
}

/// The colours of the quarters, row by row.
std::string letters(const Image& image) {
  std::string found;
  for (const int v : {1, 3}) {
    for (const int h : {1, 3}) {
      const auto pixel =
          image.row(image.height() * v / 4).subspan(std::size_t(image.width() * h / 4) * 4);
      const bool blue = pixel[0] > 128;
      const bool green = pixel[1] > 128;
      const bool red = pixel[2] > 128;
      found += red && green && blue ? 'w' : red ? 'r' : green ? 'g' : blue ? 'b' : '?';
    }
  }
  return found;
}

TEST(PictureCorpusTest, PicturesComeUprightFromEveryFormat) {
  const LinuxImageCodec codec;
  const Image image = quarters();
  // As the standard's own picture of the eight ways has it.
  const std::array<std::string, 8> seen = {"rgbw", "grwb", "wbgr", "bwrg",
                                           "rbgw", "brwg", "wgbr", "gwrb"};
  const auto encoded = [&](ExportFormat format) {
    return codec.encode(image, {.format = format, .quality = 1}).value();
  };
  const std::string png = encoded(ExportFormat::png);
  const std::string jpeg = encoded(ExportFormat::jpeg);
  const std::string webp = encoded(ExportFormat::webp);
  for (int orientation = 1; orientation <= 8; ++orientation) {
    const std::string exif = exifData(orientation, orientation % 2 == 0);
    const std::vector<std::string> files = {withChunk(png, pngChunk("eXIf", exif)),
                                            withChunk(png, pngChunk("eXIf", exif), true),
                                            jpegWithExif(jpeg, exif), webpWithExif(webp, exif)};
    for (const std::string& bytes : files) {
      const Image back = codec.decode(bytes).value();
      EXPECT_EQ(letters(back), seen[std::size_t(orientation) - 1]) << orientation;
      EXPECT_EQ(codec.pixelSize(bytes).value(), back.size());
      EXPECT_EQ(back.width(), orientation < 5 ? 64 : 32);
      const std::string again = codec.encode(back, {.format = ExportFormat::jpeg}).value();
      EXPECT_EQ(letters(codec.decode(again).value()), letters(back));
    }
  }
  for (const std::string& broken : {std::string("II"), std::string("MM\0*\xFF\xFF\xFF\xFF", 8),
                                    exifData(9, false), exifData(6, true).substr(0, 30)}) {
    EXPECT_EQ(letters(codec.decode(jpegWithExif(jpeg, broken)).value()), "rgbw");
    EXPECT_EQ(letters(codec.decode(withChunk(png, pngChunk("eXIf", broken))).value()), "rgbw");
  }
}

struct PNGKind {
  int depth;
  int colourType;
  bool isInterlaced;
  std::optional<double> gamma = std::nullopt;
};

/// A row of shades from the darkest to the brightest the depth has, or 64 of them; as high as wide.
std::string shadesPNG(const PNGKind& kind, int shades) {
  std::string bytes;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(
      png, &bytes,
      [](png_structp from, png_bytep data, std::size_t size) {
        static_cast<std::string*>(png_get_io_ptr(from))
            ->append(reinterpret_cast<const char*>(data), size);
      },
      nullptr);
  const auto side = static_cast<png_uint_32>(shades);
  png_set_IHDR(png, info, side, side, kind.depth, kind.colourType,
               kind.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  std::vector<png_color> palette;
  for (int i = 0; i < shades; ++i) {
    const auto level = static_cast<png_byte>(255 * i / (shades - 1));
    palette.push_back({level, level, level});
  }
  if (kind.colourType == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, palette.data(), shades);
  if (kind.gamma) png_set_gAMA(png, info, *kind.gamma);
  png_write_info(png, info);
  png_set_packing(png);
  const int passes = png_set_interlace_handling(png);
  const int most = (1 << kind.depth) - 1;
  std::string row;
  for (int x = 0; x < shades; ++x) {
    const bool isIndex = kind.colourType == PNG_COLOR_TYPE_PALETTE;
    const int level = isIndex ? x : most * x / (shades - 1);
    const bool isGrey = (kind.colourType & PNG_COLOR_MASK_COLOR) == 0 || isIndex;
    const std::string sample = bigEndian(std::size_t(level), kind.depth == 16 ? 2 : 1);
    for (int i = 0; i < (isGrey ? 1 : 3); ++i) row += sample;
    if ((kind.colourType & PNG_COLOR_MASK_ALPHA) != 0) row.append(sample.size(), '\xFF');
  }
  // Every second row is its neighbour mirrored, so that rows that are mixed up are noticed.
  const std::size_t pixelBytes = row.size() / side;
  std::string mirrored;
  for (std::size_t x = side; x-- > 0;) mirrored += row.substr(x * pixelBytes, pixelBytes);
  for (int pass = 0; pass < passes; ++pass) {
    for (int y = 0; y < shades; ++y) {
      const std::string& now = y % 2 == 0 ? row : mirrored;
      png_write_row(png, reinterpret_cast<png_const_bytep>(now.data()));
    }
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return bytes;
}

TEST(PictureCorpusTest, EveryKindOfPNGHasItsShades) {
  const LinuxImageCodec codec;
  std::vector<PNGKind> kinds;
  for (const bool isInterlaced : {false, true}) {
    for (const int depth : {1, 2, 4, 8}) {
      kinds.push_back({depth, PNG_COLOR_TYPE_GRAY, isInterlaced});
      kinds.push_back({depth, PNG_COLOR_TYPE_PALETTE, isInterlaced});
    }
    for (const int depth : {8, 16}) {
      for (const int type :
           {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_GA, PNG_COLOR_TYPE_RGBA}) {
        kinds.push_back({depth, type, isInterlaced});
        kinds.push_back({depth, type, isInterlaced, 1 / 2.2});
      }
    }
  }
  for (const PNGKind& kind : kinds) {
    const int shades = std::min(1 << kind.depth, 64);
    const Image image = codec.decode(shadesPNG(kind, shades)).value();
    ASSERT_EQ(image.size(), (PixelSize{shades, shades}));
    for (int y = 0; y < shades; ++y) {
      for (int x = 0; x < shades; ++x) {
        const double level = 255.0 * (y % 2 == 0 ? x : shades - 1 - x) / (shades - 1);
        for (std::size_t channel = 0; channel < 3; ++channel) {
          ASSERT_NEAR(image.row(y)[std::size_t(x) * 4 + channel], level, 1)
              << kind.depth << " bits, type " << kind.colourType << ", " << x << "," << y;
        }
      }
    }
  }
  const Image linear = codec.decode(shadesPNG({16, PNG_COLOR_TYPE_GRAY, false, 1.0}, 64)).value();
  EXPECT_NEAR(linear.row(0)[std::size_t{4} * 27], 174, 2) << "gamma that a file names counts";
}

TEST(PictureCorpusTest, RemarksOfAnyLengthCostNothing) {
  const LinuxImageCodec codec;
  const std::string png = codec.encode(quarters(), {}).value();
  // Promises a gigabyte that does not follow.
  const std::string promising = png.substr(0, 33) + bigEndian(1 << 30, 4) + "tEXt" + "12345678";
  EXPECT_EQ(codec.pixelSize(promising).value(), (PixelSize{64, 32}));
  EXPECT_EQ(codec.decode(promising).error().kind, FailureKind::malformed);
  const std::string wordy = withChunk(png, pngChunk("iCCP", "x" + std::string(3 << 20, '\0')));
  EXPECT_EQ(letters(codec.decode(wordy).value()), "rgbw");

  /// A large file of which is known how much was read.
  struct Counted final : PictureBytes {
    std::string bytes;
    mutable std::uint64_t read_ = 0;
    explicit Counted(std::string all) : bytes(std::move(all)) {}
    [[nodiscard]] std::uint64_t size() const override { return bytes.size(); }
    [[nodiscard]] Result<std::string> read(std::uint64_t offset,
                                           std::uint64_t length) const override {
      read_ += length;
      return PictureInMemory(bytes).read(offset, length);
    }
  };
  MutableImage noise({900, 700}, PixelFormat::bgrx);
  std::uint32_t seed = 1;
  for (int y = 0; y < 700; ++y) {
    for (std::uint8_t& byte : noise.row(y))
      byte = static_cast<std::uint8_t>((seed *= 69069U) >> 24);
  }
  const Image image = std::move(noise).finish();
  for (const ExportFormat format : {ExportFormat::png, ExportFormat::jpeg, ExportFormat::webp}) {
    std::string bytes = codec.encode(image, {.format = format, .createdAt = 1e9}).value();
    if (format == ExportFormat::png)
      bytes = withChunk(bytes, pngChunk("tEXt", std::string(9 << 20, 'x')));
    const Counted file(bytes);
    EXPECT_EQ(codec.header(file)->size, image.size());
    EXPECT_LT(file.read_, 5000U) << displayName(format) << " of " << bytes.size();
  }
}

TEST(PictureCorpusTest, JPEGsForPrintersAndWithSmallFaultsAreRead) {
  const LinuxImageCodec codec;
  const std::array<std::uint8_t, 8> inks = {255, 100, 50, 255, 200, 200, 200, 128};  // inverted
  std::vector<std::uint8_t> pixels;
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 32; ++x)
      pixels.insert(pixels.end(), inks.begin() + (x < 16 ? 0 : 4), inks.begin() + (x < 16 ? 4 : 8));
  }
  const tjhandle session = tjInitCompress();
  unsigned char* made = nullptr;
  unsigned long size = 0;
  ASSERT_EQ(
      tjCompress2(session, pixels.data(), 32, 0, 32, TJPF_CMYK, &made, &size, TJSAMP_444, 100, 0),
      0);
  const std::string cmyk(reinterpret_cast<const char*>(made), size);
  tjFree(made);
  tjDestroy(session);
  const Image printed = codec.decode(cmyk).value();
  const auto colour = [&](std::size_t x) {
    const auto pixel = printed.row(8).subspan(4 * x);
    return std::vector<int>{pixel[2], pixel[1], pixel[0]};
  };
  EXPECT_THAT(colour(4),
              testing::Pointwise(testing::Truly([](const auto& pair) {
                                   return std::abs(std::get<0>(pair) - std::get<1>(pair)) < 4;
                                 }),
                                 {255, 100, 50}));
  EXPECT_NEAR(colour(24)[1], 100, 3);

  std::string jpeg = codec.encode(quarters(), {.format = ExportFormat::jpeg}).value();
  EXPECT_EQ(letters(codec.decode(jpeg.substr(0, jpeg.size() - 2)).value()), "rgbw") << "no end";
  EXPECT_EQ(letters(codec.decode(jpeg + std::string(100, 'x')).value()), "rgbw");
  jpeg.insert(jpeg.size() - 2, "\x11\x22\x33");
  EXPECT_EQ(letters(codec.decode(jpeg).value()), "rgbw") << "extraneous bytes";
  for (std::size_t length = 2; length < jpeg.size() - 12; ++length) {
    ASSERT_FALSE(codec.decode(jpeg.substr(0, length)).has_value()) << length;
  }
}

TEST(PictureCorpusTest, FilesSayWhenTheyWereMadeAndNothingElse) {
  const LinuxImageCodec codec;
  const Image image = quarters();
  const double moment = 1'772'373'909;  // 2026-03-01 14:05:09 UTC
  const std::string before = std::getenv("TZ") == nullptr ? "" : std::getenv("TZ");
  ::setenv("TZ", "UTC0", 1);
  for (const ExportFormat format :
       {ExportFormat::png, ExportFormat::jpeg, ExportFormat::webp, ExportFormat::heic}) {
    SCOPED_TRACE(displayName(format));
    const std::string bytes = codec.encode(image, {.format = format, .createdAt = moment}).value();
    EXPECT_THAT(bytes, testing::HasSubstr("2026:03:01 14:05:09"));
    EXPECT_EQ(letters(codec.decode(bytes).value()), "rgbw");
    const std::string silent = codec.encode(image, {.format = format}).value();
    EXPECT_THAT(silent, testing::Not(testing::HasSubstr("2026")));
  }
  const IndexedImage indexed{.size = {1, 1}, .palette = {{1, 2, 3, 255}}, .indices = {0}};
  EXPECT_THAT(codec.encodeIndexedPNG(indexed, {.createdAt = moment}).value(),
              testing::HasSubstr("2026:03:01 14:05:09"));
  if (before.empty()) {
    ::unsetenv("TZ");
  } else {
    ::setenv("TZ", before.c_str(), 1);
  }
}

TEST(PictureCorpusTest, HEICTakesPicturesOfEveryLevel) {
  const LinuxImageCodec codec;
  for (const PixelSize size : {PixelSize{2048, 1088}, PixelSize{2400, 1000}, PixelSize{4300, 40}}) {
    const Image image = MutableImage(size, PixelFormat::bgrx).finish();
    const std::string heic =
        codec.encode(image, {.format = ExportFormat::heic, .createdAt = 1e9}).value();
    EXPECT_EQ(heic.substr(8, 4), "heic");
    const auto back = codec.decode(heic);
    ASSERT_TRUE(back.has_value()) << size.width << ": " << back.error().reason;
    EXPECT_EQ(back->size(), size);
  }
}

TEST(PictureCorpusTest, AnimationsAreKnown) {
  const LinuxImageCodec codec;
  const std::string png = codec.encode(quarters(), {}).value();
  const auto isAnimated = [&](std::size_t frames) {
    return codec.header(withChunk(png, pngChunk("acTL", bigEndian(frames, 4) + bigEndian(0, 4))))
        ->isAnimated;
  };
  EXPECT_FALSE(codec.header(png)->isAnimated);
  EXPECT_FALSE(isAnimated(1));
  EXPECT_TRUE(isAnimated(2));
}

}  // namespace
}  // namespace vantorel
