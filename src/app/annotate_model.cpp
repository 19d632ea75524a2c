#include "app/annotate_model.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "app/annotate_editing.hpp"
#include "app/dragged_files.hpp"
#include "app/kept_layer.hpp"
#include "base/area_downscale.hpp"
#include "base/check.hpp"
#include "base/count_text.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "base/size_text.hpp"
#include "base/utf8.hpp"
#include "editor/entry_document.hpp"
#include "editor/export_gate.hpp"
#include "library/capture_file_name.hpp"
#include "platform/scene_view.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds draftDelay{1};
constexpr std::chrono::seconds draftPause{20};
constexpr std::chrono::seconds noticeTime{4};
constexpr std::chrono::seconds warningTime{20};
constexpr const char* stillUnknown = "\u2026";
constexpr std::array offeredFormats{ExportFormat::png, ExportFormat::jpeg, ExportFormat::heic,
                                    ExportFormat::webp};

/// The files of layers to be, and the names of those that are no pictures.
struct LayersRead {
  std::vector<LayerFile> files;
  std::vector<std::string> refused;
};

LayersRead readLayers(const std::vector<Path>& paths, const Path& kept, Files& files,
                      const ImageCodec& codec) {
  LayersRead read;
  for (const Path& path : paths) {
    if (auto layer = layerOf(path, files, codec, kept)) {
      read.files.push_back(*std::move(layer));
    } else {
      read.refused.push_back(fmt::format("{} couldn't be read as an image: {}.",
                                         path.filename().string(), layer.error().reason));
    }
  }
  return read;
}

/// `whole` made smaller, with no side below `least`'s.
Image smallPicture(const Image& whole, PixelSize least) {
  const double factor = std::max(double(least.width) / std::max(whole.width(), 1),
                                 double(least.height) / std::max(whole.height(), 1));
  if (whole.isEmpty() || factor >= 1) return whole;
  return downscaled(whole, {std::max(1, static_cast<int>(std::lround(whole.width() * factor))),
                            std::max(1, static_cast<int>(std::lround(whole.height() * factor)))});
}

/// What a program may have put on the clipboard as text.
std::string plainText(ClipboardItem item) {
  if (item.type == "STRING") {  // Latin-1, by its definition
    std::string text;
    for (const char letter : item.bytes) {
      const auto code = static_cast<unsigned char>(letter);
      if (code < 0x80U) {
        text += letter;
      } else {
        text += static_cast<char>(0xC0U | (code >> 6U));
        text += static_cast<char>(0x80U | (code & 0x3FU));
      }
    }
    item.bytes = std::move(text);
  }
  std::erase(item.bytes, '\r');
  std::erase(item.bytes, '\0');
  return std::move(item.bytes);
}

}  // namespace

AnnotateModel::AnnotateModel(Services services, std::shared_ptr<EditedCapture> capture)
    : services_(std::move(services)), capture_(std::move(capture)) {}

AnnotateModel::~AnnotateModel() {
  if (saving_) services_.pendingWork.end(*saving_);
}

EditorModel& AnnotateModel::editor() {
  VT_CHECK(editing_ != nullptr);
  return editing_->model;
}

const EditorModel& AnnotateModel::editor() const {
  VT_CHECK(editing_ != nullptr);
  return editing_->model;
}

CanvasInput& AnnotateModel::input() {
  VT_CHECK(editing_ != nullptr);
  return editing_->input;
}

CanvasScene& AnnotateModel::scene() {
  VT_CHECK(editing_ != nullptr);
  return editing_->scene;
}

// ---- what is told

/// Gathers what happens in one go, so that a gesture's many small changes are drawn once.
void AnnotateModel::changed(const Change& change) {
  coming_.stage |= change.stage;
  coming_.document |= change.document;
  coming_.saving |= change.saving;
  coming_.notice |= change.notice;
  coming_.formats |= change.formats;
  coming_.redaction |= change.redaction;
  if (std::exchange(isTelling_, true)) return;
  services_.main->post(lifetime_.guard([this] {
    isTelling_ = false;
    const Change told = std::exchange(coming_, {});
    if (told.document && editing_) editing_->scene.update();
    observers_.notify(told);
  }));
}

