#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/capture_copying.hpp"
#include "app/capture_export.hpp"
#include "app/capture_rewriter.hpp"
#include "app/history_notice.hpp"
#include "app/named_picture.hpp"
#include "app/redaction_switch.hpp"
#include "library/file_reach.hpp"
#include "library/library_prune.hpp"

namespace vantorel {

/// What can be done with captures in the History window.
enum class HistoryAction {
  annotate,
  pin,
  open,  ///< what is no picture, in the program for such files
  rename,
  star,
  collect,
  copyPicture,
  copyPath,
  copyText,  ///< what stands on them
  saveAs,
  convert,
  compress,
  removeRedaction,   ///< what Smart Redact covered before it was filed
  reapplyRedaction,  ///< that again
  reveal,
  trash,
  dragOut,
  remove,  ///< from History alone, the way out for what cannot be reached
};

/// Those of some captures that an action is done with, and what is said of the others.
struct HistoryShare {
  EntryList entries;
  std::string leftOut{};  ///< "2 of 5 are left out: they are out of reach."; empty when none is
};

/// Pictures that are changed one after the other.
struct HistoryProgress {
  std::string text;  ///< "Converting"
  std::size_t done = 0;
  std::size_t total = 0;
};

/// Does what somebody asks for with captures of History, and says what came of it. Lives on the
/// main runner.
class HistoryActions {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< looks for files; may block
    std::shared_ptr<Files> files;
    Library& library;
    CaptureRewriter& rewriter;
    CaptureCopying& copying;
    CaptureExport& exporting;
    LibraryPrune& prune;
    std::function<Clipboard*()> clipboard;                     ///< null when there is none
    std::function<bool()> joinsLines;                          ///< of text that is copied
    std::function<FileReach(const ScreenshotEntry&)> reachOf;  ///< as it was last looked for
    /// Opens pictures in Annotate; told of those that could not be.
    std::function<void(const std::vector<NamedPicture>& pictures,
                       std::function<void(const std::vector<UnopenedPicture>&)> opened)>
        annotate;
    /// Likewise pins them above all windows.
    std::function<void(const std::vector<NamedPicture>& pictures,
                       std::function<void(const std::vector<UnopenedPicture>&)> pinned)>
        pin;
    std::function<void(const Path&)> open;                 ///< in the program for such files
    std::function<void(const std::vector<Path>&)> reveal;  ///< in the file manager
    SwitchRedaction switchRedaction{};
  };

  /// `onSaved` is told when the library is on the disk, after it may not have been.
  HistoryActions(Services services, std::function<void(HistoryNotice)> say,
                 std::function<void()> onProgress, std::function<void()> onSaved);

  /// Why the action cannot be done with any of these captures now, in a sentence for its tooltip.
  [[nodiscard]] std::optional<std::string> obstacle(HistoryAction action,
                                                    const EntryList& entries) const;

  /// Those that it can be done with. What is asked for below is done with them, and the others are
  /// told of.
  [[nodiscard]] HistoryShare share(HistoryAction action, const EntryList& entries) const;

  void annotate(const EntryList& entries);
  void pin(const EntryList& entries);
  void open(const EntryPointer& entry);
  void reveal(const EntryList& entries);

  /// The bytes of a picture that is a PNG file, for a drag that may begin; not called for others.
  void readPNG(const EntryPointer& entry, std::function<void(std::string)> done);

  /// An empty title is none.
  void rename(const EntryPointer& entry, const std::string& title);

  void star(const EntryList& entries, bool isStarred);
  void collect(const EntryList& entries, const std::string& collectionID, bool isMember);
  void copyPicture(const EntryPointer& entry);

  /// One a line.
  void copyPaths(const EntryList& entries);

  /// The text on them as the user wants it, without what redactions cover; lines are joined when
  /// the settings say so.
  void copyText(const EntryList& entries);

  /// The picture elsewhere, in the format that the name's extension says, or in its own.
  void saveAs(const EntryPointer& entry, const Path& file);

  void convert(const EntryList& entries, ExportFormat format);
  void compress(const EntryList& entries);

  /// Take away what Smart Redact covered in their files before they were filed, and cover it again.
  void removeRedaction(const EntryList& entries);
  void reapplyRedaction(const EntryList& entries);

  /// Nothing while no pictures are being changed.
  [[nodiscard]] const std::optional<HistoryProgress>& progress() const { return progress_; }

  /// The picture under way is the last one.
  void stop() { isStopped_ = true; }

  void trash(const EntryList& entries);
  void undo();
  void remove(const EntryList& entries);

  /// Writes the library once more.
  void retrySaving();

 private:
  struct Rewriting;
  using Found = std::function<void(const EntryList& entries)>;

  void change(const EntryList& entries,
              const std::function<Result<void>(const std::string& id)>& change);
  void withFiles(const EntryList& entries, Found then);
  [[nodiscard]] EntryList take(HistoryAction action, const EntryList& entries);
  void begin(HistoryAction action, const EntryList& entries, Rewriting rewriting);
  void switchRedaction(HistoryAction action, const EntryList& entries, bool covers);
  void rewriteNext(const std::shared_ptr<Rewriting>& rewriting);
  void finish(const Rewriting& rewriting);
  void sayUnopened(const EntryList& asked, const std::vector<UnopenedPicture>& unopened);
  void sayUnsaved(const std::string& reason);
  void sayFailures(const std::vector<TrashSweep::Failure>& failures, const EntryList& entries,
                   const std::string& leftOut = {});

  Services services_;
  std::function<void(HistoryNotice)> say_;
  std::function<void()> onProgress_;
  std::function<void()> onSaved_;
  std::optional<HistoryProgress> progress_;
  bool isStopped_ = false;
  Lifetime lifetime_;
};

}  // namespace vantorel
