#include "platform/linux/loopback_io.hpp"

#include <asio/executor_work_guard.hpp>

#include <future>

#include "platform/linux/asio_runner.hpp"
#include "platform/linux/loopback_sockets.hpp"

namespace vantorel {

LoopbackIO::LoopbackIO() : gate_(std::make_shared<AsioGate>()) {
  std::promise<std::shared_ptr<TaskRunner>> ready;
  auto made = ready.get_future();
  thread_ = std::thread([gate = gate_, ready = std::move(ready)]() mutable {
    const auto work = asio::make_work_guard(gate->context());
    ready.set_value(std::make_shared<AsioRunner>(gate, AsioRunner::Home::thisThread));
    gate->context().run();
  });
  runner_ = made.get();
}

LoopbackIO::~LoopbackIO() {
  runner_->post([gate = gate_] { gate->context().stop(); });
  thread_.join();
  gate_->close();
}

std::unique_ptr<LoopbackListener> LoopbackIO::makeListener() {
  return std::make_unique<SocketListener>(gate_->context());
}

}  // namespace vantorel
