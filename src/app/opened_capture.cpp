#include "app/opened_capture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "app/document_storing.hpp"
#include "base/random_id.hpp"
#include "base/round_trip.hpp"
#include "editor/entry_document.hpp"
#include "library/entry_title.hpp"

namespace vantorel {
namespace {

constexpr const char* clipboardTitle = "Clipboard Image";
constexpr const char* isFiledAnew =
    "The capture has left History, for its file is gone. What you see was filed as a new one.";

constexpr const char* isFiledBeside =
    "The picture was changed by another program. What you see was filed as a new one.";

bool isSamePicture(const Image& one, const Image& other) {
  if (one.size() != other.size() || one.format() != other.format()) return false;
  for (int y = 0; y < one.height(); ++y) {
    if (!std::ranges::equal(one.row(y), other.row(y))) return false;
  }
  return true;
}

/// The picture as a PNG file: as it was copied, where it is one already.
Result<std::string> asPNG(const Image& base, const std::string* copied, double scale,
                          const ImageCodec& codec) {
  if (copied != nullptr) {
    const auto header = codec.header(*copied);
    const bool isPlain = header && header->format == ExportFormat::png && !header->isAnimated;
    if (isPlain) return *copied;
  }
  return codec.encode(base, {.format = ExportFormat::png, .pixelsPerPoint = scale});
}

/// Nothing of it is made: what did not land was taken back.
std::string whyNotStored(const EntryFailure& failure) {
  if (failure.what != EntryFailure::Case::notSaved) return sentence(failure);
  return fmt::format("Your changes couldn't be saved: {}.", failure.reason);
}

}  // namespace

OpenedCapture::OpenedCapture(Services services, Origin origin, EntryClaim claim)
    : services_(std::move(services)),
      origin_(std::move(origin)),
      key_(keyOf(origin_)),
      claim_(std::move(claim)),
      lastEntry_(entry()) {}

std::string OpenedCapture::keyOf(const Origin& origin) {
  if (!origin.entryID.empty()) return origin.entryID;
  if (!origin.file.empty()) return "file:" + origin.file.string();
  return AnnotationDrafts::keyOfPicture(*origin.clipboard);
}

std::string OpenedCapture::draftKey() const {
  if (picture_) return AnnotationDrafts::keyOfPicture(*picture_);
  if (!origin_.entryID.empty()) return AnnotationDrafts::keyOfEntry(origin_.entryID);
  if (!origin_.file.empty()) return AnnotationDrafts::keyOfFile(origin_.file);
  return AnnotationDrafts::keyOfPicture(*origin_.clipboard);
}

void OpenedCapture::setRead(Image base, std::optional<double> captureScale, EditorDocument stored) {
  base_ = std::move(base);
  captureScale_ = captureScale;
  stored_ = std::move(stored);
  entryChanged();
}

void OpenedCapture::entryChanged() {
  EntryPointer now = entry();
  if (!now) return;
  lastEntry_ = std::move(now);
  if (picture_) moveDraft(nullptr);  // its file came back
}

void OpenedCapture::entryLeft() {
  if (origin_.entryID.empty() || picture_ || base_.isEmpty()) return;
  roundTrip(
      *services_.work, services_.main,
      [base = base_, scale = captureScale_.value_or(1), codec = services_.codec] {
        return asPNG(base, nullptr, scale, *codec);
      },
      lifetime_.guard([this, id = origin_.entryID](Result<std::string> png) {
        if (origin_.entryID != id || entry() || picture_) return;
        if (png) return moveDraft(std::make_shared<const std::string>(*std::move(png)));
        if (onRemark) {
          onRemark("The picture can't be kept in case something happens: " + png.error().reason +
                   ".");
        }
      }));
}

void OpenedCapture::moveDraft(std::shared_ptr<const std::string> picture) {
  const std::string before = draftKey();
  picture_ = std::move(picture);
  if (onDraftMoved) onDraftMoved();
  services_.drafts.drop(before);
}

EntryPointer OpenedCapture::entry() const {
  return origin_.entryID.empty() ? nullptr : services_.library.store().find(origin_.entryID);
}

std::string OpenedCapture::title() const {
  if (!origin_.file.empty()) return origin_.file.stem().string();
  if (origin_.entryID.empty()) return origin_.called.empty() ? clipboardTitle : origin_.called;
  const EntryPointer now = entry();
  const ScreenshotEntry* const known = now ? now.get() : lastEntry_.get();
  return known != nullptr ? titleOf(*known) : std::string();
}

std::string OpenedCapture::fileStem() const {
  std::string stem = title();
  std::ranges::replace(stem, '/', '-');
  return stem;
}

std::optional<double> OpenedCapture::capturedAt() const {
  return lastEntry_ ? std::optional(lastEntry_->capturedAt) : std::nullopt;
}

Path OpenedCapture::file() const {
  if (!origin_.file.empty()) return origin_.file;
  const EntryPointer now = entry();
  if (now) return now->path;
  return lastEntry_ ? Path(lastEntry_->path) : Path();
}

// ---- saving

void OpenedCapture::store(const EditorDocument& document, PixelSize capture, Stored done) {
  if (!isInLibrary()) return fileFirst(document, capture, done);
  lookFirst([this, document, capture, done = std::move(done)](FileNow file) {
    isOther_ = file == FileNow::other;
    if (file != FileNow::same) return fileFirst(document, capture, done);
    storeInEntry(document, capture, done);
  });
}

/// Annotations of a picture that is no more would be kept for nothing, while this has the picture.
/// One that is out of reach is still there. On another picture they would lie in the wrong place,
/// redactions among them.
void OpenedCapture::lookFirst(std::function<void(FileNow)> then) {
  services_.library.findFiles(
      {origin_.entryID}, Library::Claimed::byCaller, *services_.disk,
      lifetime_.guard([this, then = std::move(then)](const std::set<std::string>&) {
        const EntryPointer now = entry();
        if (!now) return then(FileNow::gone);
        roundTrip(
            *services_.disk, services_.main,
            [files = services_.files, codec = services_.codec, now, base = base_,
             wasChanged = wasChanged_] {
              if (const auto absence = absenceOf(*files, *now)) {
                return absence->reach == FileReach::fileGone ? FileNow::gone : FileNow::same;
              }
              if (!wasChanged) return FileNow::same;
              const auto picture = readPictureFile(now->path, 0, *files, *codec);
              return picture && isSamePicture(*picture, base) ? FileNow::same : FileNow::other;
            },
            lifetime_.guard([then](FileNow file) { then(file); }));
      }));
}

void OpenedCapture::storeInEntry(const EditorDocument& document, PixelSize capture,
                                 const Stored& done) {
  storeDocument(
      services_.library, origin_.entryID, document, capture, IfUnsaved::takeBack,
      lifetime_.guard([this, document, done](const Result<EntryPointer, EntryFailure>& stored) {
        if (!stored) return done(std::unexpected(whyNotStored(stored.error())));
        lastEntry_ = *stored;
        stored_ = document;
        done({});
      }));
}

/// From the moment it has an id, what was drawn is kept under that one too: whatever happens
/// between the filing of the picture and of its annotations, the capture opens with them.
void OpenedCapture::fileFirst(const EditorDocument& document, PixelSize capture,
                              const Stored& done) {
  if (import_) return import(document, capture, done);
  import_ = std::make_shared<StillCaptures::Import>();
  import_->capturedAt = services_.library.clock().now();
  import_->record.scale = captureScale_;
  import_->record.entryID = randomID();
  if (lastEntry_) {  // it has left, and comes back as what it was
    import_->capturedAt = lastEntry_->capturedAt;
    import_->record.isTallCapture = lastEntry_->isTallCapture;
    import_->record.sourceApp = lastEntry_->sourceApp;
  }
  roundTrip(
      *services_.work, services_.main,
      [base = base_, copied = origin_.clipboard, scale = captureScale_.value_or(1),
       codec = services_.codec] { return asPNG(base, copied.get(), scale, *codec); },
      lifetime_.guard([this, document, capture, done](Result<std::string> png) {
        if (!png) {
          import_.reset();
          return done(
              std::unexpected("The picture couldn't be filed: " + png.error().reason + "."));
        }
        import_->png = *std::move(png);
        import(document, capture, done);
      }));
}

void OpenedCapture::import(const EditorDocument& document, PixelSize capture, const Stored& done) {
  const std::string id = *import_->record.entryID;
  AnnotationDraft draft = draftOf(document, capture);
  draft.entryID = id;
  draft.file.clear();
  draft.from = draftKey();
  services_.drafts.keep(AnnotationDrafts::keyOfEntry(id), std::move(draft));
  services_.import(import_, lifetime_.guard([this, document, capture, done,
                                             id](Result<CaptureOutcome::Saved> saved) {
    if (!saved) {
      return done(std::unexpected("The picture couldn't be filed: " + saved.error().reason + "."));
    }
    if (!saved->indexFailure.empty()) return done(std::unexpected(saved->indexFailure));
    if (onRemark) {
      for (const std::string& remark : remarksOn(*saved)) onRemark(remark);
    }
    carryOver(id);
    const EntryPointer without = entry();
    becomeEntry(id);
    if (without && isOther_) {
      if (onRemark) onRemark(isFiledBeside);
    } else if (without) {
      if (onRemark) onRemark(isFiledAnew);
      services_.library.deletion().forget(
          {without->id}, [](const auto&) {}, HistoryDeletion::Originals::kept);
    }
    storeInEntry(document, capture, done);
  }));
}

/// What the user gave to the capture that it was; a picture from a file goes by its name, whatever
/// its file in the library is called.
void OpenedCapture::carryOver(const std::string& id) {
  HistoryStore& store = services_.library.store();
  const std::string called = title();
  if (origin_.clipboard != nullptr && called == clipboardTitle) return;
  (void)store.update(id, [&](ScreenshotEntry& entry) {
    entry.title = titleFrom(called);
    if (!lastEntry_) return;
    entry.starred = lastEntry_->starred;
    entry.collectionIDs = lastEntry_->collectionIDs;
    std::erase_if(entry.collectionIDs, [&](const std::string& collection) {
      return store.findCollection(collection) == nullptr;
    });
    entry.sourceEntryID = lastEntry_->sourceEntryID;
    entry.ocrText = lastEntry_->ocrText;
    entry.ocrBlocks = lastEntry_->ocrBlocks;
    entry.ocrVersion = lastEntry_->ocrVersion;
    entry.ocrTruncated = lastEntry_->ocrTruncated;
    entry.translations = lastEntry_->translations;
    entry.codes = lastEntry_->codes;
    entry.textShape = lastEntry_->textShape;
  });
}

void OpenedCapture::becomeEntry(const std::string& id) {
  const std::string oldKey = key_;
  const std::string oldDraft = draftKey();
  if (auto claim = services_.library.claim(id, EntryWork::editing)) claim_ = *std::move(claim);
  origin_ = {.entryID = id};
  key_ = keyOf(origin_);
  import_.reset();
  picture_.reset();
  wasChanged_ = false;
  lastEntry_ = entry();
  services_.drafts.drop(oldDraft);
  if (onFiled) onFiled(oldKey);
}

void OpenedCapture::removeFromHistory() {
  if (origin_.entryID.empty()) return;
  claim_.end();
  services_.forget(origin_.entryID,
                   lifetime_.guard([this](const Result<void, std::string>& forgotten) {
                     if (!forgotten && onRemark) onRemark(forgotten.error());
                     if (forgotten && onRemoved) onRemoved();
                   }));
}

// ---- drafts

AnnotationDraft OpenedCapture::draftOf(const EditorDocument& document, PixelSize capture) const {
  AnnotationDraft draft;
  draft.entryID = picture_ ? std::string() : origin_.entryID;
  draft.file = origin_.file.string();
  draft.title = title();
  draft.keptAt = services_.library.clock().now();
  draft.width = capture.width;
  draft.height = capture.height;
  draft.document = document;
  draft.stored = stored_;
  if (picture_) {  // whoever opens it finds a picture without annotations
    draft.stored = {};
    draft.stored.canvas.width = capture.width;
    draft.stored.canvas.height = capture.height;
  }
  return draft;
}

void OpenedCapture::keepDraft(const EditorDocument& document, PixelSize capture,
                              std::function<void(const Result<void>&)> kept) {
  services_.drafts.keep(draftKey(), draftOf(document, capture),
                        picture_ ? picture_ : origin_.clipboard, std::move(kept));
}

void OpenedCapture::dropDraft() { services_.drafts.drop(draftKey()); }

}  // namespace vantorel
