#include "agent/mcp_dispatcher.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <deque>

#include "base/json_document.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// "echo" answers its arguments, "large" a text of so many bytes, "take" does too and takes a
/// capture, "wait" is answered by the test or when it is withdrawn.
class FakeCatalog final : public MCPToolCatalog {
 public:
  struct Waiting {
    MCPToolCall call;
    Called called;
  };
  std::deque<Waiting> waiting;
  std::vector<std::string> clients;
  int calls = 0;

  [[nodiscard]] JSONValue tools() const override {
    return {JSONValue::Array{{json::Object{{"name", {std::string("echo")}}}}}};
  }
  [[nodiscard]] std::optional<Tool> find(std::string_view name) const override {
    if (name != "echo" && name != "large" && name != "take" && name != "wait") return std::nullopt;
    return Tool{.takesCaptures = name == "take"};
  }
  void call(MCPToolCall call, Called called) override {
    ++calls;
    clients.push_back(call.client.name);
    if (call.arguments.tool == "wait") {
      waiting.push_back({std::move(call), std::move(called)});
    } else if (call.arguments.tool == "echo") {
      called(dataResult({call.arguments.fields}));
    } else {
      const auto bytes = call.arguments.number("bytes");
      if (!bytes) return called(std::unexpected(bytes.error()));
      MCPToolResult result;
      result.content.push_back(
          MCPContent::text(std::string(static_cast<std::size_t>(*bytes), 'x')));
      called(std::move(result));
    }
  }
};

class MCPDispatcherTest : public ::testing::Test {
 protected:
  struct Answer {
    bool isThere = false;
    bool isUnknownSession = false;
    std::optional<std::string> bytes;
    std::optional<std::string> sessionID;
  };

  std::shared_ptr<Answer> begin(std::string body, std::optional<std::string> session = {},
                                std::stop_source withdrawal = {}) {
    auto answer = std::make_shared<Answer>();
    dispatcher.handle({.body = std::move(body),
                       .sessionID = std::move(session),
                       .withdrawal = std::move(withdrawal)},
                      [answer](MCPReply reply) {
                        answer->isThere = true;
                        auto* const given = std::get_if<MCPReply::Body>(&reply.answer);
                        answer->isUnknownSession = given == nullptr;
                        if (given == nullptr) return;
                        answer->bytes = std::move(given->bytes);
                        answer->sessionID = std::move(given->sessionID);
                      });
    return answer;
  }
  std::string ask(std::string body, std::optional<std::string> session = {}) {
    return begin(std::move(body), std::move(session))->bytes.value_or("nothing");
  }
  static std::string call(int id, std::string_view tool, std::string_view arguments = "{}") {
    return fmt::format(
        R"({{"jsonrpc":"2.0","id":{},"method":"tools/call","params":{{"name":"{}","arguments":{}}}}})",
        id, tool, arguments);
  }
  std::string newSession(std::string_view name) {
    return begin(fmt::format(R"({{"jsonrpc":"2.0","id":0,"method":"initialize",)"
                             R"("params":{{"clientInfo":{{"name":"{}"}}}}}})",
                             name))
        ->sessionID.value();
  }
  void answerWaiting() {
    auto waiting = std::move(catalog->waiting.front());
    catalog->waiting.pop_front();
    if (waiting.call.withdrawn.stop_requested()) {
      waiting.called(std::unexpected(MCPFailure{MCPErrorCode::cancelled, "Withdrawn."}));
    } else {
      waiting.called(dataResult({std::string("seen")}));
    }
  }

  QuietLog quiet;
  MCPSessions sessions;
  std::shared_ptr<FakeCatalog> catalog = std::make_shared<FakeCatalog>();
  MCPDispatcher dispatcher{sessions, catalog, "1.2"};
};

TEST_F(MCPDispatcherTest, TheHandshakeBeginsASession) {
  const auto version = [this](std::string_view asked) {
    const std::string answer = ask(fmt::format(
        R"({{"jsonrpc":"2.0","id":1,"method":"initialize","params":{{"protocolVersion":{}}}}})",
        asked));
    return answer.substr(answer.find("protocolVersion") + 18, 10);
  };
  EXPECT_EQ(version(R"("2024-11-05")"), "2024-11-05");
  EXPECT_EQ(version(R"("2099-01-01")"), "2025-06-18");
  EXPECT_EQ(version("7"), "2025-06-18");

  const std::string id = newSession("Inspector");
  EXPECT_EQ(ask(R"({"jsonrpc":"2.0","method":"notifications/initialized"})", id), "nothing");
  EXPECT_EQ(ask(R"({"jsonrpc":"2.0","id":"p","method":"ping","params":{"_meta":{}}})", id),
            R"({"jsonrpc":"2.0","id":"p","result":{}})");
  EXPECT_EQ(ask(R"({"jsonrpc":"2.0","id":2,"method":"tools/list"})", id),
            R"({"jsonrpc":"2.0","id":2,"result":{"tools":[{"name":"echo"}]}})");
  (void)ask(call(3, "echo"), id);
  (void)ask(call(3, "echo"));
  EXPECT_THAT(catalog->clients, testing::ElementsAre("Inspector", "An MCP client"));
  EXPECT_TRUE(begin(call(4, "echo"), "another")->isUnknownSession);
}

