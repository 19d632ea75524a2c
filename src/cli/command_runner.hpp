#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "app/app_coordinator.hpp"
#include "app/capture_annotator.hpp"
#include "app/capture_export.hpp"
#include "app/capture_redactor.hpp"
#include "app/capture_rewriter.hpp"
#include "app/library_move.hpp"
#include "app/retention_setting.hpp"
#include "app/scrolling_capture.hpp"
#include "app/text_capture.hpp"
#include "base/lifetime.hpp"
#include "cli/command_line.hpp"
#include "cli/library_command.hpp"
#include "library/library.hpp"
#include "platform/autostart.hpp"

namespace vantorel {

/// Runs commands, whether typed at this process or sent to it. Lives on the main runner.
class CommandRunner {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    AppCoordinator* coordinator = nullptr;
    CaptureRewriter* rewriter = nullptr;
    CaptureAnnotator* annotator = nullptr;
    TextCapture* texts = nullptr;
    ScrollingCapture* scrolling = nullptr;
    CaptureRedactor* redactor = nullptr;
    SettingsStore* settings = nullptr;
    Library* library = nullptr;
    LibraryCommands* libraryCommands = nullptr;
    LibraryMove* move = nullptr;
    RetentionSetting* retention = nullptr;
    CaptureExport* exporting = nullptr;
    Autostart* autostart = nullptr;
    ScreenCapture* screen = nullptr;
    WindowList* windows = nullptr;

    /// Tries whether a file can be read.
    using Checked = std::function<void(const Result<void>&)>;
    std::function<void(const Path& file, Checked done)> checkFile;

    /// Files what earlier runs staged, unless it has been done.
    std::function<void(std::function<void()> filed)> fileStaged;

    /// The process of another program in the tray, which no session bus leads to, if there is one.
    std::function<std::optional<long>()> unreachableTray;
  };

  explicit CommandRunner(Services services) : services_(std::move(services)) {}

  using Done = CommandDone;

  /// Calls `done` once, when the work is safe on disk.
  void run(const CommandLine& line, Done done, const CommandRequester& requester = {});

  /// The one who asked does not want it any more: its capture that waits for the user
  /// is called off, what waits for the library does not begin, long work that changes nothing ends,
  /// and a move after its batch. It is answered all the same. Other work is done to its end, and
  /// what others asked for goes on.
  void callOff(const std::string& requester);

  /// Likewise, of one who went away unasked: nobody has said that what a scrolling capture has
  /// joined is not wanted, so that is filed.
  void requesterGone(const std::string& requester);

 private:
  /// A capture under way.
  struct Capturing {
    Done done;              // empty once it is answered
    bool hasBegun = false;  // the one that the coordinator has in flight
    bool isCalledOff = false;
    bool isScrolled = false;
    Path staged{};  // where its picture is safe until it is filed
  };

  /// What answers a command that waits for the library; empty once it is answered.
  using Waiting = std::shared_ptr<Done>;

  void quit(Done done, const CommandRequester& requester);
  void changeSettings(const command::Settings& what, bool json, const CommandRequester& requester,
                      Done done);
  [[nodiscard]] Done withRemarks(const command::Settings& what, Done done);
  void whenLibraryReady(const CommandRequester& requester, Done done,
                        std::move_only_function<void(Done)> go);
  void whenStagedFiled(Done done, std::move_only_function<void(Done)> go);
  void announceWait(const ShowProgress& show, Waiting waiting, const Path& staged);
  void announceScan(const ShowProgress& show, Waiting waiting) const;
  void sayWhoHasTheLibrary(const ShowProgress& show) const;
  [[nodiscard]] std::optional<long> trayThatIs(const std::optional<std::string>& holder) const;
  void withLibrary(const CommandLine& line, Done done, const CommandRequester& requester);
  void capture(const command::Capture& what, bool json, const CommandRequester& requester,
               Done done);
  void begin(const command::Capture& what, const std::shared_ptr<Capturing>& capturing,
             const CommandRequester& requester, StillCapturePipeline::Finished finished);
  void captureText(const command::Capture& what, bool json, const CommandRequester& requester,
                   Done done);
  void handOut(const CaptureOutcome::Saved& saved, const command::Capture::Output& output,
               bool json, CommandReply answer, Done done);
  void switchAutostart(const command::Autostart& what, Done done);
  void listDisplays(bool json, Done done);
  void listWindows(bool json, Done done);
  void rewrite(const CommandLine& line, Done done);
  void edit(const command::Edit& what, Done done);
  void pin(const command::Pin& what, Done done);
  void annotate(const command::Annotate& what, bool json, Done done);
  void render(const command::Render& what, Done done);
  void redact(const command::Redact& what, bool json, Done done);

  Services services_;
  std::multimap<std::string, std::shared_ptr<Capturing>> capturing_;  // by requester
  std::multimap<std::string, Waiting> waiting_;                       // by requester
  Lifetime lifetime_;
};

}  // namespace vantorel