/// Every state that undo and redo lead to was the present one once.
void AnnotateModel::noteOwnPictures() {
  if (notedLayers_ == editor().state().layers) return;
  notedLayers_ = editor().state().layers;
  for (const LayerSpec& layer : *notedLayers_) {
    if (!layer.path) continue;
    const Path file = *layer.path;
    if (file.parent_path() == services_.layers) ownPictures_.insert(file.filename().string());
  }
}

void AnnotateModel::documentChanged() {
  noteOwnPictures();
  const bool isUnsaved = hasUnsavedChanges();
  changed({.document = true, .saving = true, .redaction = editing_->smartRedact != nullptr});
  if (editing_->smartRedact) editing_->smartRedact->documentChanged();
  checkBackground();
  if (isUnsaved || draft_) keepDraftSoon();
}

/// A margin that leaves no picture to hand out is said as soon as it is chosen.
void AnnotateModel::checkBackground() {
  const auto& background = editor().state().background;
  // As long as it is too large, a smaller crop or canvas may help as well.
  if (background == checked_ && !isTooLarge_) return;
  const bool isOther = background != checked_;
  checked_ = background;
  const ExportBlock tooLarge{ExportBlock::Kind::paddingTooLarge, {}};
  const auto block = exportBlock(editor().document(), {.base = BaseImageState::ready,
                                                       .build = LayerBuildState::none,
                                                       .missingLayerIDs = {},
                                                       .oversizedLayerIDs = {},
                                                       .capture = editor().captureSize()});
  const bool wasTooLarge = std::exchange(isTooLarge_, block && block->kind == tooLarge.kind);
  if (isTooLarge_ && (isOther || !wasTooLarge)) return refuse(tooLarge);
  if (!isTooLarge_ && refusal_ && refusal_->sentence == sentence(tooLarge)) dismissRefusal();
}

void AnnotateModel::say(std::string text, bool isWarning) {
  if (isWarning) logWarning("Annotate", "{}: {}", title(), text);
  notice_ = Notice{std::move(text), isWarning};
  changed({.notice = true});
  noticeEnds_.renew();
  services_.main->postAfter(isWarning ? warningTime : noticeTime,
                            noticeEnds_.guard([this] { clearNotice(); }));
}

void AnnotateModel::clearNotice() {
  noticeEnds_.renew();
  if (!notice_) return;
  notice_.reset();
  changed({.notice = true});
}

void AnnotateModel::refuse(const EditorExportFailure& failure) {
  // Whoever wants to look first is shown what there is to be seen.
  if (failure == EditorExportFailure(OutputFailure::notConfirmed) && isReviewing_) return;
  const auto* const block = std::get_if<ExportBlock>(&failure);
  if (block == nullptr) return say(sentence(failure), true);
  Refusal refusal{sentence(*block), std::nullopt};
  if (!block->layerID.empty()) refusal.layerID = block->layerID;
  if (block->kind == ExportBlock::Kind::layerMissing) lookAtLayers();
  refusal_ = std::move(refusal);
  changed({.notice = true});
}

void AnnotateModel::hideBlockingLayer() {
  if (!refusal_ || !refusal_->layerID || !editing_) return;
  const std::string id = *refusal_->layerID;
  dismissRefusal();
  editor().setLayerVisible(id, false);
}

void AnnotateModel::dismissRefusal() {
  if (!refusal_) return;
  refusal_.reset();
  changed({.notice = true});
}

// ---- opening

void AnnotateModel::setPreview(Image preview, PixelSize pictureSize) {
  if (stage_ != Stage::loading) return;
  preview_ = std::move(preview);
  pictureSize_ = pictureSize;
  changed({.stage = true});
}

void AnnotateModel::fail(std::string sentence, bool offersRemove) {
  if (stage_ != Stage::loading) return;
  stage_ = Stage::failed;
  failure_ = std::move(sentence);
  offersRemove_ = offersRemove;
  changed({.stage = true});
}