TEST_F(MCPDispatcherTest, WhatItDoesNotKnowIsSaid) {
  EXPECT_THAT(
      ask(R"({"jsonrpc":"2.0","id":1,"method":"resources/list"})"),
      HasSubstr(R"(-32601,"message":"Vantorel's MCP server does not implement resources/list")"));
  EXPECT_EQ(ask(R"({"jsonrpc":"2.0","method":"resources/list"})"), "nothing");
  EXPECT_THAT(ask(call(1, "format_disk")),
              HasSubstr(R"(-32601,"message":"Vantorel has no tool named format_disk")"));
  EXPECT_THAT(ask(call(1, "large")), HasSubstr(R"(-32602,"message":"large: bytes is required.")"));
  EXPECT_THAT(ask(call(1, "echo", "[1]")), HasSubstr("arguments must be an object"));
  EXPECT_THAT(ask(R"({"jsonrpc":"2.0","id":1,"method":"tools/call"})"), HasSubstr("-32602"));
  EXPECT_EQ(
      ask("no JSON"),
      R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"The request body is not JSON."}})");
  // A tool called without an id would leave nobody to hear what it did.
  EXPECT_EQ(ask(R"({"jsonrpc":"2.0","method":"tools/call","params":{"name":"take"}})"), "nothing");
  EXPECT_EQ(catalog->calls, 1);
}

TEST_F(MCPDispatcherTest, ABatchIsAnsweredInItsOrder) {
  const auto answer = begin("[" + call(1, "wait") + "," + call(2, "echo", R"({"a":1})") +
                            R"(,{"jsonrpc":"2.0","method":"notifications/initialized"},5])");
  EXPECT_EQ(catalog->calls, 1);
  EXPECT_FALSE(answer->isThere);
  answerWaiting();
  EXPECT_THAT(*answer->bytes, AllOf(StartsWith(R"([{"jsonrpc":"2.0","id":1,"result")"),
                                    HasSubstr(R"(},{"jsonrpc":"2.0","id":2,"result")"),
                                    EndsWith("not a JSON-RPC 2.0 call.\"}}]")));
  EXPECT_TRUE(json::parseValue(*answer->bytes).has_value());
  EXPECT_EQ(ask(R"([{"jsonrpc":"2.0","method":"notifications/initialized"}])"), "nothing");
}

TEST_F(MCPDispatcherTest, AnswersAreBounded) {
  EXPECT_THAT(
      ask(call(1, "large", R"({"bytes":16000000})")),
      HasSubstr(
          R"(-32009,"message":"That answer came to 16.1 MB, and this server sends at most 16 MB. Ask for fewer)"));
  EXPECT_GT(ask(call(1, "large", R"({"bytes":15999000})")).size(), 15'999'000U);

  const std::string half = R"({"bytes":9000000})";
  const std::string answers = ask("[" + call(1, "large", half) + "," + call(2, "take", half) + "," +
                                  call(3, "take", half) + "," + call(4, "echo") + "]");
  EXPECT_LE(answers.size(), maximumAnswer + 4096);
  EXPECT_TRUE(json::parseValue(answers).has_value());
  const std::string refusals = answers.substr(9'000'000);
  EXPECT_THAT(
      refusals,
      HasSubstr(
          R"("id":2,"error":{"code":-32009,"message":"This call ran, but its answer would have taken this batch past the 16 MB)"));
  EXPECT_THAT(refusals,
              HasSubstr("The capture it took is in the user's History: do not take it again."));
  EXPECT_THAT(
      refusals,
      HasSubstr(
          R"("id":4,"error":{"code":-32009,"message":"This call was not run: the answers before it in this batch reached the 16 MB this server sends in one response. Send it again on its own.")"));
  EXPECT_EQ(catalog->calls, 4);  // two above, two here
}

TEST_F(MCPDispatcherTest, ACallIsCancelledByItsOwnSessionOrWithItsClient) {
  const std::string mine = newSession("mine");
  const std::string other = newSession("other");
  const std::string cancel =
      R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{"requestId":7}})";
  const auto answer = begin(call(7, "wait"), mine);
  const auto isWithdrawn = [this] {
    return catalog->waiting.front().call.withdrawn.stop_requested();
  };
  EXPECT_EQ(ask(cancel, other), "nothing");
  EXPECT_FALSE(isWithdrawn());
  EXPECT_EQ(ask(cancel, mine), "nothing");
  EXPECT_TRUE(isWithdrawn());
  answerWaiting();
  EXPECT_THAT(*answer->bytes, HasSubstr("-32004"));

  std::stop_source client;
  const auto second = begin("[" + call(8, "wait") + "," + call(9, "wait") + "]", mine, client);
  client.request_stop();
  EXPECT_TRUE(isWithdrawn());
  answerWaiting();
  EXPECT_TRUE(isWithdrawn());  // the next one knows from its start
  answerWaiting();
  EXPECT_TRUE(second->isThere);
}

TEST_F(MCPDispatcherTest, ACallMayBeAnsweredAsItIsWithdrawn) {
  std::stop_source client;
  const auto answer = begin(call(1, "wait"), std::nullopt, client);
  const std::stop_callback answering(catalog->waiting.front().call.withdrawn,
                                     [this] { answerWaiting(); });
  client.request_stop();
  EXPECT_TRUE(answer->isThere);
}

}  // namespace
}  // namespace vantorel
