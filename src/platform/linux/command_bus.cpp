#include "platform/linux/command_bus.hpp"

#include <fmt/format.h>
#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>
#include <utility>

#include "base/log.hpp"
#include "base/utf8.hpp"

namespace vantorel {
namespace {

constexpr const char* wellKnownName = "com.hollen.Vantorel";
constexpr const char* objectPath = "/com/hollen/Vantorel";
constexpr const char* interfaceName = "com.hollen.Vantorel.Commands";
constexpr const char* leavingError = "com.hollen.Vantorel.Error.Leaving";

// An owner that leaves does so within moments; a capture with a countdown takes ten seconds.
constexpr std::chrono::seconds longestTry{60};
constexpr std::chrono::milliseconds pause{10};
constexpr std::chrono::hours longestCommand{24};
constexpr std::chrono::seconds longestConnecting{2};
constexpr std::chrono::seconds longestCall{10};  // an owner may still be starting

/// FNV-1a (Fowler, Noll, Vo), 64 bits: the same on every run and build.
std::uint64_t stableHash(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char c : text) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 0x100000001b3U;
  }
  return hash;
}

/// Null when there is no bus or it does not answer in time: the library itself would wait for a
/// minute and a half.
std::unique_ptr<sdbus::IConnection> connect() {
  auto promise = std::make_shared<std::promise<std::unique_ptr<sdbus::IConnection>>>();
  auto connected = promise->get_future();
  std::thread([promise] {
    try {
      promise->set_value(sdbus::createSessionBusConnection());
    } catch (const sdbus::Error& error) {
      logInfo("Command", "there is no session bus: {}", error.what());
      promise->set_value(nullptr);
    }
  }).detach();
  if (connected.wait_for(longestConnecting) != std::future_status::ready) {
    logWarning("Command", "the session bus does not answer");
    return nullptr;
  }
  return connected.get();
}

/// Strings of other bytes cannot travel.
bool canTravel(const BusRequest& request) {
  return isUtf8(request.folder) &&
         std::all_of(request.arguments.begin(), request.arguments.end(), isUtf8);
}

bool isNobodyThere(const sdbus::Error& error) {
  for (const char* name :
       {"org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.NameHasNoOwner",
        "org.freedesktop.DBus.Error.NoReply", leavingError}) {
    if (error.getName() == name) return true;
  }
  return false;
}

}  // namespace

/// A command that was taken and whose answer has not been fetched.
struct CommandBus::Ticket {
  std::string sender;
  std::optional<BusReply> reply;
  std::optional<sdbus::Result<std::int32_t, std::string, std::string>> waiting;
};

std::string CommandBus::nameFor(const std::optional<Path>& root) {
  if (!root) return wellKnownName;
  return fmt::format("{}.r{:016x}", wellKnownName, stableHash(root->string()));
}

CommandBus::CommandBus(std::string name) : name_(std::move(name)) {}

CommandBus::~CommandBus() {
  if (!connection_) return;
  connection_->leaveEventLoop();
  if (busThread_.joinable()) busThread_.join();
  bus_.reset();
  object_.reset();
}

bool CommandBus::becomeOwner() {
  try {
    connection_->requestName(name_);
    return true;
  } catch (const sdbus::Error& error) {
    if (error.getName() == "org.freedesktop.DBus.Error.FileExists") return false;
    throw;
  }
}

std::optional<BusReply> CommandBus::forward(const BusRequest& request) {
  if (!canTravel(request)) {
    return BusReply{2, {}, "The running Vantorel takes only arguments and folders in UTF-8.\n"};
  }
  const auto owner = sdbus::createProxy(*connection_, name_, objectPath);
  std::uint64_t ticket = 0;
  try {
    owner->callMethod("Begin")
        .onInterface(interfaceName)
        .withArguments(request.arguments, request.folder)
        .storeResultsTo(ticket);
  } catch (const sdbus::Error& error) {
    if (isNobodyThere(error)) return std::nullopt;
    if (error.getName() == "org.freedesktop.DBus.Error.Timeout") {
      return BusReply{1, {}, "The running Vantorel doesn't answer.\n"};
    }
    throw;
  }
  try {
    std::int32_t status = 0;
    BusReply reply;
    owner->callMethod("Wait")
        .onInterface(interfaceName)
        .withTimeout(longestCommand)
        .withArguments(ticket)
        .storeResultsTo(status, reply.output, reply.error);
    reply.status = status;
    return reply;
  } catch (const sdbus::Error& error) {
    logInfo("Command", "waiting for the running program failed: {}", error.what());
    return BusReply{1, {}, "The running Vantorel ended before it answered.\n"};
  }
}

CommandBus::Started CommandBus::start(const BusRequest& request) {
  connection_ = connect();
  if (!connection_) return {};
  try {
    connection_->setMethodCallTimeout(longestCall);
    const auto end = std::chrono::steady_clock::now() + longestTry;
    while (!becomeOwner()) {
      if (auto reply = forward(request)) return {Role::forwarded, std::move(*reply)};
      if (std::chrono::steady_clock::now() > end) {
        return {Role::forwarded,
                {4, {}, "Another Vantorel is busy with its last command. Try again later.\n"}};
      }
      std::this_thread::sleep_for(pause);
    }
    return {Role::owner, {}};
  } catch (const sdbus::Error& error) {
    // A bus that breaks down is as good as none.
    logWarning("Command", "the session bus failed: {}", error.what());
    connection_.reset();
    return {};
  }
}

