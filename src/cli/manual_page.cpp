#include "cli/manual_page.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <utility>

#include "base/json_writer.hpp"
#include "cli/exit_statuses.hpp"
#include "settings/settings_table.hpp"

namespace vantorel {
namespace {

constexpr std::string_view help = "--help";  // every command has it

/// As troff prints it as it is; every line of the text begins a line of the page.
std::string escaped(std::string_view text) {
  std::string out;
  bool isLineStart = true;
  for (const char c : text) {
    if (isLineStart && (c == '.' || c == '\'')) out += "\\&";
    isLineStart = c == '\n';
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
  }
  return out;
}

std::string bold(std::string_view text) { return "\\fB" + escaped(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + escaped(text) + "\\fR"; }

/// A line break in the text is a line break on the page.
std::string paragraph(std::string_view text) {
  std::string out;
  for (const char c : escaped(text)) out += c == '\n' ? "\n.br\n" : std::string(1, c);
  return out + "\n";
}

std::string valueOf(const OptionOutline& option) {
  if (option.choices.empty()) return italic(option.value);
  std::string out;
  for (const std::string& choice : option.choices) out += (out.empty() ? "" : "|") + bold(choice);
  return out;
}

std::string synopsis(const CommandOutline& command) {
  std::string line = bold(command.path);
  bool hasChoice = false;
  for (const OptionOutline& option : command.options) {
    if (option.isRequired) {
      line += " " + bold(option.names.back()) + " " + valueOf(option);
    } else if (option.names.back() != help) {
      hasChoice = true;
    }
  }
  if (hasChoice) line += " [" + italic("options") + "]";
  for (const OptionOutline& argument : command.arguments) {
    const std::string value = valueOf(argument) + (argument.repeats ? "..." : "");
    line += argument.isRequired ? " " + value : " [" + value + "]";
  }
  return line;
}

std::string item(const std::string& head, std::string_view words) {
  return ".TP\n" + head + "\n" + escaped(words) + "\n";
}

std::string optionItem(const OptionOutline& option) {
  std::string head;
  for (const std::string& name : option.names) head += (head.empty() ? "" : ", ") + bold(name);
  if (!option.value.empty()) head += " " + valueOf(option);
  return item(head, option.words);
}

std::string commandSection(const CommandOutline& command) {
  std::string out = ".SS " + synopsis(command) + "\n" + paragraph(command.words);
  for (const OptionOutline& argument : command.arguments) {
    out += item(italic(argument.value), argument.words);
  }
  for (const OptionOutline& option : command.options) {
    if (option.names.back() != help) out += optionItem(option);
  }
  return out;
}

std::string settingItem(const Setting& setting, const SettingsValues& defaults) {
  std::string value = setting.words ? setting.words(defaults) : std::string();
  if (value.empty()) {
    const JSONValue stored = setting.store(defaults).value_or(JSONValue{nullptr});
    const auto* const text = std::get_if<std::string>(&stored.value);
    value = text != nullptr                                        ? *text
            : std::holds_alternative<std::nullptr_t>(stored.value) ? "none"
                                                                   : json::toText(stored);
  }
  return item(bold(setting.key),
              fmt::format("{}. Value: {}. Default: {}.", setting.meaning, setting.allowed, value));
}

/// Files and folders a user may meet, from the names of the user's folders.
constexpr auto files = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"~/Pictures/Vantorel/", "The captures, unless storageDirectory names another folder."},
    {"~/.local/share/Vantorel/history.json", "The index of the library; for its owner only."},
    {"~/.local/share/Vantorel/Originals/",
     "Files of captures as they were before they were converted or compressed."},
    {"~/.local/share/Vantorel/Staged Captures/",
     "Captures between the grab and their filing; empty at rest."},
    {"~/.config/Vantorel/settings.json", "The settings. Changes are noticed while it runs."},
});

}  // namespace

std::string manualPage(const CommandOutline& program, std::string_view version) {
  std::string page =
      fmt::format(".TH VANTOREL 1 \"\" \"vantorel {}\" \"User Commands\"\n", escaped(version));
  page += ".SH NAME\nvantorel \\- screen captures for the desktop, kept in a library\n";
  page += ".SH SYNOPSIS\n" + bold("vantorel") + " [" + italic("options") + "]\n.br\n" +
          bold("vantorel") + " [" + italic("options") + "] " + italic("command") + " ...\n";
  page += ".SH DESCRIPTION\n" + paragraph(program.words);
  page += ".SH OPTIONS\n";
  for (const OptionOutline& option : program.options) page += optionItem(option);
  page += ".SH COMMANDS\n";
  for (const CommandOutline* const command : program.all()) {
    if (command == &program || !command->commands.empty()) continue;
    page += commandSection(*command);
  }
  page += ".SH SETTINGS\nEach is set by " + bold("vantorel settings set") + " " +
          italic("key value") + ".\n";
  SettingsValues defaults;
  defaults.storageDirectory = "Vantorel in your Pictures folder";
  for (const Setting& setting : settingsTable()) {
    if (setting.isOffered()) page += settingItem(setting, defaults);
  }
  page += ".SH FILES\n";
  for (const auto& [name, words] : files) page += item(italic(name), words);
  page += ".SH ENVIRONMENT\n" +
          item(bold("VANTOREL_LOG"), "What is logged to standard error: error, warning or info.");
  page += ".SH EXIT STATUS\n";
  for (const auto& [status, words] : exitStatuses) {
    page += item(bold(status), std::string(words) + ".");
  }
  return page;
}

}  // namespace vantorel
