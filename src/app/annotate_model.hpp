#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "app/edited_capture.hpp"
#include "app/output_guard.hpp"
#include "app/pending_archive_work.hpp"
#include "app/smart_redact_session.hpp"
#include "base/image.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"
#include "editor/canvas_input.hpp"
#include "editor/editor_model.hpp"
#include "editor/editor_session.hpp"
#include "platform/alerts.hpp"
#include "platform/clipboard.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"
#include "settings/settings_store.hpp"
#include "text/records/ocr_block.hpp"

namespace vantorel {

class CanvasScene;
class SceneDrawing;

/// One Annotate window without its pixels on the screen: what it has open, edits, saves and hands
/// out. Lives on the main runner.
class AnnotateModel {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< draws and encodes pictures; takes its time
    std::shared_ptr<TaskRunner> disk;  ///< reads and writes files; may hang
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    SettingsStore& settings;
    Alerts& alerts;
    PendingArchiveWork& pendingWork;
    std::function<Clipboard*()> clipboard;           ///< null when there is none
    std::function<ProtectedFiles()> protectedFiles;  ///< what a picture is never written over
    Path layers;                                     ///< the folder of pasted pictures
    Path drags;                                      ///< the folder of what is dragged out
    ScanPicture scan{};                              ///< for Smart Redact; empty: there is none
  };

  AnnotateModel(Services services, std::shared_ptr<EditedCapture> capture);
  ~AnnotateModel();
  AnnotateModel(const AnnotateModel&) = delete;
  AnnotateModel& operator=(const AnnotateModel&) = delete;

  // ---- what is open

  enum class Stage { loading, failed, ready };
  [[nodiscard]] Stage stage() const { return stage_; }
  /// Of `failed`, a sentence.
  [[nodiscard]] const std::string& failure() const { return failure_; }
  /// For a capture whose file is gone: "Remove from History".
  [[nodiscard]] bool offersRemove() const { return offersRemove_; }
  void removeFromHistory();

  /// "Stations, week 47"; the window adds " — Annotate".
  [[nodiscard]] std::string title() const { return capture_->title(); }
  /// What is shown at first, with crop and background. Known at once for captures of the library;
  /// else {0, 0} until the picture is read.
  [[nodiscard]] PixelSize pictureSize() const { return pictureSize_; }
  /// Small, of what `pictureSize` says, to be shown until the picture is there; may be empty.
  [[nodiscard]] const Image& preview() const { return preview_; }
  /// Pixels per point of the capture, 1 when it is not known.
  [[nodiscard]] double scale() const { return scale_; }

  // From `ready` on; checked.
  [[nodiscard]] EditorModel& editor();
  [[nodiscard]] const EditorModel& editor() const;
  [[nodiscard]] CanvasInput& input();
  [[nodiscard]] CanvasScene& scene();

  /// From `ready` on, where there is one; else null.
  [[nodiscard]] SmartRedactSession* smartRedact();
  /// Covers what is chosen there, and says how much that was.
  void redactFinds();

  /// What Smart Redact covered in the picture before it was filed; nothing where it was nothing.
  [[nodiscard]] std::optional<KeptRedaction> keptRedaction() const {
    return capture_->keptRedaction();
  }
  /// Takes that away, or covers it again. The picture under what is drawn is another one then; what
  /// is drawn stays, and what can be undone. It cannot be undone itself, but done the other way.
  void switchRedaction();
  [[nodiscard]] bool isSwitchingRedaction() const { return isSwitchingRedaction_; }

  /// What is other than it was; the changes of a batch come as one, in a task of their own.
  struct Change {
    bool stage = false;      ///< stage, title, size and preview
    bool document = false;   ///< anything of the editor: document, selection, tool, style, draft
    bool saving = false;     ///< `isSaving`, and whether there are unsaved changes
    bool notice = false;     ///< notice and refusal
    bool formats = false;    ///< sizes of the formats
    bool redaction = false;  ///< anything of `smartRedact`
  };
  [[nodiscard]] Observation observe(std::function<void(const Change&)> changed) {
    return observers_.add(std::move(changed));
  }

