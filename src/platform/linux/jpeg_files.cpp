#include "platform/linux/jpeg_files.hpp"

#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "platform/linux/picture_limits.hpp"
#include "platform/linux/pixel_rows.hpp"

namespace vantorel {
namespace {

constexpr int firstQualityWithFullColour = 85;

using Session = std::unique_ptr<void, decltype(&tjDestroy)>;

std::unexpected<Failure> failure(FailureKind kind, const Session& session) {
  return failed(kind, tjGetErrorStr2(session.get()));
}

/// The whole picture over white, rows without padding.
std::vector<std::uint8_t> flattened(const Image& image) {
  const auto stride = static_cast<std::size_t>(image.width()) * 4;
  std::vector<std::uint8_t> pixels(stride * static_cast<std::size_t>(image.height()));
  for (int y = 0; y < image.height(); ++y) {
    flattenRow(image, y, {pixels.data() + static_cast<std::size_t>(y) * stride, stride});
  }
  return pixels;
}

/// The library writes no resolution; its JFIF header always stands first and has room for one.
void setResolution(std::string& jpeg, double pixelsPerPoint) {
  const auto dotsPerInch = std::clamp(std::lround(pixelsPerPoint * 72), 1L, 65535L);
  if (jpeg.size() < 18 || jpeg.substr(6, 5) != std::string_view("JFIF\0", 5)) return;
  jpeg[13] = 1;
  jpeg[14] = jpeg[16] = static_cast<char>(dotsPerInch >> 8);
  jpeg[15] = jpeg[17] = static_cast<char>(dotsPerInch & 0xFF);
}

Result<PixelSize> readHeader(const Session& session, std::string_view bytes) {
  int width = 0;
  int height = 0;
  int sampling = 0;
  int colours = 0;
  if (tjDecompressHeader3(session.get(), reinterpret_cast<const unsigned char*>(bytes.data()),
                          bytes.size(), &width, &height, &sampling, &colours) != 0) {
    return failure(FailureKind::malformed, session);
  }
  return decodableSize(width, height);
}

}  // namespace

Result<std::string> writeJPEG(const Image& image, double quality, double pixelsPerPoint) {
  const Session session(tjInitCompress(), tjDestroy);
  if (!session) return failed(FailureKind::other, "the JPEG encoder did not start");
  const bool opaque = image.format() == PixelFormat::bgrx;
  const std::vector<std::uint8_t> pixels = opaque ? std::vector<std::uint8_t>() : flattened(image);
  const int percent = std::clamp(static_cast<int>(std::lround(quality * 100)), 1, 100);
  unsigned char* made = nullptr;
  unsigned long size = 0;
  const int answer = tjCompress2(
      session.get(), opaque ? image.row(0).data() : pixels.data(), image.width(),
      opaque ? static_cast<int>(image.stride()) : 0, image.height(), TJPF_BGRX, &made, &size,
      percent >= firstQualityWithFullColour ? TJSAMP_444 : TJSAMP_420, percent, 0);
  const std::unique_ptr<unsigned char, decltype(&tjFree)> owned(made, tjFree);
  if (answer != 0) return failure(FailureKind::other, session);
  std::string jpeg(reinterpret_cast<const char*>(made), size);
  setResolution(jpeg, pixelsPerPoint);
  return jpeg;
}

Result<Image> readJPEG(std::string_view bytes) {
  const Session session(tjInitDecompress(), tjDestroy);
  if (!session) return failed(FailureKind::other, "the JPEG decoder did not start");
  const PixelSize size = VT_TRY(readHeader(session, bytes));
  MutableImage picture(size, PixelFormat::bgrx);
  if (tjDecompress2(session.get(), reinterpret_cast<const unsigned char*>(bytes.data()),
                    bytes.size(), picture.row(0).data(), size.width,
                    static_cast<int>(picture.stride()), size.height, TJPF_BGRX,
                    TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS) != 0) {
    return failure(FailureKind::malformed, session);
  }
  return std::move(picture).finish();
}

Result<PixelSize> jpegSize(std::string_view bytes) {
  const Session session(tjInitDecompress(), tjDestroy);
  if (!session) return failed(FailureKind::other, "the JPEG decoder did not start");
  return readHeader(session, bytes);
}

}  // namespace vantorel
