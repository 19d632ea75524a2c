#pragma once

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/image.hpp"
#include "base/result.hpp"
#include "capture/records/export_format.hpp"
#include "platform/files.hpp"
#include "platform/picture_bytes.hpp"

namespace vantorel {

enum class PNGEffort {
  fast,   ///< the wait counts: staging, clipboard
  small,  ///< size counts: background passes
};

struct ImageEncoding {
  ExportFormat format = ExportFormat::png;
  double quality = 0.9;       ///< 0 to 1, for the lossy formats
  double pixelsPerPoint = 1;  ///< written as the resolution where the format has a place for it
  PNGEffort pngEffort = PNGEffort::fast;

  /// Written into the file as the local time of its making, without a zone: what the file's name
  /// says, and nothing more. Seconds since 1970-01-01 UTC.
  std::optional<double> createdAt = std::nullopt;
};

/// A picture of at most 256 colours.
struct IndexedImage {
  /// Red, green, blue (not multiplied by alpha), alpha.
  using Colour = std::array<std::uint8_t, 4>;

  PixelSize size;
  std::vector<Colour> palette;        ///< 1 to 256
  std::vector<std::uint8_t> indices;  ///< into `palette`, row by row from the top
};

/// What a picture file says of itself before its pixels.
struct PictureHeader {
  ExportFormat format = ExportFormat::png;
  PixelSize size;  ///< as `decode` gives it: upright
  bool hasPalette = false;
  bool isAnimated = false;  ///< has several frames that are shown one after the other
};

/// How a codec says that a picture file has no frame `frameIndex`.
[[nodiscard]] inline std::unexpected<Failure> frameNotFound(int frameIndex) {
  return failed(FailureKind::notFound,
                fmt::format("the picture has no frame with the index {}", frameIndex));
}

/// Reads and writes picture files. Any thread; calls block for as long as the work takes.
///
/// What is read is one frame, told by its index. Index 0 is the picture that the file shows first,
/// and most files have no other; frames are never written.
/// - Animated WebP: the frames in the order of time. A frame is the whole canvas as it is seen at
///   that time, composed over the earlier ones; where none has drawn yet it is transparent. All
///   frames have the canvas's size. Frames are composed from the first, so one far into a long
///   animation (beyond the first thousand of full HD, fewer the larger the canvas) is `tooLarge`.
/// - HEIC: the images that the file holds side by side, each of a size of its own: the primary one
///   first, wherever it lies, then the others in the file's order. Thumbnails, masks and tiles of
///   a larger image are no frames; an image sequence (a film) has only its still images.
/// - PNG, JPEG: frame 0 only.
///
/// Pictures come upright: a turn or a mirroring that the file asks for (by EXIF, in HEIC by its own
/// properties) has been carried out, in sizes too, and is never written again. Colours are taken
/// for sRGB unless a PNG file names another gamma; CMYK becomes RGB without a profile. Memory is
/// bounded by what the pixels need, whatever else a file holds or promises.
///
/// Failures: `tooLarge` (the format cannot hold the pixel size, or a picture is too large to be
/// decoded), `notFound` (the file has no such frame), `unsupported` (a codec is not installed),
/// `malformed` (undecodable bytes), `other`.
class ImageCodec {
 public:
  virtual ~ImageCodec() = default;

  [[nodiscard]] virtual Result<std::string> encode(const Image& image,
                                                   const ImageEncoding& encoding) const = 0;

  /// A PNG file with a palette.
  [[nodiscard]] virtual Result<std::string> encodeIndexedPNG(
      const IndexedImage& image, const ImageEncoding& encoding) const = 0;

  /// Any of the four formats, told by the first bytes.
  [[nodiscard]] Result<Image> decode(std::string_view bytes, int frameIndex = 0) const {
    if (frameIndex < 0) return frameNotFound(frameIndex);
    return decodeFrame(bytes, frameIndex);
  }

  /// What the file says of a frame without its pixels being decoded.
  [[nodiscard]] Result<PictureHeader> header(const PictureBytes& bytes, int frameIndex = 0) const {
    if (frameIndex < 0) return frameNotFound(frameIndex);
    return frameHeader(bytes, frameIndex);
  }
  [[nodiscard]] Result<PictureHeader> header(std::string_view bytes, int frameIndex = 0) const {
    return header(PictureInMemory(bytes), frameIndex);
  }

  /// The pixel size from the header alone.
  [[nodiscard]] Result<PixelSize> pixelSize(std::string_view bytes, int frameIndex = 0) const {
    return VT_TRY(header(bytes, frameIndex)).size;
  }

  /// The same of a file, of which no more than the header is read.
  [[nodiscard]] Result<PixelSize> pixelSize(const Files& files, const Path& path,
                                            int frameIndex = 0) const {
    const auto file = files.open(path);
    if (!file) {
      const auto status = files.status(path);
      if (!status || status->type != FileType::link) return std::unexpected(file.error());
      return pixelSize(VT_TRY(files.read(path, maximumLinkedBytes)), frameIndex);
    }
    const std::uint64_t size = VT_TRY((*file)->status()).size;
    return VT_TRY(header(PictureOnDisk(*file, size), frameIndex)).size;
  }

  /// True when `size` is within what `format` can hold.
  [[nodiscard]] virtual bool canHold(ExportFormat format, PixelSize size) const = 0;

 private:
  static constexpr std::uint64_t maximumLinkedBytes = 512ULL << 20;

  /// `decode` and `header` with an index that is not negative.
  [[nodiscard]] virtual Result<Image> decodeFrame(std::string_view bytes, int frameIndex) const = 0;
  [[nodiscard]] virtual Result<PictureHeader> frameHeader(const PictureBytes& bytes,
                                                          int frameIndex) const = 0;
};

}  // namespace vantorel
