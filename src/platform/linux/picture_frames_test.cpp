#include <gmock/gmock.h>
#include <libheif/heif.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <cstring>
#include <random>

#include "platform/linux/linux_image_codec.hpp"

namespace vantorel {
namespace {

using Painter = std::function<std::uint32_t(int x, int y)>;  // 0xAARRGGBB, not multiplied

constexpr PixelSize canvas = {48, 32};

/// What each frame of the animation looks like. The colours of glass (alpha 51) are multiples of 5,
/// so that multiplied by alpha they are still whole numbers.
const std::vector<Painter>& scenes() {
  static const Painter start = [](int x, int y) {
    if (y >= 24) return 0x00000000U;  // seen through
    return 0xFF000000U | static_cast<std::uint32_t>(x * 5) << 16 | static_cast<std::uint32_t>(y);
  };
  static const Painter blue = [](int x, int y) {
    return x >= 6 && x < 16 && y >= 4 && y < 10 ? 0xFF1020F0U : start(x, y);
  };
  static const Painter glass = [](int x, int y) {
    return x >= 30 && x < 40 && y >= 20 && y < 28 ? 0x33FF6432U : blue(x, y);
  };
  static const Painter hole = [](int x, int y) {
    return x >= 20 && x < 32 && y >= 12 && y < 22 ? 0x00000000U : glass(x, y);
  };
  static const std::vector<Painter> all = {start, blue, glass, hole};
  return all;
}

std::string animation(const std::vector<Painter>& frames) {
  WebPAnimEncoderOptions options;
  WebPAnimEncoderOptionsInit(&options);
  WebPAnimEncoder* const encoder = WebPAnimEncoderNew(canvas.width, canvas.height, &options);
  WebPConfig config;
  WebPConfigInit(&config);
  config.lossless = 1;
  config.exact = 1;
  int milliseconds = 0;
  for (const Painter& paint : frames) {
    WebPPicture picture;
    WebPPictureInit(&picture);
    picture.use_argb = 1;
    picture.width = canvas.width;
    picture.height = canvas.height;
    EXPECT_TRUE(WebPPictureAlloc(&picture));
    for (int y = 0; y < canvas.height; ++y) {
      for (int x = 0; x < canvas.width; ++x) {
        picture.argb[y * picture.argb_stride + x] = paint(x, y);
      }
    }
    EXPECT_TRUE(WebPAnimEncoderAdd(encoder, &picture, milliseconds, &config));
    WebPPictureFree(&picture);
    milliseconds += 100;
  }
  EXPECT_TRUE(WebPAnimEncoderAdd(encoder, nullptr, milliseconds, nullptr));
  WebPData data;
  WebPDataInit(&data);
  EXPECT_TRUE(WebPAnimEncoderAssemble(encoder, &data)) << WebPAnimEncoderGetError(encoder);
  std::string bytes(reinterpret_cast<const char*>(data.bytes), data.size);
  WebPDataClear(&data);
  WebPAnimEncoderDelete(encoder);
  return bytes;
}

/// How many of the file's frames cover less than the canvas.
int partialFrames(std::string_view bytes) {
  const WebPData data = {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
  WebPDemuxer* const demuxer = WebPDemux(&data);
  WebPIterator frame;
  int partial = 0;
  if (WebPDemuxGetFrame(demuxer, 1, &frame) != 0) {
    do {
      if (frame.width < canvas.width) ++partial;
    } while (WebPDemuxNextFrame(&frame) != 0);
  }
  WebPDemuxReleaseIterator(&frame);
  WebPDemuxDelete(demuxer);
  return partial;
}

std::uint32_t premultiplied(std::uint32_t argb) {
  const std::uint32_t alpha = argb >> 24;
  std::uint32_t pixel = alpha << 24;
  for (int shift = 0; shift < 24; shift += 8) {
    pixel |= (argb >> shift & 0xFF) * alpha / 255 << shift;
  }
  return pixel;
}

int wrongPixels(const Image& image, const Painter& expected) {
  EXPECT_EQ(image.format(), PixelFormat::bgraPremultiplied);
  int wrong = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, image.row(y).data() + static_cast<std::ptrdiff_t>(x) * 4, 4);
      if (pixel != premultiplied(expected(x, y))) ++wrong;
    }
  }
  return wrong;
}

std::string littleEndian(std::size_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> 8 * i & 0xFF);
  return text;
}

std::string chunk(std::string_view name, const std::string& content) {
  std::string bytes = std::string(name) + littleEndian(content.size(), 4) + content;
  if (content.size() % 2 != 0) bytes += '\0';
  return bytes;
}

