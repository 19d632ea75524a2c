#include "cli/command_line.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <charconv>
#include <cmath>
#include <memory>

#include "base/enum_names.hpp"
#include "cli/completion_script.hpp"
#include "cli/exit_statuses.hpp"
#include "cli/help_formatter.hpp"
#include "cli/manual_page.hpp"
#include "cli/one_of.hpp"

namespace vantorel {

template <>
inline constexpr auto enumNames<command::Autostart::Verb> =
    std::to_array<EnumName<command::Autostart::Verb>>({
        {command::Autostart::Verb::on, "on"},
        {command::Autostart::Verb::off, "off"},
        {command::Autostart::Verb::status, "status"},
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

constexpr int longestDelay = 3600;

/// Whole seconds, or one of the words of the menu.
std::optional<std::chrono::seconds> parseDelay(std::string_view text) {
  if (const auto named = enumFromName<CaptureDelay>(text)) return lengthOf(*named);
  int seconds = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc{} || stop != end || seconds < 0 || seconds > longestDelay) {
    return std::nullopt;
  }
  return std::chrono::seconds(seconds);
}

/// What the options are written into before they are made a command.
struct Given {
  std::string root;
  bool json = false;
  std::string kind;
  std::optional<std::string> display;
  bool allDisplays = false;
  std::optional<std::string> window;
  std::optional<std::string> rect;
  std::optional<std::string> delay;
  std::optional<std::string> timeout;
  std::optional<std::string> output;
  bool copies = false;
  bool showsPointer = false;
  bool isAnsweredAtDesktop = false;
  std::string autostart;
  std::string shownWindow;
  std::string entryID;
  std::string format;
  bool downscaleTo1x = false;
  std::string shell;
};

std::string exitStatusText() {
  std::string text = "Exit status:";
  for (const auto& [status, words] : exitStatuses)
    text += fmt::format("\n  {:<10}{}", status, words);
  return text;
}

void addCapture(CLI::App& app, Given& given) {
  CLI::App* const capture =
      app.add_subcommand("capture", "Take a still and file it; prints the path of the file");
  capture
      ->add_option("what", given.kind,
                   "what to take; previous is the area chosen last, text is read, printed and "
                   "copied, without a picture being saved, and scroll joins what is scrolled in "
                   "an area or a window to one tall picture")
      ->required()
      ->check(oneOf<StillCaptureCommand::Kind>());
  capture
      ->add_option("--display", given.display,
                   "the display, by its id in \"vantorel displays\" (default: the main one)")
      ->type_name("DISPLAY");
  capture->add_flag("--all", given.allDisplays,
                    "of \"capture display\": all displays as one picture");
  capture
      ->add_option("--window", given.window,
                   "the window, by its id in \"vantorel windows\" (default: pick one)")
      ->type_name("WINDOW");
  capture
      ->add_option("--rect", given.rect,
                   "the area in points from the display's corner (default: drag one)")
      ->type_name("X,Y,W,H");
  capture
      ->add_option("--delay", given.delay,
                   "whole seconds to wait first, up to 3600; or none, three, five or ten "
                   "(default: as set)")
      ->type_name("SECONDS");
  capture
      ->add_option("--timeout", given.timeout,
                   "of \"capture scroll\": whole seconds, up to 3600, after which it ends and what "
                   "there is is filed (default: when you are done)")
      ->type_name("SECONDS");
  capture
      ->add_option("--output", given.output,
                   "also write the picture to this file, in the format its name ends in; "
                   "- is PNG on standard output")
      ->type_name(kinds::file);
  capture->add_flag("--copy", given.copies, "also copy it to the clipboard, whatever is set");
  capture->add_flag("--pointer", given.showsPointer, "with the pointer in the picture");
  capture->add_flag("--notify", given.isAnsweredAtDesktop,
                    "show at the desktop how it ends, for launchers and key bindings");
  capture->footer(exitStatusText());
}

/// Fills `what` from the options of "capture"; answers what is wrong with them, or nothing.
std::string captureCommand(const Given& given, const Path& folder, command::Capture& what) {
  StillCaptureCommand& command = what.what;
  command.kind = *enumFromName<StillCaptureCommand::Kind>(given.kind);
  using Kind = StillCaptureCommand::Kind;
  const bool isText = command.kind == Kind::text;
  const bool isScroll = command.kind == Kind::scroll;
  const bool isArea = command.kind == Kind::area || isText || isScroll;
  if (given.window && command.kind != Kind::window && !isText && !isScroll) {
    return "--window goes with \"capture window\", \"capture text\" and \"capture scroll\"";
  }
  if (given.rect && !isArea) {
    return "--rect goes with \"capture area\", \"capture text\" and \"capture scroll\"";
  }
  if (given.timeout && !isScroll) return "--timeout goes with \"capture scroll\"";
  if (isScroll && given.delay) return "--delay doesn't go with \"capture scroll\"";
  if (isScroll && given.showsPointer) return "--pointer doesn't go with \"capture scroll\"";
  if (given.rect && given.window) return "--rect doesn't go with --window";
  if (given.output && isText)
    return "--output goes with pictures; \"capture text\" prints the text";
  if (given.display && command.kind != Kind::display && (!isArea || !given.rect)) {
    return "--display goes with \"capture display\", and with --rect";
  }
  if (given.allDisplays && (command.kind != Kind::display || given.display)) {
    return "--all goes with \"capture display\", and not with --display";
  }
  command.allDisplays = given.allDisplays;
  if (given.display) {
    if (given.display->empty()) {
      return "--display must name a display, as \"vantorel displays\" prints it";
    }
    command.display = *given.display;
  }
  if (given.window) {
    command.window = parseWindow(*given.window);
    if (!command.window) {
      return "--window must be a number, as \"vantorel windows\" prints it";
    }
  }
  if (given.rect) {
    command.rect = parseRect(*given.rect);
    if (!command.rect) {
      return "--rect must be X,Y,W,H: four numbers with a width and height above zero";
    }
  }
  if (given.delay) {
    command.delay = parseDelay(*given.delay);
    if (!command.delay) return "--delay must be whole seconds from 0 to 3600";
  }
  if (given.timeout) {
    command.timeout = parseDelay(*given.timeout);
    if (!command.timeout || command.timeout->count() == 0) {
      return "--timeout must be whole seconds from 1 to 3600";
    }
  }
  if (given.output) {
    if (given.output->empty()) return outputNamesNothing;
    command::Capture::Output& output = *(what.output = command::Capture::Output{});
    if (*given.output != "-") {
      output.file = (folder / *given.output).lexically_normal();
      const auto format = formatOfFileName(*given.output);
      if (!format) return "--output must end in .png, .jpg, .webp or .heic";
      output.format = *format;
    } else if (given.json) {
      return "--output - prints the picture alone; --json doesn't go with it";
    }
  }
  command.copies = given.copies;
  command.showsPointer = given.showsPointer;
  command.isAnsweredAtDesktop = given.isAnsweredAtDesktop;
  return {};
}

/// `command` is the one whose help says more, after "vantorel": empty for the program's own.
CommandLineAnswer usage(const std::string& problem, const std::string& command = {}) {
  return {ExitStatus::usage,
          closedSentence(problem) + "\nRun \"vantorel" + command + " --help\" for help.\n"};
}

/// What to give for an option: the choices where there are some.
std::string wordsFor(const CLI::Option& option) {
  const OptionOutline outline = outlineOf(option);
  const auto& choices = outline.choices;
  if (choices.size() < 2) return outline.words;
  return fmt::format("{} or {}", fmt::join(choices.begin(), choices.end() - 1, ", "),
                     choices.back());
}

/// The innermost command on the line as far as it was understood.
const CLI::App& deepest(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  return chosen.empty() ? app : deepest(*chosen.front());
}

/// In one sentence, as a refused setting has it: "--format must be one of png, jpeg". A word that
/// nobody types the name of goes by its command's.
std::string wordsOf(const CLI::ParseError& error, const CLI::App& app) {
  std::string text = error.what();
  const std::size_t colon = text.find(": ");
  if (dynamic_cast<const CLI::ValidationError*>(&error) == nullptr || colon == text.npos) {
    return text;
  }
  const std::string problem = text.substr(colon + 2);
  const bool isPlaced = !text.starts_with('-') && problem.starts_with(mustBeOneOf);
  return (isPlaced ? deepest(app).get_name() : text.substr(0, colon)) + " " + problem;
}

/// The commands on the line as far as they were understood: " library list".
std::string commandsOf(const CLI::App& app) {
  std::string names;
  for (const CLI::App* at = &app; !at->get_subcommands().empty();) {
    at = at->get_subcommands().front();
    names += " " + at->get_name();
  }
  return names;
}

/// A picture file alone is to be opened: that is how file managers ask.
void openFiles(std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--root") {
      ++i;
    } else if (!arguments[i].starts_with('-')) {
      const bool isFile = arguments[i].find_first_of("/.") != std::string::npos;
      if (isFile) arguments.insert(arguments.begin() + static_cast<std::ptrdiff_t>(i), "edit");
      return;
    }
  }
}