void AnnotateModel::removeFromHistory() {
  if (offersRemove_) capture_->removeFromHistory();
}

void AnnotateModel::open(Opened opened) {
  VT_CHECK(opened.drawing != nullptr && !opened.base.isEmpty());
  if (stage_ != Stage::loading) return;
  captureScale_ = opened.captureScale;
  scale_ = opened.captureScale.value_or(1);
  SceneDrawing& drawing = *opened.drawing;
  const Image base = std::move(opened.base);
  const PixelSize size = base.size();
  EditorEvents events{.changed = lifetime_.guard([this] {
                        if (editing_) documentChanged();
                      }),
                      .report = lifetime_.guard([this](const std::string& line) { say(line); }),
                      .stylesChanged = lifetime_.guard([this](const ToolStyles& styles) {
                        services_.settings.set(&SettingsValues::editorToolStyles, styles);
                      })};
  EditorOpening opening{.capture = size,
                        .document = std::move(opened.document),
                        .captureScale = opened.captureScale,
                        .styles = services_.settings.values().editorToolStyles,
                        .layOut = [&drawing](const Shape& text) { return drawing.layOut(text); }};
  CanvasServices canvas{
      .colorAt = [this](Pt at) { return scene().colorAt(at); },
      .copyText = [this](const std::string& text) { copyFromCanvas(text); },
      .copyShapes =
          [this](const std::string& shapes) {
            Clipboard* const clipboard = services_.clipboard();
            if (clipboard == nullptr) return;
            clipboard->setShapes(shapes, lifetime_.guard([this](const Result<void>& copied) {
              if (!copied) say(copied.error().reason, true);
            }));
          },
      .copiedShapes =
          [this] {
            Clipboard* const clipboard = services_.clipboard();
            return clipboard != nullptr ? clipboard->shapes() : std::string();
          },
      .joinsCopiedLines = [this] { return services_.settings.values().joinCopiedTextLines; }};
  CanvasScene::Services scenes{
      .main = services_.main,
      .work = services_.work,
      .drawing = &drawing,
      .readLayer = [files = services_.files,
                    codec = services_.codec](const LayerSpec& layer) -> Result<Image> {
        return readPictureFile(*layer.path, layer.frameIndex, *files, *codec);
      }};
  const auto sessions = [&](CanvasScene& scene) {
    return EditorSessionServices{
        .main = services_.main,
        .background = services_.work,
        .layers = [&scene] { return scene.report(); },
        .flatten = flattening(drawing, base),
        .ask = [this](
                   const std::string& question,
                   const std::function<void(bool)>& answered) { askToPublish(question, answered); },
        .report =
            [this](const std::string& line) {
              // This window goes, and what stands in it.
              if (isDiscarding_) return services_.alerts.notify("Annotate", line);
              say(line, true);
            },
        .save =
            [this, size](const EditorSaving& saving, const EditorSessionServices::Stored& stored) {
              capture_->store(saving.document, size, stored);
            },
        .archive = {}};
  };
  editing_ = std::make_unique<Editing>(base, drawing, std::move(opening), std::move(events),
                                       std::move(scenes), std::move(canvas), sessions, *capture_);
  editing_->session.setBase(BaseImageState::ready);
  if (services_.scan) {
    editing_->smartRedact = std::make_unique<SmartRedactSession>(SmartRedactSession::Services{
        .main = services_.main,
        .editor = editing_->model,
        .settings = services_.settings,
        .draw = [this](EditorDocument ground,
                       std::function<void(Image)> drawn) { drawGround(std::move(ground), drawn); },
        .missingLayers = [this] { return editing_->scene.report().missingLayerIDs; },
        .scan = services_.scan,
        .changed = [this] { redactionChanged(); }});
  }
  editing_->input.setRecognised(opened.recognised);
  if (pictureSize_ == PixelSize{}) pictureSize_ = size;
  preview_ = {};
  stage_ = Stage::ready;
  noteOwnPictures();
  changed({.stage = true, .document = true, .saving = true});
  if (opened.draft) {
    const bool isOther = editor().edit("Restore Unsaved Changes", [&](EditorSnapshot& state) {
      state = EditorSnapshot::of(*std::move(opened.draft));
    });
    if (isOther) {
      draft_ = editor().document();
      if (!opened.remark.empty()) say(std::move(opened.remark));
      return;
    }
    capture_->dropDraft();
  } else if (!opened.remark.empty()) {
    say(std::move(opened.remark));
  } else if (opened.wasCombined) {
    say("Combine arrangement is now layers");
  }
}

