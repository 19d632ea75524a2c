#include "platform/linux/x11_worker.hpp"

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "platform/linux/x11_call.hpp"

namespace vantorel {

struct X11Worker::State {
  State(std::string displayName, MakeClient make)
      : display(std::move(displayName)), makeClient(std::move(make)) {}
  ~State() { close(wake); }

  const std::string display;
  const MakeClient makeClient;
  const int wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

  std::mutex mutex;
  std::condition_variable ended;
  std::deque<Job> jobs;
  int descriptor = -1;  // of the connection, while there is one to cut
  bool stopping = false;
  bool hasEnded = false;

  // The thread's own.
  xcb_connection_t* connection = nullptr;
  std::unique_ptr<X11Client> client;

  bool isStopping();
  Result<X11Client*> connected();
  void disconnect();
  void handleEvents();
  void waitForWork() const;
};

bool X11Worker::State::isStopping() {
  const std::lock_guard lock(mutex);
  return stopping;
}

Failure serverGone() { return {FailureKind::unreachable, "the display server went away"}; }

Result<X11Client*> X11Worker::State::connected() {
  if (client) return client.get();
  int screen = 0;
  connection = xcb_connect(display.c_str(), &screen);
  if (xcb_connection_has_error(connection) != 0) {
    disconnect();
    return failed(FailureKind::unreachable,
                  fmt::format("the display \"{}\" cannot be reached", display));
  }
  {
    const std::lock_guard lock(mutex);
    descriptor = xcb_get_file_descriptor(connection);
    if (stopping) shutdown(descriptor, SHUT_RDWR);
  }
  auto made = makeClient(connection, screen);
  if (!made) {
    disconnect();
    return std::unexpected(std::move(made).error());
  }
  client = std::move(*made);
  return client.get();
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
  while (const XOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
    // Errors of requests without a reply come this way: things that vanished meanwhile.
    if (event->response_type != 0) client->handle(*event);
  }
  client->eventsHandled();
  if (xcb_connection_has_error(connection) != 0) disconnect();
}

void X11Worker::State::waitForWork() const {
  pollfd waiting[2] = {{wake, POLLIN, 0}, {-1, POLLIN, 0}};
  if (connection != nullptr) waiting[1].fd = xcb_get_file_descriptor(connection);
  poll(waiting, 2, -1);
  std::uint64_t count = 0;
  (void)!::read(wake, &count, sizeof count);
}

void X11Worker::run(const std::shared_ptr<State>& state) {
  for (;;) {
    Job job;
    {
      const std::lock_guard lock(state->mutex);
      if (state->stopping) break;
      if (!state->jobs.empty()) {
        job = std::move(state->jobs.front());
        state->jobs.pop_front();
      }
    }
    if (job) {
      state->handleEvents();
      auto client = state->connected();
      // A connection may take for ever to come about; who asked may be gone by then.
      if (state->isStopping()) break;
      job(client);
      state->handleEvents();
      continue;
    }
    state->waitForWork();
    state->handleEvents();
  }
  state->disconnect();
  const std::lock_guard lock(state->mutex);
  state->hasEnded = true;
  state->ended.notify_all();
}

X11Worker::X11Worker(std::string display, MakeClient makeClient)
    : state_(std::make_shared<State>(std::move(display), std::move(makeClient))),
      thread_([state = state_] { run(state); }) {}

X11Worker::~X11Worker() {
  std::deque<Job> dropped;
  std::unique_lock lock(state_->mutex);
  state_->stopping = true;
  dropped.swap(state_->jobs);
  if (state_->descriptor >= 0) shutdown(state_->descriptor, SHUT_RDWR);
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

void X11Worker::post(Job job) {
  const std::lock_guard lock(state_->mutex);
  state_->jobs.push_back(std::move(job));
  const std::uint64_t one = 1;
  (void)!write(state_->wake, &one, sizeof one);
}

}  // namespace vantorel
