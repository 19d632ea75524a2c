#include "platform/linux/bus_worker.hpp"

#include <sdbus-c++/sdbus-c++.h>
#include <systemd/sd-bus.h>

#include <chrono>

#include "base/log.hpp"
#include "platform/linux/worker_jobs.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds callBound{5};

/// The bus library chooses the key of its hash tables when it makes the first one, and does not
/// guard that: a second thread that makes its first one meanwhile would change the key of tables in
/// use, and answers to calls would not be found in them. One table is made here before any other.
void chooseHashKey() {
  static const bool isChosen = [] {
    sd_bus* bus = nullptr;
    if (sd_bus_new(&bus) < 0) return false;
    const auto nothing = [](sd_bus_message*, void*, sd_bus_error*) { return 0; };
    const bool isMade = sd_bus_add_object(bus, nullptr, "/", nothing, nullptr) >= 0;
    sd_bus_unref(bus);
    return isMade;
  }();
  if (!isChosen) logWarning("Bus", "the bus library could not be prepared");
}

}  // namespace

struct BusWorker::State {
  WorkerJobs<Job> jobs;

  // The thread's own. A lost connection stays, for what was made on it refers to it.
  std::unique_ptr<sdbus::IConnection> connection;
  std::string lost;

  Result<sdbus::IConnection*> connected();
  void process();
  void awaitDelivery();
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

/// Until the bus has read what was sent. A socket closed with messages unread in it is an error to
/// the bus, and it reads no further: answers already sent would be lost.
void BusWorker::State::awaitDelivery() {
  if (!connection || !lost.empty()) return;
  try {
    const auto bus =
        sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    bus->callMethod("GetId").onInterface("org.freedesktop.DBus");
  } catch (const sdbus::Error& error) {
    logWarning("Bus", "what was sent last may be lost: {}", error.getMessage());
  }
}

void BusWorker::State::waitForWork() const {
  if (!connection || !lost.empty()) return jobs.wait(-1, 0, -1);
  const auto bus = connection->getEventLoopPollData();
  jobs.wait(bus.fd, bus.events, bus.getPollTimeout());
}

void BusWorker::run(const std::shared_ptr<State>& state) {
  chooseHashKey();
  for (;;) {
    // Asked first, so that no job that was posted before the stop is missed.
    const bool isStopping = state->jobs.isStopping();
    if (Job job = state->jobs.take()) {
      try {
        job(state->connected());
      } catch (const sdbus::Error& error) {
        logWarning("Bus", "{}: {}", error.getName(), error.getMessage());
      }
    } else if (isStopping) {
      break;
    } else {
      state->waitForWork();
    }
    state->process();
  }
  // Those posted since may hold what lives on the connection.
  state->jobs.takeAll().clear();
  state->awaitDelivery();
  state->connection.reset();
  state->jobs.end();
}

BusWorker::BusWorker()
    : state_(std::make_shared<State>()), thread_([state = state_] { run(state); }) {}

BusWorker::~BusWorker() {
  state_->jobs.stop();
  state_->jobs.finish(thread_);
}

void BusWorker::post(Job job) { state_->jobs.post(std::move(job)); }

}  // namespace vantorel
