#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace vantorel {

/// How a command ends.
enum class ExitStatus {
  done = 0,
  failed = 1,     ///< with a sentence on standard error
  usage = 2,      ///< the command line makes no sense
  cancelled = 3,  ///< by the user
  refused = 4,    ///< another capture or a dialog is running

  /// Ended by Ctrl-C while it waited for the library; by another signal, 128 and its number.
  interrupted = 130,
};

/// What a command leaves behind.
struct CommandReply {
  ExitStatus status = ExitStatus::done;
  std::string output;  ///< for standard output
  std::string error;   ///< for standard error: sentences, one a line
};

using CommandDone = std::move_only_function<void(CommandReply)>;

/// How far long work has come: so many of so many `words`, such as "files moved". With a `total` of
/// zero `words` is a sentence, of what the command waits for.
struct CommandProgress {
  std::size_t done = 0;
  std::size_t total = 0;
  std::string_view words;
};

/// Called on any thread.
using ShowProgress = std::function<void(const CommandProgress&)>;

/// Who wants a command.
struct CommandRequester {
  std::string name{};   ///< of the process that sent it; empty for this one
  ShowProgress show{};  ///< shows him how far it has come; empty where nobody looks
};

/// `text` with a capital and a full stop, where it begins with a word and has none yet.
[[nodiscard]] std::string closedSentence(std::string text);

/// `reason` becomes a sentence if it is not one yet.
[[nodiscard]] CommandReply failedReply(std::string reason);

/// Says that a program lives in the tray that a command cannot be handed to.
[[nodiscard]] std::string unreachableTraySentence(long process);

/// To one who called the command off before it changed anything.
[[nodiscard]] CommandReply nothingChanged();

/// Text from outside on one line of a table.
[[nodiscard]] std::string inOneCell(std::string text);

}  // namespace vantorel