  // ---- what is said

  /// A short line for the user, the newest: of the editor, "Copied", a failure. The next action
  /// clears it.
  struct Notice {
    std::string text;
    bool isWarning = false;
    bool operator==(const Notice&) const = default;
  };
  [[nodiscard]] const std::optional<Notice>& notice() const { return notice_; }
  void clearNotice();

  /// The export that was refused, with the layer that blocks it, which can be hidden.
  struct Refusal {
    std::string sentence;
    std::optional<std::string> layerID;
  };
  [[nodiscard]] const std::optional<Refusal>& refusal() const { return refusal_; }
  /// Hides the layer that is in the way, and dismisses the refusal.
  void hideBlockingLayer();
  void dismissRefusal();

  // ---- saving

  // It never blocks; what did not land stays unsaved, with a notice why.
  [[nodiscard]] bool isSaving() const { return isSaving_; }
  /// Also of a picture that is not in the library yet, once something was drawn on it.
  [[nodiscard]] bool hasUnsavedChanges() const;
  void save(std::function<void(bool saved)> done = {});
  /// Saves, copies the picture when the settings say so, and calls `close` once all of it landed;
  /// otherwise the notice says why not.
  void done(std::function<void()> close);
  /// "2 annotations added, the crop changed and the layers changed"; empty when nothing would be
  /// lost.
  [[nodiscard]] std::string unsavedChanges() const;
  /// Gives up what was not saved, for good. Before the window closes.
  void discard();

  // ---- handing out

  /// The picture to the clipboard.
  void copy();

  /// One of the four formats to save in. `size` is "…" until it is measured, and empty when it
  /// cannot be.
  struct FormatChoice {
    ExportFormat format = ExportFormat::png;
    std::string label;
    std::string size;
  };
  [[nodiscard]] std::vector<FormatChoice> formats() const;
  /// Measures them in the background, for the document as it is now.
  void measureFormats();
  [[nodiscard]] std::string suggestedFileName(ExportFormat format) const;
  /// In the format that the name says, or else in `format`, whose ending the name gets.
  void saveAs(const Path& file, ExportFormat format);

  /// What is dragged out: the picture as a PNG file, and a file of it for those who take files.
  struct Dragged {
    std::string png;
    Path file;
  };
  /// `done` is not called when the picture cannot be handed out, which is said.
  void prepareDrag(std::function<void(Dragged)> done);
  /// Whoever took it has it.
  void dragLanded();

  // ---- taking in

  /// Looks whether the files of the layers are where they were; the user has been elsewhere.
  void lookAtLayers();

  /// Image files as layers, round a place of the canvas; their sizes are read in the background.
  void addLayers(const std::vector<Path>& files, std::optional<Pt> middle = {});
  /// Shapes, else a picture as a layer, else text, the latter two round that place of the canvas,
  /// or its middle. While a text is typed, text alone.
  void pasteFromClipboard(std::optional<Pt> middle = {});
  /// The selected letters or shapes; with nothing selected, the picture.
  void copySelection();
  void cutSelection();

  /// A color that the eyedropper picked up, as text.
  void copyText(const std::string& text);

  // ---- pictures of layers

  /// Gives what a layer shows, as small as it can be with `atLeast` pixels each way; without a
  /// path, the capture. Not called for what cannot be read. Read in the background.
  void layerThumbnail(const LayerSpec& layer, PixelSize atLeast,
                      std::function<void(const Image&)> given);

  // ---- for those who open it

  /// Shown until the picture is read.
  void setPreview(Image preview, PixelSize pictureSize);