std::uint64_t CommandBus::begin(BusRequest request, const std::string& sender) {
  if (!handlers_.accepts(request)) throw sdbus::Error(leavingError, "busy with its last command");
  std::uint64_t number = 0;
  {
    const std::scoped_lock lock(mutex_);
    if (ending_) throw sdbus::Error(leavingError, "leaving");
    number = nextTicket_++;
    tickets_[number] = std::make_unique<Ticket>(Ticket{sender, {}, {}});
  }
  main_->post([this, number, request = std::move(request)]() mutable {
    handlers_.run(std::move(request),
                  [this, number](BusReply reply) { answer(number, std::move(reply)); });
  });
  return number;
}

void CommandBus::serve(std::shared_ptr<TaskRunner> main, Handlers handlers) {
  main_ = std::move(main);
  handlers_ = std::move(handlers);
  if (!connection_) return;
  object_ = sdbus::createObject(*connection_, objectPath);
  object_->registerMethod("Begin")
      .onInterface(interfaceName)
      .implementedAs([this](const std::vector<std::string>& arguments, const std::string& folder) {
        return begin({arguments, folder}, object_->getCurrentlyProcessedMessage()->getSender());
      });
  object_->registerMethod("Wait")
      .onInterface(interfaceName)
      .implementedAs([this](sdbus::Result<std::int32_t, std::string, std::string>&& result,
                            std::uint64_t number) {
        const std::string sender = object_->getCurrentlyProcessedMessage()->getSender();
        const std::scoped_lock lock(mutex_);
        const auto found = tickets_.find(number);
        if (found == tickets_.end() || found->second->sender != sender) {
          result.returnError(
              sdbus::Error("com.hollen.Vantorel.Error.UnknownTicket", "no such command"));
          return;
        }
        if (const auto& reply = found->second->reply) {
          result.returnResults(reply->status, reply->output, reply->error);
          tickets_.erase(found);
          main_->post([this] { tryToEnd(); });
        } else {
          found->second->waiting = std::move(result);
        }
      });
  registerActivation();
  object_->finishRegistration();
  bus_ = sdbus::createProxy(*connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus");
  bus_->uponSignal("NameOwnerChanged")
      .onInterface("org.freedesktop.DBus")
      .call(
          [this](const std::string& name, const std::string& /*before*/, const std::string& after) {
            if (after.empty()) senderGone(name);
          });
  bus_->finishRegistration();
  // A thread of our own: when the bus dies, that of the library would end the program.
  busThread_ = std::thread([this] {
    try {
      connection_->enterEventLoop();
    } catch (const sdbus::Error& error) {
      logWarning("Command", "the session bus went away: {}", error.what());
      {
        const std::scoped_lock lock(mutex_);
        tickets_.clear();  // nobody is left to be answered
      }
      main_->post([this] { tryToEnd(); });
    }
  });
}

/// The desktop's way to start and use the program, org.freedesktop.Application of the Desktop Entry
/// Specification. Nobody waits for an answer there.
void CommandBus::registerActivation() {
  constexpr const char* application = "org.freedesktop.Application";
  using Platform = std::map<std::string, sdbus::Variant>;
  const auto perform = [this](std::vector<std::string> arguments) {
    main_->post([this, arguments = std::move(arguments)] {
      handlers_.run({arguments, {}}, [](BusReply) {});
    });
  };
  object_->registerMethod("Activate")
      .onInterface(application)
      .implementedAs([perform](const Platform&) { perform({}); });
  object_->registerMethod("Open")
      .onInterface(application)
      .implementedAs([perform](const std::vector<std::string>&, const Platform&) { perform({}); });
  object_->registerMethod("ActivateAction")
      .onInterface(application)
      .implementedAs([perform](const std::string& action, const std::vector<sdbus::Variant>&,
                               const Platform&) {
        if (action == "CaptureArea") perform({"capture", "area"});
        if (action == "CaptureWindow") perform({"capture", "window"});
        if (action == "CaptureDisplay") perform({"capture", "display"});
      });
}

void CommandBus::answer(std::uint64_t number, BusReply reply) {
  // A path may hold any bytes; the bus carries text.
  reply.output = repairedUtf8(reply.output);
  reply.error = repairedUtf8(reply.error);
  {
    const std::scoped_lock lock(mutex_);
    const auto found = tickets_.find(number);
    if (found == tickets_.end()) return;
    if (!found->second->waiting) {
      found->second->reply = std::move(reply);
      return;
    }
    found->second->waiting->returnResults(reply.status, reply.output, reply.error);
    tickets_.erase(found);
  }
  tryToEnd();
}

void CommandBus::senderGone(const std::string& sender) {
  bool unanswered = false;
  {
    const std::scoped_lock lock(mutex_);
    for (auto ticket = tickets_.begin(); ticket != tickets_.end();) {
      if (ticket->second->sender != sender) {
        ++ticket;
        continue;
      }
      unanswered = unanswered || !ticket->second->reply;
      ticket = tickets_.erase(ticket);
    }
  }
  main_->post([this, unanswered] {
    if (unanswered) handlers_.askerGone();
    tryToEnd();
  });
}

void CommandBus::end(std::function<void()> ended) {
  ended_ = std::move(ended);
  tryToEnd();
}

void CommandBus::tryToEnd() {
  if (!ended_) return;
  {
    const std::scoped_lock lock(mutex_);
    if (!tickets_.empty()) return;
    ending_ = true;
  }
  if (connection_) {
    try {
      connection_->releaseName(name_);
    } catch (const sdbus::Error& error) {
      logInfo("Command", "the name could not be released: {}", error.what());
    }
  }
  std::exchange(ended_, nullptr)();
}

}  // namespace vantorel
