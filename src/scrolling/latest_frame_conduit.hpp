#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "base/task_runner.hpp"

namespace vantorel {

/// Hands the newest of many values to the main runner: at most one delivery is on its way, and what
/// was submitted before the newest is dropped. The only thing that a session's two threads share.
/// `submit` from any thread; made and destroyed on the main runner, after which nothing is
/// delivered any more.
template <class Value>
class LatestFrameConduit {
 public:
  /// `deliver` is called on `main`, outside of the lock.
  LatestFrameConduit(std::shared_ptr<TaskRunner> main, std::function<void(Value)> deliver)
      : main_(std::move(main)), state_(std::make_shared<State>()) {
    state_->deliver = std::move(deliver);
  }
  LatestFrameConduit(const LatestFrameConduit&) = delete;
  LatestFrameConduit& operator=(const LatestFrameConduit&) = delete;
  ~LatestFrameConduit() {
    const std::scoped_lock hold(state_->lock);
    state_->deliver = nullptr;
    state_->pending.reset();
  }

  void submit(Value value) { Entrance{main_, state_}.submit(std::move(value)); }

  /// What a thread may hold that outlives the conduit.
  class Entrance;
  [[nodiscard]] Entrance entrance() const { return {main_, state_}; }

 private:
  struct State {
    std::mutex lock;
    std::optional<Value> pending;
    bool scheduled = false;
    std::function<void(Value)> deliver;
  };

  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<State> state_;
};

template <class Value>
class LatestFrameConduit<Value>::Entrance {
 public:
  void submit(Value value) const {
    {
      const std::scoped_lock hold(state_->lock);
      state_->pending = std::move(value);
      if (std::exchange(state_->scheduled, true)) return;
    }
    main_->post([state = state_] {
      std::optional<Value> newest;
      std::function<void(Value)> deliver;
      {
        const std::scoped_lock hold(state->lock);
        newest = std::exchange(state->pending, std::nullopt);
        state->scheduled = false;
        deliver = state->deliver;
      }
      if (newest && deliver) deliver(*std::move(newest));
    });
  }

 private:
  friend class LatestFrameConduit;
  Entrance(std::shared_ptr<TaskRunner> main, std::shared_ptr<State> state)
      : main_(std::move(main)), state_(std::move(state)) {}

  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<State> state_;
};

}  // namespace vantorel
