#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vantorel {

/// Kinds of values that a shell can complete; an option names its own as its type.
namespace kinds {
inline constexpr const char* file = "FILE";
inline constexpr const char* folder = "FOLDER";
inline constexpr const char* capture = "ID";
inline constexpr const char* picture = "ID|FILE";
inline constexpr const char* setting = "SETTING";
inline constexpr const char* settingValue = "VALUE";  ///< of the setting before it
}  // namespace kinds

/// What is said of an argument that names a capture.
inline constexpr const char* captureWords = "the capture's id, a unique start of it, or latest";

/// One option or argument of a command.
struct OptionOutline {
  std::vector<std::string> names;    ///< with their hyphens; empty: known by its place
  std::string value;                 ///< what it takes, "FILE"; empty: nothing
  std::string kind;                  ///< one of `kinds`, or anything else
  std::vector<std::string> choices;  ///< all that it may be; empty: anything
  std::string words;
  bool isRequired = false;
  bool repeats = false;  ///< takes one value after another

  /// "png|jpeg", or the name of what it takes.
  [[nodiscard]] std::string valueWords() const;
};

/// A command as its help, the manual page and the completions of shells describe it: the one table
/// that all of them are written from.
struct CommandOutline {
  std::string path;  ///< with the commands above it: "vantorel library list"
  std::string words;
  std::string footer;
  std::vector<OptionOutline> options;
  std::vector<OptionOutline> arguments;
  std::vector<CommandOutline> commands;

  /// The last word of its path.
  [[nodiscard]] std::string name() const;

  /// This one and all below it, from the top.
  [[nodiscard]] std::vector<const CommandOutline*> all() const;
};

[[nodiscard]] OptionOutline outlineOf(const CLI::Option& option);
[[nodiscard]] CommandOutline outlineOf(const CLI::App& app);

}  // namespace vantorel
