#pragma once

#include <optional>
#include <set>

#include "platform/image_codec.hpp"

namespace vantorel {

/// "Encodes" a picture as its format's name, its size and its pixels, so that what comes back is
/// what went in; JPEG leaves alpha out, and a palette makes files smaller as it should. Files one
/// behind the other are one file with as many frames. One thread.
class FakeImageCodec final : public ImageCodec {
 public:
  std::set<ExportFormat> broken;       ///< formats that fail
  std::optional<int> longestHeicSide;  ///< beyond it HEIC refuses
  std::set<ExportFormat> animated;     ///< formats whose files say that they are animations
  bool isHeicWasteful = false;         ///< HEIC files come larger than others

  [[nodiscard]] Result<std::string> encode(const Image& image,
                                           const ImageEncoding& encoding) const override;
  [[nodiscard]] Result<std::string> encodeIndexedPNG(const IndexedImage& image,
                                                     const ImageEncoding& encoding) const override;
  [[nodiscard]] bool canHold(ExportFormat format, PixelSize size) const override;

 private:
  [[nodiscard]] Result<Image> decodeFrame(std::string_view bytes, int frameIndex) const override;
  [[nodiscard]] Result<PictureHeader> frameHeader(const PictureBytes& bytes,
                                                  int frameIndex) const override;
};

}  // namespace vantorel