/// Draws the finished picture over `base`.
EditorSessionServices::Flatten AnnotateModel::flattening(SceneDrawing& drawing,
                                                         const Image& base) const {
  return [&drawing, base, scale = captureScale_, files = services_.files,
          codec = services_.codec](const EditorDocument& document) {
    return drawing.drawScene(document, base, scale, *files, *codec);
  };
}

void AnnotateModel::entryChanged() {
  changed({.stage = true, .saving = true, .redaction = smartRedact() != nullptr});
}

// ---- drafts

bool AnnotateModel::hasUnsavedChanges() const {
  return editing_ != nullptr && editing_->model.hasUnsavedChanges();
}

std::string AnnotateModel::unsavedChanges() const {
  return editing_ != nullptr ? editing_->model.unsavedChanges() : std::string();
}

void AnnotateModel::keepDraftSoon() {
  if (std::exchange(isDraftDue_, true)) return;
  services_.main->postAfter(draftDelay, drafting_.guard([this] { keepDraft(); }));
}

void AnnotateModel::keepDraft() {
  if (!editing_) return;
  drafting_.renew();
  isDraftDue_ = false;
  if (!hasUnsavedChanges()) {
    if (draft_) capture_->dropDraft();
    draft_.reset();
    return;
  }
  // What is being typed counts; a shape that is being drawn may yet come to nothing.
  EditorDocument document = editor().isTyping() ? editor().scene() : editor().document();
  if (draft_ == document) return;
  draft_ = document;
  capture_->keepDraft(document, editor().captureSize(),
                      drafting_.guard([this](const Result<void>& kept) { draftKept(kept); }));
}

void AnnotateModel::draftMoved() {
  draft_.reset();
  keepDraft();
}

void AnnotateModel::draftKept(const Result<void>& kept) {
  if (kept) {
    isDraftLost_ = false;
    return;
  }
  // A full disk may have room again; until then, only this window has it.
  draft_.reset();
  if (!std::exchange(isDraftLost_, true)) {
    // A save that failed as well was told of just before.
    const std::string before = notice_ && notice_->isWarning ? notice_->text + " " : std::string();
    say(fmt::format("{}What is not saved can't be kept in case something happens: {}.", before,
                    kept.error().reason),
        true);
  }
  if (!std::exchange(isDraftDue_, true)) {
    services_.main->postAfter(draftPause, drafting_.guard([this] { keepDraft(); }));
  }
}

void AnnotateModel::discard() {
  drafting_.renew();
  isDraftDue_ = false;
  draft_.reset();
  isDiscarding_ = true;
  if (editing_) editing_->session.discard();
  isDiscarding_ = false;
  capture_->dropDraft();
}

// ---- saving

void AnnotateModel::save(std::function<void(bool)> done) {
  clearNotice();
  if (!editing_) {
    if (done) done(false);
    return;
  }
  if (done) waitingForSave_.push_back(std::move(done));
  if (isSaving_) {
    savesAgain_ = true;
    return;
  }
  storeNow();
}

