#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel {

/// Environment variables of a child, on top of nothing: the parent's are not passed on.
using ChildEnvironment = std::map<std::string, std::string>;

struct ChildOutcome {
  int status = 0;  ///< exit status, or 128 + signal
  std::string out;
  std::string err;
};

/// A program a test started. Killed, with all that it started, when the object or the test process
/// goes, however it goes. One thread: the one that made it.
class ChildProcess {
 public:
  /// Starts `arguments[0]`, found by PATH. Throws std::runtime_error naming the program when it
  /// is not installed. Standard input is empty; output goes into unnamed files.
  ChildProcess(std::vector<std::string> arguments, const ChildEnvironment& environment);

  /// The same, with `descriptor` open in the child under the number 3.
  ChildProcess(std::vector<std::string> arguments, const ChildEnvironment& environment,
               int descriptor);
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;
  ~ChildProcess();

  [[nodiscard]] pid_t pid() const { return pid_; }
  [[nodiscard]] bool isRunning();

  /// Sends `signal` to the program itself. After SIGSTOP all of its threads stand still.
  void signal(int signal) const;

  /// Waits for the end; throws when it does not come within `bound`.
  ChildOutcome wait(std::chrono::milliseconds bound = std::chrono::seconds(20));

  /// Waits until it has written `text` to standard error; throws when it ends before, or when that
  /// does not come within `bound`.
  void waitForError(std::string_view text,
                    std::chrono::milliseconds bound = std::chrono::seconds(20));

  /// What it has written to standard error so far.
  [[nodiscard]] std::string errorText() const;

 private:
  bool reap(bool block);

  std::string name_;
  pid_t pid_ = -1;
  int outFile_ = -1;
  int errFile_ = -1;
  bool ended_ = false;
  int status_ = 0;
};

}  // namespace vantorel
