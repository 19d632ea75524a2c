#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.hpp"
#include "platform/linux/message_socket.hpp"

namespace vantorel {

/// What is said of a server that took too long.
[[nodiscard]] std::unexpected<Failure> serverSilence();

/// A process that does to files what this one asks for, so that this one never waits in a file
/// system; see `serveFiles`. Ends with this object or process. Any thread.
class FileServerProcess {
 public:
  /// What is done when no sign comes in time.
  enum class IfSilent {
    giveUp,  ///< nothing more where others are still answered: it only looked
    stop,    ///< the process is killed, so that what was asked for does not go on later
  };

  /// `command` is the program and its arguments; its standard input becomes the socket.
  [[nodiscard]] static Result<std::shared_ptr<FileServerProcess>> start(
      const std::vector<std::string>& command);

  FileServerProcess(pid_t process, MessageSocket control);
  FileServerProcess(const FileServerProcess&) = delete;
  FileServerProcess& operator=(const FileServerProcess&) = delete;
  ~FileServerProcess() = default;

  [[nodiscard]] pid_t process() const { return process_; }

  /// False once it was killed or ended by itself: it answers nothing any more.
  [[nodiscard]] bool isServing() const;

  /// Whether the process is gone. One that was killed while it hangs stays until what it hangs in
  /// lets it go.
  [[nodiscard]] bool hasEnded() const;

  /// The answer; `unreachable` when there is no sign of progress for as long as `silence`. With a
  /// `descriptor`, that open file goes over behind the request.
  [[nodiscard]] Result<std::string> ask(std::string_view request, std::chrono::nanoseconds silence,
                                        IfSilent ifSilent, int descriptor = -1);

  /// For what has no answer. Does not wait.
  void notify(std::string_view request);

  /// Kills it, and does not wait for its end.
  void stop();

 private:
  struct Life;

  struct Connection {
    MessageSocket socket;
    bool isNew = false;
  };
  [[nodiscard]] std::optional<Connection> connection();
  void giveBack(MessageSocket connection);

  pid_t process_;
  std::shared_ptr<Life> life_;
  mutable std::mutex mutex_;
  MessageSocket control_;
  std::vector<MessageSocket> idle_;
  std::chrono::steady_clock::time_point lastSign_;
  int givenUp_ = 0;
};

}  // namespace vantorel
