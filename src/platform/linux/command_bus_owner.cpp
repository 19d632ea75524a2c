#include "platform/linux/command_bus_owner.hpp"

#include <atomic>
#include <chrono>
#include <utility>

#include "base/log.hpp"
#include "base/utf8.hpp"
#include "platform/linux/bus_worker.hpp"
#include "platform/linux/command_bus_protocol.hpp"

namespace vantorel {

using namespace command_bus_protocol;

namespace {

constexpr const char* applicationInterface = "org.freedesktop.Application";
constexpr std::chrono::milliseconds betweenProgress{100};

/// Lets some ten calls a second through, and the last one. Any thread.
class Throttle {
 public:
  [[nodiscard]] bool lets(const BusProgress& progress) {
    const std::int64_t at =
        std::chrono::steady_clock::now().time_since_epoch() / std::chrono::milliseconds(1);
    std::int64_t next = next_;
    if (progress.done >= progress.total) return true;
    return at >= next && next_.compare_exchange_strong(next, at + betweenProgress.count());
  }

 private:
  std::atomic<std::int64_t> next_ = 0;
};

}  // namespace

void CommandBusOwner::expose(sdbus::IConnection& connection, std::weak_ptr<BusWorker> worker) {
  connection_ = &connection;
  worker_ = std::move(worker);
  object_ = sdbus::createObject(connection, objectPath);
  exposeCommands();
  exposeApplication();
  object_->finishRegistration();
}

void CommandBusOwner::exposeCommands() {
  const auto sender = [this] { return object_->getCurrentlyProcessedMessage()->getSender(); };
  object_->registerMethod("Submit")
      .onInterface(commandsInterface)
      .withInputParamNames("id", "arguments", "folder")
      .implementedAs([this, sender](sdbus::Result<>&& taken, const std::string& id,
                                    const std::vector<Bytes>& arguments, const Bytes& folder) {
        BusRequest request;
        for (const Bytes& argument : arguments) request.arguments.push_back(toText(argument));
        request.folder = toText(folder);
        whenServed(
            [this, taken = std::make_shared<sdbus::Result<>>(std::move(taken)), from = sender(), id,
             request = std::move(request)] { submit(std::move(*taken), from, id, request); });
      });
  object_->registerMethod("Await")
      .onInterface(commandsInterface)
      .withInputParamNames("id")
      .withOutputParamNames("status", "output", "error")
      .implementedAs([this, sender](WaitingReply&& reply, const std::string& id) {
        await(std::move(reply), sender(), id);
      });
  object_->registerMethod("Cancel")
      .onInterface(commandsInterface)
      .withInputParamNames("id")
      .implementedAs([this, sender](const std::string& id) { cancel(sender(), id); })
      .withNoReply();
  object_->registerSignal("Progress")
      .onInterface(commandsInterface)
      .withParameters<std::string, std::uint64_t, std::uint64_t, std::string>("id", "done", "total",
                                                                              "words");
}

void CommandBusOwner::exposeApplication() {
  using Variants = std::map<std::string, sdbus::Variant>;
  object_->registerMethod("Activate")
      .onInterface(applicationInterface)
      .withInputParamNames("platform_data")
      .implementedAs([this](const Variants&) {
        toMain([](CommandBus::Handlers& to) {
          if (to.activate) to.activate();
        });
      });
  object_->registerMethod("Open")
      .onInterface(applicationInterface)
      .withInputParamNames("uris", "platform_data")
      .implementedAs(
          [this](sdbus::Result<>&& taken, const std::vector<std::string>& uris, const Variants&) {
            performIf([](const CommandBus::Handlers& to) { return to.open != nullptr; },
                      std::move(taken), "Vantorel can't open files.",
                      [uris](CommandBus::Handlers& to) { to.open(uris); },
                      [](CommandBus::Handlers& to) {
                        if (to.openRefused) to.openRefused();
                      });
          });
  object_->registerMethod("ActivateAction")
      .onInterface(applicationInterface)
      .withInputParamNames("action_name", "parameter", "platform_data")
      .implementedAs([this](sdbus::Result<>&& taken, const std::string& action,
                            const std::vector<sdbus::Variant>&, const Variants&) {
        performIf(
            [action](const CommandBus::Handlers& to) {
              return to.perform && (!to.knows || to.knows(action));
            },
            std::move(taken), "Vantorel has no action \"" + action + "\".",
            [action](CommandBus::Handlers& to) { to.perform(action); });
      });
}

/// Answers at once whether it will be done, as soon as there is somebody to do it.
void CommandBusOwner::performIf(std::function<bool(const CommandBus::Handlers&)> can,
                                sdbus::Result<> taken, std::string refusal,
                                std::function<void(CommandBus::Handlers&)> perform,
                                std::function<void(CommandBus::Handlers&)> refused) {
  whenServed(
      [this, can = std::move(can), taken = std::make_shared<sdbus::Result<>>(std::move(taken)),
       refusal = std::move(refusal), perform = std::move(perform), refused = std::move(refused)] {
        const auto handlers = handlers_.lock();
        if (!handlers || !can(*handlers)) {
          if (refused) toMain(refused);
          taken->returnError(sdbus::Error("org.freedesktop.DBus.Error.NotSupported", refusal));
          return;
        }
        taken->returnResults();
        toMain(perform);
      });
}

void CommandBusOwner::watchSenders() {
  bus_ = sdbus::createProxy(*connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus");
  bus_->uponSignal("NameOwnerChanged")
      .onInterface("org.freedesktop.DBus")
      .call([this](const std::string& who, const std::string&, const std::string& owner) {
        if (owner.empty()) senderGone(who);
      });
  bus_->finishRegistration();
}

void CommandBusOwner::withdraw() {
  object_.reset();
  isLeaving_ = true;
}

void CommandBusOwner::serve(std::shared_ptr<TaskRunner> main,
                            std::function<bool(const BusRequest&)> accepts,
                            std::weak_ptr<CommandBus::Handlers> handlers) {
  main_ = std::move(main);
  accepts_ = std::move(accepts);
  handlers_ = std::move(handlers);
  for (auto& task : std::exchange(early_, {})) task();
}

void CommandBusOwner::end(bool hasBus, std::function<void()> ended) {
  ended_ = std::move(ended);
  if (hasBus) {
    giveNameUp();
  } else {
    isLeaving_ = true;
    tickets_.clear();
  }
  checkEnded();
}

void CommandBusOwner::close(bool hasBus) {
  if (hasBus && connection_ != nullptr && !isLeaving_) giveNameUp();
  for (auto& [id, ticket] : tickets_) {
    if (!ticket.waiting) continue;
    ticket.waiting->returnResults(1, Bytes(),
                                  toBytes("Vantorel ended before the command was done.\n"));
  }
  tickets_.clear();
  early_.clear();
  bus_.reset();
  object_.reset();
}

void CommandBusOwner::whenServed(std::function<void()> task) {
  if (main_) {
    task();
  } else {
    early_.push_back(std::move(task));
  }
}

void CommandBusOwner::toMain(std::move_only_function<void(CommandBus::Handlers&)> task) {
  whenServed([this, task = std::make_shared<decltype(task)>(std::move(task))] {
    main_->post([weak = handlers_, task] {
      if (const auto lifetime = weak.lock()) (*task)(*lifetime);
    });
  });
}

void CommandBusOwner::submit(sdbus::Result<> taken, const std::string& sender,
                             const std::string& id, BusRequest request) {
  if (isLeaving_) {
    taken.returnError(sdbus::Error(leavingError, "leaving"));
    return;
  }
  if (accepts_ && !accepts_(request)) {
    taken.returnError(sdbus::Error(busyError, "busy with its last command"));
    return;
  }
  const bool isNew = tickets_.emplace(id, Ticket{sender, {}, {}}).second;
  // The sender must know before the work begins: should we end between the two, the command must
  // not be begun anew elsewhere.
  taken.returnResults();
  if (!isNew) return;
  request.requester = sender;
  request.notify = [owner = shared_from_this(), id,
                    throttle = std::make_shared<Throttle>()](BusProgress progress) {
    const auto thread = throttle->lets(progress) ? owner->worker_.lock() : nullptr;
    if (!thread) return;
    thread->post(
        [owner, id, progress = std::move(progress)](auto) { owner->notify(id, progress); });
  };
  toMain([owner = shared_from_this(), id,
          request = std::move(request)](CommandBus::Handlers& to) mutable {
    to.run(std::move(request), [owner, id](BusReply reply) {
      const auto thread = owner->worker_.lock();
      if (!thread) return;
      thread->post([owner, id, reply = std::move(reply)](auto) mutable {
        owner->finish(id, std::move(reply));
      });
    });
  });
}

void CommandBusOwner::await(WaitingReply reply, const std::string& sender, const std::string& id) {
  const auto found = tickets_.find(id);
  if (found == tickets_.end() || found->second.sender != sender) {
    reply.returnError(sdbus::Error("com.hollen.Vantorel.Error.Unknown", "no such command"));
    return;
  }
  found->second.waiting.emplace(std::move(reply));
  answer(found);
}

void CommandBusOwner::notify(const std::string& id, const BusProgress& progress) {
  const auto found = tickets_.find(id);
  if (found == tickets_.end() || found->second.reply) return;
  sdbus::Signal signal = object_->createSignal(commandsInterface, "Progress");
  signal.setDestination(found->second.sender);
  signal << id << progress.done << progress.total << repairedUtf8(progress.words);
  object_->emitSignal(signal);
}

void CommandBusOwner::cancel(const std::string& sender, const std::string& id) {
  const auto found = tickets_.find(id);
  if (found == tickets_.end() || found->second.sender != sender || found->second.reply) return;
  toMain([sender](CommandBus::Handlers& to) {
    if (to.cancel) to.cancel(sender);
  });
}

void CommandBusOwner::finish(const std::string& id, BusReply reply) {
  const auto found = tickets_.find(id);
  if (found == tickets_.end()) return;  // the sender is gone
  found->second.reply = std::move(reply);
  answer(found);
}

void CommandBusOwner::answer(std::map<std::string, Ticket>::iterator ticket) {
  auto& [sender, reply, waiting] = ticket->second;
  if (!reply || !waiting) return;
  waiting->returnResults(reply->status, toBytes(reply->output), toBytes(reply->error));
  tickets_.erase(ticket);
  checkEnded();
}

void CommandBusOwner::senderGone(const std::string& sender) {
  bool unanswered = false;
  std::erase_if(tickets_, [&](const auto& entry) {
    const Ticket& ticket = entry.second;
    if (ticket.sender != sender) return false;
    unanswered = unanswered || !ticket.reply;
    return true;
  });
  if (unanswered) {
    toMain([sender](CommandBus::Handlers& to) {
      if (to.requesterGone) to.requesterGone(sender);
    });
  }
  checkEnded();
}

void CommandBusOwner::giveNameUp() {
  isLeaving_ = true;
  try {
    connection_->releaseName(name_);
  } catch (const sdbus::Error& error) {
    logWarning("Command", "the name {} could not be given up: {}", name_, error.getMessage());
  }
}

void CommandBusOwner::checkEnded() {
  if (!isLeaving_ || !tickets_.empty() || !ended_) return;
  main_->post([weak = handlers_, done = std::exchange(ended_, nullptr)] {
    if (weak.lock()) done();
  });
}

}  // namespace vantorel
