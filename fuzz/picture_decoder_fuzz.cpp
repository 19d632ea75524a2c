#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/check.hpp"
#include "platform/linux/linux_image_codec.hpp"

namespace {

void decode(const vantorel::LinuxImageCodec& codec, std::string_view bytes, int frameIndex) {
  const auto header = codec.header(bytes, frameIndex);
  // Larger pictures are decoded just the same, only slowly.
  if (header && static_cast<std::int64_t>(header->size.width) * header->size.height > 1 << 20) {
    return;
  }
  const auto picture = codec.decode(bytes, frameIndex);
  if (!picture) return;
  VT_CHECK(header.has_value() && picture->size() == header->size);
  // The sanitizers see bytes outside the picture when they are used.
  static volatile unsigned used = 0;
  for (int y = 0; y < picture->height(); ++y) {
    for (const std::uint8_t value : picture->row(y)) used = used + value;
  }
}

}  // namespace

/// Whatever bytes are taken for a picture: a refusal or a whole picture of the size its header
/// told, and the same for another of its frames.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vantorel::LinuxImageCodec codec;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  decode(codec, bytes, 0);
  decode(codec, bytes, size % 2 == 0 ? 1 : 3);
  return 0;
}