/// An animation of `frames` frames, each of which draws one pixel and costs 40 bytes or so.
std::string sparseAnimation(PixelSize size, int frames) {
  const std::uint8_t dot[] = {0x10, 0x20, 0x30, 0xFF};
  std::uint8_t* made = nullptr;
  const std::size_t length = WebPEncodeLosslessBGRA(dot, 1, 1, 4, &made);
  const std::string picture(reinterpret_cast<const char*>(made) + 12, length - 12);
  WebPFree(made);
  const auto less = [](int side) { return littleEndian(static_cast<std::size_t>(side - 1), 3); };
  std::string body = "WEBP";
  body += chunk("VP8X", "\x12" + std::string(3, '\0') + less(size.width) + less(size.height));
  body += chunk("ANIM", std::string(6, '\0'));
  const std::string frame = chunk("ANMF", std::string(12, '\0') + std::string(4, '\0') + picture);
  for (int i = 0; i < frames; ++i) body += frame;
  return "RIFF" + littleEndian(body.size(), 4) + body;
}

struct Still {
  PixelSize size;
  std::array<std::uint8_t, 3> colour;  ///< red, green, blue
};

/// The plain pictures in one file, `primary` of them the one to be shown.
std::string heicFile(const std::vector<Still>& stills, std::size_t primary) {
  heif_context* const context = heif_context_alloc();
  heif_encoder* encoder = nullptr;
  heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder);
  heif_encoder_set_parameter_string(encoder, "preset", "ultrafast");
  for (std::size_t i = 0; i < stills.size(); ++i) {
    const auto& [size, colour] = stills[i];
    heif_image* image = nullptr;
    heif_image_create(size.width, size.height, heif_colorspace_RGB, heif_chroma_interleaved_RGB,
                      &image);
    heif_image_add_plane(image, heif_channel_interleaved, size.width, size.height, 8);
    int stride = 0;
    std::uint8_t* const rows = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        std::memcpy(
            rows + static_cast<std::ptrdiff_t>(y) * stride + static_cast<std::ptrdiff_t>(x) * 3,
            colour.data(), 3);
      }
    }
    heif_image_handle* handle = nullptr;
    const heif_error error = heif_context_encode_image(context, image, encoder, nullptr, &handle);
    EXPECT_EQ(error.code, heif_error_Ok) << error.message;
    if (i == primary) heif_context_set_primary_image(context, handle);
    heif_image_handle_release(handle);
    heif_image_release(image);
  }
  std::string bytes;
  heif_writer writer{.writer_api_version = 1,
                     .write = [](heif_context*, const void* data, std::size_t size, void* to) {
                       static_cast<std::string*>(to)->append(static_cast<const char*>(data), size);
                       return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
                     }};
  EXPECT_EQ(heif_context_write(context, &writer, &bytes).code, heif_error_Ok);
  heif_encoder_release(encoder);
  heif_context_free(context);
  return bytes;
}

std::string heicTriple() {
  return heicFile({{{64, 48}, {220, 20, 20}}, {{80, 32}, {20, 220, 20}}, {{32, 72}, {20, 20, 220}}},
                  1);
}

void expectNoFrame(const std::string& bytes, int frameIndex) {
  const LinuxImageCodec codec;
  SCOPED_TRACE(frameIndex);
  const auto picture = codec.decode(bytes, frameIndex);
  ASSERT_FALSE(picture.has_value());
  EXPECT_EQ(picture.error().kind, FailureKind::notFound);
  EXPECT_EQ(picture.error().reason,
            "the picture has no frame with the index " + std::to_string(frameIndex));
  EXPECT_EQ(codec.header(bytes, frameIndex).error().kind, FailureKind::notFound);
}

TEST(PictureFramesTest, AFrameOfAnAnimationIsTheWholePictureAtItsTime) {
  const LinuxImageCodec codec;
  const std::string bytes = animation(scenes());
  EXPECT_EQ(partialFrames(bytes), 3) << "all but the first are to be composed";
  // Backwards: no frame may lean on one that was read before.
  for (int i = static_cast<int>(scenes().size()) - 1; i >= 0; --i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(codec.header(bytes, i)->format, ExportFormat::webp);
    EXPECT_EQ(codec.pixelSize(bytes, i).value(), canvas);
    const auto frame = codec.decode(bytes, i);
    ASSERT_TRUE(frame.has_value()) << frame.error().reason;
    ASSERT_EQ(frame->size(), canvas);
    EXPECT_EQ(wrongPixels(*frame, scenes()[static_cast<std::size_t>(i)]), 0);
  }
  EXPECT_EQ(wrongPixels(codec.decode(bytes).value(), scenes()[0]), 0);
}

