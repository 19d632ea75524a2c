#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "app/app_coordinator.hpp"
#include "app/still_capture_command.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/still_capture_pipeline.hpp"
#include "platform/clipboard.hpp"
#include "platform/text_recogniser.hpp"
#include "text/picture_text.hpp"

namespace vantorel {

class TextIndexing;

/// What the text of a capture came to.
struct TakenText {
  std::string text;  ///< as it was copied; never empty
  PictureText reading;
  EntryPointer entry{};                ///< null when it is not kept
  std::vector<std::string> remarks{};  ///< what could not be done besides, a sentence each
};

/// Why no text was taken.
struct TextCaptureFailure {
  struct NoText {};
  struct Cancelled {};
  std::variant<NoText, Cancelled, RecognitionFailure, CaptureFailure, CaptureRefusal> cause;
};

[[nodiscard]] std::string sentence(const TextCaptureFailure& failure);

/// Reads the text of an area or a window of the screen, copies it, and keeps it in the library as a
/// text of its own while "keepTextClips" is on; no picture is saved. Lives on the main runner; the
/// picture is read on `reading`, files are written on `work`.
class TextCapture {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> reading;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<Files> files;
    AppCoordinator& coordinator;
    Library& library;
    SettingsStore& settings;
    Alerts& alerts;
    std::shared_ptr<TextRecogniser> recogniser;
    TextIndexing& indexing;                 ///< lets this one go first
    std::function<Clipboard*()> clipboard;  ///< null when there is none
    Path defaultFolder;  ///< for texts when the chosen folder for captures cannot be used
  };

  explicit TextCapture(Services services) : services_(std::move(services)) {}

  using Answer = Result<TakenText, TextCaptureFailure>;
  using Done = std::function<void(Answer)>;

  /// `command` says what to take; an area is chosen by the user. `begins` as for
  /// `AppCoordinator::capture`. A command that is answered at the desktop is answered there too.
  void take(StillCaptureCommand command, Done done, std::function<bool()> begins = {});

  /// For a person at the desktop.
  void takeForUser();

 private:
  struct Taking;
  void read(const std::shared_ptr<Taking>& taking, HandedPicture picture);
  void readEnded(const std::shared_ptr<Taking>& taking,
                 Result<PictureReading, RecognitionFailure> reading);
  void keep(const std::shared_ptr<Taking>& taking);
  void finish(const std::shared_ptr<Taking>& taking, Answer answer);
  void show(const Answer& answer);

  Services services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
