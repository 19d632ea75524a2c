#pragma once

#include <sdbus-c++/sdbus-c++.h>
#include <sys/eventfd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "platform/linux/command_bus.hpp"
#include "platform/linux/file_descriptor.hpp"

namespace vantorel {

/// The side of a `CommandBus` that wants a command done. Lives on the bus worker's thread, but for
/// `cancel` and `isCancelled`.
class CommandBusRequester {
 public:
  /// An owner that was told to stop is waited for until it is silent for `silence`.
  explicit CommandBusRequester(std::chrono::milliseconds silence) : silence_(silence) {}

  /// What the owner tells meanwhile goes to `reported`. Before `becomeOwnerOrAsk`.
  void onProgress(std::function<void(const BusProgress&)> listener) {
    onProgress_ = std::move(listener);
  }

  /// Takes `name`, or has its owner run `request` and waits for the answer. Throws what the bus
  /// library throws when the bus breaks down.
  [[nodiscard]] CommandBus::Started becomeOwnerOrAsk(sdbus::IConnection& connection,
                                                     const std::string& name,
                                                     const BusRequest& request);

  /// Any thread.
  void cancel();

 private:
  enum class Asked;

  Asked ask(sdbus::IConnection& connection, const std::string& owner, const BusRequest& request,
            BusReply& reply);
  BusReply await(sdbus::IConnection& connection, sdbus::IProxy& proxy, const std::string& id);

  const std::chrono::milliseconds silence_;
  std::atomic<bool> isCancelled_ = false;
  const FileDescriptor wake_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};  // readable once cancelled
  std::function<void(const BusProgress&)> onProgress_;
  std::optional<BusReply> answer_;
  std::chrono::steady_clock::time_point lastHeard_;
};

}  // namespace vantorel
