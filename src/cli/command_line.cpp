#include "cli/command_line.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <array>
#include <charconv>
#include <cmath>
#include <memory>

#include "base/enum_names.hpp"
#include "cli/one_of.hpp"

namespace vantorel {

template <>
inline constexpr auto enumNames<StillCaptureCommand::Kind> =
    std::to_array<EnumName<StillCaptureCommand::Kind>>({
        {StillCaptureCommand::Kind::display, "display"},
        {StillCaptureCommand::Kind::window, "window"},
        {StillCaptureCommand::Kind::area, "area"},
        {StillCaptureCommand::Kind::previous, "previous"},
    });

namespace {

/// "X,Y,W,H" with a size greater than zero.
std::optional<PointRect> parseRect(std::string_view text) {
  std::array<double, 4> numbers{};
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto [stop, error] = std::from_chars(at, end, numbers[i]);
    if (error != std::errc{} || !std::isfinite(numbers[i])) return std::nullopt;
    const bool last = i + 1 == numbers.size();
    if (last ? stop != end : (stop == end || *stop != ',')) return std::nullopt;
    at = stop + 1;
  }
  if (numbers[2] <= 0 || numbers[3] <= 0) return std::nullopt;
  return PointRect{numbers[0], numbers[1], numbers[2], numbers[3]};
}

/// Decimal, or hexadecimal after "0x".
std::optional<WindowID> parseWindow(std::string_view text) {
  const bool hex = text.starts_with("0x");
  if (hex) text.remove_prefix(2);
  WindowID window = 0;
  const auto [stop, error] =
      std::from_chars(text.data(), text.data() + text.size(), window, hex ? 16 : 10);
  if (error != std::errc{} || stop != text.data() + text.size()) return std::nullopt;
  return window;
}

/// What the options are written into before they are made a command.
struct Given {
  std::string root;
  bool json = false;
  std::string kind;
  std::string display;
  bool allDisplays = false;
  std::string window;
  std::string rect;
  std::string delay;
  std::string entryID;
  std::string format;
  bool downscaleTo1x = false;
};

constexpr const char* exitStatuses =
    "Exit status: 0 done; 1 failed, with the reason on standard error; 2 wrong usage;\n"
    "3 cancelled by the user; 4 refused because another capture or a dialog is running.";

void addCapture(CLI::App& app, Given& given) {
  CLI::App* const capture =
      app.add_subcommand("capture", "Take a still and file it; prints the path of the file");
  capture->add_option("what", given.kind, "display, window, area or previous (the last area again)")
      ->required()
      ->check(oneOf<StillCaptureCommand::Kind>());
  capture->add_option("--display", given.display,
                      "the display, by its id in \"vantorel displays\" (default: the main one)");
  capture->add_flag("--all", given.allDisplays,
                    "of \"capture display\": all displays as one picture");
  capture->add_option("--window", given.window,
                      "the window, by its id in \"vantorel windows\" (default: pick one)");
  capture->add_option("--rect", given.rect,
                      "X,Y,W,H in points from the display's corner (default: drag one)");
  capture
      ->add_option("--delay", given.delay,
                   "seconds to wait first: none, three, five or ten (default: as set)")
      ->check(oneOf<CaptureDelay>());
  capture->footer(exitStatuses);
}

/// Fills `command` from the options of "capture"; answers what is wrong with them, or nothing.
std::string captureCommand(const Given& given, StillCaptureCommand& command) {
  command.kind = *enumFromName<StillCaptureCommand::Kind>(given.kind);
  using Kind = StillCaptureCommand::Kind;
  if (!given.window.empty() && command.kind != Kind::window) {
    return "--window goes with \"capture window\"";
  }
  if (!given.rect.empty() && command.kind != Kind::area) return "--rect goes with \"capture area\"";
  if (!given.display.empty() && command.kind != Kind::display &&
      (command.kind != Kind::area || given.rect.empty())) {
    return "--display goes with \"capture display\", and with \"capture area --rect\"";
  }
  if (given.allDisplays && (command.kind != Kind::display || !given.display.empty())) {
    return "--all goes with \"capture display\", and not with --display";
  }
  command.display = given.display;
  command.allDisplays = given.allDisplays;
  if (!given.window.empty()) {
    command.window = parseWindow(given.window);
    if (!command.window) {
      return "--window must be a number, as \"vantorel windows\" prints it";
    }
  }
  if (!given.rect.empty()) {
    command.rect = parseRect(given.rect);
    if (!command.rect) {
      return "--rect must be X,Y,W,H: four numbers with a width and height above zero";
    }
  }
  if (!given.delay.empty()) command.delay = enumFromName<CaptureDelay>(given.delay);
  return {};
}

CommandLineAnswer usage(const std::string& problem) {
  return {ExitStatus::usage, problem + "\nRun \"vantorel --help\" for help.\n"};
}

}  // namespace

