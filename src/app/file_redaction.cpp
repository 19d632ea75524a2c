#include "app/file_redaction.hpp"

#include <optional>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "editor/entry_document.hpp"
#include "library/capture_file_name.hpp"
#include "library/entry_title.hpp"
#include "library/file_reach.hpp"
#include "library/known_files.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {
namespace {

constexpr int mostNames = 1000;

std::unexpected<RedactionFailure> notDone(AnnotationFailure failure) {
  return std::unexpected(RedactionFailure(std::move(failure)));
}

std::unexpected<RedactionFailure> notDone(RedactionFault::Case what, std::string reason) {
  return std::unexpected(RedactionFailure(RedactionFault{what, std::move(reason)}));
}

bool isMissing(const Failure& failure) { return failure.kind == FailureKind::notFound; }

}  // namespace

struct FileRedaction::Change {
  EntryPointer entry;  ///< as it was
  bool covers = false;
  Done done;
};

/// What was put in the place of a capture's file.
struct FileRedaction::NewFile {
  PixelSize size;
  std::optional<FileIdentity> identity;
  std::optional<Path> original;  ///< that the entry has now
};

/// What is done to the files. Blocks; lives on the runner for work. Each step may be done again.
class FileRedaction::Disk {
 public:
  Disk(std::shared_ptr<Files> files, std::shared_ptr<const ImageCodec> codec, LibraryPaths paths)
      : files_(std::move(files)),
        codec_(std::move(codec)),
        paths_(std::move(paths)),
        redacted_(files_, paths_.redactedOriginals()) {}

  Result<NewFile> uncover(const ScreenshotEntry& entry, double quality) {
    const auto original = redacted_.read(entry.id);
    // A change that was cut short may have come that far.
    if (!original && isMissing(original.error()) && entry.redactionChange) {
      const PixelSize size = VT_TRY(codec_->pixelSize(*files_, entry.path));
      std::optional<Path> other = entry.originalPath;
      if (other == redacted_.original(entry.id)) other.reset();
      return newFile(entry, size, std::move(other));
    }
    if (!original) return std::unexpected(original.error());
    const PixelSize size = VT_TRY(codec_->pixelSize(*original));
    const ExportFormat format = formatOf(entry);
    if (format == ExportFormat::png) {
      VT_TRY(put(entry, *original));
      return newFile(entry, size, std::nullopt);
    }
    const Image picture = VT_TRY(codec_->decode(*original));
    const Path kept = paths_.originals() / (entry.id + ".png");
    VT_TRY(files_->makeFolder(paths_.originals(), Privacy::ownerOnly));
    VT_TRY(files_->replace(kept, *original, Privacy::ownerOnly));
    const std::string bytes = VT_TRY(encoded(entry, picture, quality));
    VT_TRY(put(entry, bytes));
    return newFile(entry, size, kept);
  }

  Result<Image> picture(const ScreenshotEntry& entry) {
    const std::string bytes = VT_TRY(files_->read(entry.path));
    return codec_->decode(bytes);
  }

  /// `baked` is the picture with everything covered.
  Result<NewFile> cover(const ScreenshotEntry& entry, const Image& baked, double quality) {
    const bool wasKept = files_->status(redacted_.original(entry.id)).has_value();
    VT_TRY(keepOriginal(entry));
    const std::string bytes = VT_TRY(encoded(entry, baked, quality));
    if (const auto done = put(entry, bytes); !done) {
      if (!wasKept && !isUnanswered(done.error())) redacted_.discard(entry.id);
      return std::unexpected(done.error());
    }
    return newFile(entry, baked.size(), redacted_.original(entry.id));
  }

  /// The index says what has become of it.
  void clearUp(const ScreenshotEntry& entry, bool covers, const EntryList& entries) {
    if (!covers) return redacted_.discard(entry.id);
    redacted_.forgetShapes(entry.id);
    const auto earlier = earlierOriginal(entry);
    if (!earlier || filesCalledLike(*files_, entries, {earlier->string()}).hasName(*earlier))
      return;
    if (const auto removed = files_->remove(*earlier); !removed && !isMissing(removed.error())) {
      logWarning("SmartRedact", "{} could not be removed: {}", earlier->string(),
                 removed.error().reason);
    }
  }