  /// What was read.
  struct Opened {
    Image base;
    EditorDocument document;
    bool wasCombined = false;  ///< its layers were an arrangement of an earlier build
    std::optional<double> captureScale{};
    std::optional<std::vector<OCRBlock>> recognised{};
    SceneDrawing* drawing = nullptr;  ///< outlives this
    /// What was not saved the last time, and what is said of it.
    std::optional<EditorDocument> draft{};
    std::string remark{};
  };
  void open(Opened opened);
  void fail(std::string sentence, bool offersRemove);

  /// The capture's entry has changed in the library, or left it.
  void entryChanged();

  /// What happened outside that the user is to know.
  void say(std::string text, bool isWarning = false);

  /// The names of the files in `Services::layers` that this has shown, or can bring back by undo
  /// and redo.
  [[nodiscard]] const std::set<std::string>& ownPictures() const { return ownPictures_; }

  /// Writes down what is not saved, now instead of in a moment.
  void keepDraft();

  /// What was kept of it is gone, and is to be kept at another place.
  void draftMoved();

 private:
  struct Editing;
  void changed(const Change& change);
  void documentChanged();
  void noteOwnPictures();
  void refuse(const EditorExportFailure& failure);
  void checkBackground();
  void keepDraftSoon();
  void draftKept(const Result<void>& kept);
  void storeNow();
  void endSaving(bool isSaved);
  void saveAndClose(std::function<void()> close);
  void askToPublish(const std::string& question, const std::function<void(bool)>& answered);
  void countFinds();
  void redactionChanged();
  void whenScanned(std::function<void()> go);
  void setBase(const Image& base);
  [[nodiscard]] EditorSessionServices::Flatten flattening(SceneDrawing& drawing,
                                                          const Image& base) const;
  void drawGround(EditorDocument ground, std::function<void(Image)> drawn);
  void handOut(EditorExport target, std::function<void(Image)> then);
  void copyThen(std::function<void()> then);
  void copyFromCanvas(const std::string& text);
  void encode(Image image, const ImageEncoding& encoding,
              std::function<void(Result<std::string>)> done);
  [[nodiscard]] ImageEncoding encodingOf(ExportFormat format) const;
  void measureNext(const Image& image);
  void pastePicture(std::string bytes, Pt middle);
  void pasteText(Clipboard& clipboard, Pt middle);

  Services services_;
  std::shared_ptr<EditedCapture> capture_;
  Stage stage_ = Stage::loading;
  std::string failure_;
  bool offersRemove_ = false;
  PixelSize pictureSize_;
  Image preview_;
  double scale_ = 1;
  std::optional<double> captureScale_;
  std::unique_ptr<Editing> editing_;  ///< from `ready` on
  std::optional<Notice> notice_;
  std::optional<Refusal> refusal_;

  std::shared_ptr<const BackgroundSpec> checked_;  ///< the background
  bool isTooLarge_ = false;  ///< with it; `refusal_` says so, or was dismissed

  bool isSaving_ = false;
  bool isDiscarding_ = false;
  std::vector<std::function<void()>> waitingForScan_;
  bool isSwitchingRedaction_ = false;
  bool isReviewing_ = false;  ///< the answer to whether to publish
  std::optional<PendingArchiveWork::Ticket> saving_;
  bool savesAgain_ = false;
  std::vector<std::function<void(bool)>> waitingForSave_;
  bool isDraftDue_ = false;
  bool isDraftLost_ = false;
  std::optional<EditorDocument> draft_;  ///< what is kept
  std::set<std::string> ownPictures_;
  std::shared_ptr<const std::vector<LayerSpec>> notedLayers_;

  struct Weight {
    ExportFormat format = ExportFormat::png;
    std::optional<std::uint64_t> bytes;  ///< none: it cannot be made
  };
  std::vector<Weight> weights_;
  std::vector<ExportFormat> toMeasure_;
  std::optional<EditorDocument> measuredDocument_;
  Lifetime measuring_;

  Change coming_;
  bool isTelling_ = false;
  Observers<Change> observers_;
  Lifetime drafting_;
  Lifetime noticeEnds_;
  Lifetime lifetime_;
};

}  // namespace vantorel
