#include "agent/mcp_server.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <deque>

#include "agent/mcp_token_store.hpp"
#include "platform/testing/fake_loopback.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_secret_store.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// Echoes what it is asked, or keeps a request that says "wait" until the test answers it.
class EchoHandler final : public MCPRequestHandler {
 public:
  struct Kept {
    MCPExchange exchange;
    MCPReplied replied;
  };
  struct Seen {
    std::deque<Kept> kept;
    std::vector<std::string> bodies;
    MCPSessions* sessions = nullptr;
  };
  explicit EchoHandler(Seen& seen) : seen_(&seen) {}

  void handle(MCPExchange exchange, MCPReplied replied) override {
    seen_->bodies.push_back(exchange.body);
    if (exchange.body == "nothing") return replied({MCPReply::Body{}});
    if (exchange.body == "unknown") return replied({MCPReply::UnknownSession{}});
    if (exchange.body.starts_with("wait")) {
      seen_->kept.push_back({std::move(exchange), std::move(replied)});
    } else if (exchange.body.starts_with("hello ")) {
      const auto session = seen_->sessions->mint({.name = exchange.body.substr(6)});
      replied({MCPReply::Body{.bytes = "hi", .sessionID = session->id()}});
    } else {
      replied({MCPReply::Body{.bytes = "<" + exchange.body + ">", .sessionID = {}}});
    }
  }

 private:
  Seen* seen_;
};

class MCPServerTest : public ::testing::Test {
 protected:
  MCPServerTest() {
    server->connectionsChanged = [this](const auto& now) { clients = now; };
    server->unexpectedStop = [this](const std::string& reason) { stopped = reason; };
  }

  ~MCPServerTest() override {
    on([this] { server.reset(); });
  }

  [[nodiscard]] MCPServer::Services services() {
    MCPServer::Services made{
        .runner = runners.runner("mcp"),
        .clock = runners,
        .makeListener = [this] { return loopback.makeListener(); },
        .tokens = std::make_shared<MCPTokenStore>(
            secrets, std::make_shared<FakeSecretStore>(),
            [this]() -> Result<std::string, int> { return std::string(42, 'a') + ++lastLetter; }),
        .tokenRunner = runners.runner("tokens"),
        .handlerFactory = [this](MCPSessions& sessions) -> std::unique_ptr<MCPRequestHandler> {
          seen.sessions = &sessions;
          if (!hasHandler) return nullptr;
          return std::make_unique<EchoHandler>(seen);
        }};
    made.limits.maximumConnections = 3;
    made.limits.maximumRefusals = 1;
    return made;
  }

  void on(Task task) {
    runners.runner("mcp")->post(std::move(task));
    runners.run();
  }
  std::string start(int port) {
    std::string answer = "none";
    on([&] {
      server->start(port, [&](Result<std::uint16_t, MCPServer::Failure> result) {
        answer = result ? fmt::format("running on {}", *result)
                        : fmt::format("failure {}", result.error().cause.index());
      });
    });
    runners.run();
    return answer;
  }
  std::shared_ptr<FakePeer> connect() {
    auto peer = loopback.connect();
    runners.run();
    return peer;
  }
  std::string ask(FakePeer& peer, const std::string& bytes) {
    peer.send(bytes);
    runners.run();
    return peer.take();
  }
  /// A request that is let in.
  [[nodiscard]] std::string request(std::string_view body, std::string_view headers = "") const {
    return fmt::format(
        "POST /mcp HTTP/1.1\r\nHost: localhost:9000\r\nAuthorization: Bearer {}\r\n{}"
        "Content-Length: {}\r\n\r\n{}",
        std::string(42, 'a') + lastLetter, headers, body.size(), body);
  }
  void answer(std::string bytes) {
    on([this, bytes = std::move(bytes)]() mutable {
      auto kept = std::move(seen.kept.front());
      seen.kept.pop_front();
      kept.replied({MCPReply::Body{.bytes = std::move(bytes), .sessionID = {}}});
    });
  }

  QuietLog quiet;
  FakeRunners runners;
  FakeLoopback loopback{runners.runner("mcp")};
  std::shared_ptr<FakeSecretStore> secrets = std::make_shared<FakeSecretStore>();
  char lastLetter = 'a';
  bool hasHandler = true;
  EchoHandler::Seen seen;
  std::vector<std::string> clients;
  std::string stopped;
  std::unique_ptr<MCPServer> server = std::make_unique<MCPServer>(services());
};

TEST_F(MCPServerTest, StartsOrSaysWhyNot) {
  EXPECT_EQ(start(1023), "failure 1");
  EXPECT_EQ(start(65536), "failure 1");
  EXPECT_EQ(loopback.listened, 0);
  loopback.refusal = Failure{FailureKind::exists, "address in use"};
  EXPECT_EQ(start(9000), "failure 0");
  loopback.refusal = Failure{FailureKind::denied, "no"};
  EXPECT_EQ(start(9000), "failure 2");
  loopback.refusal.reset();
  hasHandler = false;
  EXPECT_EQ(start(9000), "failure 4");
  hasHandler = true;
  EXPECT_EQ(start(9000), "running on 9000");
  on([&] { loopback.breakDown({FailureKind::other, "the interface went"}); });
  EXPECT_EQ(stopped, "the system refused the port");
  EXPECT_EQ(loopback.port, 0);
}

