// The two ends of bench/agent_ping.sh: "serve" answers pings as the program does, and says its port
// and token; "load PORT CONNECTIONS SECONDS TOKEN" asks whoever listens there, and says how many
// answers a second came over so many connections that are kept.
#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "agent/mcp_dispatcher.hpp"
#include "agent/mcp_server.hpp"
#include "agent/mcp_token_store.hpp"
#include "platform/linux/file_descriptor.hpp"
#include "platform/linux/linux_clock.hpp"
#include "platform/linux/loopback_io.hpp"
#include "platform/linux/serial_queues.hpp"

namespace {

using namespace vantorel;

class NoTools final : public MCPToolCatalog {
 public:
  [[nodiscard]] JSONValue tools() const override { return {JSONValue::Array{}}; }
  [[nodiscard]] std::optional<Tool> find(std::string_view /*name*/) const override {
    return std::nullopt;
  }
  void call(MCPToolCall /*call*/, Called called) override {
    called(std::unexpected(MCPFailure{MCPErrorCode::methodNotFound, "There are no tools."}));
  }
};

class NoStore final : public SecretStore {
 public:
  Result<std::optional<std::string>> read() override { return std::optional<std::string>{}; }
  Result<void> write(std::string_view /*secret*/) override { return {}; }
  Result<void> remove() override { return {}; }
};

int serve() {
  const LinuxClock clock;
  SerialQueues queues(1);
  LoopbackIO io;
  const auto tokens = std::make_shared<MCPTokenStore>(std::make_shared<NoStore>(),
                                                      std::make_shared<NoStore>(), randomToken);
  auto server = std::make_unique<MCPServer>(MCPServer::Services{
      .runner = io.runner(),
      .clock = clock,
      .makeListener = [&] { return io.makeListener(); },
      .tokens = tokens,
      .tokenRunner = queues.queue("tokens"),
      .handlerFactory =
          [](MCPSessions& sessions) {
            return std::make_unique<MCPDispatcher>(sessions, std::make_shared<NoTools>(), "bench");
          }});
  std::promise<int> started;
  io.runner()->post([&] {
    const auto probe = io.makeListener()->listen(0, {});
    server->start(probe.value_or(0),
                  [&](const auto& port) { started.set_value(port.value_or(0)); });
  });
  const int port = started.get_future().get();
  std::promise<std::string> token;
  queues.queue("tokens")->post([&] { token.set_value(tokens->token().value_or("")); });
  fmt::print("{} {}\n", port, token.get_future().get());
  std::fflush(stdout);
  while (std::getchar() != EOF) {
  }
  std::promise<void> gone;
  io.runner()->post([&] {
    server.reset();
    gone.set_value();
  });
  gone.get_future().get();
  return port == 0 ? 1 : 0;
}

FileDescriptor connected(std::uint16_t port) {
  FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int yes = 1;
  (void)::setsockopt(socket.number(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
  if (::connect(socket.number(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    return {};
  }
  return socket;
}

int load(int port, int connections, double seconds, std::string_view token) {
  constexpr std::string_view body = R"({"jsonrpc":"2.0","id":1,"method":"ping"})";
  constexpr std::string_view answer = R"({"jsonrpc":"2.0","id":1,"result":{}})";
  const std::string request = fmt::format(
      "POST /mcp HTTP/1.1\r\nHost: 127.0.0.1:{}\r\nAuthorization: Bearer {}\r\nAccept: "
      "application/json, text/event-stream\r\nContent-Type: application/json\r\n"
      "Content-Length: {}\r\n\r\n{}",
      port, token, body.size(), body);
  std::vector<FileDescriptor> sockets;
  std::vector<pollfd> polled;
  std::vector<std::string> received(static_cast<std::size_t>(connections));
  const auto ask = [&](const FileDescriptor& socket) {
    return ::send(socket.number(), request.data(), request.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(request.size());
  };
  for (int i = 0; i < connections; ++i) {
    sockets.push_back(connected(static_cast<std::uint16_t>(port)));
    if (!sockets.back().isOpen() || !ask(sockets.back())) return 1;
    polled.push_back({.fd = sockets.back().number(), .events = POLLIN, .revents = 0});
  }
  std::array<char, 4096> buffer{};
  long answers = 0;
  const auto start = std::chrono::steady_clock::now();
  const auto elapsed = [&] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  while (elapsed() < seconds) {
    if (::poll(polled.data(), polled.size(), 1000) <= 0) return 1;
    for (std::size_t i = 0; i < polled.size(); ++i) {
      if (polled[i].revents == 0) continue;
      const ssize_t size = ::recv(polled[i].fd, buffer.data(), buffer.size(), 0);
      if (size <= 0) return 1;
      received[i].append(buffer.data(), static_cast<std::size_t>(size));
      if (!received[i].ends_with(answer)) continue;
      if (!received[i].starts_with("HTTP/1.1 200")) return 1;
      received[i].clear();
      ++answers;
      if (!ask(sockets[i])) return 1;
    }
  }
  fmt::print("{:.0f}\n", static_cast<double>(answers) / elapsed());
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const std::vector<std::string> given(arguments + 1, arguments + count);
  if (given.size() == 1 && given[0] == "serve") return serve();
  if (given.size() == 5 && given[0] == "load") {
    return load(std::atoi(given[1].c_str()), std::atoi(given[2].c_str()),
                std::atof(given[3].c_str()), given[4]);
  }
  return 2;
}
