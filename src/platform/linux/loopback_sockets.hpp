#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include <array>
#include <memory>

#include "platform/loopback_listener.hpp"

namespace vantorel {

/// What streams of one thread read into, one after the other.
using SharedReadBuffer = std::shared_ptr<std::array<char, std::size_t{64} * 1024>>;

/// A listener on a TCP socket of 127.0.0.1. Lives on the thread that runs `context`, and goes
/// before it. Sockets are closed in programs that are started.
class SocketListener final : public LoopbackListener {
 public:
  explicit SocketListener(asio::io_context& context);
  ~SocketListener() override;
  SocketListener(const SocketListener&) = delete;
  SocketListener& operator=(const SocketListener&) = delete;

  Result<std::uint16_t> listen(std::uint16_t port, Callbacks callbacks) override;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

/// Whether a row of the kernel's tables of TCP sockets (/proc/net/tcp and tcp6) says that some
/// process holds the one on 127.0.0.1 from `local` to `remote`. A socket that was closed stays in
/// the table for a while, and nobody's.
[[nodiscard]] bool isHeld(std::string_view table, std::uint16_t local, std::uint16_t remote);

}  // namespace vantorel
