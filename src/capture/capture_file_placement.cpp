#include "capture/capture_file_placement.hpp"

#include <fmt/format.h>

#include "base/log.hpp"
#include "library/capture_file_name.hpp"
#include "library/file_reach.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {
namespace {

constexpr int maximumNames = 10'000;

std::string inodeText(const FileStatus& status) {
  return fmt::format("{}:{}", status.device, status.inode);
}

}  // namespace

CaptureFilePlacement::CaptureFilePlacement(std::shared_ptr<Files> files,
                                           std::shared_ptr<const ImageCodec> codec,
                                           std::shared_ptr<StagingFolder> staging)
    : files_(std::move(files)), codec_(std::move(codec)), staging_(std::move(staging)) {}

Result<CaptureFilePlacement::Encoded> CaptureFilePlacement::encode(
    const StagedCapture& staged, Image image, const CaptureFileSettings& settings) {
  Encoded encoded;
  if (image.isEmpty() && settings.format == ExportFormat::png) {
    const std::string png = VT_TRY(files_->read(staged.path));
    encoded.pixelSize = VT_TRY(codec_->pixelSize(png));
    return encoded;
  }
  if (image.isEmpty()) {
    const std::string png = VT_TRY(files_->read(staged.path));
    image = VT_TRY(codec_->decode(png));
  }
  encoded.pixelSize = image.size();
  if (settings.format == ExportFormat::png) return encoded;
  auto bytes = codec_->encode(image, {.format = settings.format,
                                      .quality = settings.quality,
                                      .pixelsPerPoint = staged.record.scale.value_or(1),
                                      .createdAt = staged.capturedAt});
  if (!bytes) {
    logWarning("Filing", "{} was not possible: {}", displayName(settings.format),
               bytes.error().reason);
    encoded.notes.emplace_back(note::LossyFallback{settings.format});
    return encoded;
  }
  // HEIC is chosen to save room; of flat pictures PNG files are smaller, and exact.
  if (settings.format == ExportFormat::heic &&
      bytes->size() > VT_TRY(files_->status(staged.path)).size) {
    encoded.notes.emplace_back(note::LossyFallback{settings.format, true});
    return encoded;
  }
  encoded.format = settings.format;
  encoded.bytes = std::move(*bytes);
  return encoded;
}

Result<Path> CaptureFilePlacement::nameFor(const Path& source, bool link, const Path& folder,
                                           StagedCapture& staged,
                                           const std::string& filenameTemplate,
                                           std::string_view extension) {
  const std::string inode = inodeText(VT_TRY(files_->status(source)));
  const Path first = captureFileName(filenameTemplate, staged.capturedAt, extension);
  for (int number = 1; number <= maximumNames; ++number) {
    Path path = folder / (number == 1 ? first : Path(numberedName(first, number)));
    if (files_->status(path)) continue;
    // Said before it is done: a file that stands there after a crash is then known to be this one.
    staged.record.filedPath = path.string();
    staged.record.filedInode = inode;
    VT_TRY(staging_->update(staged));
    const auto named = link ? files_->linkNew(source, path) : files_->moveNew(source, path);
    if (named) return path;
    if (named.error().kind != FailureKind::exists) return std::unexpected(named.error());
  }
  return std::unexpected(noFreeName());
}

Result<Path> CaptureFilePlacement::placeIn(const Path& folder, StagedCapture& staged,
                                           const Encoded& encoded,
                                           const std::string& filenameTemplate) {
  const std::string_view extension = fileExtension(encoded.format);
  // One that was cut short, whose format may have been another.
  const Path temporary = folder / fmt::format(".{}.partial", staged.path.stem().string());
  if (const auto old = files_->remove(temporary);
      !old && old.error().kind != FailureKind::notFound) {
    return std::unexpected(old.error());
  }
  if (!encoded.bytes) {
    auto linked = nameFor(staged.path, true, folder, staged, filenameTemplate, extension);
    if (linked || linked.error().kind != FailureKind::unsupported) return linked;
  }
  const std::string copied = encoded.bytes ? std::string() : VT_TRY(files_->read(staged.path));
  const std::string& bytes = encoded.bytes ? *encoded.bytes : copied;
  VT_TRY(files_->create(temporary, bytes, Privacy::byUmask, Durability::flushed));
  auto moved = nameFor(temporary, false, folder, staged, filenameTemplate, extension);
  if (moved) return moved;
  // Nothing more can come of the move without it.
  if (const auto removed = files_->remove(temporary);
      !removed && removed.error().kind != FailureKind::notFound) {
    logWarning("Filing", "{} could not be removed: {}", temporary.string(), removed.error().reason);
  }
  if (!isUnanswered(moved.error()) || !staged.record.filedPath) return moved;
  // The name was free: what is there now is what the move made, and was not told.
  const Path wanted = *staged.record.filedPath;
  const auto made = files_->read(wanted);
  return made && *made == bytes ? wanted : std::move(moved);
}

Result<PlacedCapture> CaptureFilePlacement::place(StagedCapture& staged, Image image,
                                                  const CaptureFileSettings& settings) {
  Encoded encoded = VT_TRY(encode(staged, std::move(image), settings));

  // A process that was filing it may have ended since it was staged here.
  if (auto record = staging_->record(staged.path)) {
    staged.record.filedPath = std::move(record->filedPath);
    staged.record.filedInode = std::move(record->filedInode);
  }
  if (staged.record.filedPath && staged.record.filedInode) {
    const Path earlier = *staged.record.filedPath;
    const auto status = files_->status(earlier);
    if (status && inodeText(*status) == *staged.record.filedInode) {
      return PlacedCapture{earlier, encoded.pixelSize, {}, identifyFile(*files_, earlier)};
    }
  }

  // The default folder is the program's own and may be made. A chosen one that is missing is left
  // alone: it may be the mount point of a disk that is not plugged in.
  std::optional<std::string> problem;
  for (const Path& folder : {settings.storageFolder, settings.defaultFolder}) {
    const bool isOwn = folder == settings.defaultFolder;
    if (isOwn) {
      if (const auto made = files_->makeFolder(folder, Privacy::byUmask); !made) {
        problem = made.error().reason;
        continue;
      }
    }
    if (!isOwn && settings.seenInStorage && isUnmounted(*files_, folder, *settings.seenInStorage)) {
      problem = notConnectedReason;
      logWarning("Filing", "{} cannot be used: {}", folder.string(), *problem);
      continue;
    }
    const auto placed = placeIn(folder, staged, encoded, settings.filenameTemplate);
    if (placed) {
      settleFolder(*files_, folder);
      if (folder != settings.storageFolder) {
        encoded.notes.emplace_back(note::StorageUnavailable{problem});
      }
      return PlacedCapture{*placed, encoded.pixelSize, std::move(encoded.notes),
                           identifyFile(*files_, *placed)};
    }
    problem = placed.error().kind == FailureKind::notFound ? "the folder is missing"
                                                           : placed.error().reason;
    logWarning("Filing", "{} cannot be used: {}", folder.string(), *problem);
  }
  // It is filed again, as the same capture, or else never.
  if (const auto noted = staging_->update(staged); !noted) {
    logWarning("Filing", "{}", noted.error().reason);
    if (const auto removed = staging_->removeRecord(staged.path); !removed) {
      return std::unexpected(removed.error());
    }
  }
  encoded.notes.emplace_back(note::PublishedInStagingFolder{staged.path});
  return PlacedCapture{staged.path, encoded.pixelSize, std::move(encoded.notes),
                       identifyFile(*files_, staged.path)};
}

}  // namespace vantorel
