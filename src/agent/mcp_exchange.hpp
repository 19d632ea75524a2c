#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>

#include "agent/mcp_session.hpp"

namespace vantorel {

/// One request that was let in. `withdrawal` is stopped when nobody waits for the answer any more:
/// the client has gone or has cancelled the call, the server stops, the token is replaced. Whoever
/// works on it ends what it does and answers all the same; where the client has gone, that answer
/// is dropped. Stopped on the server's runner; may be asked on any thread.
struct MCPExchange {
  std::string body;
  std::optional<std::string> sessionID;  ///< from the "Mcp-Session-Id" header
  std::stop_source withdrawal;
};

/// What a request is answered with.
struct MCPReply {
  struct Body {
    std::optional<std::string> bytes;      ///< JSON; nothing for what gets no answer
    std::optional<std::string> sessionID;  ///< of a session that this request began
  };
  struct UnknownSession {};

  std::variant<Body, UnknownSession> answer;
};

/// Called once, on the runner that the request came on; also from within the call.
using MCPReplied = std::move_only_function<void(MCPReply)>;

/// Answers requests. Lives on the server's runner and as long as the server runs; a reply that
/// comes later is dropped.
class MCPRequestHandler {
 public:
  virtual ~MCPRequestHandler() = default;

  virtual void handle(MCPExchange exchange, MCPReplied replied) = 0;
};

/// Makes the handler of a server that starts; null when there is nothing to answer requests with.
using MCPHandlerFactory = std::function<std::unique_ptr<MCPRequestHandler>(MCPSessions& sessions)>;

}  // namespace vantorel
