#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/task_runner.hpp"
#include "platform/files.hpp"

namespace vantorel {

class BusWorker;
class CommandBusRequester;
class CommandBusOwner;

/// How far long work has come: so many of so many `words`, which are UTF-8. With a `total` of zero
/// `words` is a sentence, of what the command waits for.
struct BusProgress {
  std::uint64_t done = 0;
  std::uint64_t total = 0;
  std::string words;
};

/// A command as it was typed, and the folder it was typed in. Bytes, not necessarily UTF-8.
struct BusRequest {
  std::vector<std::string> arguments;
  std::string folder;

  // Filled in by the one that receives it.

  std::string requester{};  ///< the process it came from

  /// Tells the requester how far it has come, any number of times until it is answered: some ten a
  /// second are sent, and the last one. Any thread.
  std::function<void(BusProgress)> notify{};
};

struct BusReply {
  int status = 0;
  std::string output;
  std::string error;
};

/// One running program for each user and root, by a name on the session bus. Whoever owns the name
/// runs the commands of those who come later.
///
/// A command is handed over in two steps, taken ("Submit") and answered ("Await"). The sender is
/// told that it is taken before it is begun: when the owner vanishes earlier the sender tries anew
/// or becomes the owner, and when it vanishes later the sender says so. So no command is lost and
/// none runs twice. Meanwhile the owner tells the sender alone how far it has come ("Progress"),
/// and the sender may ask for an early end ("Cancel"), which is answered like any other.
///
/// Made and started before there is a main loop; `serve` and what follows live on the main runner.
/// The bus has a thread of its own, and nobody waits for a bus that hangs or dies.
class CommandBus {
 public:
  enum class Role {
    owner,      ///< this process has the name now
    forwarded,  ///< another process ran the command; the reply is its
    alone,      ///< there is no session bus
  };

  struct Started {
    Role role = Role::alone;
    BusReply reply;
  };

  /// "com.hollen.Vantorel", with a suffix of its own for each separate root, by whatever links it
  /// is named. Blocks.
  [[nodiscard]] static std::string nameFor(const std::optional<Path>& root, const Files& files);

  /// An owner that was told to stop a command and is then silent for `silence` is waited for no
  /// longer.
  explicit CommandBus(std::string name,
                      std::chrono::milliseconds silence = std::chrono::seconds(10));
  CommandBus(const CommandBus&) = delete;
  CommandBus& operator=(const CommandBus&) = delete;

  /// Gives the name up. Commands without an answer get one that says so.
  ~CommandBus();

  /// Becomes the owner, or hands `request` to the owner and waits, as long as the command takes. A
  /// bus that does not answer within some seconds counts as none. What the owner tells meanwhile
  /// goes to `onProgress`, on the bus's thread.
  [[nodiscard]] Started start(const BusRequest& request,
                              std::function<void(const BusProgress&)> onProgress = {});

  /// The user does not want the command any more. When the owner has taken it, it is told so, once,
  /// and `start` comes back with its answer; when it stays silent, with a sentence and the status
  /// for cancelled work. While there is nobody yet who has taken it, `start` gives up joining. It
  /// means nothing to a process that becomes the owner. Any thread; returns at once.
  void cancel();

  using Done = std::function<void(BusReply)>;
  struct Handlers {
    /// Says at once, on any thread, whether this owner can run it; if not, the sender waits for
    /// this owner to leave.
    std::function<bool(const BusRequest&)> accepts = {};
    std::function<void(BusRequest, Done)> run = {};

    /// Whoever sent a command that is not answered yet is gone; answering it has no effect then.
    std::function<void(const std::string& requester)> requesterGone = {};

    /// Whoever sent a command that is not answered yet wants it to end early, and waits for the
    /// answer.
    std::function<void(const std::string& requester)> cancel = {};

    // What a desktop asks of the application it has started or found running
    // (specifications.freedesktop.org/desktop-entry-spec, D-Bus activation).
    // Whoever asks is told what cannot be done: opening without `open`, an action that `knows`,
    // asked on any thread, does not know.
    std::function<void()> activate = {};
    std::function<void(std::vector<std::string> uris)> open = {};
    std::function<void()> openRefused = {};  ///< who opened a file sees no answer on the bus
    std::function<bool(const std::string& action)> knows = {};
    std::function<void(std::string action)> perform = {};
  };

  /// As the owner: runs what others send, on `main`, first what came before this call. Without a
  /// bus there is nobody to serve.
  void serve(std::shared_ptr<TaskRunner> main, Handlers handlers);

  /// Gives the name up, so that later commands find another owner, and calls `ended` on the main
  /// runner once everything taken is answered. After `serve`, once.
  void end(std::function<void()> ended);

 private:
  const std::shared_ptr<CommandBusRequester> requester_;
  std::shared_ptr<BusWorker> worker_;
  std::shared_ptr<CommandBusOwner> owner_;
  std::shared_ptr<Handlers> handlers_;
};

}  // namespace vantorel