void AnnotateModel::storeNow() {
  editor().endText();
  if (!editor().hasUnsavedChanges() && capture_->isInLibrary()) return endSaving(true);
  isSaving_ = true;
  savesAgain_ = false;
  changed({.saving = true});
  saving_ = services_.pendingWork.begin(QuitFilingNote::Item::editorSave);
  editing_->session.save(lifetime_.guard([this](bool isSaved) {
    isSaving_ = false;
    changed({.saving = true});
    if (isSaved) {
      // What was changed meanwhile is kept anew.
      draft_.reset();
      capture_->dropDraft();
      if (hasUnsavedChanges()) keepDraft();
    } else {
      keepDraft();
    }
    const auto ticket = *std::exchange(saving_, std::nullopt);
    // A warning came with the saving: `save` took away those of before.
    if (isSaved && !(notice_ && notice_->isWarning)) say("Saved");
    if (isSaved && savesAgain_ && hasUnsavedChanges()) {
      storeNow();
    } else {
      endSaving(isSaved);
    }
    services_.pendingWork.end(ticket);
  }));
}

void AnnotateModel::endSaving(bool isSaved) {
  savesAgain_ = false;
  for (const auto& done : std::exchange(waitingForSave_, {})) done(isSaved);
}

void AnnotateModel::done(std::function<void()> close) {
  if (!editing_) return;
  clearNotice();
  whenScanned([this, close = std::move(close)] {
    countFinds();
    editing_->session.confirmPublishing([this, close](bool isConfirmed) {
      if (!isConfirmed) return refuse(OutputFailure::notConfirmed);
      saveAndClose(close);
    });
  });
}

void AnnotateModel::saveAndClose(std::function<void()> close) {
  save(lifetime_.guard([this, close = std::move(close)](bool isSaved) {
    if (!isSaved) return;
    // What was drawn meanwhile is saved as well, and copied.
    if (hasUnsavedChanges()) return saveAndClose(close);
    if (!services_.settings.values().copyToClipboardAfterDone) return close();
    copyThen(
        lifetime_.guard([this, close] { hasUnsavedChanges() ? saveAndClose(close) : close(); }));
  }));
}

// ---- handing out

/// The finished picture, or a word why there is none.
void AnnotateModel::handOut(EditorExport target, std::function<void(Image)> then) {
  if (!editing_) return;
  clearNotice();
  dismissRefusal();
  auto go = lifetime_.guard([this, target, then = std::move(then)] {
    whenScanned([this, target, then] {
      countFinds();
      editing_->session.exportTo(
          target, lifetime_.guard([this, then](Result<EditorSaving, EditorExportFailure> made) {
            if (!made) return refuse(made.error());
            then(std::move(made->image));
          }));
    });
  });
  editor().endText();
  editing_->scene.update();
  if (editing_->scene.report().state != LayerBuildState::building) return go();
  // A build under way lands before what is posted after it.
  roundTrip(*services_.work, services_.main, [] {}, std::move(go));
}

ImageEncoding AnnotateModel::encodingOf(ExportFormat format) const {
  return {.format = format,
          .quality = services_.settings.values().jpegQuality,
          .pixelsPerPoint = scale_,
          .createdAt = capture_->capturedAt()};
}

void AnnotateModel::encode(Image image, const ImageEncoding& encoding,
                           std::function<void(Result<std::string>)> done) {
  roundTrip(
      *services_.work, services_.main,
      [codec = services_.codec, image = std::move(image), encoding] {
        return codec->encode(image, encoding);
      },
      lifetime_.guard(std::move(done)));
}

void AnnotateModel::copy() {
  copyThen([] {});
}

void AnnotateModel::copyThen(std::function<void()> then) {
  handOut(EditorExport::copy, [this, then = std::move(then)](Image image) {
    encode(std::move(image), encodingOf(ExportFormat::png), [this, then](Result<std::string> png) {
      Clipboard* const clipboard = services_.clipboard();
      if (!png) return say(sentence(OutputFailure::notPrepared), true);
      if (clipboard == nullptr) return say(sentence(OutputFailure::clipboardRefused), true);
      clipboard->setImage(*std::move(png), lifetime_.guard([this, then](const Result<void>& set) {
        if (!set) return say(sentence(OutputFailure::clipboardRefused), true);
        say("Copied");
        then();
      }));
    });
  });
}

std::string AnnotateModel::suggestedFileName(ExportFormat format) const {
  return fittingName(capture_->fileStem(), fmt::format(".{}", fileExtension(format)));
}

