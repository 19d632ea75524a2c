#include "platform/linux/png_files.hpp"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <functional>
#include <numeric>
#include <vector>

#include "base/check.hpp"
#include "platform/linux/exif.hpp"
#include "platform/linux/picture_limits.hpp"
#include "platform/linux/pixel_rows.hpp"
#include "platform/linux/png_stripes_reader.hpp"

namespace vantorel {
namespace {

constexpr std::uint64_t signatureBytes = 8;
constexpr std::uint64_t chunkFrame = 12;  // length and type in front, checksum behind
constexpr int maximumChunks = 100'000;    // looked at: of a file made to be slow
constexpr int paletteColours = 3;         // the colour type

std::uint32_t numberAt(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (const char byte : bytes.substr(at, 4)) {
    number = number << 8 | static_cast<std::uint8_t>(byte);
  }
  return number;
}

/// A chunk, where in the file its content is, and of how many bytes.
struct Chunk {
  std::string type;
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

/// Goes through the chunks of a file up to its end or to a chunk that it holds only in part.
Result<void> forEachChunk(const PictureBytes& bytes,
                          const std::function<bool(const Chunk&)>& next) {
  std::uint64_t at = signatureBytes;
  for (int count = 0; count < maximumChunks && at + chunkFrame <= bytes.size(); ++count) {
    const std::string head = VT_TRY(bytes.read(at, 8));
    if (head.size() < 8) break;
    const Chunk chunk{head.substr(4), at + 8, numberAt(head, 0)};
    if (chunk.offset + chunk.size + 4 > bytes.size() || !next(chunk)) break;
    at += chunk.size + chunkFrame;
  }
  return {};
}

struct PNGHeader {
  PixelSize size;  // as stored
  bool hasPalette = false;
  bool isAnimated = false;
  Orientation orientation = upright;
};

Result<PNGHeader> headerOf(const PictureBytes& bytes) {
  const std::string start = VT_TRY(bytes.read(0, 33));
  if (start.size() < 33 || start.substr(12, 4) != "IHDR" || numberAt(start, 8) != 13) {
    return failed(FailureKind::malformed, "it is not a whole PNG picture");
  }
  PNGHeader header;
  header.size = VT_TRY(decodableSize(numberAt(start, 16), numberAt(start, 20)));
  header.hasPalette = start[25] == paletteColours;
  Result<std::string> exif;
  Result<std::string> frames;
  VT_TRY(forEachChunk(bytes, [&](const Chunk& chunk) {
    if (chunk.type == "eXIf" && exif && exif->empty()) {
      exif = bytes.read(chunk.offset, std::min<std::uint64_t>(chunk.size, maximumExifBytes));
    }
    if (chunk.type == "acTL") frames = bytes.read(chunk.offset, 4);
    return chunk.type != "IEND" && exif && frames;
  }));
  header.orientation = orientationIn(VT_TRY(std::move(exif)));
  header.isAnimated = numberAt(VT_TRY(std::move(frames)), 0) > 1;
  return header;
}

/// The file without what is not needed for its pixels: libpng would make room for as much text or
/// as large a colour profile as a file promises.
std::string withoutRemarks(std::string_view bytes) {
  const auto isNeeded = [](std::string_view type) {
    const bool isCritical = type[0] >= 'A' && type[0] <= 'Z';
    return isCritical || type == "tRNS" || type == "gAMA" || type == "sRGB";
  };
  std::string kept(bytes.substr(0, signatureBytes));
  kept.reserve(bytes.size());
  for (std::uint64_t at = signatureBytes; at + 8 <= bytes.size();) {
    const std::uint64_t whole = numberAt(bytes, at) + chunkFrame;
    // The last one may be cut off: libpng is to see as much.
    if (isNeeded(bytes.substr(at + 4, 4))) kept += bytes.substr(at, whole);
    at += whole;
  }
  return kept;
}

/// Reads a picture with libpng's plain interface: the simplified one gets interlaced deep greys
/// wrong. libpng leaves by longjmp on errors: what calls it may hold nothing with a destructor.
class PNGReader {
 public:
  /// `bytes` must outlive this.
  explicit PNGReader(std::string_view bytes)
      : rest_(bytes),
        png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, message_.data(), fail, ignore)),
        info_(png_ == nullptr ? nullptr : png_create_info_struct(png_)) {}
  ~PNGReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
  PNGReader(const PNGReader&) = delete;
  PNGReader& operator=(const PNGReader&) = delete;

