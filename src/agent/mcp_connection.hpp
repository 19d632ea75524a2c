#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "agent/mcp_auth.hpp"
#include "agent/mcp_exchange.hpp"
#include "agent/request_head.hpp"
#include "base/lifetime.hpp"
#include "platform/clock.hpp"
#include "platform/loopback_listener.hpp"

namespace vantorel {

/// One client's connection: takes requests apart, has them checked and answered one after the
/// other, and sends the answers. Lives on the server's runner.
///
/// While one is answered the next may arrive and waits, up to `pipelined` bytes of them; whoever
/// sends more is read on when it is their turn. A peer that has ended its sending gets its answers;
/// one that has gone altogether withdraws its call. After a refusal what the peer still sends is
/// read and thrown away for a moment, since closing at once would take the refusal from it.
class MCPConnection {
 public:
  struct Limits {
    std::chrono::nanoseconds idle = std::chrono::seconds(300);    ///< between requests
    std::chrono::nanoseconds request = std::chrono::seconds(30);  ///< from its first byte on
    std::chrono::nanoseconds write = std::chrono::seconds(30);    ///< for each `piece`
    std::chrono::nanoseconds farewell = std::chrono::seconds(2);  ///< after the last answer
    std::size_t piece = std::size_t{256} * 1024;
    std::size_t pipelined = std::size_t{64} * 1024;
    std::size_t farewellBytes = std::size_t{8} * 1024 * 1024;
  };

  struct Callbacks {
    std::function<std::optional<MCPAuth::Rejection>(const RequestHead&)> authorize;
    std::function<void(MCPExchange, MCPReplied)> handle;

    /// Called once, from within the connection, which is to go later.
    std::function<void()> onClose;
  };

  MCPConnection(std::unique_ptr<LoopbackStream> stream, const Clock& clock, Limits limits,
                Callbacks callbacks);
  ~MCPConnection();
  MCPConnection(const MCPConnection&) = delete;
  MCPConnection& operator=(const MCPConnection&) = delete;

  void start();

  /// Answers with a refusal whatever it asks for.
  void refuse(int status, std::string_view reason, std::string_view message);

  /// Closes it when a time has run out or the peer of a call has gone. To be called every second.
  void tick();

  /// Stops the call under way, which is answered all the same.
  void withdraw();

  void close();

  [[nodiscard]] std::string peerDescription() const { return peer_; }

 private:
  enum class Stage { receiving, dispatching, replying, leaving, closed };

  void receive();
  void received(Result<std::string_view> bytes);
  void proceed();
  bool takeHead();
  void takeBody();
  void replied(MCPReply reply);
  void send(std::string head, std::string body, bool keepAlive);
  void sendPiece();
  void sent(const Result<void>& result);
  void leave();
  void wait(Stage stage, std::chrono::nanoseconds most);
  [[nodiscard]] bool mayReceive() const;

  std::unique_ptr<LoopbackStream> stream_;
  const Clock* clock_;
  Limits limits_;
  Callbacks callbacks_;
  std::string peer_;

  Stage stage_ = Stage::receiving;
  std::optional<std::chrono::nanoseconds> deadline_;
  std::string buffer_;
  bool isReceiving_ = false;
  bool hasPeerEnded_ = false;
  bool mayHoldHead_ = false;
  std::size_t discarded_ = 0;

  std::optional<RequestHead> head_;
  bool continueSent_ = false;
  bool keepAlive_ = false;
  std::optional<std::stop_source> call_;

  bool isWriting_ = false;
  std::string replyHead_;
  std::string replyBody_;
  std::size_t written_ = 0;

  Lifetime lifetime_;
};

}  // namespace vantorel
