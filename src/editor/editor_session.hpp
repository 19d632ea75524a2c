#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "base/image.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "editor/editor_model.hpp"
#include "editor/layer_builds.hpp"
#include "editor/records/output_failure.hpp"
#include "editor/records/scene_failure.hpp"

namespace vantorel {

/// What the editor hands back to the library.
struct EditorSaving {
  std::string entryID;
  std::string path;
  Image image;  ///< flattened; empty where it cannot be drawn, for a layer's file that is away
  EditorDocument document;
};

/// Where a finished picture goes.
enum class EditorExport { save, archive, file, copy, share, dragOut };

/// Why a picture did not leave the editor.
using EditorExportFailure = std::variant<ExportBlock, OutputFailure>;

[[nodiscard]] std::string sentence(const EditorExportFailure& failure);

/// What an editor needs from outside. All callbacks come on the main runner, none of them after
/// the session is gone.
struct EditorSessionServices {
  std::shared_ptr<TaskRunner> main;
  std::shared_ptr<TaskRunner> background;

  /// What is known of the layers now.
  std::function<LayersReport()> layers;
  /// Draws the finished picture; called on the background runner.
  using Flatten = std::function<Result<Image, SceneFailure>(const EditorDocument&)>;
  Flatten flatten;

  /// Asks a question with yes and no.
  std::function<void(const std::string& question, std::function<void(bool)> answered)> ask;
  std::function<void(const std::string&)> report;
  /// Told once the library is on the disk, or in a sentence why it is not.
  using Stored = std::function<void(Result<void, std::string>)>;
  using Save = std::function<void(EditorSaving, Stored)>;
  Save save;
  Save archive;
};

/// The errand of one editor window, from opening an entry to handing its document back: what may
/// leave, and what is asked before. Lives on the main runner.
class EditorSession {
 public:
  EditorSession(std::string entryID, std::string path, EditorModel& model,
                EditorSessionServices services);

  /// The base image has been read, or could not be.
  void setBase(BaseImageState state) { base_ = state; }

  /// The base image is another one.
  void setFlatten(EditorSessionServices::Flatten flatten) {
    services_.flatten = std::move(flatten);
  }

  /// How many findings of sensitive content are not covered by a redaction.
  void setUnredactedFindings(int count) { unredacted_ = count; }

  /// Why nothing can be exported now.
  [[nodiscard]] std::optional<ExportBlock> block() const;

  /// Asks once a session, when there are such findings, before unredacted content is published.
  void confirmPublishing(std::function<void(bool isConfirmed)> answered);

  using Exported = std::function<void(Result<EditorSaving, EditorExportFailure>)>;

  /// Draws the picture for `target` and hands it to `done`, or says why not. What leaves the
  /// library has to be confirmed as `confirmPublishing` says.
  void exportTo(EditorExport target, Exported done);

  using Saved = std::function<void(bool isSaved)>;

  /// Hand the document to the library. It counts as saved when the library has it, and is unsaved
  /// as before, with a report, when it has not. What cannot be exported is saved all the same, and
  /// not archived.
  void save(Saved saved = {});
  void archive(Saved saved = {});

  /// Gives up what was not saved.
  void discard();

 private:
  void flatten(Exported done);
  void handBack(EditorSaving saving, const EditorSessionServices::Save& to, const Saved& saved);

  std::string entryID_;
  std::string path_;
  EditorModel& model_;
  EditorSessionServices services_;
  BaseImageState base_ = BaseImageState::loading;
  int unredacted_ = 0;
  bool publishingConfirmed_ = false;
  Lifetime lifetime_;
};

}  // namespace vantorel
