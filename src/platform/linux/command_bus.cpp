#include "platform/linux/command_bus.hpp"

#include <fmt/format.h>
#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <limits>
#include <map>
#include <thread>
#include <utility>

#include "base/log.hpp"
#include "base/random_id.hpp"
#include "platform/linux/bus_worker.hpp"
#include "platform/linux/file_descriptor.hpp"

namespace vantorel {
namespace {

constexpr const char* wellKnownName = "com.hollen.Vantorel";
constexpr const char* objectPath = "/com/hollen/Vantorel";
constexpr const char* commandsInterface = "com.hollen.Vantorel.Commands";
constexpr const char* applicationInterface = "org.freedesktop.Application";
constexpr const char* leavingError = "com.hollen.Vantorel.Error.Leaving";
constexpr const char* busyError = "com.hollen.Vantorel.Error.Busy";
constexpr std::chrono::seconds connectBound{2};
constexpr std::chrono::seconds takingBound{10};  // the owner may still be starting
constexpr std::chrono::seconds joinBound{15};
constexpr std::chrono::milliseconds pause{5};
constexpr std::chrono::milliseconds betweenProgress{100};
constexpr int cancelledStatus = 3;

// D-Bus strings must be UTF-8; file names and what a terminal hands over need not be.
using Bytes = std::vector<std::uint8_t>;
Bytes toBytes(const std::string& text) { return {text.begin(), text.end()}; }
std::string toText(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

using WaitingReply = sdbus::Result<std::int32_t, Bytes, Bytes>;
using Moment = std::chrono::steady_clock::time_point;
Moment now() { return std::chrono::steady_clock::now(); }

/// Lets some ten calls a second through, and the last one. Any thread.
class Throttle {
 public:
  [[nodiscard]] bool lets(const BusProgress& progress) {
    const std::int64_t at = now().time_since_epoch() / std::chrono::milliseconds(1);
    std::int64_t next = next_;
    if (progress.done >= progress.total) return true;
    return at >= next && next_.compare_exchange_strong(next, at + betweenProgress.count());
  }

 private:
  std::atomic<std::int64_t> next_ = 0;
};

/// What asking an owner came to.
enum class Asked {
  answered,
  notTaken,  ///< it ended, or is about to, without having taken the command
  mustWait,  ///< it will not do it and ends by itself
};

}  // namespace

/// The asking side of a `CommandBus`. Lives on the bus worker's thread, but for `isCancelled`.
struct CommandBus::Asking {
  explicit Asking(std::chrono::milliseconds bound) : silence(bound) {}

  Asked ask(sdbus::IConnection& connection, const std::string& owner, const BusRequest& request,
            BusReply& reply);
  BusReply await(sdbus::IConnection& connection, sdbus::IProxy& proxy, const std::string& id);

  const std::chrono::milliseconds silence;
  std::atomic<bool> isCancelled = false;
  const FileDescriptor wake{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};  // readable once cancelled
  std::function<void(const BusProgress&)> told;
  std::optional<BusReply> answer;
  Moment lastHeard;
};

/// The bus side of a `CommandBus`. Lives on the bus worker's thread and is kept by the jobs there,
/// so that it may outlive the object when the bus hangs.
struct CommandBus::Core : std::enable_shared_from_this<Core> {
  struct Ticket {
    std::string sender;  // unique bus name
    std::optional<BusReply> reply;
    std::optional<WaitingReply> waiting;
  };

  explicit Core(std::string busName) : name(std::move(busName)) {}

  const std::string name;
  std::weak_ptr<BusWorker> worker;
  sdbus::IConnection* connection = nullptr;
  std::unique_ptr<sdbus::IObject> object;
  std::unique_ptr<sdbus::IProxy> bus;
  std::map<std::string, Ticket> tickets;

  std::shared_ptr<TaskRunner> main;  // null until somebody serves
  std::function<bool(const BusRequest&)> accepts;
  std::weak_ptr<Handlers> handlers;
  std::vector<std::function<void()>> early;  // came before there was anybody to serve
  bool leaving = false;
  std::function<void()> ended;

