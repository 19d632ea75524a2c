// Arbitrary bytes as a picture file: decoded whole within the limits, or refused.
#include <cstdint>
#include <string_view>

#include "base/check.hpp"
#include "platform/linux/linux_image_codec.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantorel;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  static const LinuxImageCodec codec;
  const auto stated = codec.pixelSize(bytes);
  // A small file may state a huge picture; the fuzzer's memory is for many runs.
  if (stated && static_cast<std::int64_t>(stated->width) * stated->height > 4'000'000) return 0;
  const auto image = codec.decode(bytes);
  if (image) VT_CHECK(image->width() > 0 && image->height() > 0);
  return 0;
}
