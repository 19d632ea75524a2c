#pragma once

#include <string>

#include "base/image.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// A picture reduced to at most 256 colours, to be written as a PNG file with a palette: exactly
/// when it has no more, otherwise with colours that keep the squared error small. Areas of one flat
/// colour keep it. There is no dithering, which ruins both the look and the compression of screens.
class IndexedPNGEncoder {
 public:
  /// Reduces the picture; takes some tenths of a second for a 4K screen. Any thread.
  explicit IndexedPNGEncoder(const Image& image);

  /// Signal-to-noise ratio of the reduction in dB, colours multiplied by alpha; infinite when
  /// nothing was lost.
  [[nodiscard]] double decibels() const;

  [[nodiscard]] bool isTranslucent() const;
  [[nodiscard]] const IndexedImage& image() const { return image_; }

  [[nodiscard]] Result<std::string> encode(const ImageCodec& codec,
                                           const ImageEncoding& encoding) const;

 private:
  IndexedImage image_;
  double meanSquaredError_ = 0;
};

}  // namespace vantorel
