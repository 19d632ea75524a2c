#include "platform/linux/loopback_sockets.hpp"

#include <asio/buffer.hpp>
#include <asio/steady_timer.hpp>
#include <asio/write.hpp>
#include <fmt/format.h>
#include <malloc.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

#include "base/log.hpp"
#include "platform/linux/posix_call.hpp"

namespace vantorel {
namespace {

using asio::ip::tcp;

constexpr int waitingConnections = 256;
constexpr auto pauseWithoutFiles = std::chrono::milliseconds(100);
constexpr auto pauseBeforeRest = std::chrono::seconds(2);
constexpr std::size_t restlessBytes = std::size_t{1024} * 1024;

Result<void> resultOfTransfer(const asio::error_code& error) {
  if (error) return systemFailure(error.value());
  return {};
}

/// Gives memory that requests and answers have left in pieces back to the system: a moment after a
/// connection closed, when much went through since the last time.
class MemoryRest : public std::enable_shared_from_this<MemoryRest> {
 public:
  explicit MemoryRest(asio::io_context& context) : pause_(context) {}

  void passed(std::size_t bytes) { bytes_ += bytes; }

  void closed() {
    if (bytes_ < restlessBytes || std::exchange(isWaiting_, true)) return;
    (void)pause_.expires_after(pauseBeforeRest);
    pause_.async_wait([rest = shared_from_this()](const asio::error_code& error) {
      rest->isWaiting_ = false;
      if (error) return;
      rest->bytes_ = 0;
      (void)::malloc_trim(0);
    });
  }

 private:
  asio::steady_timer pause_;
  std::size_t bytes_ = 0;
  bool isWaiting_ = false;
};

class SocketStream final : public LoopbackStream {
 public:
  SocketStream(tcp::socket socket, std::uint16_t peerPort, std::uint16_t ownPort,
               SharedReadBuffer buffer, std::shared_ptr<MemoryRest> rest)
      : state_(std::make_shared<State>(std::move(socket), std::move(buffer), std::move(rest))),
        peerPort_(peerPort),
        ownPort_(ownPort) {}
  ~SocketStream() override {
    state_->received = nullptr;
    state_->sent = nullptr;
    asio::error_code ignored;
    (void)state_->socket.close(ignored);
    state_->rest->closed();
  }
  SocketStream(const SocketStream&) = delete;
  SocketStream& operator=(const SocketStream&) = delete;

  void read(Received received) override {
    state_->received = std::move(received);
    waitForBytes(state_);
  }

  void write(std::string_view first, std::string_view second, Sent sent) override {
    state_->sent = std::move(sent);
    const std::array pieces{asio::buffer(first), asio::buffer(second)};
    asio::async_write(state_->socket, pieces,
                      [state = state_](const asio::error_code& error, std::size_t bytes) {
                        state->rest->passed(bytes);
                        if (!state->sent) return;
                        std::exchange(state->sent, nullptr)(resultOfTransfer(error));
                      });
  }

  void endSending() override {
    asio::error_code ignored;
    (void)state_->socket.shutdown(tcp::socket::shutdown_send, ignored);
  }

  [[nodiscard]] bool isPeerGone() const override {
    std::string table;
    for (const char* path : {"/proc/net/tcp", "/proc/net/tcp6"}) {
      std::ifstream file(path);
      table.append(std::istreambuf_iterator<char>(file), {});
    }
    return !table.empty() && !isHeld(table, peerPort_, ownPort_);
  }

  [[nodiscard]] std::string peer() const override { return fmt::format("127.0.0.1:{}", peerPort_); }

 private:
  struct State {
    State(tcp::socket openSocket, SharedReadBuffer shared, std::shared_ptr<MemoryRest> memory)
        : socket(std::move(openSocket)), buffer(std::move(shared)), rest(std::move(memory)) {}

    tcp::socket socket;
    SharedReadBuffer buffer;
    std::shared_ptr<MemoryRest> rest;
    Received received;
    Sent sent;
  };

