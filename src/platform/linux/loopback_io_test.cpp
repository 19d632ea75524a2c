#include "platform/linux/loopback_io.hpp"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>

#include <future>
#include <vector>

#include "agent/mcp_dispatcher.hpp"
#include "agent/mcp_server.hpp"
#include "agent/mcp_token_store.hpp"
#include "platform/linux/linux_clock.hpp"
#include "platform/linux/loopback_sockets.hpp"
#include "platform/linux/posix_call.hpp"
#include "platform/linux/serial_queues.hpp"
#include "platform/testing/fake_secret_store.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr std::size_t hugeAnswer = 12'000'000;

/// A client's own socket.
class Client {
 public:
  explicit Client(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    isConnected_ =
        ::connect(socket_.number(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  }
  [[nodiscard]] bool isConnected() const { return isConnected_; }
  void send(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(socket_.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
  }
  void endSending() const { ::shutdown(socket_.number(), SHUT_WR); }

  /// Reads until what came ends with `end`, or the server has closed.
  [[nodiscard]] std::string receive(std::string_view end) const {
    std::string received;
    std::array<char, 65536> buffer{};
    while (!received.ends_with(end) || end.empty()) {
      const ssize_t size = ::recv(socket_.number(), buffer.data(), buffer.size(), 0);
      if (size <= 0) break;
      received.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return received;
  }

 private:
  FileDescriptor socket_;
  bool isConnected_ = false;
};

/// "big" answers 12 MB, "wait" when it is withdrawn.
class SocketCatalog final : public MCPToolCatalog {
 public:
  std::promise<void> hasBegun;
  std::promise<void> wasWithdrawn;

  [[nodiscard]] JSONValue tools() const override { return {JSONValue::Array{}}; }
  [[nodiscard]] std::optional<Tool> find(std::string_view /*name*/) const override {
    return Tool{};
  }
  void call(MCPToolCall call, Called called) override {
    if (call.arguments.tool == "big") {
      MCPToolResult result;
      result.content.push_back(MCPContent::text(std::string(hugeAnswer, 'x')));
      return called(std::move(result));
    }
    waiting_ = std::move(called);
    withdrawal_ = std::make_unique<std::stop_callback<std::function<void()>>>(
        call.withdrawn, [this] { wasWithdrawn.set_value(); });
    hasBegun.set_value();
  }

 private:
  Called waiting_;
  std::unique_ptr<std::stop_callback<std::function<void()>>> withdrawal_;
};

class LoopbackServerTest : public ::testing::Test {
 protected:
  LoopbackServerTest() {
    onServer([this] {
      server_ = std::make_unique<MCPServer>(MCPServer::Services{
          .runner = io_.runner(),
          .clock = clock_,
          .makeListener = [this] { return io_.makeListener(); },
          .tokens = std::make_shared<MCPTokenStore>(
              std::make_shared<FakeSecretStore>(), std::make_shared<FakeSecretStore>(),
              []() -> Result<std::string, int> { return std::string(43, 't'); }),
          .tokenRunner = queues_.queue("tokens"),
          .handlerFactory =
              [this](MCPSessions& sessions) {
                return std::make_unique<MCPDispatcher>(sessions, catalog, "1");
              }});
    });
    // A free port that nobody has: the server takes none below 1024, so 0 is asked of the system.
    std::promise<std::uint16_t> found;
    onServer([&] {
      auto probe = io_.makeListener();
      found.set_value(probe->listen(0, {}).value());
    });
    port = found.get_future().get();
    std::promise<bool> started;
    io_.runner()->post([&] {
      server_->start(port, [&](const auto& result) { started.set_value(result.has_value()); });
    });
    isRunning = started.get_future().get();
  }
  ~LoopbackServerTest() override {
    onServer([this] { server_.reset(); });
  }

  void onServer(Task task) {
    std::promise<void> done;
    io_.runner()->post([&] {
      task();
      done.set_value();
    });
    done.get_future().get();
  }
  [[nodiscard]] std::string request(std::string_view body) const {
    return fmt::format(
        "POST /mcp HTTP/1.1\r\nHost: 127.0.0.1:{}\r\nAuthorization: Bearer {}\r\n"
        "Content-Length: {}\r\n\r\n{}",
        port, std::string(43, 't'), body.size(), body);
  }
  [[nodiscard]] std::string toolCall(std::string_view tool) const {
    return request(fmt::format(
        R"({{"jsonrpc":"2.0","id":1,"method":"tools/call","params":{{"name":"{}"}}}})", tool));
  }

  QuietLog quiet;
  std::shared_ptr<SocketCatalog> catalog = std::make_shared<SocketCatalog>();
  std::uint16_t port = 0;
  bool isRunning = false;
  const std::string ping = R"({"jsonrpc":"2.0","id":1,"method":"ping"})";
  const std::string pong = R"({"jsonrpc":"2.0","id":1,"result":{}})";

 private:
  LinuxClock clock_;
  SerialQueues queues_{1};
  LoopbackIO io_;
  std::unique_ptr<MCPServer> server_;
};

TEST_F(LoopbackServerTest, ServesManyOverRealSockets) {
  ASSERT_TRUE(isRunning);
  std::vector<std::unique_ptr<Client>> clients;
  for (int i = 0; i < 100; ++i) clients.push_back(std::make_unique<Client>(port));
  for (int round = 0; round < 3; ++round) {
    for (const auto& client : clients) client->send(request(ping) + request(ping).substr(0, 50));
    for (const auto& client : clients) EXPECT_THAT(client->receive(pong), EndsWith(pong));
    for (const auto& client : clients) client->send(request(ping).substr(50));
    for (const auto& client : clients) EXPECT_THAT(client->receive(pong), EndsWith(pong));
  }

  // One who does not read does not hold the others, and gets all of it in the end.
  const Client slow(port);
  slow.send(toolCall("big"));
  const Client halfClosed(port);
  halfClosed.send(request(ping));
  halfClosed.endSending();
  EXPECT_THAT(halfClosed.receive(""), EndsWith(pong));
  clients[0]->send(request(ping));
  EXPECT_THAT(clients[0]->receive(pong), EndsWith(pong));
  EXPECT_GT(slow.receive("\"isError\":false}}").size(), hugeAnswer);
}

TEST_F(LoopbackServerTest, ARefusalArrivesThoughItsBodyWasSent) {
  ASSERT_TRUE(isRunning);
  for (int i = 0; i < 20; ++i) {
    const Client client(port);
    client.send("POST /mcp HTTP/1.1\r\nContent-Length: 2000000\r\n\r\n" +
                std::string(2'000'000, 'x'));
    client.endSending();
    EXPECT_THAT(client.receive(""), StartsWith("HTTP/1.1 413"));
  }
}

TEST_F(LoopbackServerTest, OneWhoClosesWithdrawsAndOneWhoEndsSendingDoesNot) {
  ASSERT_TRUE(isRunning);
  auto client = std::make_unique<Client>(port);
  client->send(toolCall("wait"));
  catalog->hasBegun.get_future().get();
  auto withdrawn = catalog->wasWithdrawn.get_future();
  client->endSending();
  EXPECT_EQ(withdrawn.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
  const Client other(port);
  other.send(request(ping));
  EXPECT_THAT(other.receive(pong), HasSubstr(pong));  // the end of sending was heard before
  EXPECT_EQ(withdrawn.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
  client.reset();
  withdrawn.get();
}

TEST_F(LoopbackServerTest, APortHasOneListenerAndItIsOnLoopbackAlone) {
  ASSERT_TRUE(isRunning);
  const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);  // 127.0.0.2
  EXPECT_EQ(::connect(socket.number(), reinterpret_cast<sockaddr*>(&address), sizeof address), -1);
  LoopbackIO another;
  std::promise<Result<std::uint16_t>> answer;
  another.runner()->post([&] { answer.set_value(another.makeListener()->listen(port, {})); });
  EXPECT_EQ(answer.get_future().get().error().kind, FailureKind::exists);
}

TEST(LoopbackSocketsTest, AClosedSocketIsNobodys) {
  constexpr std::string_view table =
      "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout "
      "inode\n"
      "   0: 0100007F:1F90 0100007F:C350 01 00000000:00000000 00:00000000 00000000  1000        0 "
      "77 1 0\n"
      "   1: 0100007F:C351 0100007F:1F90 05 00000000:00000000 03:00001766 00000000     0        0 "
      "0 "
      "3 0\n"
      "   0: 0000000000000000FFFF00000100007F:C353 0000000000000000FFFF00000100007F:1F90 01 "
      "00000000:00000000 00:00000000 00000000  1000        0 78 1 0\n";
  EXPECT_TRUE(isHeld(table, 0xC353, 0x1F90));
  EXPECT_TRUE(isHeld(table, 0x1F90, 0xC350));
  EXPECT_FALSE(isHeld(table, 0xC351, 0x1F90));
  EXPECT_FALSE(isHeld(table, 0xC352, 0x1F90));
}

}  // namespace
}  // namespace vantorel