  [[nodiscard]] Result<Image> read(PixelSize size) {
    if (info_ == nullptr) throw std::bad_alloc();
    if (!begin() || png_get_rowbytes(png_, info_) != static_cast<std::size_t>(size.width) * 4) {
      return failed(FailureKind::malformed, message_.data());
    }
    MutableImage picture(size, isTranslucent_ ? PixelFormat::bgraPremultiplied : PixelFormat::bgrx);
    if (!readRows(picture)) return failed(FailureKind::malformed, message_.data());
    if (isTranslucent_) {
      std::vector<std::uint8_t> row(picture.stride());
      for (int y = 0; y < size.height; ++y) {
        std::ranges::copy(picture.row(y), row.begin());
        unpackRow(row, 4, picture.row(y));
      }
    }
    return std::move(picture).finish();
  }

 private:
  [[noreturn]] static void fail(png_structp png, png_const_charp message) {
    std::snprintf(static_cast<char*>(png_get_error_ptr(png)), Message().size(), "%s", message);
    png_longjmp(png, 1);
  }
  static void ignore(png_structp, png_const_charp) {}
  static void fetch(png_structp png, png_bytep to, std::size_t size) {
    auto& rest = *static_cast<std::string_view*>(png_get_io_ptr(png));
    if (rest.size() < size) png_error(png, "the file ends too early");
    std::memcpy(to, rest.data(), size);
    rest.remove_prefix(size);
  }

  /// Asks for four bytes a pixel: in the picture's order, or plain red, green, blue and alpha.
  bool begin() {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_set_read_fn(png_, &rest_, fetch);
    png_read_info(png_, info_);
    isTranslucent_ = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0 ||
                     png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
    png_set_expand(png_);
    png_set_scale_16(png_);
    png_set_gray_to_rgb(png_);
    double gamma = 0;
    if (png_get_valid(png_, info_, PNG_INFO_sRGB) == 0 && png_get_gAMA(png_, info_, &gamma) != 0) {
      png_set_gamma(png_, PNG_DEFAULT_sRGB, gamma);
    }
    if (!isTranslucent_) {
      png_set_bgr(png_);
      png_set_filler(png_, 0xFF, PNG_FILLER_AFTER);
    }
    passes_ = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    return true;
  }

  bool readRows(MutableImage& picture) {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    for (int pass = 0; pass < passes_; ++pass) {
      for (int y = 0; y < picture.size().height; ++y) {
        png_read_row(png_, picture.row(y).data(), nullptr);
      }
    }
    return true;
  }