void AnnotateModel::saveAs(const Path& file, ExportFormat format) {
  const auto named = formatOfFileName(file.filename().string());
  Path output = file;
  if (!named) output += fmt::format(".{}", fileExtension(format));
  handOut(EditorExport::file, [this, output, format = named.value_or(format)](Image image) {
    if (!services_.codec->canHold(format, image.size())) {
      return say(fmt::format("{} can't hold a picture of {} × {} pixels.", displayName(format),
                             image.width(), image.height()),
                 true);
    }
    auto writing = encodingOf(format);
    writing.pngEffort = PNGEffort::small;
    encode(std::move(image), writing, [this, output](Result<std::string> bytes) {
      if (!bytes) return say(sentence(OutputFailure::notWritten), true);
      ProtectedFiles kept = services_.protectedFiles();
      if (!capture_->file().empty()) kept.inputs.push_back(capture_->file());
      for (const LayerSpec& layer : *editor().state().layers) {
        if (layer.path) kept.inputs.emplace_back(*layer.path);
      }
      roundTrip(
          *services_.disk, services_.main,
          [files = services_.files, output, bytes = *std::move(bytes), kept = std::move(kept)] {
            return writeOutput(*files, output, bytes, kept);
          },
          lifetime_.guard([this, output](const Result<void, OutputFileFailure>& written) {
            if (!written) return say(sentence(written.error()), true);
            say(fmt::format("Saved as {}", output.filename().string()));
          }));
    });
  });
}

std::vector<AnnotateModel::FormatChoice> AnnotateModel::formats() const {
  std::vector<FormatChoice> choices;
  for (const ExportFormat format : offeredFormats) {
    const auto weight = std::ranges::find(weights_, format, &Weight::format);
    std::string size = stillUnknown;
    if (weight != weights_.end()) size = weight->bytes ? sizeText(*weight->bytes) : std::string();
    choices.push_back({format, std::string(displayName(format)), std::move(size)});
  }
  return choices;
}

void AnnotateModel::measureFormats() {
  if (!editing_) return;
  EditorDocument document = editor().scene();
  if (measuredDocument_ == document && (!weights_.empty() || !toMeasure_.empty())) return;
  measuring_.renew();
  weights_.clear();
  toMeasure_.assign(offeredFormats.begin(), offeredFormats.end());
  changed({.formats = true});
  measuredDocument_ = document;
  roundTrip(
      *services_.work, services_.main,
      [drawing = &editing_->drawing, document = std::move(document), base = editing_->base,
       scale = editor().captureScale(), files = services_.files, codec = services_.codec] {
        return drawing->drawScene(document, base, scale, *files, *codec);
      },
      measuring_.guard([this](Result<Image, SceneFailure> image) {
        if (image) return measureNext(*std::move(image));
        for (const ExportFormat format : std::exchange(toMeasure_, {})) {
          weights_.push_back({format, std::nullopt});
        }
        changed({.formats = true});
      }));
}

void AnnotateModel::measureNext(const Image& image) {
  if (toMeasure_.empty()) return;
  const ExportFormat format = toMeasure_.front();
  auto encoding = encodingOf(format);
  encoding.pngEffort = PNGEffort::small;
  roundTrip(
      *services_.work, services_.main,
      [codec = services_.codec, image, encoding] {
        const auto bytes = codec->encode(image, encoding);
        return bytes ? std::optional<std::uint64_t>(bytes->size()) : std::nullopt;
      },
      measuring_.guard([this, format, image](std::optional<std::uint64_t> bytes) {
        weights_.push_back({format, bytes});
        toMeasure_.erase(toMeasure_.begin());
        changed({.formats = true});
        measureNext(image);
      }));
}

