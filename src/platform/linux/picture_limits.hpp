#pragma once

#include <cstdint>

#include "base/geometry.hpp"
#include "base/result.hpp"

namespace vantorel {

/// A bound on the memory a decoded picture may take, whatever a file's header says: room for 134
/// million pixels, a tall capture of a 4K screen 60 screens high.
constexpr std::uint64_t maximumDecodedBytes = 512ULL << 20;

/// Fails with `malformed` or `tooLarge` unless a picture of this size may be decoded.
[[nodiscard]] inline Result<PixelSize> decodableSize(std::int64_t width, std::int64_t height) {
  if (width <= 0 || height <= 0) return failed(FailureKind::malformed, "the picture has no size");
  if (width > 1'000'000 || height > 1'000'000 ||
      static_cast<std::uint64_t>(width * height) > maximumDecodedBytes / 4) {
    return failed(FailureKind::tooLarge, "the picture is too large");
  }
  return PixelSize{static_cast<int>(width), static_cast<int>(height)};
}

}  // namespace vantorel
