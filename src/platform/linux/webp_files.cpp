#include "platform/linux/webp_files.hpp"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "base/check.hpp"
#include "platform/image_codec.hpp"
#include "platform/linux/exif.hpp"
#include "platform/linux/picture_limits.hpp"
#include "platform/linux/pixel_rows.hpp"

namespace vantorel {
namespace {

std::unexpected<Failure> notMade() {
  return failed(FailureKind::other, "the WebP file could not be made");
}

/// What composing a frame may cost, in pixels of the canvas for each frame up to it: a thousand
/// full-HD frames, a dozen seconds for a file made to be slow.
constexpr std::uint64_t maximumComposedPixels = 1ULL << 31;
/// What the smallest frame counts: finding a frame takes longer the more are before it.
constexpr std::uint64_t minimumFramePixels = 1ULL << 18;

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

std::uint32_t numberAt(std::string_view bytes, std::size_t at, std::size_t length) {
  std::uint32_t number = 0;
  for (std::size_t i = length; i-- > 0;) {
    number = number << 8 | static_cast<std::uint8_t>(bytes[at + i]);
  }
  return number;
}

/// What stands in a file beside its pictures.
struct WebPHeader {
  PixelSize size;  // as stored
  int frames = 1;
  bool isAnimation = false;
  Orientation orientation = upright;
};

/// A file with more than a picture: its chunks in a row, from the first on.
Result<WebPHeader> extendedHeader(const PictureBytes& bytes, std::string_view start) {
  constexpr std::uint64_t firstChunk = 30;
  constexpr int maximumChunks = 1'000'000;  // looked at: of a file made to be slow
  if (numberAt(start, 4, 4) + std::uint64_t{8} > bytes.size()) return notWhole();
  const std::uint32_t features = numberAt(start, 20, 1);
  WebPHeader header;
  header.isAnimation = (features & 0x02U) != 0;
  const bool hasExif = (features & 0x08U) != 0;
  header.size = VT_TRY(decodableSize(numberAt(start, 24, 3) + 1, numberAt(start, 27, 3) + 1));
  if (!header.isAnimation && !hasExif) return header;
  header.frames = header.isAnimation ? 0 : 1;
  std::uint64_t at = firstChunk;
  for (int count = 0; count < maximumChunks; ++count) {
    const std::string head = VT_TRY(bytes.read(at, 8));
    if (head.size() < 8) break;
    const std::uint64_t size = numberAt(head, 4, 4);
    if (head.starts_with("ANMF") && header.isAnimation) ++header.frames;
    if (head.starts_with("EXIF") && hasExif) {
      header.orientation = orientationIn(
          VT_TRY(bytes.read(at + 8, std::min<std::uint64_t>(size, maximumExifBytes))));
    }
    at += 8 + size + size % 2;
  }
  return header;
}

Result<WebPBitstreamFeatures> featuresOf(std::string_view bytes) {
  WebPBitstreamFeatures features;
  const auto [data, size] = dataOf(bytes);
  if (WebPGetFeatures(data, size, &features) != VP8_STATUS_OK) return notWhole();
  return features;
}

Result<WebPHeader> headerOf(const PictureBytes& bytes, int frameIndex) {
  const std::string start = VT_TRY(bytes.read(0, 64));
  WebPHeader header;
  if (start.size() >= 30 && start.substr(12, 4) == "VP8X") {
    header = VT_TRY(extendedHeader(bytes, start));
  } else {
    const WebPBitstreamFeatures features = VT_TRY(featuresOf(start));
    header.size = VT_TRY(decodableSize(features.width, features.height));
  }
  if (frameIndex >= header.frames) return frameNotFound(frameIndex);
  if (!header.isAnimation) return header;
  const auto pixels = static_cast<std::uint64_t>(header.size.width) *
                      static_cast<std::uint64_t>(header.size.height);
  const auto frames = static_cast<std::uint64_t>(frameIndex) + 1;
  if (frames * std::max(pixels, minimumFramePixels) > maximumComposedPixels) {
    return failed(FailureKind::tooLarge, "the frame lies too far into the animation");
  }
  return header;
}

/// The file with EXIF data that tell when it was made.
Result<std::string> withTime(std::string_view webp, double createdAt) {
  const std::unique_ptr<WebPMux, void (*)(WebPMux*)> mux(WebPMuxNew(), WebPMuxDelete);
  const std::string exif = exifWithTime(createdAt);
  const WebPData picture = dataOf(webp);
  const WebPData remark = dataOf(exif);
  WebPData made;
  WebPDataInit(&made);
  const bool isMade = mux != nullptr && WebPMuxSetImage(mux.get(), &picture, 0) == WEBP_MUX_OK &&
                      WebPMuxSetChunk(mux.get(), "EXIF", &remark, 0) == WEBP_MUX_OK &&
                      WebPMuxAssemble(mux.get(), &made) == WEBP_MUX_OK;
  const std::unique_ptr<WebPData, decltype(&WebPDataClear)> owned(&made, WebPDataClear);
  if (!isMade) return notMade();
  return std::string(reinterpret_cast<const char*>(made.bytes), made.size);
}

Result<Image> readAnimation(std::string_view bytes, PixelSize size, int frameIndex) {
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

}  // namespace

Result<std::string> writeWebP(const Image& image, const ImageEncoding& encoding) {
  WebPConfig config;
  VT_CHECK(WebPConfigInit(&config) != 0);
  config.quality = static_cast<float>(std::clamp(encoding.quality, 0.0, 1.0) * 100);
  config.method = effort;
  config.thread_level = 1;
  Writer writer;
  if (!import(writer.picture, image) || WebPEncode(&config, &writer.picture) == 0) {
    return notMade();
  }
  const std::string_view webp(reinterpret_cast<const char*>(writer.bytes.mem), writer.bytes.size);
  if (!encoding.createdAt) return std::string(webp);
  return withTime(webp, *encoding.createdAt);
}

Result<Image> readWebP(std::string_view bytes, int frameIndex) {
  const WebPHeader header = VT_TRY(headerOf(PictureInMemory(bytes), frameIndex));
  if (header.isAnimation) {
    return turned(VT_TRY(readAnimation(bytes, header.size, frameIndex)), header.orientation);
  }
  WebPDecoderConfig config;
  VT_CHECK(WebPInitDecoderConfig(&config) != 0);
  config.input = VT_TRY(featuresOf(bytes));
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
  return turned(std::move(picture).finish(), header.orientation);
}

Result<PictureHeader> webpHeader(const PictureBytes& bytes, int frameIndex) {
  const WebPHeader header = VT_TRY(headerOf(bytes, frameIndex));
  return PictureHeader{.format = ExportFormat::webp,
                       .size = turned(header.size, header.orientation),
                       .isAnimated = header.frames > 1};
}

}  // namespace vantorel