  [[nodiscard]] std::optional<Path> earlierOriginal(const ScreenshotEntry& entry) const {
    if (entry.redactionChange && entry.redactionChange->earlierOriginal) {
      return *entry.redactionChange->earlierOriginal;
    }
    if (!entry.originalPath || *entry.originalPath == redacted_.original(entry.id)) {
      return std::nullopt;
    }
    return *entry.originalPath;
  }

 private:
  [[nodiscard]] static ExportFormat formatOf(const ScreenshotEntry& entry) {
    return formatOfFileName(entry.path).value_or(ExportFormat::png);
  }

  [[nodiscard]] Result<std::string> encoded(const ScreenshotEntry& entry, const Image& picture,
                                            double quality) const {
    return codec_->encode(picture, {.format = formatOf(entry),
                                    .quality = quality,
                                    .pixelsPerPoint = entry.captureScale.value_or(1),
                                    .createdAt = entry.capturedAt});
  }

  [[nodiscard]] Result<NewFile> newFile(const ScreenshotEntry& entry, PixelSize size,
                                        std::optional<Path> original) const {
    return NewFile{size, identifyFile(*files_, entry.path), std::move(original)};
  }

  /// Makes the untouched picture safe, unless it is.
  Result<void> keepOriginal(const ScreenshotEntry& entry) {
    if (files_->status(redacted_.original(entry.id))) return {};
    const auto earlier = earlierOriginal(entry);
    auto bytes = files_->read(earlier.value_or(entry.path));
    if (!bytes && earlier && isMissing(bytes.error())) bytes = files_->read(entry.path);
    if (!bytes) return std::unexpected(bytes.error());
    const PictureHeader header = VT_TRY(codec_->header(*bytes));
    if (header.format != ExportFormat::png) {
      const Image picture = VT_TRY(codec_->decode(*bytes));
      *bytes = VT_TRY(codec_->encode(picture, {.format = ExportFormat::png}));
    }
    return redacted_.keep(entry.id, *bytes, *entry.autoRedactions);
  }

  /// Puts `bytes` in the place of the capture's file.
  Result<void> put(const ScreenshotEntry& entry, std::string_view bytes) {
    if (!files_->status(Path(entry.path).parent_path())) {
      return failed(FailureKind::unreachable, "the folder it's in can't be reached");
    }
    VT_TRY(keepStrange(entry));
    return files_->replace(entry.path, bytes, Privacy::byUmask);
  }

  /// Another program may have written something else there since the capture was covered, which is
  /// nowhere else: it stays beside it.
  Result<void> keepStrange(const ScreenshotEntry& entry) {
    if (!entry.coveredFileSize || entry.redactionChange) return {};
    const auto status = files_->status(entry.path);
    if (!status || static_cast<std::int64_t>(status->size) == *entry.coveredFileSize) return {};
    for (int number = 2; number < mostNames; ++number) {
      const Path path = Path(entry.path).parent_path() / numberedName(fileNameOf(entry), number);
      const auto kept = files_->copyNew(entry.path, path);
      if (kept) {
        logWarning("SmartRedact", "{} was changed by another program; that is {} now", entry.path,
                   path.string());
        return {};
      }
      if (kept.error().kind != FailureKind::exists) return kept;
    }
    return failed(FailureKind::exists, "there is no free name for what was changed in it");
  }

  std::shared_ptr<Files> files_;
  std::shared_ptr<const ImageCodec> codec_;
  LibraryPaths paths_;
  RedactedOriginals redacted_;
};

FileRedaction::FileRedaction(Services services)
    : services_(std::move(services)),
      disk_(std::make_shared<Disk>(services_.files, services_.codec, services_.library.paths())) {}

void FileRedaction::uncover(const EntryPointer& entry, Done done) {
  begin(entry, false, std::move(done));
}

void FileRedaction::cover(const EntryPointer& entry, Done done) {
  begin(entry, true, std::move(done));
}

void FileRedaction::begin(const EntryPointer& entry, bool covers, Done done) {
  const auto change = std::make_shared<Change>(Change{entry, covers, std::move(done)});
  RedactionChange noted{.covers = covers, .earlierOriginal = {}, .extra = {}};
  if (const auto earlier = disk_->earlierOriginal(*entry); covers && earlier) {
    noted.earlierOriginal = earlier->string();
  }
  HistoryStore& store = services_.library.store();
  if (!store.update(entry->id, [&](ScreenshotEntry& now) { now.redactionChange = noted; })) {
    return change->done(notDone(EntryFailure{EntryFailure::Case::left}));
  }
  store.flush(lifetime_.guard([this, change](const Result<void>& saved) {
    if (saved) return change->covers ? bake(change) : write(change);
    (void)services_.library.store().update(change->entry->id, [&](ScreenshotEntry& now) {
      now.redactionChange = change->entry->redactionChange;
    });
    change->done(notDone(RedactionFault::Case::notWritten, saved.error().reason));
  }));
}

