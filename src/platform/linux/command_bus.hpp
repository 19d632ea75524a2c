#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/task_runner.hpp"
#include "platform/files.hpp"

namespace vantorel {

class BusWorker;

/// A command as it was typed, and the folder it was typed in. Bytes, not necessarily UTF-8.
struct BusRequest {
  std::vector<std::string> arguments;
  std::string folder;
  std::string asker{};  ///< the process it came from; filled in by the one that receives it
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
/// none runs twice.
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

  /// "com.hollen.Vantorel", with a suffix of its own for each separate root.
  [[nodiscard]] static std::string nameFor(const std::optional<Path>& root);

  explicit CommandBus(std::string name);
  CommandBus(const CommandBus&) = delete;
  CommandBus& operator=(const CommandBus&) = delete;

  /// Gives the name up. Commands without an answer get one that says so.
  ~CommandBus();

  /// Becomes the owner, or hands `request` to the owner and waits, as long as the command takes. A
  /// bus that does not answer within some seconds counts as none.
  [[nodiscard]] Started start(const BusRequest& request);

  using Done = std::function<void(BusReply)>;
  struct Handlers {
    /// Says at once, on any thread, whether this owner can run it; if not, the sender waits for
    /// this owner to leave.
    std::function<bool(const BusRequest&)> accepts = {};
    std::function<void(BusRequest, Done)> run = {};

    /// Whoever sent a command that is not answered yet is gone; answering it has no effect then.
    std::function<void(const std::string& asker)> askerGone = {};

    // What a desktop asks of the application it has started or found running
    // (specifications.freedesktop.org/desktop-entry-spec, D-Bus activation).
    std::function<void()> activate = {};
    std::function<void(std::vector<std::string> uris)> open = {};
    std::function<void(std::string action)> perform = {};
  };

  /// As the owner: runs what others send, on `main`, first what came before this call. Without a
  /// bus there is nobody to serve.
  void serve(std::shared_ptr<TaskRunner> main, Handlers handlers);

  /// Gives the name up, so that later commands find another owner, and calls `ended` on the main
  /// runner once everything taken is answered. After `serve`, once.
  void end(std::function<void()> ended);

 private:
  struct Core;

  [[nodiscard]] static Started becomeOwnerOrAsk(Core& core, const BusRequest& request);

  std::shared_ptr<BusWorker> worker_;
  std::shared_ptr<Core> core_;
  std::shared_ptr<Handlers> handlers_;
};

}  // namespace vantorel
