#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "base/geometry.hpp"

namespace vantorel {

/// Four bytes a pixel, in memory order.
enum class PixelFormat {
  bgrx,               ///< blue, green, red and a byte without meaning: opaque
  bgraPremultiplied,  ///< blue, green, red multiplied by alpha, alpha
};

/// An immutable picture. Copies share the pixels; safe to hand to another thread.
class Image {
 public:
  Image() = default;

  /// Shares `pixels`: `height` rows, `stride` bytes apart, of 4 * `width` bytes each.
  Image(PixelSize size, std::size_t stride, PixelFormat format,
        std::shared_ptr<const std::uint8_t> pixels)
      : size_(size), stride_(stride), format_(format), pixels_(std::move(pixels)) {}

  [[nodiscard]] int width() const { return size_.width; }
  [[nodiscard]] int height() const { return size_.height; }
  [[nodiscard]] PixelSize size() const { return size_; }
  [[nodiscard]] std::size_t stride() const { return stride_; }
  [[nodiscard]] PixelFormat format() const { return format_; }
  [[nodiscard]] bool isEmpty() const { return pixels_ == nullptr; }

  /// The 4 * width() bytes of row `y`, 0 at the top.
  [[nodiscard]] std::span<const std::uint8_t> row(int y) const {
    return {pixels_.get() + static_cast<std::size_t>(y) * stride_,
            static_cast<std::size_t>(size_.width) * 4};
  }

  /// The part inside `rect`, which lies within the picture; shares the pixels.
  [[nodiscard]] Image cropped(const PixelRect& rect) const;

 private:
  PixelSize size_;
  std::size_t stride_ = 0;
  PixelFormat format_ = PixelFormat::bgrx;
  std::shared_ptr<const std::uint8_t> pixels_;
};

/// A picture being made. Starts as zero bytes, rows without padding.
class MutableImage {
 public:
  MutableImage(PixelSize size, PixelFormat format);

  [[nodiscard]] PixelSize size() const { return size_; }
  [[nodiscard]] std::size_t stride() const { return static_cast<std::size_t>(size_.width) * 4; }
  [[nodiscard]] std::span<std::uint8_t> row(int y) {
    return {pixels_.get() + static_cast<std::size_t>(y) * stride(), stride()};
  }

  /// Gives the pixels away as an immutable picture.
  [[nodiscard]] Image finish() &&;

 private:
  PixelSize size_;
  PixelFormat format_;
  std::shared_ptr<std::uint8_t> pixels_;
};

}  // namespace vantorel