TEST(PictureFramesTest, ImagesOfAHEICFileFollowThePrimaryOne) {
  const LinuxImageCodec codec;
  const std::string bytes = heicTriple();
  const std::vector<std::pair<PixelSize, int>> expected = {
      {{80, 32}, 1}, {{64, 48}, 2}, {{32, 72}, 0}};  // size and the channel that is bright
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    const auto& [size, bright] = expected[static_cast<std::size_t>(i)];
    EXPECT_EQ(codec.pixelSize(bytes, i).value(), size);
    const Image picture = codec.decode(bytes, i).value();
    ASSERT_EQ(picture.size(), size);
    const auto middle = picture.row(size.height / 2).subspan(4 * std::size_t(size.width) / 2, 3);
    for (int channel = 0; channel < 3; ++channel) {
      EXPECT_NEAR(middle[static_cast<std::size_t>(channel)], channel == bright ? 220 : 20, 12);
    }
  }
  EXPECT_EQ(codec.decode(bytes).value().size(), expected[0].first);
}

TEST(PictureFramesTest, AFrameThatIsNotThereIsNotFound) {
  const LinuxImageCodec codec;
  const Image image = MutableImage({20, 10}, PixelFormat::bgrx).finish();
  std::vector<std::pair<std::string, int>> files = {{animation(scenes()), 4}, {heicTriple(), 3}};
  for (const ExportFormat format :
       {ExportFormat::png, ExportFormat::jpeg, ExportFormat::webp, ExportFormat::heic}) {
    files.emplace_back(codec.encode(image, {.format = format}).value(), 1);
  }
  for (const auto& [bytes, frames] : files) {
    SCOPED_TRACE(displayName(codec.header(bytes)->format));
    for (const int index : {-1, frames, frames + 1, std::numeric_limits<int>::max(),
                            std::numeric_limits<int>::min()}) {
      expectNoFrame(bytes, index);
    }
  }
}

TEST(PictureFramesTest, WhatWouldTakeTooLongOrTooMuchIsRefusedAtOnce) {
  const LinuxImageCodec codec;
  const auto kind = [&](const std::string& bytes, int frameIndex) {
    const auto picture = codec.decode(bytes, frameIndex);
    EXPECT_EQ(codec.pixelSize(bytes, frameIndex).has_value(), picture.has_value());
    return picture ? std::optional<FailureKind>() : picture.error().kind;
  };
  const std::string far = sparseAnimation({4, 3}, 20'000);
  EXPECT_EQ(kind(far, 0), std::nullopt);
  EXPECT_EQ(kind(far, 500), std::nullopt);
  EXPECT_EQ(kind(far, 19'999), FailureKind::tooLarge);
  EXPECT_EQ(kind(far, 20'000), FailureKind::notFound);
  // Thousands of canvases of half a gigabyte, in a small file.
  const std::string wide = sparseAnimation({16'000, 8'000}, 4'000);
  EXPECT_EQ(kind(wide, 3'999), FailureKind::tooLarge);
  EXPECT_EQ(kind(wide, 4'000), FailureKind::notFound);
  EXPECT_EQ(kind(sparseAnimation({16'383, 16'383}, 2), 0), FailureKind::tooLarge);
}

TEST(PictureFramesTest, DamagedFilesAreRefusedWhateverTheFrame) {
  const LinuxImageCodec codec;
  for (const std::string& whole : {animation(scenes()), heicTriple()}) {
    SCOPED_TRACE(displayName(codec.header(whole)->format));
    for (std::size_t length = 0; length + 20 < whole.size(); length += 1 + whole.size() / 60) {
      const auto refused = codec.decode(std::string_view(whole).substr(0, length), 2);
      ASSERT_FALSE(refused.has_value()) << length;
      EXPECT_EQ(refused.error().kind, FailureKind::malformed) << length;
    }
    std::mt19937 random(7);
    for (int round = 0; round < 100; ++round) {
      std::string bent = whole;
      bent[random() % bent.size()] ^= static_cast<char>(1 + random() % 255);
      for (int frame = 0; frame < 4; ++frame) {
        const auto picture = codec.decode(bent, frame);  // any answer that fits the header
        if (!picture) continue;
        EXPECT_EQ(codec.pixelSize(bent, frame).value(), picture->size());
      }
    }
  }
}

}  // namespace
}  // namespace vantorel