  void expose();
  void watchSenders();
  void submit(sdbus::Result<> taken, const std::string& sender, const std::string& id,
              BusRequest request);
  void await(WaitingReply reply, const std::string& sender, const std::string& id);
  void tell(const std::string& id, const BusProgress& progress);
  void cancel(const std::string& sender, const std::string& id);
  void finish(const std::string& id, BusReply reply);
  void answer(std::map<std::string, Ticket>::iterator ticket);
  void senderGone(const std::string& sender);
  void whenServed(std::function<void()> task);
  void toMain(std::move_only_function<void(Handlers&)> task);
  void giveNameUp();
  void checkEnded();
};

void CommandBus::Core::expose() {
  object = sdbus::createObject(*connection, objectPath);
  const auto sender = [this] { return object->getCurrentlyProcessedMessage()->getSender(); };
  object->registerMethod("Submit")
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
  object->registerMethod("Await")
      .onInterface(commandsInterface)
      .withInputParamNames("id")
      .withOutputParamNames("status", "output", "error")
      .implementedAs([this, sender](WaitingReply&& reply, const std::string& id) {
        await(std::move(reply), sender(), id);
      });
  object->registerMethod("Cancel")
      .onInterface(commandsInterface)
      .withInputParamNames("id")
      .implementedAs([this, sender](const std::string& id) { cancel(sender(), id); })
      .withNoReply();
  object->registerSignal("Progress")
      .onInterface(commandsInterface)
      .withParameters<std::string, std::uint64_t, std::uint64_t, std::string>("id", "done", "total",
                                                                              "words");
  using Variants = std::map<std::string, sdbus::Variant>;
  object->registerMethod("Activate")
      .onInterface(applicationInterface)
      .withInputParamNames("platform_data")
      .implementedAs([this](const Variants&) {
        toMain([](Handlers& to) {
          if (to.activate) to.activate();
        });
      });
  object->registerMethod("Open")
      .onInterface(applicationInterface)
      .withInputParamNames("uris", "platform_data")
      .implementedAs([this](const std::vector<std::string>& uris, const Variants&) {
        toMain([uris](Handlers& to) {
          if (to.open) to.open(uris);
        });
      });
  object->registerMethod("ActivateAction")
      .onInterface(applicationInterface)
      .withInputParamNames("action_name", "parameter", "platform_data")
      .implementedAs(
          [this](const std::string& action, const std::vector<sdbus::Variant>&, const Variants&) {
            toMain([action](Handlers& to) {
              if (to.perform) to.perform(action);
            });
          });
  object->finishRegistration();
}

void CommandBus::Core::watchSenders() {
  bus = sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
  bus->uponSignal("NameOwnerChanged")
      .onInterface("org.freedesktop.DBus")
      .call([this](const std::string& who, const std::string&, const std::string& owner) {
        if (owner.empty()) senderGone(who);
      });
  bus->finishRegistration();
}

void CommandBus::Core::whenServed(std::function<void()> task) {
  if (main) {
    task();
  } else {
    early.push_back(std::move(task));
  }
}

void CommandBus::Core::toMain(std::move_only_function<void(Handlers&)> task) {
  whenServed([this, task = std::make_shared<decltype(task)>(std::move(task))] {
    main->post([weak = handlers, task] {
      if (const auto alive = weak.lock()) (*task)(*alive);
    });
  });
}

void CommandBus::Core::submit(sdbus::Result<> taken, const std::string& sender,
                              const std::string& id, BusRequest request) {
  if (leaving) {
    taken.returnError(sdbus::Error(leavingError, "leaving"));
    return;
  }
  if (accepts && !accepts(request)) {
    taken.returnError(sdbus::Error(busyError, "busy with its last command"));
    return;
  }
  const bool isNew = tickets.emplace(id, Ticket{sender, {}, {}}).second;
  // The sender must know before the work begins: should we end between the two, the command must
  // not be begun anew elsewhere.
  taken.returnResults();
  if (!isNew) return;
  request.asker = sender;
  request.tell = [core = shared_from_this(), id,
                  throttle = std::make_shared<Throttle>()](BusProgress progress) {
    const auto thread = throttle->lets(progress) ? core->worker.lock() : nullptr;
    if (!thread) return;
    thread->post([core, id, progress = std::move(progress)](auto) { core->tell(id, progress); });
  };
  toMain([core = shared_from_this(), id, request = std::move(request)](Handlers& to) mutable {
    to.run(std::move(request), [core, id](BusReply reply) {
      const auto thread = core->worker.lock();
      if (!thread) return;
      thread->post([core, id, reply = std::move(reply)](auto) mutable {
        core->finish(id, std::move(reply));
      });
    });
  });
}

void CommandBus::Core::await(WaitingReply reply, const std::string& sender, const std::string& id) {
  const auto found = tickets.find(id);
  if (found == tickets.end() || found->second.sender != sender) {
    reply.returnError(sdbus::Error("com.hollen.Vantorel.Error.Unknown", "no such command"));
    return;
  }
  found->second.waiting.emplace(std::move(reply));
  answer(found);
}

void CommandBus::Core::tell(const std::string& id, const BusProgress& progress) {
  const auto found = tickets.find(id);
  if (found == tickets.end() || found->second.reply) return;
  sdbus::Signal signal = object->createSignal(commandsInterface, "Progress");
  signal.setDestination(found->second.sender);
  signal << id << progress.done << progress.total << progress.words;
  object->emitSignal(signal);
}

void CommandBus::Core::cancel(const std::string& sender, const std::string& id) {
  const auto found = tickets.find(id);
  if (found == tickets.end() || found->second.sender != sender || found->second.reply) return;
  toMain([sender](Handlers& to) {
    if (to.cancel) to.cancel(sender);
  });
}

void CommandBus::Core::finish(const std::string& id, BusReply reply) {
  const auto found = tickets.find(id);
  if (found == tickets.end()) return;  // the sender is gone
  found->second.reply = std::move(reply);
  answer(found);
}

void CommandBus::Core::answer(std::map<std::string, Ticket>::iterator ticket) {
  auto& [sender, reply, waiting] = ticket->second;
  if (!reply || !waiting) return;
  waiting->returnResults(reply->status, toBytes(reply->output), toBytes(reply->error));
  tickets.erase(ticket);
  checkEnded();
}

void CommandBus::Core::senderGone(const std::string& sender) {
  bool unanswered = false;
  std::erase_if(tickets, [&](const auto& entry) {
    const Ticket& ticket = entry.second;
    if (ticket.sender != sender) return false;
    unanswered = unanswered || !ticket.reply;
    return true;
  });
  if (unanswered) {
    toMain([sender](Handlers& to) {
      if (to.askerGone) to.askerGone(sender);
    });
  }
  checkEnded();
}

void CommandBus::Core::giveNameUp() {
  leaving = true;
  try {
    connection->releaseName(name);
  } catch (const sdbus::Error& error) {
    logWarning("Command", "the name {} could not be given up: {}", name, error.getMessage());
  }
}

void CommandBus::Core::checkEnded() {
  if (!leaving || !tickets.empty() || !ended) return;
  main->post([weak = handlers, done = std::exchange(ended, nullptr)] {
    if (weak.lock()) done();
  });
}

std::string CommandBus::nameFor(const std::optional<Path>& root) {
  if (!root) return wellKnownName;
  std::error_code failure;
  Path path = std::filesystem::weakly_canonical(*root, failure);
  if (failure) path = root->lexically_normal();
  std::string text = path.string();
  while (text.size() > 1 && text.ends_with('/')) text.pop_back();
  // FNV-1a (Fowler, Noll, Vo), 64 bits: the same on every run and build.
  std::uint64_t hash = 0xCBF29CE484222325ULL;
  for (const char c : text) hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3ULL;
  return fmt::format("{}.r{:016x}", wellKnownName, hash);
}

CommandBus::CommandBus(std::string name, std::chrono::milliseconds silence)
    : asking_(std::make_shared<Asking>(silence)), core_(std::make_shared<Core>(std::move(name))) {}

void CommandBus::cancel() {
  asking_->isCancelled = true;
  const std::uint64_t one = 1;
  (void)!::write(asking_->wake.number(), &one, sizeof one);
}

CommandBus::~CommandBus() {
  handlers_.reset();
  if (!worker_) return;
  worker_->post([core = core_](auto connection) {
    if (connection && core->connection != nullptr && !core->leaving) core->giveNameUp();
    for (auto& [id, ticket] : core->tickets) {
      if (!ticket.waiting) continue;
      ticket.waiting->returnResults(1, Bytes(),
                                    toBytes("Vantorel ended before the command was done.\n"));
    }
    core->tickets.clear();
    core->early.clear();
    core->bus.reset();
    core->object.reset();
  });
  // The worker runs this job while it is destroyed.
}

void CommandBus::serve(std::shared_ptr<TaskRunner> main, Handlers handlers) {
  handlers_ = std::make_shared<Handlers>(std::move(handlers));
  core_->handlers = {};
  auto begin = [core = core_, main = std::move(main), accepts = handlers_->accepts,
                weak = std::weak_ptr<Handlers>(handlers_)](auto) {
    core->main = main;
    core->accepts = accepts;
    core->handlers = weak;
    for (auto& task : std::exchange(core->early, {})) task();
  };
  if (worker_) {
    worker_->post(std::move(begin));
  } else {
    begin(nullptr);
  }
}

void CommandBus::end(std::function<void()> ended) {
  auto leave = [core = core_, ended = std::move(ended)](Result<sdbus::IConnection*> bus) mutable {
    core->ended = std::move(ended);
    if (bus) {
      core->giveNameUp();
    } else {
      core->leaving = true;  // and nobody is left to be answered
      core->tickets.clear();
    }
    core->checkEnded();
  };
  if (worker_) {
    worker_->post(std::move(leave));
  } else {
    leave(failed(FailureKind::unreachable, "there is no session bus"));
  }
}

namespace {

/// The unique name of who owns `name`; empty when nobody does.
std::string ownerOf(sdbus::IConnection& connection, const std::string& name) {
  const auto bus = sdbus::createProxy(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
  std::string owner;
  try {
    bus->callMethod("GetNameOwner")
        .onInterface("org.freedesktop.DBus")
        .withArguments(name)
        .storeResultsTo(owner);
  } catch (const sdbus::Error& error) {
    if (error.getName() != "org.freedesktop.DBus.Error.NameHasNoOwner") throw;
  }
  return owner;
}

/// Waits until the bus has something for `connection` or `wake` is readable (-1: without one), at
/// most until `end`.
void waitForBus(sdbus::IConnection& connection, int wake, std::optional<Moment> end) {
  const auto bus = connection.getEventLoopPollData();
  int timeout = bus.getPollTimeout();
  if (end) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*end - now()).count();
    const int bound = static_cast<int>(std::max<std::int64_t>(left, 0));
    timeout = timeout < 0 ? bound : std::min(timeout, bound);
  }
  pollfd waiting[2] = {{bus.fd, bus.events, 0}, {wake, POLLIN, 0}};
  poll(waiting, 2, timeout);
}

bool requestName(sdbus::IConnection& connection, const std::string& name) {
  try {
    connection.requestName(name);
    return true;
  } catch (const sdbus::Error& error) {
    if (error.getName() == "org.freedesktop.DBus.Error.FileExists") return false;
    throw;
  }
}

}  // namespace

Asked CommandBus::Asking::ask(sdbus::IConnection& connection, const std::string& owner,
                              const BusRequest& request, BusReply& reply) {
  // By its unique name: for that the bus never starts a program, and a later owner of the
  // well-known name is not taken for this one.
  const auto proxy = sdbus::createProxy(connection, owner, objectPath);
  const std::string id = randomID();
  std::vector<Bytes> arguments;
  for (const auto& argument : request.arguments) arguments.push_back(toBytes(argument));
  try {
    proxy->uponSignal("Progress")
        .onInterface(commandsInterface)
        .call([this](const std::string&, std::uint64_t done, std::uint64_t total,
                     const std::string& words) {
          lastHeard = now();
          if (told) told({done, total, words});
        });
    proxy->finishRegistration();
    proxy->callMethod("Submit")
        .onInterface(commandsInterface)
        .withTimeout(takingBound)
        .withArguments(id, arguments, toBytes(request.folder));
  } catch (const sdbus::Error& error) {
    if (error.getName() == busyError) return Asked::mustWait;
    if (error.getName() != "org.freedesktop.DBus.Error.Timeout") return Asked::notTaken;
    reply = {1, {}, "The running Vantorel doesn't answer.\n"};
    return Asked::answered;
  }
  try {
    reply = await(connection, *proxy, id);
  } catch (const sdbus::Error& error) {
    logInfo("Command", "waiting for the running program failed: {}", error.what());
    reply = {1, {}, "The running Vantorel ended before it answered.\n"};
  }
  return Asked::answered;
}

BusReply CommandBus::Asking::await(sdbus::IConnection& connection, sdbus::IProxy& proxy,
                                   const std::string& id) {
  std::optional<sdbus::Error> failure;
  // Without blocking in the call: progress and cancelling come meanwhile.
  proxy.callMethodAsync("Await")
      .onInterface(commandsInterface)
      .withTimeout(std::numeric_limits<std::uint64_t>::max())
      .withArguments(id)
      .uponReplyInvoke([&](const sdbus::Error* error, std::int32_t status, const Bytes& output,
                           const Bytes& errorText) {
        if (error != nullptr) {
          failure = *error;
        } else {
          answer = {status, toText(output), toText(errorText)};
        }
      });
  bool ownerKnows = false;
  for (;;) {
    if (!ownerKnows && isCancelled) {
      ownerKnows = true;
      lastHeard = now();
      proxy.callMethod("Cancel").onInterface(commandsInterface).withArguments(id).dontExpectReply();
    }
    while (!answer && !failure && connection.processPendingRequest()) {
    }
    if (failure) throw *std::move(failure);
    if (answer) return *std::exchange(answer, {});
    if (ownerKnows && now() >= lastHeard + silence) {
      return {cancelledStatus,
              {},
              "The running Vantorel was told to stop but hasn't answered. It stops when it can.\n"};
    }
    waitForBus(connection, ownerKnows ? -1 : wake.number(),
               ownerKnows ? std::optional(lastHeard + silence) : std::nullopt);
  }
}

CommandBus::Started CommandBus::becomeOwnerOrAsk(Core& core, const BusRequest& request,
                                                 Asking& asking) {
  sdbus::IConnection& connection = *core.connection;
  auto end = now() + joinBound;
  while (now() < end) {
    if (requestName(connection, core.name)) {
      core.watchSenders();
      return {Role::owner, {}};
    }
    if (asking.isCancelled) return {Role::forwarded, {cancelledStatus, {}, "Cancelled.\n"}};
    const std::string owner = ownerOf(connection, core.name);
    if (owner.empty()) continue;
    BusReply reply;
    switch (asking.ask(connection, owner, request, reply)) {
      case Asked::answered: return {Role::forwarded, std::move(reply)};
      case Asked::mustWait:
        while (!asking.isCancelled && ownerOf(connection, core.name) == owner) {
          std::this_thread::sleep_for(pause);
        }
        end = now() + joinBound;
        break;
      case Asked::notTaken: std::this_thread::sleep_for(pause); break;
    }
  }
  return {Role::forwarded, {1, {}, "The running Vantorel is ending but doesn't end.\n"}};
}

CommandBus::Started CommandBus::start(const BusRequest& request,
                                      std::function<void(const BusProgress&)> told) {
  // What the thread needs stays valid should we give up waiting for it.
  struct Joining {
    std::promise<bool> connected;
    std::promise<Started> started;
    std::atomic<bool> abandoned = false;
  };
  auto joining = std::make_shared<Joining>();
  auto connected = joining->connected.get_future();
  auto started = joining->started.get_future();
  worker_ = std::make_shared<BusWorker>();
  core_->worker = worker_;
  asking_->told = std::move(told);
  worker_->post(
      [core = core_, joining, asking = asking_, request](Result<sdbus::IConnection*> connection) {
        joining->connected.set_value(connection.has_value());
        if (!connection) logInfo("Command", "{}", connection.error().reason);
        if (!connection || joining->abandoned) return;
        core->connection = *connection;
        Started outcome;
        try {
          core->expose();
          outcome = becomeOwnerOrAsk(*core, request, *asking);
        } catch (const sdbus::Error& error) {
          // A bus that breaks down is as good as none.
          logWarning("Command", "the session bus failed: {}", error.what());
        }
        if (outcome.role != Role::owner) {
          core->object.reset();
          core->leaving = true;
        }
        joining->started.set_value(std::move(outcome));
      });
  if (connected.wait_for(connectBound) != std::future_status::ready) {
    joining->abandoned = true;
    logWarning("Command", "the session bus does not answer");
  } else if (connected.get()) {
    Started outcome = started.get();
    if (outcome.role != Role::alone) return outcome;
  }
  worker_.reset();
  core_ = std::make_shared<Core>(core_->name);
  return {};
}

}  // namespace vantorel
