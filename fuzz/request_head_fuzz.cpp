// Arbitrary bytes as a request: what is taken for a head is within its limits, is the same however
// many bytes follow it, and never before its blank line.
#include <cstdint>
#include <string>

#include "agent/mcp_auth.hpp"
#include "agent/request_head.hpp"
#include "base/check.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantorel;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto parsed = parseRequestHead(text).outcome;
  const auto* const whole = std::get_if<ParseOutcome::Head>(&parsed);
  if (whole == nullptr) return 0;
  const RequestHead& head = whole->head;
  VT_CHECK(whole->bodyStart <= RequestHead::maximumBytes + 2);
  VT_CHECK(text.substr(0, whole->bodyStart).ends_with("\r\n\r\n"));
  VT_CHECK(head.contentLength.value_or(0) <= RequestHead::maximumBody);
  VT_CHECK(head.method != "POST" || head.contentLength.has_value());
  VT_CHECK(head.header("transfer-encoding") == nullptr);
  for (const auto& [name, value] : head.headers) {
    VT_CHECK(value.find_first_of(std::string("\r\n\0", 3)) == std::string::npos);
  }

  const auto alone = parseRequestHead(text.substr(0, whole->bodyStart)).outcome;
  VT_CHECK(std::get<ParseOutcome::Head>(alone).head == head);
  for (std::size_t cut = 0; cut < whole->bodyStart; ++cut) {
    const auto part = parseRequestHead(std::string_view(text).substr(0, cut)).outcome;
    VT_CHECK(std::holds_alternative<ParseOutcome::NeedMoreData>(part));
  }
  const bool isLetIn = !MCPAuth{.port = 9000, .token = "token"}.check(head);
  VT_CHECK(!isLetIn || text.find("Bearer token") != std::string::npos);
  return 0;
}
