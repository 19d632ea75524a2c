#include "agent/mcp_auth.hpp"

#include <fmt/format.h>

#include "agent/http_reply.hpp"

namespace vantorel {
namespace {

struct RejectionWords {
  int status;
  std::string_view reason;
  std::string_view message;
  std::string_view headers = {};
};

struct RejectionWording {
  RejectionWords operator()(const MCPAuth::NotFound& /*rejection*/) const {
    return {404, "Not Found", "Not found. This server answers POST /mcp and nothing else."};
  }
  RejectionWords operator()(const MCPAuth::MethodNotAllowed& /*rejection*/) const {
    return {405, "Method Not Allowed",
            "Method not allowed. This server answers POST /mcp and nothing else.",
            "Allow: POST\r\n"};
  }
  RejectionWords operator()(const MCPAuth::OriginPresent& /*rejection*/) const {
    return {403, "Forbidden",
            "Refused: this server does not serve browsers, and a request carrying an Origin "
            "header is always refused."};
  }
  RejectionWords operator()(const MCPAuth::BadHost& /*rejection*/) const {
    return {403, "Forbidden",
            "Refused: the Host header must be 127.0.0.1 or localhost with this server's port."};
  }
  RejectionWords operator()(const MCPAuth::MissingToken& /*rejection*/) const {
    return {401, "Unauthorized",
            "Missing bearer token. Every request needs an Authorization: Bearer header. Copy the "
            "configuration snippet again from Vantorel Settings, MCP.",
            "WWW-Authenticate: Bearer\r\n"};
  }
  RejectionWords operator()(const MCPAuth::BadToken& /*rejection*/) const {
    return {401, "Unauthorized",
            "Token rotated. This token is not the one Vantorel is serving. Copy the configuration "
            "snippet again from Vantorel Settings, MCP.",
            "WWW-Authenticate: Bearer\r\n"};
  }
};

}  // namespace

std::optional<MCPAuth::Rejection> MCPAuth::check(const RequestHead& head) const {
  if (head.path != "/mcp") return NotFound{};
  if (head.method != "POST") return MethodNotAllowed{};
  if (const std::string* origin = head.header("origin")) return OriginPresent{.origin = *origin};
  const std::string* const host = head.header("host");
  if (host == nullptr) return BadHost{};
  if (*host != fmt::format("127.0.0.1:{}", port) && *host != fmt::format("localhost:{}", port)) {
    return BadHost{.host = *host};
  }
  const std::string* const authorization = head.header("authorization");
  if (authorization == nullptr) return MissingToken{};
  constexpr std::string_view scheme = "Bearer ";
  if (!authorization->starts_with(scheme) || token.empty() ||
      !equalInConstantTime(std::string_view(*authorization).substr(scheme.size()), token)) {
    return BadToken{};
  }
  return std::nullopt;
}

int statusOf(const MCPAuth::Rejection& rejection) {
  return std::visit(RejectionWording{}, rejection).status;
}

std::string replyTo(const MCPAuth::Rejection& rejection) {
  const RejectionWords words = std::visit(RejectionWording{}, rejection);
  return refusalReply(words.status, words.reason, words.message, words.headers);
}

bool equalInConstantTime(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) return false;
  volatile unsigned char difference = 0;  // not to be left at the first one
  for (std::size_t i = 0; i < left.size(); ++i) {
    difference = static_cast<unsigned char>(difference | (left[i] ^ right[i]));
  }
  return difference == 0;
}

}  // namespace vantorel
