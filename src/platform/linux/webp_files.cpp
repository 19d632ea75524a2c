#include "platform/linux/webp_files.hpp"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "base/check.hpp"
#include "platform/image_codec.hpp"
#include "platform/linux/picture_limits.hpp"
#include "platform/linux/pixel_rows.hpp"

namespace vantorel {
namespace {

/// What composing a frame may cost, in pixels of the canvas for each frame up to it: a thousand
/// full-HD frames, a dozen seconds for a file made to be slow.
constexpr std::uint64_t mostComposedPixels = 1ULL << 31;
/// What the smallest frame counts: finding a frame takes longer the more are before it.
constexpr std::uint64_t leastFramePixels = 1ULL << 18;

constexpr int effort = 2;  // of 0 to 6: 4 takes twice as long for 2 % less

struct Writer {
  WebPPicture picture;
  WebPMemoryWriter bytes;

  Writer() {
    VT_CHECK(WebPPictureInit(&picture) != 0);
    WebPMemoryWriterInit(&bytes);
    picture.writer = WebPMemoryWrite;
    picture.custom_ptr = &bytes;
  }
  ~Writer() {
    WebPPictureFree(&picture);
    WebPMemoryWriterClear(&bytes);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
};

bool import(WebPPicture& picture, const Image& image) {
  picture.width = image.width();
  picture.height = image.height();
  if (isOpaque(image)) {
    return WebPPictureImportBGRX(&picture, image.row(0).data(), static_cast<int>(image.stride())) !=
           0;
  }
  const auto stride = static_cast<std::size_t>(image.width()) * 4;
  std::vector<std::uint8_t> pixels(stride * static_cast<std::size_t>(image.height()));
  for (int y = 0; y < image.height(); ++y) {
    packRow(image, y, {pixels.data() + static_cast<std::size_t>(y) * stride, stride});
  }
  return WebPPictureImportRGBA(&picture, pixels.data(), static_cast<int>(stride)) != 0;
}

std::unexpected<Failure> notWhole() {
  return failed(FailureKind::malformed, "it is not a whole WebP picture");
}

WebPData dataOf(std::string_view bytes) {
  return {.bytes = reinterpret_cast<const std::uint8_t*>(bytes.data()), .size = bytes.size()};
}

/// The canvas of an animation that has the frame; nothing is decoded.
Result<PixelSize> animationSize(std::string_view bytes, int frameIndex) {
  const WebPData data = dataOf(bytes);
  const std::unique_ptr<WebPDemuxer, void (*)(WebPDemuxer*)> demuxer(WebPDemux(&data),
                                                                     WebPDemuxDelete);
  if (demuxer == nullptr) return notWhole();
  const auto tell = [&](WebPFormatFeature feature) -> std::uint64_t {
    return WebPDemuxGetI(demuxer.get(), feature);
  };
  const auto frames = static_cast<std::uint64_t>(frameIndex) + 1;
  if (frames > tell(WEBP_FF_FRAME_COUNT)) return frameNotFound(frameIndex);
  const std::uint64_t width = tell(WEBP_FF_CANVAS_WIDTH);
  const std::uint64_t height = tell(WEBP_FF_CANVAS_HEIGHT);
  const PixelSize size =
      VT_TRY(decodableSize(static_cast<std::int64_t>(width), static_cast<std::int64_t>(height)));
  if (frames * std::max(width * height, leastFramePixels) > mostComposedPixels) {
    return failed(FailureKind::tooLarge, "the frame lies too far into the animation");
  }
  return size;
}

Result<Image> readAnimation(std::string_view bytes, int frameIndex) {
  const PixelSize size = VT_TRY(animationSize(bytes, frameIndex));
  WebPAnimDecoderOptions options;
  VT_CHECK(WebPAnimDecoderOptionsInit(&options) != 0);
  options.color_mode = MODE_bgrA;
  const WebPData data = dataOf(bytes);
  const std::unique_ptr<WebPAnimDecoder, void (*)(WebPAnimDecoder*)> decoder(
      WebPAnimDecoderNew(&data, &options), WebPAnimDecoderDelete);
  if (decoder == nullptr) return failed(FailureKind::other, "there is not enough memory");
  const std::uint8_t* canvas = nullptr;
  for (int i = 0; i <= frameIndex; ++i) {
    std::uint8_t* composed = nullptr;
    int milliseconds = 0;
    if (WebPAnimDecoderGetNext(decoder.get(), &composed, &milliseconds) == 0) return notWhole();
    canvas = composed;
  }
  MutableImage picture(size, PixelFormat::bgraPremultiplied);
  std::memcpy(picture.row(0).data(), canvas,
              picture.stride() * static_cast<std::size_t>(size.height));
  return std::move(picture).finish();
}

Result<WebPBitstreamFeatures> featuresOf(std::string_view bytes) {
  WebPBitstreamFeatures features;
  const auto [data, size] = dataOf(bytes);
  if (WebPGetFeatures(data, size, &features) != VP8_STATUS_OK) return notWhole();
  return features;
}

}  // namespace

Result<std::string> writeWebP(const Image& image, double quality) {
  WebPConfig config;
  VT_CHECK(WebPConfigInit(&config) != 0);
  config.quality = static_cast<float>(std::clamp(quality, 0.0, 1.0) * 100);
  config.method = effort;
  config.thread_level = 1;
  Writer writer;
  if (!import(writer.picture, image) || WebPEncode(&config, &writer.picture) == 0) {
    return failed(FailureKind::other, "the WebP file could not be made");
  }
  return std::string(reinterpret_cast<const char*>(writer.bytes.mem), writer.bytes.size);
}

Result<Image> readWebP(std::string_view bytes, int frameIndex) {
  WebPDecoderConfig config;
  VT_CHECK(WebPInitDecoderConfig(&config) != 0);
  config.input = VT_TRY(featuresOf(bytes));
  if (config.input.has_animation != 0) return readAnimation(bytes, frameIndex);
  if (frameIndex > 0) return frameNotFound(frameIndex);
  const PixelSize size = VT_TRY(decodableSize(config.input.width, config.input.height));
  const bool translucent = config.input.has_alpha != 0;
  MutableImage picture(size, translucent ? PixelFormat::bgraPremultiplied : PixelFormat::bgrx);
  config.output.colorspace = translucent ? MODE_bgrA : MODE_BGRA;
  config.output.is_external_memory = 1;
  config.output.u.RGBA = {.rgba = picture.row(0).data(),
                          .stride = static_cast<int>(picture.stride()),
                          .size = picture.stride() * static_cast<std::size_t>(size.height)};
  const auto status =
      WebPDecode(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), &config);
  WebPFreeDecBuffer(&config.output);
  if (status != VP8_STATUS_OK) return notWhole();
  return std::move(picture).finish();
}

Result<PixelSize> webpSize(std::string_view bytes, int frameIndex) {
  const WebPBitstreamFeatures features = VT_TRY(featuresOf(bytes));
  if (features.has_animation != 0) return animationSize(bytes, frameIndex);
  if (frameIndex > 0) return frameNotFound(frameIndex);
  return decodableSize(features.width, features.height);
}

}  // namespace vantorel
