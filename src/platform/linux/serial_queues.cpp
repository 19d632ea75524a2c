#include "platform/linux/serial_queues.hpp"

#include <fmt/format.h>
#include <sched.h>

#include <stdexcept>
#include <system_error>

#include "platform/linux/asio_runner.hpp"

namespace vantorel {

SerialQueues::SerialQueues(int threads) : gate_(std::make_shared<AsioGate>()) {
  try {
    for (int thread = 0; thread < threads; ++thread) threads_.emplace_back([this] { work(); });
  } catch (const std::system_error& refusal) {
    // Those that were started wait for work until they are told.
    stop();
    throw std::runtime_error(
        fmt::format("no thread could be started: {}", refusal.code().message()));
  }
}

void SerialQueues::work() {
  // Else a thread that wakes takes the processor from the main thread that woke it, for some
  // milliseconds. Where this is refused it is only slower.
  const sched_param unused{};
  (void)sched_setscheduler(0, SCHED_BATCH, &unused);
  asio::io_context& context = gate_->context();
  const auto work =
      asio::require(context.get_executor(), asio::execution::outstanding_work.tracked);
  context.run();
}

SerialQueues::~SerialQueues() { stop(); }

void SerialQueues::stop() {
  if (threads_.empty()) return;
  gate_->context().stop();
  threads_.clear();
  gate_->close();
}

std::shared_ptr<TaskRunner> SerialQueues::queue(const std::string& name) {
  const std::scoped_lock lock(mutex_);
  std::shared_ptr<TaskRunner>& found = queues_[name];
  if (!found) found = std::make_shared<AsioRunner>(gate_);
  return found;
}

}  // namespace vantorel
