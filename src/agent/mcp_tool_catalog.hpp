#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string_view>

#include "agent/mcp_arguments.hpp"
#include "agent/mcp_failure.hpp"
#include "agent/mcp_session.hpp"
#include "agent/mcp_tool_result.hpp"
#include "base/json_value.hpp"
#include "base/result.hpp"

namespace vantorel {

/// One call of a tool.
struct MCPToolCall {
  MCPArguments arguments;
  MCPClientIdentity client;             ///< of the session, or one without a name of its own
  std::shared_ptr<MCPSession> session;  ///< null when the request named none
  std::stop_token withdrawn;            ///< as `MCPExchange::withdrawal`
};

/// The tools that clients call. Lives on the server's runner, which nothing slow may hold: what
/// works elsewhere comes back there.
class MCPToolCatalog {
 public:
  virtual ~MCPToolCatalog() = default;

  /// What "tools/list" answers: an array of objects with "name", "description", "inputSchema".
  [[nodiscard]] virtual JSONValue tools() const = 0;

  struct Tool {
    bool takesCaptures = false;  ///< leaves a capture in History when it is called
  };
  /// Nothing for a name that no tool has.
  [[nodiscard]] virtual std::optional<Tool> find(std::string_view name) const = 0;

  /// Calls a tool of which `find` knows. `called` is called once, on the server's runner, also from
  /// within the call; a call that is withdrawn is answered soon, with `cancelled` unless it was
  /// done already.
  using Called = std::move_only_function<void(Result<MCPToolResult, MCPFailure>)>;
  virtual void call(MCPToolCall call, Called called) = 0;
};

}  // namespace vantorel
