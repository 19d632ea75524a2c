#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/check.hpp"
#include "platform/linux/linux_image_codec.hpp"

/// Whatever bytes are taken for a picture: a refusal or a whole picture of the size its header
/// told.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vantorel::LinuxImageCodec codec;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto header = codec.header(bytes);
  // Larger pictures are decoded just the same, only slowly.
  if (header && static_cast<std::int64_t>(header->size.width) * header->size.height > 1 << 20) {
    return 0;
  }
  const auto picture = codec.decode(bytes);
  if (!picture) return 0;
  VT_CHECK(header.has_value() && picture->size() == header->size);
  // The sanitizers see bytes outside the picture when they are used.
  static volatile unsigned used = 0;
  for (int y = 0; y < picture->height(); ++y) {
    for (const std::uint8_t value : picture->row(y)) used = used + value;
  }
  return 0;
}