  static void waitForBytes(const std::shared_ptr<State>& state) {
    state->socket.async_wait(tcp::socket::wait_read, [state](const asio::error_code& error) {
      if (!state->received) return;
      if (error) {
        return std::exchange(state->received, nullptr)(systemFailure(error.value()));
      }
      const ssize_t size = uninterrupted([&] {
        return ::recv(state->socket.native_handle(), state->buffer->data(), state->buffer->size(),
                      MSG_DONTWAIT);
      });
      if (size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return waitForBytes(state);
      Received received = std::exchange(state->received, nullptr);
      if (size < 0) return received(lastSystemFailure());
      state->rest->passed(static_cast<std::size_t>(size));
      // Kept here: the stream may go in the callback.
      const SharedReadBuffer buffer = state->buffer;
      received(std::string_view(buffer->data(), static_cast<std::size_t>(size)));
    });
  }

  std::shared_ptr<State> state_;
  std::uint16_t peerPort_;
  std::uint16_t ownPort_;
};

sockaddr_in loopbackAddress(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

struct SocketListener::State : std::enable_shared_from_this<State> {
  explicit State(asio::io_context& context)
      : acceptor(context), pause(context), rest(std::make_shared<MemoryRest>(context)) {}

  void wait() {
    acceptor.async_wait(tcp::acceptor::wait_read,
                        [state = shared_from_this()](const asio::error_code& error) {
                          if (!state->isListening) return;
                          if (error)
                            return state->callbacks.ended(systemFailure(error.value()).error());
                          state->take();
                        });
  }

  void take() {
    while (isListening) {
      sockaddr_in peer{};
      socklen_t size = sizeof peer;
      const int number = ::accept4(acceptor.native_handle(), reinterpret_cast<sockaddr*>(&peer),
                                   &size, SOCK_CLOEXEC | SOCK_NONBLOCK);
      if (number >= 0) {
        accepted(number, ntohs(peer.sin_port));
        continue;
      }
      switch (errno) {
        case EAGAIN: return wait();
        case EMFILE:
        case ENFILE:
        case ENOBUFS:
        case ENOMEM: return waitForFiles();
        case EBADF:
        case EINVAL:
        case ENOTSOCK: return callbacks.ended(lastSystemFailure().error());
        default: break;  // that connection's own trouble
      }
    }
  }

  void accepted(int number, std::uint16_t peerPort) {
    const int yes = 1;
    (void)::setsockopt(number, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    asio::error_code error;
    tcp::socket socket(acceptor.get_executor());
    (void)socket.assign(tcp::v4(), number, error);
    if (error) {
      ::close(number);
      return;
    }
    callbacks.accepted(
        std::make_unique<SocketStream>(std::move(socket), peerPort, port, buffer, rest));
  }

  void waitForFiles() {
    if (!std::exchange(hasLoggedNoFiles, true)) {
      logWarning("mcp", "The MCP server can't open more connections: {}",
                 lastSystemFailure().error().reason);
    }
    (void)pause.expires_after(pauseWithoutFiles);
    pause.async_wait([state = shared_from_this()](const asio::error_code& error) {
      if (!error && state->isListening) state->take();
    });
  }

  tcp::acceptor acceptor;
  asio::steady_timer pause;
  std::shared_ptr<MemoryRest> rest;
  Callbacks callbacks;
  SharedReadBuffer buffer = std::make_shared<SharedReadBuffer::element_type>();
  std::uint16_t port = 0;
  bool isListening = false;
  bool hasLoggedNoFiles = false;
};

SocketListener::SocketListener(asio::io_context& context)
    : state_(std::make_shared<State>(context)) {}

SocketListener::~SocketListener() {
  state_->isListening = false;
  asio::error_code ignored;
  (void)state_->acceptor.close(ignored);
  (void)state_->pause.cancel();
}

Result<std::uint16_t> SocketListener::listen(std::uint16_t port, Callbacks callbacks) {
  FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.isOpen()) return lastSystemFailure();
  const int yes = 1;
  VT_TRY(resultOf(::setsockopt(socket.number(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes)));
  sockaddr_in address = loopbackAddress(port);
  socklen_t size = sizeof address;
  auto* const general = reinterpret_cast<sockaddr*>(&address);
  if (::bind(socket.number(), general, size) == -1 ||
      ::listen(socket.number(), waitingConnections) == -1) {
    if (errno == EADDRINUSE) return failed(FailureKind::exists, "the port is in use");
    return lastSystemFailure();
  }
  VT_TRY(resultOf(::getsockname(socket.number(), general, &size)));
  asio::error_code error;
  (void)state_->acceptor.assign(tcp::v4(), socket.number(), error);
  if (error) return systemFailure(error.value());
  (void)socket.release();
  state_->callbacks = std::move(callbacks);
  state_->port = ntohs(address.sin_port);
  state_->isListening = true;
  state_->wait();
  return state_->port;
}

bool isHeld(std::string_view table, std::uint16_t local, std::uint16_t remote) {
  // "  0: 0100007F:1F90 0100007F:C350 01 tx:rx timer:when retries uid timeout inode ...", in the
  // table of IPv6 with the same address behind a prefix.
  for (const std::string_view prefix : {"", "0000000000000000FFFF0000"}) {
    const std::string ends = fmt::format(" {0}{1:08X}:{2:04X} {0}{1:08X}:{3:04X} ", prefix,
                                         htonl(INADDR_LOOPBACK), local, remote);
    const std::size_t at = table.find(ends);
    if (at == std::string_view::npos) continue;
    const std::string_view rest = table.substr(at + ends.size());
    std::istringstream row{std::string(rest.substr(0, rest.find('\n')))};
    std::string field;
    for (int skipped = 0; skipped < 6; ++skipped) row >> field;
    unsigned long inode = 0;
    row >> inode;
    return inode != 0;
  }
  return false;
}

}  // namespace vantorel
