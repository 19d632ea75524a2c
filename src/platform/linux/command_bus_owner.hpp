#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/command_bus.hpp"

namespace vantorel {

/// The side of a `CommandBus` that does what others want done. Lives on the bus worker's thread and
/// is kept by the jobs there, so that it may outlive the bus object when the bus hangs.
class CommandBusOwner : public std::enable_shared_from_this<CommandBusOwner> {
 public:
  explicit CommandBusOwner(std::string busName) : name_(std::move(busName)) {}

  [[nodiscard]] const std::string& name() const { return name_; }

  /// Offers the commands on `connection`, whose thread is `worker`; before the name is taken, so
  /// that nobody finds the name without them. Throws what the bus library throws.
  void expose(sdbus::IConnection& connection, std::weak_ptr<BusWorker> worker);

  /// The name is taken: commands of those who vanish from now on end with them.
  void watchSenders();

  /// Another has the name, for good.
  void withdraw();

  /// Runs on `main` what came and what comes, as long as `handlers` are there.
  void serve(std::shared_ptr<TaskRunner> main, std::function<bool(const BusRequest&)> accepts,
             std::weak_ptr<CommandBus::Handlers> handlers);

  /// See `CommandBus::end`. Without a bus nobody is left to be answered.
  void end(bool hasBus, std::function<void()> ended);

  /// Gives the name up and answers what has no answer yet. The last call on a connection.
  void close(bool hasBus);

 private:
  using WaitingReply =
      sdbus::Result<std::int32_t, std::vector<std::uint8_t>, std::vector<std::uint8_t>>;

  struct Ticket {
    std::string sender;  // unique bus name
    std::optional<BusReply> reply;
    std::optional<WaitingReply> waiting;
  };

  void exposeCommands();
  void exposeApplication();
  void performIf(std::function<bool(const CommandBus::Handlers&)> can, sdbus::Result<> taken,
                 std::string refusal, std::function<void(CommandBus::Handlers&)> perform,
                 std::function<void(CommandBus::Handlers&)> refused = {});
  void submit(sdbus::Result<> taken, const std::string& sender, const std::string& id,
              BusRequest request);
  void await(WaitingReply reply, const std::string& sender, const std::string& id);
  void notify(const std::string& id, const BusProgress& progress);
  void cancel(const std::string& sender, const std::string& id);
  void finish(const std::string& id, BusReply reply);
  void answer(std::map<std::string, Ticket>::iterator ticket);
  void senderGone(const std::string& sender);
  void whenServed(std::function<void()> task);
  void toMain(std::move_only_function<void(CommandBus::Handlers&)> task);
  void giveNameUp();
  void checkEnded();

  const std::string name_;
  std::weak_ptr<BusWorker> worker_;
  sdbus::IConnection* connection_ = nullptr;
  std::unique_ptr<sdbus::IObject> object_;
  std::unique_ptr<sdbus::IProxy> bus_;
  std::map<std::string, Ticket> tickets_;

  std::shared_ptr<TaskRunner> main_;  // null until somebody serves
  std::function<bool(const BusRequest&)> accepts_;
  std::weak_ptr<CommandBus::Handlers> handlers_;
  std::vector<std::function<void()>> early_;  // came before there was anybody to serve
  bool isLeaving_ = false;
  std::function<void()> ended_;
};

}  // namespace vantorel
