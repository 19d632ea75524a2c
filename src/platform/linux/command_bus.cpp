#include "platform/linux/command_bus.hpp"

#include <fmt/format.h>

#include <atomic>
#include <future>
#include <utility>

#include "base/log.hpp"
#include "platform/linux/bus_worker.hpp"
#include "platform/linux/command_bus_owner.hpp"
#include "platform/linux/command_bus_protocol.hpp"
#include "platform/linux/command_bus_requester.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds connectBound{2};

/// With the links followed in as much of the path as there is.
Path withoutLinks(const Files& files, const Path& path) {
  Path rest;
  for (Path there = path; there.has_relative_path(); there = there.parent_path()) {
    if (const auto found = files.resolved(there)) return (*found / rest).lexically_normal();
    rest = there.filename() / rest;
  }
  return path.lexically_normal();
}

}  // namespace

std::string CommandBus::nameFor(const std::optional<Path>& root, const Files& files) {
  if (!root) return command_bus_protocol::wellKnownName;
  std::string text = withoutLinks(files, *root).string();
  while (text.size() > 1 && text.ends_with('/')) text.pop_back();
  // FNV-1a (Fowler, Noll, Vo), 64 bits: the same on every run and build.
  std::uint64_t hash = 0xCBF29CE484222325ULL;
  for (const char c : text) hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3ULL;
  return fmt::format("{}.r{:016x}", command_bus_protocol::wellKnownName, hash);
}

CommandBus::CommandBus(std::string name, std::chrono::milliseconds silence)
    : requester_(std::make_shared<CommandBusRequester>(silence)),
      owner_(std::make_shared<CommandBusOwner>(std::move(name))) {}

void CommandBus::cancel() { requester_->cancel(); }

CommandBus::~CommandBus() {
  handlers_.reset();
  if (!worker_) return;
  worker_->post([owner = owner_](auto connection) { owner->close(connection.has_value()); });
  // The worker runs this job while it is destroyed.
}

void CommandBus::serve(std::shared_ptr<TaskRunner> main, Handlers handlers) {
  handlers_ = std::make_shared<Handlers>(std::move(handlers));
  auto begin = [owner = owner_, main = std::move(main), accepts = handlers_->accepts,
                weak = std::weak_ptr(handlers_)](auto) { owner->serve(main, accepts, weak); };
  if (worker_) {
    worker_->post(std::move(begin));
  } else {
    begin(nullptr);
  }
}

void CommandBus::end(std::function<void()> ended) {
  if (worker_) {
    worker_->post([owner = owner_, ended = std::move(ended)](auto connection) mutable {
      owner->end(connection.has_value(), std::move(ended));
    });
  } else {
    owner_->end(false, std::move(ended));
  }
}

CommandBus::Started CommandBus::start(const BusRequest& request,
                                      std::function<void(const BusProgress&)> onProgress) {
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
  requester_->onProgress(std::move(onProgress));
  worker_->post([owner = owner_, worker = std::weak_ptr(worker_), joining, requester = requester_,
                 request](Result<sdbus::IConnection*> connection) {
    joining->connected.set_value(connection.has_value());
    if (!connection) logInfo("Command", "{}", connection.error().reason);
    if (!connection || joining->abandoned) return;
    Started outcome;
    try {
      owner->expose(**connection, worker);
      outcome = requester->becomeOwnerOrAsk(**connection, owner->name(), request);
      if (outcome.role == Role::owner) owner->watchSenders();
    } catch (const sdbus::Error& error) {
      // A bus that breaks down is as good as none.
      logWarning("Command", "the session bus failed: {}", error.what());
    }
    if (outcome.role != Role::owner) owner->withdraw();
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
  owner_ = std::make_shared<CommandBusOwner>(owner_->name());
  return {};
}

}  // namespace vantorel