void FileRedaction::write(const ChangePointer& change) {
  roundTrip(
      *services_.work, services_.main,
      [disk = disk_, change, quality = services_.settings.values().jpegQuality] {
        return disk->uncover(*change->entry, quality);
      },
      lifetime_.guard([this, change](Result<NewFile> file) { replaced(change, std::move(file)); }));
}

// Of the file, also where it may be covered already: that covers no less.
void FileRedaction::bake(const ChangePointer& change) {
  const auto baked = [this, change](Result<Image, SceneFailure> picture) {
    if (!picture) {
      return replaced(change, failed(FailureKind::other, sentence(picture.error())));
    }
    roundTrip(
        *services_.work, services_.main,
        [disk = disk_, change, picture = *std::move(picture),
         quality = services_.settings.values().jpegQuality] {
          return disk->cover(*change->entry, picture, quality);
        },
        lifetime_.guard(
            [this, change](Result<NewFile> file) { replaced(change, std::move(file)); }));
  };
  roundTrip(
      *services_.work, services_.main,
      [disk = disk_, change] { return disk->picture(*change->entry); },
      lifetime_.guard([this, change, baked](Result<Image> picture) {
        if (!picture) return replaced(change, std::unexpected(picture.error()));
        services_.autoRedact.bake(*std::move(picture), change->entry->captureScale.value_or(1),
                                  *change->entry->autoRedactions, lifetime_.guard(baked));
      }));
}

/// The capture's file is another one now, or it is not: says so in the entry.
void FileRedaction::replaced(const ChangePointer& change, Result<NewFile> file) {
  HistoryStore& store = services_.library.store();
  if (!file) {
    // A disk that does not answer may yet do it.
    if (!isUnanswered(file.error())) {
      (void)store.update(change->entry->id, [&](ScreenshotEntry& now) {
        now.redactionChange = change->entry->redactionChange;
      });
    }
    using Case = RedactionFault::Case;
    const bool isGone = isMissing(file.error()) && !change->covers;
    return change->done(
        notDone(isGone ? Case::originalGone : Case::notWritten, file.error().reason));
  }
  const auto changed = store.update(change->entry->id, [&](ScreenshotEntry& now) {
    now.fileIdentity = file->identity;
    now.coveredFileSize.reset();
    if (change->covers && file->identity) now.coveredFileSize = file->identity->size;
    followPictureSize(now, file->size);
    now.originalPath = file->original ? std::optional(file->original->string()) : std::nullopt;
    now.originalIdentity.reset();
    // What is seen now is to be read anew, and what is covered is not to be found meanwhile.
    now.ocrVersion = 0;
    if (!change->covers) return;
    now.ocrText.reset();
    now.ocrBlocks.reset();
    now.ocrTruncated = false;
    now.codes.reset();
    now.textShape.reset();
  });
  if (!changed) return change->done(notDone(EntryFailure{EntryFailure::Case::left}));
  store.flush(lifetime_.guard([this, change](Result<void> saved) {
    if (saved) return clearUp(change);
    change->done(notDone(EntryFailure{EntryFailure::Case::notSaved, saved.error().reason}));
  }));
}

/// Only now: until here the index named what goes.
void FileRedaction::clearUp(const ChangePointer& change) {
  const EntryPointer now = services_.library.store().find(change->entry->id);
  if (!now) return change->done(notDone(EntryFailure{EntryFailure::Case::left}));
  roundTrip(
      *services_.work, services_.main,
      [disk = disk_, now, covers = change->covers, entries = services_.library.store().entries()] {
        disk->clearUp(*now, covers, entries);
      },
      lifetime_.guard([this, change] {
        HistoryStore& store = services_.library.store();
        const std::string& id = change->entry->id;
        if (!store.update(id, [](ScreenshotEntry& entry) { entry.redactionChange.reset(); })) {
          return change->done(notDone(EntryFailure{EntryFailure::Case::left}));
        }
        change->done(store.find(id));
      }));
}

}  // namespace vantorel
