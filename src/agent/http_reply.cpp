#include "agent/http_reply.hpp"

#include <fmt/format.h>

namespace vantorel {
namespace {

std::string connectionAndSession(bool keepAlive, const std::optional<std::string>& sessionID) {
  std::string lines = keepAlive ? "Connection: keep-alive\r\n" : "Connection: close\r\n";
  if (sessionID) lines += fmt::format("Mcp-Session-Id: {}\r\n", *sessionID);
  return lines + "\r\n";
}

}  // namespace

std::string jsonReplyHead(std::size_t bodySize, bool keepAlive,
                          const std::optional<std::string>& sessionID) {
  return fmt::format("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: {}\r\n",
                     bodySize) +
         connectionAndSession(keepAlive, sessionID);
}

std::string acceptedReply(bool keepAlive, const std::optional<std::string>& sessionID) {
  return "HTTP/1.1 202 Accepted\r\nContent-Length: 0\r\n" +
         connectionAndSession(keepAlive, sessionID);
}

std::string refusalReply(int status, std::string_view reason, std::string_view message,
                         std::string_view headers) {
  return fmt::format(
      "HTTP/1.1 {} {}\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: "
      "{}\r\n{}Connection: close\r\n\r\n{}",
      status, reason, message.size(), headers, message);
}

}  // namespace vantorel
