#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "base/result.hpp"

namespace vantorel {

/// What lives on one connection to the X server: made behind connecting, gone before disconnecting.
/// Lives on the worker's thread.
class X11Client {
 public:
  virtual ~X11Client() = default;
  virtual void handle(const xcb_generic_event_t& event) = 0;

  /// Called when all events that have arrived are handled.
  virtual void eventsHandled() {}

  /// When that is to be called the next time though nothing may have arrived until then.
  [[nodiscard]] virtual std::optional<std::chrono::steady_clock::time_point> wakesAt() const {
    return std::nullopt;
  }
};

/// One thread with one connection to the X server, so that nobody else ever waits for the server.
/// Connects at the first job, and again at a later one when the connection was lost. Jobs run in
/// order; with a server that does not answer, they never do. Any thread may post.
class X11Worker {
 public:
  using MakeClient = std::function<Result<std::unique_ptr<X11Client>>(xcb_connection_t*, int)>;

  /// Gets the client, or why there is none.
  using Job = std::move_only_function<void(Result<X11Client*>)>;

  /// `display` such as ":0". `makeClient` is called on the thread with the connection and the
  /// number of the screen.
  X11Worker(std::string display, MakeClient makeClient);
  X11Worker(const X11Worker&) = delete;
  X11Worker& operator=(const X11Worker&) = delete;

  /// Cuts the connection and waits a moment for the thread; one that hangs in connecting is left
  /// behind. Jobs not yet begun are dropped.
  ~X11Worker();

  void post(Job job);

  /// Has the client look at what has arrived, and then `eventsHandled`. From any thread, also when
  /// the worker is gone.
  [[nodiscard]] std::function<void()> waker() const;

 private:
  struct State;
  static void run(const std::shared_ptr<State>& state);

  std::shared_ptr<State> state_;
  std::thread thread_;
};

/// The failure for a connection that broke.
[[nodiscard]] Failure serverGone();

}  // namespace vantorel
