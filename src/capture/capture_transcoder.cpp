#include "capture/capture_transcoder.hpp"

#include <fmt/format.h>

#include <cmath>
#include <utility>

#include "base/area_downscale.hpp"
#include "base/log.hpp"
#include "base/size_text.hpp"
#include "capture/blanked_picture.hpp"
#include "capture/indexed_png_encoder.hpp"
#include "editor/records/output_failure.hpp"
#include "library/capture_file_name.hpp"
#include "library/rewrite_journal.hpp"

namespace vantorel {
namespace {

constexpr std::uint64_t maximumFileBytes = 512ULL << 20;
constexpr int maximumNames = 10'000;

/// What is not at least this much smaller is not worth what it loses.
constexpr double worthwhile = 0.95;

using Case = TranscodeFailure::Case;

std::unexpected<TranscodeFailure> failure(Case what, std::string reason = {},
                                          ExportFormat format = ExportFormat::png) {
  return std::unexpected(TranscodeFailure{what, std::move(reason), format});
}

std::unexpected<TranscodeFailure> writeFailure(const Failure& why) {
  return failure(Case::writeFailed, why.reason);
}

PixelSize sizeInPoints(PixelSize size, double scale) {
  const auto points = [scale](int pixels) {
    return std::max(1, static_cast<int>(std::lround(pixels / scale)));
  };
  return {points(size.width), points(size.height)};
}

/// What was tried, as the beginning of a sentence that goes on with why it failed.
std::string attempt(const TranscodeFailure& failure) {
  return failure.task == TranscodeTask::compress
             ? "The capture couldn't be compressed: "
             : fmt::format("The capture couldn't be converted to {}: ",
                           displayName(failure.format));
}

}  // namespace

std::string sentence(const TranscodeFailure& failure) {
  switch (failure.what) {
    case Case::writeFailed: return attempt(failure) + failure.reason;
    case Case::unreadable: return sentence(OutputFailure::notReadable);
    case Case::tooLarge:
      return fmt::format("{} can't hold a screenshot this large", displayName(failure.format));
    case Case::animated:
      return "the capture is an animation, of which only the first picture would be left";
    case Case::larger:
      return fmt::format("the capture would be larger as {} ({}), so it stays as it is",
                         displayName(failure.format), failure.reason);
    case Case::encodeRefused:
      return attempt(failure) + "it couldn't be encoded" +
             (failure.reason.empty() ? "" : " (" + failure.reason + ")");
    case Case::noPicture: return "Only pictures can be converted or compressed.";
  }
  std::unreachable();
}

/// A capture's file, read.
struct CaptureTranscoder::Opened {
  PictureHeader header;
  Image image;
  std::uint64_t bytes = 0;
  bool isBlanked = false;
};

/// A file to be, and the picture in it.
struct CaptureTranscoder::Encoded {
  Image image;
  ImageEncoding encoding;
  std::string bytes;
};

CaptureTranscoder::CaptureTranscoder(std::shared_ptr<Files> files,
                                     std::shared_ptr<const ImageCodec> codec)
    : files_(std::move(files)), codec_(std::move(codec)) {}

CaptureTranscoder::Answer<CaptureTranscoder::Opened> CaptureTranscoder::open(
    const Source& source) const {
  const auto bytes = files_->read(source.path, maximumFileBytes);
  if (!bytes) return failure(Case::unreadable, bytes.error().reason);
  const auto header = codec_->header(*bytes);
  if (!header) return failure(Case::unreadable, header.error().reason);
  if (header->isAnimated) return failure(Case::animated);
  auto image = codec_->decode(*bytes);
  if (!image) return failure(Case::unreadable, image.error().reason);
  return Opened{.header = *header, .image = std::move(*image), .bytes = bytes->size()};
}

CaptureTranscoder::Answer<CaptureTranscoder::Opened> CaptureTranscoder::openBlanked(
    const Source& source) const {
  Opened opened = VT_TRY(open(source));
  if (!source.redacted) return opened;
  const std::vector<PixelRect> areas = source.redacted(opened.image.size());
  if (areas.empty()) return opened;
  opened.image = blanked(opened.image, areas);
  opened.isBlanked = true;
  return opened;
}

CaptureTranscoder::Answer<std::string> CaptureTranscoder::encode(
    const Image& image, const ImageEncoding& encoding) const {
  if (!codec_->canHold(encoding.format, image.size())) {
    return failure(Case::tooLarge, {}, encoding.format);
  }
  auto bytes = codec_->encode(image, encoding);
  if (bytes) return std::move(*bytes);
  logWarning("Transcoding", "{} was refused: {}", displayName(encoding.format),
             bytes.error().reason);
  return failure(Case::encodeRefused, bytes.error().reason, encoding.format);
}

/// What a new file in `encoding` has to be smaller than: the present one, or what that would take
/// with its redacted parts blanked.
CaptureTranscoder::Answer<std::uint64_t> CaptureTranscoder::bytesToBeat(
    const Opened& opened, ImageEncoding encoding) const {
  if (!opened.isBlanked) return opened.bytes;
  encoding.format = opened.header.format;
  return VT_TRY(encode(opened.image, encoding)).size();
}

CaptureTranscoder::Answer<std::string> CaptureTranscoder::encodePalette(
    const IndexedPNGEncoder& palette, const ImageEncoding& encoding) const {
  if (!codec_->canHold(ExportFormat::png, palette.image().size)) {
    return failure(Case::tooLarge, {}, ExportFormat::png);
  }
  auto bytes = palette.encode(*codec_, encoding);
  if (!bytes) return failure(Case::encodeRefused, bytes.error().reason);
  return std::move(*bytes);
}

vantorel::Result<void> CaptureTranscoder::removeIfThere(const Path& path) {
  auto removed = files_->remove(path);
  if (!removed && removed.error().kind == FailureKind::notFound) return {};
  return removed;
}

vantorel::Result<void> CaptureTranscoder::keepOriginal(const Path& path, const Path& original) {
  VT_TRY(files_->makeFolder(original.parent_path(), Privacy::ownerOnly));
  auto kept = files_->linkNew(path, original);
  if (!kept && kept.error().kind == FailureKind::unsupported) {
    // Half a copy under the final name would pass for the original after a crash.
    const Path partial = temporaryBeside(original, ".partial");
    VT_TRY(removeIfThere(partial));
    const std::string bytes = VT_TRY(files_->read(path, maximumFileBytes));
    VT_TRY(files_->create(partial, bytes, Privacy::ownerOnly, Durability::flushed));
    kept = files_->moveNew(partial, original);
    if (!kept) VT_TRY(removeIfThere(partial));
  }
  if (!kept && kept.error().kind == FailureKind::exists) return {};
  VT_TRY(kept);
  return files_->flushFolder(original.parent_path());
}

vantorel::Result<Path> CaptureTranscoder::writeBeside(const Source& source, std::string_view bytes,
                                                      ExportFormat format) {
  const Path& old = source.path;
  const Path folder = old.parent_path();
  const Path temporary = rewriteTemporary(old);
  VT_TRY(removeIfThere(temporary));
  VT_TRY(files_->create(temporary, bytes, Privacy::byUmask, Durability::flushed));
  const Path first = fittingName(old.stem().string(), fmt::format(".{}", fileExtension(format)));
  auto problem = std::unexpected(noFreeName());
  for (int number = 1; number <= maximumNames; ++number) {
    Path path = folder / (number == 1 ? first : Path(numberedName(first, number)));
    if (files_->status(path) || (source.isReserved && source.isReserved(path))) continue;
    const auto moved = [&]() -> vantorel::Result<void> {
      if (source.willMake) VT_TRY(source.willMake(path, temporary));
      return files_->moveNew(temporary, path);
    }();
    if (moved) {
      settleFolder(*files_, folder);
      return path;
    }
    if (moved.error().kind == FailureKind::exists) continue;
    problem = std::unexpected(moved.error());
    break;
  }
  if (const auto removed = removeIfThere(temporary); !removed) {
    logWarning("Transcoding", "{} stays behind: {}", temporary.string(), removed.error().reason);
  }
  return problem;
}

CaptureTranscoder::Answer<CaptureTranscoder::Result> CaptureTranscoder::write(
    const Source& source, const Opened& opened, const Image& image, const ImageEncoding& encoding,
    std::string_view bytes) {
  Result result{.path = source.path,
                .oldPath = std::nullopt,
                .format = encoding.format,
                .pixelSizeBefore = opened.image.size(),
                .pixelSize = image.size(),
                .scale = encoding.pixelsPerPoint,
                .preview = image,
                .bytesBefore = opened.bytes,
                .bytesAfter = bytes.size(),
                .downscaled = image.size() != opened.image.size(),
                .isBlanked = opened.isBlanked,
                .notes = {}};
  if (source.keepOriginalAs) {
    const auto kept = keepOriginal(source.path, *source.keepOriginalAs);
    if (!kept) return writeFailure(kept.error());
  }
  if (encoding.format == opened.header.format) {
    const auto replaced = [&]() -> vantorel::Result<void> {
      if (source.willReplace) VT_TRY(source.willReplace(bytes.size()));
      return files_->replace(source.path, bytes, Privacy::byUmask);
    }();
    if (!replaced) return writeFailure(replaced.error());
    settleFolder(*files_, source.path.parent_path());
    return result;
  }
  auto path = writeBeside(source, bytes, encoding.format);
  if (!path) return writeFailure(path.error());
  result.path = std::move(*path);
  result.oldPath = source.path;
  return result;
}

ImageEncoding CaptureTranscoder::encodingOf(const Source& source, ExportFormat format,
                                            double quality) {
  return {.format = format,
          .quality = quality,
          .pixelsPerPoint = source.scale,
          .pngEffort = PNGEffort::small,
          .createdAt = source.createdAt};
}

CaptureTranscoder::Answer<std::string> CaptureTranscoder::converted(
    const Opened& opened, const ImageEncoding& encoding) const {
  std::string bytes = VT_TRY(encode(opened.image, encoding));
  // HEIC is asked for to save room; of flat pictures PNG files are smaller, and exact.
  if (encoding.format == ExportFormat::heic && opened.header.format == ExportFormat::png) {
    const std::uint64_t most = VT_TRY(bytesToBeat(opened, encoding));
    if (bytes.size() > most) {
      return failure(Case::larger,
                     fmt::format("{} instead of {}", sizeText(bytes.size()), sizeText(most)),
                     encoding.format);
    }
  }
  return bytes;
}

std::expected<CaptureTranscoder::Result, TranscodeFailure> CaptureTranscoder::convert(
    const Source& source, ExportFormat format, double quality) {
  Answer<Result> result = rewritten(source, format, quality);
  if (!result) result.error().format = format;
  return result;
}

CaptureTranscoder::Answer<CaptureTranscoder::Result> CaptureTranscoder::rewritten(
    const Source& source, ExportFormat format, double quality) {
  // PNG files hold the picture as it was.
  const Opened opened = VT_TRY(format == ExportFormat::png ? open(source) : openBlanked(source));
  if (opened.header.format == format) {
    return Result{.path = source.path,
                  .oldPath = std::nullopt,
                  .format = format,
                  .pixelSizeBefore = opened.image.size(),
                  .pixelSize = opened.image.size(),
                  .scale = source.scale,
                  .preview = opened.image,
                  .bytesBefore = opened.bytes,
                  .bytesAfter = opened.bytes,
                  .downscaled = false,
                  .notes = {}};
  }
  const ImageEncoding encoding = encodingOf(source, format, quality);
  const std::string bytes = VT_TRY(converted(opened, encoding));
  return write(source, opened, opened.image, encoding, bytes);
}

/// The fitting way to make the file smaller, taken; nothing when none is worth it.
CaptureTranscoder::Answer<std::optional<CaptureTranscoder::Encoded>> CaptureTranscoder::smallest(
    const Source& source, const Opened& opened, bool downscaleTo1x) const {
  const bool mayTakePalette =
      opened.header.format == ExportFormat::png && !opened.header.hasPalette;
  std::optional<IndexedPNGEncoder> palette;
  if (mayTakePalette) palette.emplace(opened.image);
  const CompressPlan plan = compressPlan({.format = opened.header.format,
                                          .hasPalette = opened.header.hasPalette,
                                          .isTranslucent = palette && palette->isTranslucent(),
                                          .paletteDecibels = palette ? palette->decibels() : 0,
                                          .scale = source.scale,
                                          .downscaleTo1x = downscaleTo1x});
  if (std::holds_alternative<compress::AlreadyCompact>(plan)) return std::nullopt;

  ImageEncoding encoding{.format = ExportFormat::png,
                         .pixelsPerPoint = source.scale,
                         .pngEffort = PNGEffort::small,
                         .createdAt = source.createdAt};
  Image image = opened.image;
  if (const auto* const reencode = std::get_if<compress::Reencode>(&plan)) {
    encoding.format = reencode->format;
    encoding.quality = reencode->quality;
    palette.reset();
    if (reencode->downscaleTo1x) {
      image = downscaled(image, sizeInPoints(image.size(), source.scale));
      encoding.pixelsPerPoint = 1;
      if (encoding.format == ExportFormat::png) palette.emplace(image);
    }
  }
  const bool takesPalette = palette && palette->decibels() >= goodPaletteDecibels;
  std::string bytes =
      takesPalette ? VT_TRY(encodePalette(*palette, encoding)) : VT_TRY(encode(image, encoding));
  const std::uint64_t most = VT_TRY(bytesToBeat(opened, encoding));
  // Who asks for 1x asks for the size on screen, whatever it saves.
  const bool isScaled = image.size() != opened.image.size();
  if (!isScaled && static_cast<double>(bytes.size()) > worthwhile * static_cast<double>(most)) {
    return std::nullopt;
  }
  return Encoded{std::move(image), encoding, std::move(bytes)};
}

CaptureTranscoder::Answer<std::optional<CaptureTranscoder::Result>> CaptureTranscoder::compacted(
    const Source& source, bool downscaleTo1x) {
  const Opened opened = VT_TRY(openBlanked(source));
  const std::optional<Encoded> made = VT_TRY(smallest(source, opened, downscaleTo1x));
  if (!made) return std::nullopt;
  return VT_TRY(write(source, opened, made->image, made->encoding, made->bytes));
}

void CaptureTranscoder::weigh(const Source& source, double quality,
                              const std::function<bool(const Weight&)>& tell) const {
  const Answer<Opened> plain = open(source);
  const Answer<Opened> blanked = openBlanked(source);
  const auto weightOf = [&](ExportFormat format) -> Weight {
    const Answer<Opened>& opened = format == ExportFormat::png ? plain : blanked;
    if (!opened) return {format, std::unexpected(opened.error())};
    if (opened->header.format == format) return {format, opened->bytes};
    const auto bytes = converted(*opened, encodingOf(source, format, quality));
    if (!bytes) return {format, std::unexpected(bytes.error())};
    return {format, bytes->size()};
  };
  for (const auto format : {ExportFormat::png, ExportFormat::jpeg, ExportFormat::webp}) {
    if (!tell(weightOf(format))) return;
  }
  Weight compressed{.bytes = std::nullopt};
  if (!blanked) {
    compressed.bytes = std::unexpected(blanked.error());
  } else if (const auto made = smallest(source, *blanked, false); !made) {
    compressed.bytes = std::unexpected(made.error());
  } else if (*made) {
    compressed.bytes = (*made)->bytes.size();
  }
  if (!compressed.bytes) compressed.bytes.error().task = TranscodeTask::compress;
  if (tell(compressed)) tell(weightOf(ExportFormat::heic));
}

CaptureTranscoder::CompressOutcome CaptureTranscoder::compress(const Source& source,
                                                               bool downscaleTo1x) {
  auto result = compacted(source, downscaleTo1x);
  if (!result) {
    if (result.error().what == Case::tooLarge) return TooLarge{result.error().format};
    result.error().task = TranscodeTask::compress;
    return Failed{std::move(result).error()};
  }
  if (!*result) return AlreadyCompact{};
  return Compacted{std::move(**result)};
}

}  // namespace vantorel