/// "help", wherever a command may stand, is the help of what follows it.
void askForHelp(std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--root") {
      ++i;
    } else if (arguments[i] == "help") {
      arguments.erase(arguments.begin() + static_cast<std::ptrdiff_t>(i));
      arguments.emplace_back("--help");
      return;
    } else if (!arguments[i].starts_with('-')) {
      return;
    }
  }
}

}  // namespace

bool CommandLine::livesOn() const {
  return std::holds_alternative<command::Run>(command) ||
         std::holds_alternative<command::Show>(command) ||
         std::holds_alternative<command::Edit>(command) ||
         std::holds_alternative<command::Pin>(command);
}

bool CommandLine::needsWindows() const {
  if (livesOn()) return true;
  const auto* const capture = std::get_if<command::Capture>(&command);
  if (capture == nullptr) return false;
  if (capture->what.isAnsweredAtDesktop) return true;
  // What it does is seen on its panel.
  if (capture->what.kind == StillCaptureCommand::Kind::scroll) return true;
  using Kind = StillCaptureCommand::Kind;
  const StillCaptureCommand& what = capture->what;
  if (what.kind == Kind::text) return !what.rect && !what.window;
  return (what.kind == Kind::area && !what.rect) || (what.kind == Kind::window && !what.window);
}