TEST_F(MCPServerTest, AnswersOneAfterTheOtherHoweverTheBytesCome) {
  ASSERT_EQ(start(9000), "running on 9000");
  const auto peer = connect();
  EXPECT_THAT(ask(*peer, request("one")), EndsWith("Connection: keep-alive\r\n\r\n<one>"));
  std::string received;
  for (const char byte : request("byte by byte")) received += ask(*peer, std::string(1, byte));
  EXPECT_THAT(received, EndsWith("<byte by byte>"));
  EXPECT_THAT(ask(*peer, request("nothing")), HasSubstr("202 Accepted\r\nContent-Length: 0\r\n"));

  // While the first is worked on the others wait.
  EXPECT_EQ(ask(*peer, request("wait") + request("two") + request("three").substr(0, 30)), "");
  answer("done");
  received = peer->take();
  EXPECT_THAT(received, HasSubstr("\r\n\r\ndone"));
  EXPECT_THAT(received, EndsWith("<two>"));
  EXPECT_THAT(ask(*peer, request("three").substr(30)), EndsWith("<three>"));
  EXPECT_THAT(ask(*peer, request("last", "Connection: close\r\n") + request("never")),
              EndsWith("Connection: close\r\n\r\n<last>"));
  EXPECT_TRUE(peer->serverEnded);
  EXPECT_EQ(seen.bodies.back(), "last");
}

TEST_F(MCPServerTest, ABodyIsWaitedForAndAskedForOnce) {
  ASSERT_EQ(start(9000), "running on 9000");
  const auto peer = connect();
  const std::string text = request("abcdef", "Expect: 100-continue\r\n");
  EXPECT_EQ(ask(*peer, text.substr(0, text.size() - 6)), "HTTP/1.1 100 Continue\r\n\r\n");
  EXPECT_EQ(ask(*peer, "ab"), "");
  EXPECT_THAT(ask(*peer, "cdef"), EndsWith("<abcdef>"));
  EXPECT_THAT(ask(*peer, text), StartsWith("HTTP/1.1 200 OK"));  // its body came along
  const std::string large(RequestHead::maximumBody, 'x');
  EXPECT_THAT(ask(*peer, request(large)), SizeIs(testing::Gt(large.size())));
}

TEST_F(MCPServerTest, ARefusalIsReadBeforeTheConnectionCloses) {
  ASSERT_EQ(start(9000), "running on 9000");
  auto peer = connect();
  EXPECT_THAT(ask(*peer, request("x", "Origin: https://evil.example\r\n")),
              StartsWith("HTTP/1.1 403"));
  EXPECT_THAT(seen.bodies, IsEmpty());
  EXPECT_TRUE(peer->serverEnded);
  EXPECT_FALSE(peer->isClosed);
  EXPECT_EQ(ask(*peer, request("behind it")), "");
  peer->endSending();
  runners.run();
  EXPECT_TRUE(peer->isClosed);

  // One who never ends is not waited for, nor one who sends without end.
  peer = connect();
  EXPECT_THAT(ask(*peer, "nonsense\r\n\r\n"), StartsWith("HTTP/1.1 400"));
  runners.advance(3s);
  EXPECT_TRUE(peer->isClosed);
  peer = connect();
  EXPECT_THAT(ask(*peer, "POST /mcp HTTP/1.1\r\nContent-Length: 1048577\r\n\r\n"),
              StartsWith("HTTP/1.1 413"));
  for (int i = 0; i < 9; ++i) (void)ask(*peer, std::string(1'000'000, 'x'));
  EXPECT_TRUE(peer->isClosed);
  peer = connect();
  EXPECT_THAT(ask(*peer, request("unknown")), HasSubstr("This MCP session has ended"));
}

TEST_F(MCPServerTest, WhoHasEndedSendingIsAnsweredAndWhoHasGoneWithdraws) {
  ASSERT_EQ(start(9000), "running on 9000");
  auto peer = connect();
  peer->send(request("wait") + request("two") + "POST /m");
  peer->endSending();
  runners.advance(5s);
  EXPECT_FALSE(seen.kept.front().exchange.withdrawal.stop_requested());
  answer("done");
  EXPECT_THAT(peer->take(), EndsWith("<two>"));
  EXPECT_TRUE(peer->isClosed);

  peer = connect();
  peer->send(request("wait"));
  runners.run();
  peer->go();
  runners.run();
  EXPECT_TRUE(seen.kept.front().exchange.withdrawal.stop_requested());
  EXPECT_TRUE(peer->isClosed);
  answer("too late");

  // Of one who goes after it ended its sending nothing is heard: it is asked for.
  peer = connect();
  peer->send(request("wait"));
  peer->endSending();
  runners.run();
  peer->isGone = true;
  runners.advance(1s);
  EXPECT_TRUE(seen.kept.front().exchange.withdrawal.stop_requested());
}

