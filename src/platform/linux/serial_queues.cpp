#include "platform/linux/serial_queues.hpp"

#include <fmt/format.h>
#include <sched.h>

#include <atomic>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/asio_runner.hpp"

namespace vantorel {

/// The threads of one `SerialQueues`, as many as ever had work at once.
class QueueThreads {
 public:
  QueueThreads(std::shared_ptr<AsioGate> gate, int maximum)
      : gate_(std::move(gate)), maximum_(maximum) {
    const std::scoped_lock lock(mutex_);
    start();
  }

  /// One more queue has work.
  void takeWork() {
    const int busy = ++busyQueues_;
    if (busy <= started_ || started_ == maximum_) return;
    const std::scoped_lock lock(mutex_);
    if (stopped_ || busy <= started_ || started_ == maximum_) return;
    try {
      start();
    } catch (const std::system_error&) {
      // Those that run do its work later.
    }
  }

  void endWork() { --busyQueues_; }

  void stop() {
    std::unique_lock lock(mutex_);
    if (std::exchange(stopped_, true)) return;
    gate_->context().stop();
    std::vector<std::jthread> ending = std::move(threads_);
    lock.unlock();
    ending.clear();
    gate_->close();
  }

  [[nodiscard]] const std::shared_ptr<AsioGate>& gate() const { return gate_; }

 private:
  void start() {
    threads_.emplace_back([gate = gate_] {
      // Else a thread that wakes takes the processor from the main thread that woke it, for some
      // milliseconds. Where this is refused it is only slower.
      const sched_param unused{};
      (void)sched_setscheduler(0, SCHED_BATCH, &unused);
      asio::io_context& context = gate->context();
      const auto work =
          asio::require(context.get_executor(), asio::execution::outstanding_work.tracked);
      context.run();
    });
    ++started_;
  }

  std::shared_ptr<AsioGate> gate_;
  const int maximum_;
  std::atomic<int> busyQueues_ = 0;
  std::atomic<int> started_ = 0;
  std::mutex mutex_;
  bool stopped_ = false;
  std::vector<std::jthread> threads_;
};

namespace {

/// A queue that says when it has work. A delayed task counts from the start: when it is due, there
/// must be a thread that is free to see it.
class CountedRunner final : public TaskRunner {
 public:
  explicit CountedRunner(std::shared_ptr<QueueThreads> threads)
      : threads_(std::move(threads)), runner_(std::make_shared<AsioRunner>(threads_->gate())) {}

  void post(Task task) override { runner_->post(counted(std::move(task))); }
  void postAfter(std::chrono::nanoseconds delay, Task task) override {
    runner_->postAfter(delay, counted(std::move(task)));
  }
  [[nodiscard]] bool isCurrent() const override { return runner_->isCurrent(); }

 private:
  /// Holds the count of its queue up until it has run or is dropped.
  class Count {
   public:
    explicit Count(CountedRunner& runner) : threads_(runner.threads_), waiting_(runner.waiting_) {
      if ((*waiting_)++ == 0) threads_->takeWork();
    }
    ~Count() {
      if (waiting_ && --*waiting_ == 0) threads_->endWork();
    }
    Count(Count&&) = default;
    Count(const Count&) = delete;
    Count& operator=(const Count&) = delete;
    Count& operator=(Count&&) = delete;

   private:
    std::shared_ptr<QueueThreads> threads_;
    std::shared_ptr<std::atomic<int>> waiting_;
  };

  [[nodiscard]] Task counted(Task task) {
    return [count = Count(*this), task = std::move(task)]() mutable {
      std::exchange(task, nullptr)();
    };
  }

  std::shared_ptr<QueueThreads> threads_;
  std::shared_ptr<std::atomic<int>> waiting_ = std::make_shared<std::atomic<int>>(0);
  std::shared_ptr<AsioRunner> runner_;
};

}  // namespace

SerialQueues::SerialQueues(int maximumThreads) try
    : threads_(std::make_shared<QueueThreads>(std::make_shared<AsioGate>(), maximumThreads)) {
} catch (const std::system_error& refusal) {
  throw std::runtime_error(fmt::format("no thread could be started: {}", refusal.code().message()));
}

SerialQueues::~SerialQueues() { stop(); }

void SerialQueues::stop() { threads_->stop(); }

std::shared_ptr<TaskRunner> SerialQueues::queue(const std::string& name) {
  const std::scoped_lock lock(mutex_);
  std::shared_ptr<TaskRunner>& found = queues_[name];
  if (!found) found = std::make_shared<CountedRunner>(threads_);
  return found;
}

}  // namespace vantorel
