#pragma once

#include <cstdint>
#include <memory>

#include "base/geometry.hpp"

namespace vantorel {

/// A picture at half its size, each pixel the mean of four. At an odd edge the last ones stand for
/// those missing. Any thread.
class HalvedPicture {
 public:
  /// Four bytes a pixel, premultiplied where there is alpha.
  HalvedPicture(const std::uint8_t* pixels, std::size_t stride, PixelSize size);
  HalvedPicture(const HalvedPicture&) = delete;
  HalvedPicture& operator=(const HalvedPicture&) = delete;
  HalvedPicture(HalvedPicture&&) = default;
  HalvedPicture& operator=(HalvedPicture&&) = default;
  ~HalvedPicture() = default;

  /// Takes over what changed in `area` of the picture, and gives the part that changed here.
  PixelRect follow(const std::uint8_t* pixels, std::size_t stride, const PixelRect& area);

  [[nodiscard]] PixelSize size() const { return size_; }
  [[nodiscard]] std::size_t stride() const { return static_cast<std::size_t>(size_.width) * 4; }
  [[nodiscard]] const std::uint8_t* pixels() const { return pixels_.get(); }

 private:
  PixelSize whole_;
  PixelSize size_;
  std::shared_ptr<std::uint8_t> pixels_;
};

}  // namespace vantorel
