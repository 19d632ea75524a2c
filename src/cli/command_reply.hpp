#pragma once

#include <functional>
#include <string>

namespace vantorel {

/// How a command ends.
enum class ExitStatus {
  done = 0,
  failed = 1,     ///< with a sentence on standard error
  usage = 2,      ///< the command line makes no sense
  cancelled = 3,  ///< by the user
  refused = 4,    ///< another capture or a dialog is running
};

/// What a command leaves behind.
struct CommandReply {
  ExitStatus status = ExitStatus::done;
  std::string output;  ///< for standard output
  std::string error;   ///< for standard error: sentences, one a line
};

using CommandDone = std::move_only_function<void(CommandReply)>;

/// `reason` becomes a sentence if it is not one yet.
[[nodiscard]] CommandReply failedReply(std::string reason);

/// Text from outside on one line of a table.
[[nodiscard]] std::string inOneCell(std::string text);

}  // namespace vantorel