bool CommandLine::needsLibrary() const {
  if (const auto* const settings = std::get_if<command::Settings>(&command)) {
    return settings->namesCollection();
  }
  return !std::holds_alternative<command::Autostart>(command) && scannedText() == nullptr &&
         stitched() == nullptr;
}

bool CommandLine::onlyVerifies() const {
  const auto* const library = std::get_if<command::Library>(&command);
  return library != nullptr && library->verb == command::Library::Verb::verify && !library->repairs;
}

const command::Redact::ScanText* CommandLine::scannedText() const {
  const auto* const redact = std::get_if<command::Redact>(&command);
  return redact == nullptr ? nullptr : std::get_if<command::Redact::ScanText>(&redact->what);
}

bool CommandLine::printsPicture() const {
  const auto* const capture = std::get_if<command::Capture>(&command);
  if (capture != nullptr) return capture->output && capture->output->file.empty();
  const auto* const render = std::get_if<command::Render>(&command);
  return render != nullptr && render->drawing.output.empty();
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
                 "a folder that holds a library and settings of their own (tests, portable use)")
      ->type_name(kinds::folder);
  app.add_flag("--json", given.json, "print what is listed or made as JSON, one a line");
  app.footer(exitStatusText());
  app.formatter(std::make_shared<HelpFormatter>());
  app.require_subcommand(0, 1);
  addCapture(app, given);
  CLI::App* const displays = app.add_subcommand("displays", "List the connected displays");
  CLI::App* const windows = app.add_subcommand("windows", "List the open windows, topmost first");
  CLI::App* const convert = app.add_subcommand(
      "convert", "Convert a capture's file to another format; it holds no annotations: see render");
  convert->add_option("id", given.entryID, captureWords)->type_name(kinds::capture)->required();
  convert->add_option("--format", given.format, "the new format")
      ->required()
      ->check(oneOf<ExportFormat>());
  CLI::App* const compress = app.add_subcommand(
      "compress", "Make a capture's file smaller; it holds no annotations: see render");
  compress->add_option("id", given.entryID, captureWords)->type_name(kinds::capture)->required();
  compress->add_flag("--1x", given.downscaleTo1x,
                     "also scale a capture of a high-resolution display down to one pixel a point");
  AnnotationOptions annotations;
  annotations.addTo(app);
  CLI::App* const autostart =
      app.add_subcommand("autostart", "Start Vantorel with the desktop session: on, off or status");
  autostart->add_option("what", given.autostart, "on, off or status")
      ->required()
      ->check(oneOf<command::Autostart::Verb>());
  CLI::App* const show =
      app.add_subcommand("show", "Open a window of Vantorel, which starts when it does not run");
  show->add_option("window", given.shownWindow, "the window")
      ->required()
      ->check(oneOf<AppWindow>());
  CLI::App* const quit = app.add_subcommand(
      "quit", "End the program in the tray, without a session bus too; it saves first");
  const LibraryOptions library(app);
  const RedactOptions redact(app);
  const StitchOptions stitch(app);
  const SettingsOptions settings(app);
  CLI::App* const manual =
      app.add_subcommand("manual", "Print the manual page: vantorel manual | man -l -");
  CLI::App* const completion = app.add_subcommand(
      "completion", "Print the script that completes commands in a shell; packages install it");
  completion->add_option("shell", given.shell, "the shell")->required()->check(oneOf<Shell>());
  app.fallthrough();
  for (CLI::App* const sub : app.get_subcommands({})) sub->fallthrough();

  try {
    askForHelp(arguments);
    openFiles(arguments);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(std::move(reversed));
  } catch (const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream problem;
    if (app.exit(error, out, problem) == 0) return CommandLineAnswer{ExitStatus::done, out.str()};
    std::string text = wordsOf(error, app);
    constexpr std::string_view required = " is required";
    if (text.ends_with(required) && !text.starts_with('A')) {
      text.resize(text.size() - required.size());
      const CLI::Option* const option = deepest(app).get_option_no_throw(text);
      text = (text.starts_with('-') ? text : "\"" + text + "\"") + " is missing";
      if (option != nullptr) text += ": " + wordsFor(*option);
    }
    return usage(text, commandsOf(app));
  }

  if (manual->parsed()) {
    return CommandLineAnswer{ExitStatus::done, manualPage(outlineOf(app), VANTOREL_VERSION)};
  }
  if (completion->parsed()) {
    return CommandLineAnswer{ExitStatus::done,
                             completionScript(outlineOf(app), *enumFromName<Shell>(given.shell))};
  }
  if (given.json && app.get_subcommands().empty()) {
    return usage("--json must stand with a command that prints something");
  }
  CommandLine line;
  line.json = given.json;
  if (app.count("--root") > 0) {
    if (given.root.empty()) return usage("--root must name a folder");
    line.root = given.root;
  }
  if (app.got_subcommand("capture")) {
    command::Capture what;
    if (const std::string problem = captureCommand(given, folder, what); !problem.empty()) {
      return usage(problem, commandsOf(app));
    }
    line.command = std::move(what);
  } else if (displays->parsed()) {
    line.command = command::ListDisplays{};
  } else if (windows->parsed()) {
    line.command = command::ListWindows{};
  } else if (convert->parsed()) {
    line.command = command::Convert{given.entryID, *enumFromName<ExportFormat>(given.format)};
  } else if (compress->parsed()) {
    line.command = command::Compress{given.entryID, given.downscaleTo1x};
  } else if (autostart->parsed()) {
    line.command = command::Autostart{*enumFromName<command::Autostart::Verb>(given.autostart)};
  } else if (show->parsed()) {
    line.command = command::Show{*enumFromName<AppWindow>(given.shownWindow)};
  } else if (quit->parsed()) {
    line.command = command::Quit{};
  } else if (library.isChosen()) {
    command::Library what;
    if (const std::string problem = library.read(what, folder); !problem.empty()) {
      return usage(problem, commandsOf(app));
    }
    line.command = std::move(what);
  } else if (redact.isChosen()) {
    auto what = redact.command(folder);
    if (!what) return usage(what.error().reason, commandsOf(app));
    line.command = *std::move(what);
  } else if (stitch.isChosen()) {
    auto what = stitch.command(folder);
    if (!what) return usage(what.error().reason, commandsOf(app));
    line.command = *std::move(what);
  } else if (auto change = settings.chosen()) {
    if (const std::string problem = settings.problem(); !problem.empty()) {
      return usage(problem, commandsOf(app));
    }
    line.command = *std::move(change);
  } else {
    auto command = annotations.command(folder);
    if (!command) return usage(command.error().reason, commandsOf(app));
    if (*command) {
      std::visit([&](auto& asked) { line.command = std::move(asked); }, **command);
    }
  }
  return line;
}

}  // namespace vantorel