void AnnotateModel::prepareDrag(std::function<void(Dragged)> done) {
  handOut(EditorExport::dragOut, [this, done = std::move(done)](Image image) {
    encode(std::move(image), encodingOf(ExportFormat::png), [this, done](Result<std::string> png) {
      if (!png) return say(sentence(OutputFailure::notWritten), true);
      roundTrip(
          *services_.disk, services_.main,
          [files = services_.files, folder = services_.drags,
           name = suggestedFileName(ExportFormat::png),
           png = *std::move(png)]() mutable -> Result<Dragged> {
            const Path file = VT_TRY(writeDraggedFile(*files, folder, name, png));
            return Dragged{std::move(png), file};
          },
          lifetime_.guard([this, done](Result<Dragged> dragged) {
            if (!dragged) return say(sentence(OutputFailure::notWritten), true);
            done(*std::move(dragged));
          }));
    });
  });
}

void AnnotateModel::dragLanded() {
  const bool hasLeft = !capture_->entryID().empty() && !capture_->isInLibrary();
  if (hasLeft) say(sentence(OutputFailure::entryLeft), true);
}

/// A sampled color is said; text that was selected is too long for that.
void AnnotateModel::copyFromCanvas(const std::string& text) {
  if (editor().tool() == Tool::eyedropper) return copyText(text);
  Clipboard* const clipboard = services_.clipboard();
  if (clipboard == nullptr) return say(clipboard_refusal::text, true);
  clipboard->setText(text, lifetime_.guard([this](const Result<void>& copied) {
    say(copied ? "Copied" : copied.error().reason, !copied);
  }));
}

// ---- taking in

void AnnotateModel::lookAtLayers() {
  if (!editing_) return;
  std::vector<std::pair<std::string, Path>> shown;
  for (const LayerSpec& layer : *editor().state().layers) {
    if (layer.visible && layer.path) shown.emplace_back(layer.id, *layer.path);
  }
  if (shown.empty()) return;
  roundTrip(
      *services_.disk, services_.main,
      [shown = std::move(shown), files = services_.files] {
        std::vector<std::pair<std::string, bool>> looked;
        for (const auto& [id, path] : shown) {
          const auto status = files->status(path);
          looked.emplace_back(id, status || status.error().kind != FailureKind::notFound);
        }
        return looked;
      },
      lifetime_.guard([this](const std::vector<std::pair<std::string, bool>>& looked) {
        const std::vector<std::string> missing = editing_->scene.report().missingLayerIDs;
        const bool isOther = std::ranges::any_of(looked, [&](const auto& layer) {
          const bool wasThere = std::ranges::find(missing, layer.first) == missing.end();
          return layer.second != wasThere;
        });
        if (isOther) editing_->scene.readAgain();
      }));
}

void AnnotateModel::addLayers(const std::vector<Path>& files, std::optional<Pt> middle) {
  if (!editing_ || files.empty()) return;
  clearNotice();
  roundTrip(
      *services_.disk, services_.main,
      [files, kept = services_.layers, disk = services_.files, codec = services_.codec] {
        return readLayers(files, kept, *disk, *codec);
      },
      lifetime_.guard([this, middle](const LayersRead& read) {
        if (!read.files.empty()) editor().addLayers(read.files, middle);
        if (!read.refused.empty()) say(fmt::format("{}", fmt::join(read.refused, " ")), true);
      }));
}

void AnnotateModel::copyText(const std::string& text) {
  clearNotice();
  Clipboard* const clipboard = services_.clipboard();
  if (clipboard == nullptr) return say(sentence(OutputFailure::clipboardRefused), true);
  clipboard->setText(text, lifetime_.guard([this, text](const Result<void>& copied) {
    say(copied ? "Copied " + text : copied.error().reason, !copied);
  }));
}

void AnnotateModel::layerThumbnail(const LayerSpec& layer, PixelSize atLeast,
                                   std::function<void(const Image&)> given) {
  if (!editing_) return;
  // What the person waits for comes first.
  if (editing_->scene.picture().pixels == nullptr) {
    editing_->whenDrawn.push_back([this, layer, atLeast, given = std::move(given)] {
      layerThumbnail(layer, atLeast, given);
    });
    return;
  }
  roundTrip(
      *services_.work, services_.main,
      [layer, atLeast, base = editing_->base, disk = services_.files,
       codec = services_.codec]() -> Image {
        Image whole = base;
        if (layer.path) {
          auto read = readPictureFile(*layer.path, layer.frameIndex, *disk, *codec);
          if (!read) return {};
          whole = *std::move(read);
        }
        return smallPicture(whole, atLeast);
      },
      lifetime_.guard([given = std::move(given)](const Image& picture) {
        if (!picture.isEmpty()) given(picture);
      }));
}

