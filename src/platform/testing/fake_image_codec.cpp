#include "platform/testing/fake_image_codec.hpp"

#include <fmt/format.h>

#include <charconv>
#include <cstring>

namespace vantorel {
namespace {

struct Header {
  PixelSize size;
  std::size_t length = 0;
};

/// "png 3 2\n" and the pixels.
std::optional<Header> header(std::string_view bytes) {
  const std::size_t end = bytes.find('\n');
  const std::size_t first = bytes.find(' ');
  if (end == std::string_view::npos || first > end) return std::nullopt;
  Header found{.size = {}, .length = end + 1};
  const char* const stop = bytes.data() + end;
  const auto [next, error] = std::from_chars(bytes.data() + first + 1, stop, found.size.width);
  if (error != std::errc{} || next == stop) return std::nullopt;
  if (std::from_chars(next + 1, stop, found.size.height).ec != std::errc{}) return std::nullopt;
  const std::size_t pixels =
      static_cast<std::size_t>(found.size.width) * static_cast<std::size_t>(found.size.height) * 4;
  if (bytes.size() - found.length != pixels) return std::nullopt;
  return found;
}

}  // namespace

Result<std::string> FakeImageCodec::encode(const Image& image,
                                           const ImageEncoding& encoding) const {
  if (broken.contains(encoding.format)) return failed(FailureKind::unsupported, "not installed");
  if (!canHold(encoding.format, image.size())) {
    return failed(FailureKind::tooLarge, "the picture is too large for the format");
  }
  std::string bytes =
      fmt::format("{} {} {}\n", nameOf(encoding.format), image.width(), image.height());
  for (int y = 0; y < image.height(); ++y) {
    const auto row = image.row(y);
    bytes.append(reinterpret_cast<const char*>(row.data()), row.size());
  }
  return bytes;
}

Result<std::string> FakeImageCodec::encodeIndexedPNG(const IndexedImage& image, double) const {
  if (broken.contains(ExportFormat::png)) return failed(FailureKind::unsupported, "not installed");
  std::string bytes = fmt::format("png {} {}\n", image.size.width, image.size.height);
  for (const std::uint8_t index : image.indices) {
    const IndexedImage::Colour& colour = image.palette[index];
    for (const int channel : {2, 1, 0, 3}) bytes += static_cast<char>(colour[channel]);
  }
  return bytes;
}

Result<Image> FakeImageCodec::decode(std::string_view bytes) const {
  const auto found = header(bytes);
  if (!found) return failed(FailureKind::malformed, "no picture");
  MutableImage image(found->size, PixelFormat::bgrx);
  const char* from = bytes.data() + found->length;
  for (int y = 0; y < found->size.height; ++y) {
    const auto row = image.row(y);
    std::memcpy(row.data(), from, row.size());
    from += row.size();
  }
  return std::move(image).finish();
}

Result<PixelSize> FakeImageCodec::pixelSize(std::string_view bytes) const {
  const auto found = header(bytes);
  if (!found) return failed(FailureKind::malformed, "no picture");
  return found->size;
}

bool FakeImageCodec::canHold(ExportFormat format, PixelSize size) const {
  return format != ExportFormat::heic || !longestHeicSide ||
         std::max(size.width, size.height) <= *longestHeicSide;
}

}  // namespace vantorel
