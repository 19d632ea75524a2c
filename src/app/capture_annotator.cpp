#include "app/capture_annotator.hpp"

#include <fmt/format.h>

#include <utility>

#include "app/absent_file.hpp"
#include "app/output_guard.hpp"
#include "base/round_trip.hpp"
#include "editor/entry_document.hpp"
#include "editor/output_failure.hpp"
#include "library/file_reach.hpp"
#include "library/look_adoption.hpp"

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
std::unexpected<std::string> unreadable(const Files& files, const ScreenshotEntry& entry,
                                        const Failure& failure) {
  if (std::string absent = sentenceOfAbsence(files, entry); !absent.empty()) {
    return std::unexpected(std::move(absent));
  }
  return std::unexpected(fmt::format("{}: {} ({}).", entry.path,
                                     sentence(OutputFailure::notReadable), failure.reason));
}

/// The document in a file, judged for a base image of `capture` pixels.
std::expected<EditorDocument, std::string> readDocument(const Path& path, PixelSize capture,
                                                        const Files& files,
                                                        const ImageCodec& codec) {
  auto text = files.read(path, maximumDocumentBytes);
  if (!text) {
    return std::unexpected(
        fmt::format("Couldn't read {}: {}.", path.string(), text.error().reason));
  }
  auto document = checkedDocument(*text, capture, path.parent_path(), files, codec);
  if (!document) return std::unexpected(std::move(document.error().reason));
  return *std::move(document);
}

