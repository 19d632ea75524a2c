#include "platform/linux/heif/heif_module.hpp"

#include <libheif/heif.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "platform/image_codec.hpp"
#include "platform/linux/exif.hpp"
#include "platform/linux/heif/derived_images.hpp"
#include "platform/linux/picture_limits.hpp"
#include "platform/linux/pixel_rows.hpp"

namespace vantorel {
namespace {

/// Owns something libheif made, with the function that frees it.
template <class T>
using Owned = std::unique_ptr<T, void (*)(T*)>;

template <class T>
void releaseHandle(const T* handle) {
  heif_image_handle_release(handle);
}

using Context = Owned<heif_context>;

std::unexpected<Failure> failure(FailureKind kind, const heif_error& error) {
  return failed(kind, error.message);
}

/// More than the largest picture that may be decoded takes in good quality.
constexpr std::uint64_t maximumBytes = 128ULL << 20;

bool isOk(const heif_error& error) { return error.code == heif_error_Ok; }

Result<Owned<heif_image>> toHeif(const Image& image) {
  const bool opaque = isOpaque(image);
  heif_image* made = nullptr;
  heif_error error =
      heif_image_create(image.width(), image.height(), heif_colorspace_RGB,
                        opaque ? heif_chroma_interleaved_RGB : heif_chroma_interleaved_RGBA, &made);
  Owned<heif_image> picture(made, [](heif_image* old) { heif_image_release(old); });
  if (isOk(error)) {
    error = heif_image_add_plane(made, heif_channel_interleaved, image.width(), image.height(), 8);
  }
  if (!isOk(error)) return failure(FailureKind::other, error);
  int stride = 0;
  std::uint8_t* const rows = heif_image_get_plane(made, heif_channel_interleaved, &stride);
  const auto rowBytes = static_cast<std::size_t>(image.width()) * (opaque ? 3 : 4);
  for (int y = 0; y < image.height(); ++y) {
    packRow(image, y, {rows + static_cast<std::ptrdiff_t>(y) * stride, rowBytes});
  }
  return picture;
}

heif_error append(heif_context*, const void* bytes, std::size_t size, void* to) {
  try {
    static_cast<std::string*>(to)->append(static_cast<const char*>(bytes), size);
    return {heif_error_Ok, heif_suberror_Unspecified, ""};
  } catch (const std::bad_alloc&) {
    return {heif_error_Memory_allocation_error, heif_suberror_Unspecified, "memory ran out"};
  }
}

/// The encoder's scale is finer at its upper end than that of the other formats: its 65 is their
/// 0.9, and 90 takes two thirds more room for a decibel.
int encoderQuality(double quality) {
  const double wanted = std::clamp(quality, 0.0, 1.0);
  const double percent = wanted <= 0.9 ? wanted / 0.9 * 65 : 65 + (wanted - 0.9) / 0.1 * 35;
  return static_cast<int>(std::lround(percent));
}

Result<std::string> write(const Image& image, const ImageEncoding& encoding) {
  const Context context(heif_context_alloc(), heif_context_free);
  heif_encoder* found = nullptr;
  if (!isOk(heif_context_get_encoder_for_format(context.get(), heif_compression_HEVC, &found))) {
    return failed(FailureKind::unsupported, "HEIC support is not installed");
  }
  const Owned<heif_encoder> encoder(found, heif_encoder_release);
  heif_encoder_set_lossy_quality(found, encoderQuality(encoding.quality));
  // Color of half the resolution is what the brand "heic" promises and every reader takes. Large
  // blocks, divided for their residuals, take less time than the preset's own, and less room for
  // text. With none below 32 the encoder takes what lies beyond the edges of most pictures, which
  // nobody has written: the file would be of another size each time. Two threads over the rows take
  // half the time of one, six times that of a PNG at 1920x1080 and at 3840x2160; more of them wait
  // for each other on a busy machine.
  const std::pair<const char*, const char*> parameters[] = {
      {"preset", "ultrafast"},      {"chroma", "420"},
      {"x265:ctu", "32"},           {"x265:min-cu-size", "16"},
      {"x265:tu-intra-depth", "4"}, {"x265:rd", "1"},
      {"x265:pools", "2"},          {"x265:wpp", "1"},
      {"x265:frame-threads", "1"}};
  for (const auto& [name, value] : parameters) {
    heif_encoder_set_parameter_string(found, name, value);
  }
  const Owned<heif_image> picture = VT_TRY(toHeif(image));
  heif_image_handle* made = nullptr;
  heif_error error = heif_context_encode_image(context.get(), picture.get(), found, nullptr, &made);
  const Owned<const heif_image_handle> handle(made, releaseHandle<heif_image_handle>);
  if (isOk(error) && encoding.createdAt) {
    const std::string exif = exifWithTime(*encoding.createdAt);
    error = heif_context_add_exif_metadata(context.get(), made, exif.data(),
                                           static_cast<int>(exif.size()));
  }
  std::string bytes;
  heif_writer writer{.writer_api_version = 1, .write = append};
  if (isOk(error)) error = heif_context_write(context.get(), &writer, &bytes);
  if (!isOk(error)) return failure(FailureKind::other, error);
  return bytes;
}

struct Opened {
  Context context;
  Owned<const heif_image_handle> handle;
  PixelSize size;
};

Result<heif_item_id> besidePrimary(heif_context* context, int frameIndex) {
  heif_item_id primary = 0;
  const heif_error error = heif_context_get_primary_image_ID(context, &primary);
  if (!isOk(error)) return failure(FailureKind::malformed, error);
  std::vector<heif_item_id> others(
      static_cast<std::size_t>(heif_context_get_number_of_top_level_images(context)));
  heif_context_get_list_of_top_level_image_IDs(context, others.data(),
                                               static_cast<int>(others.size()));
  std::erase(others, primary);
  const auto place = static_cast<std::size_t>(frameIndex) - 1;
  if (place >= others.size()) return frameNotFound(frameIndex);
  return others[place];
}

Result<Owned<const heif_image_handle>> handleOf(heif_context* context, int frameIndex) {
  heif_image_handle* made = nullptr;
  const heif_error error = frameIndex == 0
                               ? heif_context_get_primary_image_handle(context, &made)
                               : heif_context_get_image_handle(
                                     context, VT_TRY(besidePrimary(context, frameIndex)), &made);
  Owned<const heif_image_handle> handle(made, releaseHandle<heif_image_handle>);
  if (!isOk(error)) return failure(FailureKind::malformed, error);
  return handle;
}

Result<Opened> open(std::string_view bytes, int frameIndex) {
  if (bytes.size() > maximumBytes) return failed(FailureKind::tooLarge, "the file is too large");
  if (!areDerivedImagesFinite(bytes)) {
    return failed(FailureKind::malformed, "it is made of itself");
  }
  Context context(heif_context_alloc(), heif_context_free);
  heif_context_set_maximum_image_size_limit(context.get(), 32768);
  const heif_error error = heif_context_read_from_memory_without_copy(context.get(), bytes.data(),
                                                                      bytes.size(), nullptr);
  if (!isOk(error)) return failure(FailureKind::malformed, error);
  auto handle = VT_TRY(handleOf(context.get(), frameIndex));
  const PixelSize size = VT_TRY(decodableSize(heif_image_handle_get_width(handle.get()),
                                              heif_image_handle_get_height(handle.get())));
  return Opened{std::move(context), std::move(handle), size};
}

Result<Image> read(std::string_view bytes, int frameIndex) {
  // libheif carries out the turns that the format knows itself; EXIF has no say in it.
  const Opened opened = VT_TRY(open(bytes, frameIndex));
  const bool translucent = heif_image_handle_has_alpha_channel(opened.handle.get()) != 0;
  heif_image* made = nullptr;
  const heif_error error = heif_decode_image(
      opened.handle.get(), &made, heif_colorspace_RGB,
      translucent ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, nullptr);
  const Owned<const heif_image> decoded(made, heif_image_release);
  if (!isOk(error)) return failure(FailureKind::malformed, error);

  int stride = 0;
  const std::uint8_t* const rows =
      heif_image_get_plane_readonly(made, heif_channel_interleaved, &stride);
  // The coded picture need not have the size that the file's header promised.
  const PixelSize size =
      VT_TRY(decodableSize(heif_image_get_width(made, heif_channel_interleaved),
                           heif_image_get_height(made, heif_channel_interleaved)));
  if (rows == nullptr || size != opened.size) {
    return failed(FailureKind::malformed, "it is not a whole HEIC picture");
  }
  MutableImage picture(size, translucent ? PixelFormat::bgraPremultiplied : PixelFormat::bgrx);
  const int bytesPerPixel = translucent ? 4 : 3;
  for (int y = 0; y < size.height; ++y) {
    unpackRow({rows + static_cast<std::ptrdiff_t>(y) * stride,
               static_cast<std::size_t>(size.width * bytesPerPixel)},
              bytesPerPixel, picture.row(y));
  }
  return std::move(picture).finish();
}

Result<PictureHeader> header(const PictureBytes& bytes, int frameIndex) {
  // The library looks at the coded pictures even for their sizes.
  const std::string whole = VT_TRY(bytes.read(0, std::min(bytes.size(), maximumBytes + 1)));
  const Opened opened = VT_TRY(open(whole, frameIndex));
  return PictureHeader{.format = ExportFormat::heic, .size = opened.size};
}

}  // namespace

extern "C" __attribute__((visibility("default"))) const HeifModule* vantorelHeifModule() {
  static constexpr HeifModule module{.write = write, .read = read, .header = header};
  return &module;
}

}  // namespace vantorel
