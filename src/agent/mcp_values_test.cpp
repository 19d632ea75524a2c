#include <gmock/gmock.h>

#include <array>

#include "agent/mcp_arguments.hpp"
#include "agent/mcp_message.hpp"
#include "agent/mcp_session.hpp"
#include "base/json_document.hpp"

namespace vantorel {

enum class SampleKind { image, text };
template <>
inline constexpr auto enumNames<SampleKind> = std::to_array<EnumName<SampleKind>>({
    {SampleKind::image, "image"},
    {SampleKind::text, "text"},
});

namespace {

using ::testing::HasSubstr;

/// What a body comes to: "id method" of each call, the error's code where there is none.
std::string decodedAs(std::string_view body) {
  const auto decoded = decodeBody(body);
  if (!decoded) return std::to_string(static_cast<int>(decoded.error().code));
  std::string text = decoded->isBatch ? "batch" : "";
  for (const auto& item : decoded->items) {
    if (!text.empty()) text += " | ";
    if (const auto* request = std::get_if<MCPRequest>(&item)) {
      text += (request->id ? json::toText(*request->id) : "-") + " " + request->method;
    } else {
      text += encoded(std::get<MCPResponse>(item));
    }
  }
  return text;
}

TEST(MCPMessageTest, ABodyIsCallsOrSaysWhyNot) {
  const std::string refused =
      R"("error":{"code":-32600,"message":"The request is not a JSON-RPC 2.0 call."}})";
  EXPECT_EQ(decodedAs(R"({"jsonrpc":"2.0","id":7,"method":"ping"})"), "7 ping");
  EXPECT_EQ(decodedAs(R"({"id":7.5,"method":"ping","jsonrpc":"2.0","params":{"_meta":1}})"),
            "7.5 ping");
  EXPECT_EQ(decodedAs(R"({"jsonrpc":"2.0","id":null,"method":"ping"})"), "null ping");
  EXPECT_EQ(
      decodedAs(R"([{"jsonrpc":"2.0","id":"a","method":"x"},{"jsonrpc":"2.0","method":"n"}])"),
      R"(batch | "a" x | - n)");
  for (const char* wrong : {R"({"id":1,"method":"ping"})", R"({"jsonrpc":2.0,"id":1,"method":"x"})",
                            R"({"jsonrpc":"2.0","id":1})", R"({"jsonrpc":"2.0","id":1,"method":3})",
                            R"({"jsonrpc":"2.0","id":1,"method":"ping","params":3})"}) {
    EXPECT_EQ(decodedAs(wrong), R"({"jsonrpc":"2.0","id":1,)" + refused) << wrong;
  }
  // An id that could not be echoed as one is not.
  EXPECT_EQ(decodedAs(R"({"jsonrpc":"2.0","id":[1],"method":"ping"})"),
            R"({"jsonrpc":"2.0","id":null,)" + refused);
  EXPECT_EQ(decodedAs(R"([3])"), R"(batch | {"jsonrpc":"2.0","id":null,)" + refused);
  EXPECT_EQ(decodedAs("[]"), "-32600");
  EXPECT_EQ(decodedAs("{\"jsonrpc\""), "-32700");
  EXPECT_EQ(decodedAs(""), "-32700");
  EXPECT_EQ(decodedAs(std::string(100'000, '[')), "-32700");
}

TEST(MCPMessageTest, ABatchIsBounded) {
  const auto batch = [](std::size_t calls) {
    std::string text = "[";
    for (std::size_t i = 0; i < calls; ++i) {
      text += std::string(i == 0 ? "" : ",") + R"({"jsonrpc":"2.0","id":1,"method":"ping"})";
    }
    return text + "]";
  };
  EXPECT_EQ(decodeBody(batch(maximumBatch))->items.size(), maximumBatch);
  EXPECT_EQ(decodeBody(batch(maximumBatch + 1)).error().message,
            "This server answers at most 32 calls in one batch. Split it and send the parts.");
}

TEST(MCPMessageTest, AToolsAnswerHasItsItemsInOrder) {
  const JSONValue keys{json::Object{{"pixel_width", JSONValue{std::int64_t{4}}}}};
  EXPECT_EQ(encoded({.id = JSONValue{std::int64_t{1}},
                     .outcome = pictureResult("AAAA", "image/png", keys)}),
            R"({"jsonrpc":"2.0","id":1,"result":{"content":[)"
            R"({"type":"image","data":"AAAA","mimeType":"image/png"},)"
            R"({"type":"text","text":"{\"pixel_width\":4}"}],"isError":false}})");
  EXPECT_THAT(encoded({.id = {}, .outcome = dataResult(keys)}),
              HasSubstr(R"("structuredContent":{"pixel_width":4},"isError":false)"));
}

TEST(MCPArgumentsTest, SaysWhatIsWrongWithAnArgument) {
  const auto fields = json::parseValue(
      R"({"limit":5,"scale":1.5,"medium":"film","starred":true,"query":"cat","since":null})");
  const MCPArguments arguments{.tool = "list_captures",
                               .fields = std::get<json::Object>(fields->value)};
  EXPECT_EQ(arguments.number("limit"), 5.0);
  EXPECT_EQ(arguments.optionalNumber("scale").value(), 1.5);
  EXPECT_EQ(arguments.string("query"), "cat");
  EXPECT_EQ(arguments.flag("starred"), true);
  EXPECT_EQ(arguments.optionalString("since").value(), std::nullopt);
  EXPECT_EQ(arguments.string("since").error().message, "list_captures: since is required.");
  EXPECT_EQ(arguments.string("limit").error().message, "list_captures: limit must be a string.");
  EXPECT_EQ(arguments.number("query").error().message, "list_captures: query must be a number.");
  EXPECT_EQ(arguments.flag("limit").error().message, "list_captures: limit must be true or false.");
  EXPECT_EQ(arguments.optionalChoice<SampleKind>("medium").error(),
            (MCPFailure{MCPErrorCode::invalidParams,
                        "list_captures: medium must be one of image, text."}));
}

TEST(MCPSessionsTest, AClientsNameIsFitToBeShown) {
  const auto named = [](const std::string& name) {
    const JSONValue info{json::Object{{"name", JSONValue{name}}}};
    return clientIdentity(&info).name;
  };
  EXPECT_EQ(named(" Inspector\n\x1b[31m\u202E\u2028 é "), "Inspector [31m é");
  EXPECT_EQ(named("\u200B"), "An MCP client");
  EXPECT_EQ(named(std::string(63, 'x') + "é"), std::string(63, 'x'));
  EXPECT_EQ(clientIdentity(nullptr).name, "An MCP client");
}

TEST(MCPSessionsTest, TheOneAskedForLongestAgoMakesRoom) {
  MCPSessions sessions;
  const auto first = sessions.mint({.name = "first"});
  const auto second = sessions.mint({.name = "second"});
  for (std::size_t i = 2; i < MCPSessions::maximum; ++i) (void)sessions.mint({.name = "more"});
  EXPECT_EQ(sessions.find(first->id()), first);
  (void)sessions.mint({.name = "one too many"});
  EXPECT_EQ(sessions.find(first->id()), first);
  EXPECT_EQ(sessions.find(second->id()), nullptr);
  EXPECT_TRUE(second->hasEnded());
  sessions.endAll();
  EXPECT_TRUE(first->hasEnded());
  EXPECT_EQ(sessions.find(first->id()), nullptr);
}

}  // namespace
}  // namespace vantorel
