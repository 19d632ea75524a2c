#include "platform/linux/asio_runner.hpp"

#include <asio/bind_executor.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

#include <mutex>
#include <utility>

namespace vantorel {
namespace {

auto inSequence(Sequence sequence, Task task) {
  return [sequence, task = std::move(task)]() mutable {
    const SequenceScope scope(sequence);
    // What a task owns goes while its runner is still current.
    std::exchange(task, nullptr)();
  };
}

}  // namespace

AsioGate::AsioGate() : context_(std::make_unique<asio::io_context>()) {}

AsioGate::~AsioGate() { close(); }

AsioGate::Strand* AsioGate::newStrand() {
  const std::unique_lock lock(mutex_);
  return context_ ? &strands_.emplace_back(asio::make_strand(*context_)) : nullptr;
}

void AsioGate::close() {
  std::unique_lock lock(mutex_);
  const std::unique_ptr<asio::io_context> closed = std::move(context_);
  // A strand looks into its context when it goes.
  const std::deque<Strand> strands = std::move(strands_);
  lock.unlock();
}

AsioRunner::AsioRunner(std::shared_ptr<AsioGate> gate, Home home)
    : gate_(std::move(gate)),
      strand_(gate_->newStrand()),
      sequence_(home == Home::thisThread ? sequenceOfThread() : this) {}

void AsioRunner::post(Task task) {
  gate_->pass([&] { asio::post(*strand_, inSequence(sequence_, std::move(task))); });
}

void AsioRunner::postAfter(std::chrono::nanoseconds delay, Task task) {
  gate_->pass([&] {
    const auto timer = std::make_shared<asio::steady_timer>(gate_->context(), delay);
    timer->async_wait(asio::bind_executor(
        *strand_, [timer, run = inSequence(sequence_, std::move(task))](asio::error_code) mutable {
          run();
        }));
  });
}

bool AsioRunner::isCurrent() const { return currentSequence() == sequence_; }

}  // namespace vantorel
