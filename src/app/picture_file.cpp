#include "app/picture_file.hpp"

#include <fmt/format.h>

#include <utility>

#include "editor/entry_document.hpp"

namespace vantorel {
namespace {

using Case = PictureFileFailure::Case;

std::unexpected<PictureFileFailure> failure(Case what, Failure why) {
  return std::unexpected(PictureFileFailure{what, std::move(why)});
}

}  // namespace

bool isOwnFile(const ScreenshotEntry& entry, ExportFormat format) {
  return !isAnnotated(entry) &&
         Path(entry.path).extension() == fmt::format(".{}", fileExtension(format));
}

Result<std::string, PictureFileFailure> pictureFileOf(const ScreenshotEntry& entry,
                                                      ExportFormat format, double quality,
                                                      const PictureFileMaking& with) {
  if (hasUnreadAnnotations(entry)) {
    return failure(Case::unreadAnnotations, {FailureKind::other, unreadAnnotationsReason});
  }
  auto bytes = with.files->read(entry.path);
  if (!bytes) return failure(Case::notRead, std::move(bytes.error()));
  if (isOwnFile(entry, format)) return *std::move(bytes);
  auto image = with.codec->decode(*bytes);
  if (!image) return failure(Case::noImage, std::move(image.error()));
  const ImageEncoding encoding{
      .format = format, .quality = quality, .pixelsPerPoint = entry.captureScale.value_or(1)};
  if (!isAnnotated(entry)) {
    auto encoded = with.codec->encode(*image, encoding);
    if (!encoded) return failure(Case::notEncoded, std::move(encoded.error()));
    return *std::move(encoded);
  }
  const EditorDocument document = documentOf(entry, image->size());
  auto drawn = with.draw(document, *std::move(image), entry.captureScale, encoding);
  if (!drawn) {
    return failure(Case::notDrawn, {FailureKind::other, sentence(drawn.error())});
  }
  return *std::move(drawn);
}

}  // namespace vantorel
