#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "app/app_coordinator.hpp"
#include "app/capture_annotator.hpp"
#include "app/capture_export.hpp"
#include "app/capture_rewriter.hpp"
#include "app/library_move.hpp"
#include "base/alive.hpp"
#include "cli/command_line.hpp"
#include "cli/library_command.hpp"
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
    SettingsStore* settings = nullptr;
    LibraryCommands* library = nullptr;
    LibraryMove* move = nullptr;
    CaptureExport* exporting = nullptr;
    Autostart* autostart = nullptr;
    ScreenCapture* screen = nullptr;
    WindowList* windows = nullptr;
  };

  explicit CommandRunner(Services services) : services_(std::move(services)) {}

  using Done = CommandDone;

  /// Calls `done` once, when the work is safe on disk.
  void run(const CommandLine& line, Done done, const CommandAsker& asker = {});

  /// The one who asked does not want it any more, or went away: its capture that waits for the user
  /// is called off, long work that changes nothing ends, and a move after its batch. It is answered
  /// all the same. Other work is done to its end, and what others asked for goes on.
  void callOff(const std::string& asker);

 private:
  /// A capture under way.
  struct Capturing {
    bool hasBegun = false;  // the one that the coordinator has in flight
    bool isCalledOff = false;
  };

  void changeSettings(const command::Settings& what, bool json, Done done);
  [[nodiscard]] Done withKeys(const command::Settings& what, Done done);
  void capture(const command::Capture& what, bool json, const std::string& asker, Done done);
  void handOut(const EntryPointer& entry, const command::Capture::Output& output, bool json,
               CommandReply answer, Done done);
  void switchAutostart(const command::Autostart& what, Done done);
  void listDisplays(bool json, Done done);
  void listWindows(bool json, Done done);
  void rewrite(const CommandLine& line, Done done);
  void annotate(const command::Annotate& what, bool json, Done done);
  void render(const command::Render& what, Done done);

  Services services_;
  std::multimap<std::string, Capturing> capturing_;  // by asker
  Alive alive_;
};

}  // namespace vantorel
