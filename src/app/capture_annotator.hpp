#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "app/output_guard.hpp"
#include "app/pending_archive_work.hpp"
#include "app/surface_registry.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "editor/entry_document.hpp"
#include "editor/records/editor_document.hpp"
#include "editor/records/scene_failure.hpp"
#include "library/entry_failure.hpp"
#include "library/library.hpp"
#include "platform/image_codec.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Why annotations could not be stored, listed or drawn, where no other part of it is the reason.
struct AnnotationFault {
  enum class Case {
    noPicture,          ///< but a recording or a text
    notFound,           ///< no capture, or more than one, has that name; `reason` says why
    unreadAnnotations,  ///< without them what they cover would show
    fileNotRead,        ///< `file`; `reason` says why
    noImage,            ///< likewise
    captureNotRead,     ///< likewise, of a capture's
    layerNotKept,       ///< its picture is another library's; `reason` says why
  };
  Case what = Case::noPicture;
  std::string reason{};
  std::string file{};
};

using AnnotationFailure = std::variant<AnnotationFault, EntryFailure, EntryBusy, FileAbsence,
                                       DocumentFailure, SceneFailure, OutputFileFailure>;

[[nodiscard]] std::string sentence(const AnnotationFault& fault);
[[nodiscard]] std::string sentence(const AnnotationFailure& failure);

/// Stores the annotations of captures in the library, and draws annotated pictures into files. The
/// capture's own file stays as it is. Lives on the main runner; files are read, and pictures drawn
/// and written, on `work`.
class CaptureAnnotator {
 public:
  /// Draws a document over its base image (`captureScale` pixels per point) and encodes the
  /// picture. Called on `work`, and may block.
  using Draw = std::function<Result<std::string, SceneFailure>(
      const EditorDocument& document, Image base, std::optional<double> captureScale,
      const ImageEncoding& encoding)>;

  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    Library* library = nullptr;
    SettingsStore* settings = nullptr;
    PendingArchiveWork* pendingWork = nullptr;
    SurfaceRegistry* surfaces = nullptr;
    Draw draw;
    Path settingsFile{};
    Path layers{};  ///< the folder of pictures that are kept for layers
  };

  explicit CaptureAnnotator(Services services)
      : services_(std::make_shared<const Services>(std::move(services))) {}

  template <class Value>
  using Answer = Result<Value, AnnotationFailure>;
  template <class Value>
  using Done = std::function<void(Answer<Value>)>;

  /// Puts the document in the file `document` in place of the capture's annotations, when all of it
  /// can be used; otherwise nothing changes. `name` is an id, the unique start of one, or "latest".
  /// `done` comes when the change is safe on disk.
  void apply(const std::string& name, const Path& document, Done<EntryPointer> done);

  struct Annotations {
    EditorDocument document;
    std::string remark{};  ///< a sentence on what of them is not in it; mostly empty
  };

  /// The capture's annotations, as far as this version can read them.
  void document(const std::string& name, Done<Annotations> done);

  /// What is drawn, and where to.
  struct Drawing {
    struct Capture {
      std::string name;  ///< as for `apply`
    };
    struct Picture {
      Path path;
    };
    std::variant<Capture, Picture> base;
    std::optional<Path> document;  ///< none: the capture's own annotations

    /// Replaced in one step; never a file of the library. Empty: what is drawn is answered.
    Path output;
    ExportFormat format = ExportFormat::png;
  };

  /// A capture is refused that has annotations of its own which this version cannot read: what
  /// they cover would show. Answers the output's path, or without one the picture's bytes.
  void draw(const Drawing& drawing, Done<std::string> done);

 private:
  void whenReady(std::function<void()> then);
  template <class Value>
  void findFile(const std::string& id, const Done<Value>& done,
                std::function<void(const EntryPointer&)> then);
  void drawOver(const Path& base, const EntryPointer& entry, const Drawing& drawing,
                const Done<std::string>& done);
  [[nodiscard]] Answer<EntryPointer> picture(const std::string& name) const;
  [[nodiscard]] Answer<void> checkChange(const ScreenshotEntry& entry) const;
  void store(const std::string& id, const EditorDocument& document, PixelSize capture,
             Done<EntryPointer> done);

  /// Runs `job` on the work runner and hands what it answers to `landed` on the main one.
  template <class Value>
  void work(std::function<Value(const Services&)> job, std::function<void(Value)> landed);

  std::shared_ptr<const Services> services_;  ///< shared with jobs on the work runner
  Lifetime lifetime_;
};

}  // namespace vantorel
