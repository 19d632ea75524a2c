#include "platform/testing/fake_image_codec.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace vantorel {
namespace {

struct Parsed {
  PictureHeader header;
  std::string_view palette;  ///< 4 bytes a colour; empty when there is none
  std::string_view pixels;
};

std::size_t bytesPerPixel(ExportFormat format, bool hasPalette) {
  if (hasPalette) return 1;
  return format == ExportFormat::jpeg ? 3 : 4;
}

/// "png 3 2 0\n": format, width, height and colours of the palette; then that and the pixels.
/// Takes them off `bytes`.
std::optional<Parsed> nextFrame(std::string_view& bytes) {
  const std::size_t end = bytes.find('\n');
  const std::size_t first = bytes.find(' ');
  if (end == std::string_view::npos || first > end) return std::nullopt;
  const auto format = enumFromName<ExportFormat>(bytes.substr(0, first));
  std::size_t colours = 0;
  PixelSize size;
  auto next = [at = bytes.data() + first, stop = bytes.data() + end](auto& to) mutable {
    if (at == stop) return false;
    const auto [rest, error] = std::from_chars(at + 1, stop, to);
    at = rest;
    return error == std::errc{};
  };
  if (!format || !next(size.width) || !next(size.height) || !next(colours)) return std::nullopt;
  const std::string_view content = bytes.substr(end + 1);
  const std::size_t pixels = static_cast<std::size_t>(size.width) *
                             static_cast<std::size_t>(size.height) *
                             bytesPerPixel(*format, colours > 0);
  if (content.size() < colours * 4 + pixels) return std::nullopt;
  bytes = content.substr(colours * 4 + pixels);
  return Parsed{.header = {.format = *format, .size = size, .hasPalette = colours > 0},
                .palette = content.substr(0, colours * 4),
                .pixels = content.substr(colours * 4, pixels)};
}

Result<Parsed> parsed(std::string_view bytes, int frameIndex) {
  std::vector<Parsed> frames;
  do {
    const auto frame = nextFrame(bytes);
    if (!frame) return failed(FailureKind::malformed, "no picture");
    frames.push_back(*frame);
  } while (!bytes.empty());
  if (static_cast<std::size_t>(frameIndex) >= frames.size()) return frameNotFound(frameIndex);
  return frames[static_cast<std::size_t>(frameIndex)];
}

}  // namespace

Result<std::string> FakeImageCodec::encode(const Image& image,
                                           const ImageEncoding& encoding) const {
  if (broken.contains(encoding.format)) return failed(FailureKind::unsupported, "not installed");
  if (!canHold(encoding.format, image.size())) {
    return failed(FailureKind::tooLarge, "the picture is too large for the format");
  }
  std::string bytes =
      fmt::format("{} {} {} 0\n", nameOf(encoding.format), image.width(), image.height());
  for (int y = 0; y < image.height(); ++y) {
    const auto row = image.row(y);
    for (std::size_t x = 0; x < row.size(); x += 4) {
      bytes.append(reinterpret_cast<const char*>(row.data()) + x,
                   bytesPerPixel(encoding.format, false));
    }
  }
  if (encoding.format == ExportFormat::heic && isHeicWasteful) bytes += bytes;
  return bytes;
}

Result<std::string> FakeImageCodec::encodeIndexedPNG(const IndexedImage& image,
                                                     const ImageEncoding&) const {
  if (broken.contains(ExportFormat::png)) return failed(FailureKind::unsupported, "not installed");
  std::string bytes =
      fmt::format("png {} {} {}\n", image.size.width, image.size.height, image.palette.size());
  for (const auto [red, green, blue, alpha] : image.palette) {
    for (const std::uint8_t value : {blue, green, red, alpha}) bytes += static_cast<char>(value);
  }
  bytes.append(reinterpret_cast<const char*>(image.indices.data()), image.indices.size());
  return bytes;
}

Result<Image> FakeImageCodec::decodeFrame(std::string_view bytes, int frameIndex) const {
  const Parsed found = VT_TRY(parsed(bytes, frameIndex));
  const std::size_t step = bytesPerPixel(found.header.format, found.header.hasPalette);
  MutableImage image(found.header.size, PixelFormat::bgrx);
  const char* from = found.pixels.data();
  for (int y = 0; y < found.header.size.height; ++y) {
    const auto row = image.row(y);
    for (std::size_t x = 0; x < row.size(); x += 4, from += step) {
      if (found.header.hasPalette) {
        const std::size_t index = static_cast<std::uint8_t>(*from);
        std::memcpy(row.data() + x, found.palette.data() + index * 4, 4);
      } else {
        std::memcpy(row.data() + x, from, step);
      }
    }
  }
  return std::move(image).finish();
}

Result<PictureHeader> FakeImageCodec::frameHeader(const PictureBytes& bytes, int frameIndex) const {
  const std::string all = VT_TRY(bytes.read(0, bytes.size()));
  PictureHeader header = VT_TRY(parsed(all, frameIndex)).header;
  header.isAnimated = animated.contains(header.format);
  return header;
}

bool FakeImageCodec::canHold(ExportFormat format, PixelSize size) const {
  return format != ExportFormat::heic || !longestHeicSide ||
         std::max(size.width, size.height) <= *longestHeicSide;
}

}  // namespace vantorel