void AnnotateModel::copySelection() {
  if (!editing_) return;
  Clipboard* const clipboard = services_.clipboard();
  if (clipboard == nullptr) return say(sentence(OutputFailure::clipboardRefused), true);
  const auto landed = lifetime_.guard([this](const Result<void>& copied) {
    if (!copied) say(copied.error().reason, true);
  });
  if (editor().isTyping()) {
    const std::string text = editor().selectedText();
    if (!text.empty()) clipboard->setText(text, landed);
    return;
  }
  if (!input().text().isEmpty()) {
    input().handle(KeyEvent{.key = EditorKey::character, .text = "c", .command = true});
    return;
  }
  const std::string shapes = editor().copiedShapes();
  if (shapes.empty()) return copy();
  clearNotice();
  clipboard->setShapes(shapes, landed);
}

void AnnotateModel::cutSelection() {
  if (!editing_) return;
  const bool isAnything =
      editor().isTyping() ? !editor().selectedText().empty() : !editor().copiedShapes().empty();
  if (!isAnything) return;
  copySelection();
  if (editor().isTyping()) {
    editor().insertText({});
  } else {
    editor().deleteSelection();
  }
}

void AnnotateModel::pasteFromClipboard(std::optional<Pt> middle) {
  if (!editing_) return;
  Clipboard* const clipboard = services_.clipboard();
  if (clipboard == nullptr) return;
  clearNotice();
  const CanvasSize canvas = editor().canvasSize();
  const Pt at = middle.value_or(Pt{canvas.width / 2, canvas.height / 2});
  if (editor().isTyping()) return pasteText(*clipboard, at);
  if (const std::string shapes = clipboard->shapes(); !shapes.empty()) {
    editor().pasteShapes(shapes);
    return;
  }
  clipboard->read(clipboard_types::pictures,
                  lifetime_.guard([this, clipboard, at](Result<ClipboardItem> picture) {
                    if (picture) return pastePicture(std::move(picture->bytes), at);
                    if (picture.error().kind == FailureKind::notFound)
                      return pasteText(*clipboard, at);
                    if (picture.error().kind == FailureKind::cancelled) return;
                    say(fmt::format("Couldn't paste: {}.", picture.error().reason), true);
                  }));
}

/// A layer is shown from a file, which is this program's here.
void AnnotateModel::pastePicture(std::string bytes, Pt middle) {
  roundTrip(
      *services_.disk, services_.main,
      [bytes = std::move(bytes), folder = services_.layers, files = services_.files,
       codec = services_.codec] {
        return keepLayer(*files, *codec, folder, bytes, pastedLayerName);
      },
      lifetime_.guard([this, middle](const Result<LayerFile>& layer) {
        if (!layer) return say(fmt::format("Couldn't paste: {}.", layer.error().reason), true);
        editor().pasteLayer(*layer, middle);
      }));
}

void AnnotateModel::pasteText(Clipboard& clipboard, Pt middle) {
  clipboard.read(clipboard_types::texts,
                 lifetime_.guard([this, middle](Result<ClipboardItem> item) {
                   if (!item) {
                     if (item.error().kind == FailureKind::cancelled) return;
                     return say(item.error().kind == FailureKind::notFound
                                    ? "There is nothing to paste."
                                    : fmt::format("Couldn't paste: {}.", item.error().reason),
                                true);
                   }
                   const std::string text = plainText(*std::move(item));
                   if (text.empty() || !isUtf8(text))
                     return say("There is nothing to paste.", true);
                   if (!editor().isTyping()) {
                     editor().beginText(editor().toCanvas().inverse()(middle));
                   }
                   editor().insertText(text);
                 }));
}

}  // namespace vantorel
