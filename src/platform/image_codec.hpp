#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/image.hpp"
#include "base/result.hpp"
#include "capture/records/export_format.hpp"

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
  PixelSize size;
  bool hasPalette = false;
};

/// Reads and writes picture files. Any thread; calls block for as long as the work takes.
///
/// Failures: `tooLarge` (the format cannot hold the pixel size, or a picture is too large to be
/// decoded), `unsupported` (a codec is not installed), `malformed` (undecodable bytes), `other`.
class ImageCodec {
 public:
  virtual ~ImageCodec() = default;

  [[nodiscard]] virtual Result<std::string> encode(const Image& image,
                                                   const ImageEncoding& encoding) const = 0;

  /// A PNG file with a palette.
  [[nodiscard]] virtual Result<std::string> encodeIndexedPNG(const IndexedImage& image,
                                                             double pixelsPerPoint) const = 0;

  /// Any of the four formats, told by the first bytes.
  [[nodiscard]] virtual Result<Image> decode(std::string_view bytes) const = 0;

  /// What the header alone tells.
  [[nodiscard]] virtual Result<PictureHeader> header(std::string_view bytes) const = 0;

  /// The pixel size from the header alone.
  [[nodiscard]] Result<PixelSize> pixelSize(std::string_view bytes) const {
    return VT_TRY(header(bytes)).size;
  }

  /// True when `size` is within what `format` can hold.
  [[nodiscard]] virtual bool canHold(ExportFormat format, PixelSize size) const = 0;
};

}  // namespace vantorel