TEST_F(MCPServerTest, SlowPeersAreBoundedAndHoldNobodyElse) {
  ASSERT_EQ(start(9000), "running on 9000");
  const auto reader = connect();
  const auto sender = connect();
  const auto idle = connect();
  reader->stopReading();
  reader->send(request(std::string(600'000, 'r')));
  runners.run();
  EXPECT_THAT(ask(*idle, request("quick")), EndsWith("<quick>"));
  runners.advance(20s);
  reader->readAgain();  // the rest of its answer
  reader->stopReading();
  for (int i = 0; i < 8; ++i) {
    sender->send("P");
    runners.advance(3s);
  }
  EXPECT_FALSE(reader->isClosed);
  runners.advance(7s);
  EXPECT_TRUE(reader->isClosed);
  EXPECT_TRUE(sender->isClosed);  // however steadily its bytes come
  EXPECT_FALSE(idle->isClosed);
  runners.advance(120s);
  EXPECT_THAT(ask(*idle, request("still")), EndsWith("<still>"));
  runners.advance(301s);
  EXPECT_TRUE(idle->isClosed);
  EXPECT_TRUE(runners.isIdle());
}

TEST_F(MCPServerTest, BytesBehindACallUnderWayAreBounded) {
  ASSERT_EQ(start(9000), "running on 9000");
  const auto peer = connect();
  (void)ask(*peer, request("wait"));
  const std::size_t before = peer->taken;
  for (int i = 0; i < 100; ++i) (void)ask(*peer, std::string(8192, 'x'));
  EXPECT_LT(peer->taken - before, 80'000U);
  answer("done");
  EXPECT_THAT(peer->take(), HasSubstr("HTTP/1.1 431"));
}

TEST_F(MCPServerTest, BeyondTheCeilingAClientIsToldSo) {
  ASSERT_EQ(start(9000), "running on 9000");
  std::vector<std::shared_ptr<FakePeer>> peers;
  for (int i = 0; i < 5; ++i) peers.push_back(connect());
  EXPECT_THAT(peers[3]->take(), StartsWith("HTTP/1.1 503"));
  EXPECT_TRUE(peers[4]->isClosed);
  EXPECT_THAT(ask(*peers[2], request("x")), EndsWith("<x>"));
  peers[0]->go();
  runners.advance(3s);
  EXPECT_THAT(ask(*connect(), request("room again")), EndsWith("<room again>"));
}

TEST_F(MCPServerTest, TellsWhoIsConnected) {
  ASSERT_EQ(start(9000), "running on 9000");
  const auto first = connect();
  const auto second = connect();
  const std::string hi = ask(*first, request("hello Inspector"));
  EXPECT_THAT(clients, ElementsAre("Inspector"));
  const std::string id = hi.substr(hi.find("Mcp-Session-Id: ") + 16, 36);
  (void)ask(*second, request("x", "Mcp-Session-Id: " + id + "\r\n"));
  first->go();
  runners.run();
  EXPECT_THAT(clients, ElementsAre("Inspector"));
  (void)ask(*second, request("hello Other"));
  EXPECT_THAT(clients, ElementsAre("Other"));
  second->go();
  runners.run();
  EXPECT_THAT(clients, IsEmpty());
}

TEST_F(MCPServerTest, ANewTokenWithdrawsCallsAndAStopClosesConnections) {
  ASSERT_EQ(start(9000), "running on 9000");
  const auto peer = connect();
  (void)ask(*peer, request("hello Client"));
  (void)ask(*peer, request("wait"));
  const std::string old = request("old");
  std::string given;
  on([&] { server->regenerateToken([&](const auto& token) { given = token.value(); }); });
  runners.run();
  EXPECT_EQ(given, secrets->secret);
  EXPECT_TRUE(seen.kept.front().exchange.withdrawal.stop_requested());
  answer("cancelled");
  EXPECT_THAT(peer->take(), EndsWith("cancelled"));
  EXPECT_THAT(ask(*peer, request("new")), EndsWith("<new>"));
  EXPECT_THAT(ask(*connect(), old), HasSubstr("Token rotated."));

  (void)ask(*peer, request("wait"));
  on([&] { server->stop("the test ends it"); });
  EXPECT_TRUE(peer->isClosed);
  EXPECT_TRUE(seen.kept.front().exchange.withdrawal.stop_requested());
  EXPECT_THAT(clients, IsEmpty());
  answer("to nobody");
  EXPECT_EQ(start(9000), "running on 9000");
}

}  // namespace
}  // namespace vantorel