  using Message = std::array<char, 128>;
  Message message_ = {"it is not a whole PNG picture"};
  std::string_view rest_;
  png_structp png_;
  png_infop info_;
  bool isTranslucent_ = false;
  int passes_ = 1;
};

void appendBytes(png_structp png, png_bytep bytes, std::size_t size) {
  auto* const to = static_cast<std::string*>(png_get_io_ptr(png));
  try {
    to->append(reinterpret_cast<const char*>(bytes), size);
    return;
  } catch (const std::bad_alloc&) {
  }
  png_error(png, "memory ran out");
}

/// A palette with its translucent colours first: the file lists alpha up to the last of them.
struct FilePalette {
  std::vector<png_color> colours;
  std::vector<png_byte> alphas;
  std::vector<std::uint8_t> newIndex;  ///< by old index
};

FilePalette filePalette(const std::vector<IndexedImage::Colour>& palette) {
  std::vector<std::uint8_t> order(palette.size());
  std::iota(order.begin(), order.end(), std::uint8_t{0});
  const auto opaque = std::ranges::stable_partition(
      order, [&](std::uint8_t index) { return palette[index][3] < 255; });
  FilePalette found;
  found.newIndex.resize(palette.size());
  for (const std::uint8_t index : order) {
    const auto [red, green, blue, alpha] = palette[index];
    found.newIndex[index] = static_cast<std::uint8_t>(found.colours.size());
    found.colours.push_back({red, green, blue});
    if (found.alphas.size() < palette.size() - opaque.size()) found.alphas.push_back(alpha);
  }
  return found;
}

int bitDepth(std::size_t colours) {
  if (colours <= 2) return 1;
  if (colours <= 4) return 2;
  return colours <= 16 ? 4 : 8;
}

/// libpng leaves by longjmp on errors: nothing in here may need a destructor.
bool writeRows(png_structp png, png_infop info, const IndexedImage& image,
               const FilePalette& palette, double pixelsPerPoint, std::string& exif,
               std::vector<std::uint8_t>& row, std::string& to) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_set_write_fn(png, &to, appendBytes, nullptr);
  png_set_compression_level(png, Z_BEST_COMPRESSION);
  png_set_compression_mem_level(png, MAX_MEM_LEVEL);
  png_set_filter(png, 0, PNG_FILTER_NONE);
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.size.width),
               static_cast<png_uint_32>(image.size.height), bitDepth(palette.colours.size()),
               PNG_COLOR_TYPE_PALETTE, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_set_PLTE(png, info, palette.colours.data(), static_cast<int>(palette.colours.size()));
  if (!palette.alphas.empty()) {
    png_set_tRNS(png, info, palette.alphas.data(), static_cast<int>(palette.alphas.size()),
                 nullptr);
  }
  png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
  const auto pixelsPerMetre = static_cast<png_uint_32>(std::lround(pixelsPerPoint * 72 / 0.0254));
  png_set_pHYs(png, info, pixelsPerMetre, pixelsPerMetre, PNG_RESOLUTION_METER);
  if (!exif.empty()) {
    png_set_eXIf_1(png, info, static_cast<png_uint_32>(exif.size()),
                   reinterpret_cast<png_bytep>(exif.data()));
  }
  png_write_info(png, info);
  png_set_packing(png);
  const std::uint8_t* from = image.indices.data();
  for (int y = 0; y < image.size.height; ++y) {
    for (std::uint8_t& index : row) index = palette.newIndex[*from++];
    png_write_row(png, row.data());
  }
  png_write_end(png, info);
  return true;
}

}  // namespace

Result<Image> readPNG(std::string_view bytes) {
  const PNGHeader header = VT_TRY(headerOf(PictureInMemory(bytes)));
  if (auto picture = readStripedPNG(bytes)) return turned(*std::move(picture), header.orientation);
  const std::string pixels = withoutRemarks(bytes);
  PNGReader reader(pixels);
  return turned(VT_TRY(reader.read(header.size)), header.orientation);
}

Result<PictureHeader> pngHeader(const PictureBytes& bytes) {
  const PNGHeader header = VT_TRY(headerOf(bytes));
  return PictureHeader{.format = ExportFormat::png,
                       .size = turned(header.size, header.orientation),
                       .hasPalette = header.hasPalette,
                       .isAnimated = header.isAnimated};
}

Result<std::string> writeIndexedPNG(const IndexedImage& image, const ImageEncoding& encoding) {
  VT_CHECK(!image.palette.empty() && image.palette.size() <= 256);
  VT_CHECK(image.indices.size() == static_cast<std::size_t>(image.size.width) *
                                       static_cast<std::size_t>(image.size.height));
  const FilePalette palette = filePalette(image.palette);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(image.size.width));
  std::string bytes;
  std::string exif = encoding.createdAt ? exifWithTime(*encoding.createdAt) : std::string();
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  const bool written = info != nullptr && writeRows(png, info, image, palette,
                                                    encoding.pixelsPerPoint, exif, row, bytes);
  png_destroy_write_struct(&png, &info);
  if (!written) return failed(FailureKind::other, "the PNG file could not be made");
  return bytes;
}

}  // namespace vantorel
