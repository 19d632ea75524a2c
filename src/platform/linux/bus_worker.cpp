#include "platform/linux/bus_worker.hpp"

#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds callBound{5};

}  // namespace

struct BusWorker::State {
  ~State() { close(wake); }

  const int wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

  std::mutex mutex;
  std::condition_variable ended;
  std::deque<Job> jobs;
  bool stopping = false;
  bool hasEnded = false;

  // The thread's own. A lost connection stays, for what was made on it refers to it.
  std::unique_ptr<sdbus::IConnection> connection;
  std::string lost;

  Result<sdbus::IConnection*> connected();
  void process();
  void waitForWork() const;
};

Result<sdbus::IConnection*> BusWorker::State::connected() {
  if (!connection && lost.empty()) {
    try {
      connection = sdbus::createSessionBusConnection();
      connection->setMethodCallTimeout(callBound);
    } catch (const sdbus::Error& error) {
      lost = "the session bus cannot be reached: " + error.getMessage();
    }
  }
  if (!lost.empty()) return failed(FailureKind::unreachable, lost);
  return connection.get();
}

void BusWorker::State::process() {
  if (!connection || !lost.empty()) return;
  try {
    while (connection->processPendingRequest()) {
    }
  } catch (const sdbus::Error& error) {
    lost = "the session bus went away";
    logWarning("Bus", "{}: {}", lost, error.getMessage());
  }
}

void BusWorker::State::waitForWork() const {
  pollfd waiting[2] = {{wake, POLLIN, 0}, {-1, 0, 0}};
  int timeout = -1;
  if (connection && lost.empty()) {
    const auto bus = connection->getEventLoopPollData();
    waiting[1] = {bus.fd, bus.events, 0};
    timeout = bus.getPollTimeout();
  }
  poll(waiting, 2, timeout);
  std::uint64_t count = 0;
  (void)!::read(wake, &count, sizeof count);
}

void BusWorker::run(const std::shared_ptr<State>& state) {
  for (;;) {
    Job job;
    {
      const std::lock_guard lock(state->mutex);
      if (!state->jobs.empty()) {
        job = std::move(state->jobs.front());
        state->jobs.pop_front();
      } else if (state->stopping) {
        break;
      }
    }
    if (job) {
      try {
        job(state->connected());
      } catch (const sdbus::Error& error) {
        logWarning("Bus", "{}: {}", error.getName(), error.getMessage());
      }
    } else {
      state->waitForWork();
    }
    state->process();
  }
  state->connection.reset();
  const std::lock_guard lock(state->mutex);
  state->hasEnded = true;
  state->ended.notify_all();
}

BusWorker::BusWorker()
    : state_(std::make_shared<State>()), thread_([state = state_] { run(state); }) {}

BusWorker::~BusWorker() {
  std::unique_lock lock(state_->mutex);
  state_->stopping = true;
  const std::uint64_t one = 1;
  (void)!write(state_->wake, &one, sizeof one);
  const bool ended = state_->ended.wait_for(lock, std::chrono::milliseconds(300),
                                            [this] { return state_->hasEnded; });
  lock.unlock();
  if (ended) {
    thread_.join();
  } else {
    thread_.detach();
  }
}

void BusWorker::post(Job job) {
  const std::lock_guard lock(state_->mutex);
  state_->jobs.push_back(std::move(job));
  const std::uint64_t one = 1;
  (void)!write(state_->wake, &one, sizeof one);
}

}  // namespace vantorel
