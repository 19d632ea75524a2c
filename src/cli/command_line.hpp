#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/app_window.hpp"
#include "app/still_capture_command.hpp"
#include "base/geometry.hpp"
#include "capture/records/capture_target.hpp"
#include "capture/records/export_format.hpp"
#include "cli/annotation_commands.hpp"
#include "cli/command_reply.hpp"
#include "cli/library_options.hpp"
#include "cli/redact_command.hpp"
#include "cli/settings_command.hpp"
#include "cli/stitch_command.hpp"

namespace vantorel {

namespace command {

/// Lives in the tray until it is told to quit.
struct Run {};
struct Quit {};
/// Opens a window, in the tray's process; where none runs, this one lives on in the tray.
struct Show {
  AppWindow window = AppWindow::history;
};
struct ListDisplays {};
struct ListWindows {};
struct Capture {
  StillCaptureCommand what;

  /// Where the picture goes besides the library.
  struct Output {
    Path file;  ///< absolute; empty: standard output
    ExportFormat format = ExportFormat::png;
  };
  std::optional<Output> output{};
};
/// Starts with the desktop session, or does not any more; or says which.
struct Autostart {
  enum class Verb { on, off, status };
  Verb verb = Verb::status;
};
struct Convert {
  std::string entryID;
  ExportFormat format = ExportFormat::png;
};
struct Compress {
  std::string entryID;
  bool downscaleTo1x = false;
};

}  // namespace command

/// What a command line asks for.
struct CommandLine {
  std::optional<std::string> root;  ///< a library and settings of their own
  bool json = false;
  std::variant<command::Run, command::Show, command::Quit, command::ListDisplays,
               command::ListWindows, command::Capture, command::Autostart, command::Convert,
               command::Compress, command::Annotate, command::Render, command::Edit, command::Pin,
               command::Settings, command::Library, command::Redact, command::Stitch>
      command;

  /// True when the process that runs it lives on in the tray.
  [[nodiscard]] bool livesOn() const;

  /// True when the command needs a window on this desktop: a selection to make or a countdown to
  /// see.
  [[nodiscard]] bool needsWindows() const;

  /// False for what has to do with settings alone.
  [[nodiscard]] bool needsLibrary() const;

  /// True when it looks through the library and changes nothing, not even what waits to be filed.
  [[nodiscard]] bool onlyVerifies() const;

  /// The text to look through, of a command that does nothing else: it is run where it was typed,
  /// whose standard input it may read. Null for all others.
  [[nodiscard]] const command::Redact::ScanText* scannedText() const;

  /// The frames to join; likewise.
  [[nodiscard]] const command::Stitch* stitched() const {
    return std::get_if<command::Stitch>(&command);
  }

  /// True when bytes of a picture are what it prints.
  [[nodiscard]] bool printsPicture() const;
};

/// A command line that is no command: help, the version, or a mistake.
struct CommandLineAnswer {
  ExitStatus status = ExitStatus::done;
  std::string text;  ///< for standard output when done, else for standard error
};

/// `arguments` without the program's name, typed in `folder`.
[[nodiscard]] std::variant<CommandLine, CommandLineAnswer> parseCommandLine(
    std::vector<std::string> arguments, const Path& folder);

}  // namespace vantorel
