#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/mcp_exchange.hpp"
#include "agent/mcp_message.hpp"
#include "agent/mcp_tool_catalog.hpp"
#include "base/lifetime.hpp"

namespace vantorel {

/// What one POST may be answered with, in bytes of JSON.
inline constexpr std::size_t maximumAnswer = 16'000'000;

/// Answers JSON-RPC: handshake, ping, and the tools of a catalog. Lives on the server's runner.
///
/// The calls of a batch run one after the other. A connection answers one request at a time, so
/// "notifications/cancelled" comes on another one: it is taken at once and stops the call of that
/// id in the same session. What has not begun by then is not found and runs.
class MCPDispatcher final : public MCPRequestHandler {
 public:
  /// `version` is the program's.
  MCPDispatcher(MCPSessions& sessions, std::shared_ptr<MCPToolCatalog> catalog,
                std::string version);

  void handle(MCPExchange exchange, MCPReplied replied) override;

 private:
  struct Post;
  using SharedPost = std::shared_ptr<Post>;
  using CallKey = std::pair<std::string, std::string>;  ///< a session's id, a call's id as JSON
  using Outcome = Result<MCPToolResult, MCPFailure>;

  void runNext(const SharedPost& post);
  void run(const SharedPost& post, MCPRequest request);
  void callTool(const SharedPost& post, MCPRequest request);
  void answer(const SharedPost& post, const MCPResponse& response, bool tookCapture);
  void finish(const SharedPost& post);
  [[nodiscard]] JSONValue initialize(Post& post, const MCPRequest& request);
  void cancel(const Post& post, const MCPRequest& request);

  MCPSessions* sessions_;
  std::shared_ptr<MCPToolCatalog> catalog_;
  std::string version_;
  std::multimap<CallKey, std::stop_source> running_;
  Lifetime lifetime_;
};

}  // namespace vantorel
