#include "cli/command_outline.hpp"

#include <CLI/CLI.hpp>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace vantorel {
namespace {

CommandOutline outline(const CLI::App& app, std::string path) {
  CommandOutline outlined{.path = std::move(path),
                          .words = app.get_description(),
                          .footer = app.get_footer(),
                          .options = {},
                          .arguments = {},
                          .commands = {}};
  for (const CLI::Option* const option : app.get_options()) {
    auto& list = option->get_positional() ? outlined.arguments : outlined.options;
    list.push_back(outlineOf(*option));
  }
  for (const CLI::App* const command : app.get_subcommands({})) {
    outlined.commands.push_back(outline(*command, outlined.path + " " + command->get_name()));
  }
  return outlined;
}

}  // namespace

std::string OptionOutline::valueWords() const {
  return choices.empty() ? value : fmt::format("{}", fmt::join(choices, "|"));
}

std::string CommandOutline::name() const { return path.substr(path.rfind(' ') + 1); }

std::vector<const CommandOutline*> CommandOutline::all() const {
  std::vector<const CommandOutline*> found{this};
  for (const CommandOutline& command : commands) {
    std::ranges::copy(command.all(), std::back_inserter(found));
  }
  return found;
}

OptionOutline outlineOf(const CLI::Option& option) {
  OptionOutline outlined;
  outlined.words = option.get_description();
  outlined.isRequired = option.get_required();
  outlined.repeats = option.get_expected_max() > 1;
  if (option.get_items_expected_max() > 0) {  // else a switch
    // "FORMAT:{png,jpeg}", as the parser puts a type and its checks together.
    const std::string type = option.get_type_name();
    outlined.kind = type.substr(0, type.find(':'));
    outlined.value = outlined.kind;
    const auto from = type.find('{');
    const auto to = type.find('}');
    if (from != std::string::npos && to != std::string::npos) {
      outlined.choices = CLI::detail::split(type.substr(from + 1, to - from - 1), ',');
    }
  }
  if (option.get_positional()) {
    outlined.value = option.get_name(true, false);
    return outlined;
  }
  for (const std::string& name : option.get_snames()) outlined.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) outlined.names.push_back("--" + name);
  return outlined;
}

CommandOutline outlineOf(const CLI::App& app) { return outline(app, app.get_name()); }

}  // namespace vantorel
