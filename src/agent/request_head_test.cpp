#include "agent/request_head.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "agent/http_reply.hpp"
#include "agent/mcp_auth.hpp"

namespace vantorel {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// "POST /mcp", or the status and message of a refusal, or "more".
std::string parsedAs(std::string_view bytes) {
  const auto parsed = parseRequestHead(bytes).outcome;
  if (std::holds_alternative<ParseOutcome::NeedMoreData>(parsed)) return "more";
  if (const auto* wrong = std::get_if<ParseOutcome::Malformed>(&parsed)) {
    return fmt::format("{} {}", wrong->status, wrong->message);
  }
  const RequestHead& head = std::get<ParseOutcome::Head>(parsed).head;
  return fmt::format("{} {}", head.method, head.path);
}

RequestHead headOf(std::string_view bytes) {
  return std::get<ParseOutcome::Head>(parseRequestHead(bytes).outcome).head;
}

TEST(RequestHeadTest, IsReadWhenItsBlankLineIsThere) {
  const std::string text =
      "POST /mcp?x=1 HTTP/1.1\r\nHost:127.0.0.1:8000 \r\ncontent-LENGTH: 5\r\nX-A: 1\r\nx-a:\t2\r\n"
      "Expect: 100-Continue\r\n\r\nbody";
  for (std::size_t size = 0; size < text.size() - 4; ++size) {
    EXPECT_EQ(parsedAs(std::string_view(text).substr(0, size)), "more") << size;
  }
  const auto parsed = parseRequestHead(text).outcome;
  const auto& [head, bodyStart] = std::get<ParseOutcome::Head>(parsed);
  EXPECT_EQ(text.substr(bodyStart), "body");
  EXPECT_EQ(head.target, "/mcp?x=1");
  EXPECT_EQ(head.path, "/mcp");
  EXPECT_EQ(head.contentLength, 5U);
  EXPECT_EQ(*head.header("host"), "127.0.0.1:8000");
  EXPECT_EQ(*head.header("x-a"), "1, 2");
  EXPECT_TRUE(head.expectsContinue);
  EXPECT_TRUE(head.keepAlive);
}

TEST(RequestHeadTest, TheConnectionIsKeptAsVersionAndHeaderSay) {
  const auto isKept = [](std::string_view version, std::string_view header) {
    return headOf(fmt::format("GET / {}\r\n{}\r\n", version, header)).keepAlive;
  };
  EXPECT_TRUE(isKept("HTTP/1.1", ""));
  EXPECT_FALSE(isKept("HTTP/1.1", "Connection: Upgrade, Close\r\n"));
  EXPECT_FALSE(isKept("HTTP/1.1", "Connection: keep-alive\r\nConnection: close\r\n"));
  EXPECT_FALSE(isKept("HTTP/1.0", ""));
  EXPECT_TRUE(isKept("HTTP/1.0", "Connection: Keep-Alive\r\n"));
  EXPECT_FALSE(headOf("POST / HTTP/1.0\r\nContent-Length: 0\r\nExpect: 100-continue\r\n\r\n")
                   .expectsContinue);
}

TEST(RequestHeadTest, ABadRequestLineIsRefused) {
  for (const char* line :
       {"", "POST", "POST /mcp", "POST /mcp HTTP/2", "POST /mcp HTTP/1.1 ", "POST  /mcp HTTP/1.1",
        " POST /mcp HTTP/1.1", "POST /m cp HTTP/1.1", "POST\t/mcp\tHTTP/1.1", "P()T /mcp HTTP/1.1",
        "POST /m\x01p HTTP/1.1", "POST /m\xC3\xA9 HTTP/1.1", "POST /mcp http/1.1"}) {
    EXPECT_EQ(parsedAs(fmt::format("{}\r\nContent-Length: 0\r\n\r\n", line)),
              "400 Malformed request line.")
        << line;
  }
  EXPECT_EQ(parsedAs("POST /mcp HTTP/1.1\n"), "400 Malformed request line.");
  EXPECT_EQ(parsedAs("POST /mcp\rHTTP/1.1"), "400 Malformed request line.");
}

TEST(RequestHeadTest, WhatTwoReadersCouldReadDifferentlyIsRefused) {
  using namespace std::string_literals;
  for (const std::string& header :
       {"Content-Length: 5\r\nContent-Length: 5"s, "Content-Length: 5, 5"s, "Content-Length: +5"s,
        "Content-Length: -5"s, "Content-Length: 0x5"s, "Content-Length:"s, "Content-Length: 5 5"s,
        "Content-Length : 5"s, " Content-Length: 5"s, "Content-Length: 5\r\n folded"s,
        "Content-Length: 5\r\nX: a\rb"s, "Content-Length: 5\r\nX: a\nY: b"s,
        "Content-Length: 5\r\nX: a\0b"s, "Content-Length: 5\r\nX: \x01"s,
        "Content-Length: 5\r\nno colon"s, "Content-Length: 5\r\n: no name"s,
        "Content-Length: 5\r\nHost: a\r\nhost: a"s,
        "Content-Length: 5\r\nAuthorization: a\r\nAuthorization: b"s}) {
    EXPECT_EQ(parsedAs("POST /mcp HTTP/1.1\r\n" + header + "\r\n\r\n"),
              "400 Malformed header line.")
        << header;
  }
  EXPECT_THAT(
      parsedAs("POST / HTTP/1.1\r\nContent-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n"),
      StartsWith("400 A request may not carry both"));
  EXPECT_EQ(parsedAs("POST /mcp HTTP/1.1\r\nTransfer-Encoding: Chunked\r\n\r\n"),
            "411 This server does not accept chunked requests. Send a Content-Length.");
  EXPECT_EQ(parsedAs("POST /mcp HTTP/1.1\r\n\r\n"),
            "411 A POST to this server must carry a Content-Length.");
}

TEST(RequestHeadTest, HeadAndBodyAreBounded) {
  const auto withHeaders = [](std::size_t size) {
    const std::string start = "POST /mcp HTTP/1.1\r\nContent-Length: 0\r\nX: ";
    return start + std::string(size - start.size() - 2, 'x') + "\r\n";
  };
  EXPECT_EQ(parsedAs(withHeaders(8192) + "\r\n"), "POST /mcp");
  EXPECT_EQ(parsedAs(withHeaders(8193) + "\r\n"),
            "431 Headers are too large. This server accepts at most 8192 bytes of request line and "
            "headers.");
  EXPECT_EQ(parsedAs(withHeaders(8192)), "more");
  EXPECT_THAT(parsedAs(std::string(8194, 'x')), StartsWith("431"));

  const auto withLength = [](std::string_view length) {
    return parsedAs(fmt::format("POST /mcp HTTP/1.1\r\nContent-Length: {}\r\n\r\n", length));
  };
  EXPECT_EQ(withLength("1048576"), "POST /mcp");
  EXPECT_EQ(withLength("1048577"),
            "413 Request body is too large. This server accepts at most 1048576 bytes.");
  EXPECT_THAT(withLength("18446744073709551621"), StartsWith("413"));  // 2^64 + 5
}

TEST(MCPAuthTest, TheFirstThingWrongIsWhatIsSaid) {
  const MCPAuth auth{.port = 9123, .token = "right"};
  const auto refusal = [&](std::string_view line, std::string_view headers) {
    const auto rejection = auth.check(
        headOf(fmt::format("{} HTTP/1.1\r\n{}Content-Length: 0\r\n\r\n", line, headers)));
    return rejection ? replyTo(*rejection) : "";
  };
  const std::string good = "Host: localhost:9123\r\nAuthorization: Bearer right\r\n";
  EXPECT_EQ(refusal("POST /mcp?a", good), "");
  EXPECT_EQ(refusal("POST /mcp",
                    "Host: 127.0.0.1:9123\r\nAuthorization: Bearer right\r\n"
                    "Sec-Fetch-Site: cross-site\r\nAccept: text/html\r\n"),
            "");
  EXPECT_EQ(refusal("GET /.well-known/oauth-authorization-server", "Origin: x\r\n"),
            "HTTP/1.1 404 Not Found\r\nContent-Type: text/plain; charset=utf-8\r\n"
            "Content-Length: 58\r\nConnection: close\r\n\r\n"
            "Not found. This server answers POST /mcp and nothing else.");
  EXPECT_THAT(refusal("DELETE /mcp", "Origin: x\r\n"), StartsWith("HTTP/1.1 405"));
  EXPECT_THAT(refusal("POST /mcp/", good), StartsWith("HTTP/1.1 404"));
  EXPECT_THAT(refusal("POST /mcp", good + "Origin: null\r\n"),
              HasSubstr("does not serve browsers"));
  EXPECT_THAT(refusal("POST /mcp", "Origin:\r\n"), StartsWith("HTTP/1.1 403"));
  for (const char* host :
       {"", "Host: localhost\r\n", "Host: 127.0.0.1\r\n", "Host: localhost:9124\r\n",
        "Host: evil.example:9123\r\n", "Host: localhost:9123.evil\r\n"}) {
    EXPECT_THAT(refusal("POST /mcp", std::string(host) + "Authorization: Bearer right\r\n"),
                HasSubstr("the Host header must be"))
        << host;
  }
  EXPECT_THAT(refusal("POST /mcp", "Host: localhost:9123\r\n"), HasSubstr("Missing bearer token."));
  for (const char* token : {"Bearer wrong", "Bearer righ", "Bearer right2", "right", "Bearer"}) {
    EXPECT_THAT(
        refusal("POST /mcp", fmt::format("Host: localhost:9123\r\nAuthorization: {}\r\n", token)),
        HasSubstr("Token rotated."))
        << token;
  }
}

TEST(HTTPReplyTest, WhatGetsNoAnswerSaysThatItHasNoBody) {
  EXPECT_EQ(acceptedReply(true, std::nullopt),
            "HTTP/1.1 202 Accepted\r\nContent-Length: 0\r\nConnection: keep-alive\r\n\r\n");
  EXPECT_EQ(jsonReplyHead(2, false, "S-1"),
            "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n"
            "Connection: close\r\nMcp-Session-Id: S-1\r\n\r\n");
}

}  // namespace
}  // namespace vantorel
