#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/task_runner.hpp"
#include "platform/loopback_listener.hpp"

namespace vantorel {

/// The client's end of a connection that is no socket, and what the server does with it.
class FakePeer {
 public:
  explicit FakePeer(std::shared_ptr<TaskRunner> runner) : runner_(std::move(runner)) {}

  void send(std::string_view bytes) {
    sent += bytes;
    serve();
  }
  /// Ends its sending, and reads on.
  void endSending() {
    hasEnded = true;
    serve();
  }
  /// Closes its end altogether, which the server hears of as the end of the bytes.
  void go() {
    isGone = true;
    endSending();
  }
  /// What it reads from now on stays in the server's hands, until it reads again.
  void stopReading() { reads_ = false; }
  void readAgain() {
    reads_ = true;
    serve();
  }
  /// Takes what has been received so far.
  [[nodiscard]] std::string take() { return std::exchange(received, {}); }

  std::string sent;
  std::string received;
  bool hasEnded = false;
  bool isGone = false;
  bool serverEnded = false;
  bool isClosed = false;  ///< by the server
  std::size_t taken = 0;  ///< bytes that the server has read

 private:
  friend class FakeStream;

  void serve() {
    if (isClosed) return;
    if (read_ && (!sent.empty() || hasEnded)) {
      runner_->post([read = std::move(*std::exchange(read_, std::nullopt)),
                     bytes = std::exchange(sent, {}), this]() mutable {
        if (isClosed) return;
        taken += bytes.size();
        read(std::string_view(bytes));
      });
    }
    if (write_ && reads_) {
      received += std::exchange(writing_, {});
      runner_->post([write = std::move(*std::exchange(write_, std::nullopt)), this]() mutable {
        if (!isClosed) write({});
      });
    }
  }

  std::shared_ptr<TaskRunner> runner_;
  bool reads_ = true;
  std::optional<LoopbackStream::Received> read_;
  std::optional<LoopbackStream::Sent> write_;
  std::string writing_;
};

class FakeStream final : public LoopbackStream {
 public:
  explicit FakeStream(std::shared_ptr<FakePeer> peer) : peer_(std::move(peer)) {}
  ~FakeStream() override { peer_->isClosed = true; }
  FakeStream(const FakeStream&) = delete;
  FakeStream& operator=(const FakeStream&) = delete;

  void read(Received received) override {
    peer_->read_ = std::move(received);
    peer_->serve();
  }
  void write(std::string_view first, std::string_view second, Sent sent) override {
    peer_->writing_ = std::string(first) + std::string(second);
    peer_->write_ = std::move(sent);
    peer_->serve();
  }
  void endSending() override { peer_->serverEnded = true; }
  [[nodiscard]] bool isPeerGone() const override { return peer_->isGone; }
  [[nodiscard]] std::string peer() const override { return "127.0.0.1:40000"; }

 private:
  std::shared_ptr<FakePeer> peer_;
};

/// Ports that programs listen on, without a network. Peers live as long as their runner runs.
class FakeLoopback {
 public:
  explicit FakeLoopback(std::shared_ptr<TaskRunner> runner) : runner_(std::move(runner)) {}

  std::optional<Failure> refusal;  ///< of the next who listens
  std::uint16_t port = 0;          ///< listened on; 0 for none
  int listened = 0;                ///< how often

  [[nodiscard]] std::unique_ptr<LoopbackListener> makeListener() {
    return std::make_unique<Listener>(*this);
  }

  [[nodiscard]] std::shared_ptr<FakePeer> connect() {
    auto peer = std::make_shared<FakePeer>(runner_);
    peers_.push_back(peer);
    runner_->post([this, peer] {
      if (port != 0) callbacks_.accepted(std::make_unique<FakeStream>(peer));
    });
    return peer;
  }

  void breakDown(Failure failure) { callbacks_.ended(std::move(failure)); }

 private:
  class Listener final : public LoopbackListener {
   public:
    explicit Listener(FakeLoopback& loopback) : loopback_(&loopback) {}
    ~Listener() override { loopback_->port = 0; }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    Result<std::uint16_t> listen(std::uint16_t wanted, Callbacks callbacks) override {
      if (loopback_->refusal) return std::unexpected(*loopback_->refusal);
      ++loopback_->listened;
      loopback_->port = wanted;
      loopback_->callbacks_ = std::move(callbacks);
      return wanted;
    }

   private:
    FakeLoopback* loopback_;
  };

  std::shared_ptr<TaskRunner> runner_;
  LoopbackListener::Callbacks callbacks_;
  std::vector<std::shared_ptr<FakePeer>> peers_;
};

}  // namespace vantorel
