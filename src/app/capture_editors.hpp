#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/annotate_model.hpp"
#include "app/annotation_drafts.hpp"
#include "app/app_windows.hpp"
#include "app/layer_pictures.hpp"
#include "app/named_picture.hpp"
#include "app/opened_capture.hpp"
#include "app/surface_registry.hpp"
#include "base/lifetime.hpp"
#include "editor/records/scene_failure.hpp"
#include "library/entry_look.hpp"
#include "library/library.hpp"

namespace vantorel {

/// Opens captures, picture files and the clipboard's picture in Annotate windows, one window each,
/// and sees them through what happens meanwhile, to the end of the program. Lives on the main
/// runner.
class CaptureEditors {
 public:
  struct Services {
    AnnotateModel::Services model;
    OpenedCapture::Services capture;
    SurfaceRegistry& surfaces;
    std::shared_ptr<const Clock> clock;
    AppWindows* windows = nullptr;  ///< null: there are none

    /// What draws, loaded when it is first needed. Called on `model.disk`.
    std::function<Result<SceneDrawing*, SceneFailure>()> drawing;

    /// Makes a small picture of the capture as it is shown; not called back when there is none. May
    /// be empty.
    std::function<void(const EntryPointer&, std::function<void(const Image&)>)> preview;
  };

  explicit CaptureEditors(Services services);
  ~CaptureEditors();

  /// Told when the picture is in its window, or with a sentence why it is not.
  using Opened = std::function<void(Result<void, std::string>)>;

  /// The capture of that id, the unique beginning of one, or "latest".
  void openEntry(const std::string& name, Opened opened);
  /// One that was taken a moment ago, whose pixels are still there.
  void openTaken(const EntryPointer& entry, const Image& pixels);
  /// The picture lies where it is and stays as it is. One of the library is opened as a capture.
  void openFile(const Path& file, Opened opened);
  /// Several at once; `opened` is told of those that were not, in their order.
  using AllOpened = std::function<void(const std::vector<UnopenedPicture>&)>;
  void openAll(const std::vector<NamedPicture>& pictures, AllOpened opened);
  /// The picture on the clipboard, or the picture files there.
  void openClipboard(const Opened& opened);
  /// What was not saved when the program ended; `opened` is told of each.
  void openDrafts(Opened opened);

  /// For those who opened something at the desktop: says why not.
  [[nodiscard]] Opened reported();

  [[nodiscard]] bool isOpen(const std::string& entryID) const;
  [[nodiscard]] bool hasWindows() const { return !editors_.empty(); }

  /// Closes the windows with unsaved changes, one after the other, each as the user says; `done` is
  /// told whether all are closed or saved. While that goes on, the one that asks comes forward.
  void closeAll(std::function<void(bool closed)> done);

  /// Writes down what is not saved, for a program that ends without anybody to ask.
  void keepDrafts(std::function<void()> done);

  /// Looks for what was not saved when the program ended, and tells the user of it.
  void tellOfDrafts();
  /// Whether there is something for `openDrafts`, as far as it is known.
  [[nodiscard]] bool hasDrafts() const { return !leftOver_.empty(); }
  /// Told when that has changed.
  std::function<void()> onDraftsChange;

 private:
  struct Editor;
  using EditorPointer = std::shared_ptr<Editor>;
  struct Read;

  EditorPointer make(OpenedCapture::Origin origin, EntryClaim claim, PixelSize shown,
                     Opened opened);
  [[nodiscard]] bool bringForward(const std::string& key);
  [[nodiscard]] EditorPointer find(const std::string& key) const;
  void showPreview(const EditorPointer& editor, const EntryPointer& entry, PixelSize shown);
  void findDraft(const EditorPointer& editor);
  void readEntry(const EditorPointer& editor);
  void read(const EditorPointer& editor, std::function<Result<Image, std::string>()> job);
  void fail(const EditorPointer& editor, const std::string& sentence, bool offersRemove);
  void start(const EditorPointer& editor, Read read);
  void openPicture(const Path& file, PixelSize size, Opened opened);
  void openFiles(const std::vector<std::string>& files, const Opened& opened);
  void dropSuperseded(std::vector<AnnotationDraft>& drafts);
  void openDraft(const AnnotationDraft& draft, const Opened& opened);
  [[nodiscard]] bool isOpenAs(const AnnotationDraft& draft) const;
  void openPictureBytes(const std::shared_ptr<const std::string>& bytes, const std::string& called,
                        Opened opened);
  void closed(const EditorPointer& editor);
  void ended(const EditorPointer& editor);
  [[nodiscard]] LayerPictures::Names namedPictures() const;
  void draftIsOver(const std::string& key);
  void closeNext(std::vector<std::string> keys);
  void endClosing(bool areClosed);
  void libraryChanged(const HistoryChange& change);

  Services services_;
  LayerPictures pictures_;
  std::map<std::string, EditorPointer> editors_;  ///< by key
  std::set<std::string> leftOver_;                ///< keys of drafts that nobody has opened yet
  std::set<std::string> unfiled_;  ///< ids of entries with a draft that are not in the library yet
  std::vector<std::function<void(bool)>> waitingForClose_;
  std::string asked_;  ///< the key of the editor that asks while all are closed
  Observation libraryObservation_;
  Lifetime lifetime_;
};

}  // namespace vantorel
