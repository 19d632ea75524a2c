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

bool isPicture(const OptionOutline& option) { return option.kind == kinds::picture; }

bool isCapture(const OptionOutline& option) {
  return option.kind == kinds::capture || isPicture(option);
}

/// What may be typed for the value as far as it is known.
std::vector<std::string> wordsFor(const OptionOutline& option) {
  if (!option.choices.empty()) return option.choices;
  if (isCapture(option)) return {"latest"};
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

/// What may follow the command, its arguments apart. The program's own options go with each
/// command.
std::vector<Word> wordsAfter(const CommandOutline& program, const CommandOutline& command) {
  std::vector<Word> words;
  for (const CommandOutline& sub : command.commands) words.push_back({sub.name(), sub.words});
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

bool isPath(const OptionOutline& option) {
  return option.kind == kinds::file || option.kind == kinds::folder;
}

/// Where an argument stands: after how many others, and after which word.
struct ArgumentPlace {
  const OptionOutline* argument = nullptr;
  std::size_t before = 0;
  bool repeats = false;  ///< after more than that, too
  std::string after;     ///< the argument before it; empty: whichever
  std::vector<std::string> words;
};

std::vector<ArgumentPlace> placesOf(const CommandOutline& command) {
  std::vector<ArgumentPlace> places;
  for (std::size_t i = 0; i < command.arguments.size(); ++i) {
    const OptionOutline& argument = command.arguments[i];
    if (argument.kind == kinds::settingValue) {
      for (const Setting& setting : settingsTable()) {
        if (!setting.isOffered() || setting.choices.empty()) continue;
        places.push_back({&argument, i, false, std::string(setting.key), setting.choices});
      }
      continue;
    }
    auto words = wordsFor(argument);
    if (words.empty() && !isPath(argument)) continue;
    places.push_back({&argument, i, argument.repeats, {}, std::move(words)});
  }
  return places;
}

/// The pattern of a place in "$count $last".
std::string patternOf(const ArgumentPlace& place) {
  if (place.repeats && place.before == 0) return "*";
  const std::string last = place.after.empty() ? "*" : "'" + place.after + "'";
  return fmt::format("'{} '{}{}", place.before, last, place.repeats ? "|[1-9]*" : "");
}

/// The lines that find out, from the words typed before the cursor, which command is meant, how
/// many arguments it has got and which one is the last.
std::string pathCase(const CommandOutline& program, Shell shell) {
  std::string commands;
  std::string values;
  for (const CommandOutline* const command : program.all()) {
    if (command != &program) {
      commands += (commands.empty() ? "" : "|") + quoted(command->path, shell);
    }
    for (const OptionOutline& option : command->options) {
      if (option.value.empty()) continue;
      const std::string above = command == &program ? "*" : "";
      for (const std::string& name : option.names) {
        values +=
            fmt::format("{}'{}'{}' {}'", values.empty() ? "" : "|", command->path, above, name);
      }
    }
  }
  return fmt::format(
      "    if [[ -n $skipped ]]; then\n"
      "      [[ $skipped == --root ]] && root=${{word/#'~/'/$HOME/}}\n"
      "      skipped=\n"
      "      continue\n"
      "    fi\n"
      "    case \"$at $word\" in\n"
      "      {}) at=\"$at $word\" count=0 last= ;;\n"
      "      {}) skipped=$word ;;\n"
      "      *' -'*) ;;\n"
      "      *) count=$((count + 1)) last=$word ;;\n"
      "    esac\n",
      commands, values);
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
      "}\n\n" +
      fmt::format(
          "_vantorel_captures() {{\n"
          "  local id name\n"
          "  while IFS=$'\\t' read -r id name; do\n"
          "    [[ $id == \"$current\"* ]] && COMPREPLY+=(\"$id\")\n"
          "  done < <(vantorel ${{root:+--root \"$root\"}} {} 2> /dev/null)\n"
          "  compopt -o nosort\n"
          "}}\n\n",
          offeredCapturesArgument) +
      "_vantorel() {\n"
      "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
      "  local at=vantorel word count=0 last= skipped= root=\n"
      "  local IFS=$' \\t\\n'\n"
      "  COMPREPLY=()\n"
      "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n";
  out += pathCase(program, Shell::bash) + "  done\n  case \"$at $previous\" in\n" +
         valueCases(program, value) + "  esac\n  case $at in\n";
  for (const CommandOutline* const command : program.all()) {
    std::string words;
    for (const Word& word : wordsAfter(program, *command))
      words += (words.empty() ? "" : " ") + word.text;
    out += fmt::format("    '{}')\n      COMPREPLY=($(compgen -W '{}' -- \"$current\"))\n",
                       command->path, words);
    const auto places = placesOf(*command);
    if (!places.empty()) out += "      case \"$count $last\" in\n";
    for (const ArgumentPlace& place : places) {
      const std::string offer = isPath(*place.argument)
                                    ? "_vantorel_paths -f"
                                    : fmt::format("COMPREPLY+=($(compgen -W '{}' -- \"$current\"))",
                                                  fmt::join(place.words, " "));
      out += fmt::format("        {}) [[ $current == -* ]] || COMPREPLY=(); {}{}{} ;;\n",
                         patternOf(place), offer,
                         isCapture(*place.argument) ? "; _vantorel_captures" : "",
                         isPicture(*place.argument) ? "; _vantorel_paths -f" : "");
    }
    out += places.empty() ? "      ;;\n" : "      esac ;;\n";
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
  std::string out = "#compdef vantorel\n\n" +
                    fmt::format(
                        "_vantorel_captures() {{\n"
                        "  local -a captures\n"
                        "  local id name\n"
                        "  while IFS=$'\\t' read -r id name; do\n"
                        "    captures+=(\"$id:$name\")\n"
                        "  done < <(vantorel ${{root:+--root}} $root {} 2> /dev/null)\n"
                        "  _describe -V -t captures capture captures\n"
                        "}}\n\n",
                        offeredCapturesArgument) +
                    "_vantorel() {\n"
                    "  local at=vantorel word count=0 last= skipped= root=\n"
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
      escaped += ":";
      escaped += meaning;
      out += fmt::format("        {}\n", quoted(escaped, Shell::zsh));
    }
    out += "      )\n      _describe -t words word words_here\n";
    const auto places = placesOf(*command);
    if (!places.empty()) out += "      case \"$count $last\" in\n";
    for (const ArgumentPlace& place : places) {
      const bool isFolder = place.argument->kind == kinds::folder;
      const std::string offer = isPath(*place.argument)
                                    ? std::string(isFolder ? "_files -/" : "_files")
                                    : fmt::format("compadd -- {}", fmt::join(place.words, " "));
      out += fmt::format("        {}) {}{}{} ;;\n", patternOf(place), offer,
                         isCapture(*place.argument) ? "; _vantorel_captures" : "",
                         isPicture(*place.argument) ? "; _files" : "");
    }
    out += places.empty() ? "      ;;\n" : "      esac\n      ;;\n";
  }
  return out + "  esac\n}\n\n_vantorel \"$@\"\n";
}

std::string fishScript(const CommandOutline& program) {
  std::string paths;
  std::string valued;
  for (const CommandOutline* const command : program.all()) {
    if (command != &program) paths += " " + quoted(command->path, Shell::fish);
    for (const OptionOutline& option : command->options) {
      for (const std::string& name : option.names) {
        if (option.value.empty()) continue;
        valued +=
            " " + quoted(command == &program ? name : command->path + " " + name, Shell::fish);
      }
    }
  }
  std::string out = fmt::format(
      "# Whether this command is the one typed before the cursor; with a pattern, whether the "
      "number\n"
      "# of its arguments and the last of them are as it says.\n"
      "function __vantorel_at\n"
      "    set -l at vantorel\n"
      "    set -l count 0\n"
      "    set -l last ''\n"
      "    set -l skipped ''\n"
      "    for word in (commandline -opc)[2..-1]\n"
      "        if test -n \"$skipped\"\n"
      "            set skipped ''\n"
      "        else if contains -- \"$at $word\"{}\n"
      "            set at \"$at $word\"\n"
      "            set count 0\n"
      "            set last ''\n"
      "        else if contains -- \"$at $word\"{}; or contains -- $word{}\n"
      "            set skipped yes\n"
      "        else if not string match -q -- '-*' $word\n"
      "            set count (math $count + 1)\n"
      "            set last $word\n"
      "        end\n"
      "    end\n"
      "    test \"$at\" = $argv[1]; or return 1\n"
      "    test (builtin count $argv) -eq 1; or string match -q -- $argv[2] \"$count $last\"\n"
      "end\n\n"
      "function __vantorel_captures\n"
      "    set -l root\n"
      "    set -l words (commandline -opc)\n"
      "    if set -l place (contains -i -- --root $words)\n"
      "        set root --root (string replace -r '^~/' $HOME/ -- $words[(math $place + 1)])\n"
      "    end\n"
      "    vantorel $root {} 2> /dev/null\n"
      "end\n\n"
      "complete -c vantorel -f\n",
      paths, valued, valued, offeredCapturesArgument);
  for (const CommandOutline* const command : program.all()) {
    const std::string at =
        fmt::format("complete -c vantorel -n '__vantorel_at \"{}\"'", command->path);
    for (const CommandOutline& sub : command->commands) {
      out += fmt::format("{} -a {} -d {}\n", at, sub.name(), quoted(sub.words, Shell::fish));
    }
    for (const ArgumentPlace& place : placesOf(*command)) {
      const std::string pattern =
          place.repeats && place.before == 0
              ? "*"
              : fmt::format("{} {}", place.before, place.after.empty() ? "*" : place.after);
      for (const std::string& each : place.repeats&& place.before > 0
                                         ? std::vector<std::string>{pattern, "[1-9]*"}
                                         : std::vector<std::string>{pattern}) {
        out += fmt::format("complete -c vantorel -n '__vantorel_at \"{}\" \"{}\"'", command->path,
                           each);
        out +=
            isPath(*place.argument)
                ? " -F\n"
                : fmt::format("{}{} -a '{}{}' -d {}\n", isPicture(*place.argument) ? " -F" : "",
                              isCapture(*place.argument) ? " -k" : "", fmt::join(place.words, " "),
                              isCapture(*place.argument) ? " (__vantorel_captures)" : "",
                              quoted(place.argument->words, Shell::fish));
      }
    }
    for (const OptionOutline& option : command->options) {
      // The program's own options go with each command.
      std::string line = command == &program ? "complete -c vantorel" : at;
      for (const std::string& name : option.names) {
        line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      if (!option.value.empty()) {
        line += isPath(option) ? " -r -F" : " -x";
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
