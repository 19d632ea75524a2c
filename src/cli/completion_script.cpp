#include "cli/completion_script.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <set>
#include <utility>

#include "settings/settings_table.hpp"

namespace vantorel {
namespace {

/// In single quotes, as all three shells read them alike but for fish, which knows the backslash.
std::string quoted(std::string_view text, Shell shell) {
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'') {
      out += shell == Shell::fish ? "\\'" : "'\\''";
    } else if (c == '\\' && shell == Shell::fish) {
      out += "\\\\";
    } else {
      out += c;
    }
  }
  return out + "'";
}

/// What may be typed for the value as far as it is known.
std::vector<std::string> wordsFor(const OptionOutline& option) {
  if (!option.choices.empty()) return option.choices;
  if (option.kind == kinds::capture) return {"latest"};
  std::vector<std::string> keys;
  if (option.kind == kinds::setting) {
    for (const Setting& setting : settingsTable()) {
      if (setting.isOffered()) keys.emplace_back(setting.key);
    }
  }
  return keys;
}

/// A word that begins a command, an option, or is an argument, and what it means.
struct Word {
  std::string text;
  std::string meaning;
};

/// What may follow the command, arguments that are files apart. The program's own options go with
/// each command.
std::vector<Word> wordsAfter(const CommandOutline& program, const CommandOutline& command) {
  std::vector<Word> words;
  for (const CommandOutline& sub : command.commands) words.push_back({sub.name(), sub.words});
  for (const OptionOutline& argument : command.arguments) {
    for (std::string& word : wordsFor(argument)) words.push_back({std::move(word), argument.words});
  }
  std::set<std::string_view> known;
  for (const CommandOutline* const owner : {&command, &program}) {
    for (const OptionOutline& option : owner->options) {
      for (const std::string& name : option.names) {
        if (known.insert(name).second) words.push_back({name, option.words});
      }
    }
  }
  return words;
}

bool takes(const std::vector<OptionOutline>& arguments, std::string_view kind) {
  return std::ranges::any_of(arguments, [kind](const auto& each) { return each.kind == kind; });
}

/// The lines that find out, from the words typed before the cursor, which command is meant.
std::string pathCase(const CommandOutline& program, Shell shell) {
  std::string patterns;
  for (const CommandOutline* const command : program.all()) {
    if (command != &program)
      patterns += (patterns.empty() ? "" : "|") + quoted(command->path, shell);
  }
  return fmt::format("    case \"$at $word\" in\n      {}) at=\"$at $word\" ;;\n    esac\n",
                     patterns);
}

/// An option that has a value also has it where a command below stands.
template <class Body>
std::string valueCases(const CommandOutline& program, const Body& body) {
  std::string out;
  for (const CommandOutline* const command : program.all()) {
    for (const OptionOutline& option : command->options) {
      if (option.value.empty()) continue;
      const std::string above = command == &program ? "*" : "";
      for (const std::string& name : option.names) {
        out += fmt::format("    '{}'{}' {}') {} ;;\n", command->path, above, name, body(option));
      }
    }
  }
  return out;
}

std::string bashScript(const CommandOutline& program) {
  const auto value = [](const OptionOutline& option) -> std::string {
    if (option.kind == kinds::file) return "_vantorel_paths -f; return";
    if (option.kind == kinds::folder) return "_vantorel_paths -d; return";
    return fmt::format("COMPREPLY=($(compgen -W '{}' -- \"$current\")); return",
                       fmt::join(wordsFor(option), " "));
  };
  std::string out =
      "_vantorel_paths() {\n"
      "  compopt -o filenames\n"
      "  mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen \"$1\" -- \"$current\")\n"
      "}\n\n"
      "_vantorel() {\n"
      "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
      "  local at=vantorel word\n"
      "  local IFS=$' \\t\\n'\n"
      "  COMPREPLY=()\n"
      "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n";
  out += pathCase(program, Shell::bash) + "  done\n  case \"$at $previous\" in\n" +
         valueCases(program, value) + "  esac\n  case $at in\n";
  for (const CommandOutline* const command : program.all()) {
    std::string words;
    for (const Word& word : wordsAfter(program, *command))
      words += (words.empty() ? "" : " ") + word.text;
    std::string body = fmt::format("COMPREPLY=($(compgen -W '{}' -- \"$current\"))", words);
    if (takes(command->arguments, kinds::folder) || takes(command->arguments, kinds::file)) {
      body += "; _vantorel_paths -f";
    }
    out += fmt::format("    '{}') {} ;;\n", command->path, body);
  }
  return out + "  esac\n}\ncomplete -F _vantorel vantorel\n";
}

