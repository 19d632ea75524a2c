#include "platform/linux/command_bus_requester.hpp"

#include <poll.h>

#include <algorithm>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

#include "base/log.hpp"
#include "base/random_id.hpp"
#include "platform/linux/command_bus_protocol.hpp"

namespace vantorel {

using namespace command_bus_protocol;

/// What asking an owner came to.
enum class CommandBusRequester::Asked {
  answered,
  notTaken,  ///< it ended, or is about to, without having taken the command
  mustWait,  ///< it will not do it and ends by itself
};

namespace {

constexpr std::chrono::seconds takingBound{10};  // the owner may still be starting
constexpr std::chrono::seconds joinBound{15};
constexpr std::chrono::milliseconds pause{5};
constexpr int cancelledStatus = 3;

std::chrono::steady_clock::time_point now() { return std::chrono::steady_clock::now(); }

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
void waitForBus(sdbus::IConnection& connection, int wake,
                std::optional<std::chrono::steady_clock::time_point> end) {
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

void CommandBusRequester::cancel() {
  isCancelled_ = true;
  const std::uint64_t one = 1;
  (void)!::write(wake_.number(), &one, sizeof one);
}

CommandBusRequester::Asked CommandBusRequester::ask(sdbus::IConnection& connection,
                                                    const std::string& owner,
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
          lastHeard_ = now();
          if (onProgress_) onProgress_({done, total, words});
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

BusReply CommandBusRequester::await(sdbus::IConnection& connection, sdbus::IProxy& proxy,
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
          answer_ = {status, toText(output), toText(errorText)};
        }
      });
  bool ownerKnows = false;
  for (;;) {
    if (!ownerKnows && isCancelled_) {
      ownerKnows = true;
      lastHeard_ = now();
      proxy.callMethod("Cancel").onInterface(commandsInterface).withArguments(id).dontExpectReply();
    }
    while (!answer_ && !failure && connection.processPendingRequest()) {
    }
    if (failure) throw *std::move(failure);
    if (answer_) return *std::exchange(answer_, {});
    if (ownerKnows && now() >= lastHeard_ + silence_) {
      return {cancelledStatus,
              {},
              "The running Vantorel was told to stop but hasn't answered. It stops when it can.\n"};
    }
    waitForBus(connection, ownerKnows ? -1 : wake_.number(),
               ownerKnows ? std::optional(lastHeard_ + silence_) : std::nullopt);
  }
}

CommandBus::Started CommandBusRequester::becomeOwnerOrAsk(sdbus::IConnection& connection,
                                                          const std::string& name,
                                                          const BusRequest& request) {
  auto end = now() + joinBound;
  while (now() < end) {
    if (requestName(connection, name)) return {CommandBus::Role::owner, {}};
    if (isCancelled_) return {CommandBus::Role::forwarded, {cancelledStatus, {}, "Cancelled.\n"}};
    const std::string owner = ownerOf(connection, name);
    if (owner.empty()) continue;
    BusReply reply;
    switch (ask(connection, owner, request, reply)) {
      case Asked::answered: return {CommandBus::Role::forwarded, std::move(reply)};
      case Asked::mustWait:
        while (!isCancelled_ && ownerOf(connection, name) == owner) {
          std::this_thread::sleep_for(pause);
        }
        end = now() + joinBound;
        break;
      case Asked::notTaken: std::this_thread::sleep_for(pause); break;
    }
  }
  return {CommandBus::Role::forwarded,
          {1, {}, "The running Vantorel is ending but doesn't end.\n"}};
}

}  // namespace vantorel
