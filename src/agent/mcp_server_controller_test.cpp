#include "agent/mcp_server_controller.hpp"

#include <gmock/gmock.h>

#include "platform/testing/fake_loopback.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_secret_store.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class SilentHandler final : public MCPRequestHandler {
 public:
  void handle(MCPExchange /*exchange*/, MCPReplied replied) override {
    replied({MCPReply::Body{}});
  }
};

struct MCPServerControllerTest : ::testing::Test {
  QuietLog quiet;
  FakeRunners runners;
  FakeLoopback loopback{runners.runner("mcp")};
  std::shared_ptr<FakeSecretStore> secrets = std::make_shared<FakeSecretStore>();
  std::shared_ptr<FakeSecretStore> file = std::make_shared<FakeSecretStore>();
  std::vector<std::string> statuses;
  std::unique_ptr<MCPServerController> controller = std::make_unique<MCPServerController>(
      runners.main(),
      MCPServer::Services{
          .runner = runners.runner("mcp"),
          .clock = runners,
          .makeListener = [this] { return loopback.makeListener(); },
          .tokens = std::make_shared<MCPTokenStore>(secrets, file, randomToken),
          .tokenRunner = runners.runner("tokens"),
          .handlerFactory = [](MCPSessions&) { return std::make_unique<SilentHandler>(); }});
  Observation observation =
      controller->changes.add([this] { statuses.push_back(controller->statusText()); });

  ~MCPServerControllerTest() override {
    controller.reset();
    runners.run();
  }
  void apply(bool isOn, int port) {
    controller->apply({.serverEnabled = isOn, .port = port});
    runners.run();
  }
};

TEST_F(MCPServerControllerTest, FollowsTheSettingsAndNothingElse) {
  EXPECT_EQ(controller->statusText(), "Stopped");
  apply(true, 9000);
  apply(true, 9000);
  EXPECT_EQ(loopback.listened, 1);
  EXPECT_THAT(statuses, ElementsAre("Starting", "Running on 127.0.0.1:9000"));
  EXPECT_EQ(controller->tokenPlace(), MCPTokenStore::Place::secretService);
  apply(true, 9001);
  EXPECT_EQ(controller->state(), MCPServerController::State(MCPServerController::Running{9001}));
  apply(false, 9001);
  EXPECT_EQ(loopback.port, 0);
  apply(false, 9002);
  apply(true, 80);
  EXPECT_EQ(controller->statusText(),
            "Port 80 is not a port Vantorel can listen on. Choose a port between 1024 and 65535.");
  loopback.refusal = Failure{FailureKind::exists, "in use"};
  apply(true, 9003);
  EXPECT_THAT(controller->statusText(), StartsWith("Port 9003 is already in use."));
  loopback.refusal.reset();
  apply(true, 9003);  // tried again
  EXPECT_EQ(controller->statusText(), "Running on 127.0.0.1:9003");
  runners.runner("mcp")->post([this] { loopback.breakDown({FailureKind::other, "gone"}); });
  runners.run();
  EXPECT_EQ(controller->statusText(),
            "Vantorel couldn’t start the MCP server: the system refused the port");
}

TEST_F(MCPServerControllerTest, AnEarlierStartDoesNotAnswerForALaterOne) {
  runners.hang("tokens");
  apply(true, 9000);
  apply(true, 9001);
  EXPECT_EQ(controller->statusText(), "Starting");
  runners.resume("tokens");
  runners.run();
  EXPECT_EQ(controller->statusText(), "Running on 127.0.0.1:9001");
  runners.hang("tokens");
  apply(true, 9002);
  apply(false, 9002);
  runners.resume("tokens");
  runners.run();
  EXPECT_EQ(controller->statusText(), "Stopped");
  EXPECT_EQ(loopback.port, 0);
}

TEST_F(MCPServerControllerTest, GivesTheTokenWhetherItRunsOrNot) {
  std::vector<std::string> given;
  controller->token([&](auto token) { given.push_back(token.value()); });
  runners.run();
  controller->regenerateToken([&](auto token) { given.push_back(token.value()); });
  runners.run();
  apply(true, 9000);
  controller->token([&](auto token) { given.push_back(token.value()); });
  runners.run();
  ASSERT_EQ(given.size(), 3U);
  EXPECT_NE(given[0], given[1]);
  EXPECT_EQ(given[1], given[2]);
  EXPECT_EQ(secrets->secret, given[2]);
  secrets->failure = file->failure = Failure{FailureKind::denied, "locked"};
  controller->regenerateToken([&](auto token) { given.push_back(token.error()); });
  runners.run();
  EXPECT_THAT(given.back(), HasSubstr("couldn’t save the MCP server's token"));
  bool isStopped = false;
  controller->stop("the program ends", [&] { isStopped = true; });
  runners.run();
  EXPECT_TRUE(isStopped);
  EXPECT_EQ(loopback.port, 0);
}

}  // namespace
}  // namespace vantorel