std::string zshScript(const CommandOutline& program) {
  const auto value = [](const OptionOutline& option) -> std::string {
    if (option.kind == kinds::file) return "_files; return";
    if (option.kind == kinds::folder) return "_files -/; return";
    const auto words = wordsFor(option);
    if (words.empty()) return fmt::format("_message {}; return", quoted(option.words, Shell::zsh));
    return fmt::format("compadd -- {}; return", fmt::join(words, " "));
  };
  std::string out =
      "#compdef vantorel\n\n"
      "_vantorel() {\n"
      "  local at=vantorel word\n"
      "  local -a words_here\n"
      "  for word in \"${(@)words[2,CURRENT-1]}\"; do\n";
  out += pathCase(program, Shell::zsh) + "  done\n  case \"$at ${words[CURRENT-1]}\" in\n" +
         valueCases(program, value) + "  esac\n  case $at in\n";
  for (const CommandOutline* const command : program.all()) {
    out += fmt::format("    '{}')\n      words_here=(\n", command->path);
    for (const auto& [text, meaning] : wordsAfter(program, *command)) {
      // A colon ends the word.
      std::string escaped;
      for (const char c : text) escaped += c == ':' ? "\\:" : std::string(1, c);
      out += "        " + quoted(escaped + ":" + meaning, Shell::zsh) + "\n";
    }
    out += "      )\n      _describe -t words word words_here\n";
    if (takes(command->arguments, kinds::file)) out += "      _files\n";
    if (takes(command->arguments, kinds::folder)) out += "      _files -/\n";
    out += "      ;;\n";
  }
  return out + "  esac\n}\n\n_vantorel \"$@\"\n";
}

std::string fishScript(const CommandOutline& program) {
  std::string paths;
  for (const CommandOutline* const command : program.all()) {
    if (command != &program) paths += " " + quoted(command->path, Shell::fish);
  }
  std::string out = fmt::format(
      "# Whether this command is the one typed before the cursor.\n"
      "function __vantorel_at\n"
      "    set -l at vantorel\n"
      "    for word in (commandline -opc)[2..-1]\n"
      "        contains -- \"$at $word\"{}\n"
      "        and set at \"$at $word\"\n"
      "    end\n"
      "    test \"$at\" = \"$argv\"\n"
      "end\n\n"
      "complete -c vantorel -f\n",
      paths);
  for (const CommandOutline* const command : program.all()) {
    const std::string at = fmt::format("complete -c vantorel -n '__vantorel_at {}'", command->path);
    for (const CommandOutline& sub : command->commands) {
      out += fmt::format("{} -a {} -d {}\n", at, sub.name(), quoted(sub.words, Shell::fish));
    }
    for (const OptionOutline& argument : command->arguments) {
      if (argument.kind == kinds::file || argument.kind == kinds::folder) out += at + " -F\n";
      const auto words = wordsFor(argument);
      if (words.empty()) continue;
      out += fmt::format("{} -a '{}' -d {}\n", at, fmt::join(words, " "),
                         quoted(argument.words, Shell::fish));
    }
    for (const OptionOutline& option : command->options) {
      // The program's own options go with each command.
      std::string line = command == &program ? "complete -c vantorel" : at;
      for (const std::string& name : option.names) {
        line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      if (!option.value.empty()) {
        const bool isPath = option.kind == kinds::file || option.kind == kinds::folder;
        line += isPath ? " -r -F" : " -x";
        if (const auto words = wordsFor(option); !words.empty()) {
          line += fmt::format(" -a '{}'", fmt::join(words, " "));
        }
      }
      if (command != &program && option.names.back() == "--help") continue;
      out += line + " -d " + quoted(option.words, Shell::fish) + "\n";
    }
  }
  return out;
}

}  // namespace

std::string completionScript(const CommandOutline& program, Shell shell) {
  switch (shell) {
    case Shell::bash: return bashScript(program);
    case Shell::zsh: return zshScript(program);
    case Shell::fish: return fishScript(program);
  }
  std::unreachable();
}

}  // namespace vantorel
