#include "platform/linux/webp_files.hpp"

#include <webp/decode.h>
#include <webp/encode.h>

#include <algorithm>
#include <vector>

#include "base/check.hpp"
#include "platform/linux/picture_limits.hpp"
#include "platform/linux/pixel_rows.hpp"

namespace vantorel {
namespace {

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

Result<PixelSize> readHeader(std::string_view bytes, WebPBitstreamFeatures& features) {
  if (WebPGetFeatures(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
                      &features) != VP8_STATUS_OK) {
    return failed(FailureKind::malformed, "it is not a whole WebP picture");
  }
  if (features.has_animation != 0) {
    return failed(FailureKind::malformed, "the WebP picture is animated");
  }
  return decodableSize(features.width, features.height);
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

Result<Image> readWebP(std::string_view bytes) {
  WebPDecoderConfig config;
  VT_CHECK(WebPInitDecoderConfig(&config) != 0);
  const PixelSize size = VT_TRY(readHeader(bytes, config.input));
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
  if (status != VP8_STATUS_OK) {
    return failed(FailureKind::malformed, "it is not a whole WebP picture");
  }
  return std::move(picture).finish();
}

Result<PixelSize> webpSize(std::string_view bytes) {
  WebPBitstreamFeatures features;
  return readHeader(bytes, features);
}

}  // namespace vantorel
