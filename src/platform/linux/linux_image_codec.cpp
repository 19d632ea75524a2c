#include "platform/linux/linux_image_codec.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <new>
#include <optional>
#include <utility>

#include "base/log.hpp"
#include "platform/linux/heif/heif_module.hpp"
#include "platform/linux/jpeg_files.hpp"
#include "platform/linux/png_files.hpp"
#include "platform/linux/png_writer.hpp"
#include "platform/linux/program_module.hpp"
#include "platform/linux/webp_files.hpp"

namespace vantorel {
namespace {

/// The longest side each format, or the library behind it, can take both ways.
int longestSide(ExportFormat format) {
  switch (format) {
    case ExportFormat::png: return 1'000'000;
    case ExportFormat::jpeg: return 65'500;
    case ExportFormat::heic: return 32'768;
    case ExportFormat::webp: return 16'383;
  }
  std::unreachable();
}

std::optional<ExportFormat> formatOf(std::string_view bytes) {
  if (bytes.starts_with("\x89PNG\r\n\x1A\n")) return ExportFormat::png;
  if (bytes.starts_with("\xFF\xD8\xFF")) return ExportFormat::jpeg;
  if (bytes.size() < 12) return std::nullopt;
  if (bytes.starts_with("RIFF") && bytes.substr(8, 4) == "WEBP") return ExportFormat::webp;
  constexpr std::array<std::string_view, 6> heicBrands = {"heic", "heix", "heim",
                                                          "heis", "mif1", "hevc"};
  if (bytes.substr(4, 4) == "ftyp" &&
      std::ranges::find(heicBrands, bytes.substr(8, 4)) != heicBrands.end()) {
    return ExportFormat::heic;
  }
  return std::nullopt;
}

/// The format of bytes that may have the frame.
Result<ExportFormat> formatWithFrame(std::string_view bytes, int frameIndex) {
  const auto format = formatOf(bytes);
  if (!format) return failed(FailureKind::malformed, "it is not a picture");
  const bool single = *format == ExportFormat::png || *format == ExportFormat::jpeg;
  if (single && frameIndex > 0) return frameNotFound(frameIndex);
  return *format;
}

std::unexpected<Failure> noMemory() {
  return failed(FailureKind::other, "there is not enough memory");
}

}  // namespace

LinuxImageCodec::LinuxImageCodec() : LinuxImageCodec(modulesFolder()) {}

LinuxImageCodec::LinuxImageCodec(Path moduleFolder) : moduleFolder_(std::move(moduleFolder)) {}

Result<const HeifModule*> LinuxImageCodec::heif() const {
  const std::scoped_lock lock(loading_);
  if (heif_ != nullptr) return heif_;
  const auto entry = moduleEntry(moduleFolder_ / "libvantorel_heif.so", heifModuleEntryName);
  if (!entry) {
    return failed(FailureKind::unsupported, "HEIC support " + entry.error().reason);
  }
  heif_ = reinterpret_cast<HeifModuleEntry>(*entry)();
  return heif_;
}

Result<std::string> LinuxImageCodec::encode(const Image& image, const ImageEncoding& encoding) const
    try {
  if (!canHold(encoding.format, image.size())) {
    return failed(FailureKind::tooLarge,
                  fmt::format("{} can't hold a picture this large", displayName(encoding.format)));
  }
  switch (encoding.format) {
    case ExportFormat::png: return writePNG(image, encoding);
    case ExportFormat::jpeg: return writeJPEG(image, encoding);
    case ExportFormat::heic: return VT_TRY(heif())->write(image, encoding);
    case ExportFormat::webp: return writeWebP(image, encoding);
  }
  std::unreachable();
} catch (const std::bad_alloc&) {
  return noMemory();
}

Result<std::string> LinuxImageCodec::encodeIndexedPNG(const IndexedImage& image,
                                                      const ImageEncoding& encoding) const try {
  return writeIndexedPNG(image, encoding);
} catch (const std::bad_alloc&) {
  return noMemory();
}

Result<Image> LinuxImageCodec::decodeFrame(std::string_view bytes, int frameIndex) const try {
  switch (VT_TRY(formatWithFrame(bytes, frameIndex))) {
    case ExportFormat::png: return readPNG(bytes);
    case ExportFormat::jpeg: return readJPEG(bytes);
    case ExportFormat::heic: return VT_TRY(heif())->read(bytes, frameIndex);
    case ExportFormat::webp: return readWebP(bytes, frameIndex);
  }
  std::unreachable();
} catch (const std::bad_alloc&) {
  return noMemory();
}

Result<PictureHeader> LinuxImageCodec::frameHeader(const PictureBytes& bytes, int frameIndex) const
    try {
  const std::string start = VT_TRY(bytes.read(0, 12));
  switch (VT_TRY(formatWithFrame(start, frameIndex))) {
    case ExportFormat::png: return pngHeader(bytes);
    case ExportFormat::jpeg: return jpegHeader(bytes);
    case ExportFormat::heic: return VT_TRY(heif())->header(bytes, frameIndex);
    case ExportFormat::webp: return webpHeader(bytes, frameIndex);
  }
  std::unreachable();
} catch (const std::bad_alloc&) {
  return noMemory();
}

bool LinuxImageCodec::canHold(ExportFormat format, PixelSize size) const {
  return std::max(size.width, size.height) <= longestSide(format);
}

}  // namespace vantorel
