#include "editor/editor_session.hpp"

#include <utility>

#include "base/round_trip.hpp"

namespace vantorel {
namespace {

/// True for exports that leave the program's own library.
bool isPublishing(EditorExport target) {
  switch (target) {
    case EditorExport::save:
    case EditorExport::archive: return false;
    case EditorExport::file:
    case EditorExport::copy:
    case EditorExport::share:
    case EditorExport::dragOut: return true;
  }
  std::unreachable();
}

}  // namespace

std::string sentence(const EditorExportFailure& failure) {
  return std::visit([](const auto& one) { return sentence(one); }, failure);
}

EditorSession::EditorSession(std::string entryID, std::string path, EditorModel& model,
                             EditorSessionServices services)
    : entryID_(std::move(entryID)),
      path_(std::move(path)),
      model_(model),
      services_(std::move(services)) {}

std::optional<ExportBlock> EditorSession::block() const {
  ExportSituation situation;
  situation.base = base_;
  LayersReport layers = services_.layers();
  situation.build = layers.state;
  situation.missingLayerIDs = std::move(layers.missingLayerIDs);
  situation.oversizedLayerIDs = std::move(layers.oversizedLayerIDs);
  situation.capture = model_.captureSize();
  return exportBlock(model_.document(), situation);
}

void EditorSession::exportTo(EditorExport target, Exported done) {
  if (!isPublishing(target)) return flatten(std::move(done));
  confirmPublishing([this, done = std::move(done)](bool isConfirmed) {
    isConfirmed ? flatten(done) : done(std::unexpected(OutputFailure::notConfirmed));
  });
}

void EditorSession::confirmPublishing(std::function<void(bool)> answered) {
  if (unredacted_ == 0 || publishingConfirmed_) return answered(true);
  services_.ask("Publish without redacting?",
                lifetime_.guard([this, answered = std::move(answered)](bool yes) {
                  if (yes) publishingConfirmed_ = true;
                  answered(yes);
                }));
}

void EditorSession::flatten(Exported done) {
  model_.endText();
  if (auto blocked = block()) return done(std::unexpected(*std::move(blocked)));
  EditorSaving saving{entryID_, path_, {}, model_.document()};
  auto finish =
      lifetime_.guard([saving, done = std::move(done)](Result<Image, SceneFailure> image) mutable {
        if (!image) {
          // The file of a layer may have gone since it was drawn.
          if (image.error().what == SceneFailure::Case::blocked) {
            return done(std::unexpected(std::move(image.error().block)));
          }
          return done(std::unexpected(OutputFailure::notPrepared));
        }
        saving.image = *std::move(image);
        done(std::move(saving));
      });
  roundTrip(
      *services_.background, services_.main,
      [flatten = services_.flatten, document = std::move(saving.document)] {
        return flatten(document);
      },
      std::move(finish));
}

void EditorSession::handBack(EditorSaving saving, const EditorSessionServices::Save& to,
                             const Saved& saved) {
  auto stored = lifetime_.guard(
      [this, saved, document = saving.document](const Result<void, std::string>& result) {
        if (result) {
          model_.markSaved(document);
        } else {
          services_.report(result.error());
        }
        if (saved) saved(result.has_value());
      });
  to(std::move(saving), std::move(stored));
}

void EditorSession::save(Saved saved) {
  model_.endText();
  const auto blocked = block();
  if (base_ != BaseImageState::ready) {
    services_.report(sentence(*blocked));
    if (saved) saved(false);
    return;
  }
  EditorSaving saving{entryID_, path_, {}, model_.document()};
  if (blocked) return handBack(std::move(saving), services_.save, saved);
  auto document = saving.document;
  roundTrip(
      *services_.background, services_.main,
      [flatten = services_.flatten, document = std::move(document)] { return flatten(document); },
      lifetime_.guard(
          [this, saving = std::move(saving), saved](Result<Image, SceneFailure> image) mutable {
            if (image) saving.image = *std::move(image);
            handBack(std::move(saving), services_.save, saved);
          }));
}

void EditorSession::archive(Saved saved) {
  exportTo(EditorExport::archive,
           [this, saved = std::move(saved)](Result<EditorSaving, EditorExportFailure> saving) {
             if (saving) return handBack(*std::move(saving), services_.archive, saved);
             services_.report(sentence(saving.error()));
             if (saved) saved(false);
           });
}

void EditorSession::discard() {
  if (model_.hasUnsavedChanges()) services_.report("Annotation discarded");
}

}  // namespace vantorel
