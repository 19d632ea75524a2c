#pragma once

#include <mutex>

#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

struct HeifModule;

/// Picture files through the usual libraries. A PNG file is filtered and compressed in parallel.
/// HEIC sits in a module of its own, which is loaded when first needed and may be missing.
class LinuxImageCodec final : public ImageCodec {
 public:
  /// Looks for modules in ../lib/vantorel beside the program's folder.
  LinuxImageCodec();

  explicit LinuxImageCodec(Path moduleFolder);

  Result<std::string> encode(const Image& image, const ImageEncoding& encoding) const override;
  Result<std::string> encodeIndexedPNG(const IndexedImage& image,
                                       const ImageEncoding& encoding) const override;
  bool canHold(ExportFormat format, PixelSize size) const override;

 private:
  [[nodiscard]] Result<Image> decodeFrame(std::string_view bytes, int frameIndex) const override;
  [[nodiscard]] Result<PictureHeader> frameHeader(const PictureBytes& bytes,
                                                  int frameIndex) const override;
  [[nodiscard]] Result<const HeifModule*> heif() const;

  Path moduleFolder_;
  mutable std::mutex loading_;
  mutable const HeifModule* heif_ = nullptr;
};

}  // namespace vantorel