bool CommandLine::needsWindows() const {
  if (std::holds_alternative<command::Run>(command)) return true;
  const auto* const capture = std::get_if<command::Capture>(&command);
  if (capture == nullptr) return false;
  using Kind = StillCaptureCommand::Kind;
  const StillCaptureCommand& what = capture->what;
  return (what.kind == Kind::area && !what.rect) || (what.kind == Kind::window && !what.window);
}

std::variant<CommandLine, CommandLineAnswer> parseCommandLine(std::vector<std::string> arguments,
                                                              const Path& folder) {
  Given given;
  CLI::App app(
      "Vantorel takes pictures of the screen and keeps them in a library.\n"
      "Without a command it lives in the tray. A command goes to the running program when there is "
      "one.",
      "vantorel");
  app.set_version_flag("--version", "vantorel " VANTOREL_VERSION);
  app.add_option("--root", given.root,
                 "a folder that holds a library and settings of their own (tests, portable use)");
  app.add_flag("--json", given.json, "print entries as JSON, one a line");
  app.footer(exitStatuses);
  app.require_subcommand(0, 1);
  addCapture(app, given);
  CLI::App* const displays = app.add_subcommand("displays", "List the connected displays");
  CLI::App* const windows = app.add_subcommand("windows", "List the open windows, topmost first");
  CLI::App* const convert = app.add_subcommand(
      "convert", "Convert a capture's file to another format; it holds no annotations: see render");
  convert->add_option("id", given.entryID, "the capture's id, a unique start of it, or latest")
      ->required();
  convert->add_option("--format", given.format, "png, jpeg, heic or webp")
      ->required()
      ->check(oneOf<ExportFormat>());
  CLI::App* const compress = app.add_subcommand(
      "compress", "Make a capture's file smaller; it holds no annotations: see render");
  compress->add_option("id", given.entryID, "the capture's id, a unique start of it, or latest")
      ->required();
  compress->add_flag("--1x", given.downscaleTo1x,
                     "also scale a capture of a high-resolution display down to one pixel a point");
  AnnotationOptions annotations;
  annotations.addTo(app);
  CLI::App* const quit = app.add_subcommand("quit", "End the running program");
  const LibraryOptions library(app);
  const SettingsOptions settings(app);
  app.fallthrough();
  for (CLI::App* const sub : app.get_subcommands({})) sub->fallthrough();

  try {
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(std::move(reversed));
  } catch (const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream problem;
    if (app.exit(error, out, problem) == 0) return CommandLineAnswer{ExitStatus::done, out.str()};
    std::string text = problem.str();
    return CommandLineAnswer{ExitStatus::usage, std::move(text)};
  }

  CommandLine line;
  line.json = given.json;
  if (app.count("--root") > 0) {
    if (given.root.empty()) return usage("--root must name a folder");
    line.root = given.root;
  }
  if (app.got_subcommand("capture")) {
    StillCaptureCommand what;
    if (const std::string problem = captureCommand(given, what); !problem.empty()) {
      return usage(problem);
    }
    line.command = command::Capture{std::move(what)};
  } else if (displays->parsed()) {
    line.command = command::ListDisplays{};
  } else if (windows->parsed()) {
    line.command = command::ListWindows{};
  } else if (convert->parsed()) {
    line.command = command::Convert{given.entryID, *enumFromName<ExportFormat>(given.format)};
  } else if (compress->parsed()) {
    line.command = command::Compress{given.entryID, given.downscaleTo1x};
  } else if (quit->parsed()) {
    line.command = command::Quit{};
  } else if (library.isChosen()) {
    command::Library what;
    if (const std::string problem = library.read(what, folder); !problem.empty())
      return usage(problem);
    line.command = std::move(what);
  } else if (auto change = settings.chosen()) {
    if (const std::string problem = settings.problem(); !problem.empty()) return usage(problem);
    line.command = *std::move(change);
  } else {
    auto command = annotations.command(folder);
    if (!command) return usage(command.error());
    if (*command) {
      std::visit([&](auto& asked) { line.command = std::move(asked); }, **command);
    }
  }
  return line;
}

}  // namespace vantorel
