#include "app/capture_annotator.hpp"

#include <fmt/format.h>

#include <utility>

#include "app/document_storing.hpp"
#include "app/kept_layer.hpp"
#include "base/round_trip.hpp"
#include "editor/records/output_failure.hpp"

namespace vantorel {
namespace {

constexpr const char* unreadRemark =
    "Some of the capture's annotations can't be read by this version of Vantorel; they are kept, "
    "and not listed here.";

/// A document of more bytes is a mistake: the largest sensible ones have some megabytes.
constexpr std::uint64_t maximumDocumentBytes = 256'000'000;

struct Checked {
  EditorDocument document;
  PixelSize capture;
};

/// Why a capture's picture could not be read: its disk may be away, which is no fault of the file.
AnnotationFailure unreadable(const Files& files, const ScreenshotEntry& entry,
                             const Failure& failure) {
  if (auto absence = absenceOf(files, entry)) return *std::move(absence);
  return AnnotationFault{AnnotationFault::Case::captureNotRead, failure.reason, entry.path};
}

/// The document in a file, judged for a base image of `capture` pixels.
Result<EditorDocument, AnnotationFailure> readDocument(const Path& path, PixelSize capture,
                                                       const Files& files,
                                                       const ImageCodec& codec) {
  auto text = files.read(path, maximumDocumentBytes);
  if (!text) {
    return std::unexpected(AnnotationFault{AnnotationFault::Case::fileNotRead,
                                           std::move(text.error().reason), path.string()});
  }
  return checkedDocument(*text, capture, path.parent_path(), files, codec);
}

/// Everything that `draw` does away from the main runner. `entry` is null for a picture that is in
/// no library.
Result<std::string, AnnotationFailure> drawOut(const CaptureAnnotator::Drawing& drawing,
                                               const Path& basePath, const EntryPointer& entry,
                                               ProtectedFiles kept, double quality,
                                               const CaptureAnnotator::Draw& draw, Files& files,
                                               const ImageCodec& codec) {
  kept.inputs = {basePath};
  if (drawing.document) kept.inputs.push_back(*drawing.document);
  auto base = readPictureFile(basePath, 0, files, codec);
  if (!base && !entry) {
    const bool isMissing = base.error().kind == FailureKind::notFound;
    return std::unexpected(AnnotationFault{
        isMissing ? AnnotationFault::Case::fileNotRead : AnnotationFault::Case::noImage,
        std::move(base.error().reason), basePath.string()});
  }
  if (!base) return std::unexpected(unreadable(files, *entry, base.error()));
  EditorDocument document;
  if (drawing.document) {
    document = VT_TRY(readDocument(*drawing.document, base->size(), files, codec));
  } else if (entry) {
    document = documentOf(*entry, base->size());
  }
  for (const LayerSpec& layer : document.layers) {
    if (layer.path) kept.inputs.emplace_back(*layer.path);
  }
  if (!drawing.output.empty()) VT_TRY(checkOutput(files, drawing.output, kept));
  const std::optional<double> scale = entry ? entry->captureScale : std::nullopt;
  std::string bytes =
      VT_TRY(draw(document, *std::move(base), scale,
                  {.format = drawing.format,
                   .quality = quality,
                   .pixelsPerPoint = scale.value_or(1),
                   .createdAt = entry ? std::optional(entry->capturedAt) : std::nullopt}));
  if (drawing.output.empty()) return bytes;
  if (auto written = files.replace(drawing.output, bytes, Privacy::byUmask); !written) {
    return std::unexpected(OutputFileFailure{OutputFileFailure::Case::notWritten, drawing.output,
                                             std::move(written.error().reason)});
  }
  return drawing.output.string();
}

/// Gives the entry back before the answer comes.
template <class Value>
std::function<void(Value)> releasing(EntryClaim claim, std::function<void(Value)> done) {
  return [claim = std::make_shared<EntryClaim>(std::move(claim)),
          done = std::move(done)](Value answer) {
    claim->end();
    done(std::move(answer));
  };
}

}  // namespace

std::string sentence(const AnnotationFault& fault) {
  using enum AnnotationFault::Case;
  switch (fault.what) {
    case noPicture: return "Only pictures can be annotated.";
    case notFound: return fmt::format("Couldn't find the capture: {}.", fault.reason);
    case unreadAnnotations:
      return "The capture has annotations that this version of Vantorel can't read. Without them "
             "what they cover would show, so it isn't drawn.";
    case fileNotRead: return fmt::format("Couldn't read {}: {}.", fault.file, fault.reason);
    case noImage: return fmt::format("Couldn't read {} as an image: {}.", fault.file, fault.reason);
    case layerNotKept: return fmt::format("A layer couldn't be copied: {}.", fault.reason);
    case captureNotRead:
      return fmt::format("{}: {} ({}).", fault.file, sentence(OutputFailure::notReadable),
                         fault.reason);
  }
  std::unreachable();
}

std::string sentence(const AnnotationFailure& failure) {
  return std::visit([](const auto& one) { return sentence(one); }, failure);
}

void CaptureAnnotator::whenReady(std::function<void()> then) {
  services_->library->whenReady(lifetime_.guard(std::move(then)));
}

CaptureAnnotator::Answer<EntryPointer> CaptureAnnotator::picture(const std::string& name) const {
  auto entry = services_->library->store().resolve(name);
  if (!entry) {
    if (entry.error().kind == FailureKind::denied) {
      return std::unexpected(EntryFailure{EntryFailure::Case::unnamed, entry.error().reason});
    }
    return std::unexpected(AnnotationFault{AnnotationFault::Case::notFound, entry.error().reason});
  }
  if ((*entry)->medium != CaptureMedium::image) {
    return std::unexpected(AnnotationFault{AnnotationFault::Case::noPicture});
  }
  return *std::move(entry);
}

/// Calls `then` with a claimed capture as it is once it is known which file is its own.
template <class Value>
void CaptureAnnotator::findFile(const std::string& id, const Done<Value>& done,
                                std::function<void(const EntryPointer&)> then) {
  services_->library->findFiles(
      {id}, Library::Claimed::byCaller, *services_->work,
      lifetime_.guard(
          [this, id, done, then = std::move(then)](const std::set<std::string>& unsettled) {
            using Case = EntryFailure::Case;
            const EntryPointer entry = services_->library->store().find(id);
            if (entry && !unsettled.contains(id)) return then(entry);
            done(std::unexpected(EntryFailure{entry ? Case::unsettled : Case::left}));
          }));
}

CaptureAnnotator::Answer<void> CaptureAnnotator::checkChange(const ScreenshotEntry& entry) const {
  if (auto refused = services_->library->store().indexRefusal()) {
    return std::unexpected(EntryFailure{EntryFailure::Case::unchangeable, *std::move(refused)});
  }
  if (services_->surfaces->editors.isOpen(entry.id)) {
    return std::unexpected(EntryBusy{EntryWork::editing});
  }
  return {};
}

template <class Value>
void CaptureAnnotator::work(std::function<Value(const Services&)> job,
                            std::function<void(Value)> landed) {
  roundTrip(
      *services_->work, services_->main,
      [services = services_, job = std::move(job)] { return job(*services); },
      lifetime_.guard(std::move(landed)));
}

void CaptureAnnotator::apply(const std::string& name, const Path& document,
                             Done<EntryPointer> done) {
  whenReady([this, name, document, done = std::move(done)] {
    const auto named = picture(name);
    if (!named) return done(std::unexpected(named.error()));
    const std::string id = (*named)->id;
    if (const auto may = checkChange(**named); !may) return done(std::unexpected(may.error()));
    // Nobody may change the file's pixel size between the check and the change.
    auto claimed = services_->library->claim(id, EntryWork::rewriting);
    if (!claimed) return done(std::unexpected(claimed.error()));
    const auto ticket = services_->pendingWork->begin(QuitFilingNote::Item::editorSave);
    auto finished = [this, claim = std::make_shared<EntryClaim>(*std::move(claimed)), ticket,
                     done](Answer<EntryPointer> answer) {
      claim->end();
      done(std::move(answer));
      services_->pendingWork->end(ticket);
    };
    findFile<EntryPointer>(id, finished, [this, id, document, finished](const EntryPointer& entry) {
      work<Answer<Checked>>(
          [entry, document](const Services& with) -> Answer<Checked> {
            const auto capture = with.codec->pixelSize(*with.files, entry->path);
            if (!capture) {
              return std::unexpected(unreadable(*with.files, *entry, capture.error()));
            }
            Checked checked{VT_TRY(readDocument(document, *capture, *with.files, *with.codec)),
                            *capture};
            if (auto kept = keepLayers(checked.document, *with.files, *with.codec, with.layers);
                !kept) {
              using Case = AnnotationFault::Case;
              return std::unexpected(AnnotationFault{Case::layerNotKept, kept.error().reason});
            }
            return checked;
          },
          [this, id, finished](Answer<Checked> checked) {
            if (!checked) return finished(std::unexpected(std::move(checked.error())));
            store(id, checked->document, checked->capture, finished);
          });
    });
  });
}

void CaptureAnnotator::store(const std::string& id, const EditorDocument& document,
                             PixelSize capture, Done<EntryPointer> done) {
  // Much can have happened while the file was read.
  const EntryPointer present = services_->library->store().find(id);
  if (!present) return done(std::unexpected(EntryFailure{EntryFailure::Case::left}));
  if (const auto may = checkChange(*present); !may) return done(std::unexpected(may.error()));
  storeDocument(*services_->library, id, document, capture, IfUnsaved::keep,
                lifetime_.guard([done = std::move(done)](Result<EntryPointer, EntryFailure> entry) {
                  if (!entry) return done(std::unexpected(std::move(entry.error())));
                  done(*std::move(entry));
                }));
}

void CaptureAnnotator::document(const std::string& name, Done<Annotations> done) {
  whenReady([this, name, done = std::move(done)] {
    const auto named = picture(name);
    if (!named) return done(std::unexpected(named.error()));
    auto claimed = services_->library->claim((*named)->id, EntryWork::reading);
    if (!claimed) return done(std::unexpected(claimed.error()));
    const Done<Annotations> finished = releasing(*std::move(claimed), done);
    findFile<Annotations>((*named)->id, finished, [this, finished](const EntryPointer& entry) {
      work<Answer<Annotations>>(
          [entry](const Services& with) -> Answer<Annotations> {
            const std::string remark = hasUnreadAnnotations(*entry) ? unreadRemark : "";
            const auto capture = with.codec->pixelSize(*with.files, entry->path);
            if (capture) return Annotations{documentOf(*entry, *capture), remark};
            // What was drawn is worth having even when the picture is gone.
            if (!entry->pixelWidth || !entry->pixelHeight) {
              return std::unexpected(unreadable(*with.files, *entry, capture.error()));
            }
            return Annotations{documentOf(*entry, {*entry->pixelWidth, *entry->pixelHeight}),
                               remark};
          },
          finished);
    });
  });
}

void CaptureAnnotator::draw(const Drawing& drawing, Done<std::string> done) {
  whenReady([this, drawing, done = std::move(done)] {
    const auto* const capture = std::get_if<Drawing::Capture>(&drawing.base);
    if (capture == nullptr) {
      return drawOver(std::get<Drawing::Picture>(drawing.base).path, nullptr, drawing, done);
    }
    const auto named = picture(capture->name);
    if (!named) return done(std::unexpected(named.error()));
    if (!drawing.document && hasUnreadAnnotations(**named)) {
      return done(std::unexpected(AnnotationFault{AnnotationFault::Case::unreadAnnotations}));
    }
    auto claimed = services_->library->claim((*named)->id, EntryWork::exporting);
    if (!claimed) return done(std::unexpected(claimed.error()));
    const Done<std::string> finished = releasing(*std::move(claimed), done);
    findFile<std::string>((*named)->id, finished,
                          [this, drawing, finished](const EntryPointer& entry) {
                            drawOver(entry->path, entry, drawing, finished);
                          });
  });
}

void CaptureAnnotator::drawOver(const Path& base, const EntryPointer& entry, const Drawing& drawing,
                                const Done<std::string>& done) {
  const HistoryStore& store = services_->library->store();
  work<Answer<std::string>>(
      [drawing, entry, base,
       kept = ProtectedFiles{.entries = store.entries(),
                             .paths = store.paths(),
                             .originals = store.paths().originals(),
                             .settings = services_->settingsFile},
       quality = services_->settings->values().jpegQuality](const Services& with) {
        return drawOut(drawing, base, entry, kept, quality, with.draw, *with.files, *with.codec);
      },
      done);
}

}  // namespace vantorel
