#include "platform/linux/loop_runner.hpp"

#include "base/check.hpp"
#include "platform/linux/asio_runner.hpp"

namespace vantorel {

LoopRunner::LoopRunner()
    : gate_(std::make_shared<AsioGate>()),
      runner_(std::make_shared<AsioRunner>(gate_, AsioRunner::Home::thisThread)) {}

LoopRunner::~LoopRunner() { gate_->close(); }

void LoopRunner::run() {
  VT_CHECK(runner_->isCurrent());
  {
    const auto work =
        asio::require(gate_->context().get_executor(), asio::execution::outstanding_work.tracked);
    gate_->context().run();
  }
  // Only now: when the last piece of work ends, the context stops by itself.
  gate_->context().restart();
}

void LoopRunner::quit() { gate_->context().stop(); }

}  // namespace vantorel
