#include "platform/linux/jpeg_files.hpp"

#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/linux/exif.hpp"
#include "platform/linux/picture_limits.hpp"
#include "platform/linux/pixel_rows.hpp"

namespace vantorel {
namespace {

constexpr int firstQualityWithFullColour = 85;
constexpr std::string_view endOfPicture = "\xFF\xD9";

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

/// What stands in a file before its picture.
struct JPEGHeader {
  std::optional<PixelSize> size;  // as stored
  Orientation orientation = upright;
};

bool isFrameHeader(std::uint8_t marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// Goes from segment to segment up to the first scan.
Result<JPEGHeader> headerOf(const PictureBytes& bytes) {
  constexpr int maximumSegments = 10'000;
  JPEGHeader header;
  std::uint64_t at = 2;
  for (int count = 0; count < maximumSegments; ++count) {
    const std::string head = VT_TRY(bytes.read(at, 9));
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(head[i]); };
    if (head.size() < 4 || byte(0) != 0xFF) break;
    const std::uint8_t marker = byte(1);
    if (marker == 0xFF) {  // filling
      ++at;
      continue;
    }
    if (marker == 0xDA || marker == 0xD9) break;
    const std::uint64_t length = byte(2) * 256U + byte(3);
    if (marker == 0xE1 && header.orientation == upright) {
      const std::string content =
          VT_TRY(bytes.read(at + 4, std::min<std::uint64_t>(length, maximumExifBytes)));
      if (content.starts_with("Exif")) header.orientation = orientationIn(content);
    }
    if (isFrameHeader(marker) && !header.size && head.size() == 9) {
      header.size = VT_TRY(decodableSize(byte(7) * 256 + byte(8), byte(5) * 256 + byte(6)));
    }
    at += 2 + length;
  }
  if (!header.size) return failed(FailureKind::malformed, "it is not a whole JPEG picture");
  return header;
}

bool isCMYK(const Session& session, std::string_view bytes) {
  int width = 0;
  int height = 0;
  int sampling = 0;
  int colours = 0;
  return tjDecompressHeader3(session.get(), reinterpret_cast<const unsigned char*>(bytes.data()),
                             bytes.size(), &width, &height, &sampling, &colours) == 0 &&
         (colours == TJCS_CMYK || colours == TJCS_YCCK);
}

/// Cyan, magenta, yellow and black, as all programs store them inverted, become blue, green, red.
void toBGRX(std::span<std::uint8_t> row) {
  for (std::size_t i = 0; i < row.size(); i += 4) {
    const unsigned black = row[i + 3];
    const auto mixed = [&](std::size_t ink) {
      return static_cast<std::uint8_t>((row[i + ink] * black + 127) / 255);
    };
    const std::uint8_t red = mixed(0);
    row[i + 1] = mixed(1);
    row[i] = mixed(2);
    row[i + 2] = red;
    row[i + 3] = 255;
  }
}

/// The library writes no EXIF data; they follow the JFIF header.
void insertTime(std::string& jpeg, double createdAt) {
  if (jpeg.substr(6, 5) != std::string_view("JFIF\0", 5)) return;
  const std::string content = std::string("Exif\0\0", 6) + exifWithTime(createdAt);
  const std::size_t length = content.size() + 2;
  std::string segment = "\xFF\xE1";
  segment += static_cast<char>(length >> 8);
  segment += static_cast<char>(length & 0xFF);
  jpeg.insert(20, segment + content);
}

}  // namespace

Result<std::string> writeJPEG(const Image& image, const ImageEncoding& encoding) {
  const Session session(tjInitCompress(), tjDestroy);
  if (!session) return failed(FailureKind::other, "the JPEG encoder did not start");
  const bool opaque = image.format() == PixelFormat::bgrx;
  const std::vector<std::uint8_t> pixels = opaque ? std::vector<std::uint8_t>() : flattened(image);
  const int percent = std::clamp(static_cast<int>(std::lround(encoding.quality * 100)), 1, 100);
  unsigned char* made = nullptr;
  unsigned long size = 0;
  const int answer = tjCompress2(
      session.get(), opaque ? image.row(0).data() : pixels.data(), image.width(),
      opaque ? static_cast<int>(image.stride()) : 0, image.height(), TJPF_BGRX, &made, &size,
      percent >= firstQualityWithFullColour ? TJSAMP_444 : TJSAMP_420, percent, 0);
  const std::unique_ptr<unsigned char, decltype(&tjFree)> owned(made, tjFree);
  if (answer != 0) return failure(FailureKind::other, session);
  std::string jpeg(reinterpret_cast<const char*>(made), size);
  setResolution(jpeg, encoding.pixelsPerPoint);
  if (encoding.createdAt) insertTime(jpeg, *encoding.createdAt);
  return jpeg;
}

Result<Image> readJPEG(std::string_view bytes) {
  const JPEGHeader header = VT_TRY(headerOf(PictureInMemory(bytes)));
  const Session session(tjInitDecompress(), tjDestroy);
  if (!session) return failed(FailureKind::other, "the JPEG decoder did not start");
  // Where the mark of the end is missing, the picture may be whole all the same.
  const bool isEnded = bytes.ends_with(endOfPicture);
  std::string ended;
  if (!isEnded) {
    ended = std::string(bytes) + std::string(endOfPicture);
    bytes = ended;
  }
  const bool cmyk = isCMYK(session, bytes);
  MutableImage picture(*header.size, PixelFormat::bgrx);
  const int answer = tjDecompress2(
      session.get(), reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
      picture.row(0).data(), header.size->width, static_cast<int>(picture.stride()),
      header.size->height, cmyk ? TJPF_CMYK : TJPF_BGRX, TJFLAG_LIMITSCANS);
  const bool isMereWarning =
      tjGetErrorCode(session.get()) == TJERR_WARNING && isEnded &&
      !std::string_view(tjGetErrorStr2(session.get())).contains("remature end");
  if (answer != 0 && !isMereWarning) {
    return failure(FailureKind::malformed, session);
  }
  for (int y = 0; cmyk && y < header.size->height; ++y) toBGRX(picture.row(y));
  return turned(std::move(picture).finish(), header.orientation);
}

Result<PictureHeader> jpegHeader(const PictureBytes& bytes) {
  const JPEGHeader header = VT_TRY(headerOf(bytes));
  return PictureHeader{.format = ExportFormat::jpeg,
                       .size = turned(*header.size, header.orientation)};
}

}  // namespace vantorel