/// Everything that `draw` does away from the main runner. `entry` is null for a picture that is in
/// no library.
std::expected<std::string, std::string> drawOut(const CaptureAnnotator::Drawing& drawing,
                                                const Path& basePath, const EntryPointer& entry,
                                                ProtectedFiles kept, double quality,
                                                const CaptureAnnotator::Draw& draw, Files& files,
                                                const ImageCodec& codec) {
  kept.inputs = {basePath};
  if (drawing.document) kept.inputs.push_back(*drawing.document);
  auto base = readPictureFile(basePath, 0, files, codec);
  if (!base && !entry) {
    const bool isMissing = base.error().kind == FailureKind::notFound;
    return std::unexpected(fmt::format("Couldn't read {}{}: {}.", basePath.string(),
                                       isMissing ? "" : " as an image", base.error().reason));
  }
  if (!base) return unreadable(files, *entry, base.error());
  EditorDocument document;
  if (drawing.document) {
    auto given = readDocument(*drawing.document, base->size(), files, codec);
    if (!given) return std::unexpected(std::move(given.error()));
    document = *std::move(given);
  } else if (entry) {
    document = documentOf(*entry, base->size());
  }
  for (const LayerSpec& layer : document.layers) {
    if (layer.path) kept.inputs.emplace_back(*layer.path);
  }
  if (!drawing.output.empty()) {
    if (auto refused = outputRefusal(files, drawing.output, kept)) {
      return std::unexpected(*std::move(refused));
    }
  }
  const std::optional<double> scale = entry ? entry->captureScale : std::nullopt;
  auto bytes = draw(document, *std::move(base), scale,
                    {.format = drawing.format,
                     .quality = quality,
                     .pixelsPerPoint = scale.value_or(1),
                     .createdAt = entry ? std::optional(entry->capturedAt) : std::nullopt});
  if (!bytes) return std::unexpected(bytes.error().reason);
  if (drawing.output.empty()) return *std::move(bytes);
  if (const auto written = files.replace(drawing.output, *bytes, Privacy::byUmask); !written) {
    return std::unexpected(
        fmt::format("Couldn't write {}: {}.", drawing.output.string(), written.error().reason));
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

void CaptureAnnotator::whenReady(std::function<void()> then) {
  services_->library->whenReady(lifetime_.guard(std::move(then)));
}

CaptureAnnotator::Answer<EntryPointer> CaptureAnnotator::picture(const std::string& name) const {
  auto entry = services_->library->store().resolve(name);
  if (!entry) {
    if (entry.error().kind == FailureKind::denied) return std::unexpected(entry.error().reason);
    return std::unexpected(fmt::format("Couldn't find the capture: {}.", entry.error().reason));
  }
  if ((*entry)->medium != CaptureMedium::image) {
    return std::unexpected("Only pictures can be annotated.");
  }
  return *std::move(entry);
}

/// Calls `then` with a claimed capture as it is once it is known which file is its own.
template <class Value>
void CaptureAnnotator::findFile(const std::string& id, const Done<Value>& done,
                                std::function<void(const EntryPointer&)> then) {
  services_->library->findFiles({id}, Library::Claimed::byCaller, *services_->work,
                                lifetime_.guard([this, id, done, then = std::move(then)](
                                                    const std::set<std::string>& unsettled) {
                                  const EntryPointer entry = services_->library->store().find(id);
                                  if (!entry)
                                    return done(std::unexpected("The capture has left History."));
                                  if (unsettled.contains(id))
                                    return done(std::unexpected(unsettledSentence));
                                  then(entry);
                                }));
}

std::optional<std::string> CaptureAnnotator::refusal(const ScreenshotEntry& entry) const {
  if (const auto refused = services_->library->store().indexRefusal()) {
    return "The capture can't be changed: " + *refused + ".";
  }
  if (services_->surfaces->editors.isOpen(entry.id)) {
    return "The capture can't be changed: close Annotate first.";
  }
  return std::nullopt;
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
    if (auto refused = refusal(**named)) return done(std::unexpected(*std::move(refused)));
    // Nobody may change the file's pixel size between the check and the change.
    auto claimed = services_->library->claim(id, EntryWork::rewriting);
    if (!claimed) return done(std::unexpected(sentence(claimed.error())));
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
            if (!capture) return unreadable(*with.files, *entry, capture.error());
            auto checked = readDocument(document, *capture, *with.files, *with.codec);
            if (!checked) return std::unexpected(std::move(checked.error()));
            return Checked{*std::move(checked), *capture};
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
  HistoryStore& library = services_->library->store();
  // Much can have happened while the file was read.
  const EntryPointer present = library.find(id);
  if (!present) return done(std::unexpected("The capture has left History."));
  if (auto refused = refusal(*present)) return done(std::unexpected(*std::move(refused)));
  const auto changed = library.update(id, [&](ScreenshotEntry& entry) {
    putDocument(document, capture, entry);
    entry.editedAt = services_->clock->now();
  });
  if (!changed) return done(std::unexpected("The capture has left History."));
  library.flush(lifetime_.guard([this, id, done = std::move(done)](Result<void> saved) {
    if (!saved) {
      return done(std::unexpected(
          "The change is made, but History couldn't be saved: " + saved.error().reason + "."));
    }
    const EntryPointer entry = services_->library->store().find(id);
    if (!entry) return done(std::unexpected("The capture has left History."));
    done(entry);
  }));
}

void CaptureAnnotator::document(const std::string& name, Done<Annotations> done) {
  whenReady([this, name, done = std::move(done)] {
    const auto named = picture(name);
    if (!named) return done(std::unexpected(named.error()));
    auto claimed = services_->library->claim((*named)->id, EntryWork::reading);
    if (!claimed) return done(std::unexpected(sentence(claimed.error())));
    const Done<Annotations> finished = releasing(*std::move(claimed), done);
    findFile<Annotations>((*named)->id, finished, [this, finished](const EntryPointer& entry) {
      work<Answer<Annotations>>(
          [entry](const Services& with) -> Answer<Annotations> {
            const std::string remark = hasUnreadAnnotations(*entry) ? unreadRemark : "";
            const auto capture = with.codec->pixelSize(*with.files, entry->path);
            if (capture) return Annotations{documentOf(*entry, *capture), remark};
            // What was drawn is worth having even when the picture is gone.
            if (!entry->pixelWidth || !entry->pixelHeight) {
              return unreadable(*with.files, *entry, capture.error());
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
      return done(std::unexpected(
          "The capture has annotations that this version of Vantorel can't read. Without them what "
          "they cover would show, so it isn't drawn."));
    }
    auto claimed = services_->library->claim((*named)->id, EntryWork::exporting);
    if (!claimed) return done(std::unexpected(sentence(claimed.error())));
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
