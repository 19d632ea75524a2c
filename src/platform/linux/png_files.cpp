#include "platform/linux/png_files.hpp"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <numeric>
#include <vector>

#include "base/check.hpp"
#include "platform/linux/picture_limits.hpp"
#include "platform/linux/pixel_rows.hpp"

namespace vantorel {
namespace {

/// Begins to read; frees what libpng holds when it goes.
class PNGReader {
 public:
  PNGReader() { image_.version = PNG_IMAGE_VERSION; }
  ~PNGReader() { png_image_free(&image_); }
  PNGReader(const PNGReader&) = delete;
  PNGReader& operator=(const PNGReader&) = delete;

  [[nodiscard]] Result<PixelSize> begin(std::string_view bytes) {
    if (png_image_begin_read_from_memory(&image_, bytes.data(), bytes.size()) == 0) {
      return failed(FailureKind::malformed, image_.message);
    }
    return decodableSize(image_.width, image_.height);
  }

  [[nodiscard]] bool hasPalette() const { return (image_.format & PNG_FORMAT_FLAG_COLORMAP) != 0; }

  [[nodiscard]] Result<Image> finish(PixelSize size) {
    const bool translucent = (image_.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    image_.format = translucent ? PNG_FORMAT_RGBA : PNG_FORMAT_BGRA;
    MutableImage picture(size, translucent ? PixelFormat::bgraPremultiplied : PixelFormat::bgrx);
    if (png_image_finish_read(&image_, nullptr, picture.row(0).data(),
                              static_cast<png_int_32>(picture.stride()), nullptr) == 0) {
      return failed(FailureKind::malformed, image_.message);
    }
    if (translucent) {
      std::vector<std::uint8_t> row(picture.stride());
      for (int y = 0; y < size.height; ++y) {
        std::ranges::copy(picture.row(y), row.begin());
        unpackRow(row, 4, picture.row(y));
      }
    }
    return std::move(picture).finish();
  }

 private:
  png_image image_{};
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
               const FilePalette& palette, double pixelsPerPoint, std::vector<std::uint8_t>& row,
               std::string& to) {
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
  PNGReader reader;
  return reader.finish(VT_TRY(reader.begin(bytes)));
}

Result<PictureHeader> pngHeader(std::string_view bytes) {
  PNGReader reader;
  const PixelSize size = VT_TRY(reader.begin(bytes));
  return PictureHeader{
      .format = ExportFormat::png, .size = size, .hasPalette = reader.hasPalette()};
}

Result<std::string> writeIndexedPNG(const IndexedImage& image, double pixelsPerPoint) {
  VT_CHECK(!image.palette.empty() && image.palette.size() <= 256);
  VT_CHECK(image.indices.size() == static_cast<std::size_t>(image.size.width) *
                                       static_cast<std::size_t>(image.size.height));
  const FilePalette palette = filePalette(image.palette);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(image.size.width));
  std::string bytes;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  const bool written =
      info != nullptr && writeRows(png, info, image, palette, pixelsPerPoint, row, bytes);
  png_destroy_write_struct(&png, &info);
  if (!written) return failed(FailureKind::other, "the PNG file could not be made");
  return bytes;
}

}  // namespace vantorel
