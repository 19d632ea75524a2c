#include "platform/linux/x11_worker.hpp"

#include <fmt/format.h>
#include <sys/socket.h>

#include <algorithm>
#include <mutex>

#include "base/log.hpp"
#include "base/spent_time.hpp"
#include "platform/linux/worker_jobs.hpp"
#include "platform/linux/x11_call.hpp"

namespace vantorel {

struct X11Worker::State {
  State(std::string displayName, MakeClient make)
      : display(std::move(displayName)), makeClient(std::move(make)) {}

  const std::string display;
  const MakeClient makeClient;
  WorkerJobs<Job> jobs;

  std::mutex mutex;
  int descriptor = -1;  // of the connection, while there is one to cut

  // The thread's own.
  xcb_connection_t* connection = nullptr;
  std::unique_ptr<X11Client> client;

  Result<X11Client*> connected();
  void cut();
  void disconnect();
  void handleEvents();
  void waitForWork() const;
};

Failure serverGone() { return {FailureKind::unreachable, "the display server went away"}; }

Result<X11Client*> X11Worker::State::connected() {
  if (client) return client.get();
  int screen = 0;
  SpentTime connecting;
  connection = connecting.measure([&] { return xcb_connect(display.c_str(), &screen); });
  if (xcb_connection_has_error(connection) != 0) {
    disconnect();
    return failed(FailureKind::unreachable,
                  fmt::format("the display \"{}\" cannot be reached", display));
  }
  {
    const std::lock_guard lock(mutex);
    descriptor = xcb_get_file_descriptor(connection);
  }
  if (jobs.isStopping()) cut();
  auto made = connecting.measure([&] { return makeClient(connection, screen); });
  logInfo("CaptureLatency", "of displays: connect {:.1f} ms", connecting.milliseconds());
  if (!made) {
    disconnect();
    return std::unexpected(std::move(made).error());
  }
  client = std::move(*made);
  return client.get();
}

void X11Worker::State::cut() {
  const std::lock_guard lock(mutex);
  if (descriptor >= 0) shutdown(descriptor, SHUT_RDWR);
}

void X11Worker::State::disconnect() {
  client.reset();
  {
    const std::lock_guard lock(mutex);
    descriptor = -1;
  }
  if (connection != nullptr) xcb_disconnect(connection);
  connection = nullptr;
}

void X11Worker::State::handleEvents() {
  if (!client) return;
  XOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection)};
  do {
    for (; event; event.reset(xcb_poll_for_event(connection))) {
      // Errors of requests without a reply come this way: things that vanished meanwhile.
      if (event->response_type != 0) client->handle(*event);
    }
    client->eventsHandled();
    // The answers it waited for may have brought events along, of which the descriptor will not
    // tell again.
    event.reset(xcb_poll_for_event(connection));
  } while (event);
  if (xcb_connection_has_error(connection) != 0) disconnect();
}

void X11Worker::State::waitForWork() const {
  int timeout = -1;
  if (const auto at = client ? client->wakesAt() : std::nullopt) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(*at - std::chrono::steady_clock::now());
    timeout = static_cast<int>(std::clamp(left, milliseconds(0), milliseconds(60'000)).count());
  }
  jobs.wait(connection != nullptr ? xcb_get_file_descriptor(connection) : -1, POLLIN, timeout);
}

void X11Worker::run(const std::shared_ptr<State>& state) {
  while (!state->jobs.isStopping()) {
    if (Job job = state->jobs.take()) {
      state->handleEvents();
      auto client = state->connected();
      // A connection may take for ever to come about; who asked may be gone by then.
      if (state->jobs.isStopping()) break;
      job(client);
      state->handleEvents();
      continue;
    }
    state->waitForWork();
    state->handleEvents();
  }
  state->disconnect();
  state->jobs.end();
}

X11Worker::X11Worker(std::string display, MakeClient makeClient)
    : state_(std::make_shared<State>(std::move(display), std::move(makeClient))),
      thread_([state = state_] { run(state); }) {}

X11Worker::~X11Worker() {
  const auto dropped = state_->jobs.takeAll();
  state_->jobs.stop();
  state_->cut();
  state_->jobs.finish(thread_);
}

void X11Worker::post(Job job) { state_->jobs.post(std::move(job)); }

std::function<void()> X11Worker::waker() const {
  return [weak = std::weak_ptr(state_)] {
    if (const auto state = weak.lock()) state->jobs.wake();
  };
}

}  // namespace vantorel
