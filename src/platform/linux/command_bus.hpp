#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/task_runner.hpp"
#include "platform/files.hpp"

namespace sdbus {
class IConnection;
class IObject;
class IProxy;
}  // namespace sdbus

namespace vantorel {

/// A command as it was typed, and the folder it was typed in.
struct BusRequest {
  std::vector<std::string> arguments;
  std::string folder;
};

struct BusReply {
  int status = 0;
  std::string output;
  std::string error;
};

/// One running program for each user and root, by a name on the session bus. Whoever owns the name
/// runs the commands of those who come later.
///
/// A command is handed over in two steps, taken ("Begin") and answered ("Wait"): when the owner
/// vanishes before it has taken the command, the sender tries anew or becomes the owner, and when
/// it vanishes afterwards the sender says so, but nothing runs twice. An owner gives up its name
/// only when everything it took is answered.
///
/// The desktop may also activate the owner through org.freedesktop.Application.
///
/// Made and started before there is a main loop; `serve` and what follows live on the main runner.
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
  ~CommandBus();
  CommandBus(const CommandBus&) = delete;
  CommandBus& operator=(const CommandBus&) = delete;

  /// Becomes the owner, or hands `request` to the owner and waits, as long as the command takes.
  [[nodiscard]] Started start(const BusRequest& request);

  using Done = std::function<void(BusReply)>;
  struct Handlers {
    /// Says at once, on any thread, whether this owner can run it; if not, the sender waits for
    /// this owner to leave.
    std::function<bool(const BusRequest&)> accepts;
    std::function<void(BusRequest, Done)> run;

    /// Whoever sent a command that is not answered yet is gone.
    std::function<void()> askerGone;
  };

  /// As the owner: runs what others send, on `main`. Without a bus there is nobody to serve.
  void serve(std::shared_ptr<TaskRunner> main, Handlers handlers);

  /// Calls `ended` once everything taken is answered; from then on nothing is taken any more and
  /// the name is free.
  void end(std::function<void()> ended);

 private:
  struct Ticket;

  void registerActivation();
  [[nodiscard]] bool becomeOwner();
  [[nodiscard]] std::optional<BusReply> forward(const BusRequest& request);
  [[nodiscard]] std::uint64_t begin(BusRequest request, const std::string& sender);
  void answer(std::uint64_t number, BusReply reply);
  void senderGone(const std::string& sender);
  void tryToEnd();

  std::string name_;
  std::shared_ptr<TaskRunner> main_;
  Handlers handlers_;
  std::function<void()> ended_;
  std::mutex mutex_;  // guards what the bus thread and the main thread share: the tickets
  std::map<std::uint64_t, std::unique_ptr<Ticket>> tickets_;
  std::uint64_t nextTicket_ = 1;
  bool ending_ = false;
  std::unique_ptr<sdbus::IConnection> connection_;
  std::unique_ptr<sdbus::IObject> object_;
  std::unique_ptr<sdbus::IProxy> bus_;
  std::thread busThread_;
};

}  // namespace vantorel
